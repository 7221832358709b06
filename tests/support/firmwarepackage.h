// Firmware packages for the tests of an upgrade: real zip archives where the process looks for them.
#pragma once

#include <json/value.h>

#include <string>
#include <utility>
#include <vector>

namespace firmwarepackage {

// The file in a package that names its version.
inline const std::string kVersionFile = "aptovision-metadata/vendor.json";

std::string PathOf(const std::string& fileName);

// Zips these files (name in the archive and content) into /customer/firmwares/<fileName>, in place of what was there.
// False when zip fails.
[[nodiscard]] bool Write(const std::string& fileName, const std::vector<std::pair<std::string, std::string>>& files);

// The package as it should be: its version and an image.
[[nodiscard]] bool Write(const std::string& fileName, const std::string& version);

// The API server's listing with this one package.
Json::Value Listing(const std::string& fileName, const std::string& version, bool supportsProduction = true);

}  // namespace firmwarepackage
