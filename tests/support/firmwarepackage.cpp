#include "firmwarepackage.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

constexpr char kFolder[] = "/customer/firmwares/";
constexpr char kContents[] = "/sandbox/package";  // where an archive's files stand before they are zipped

}  // namespace

std::string firmwarepackage::PathOf(const std::string& fileName) { return kFolder + fileName; }

bool firmwarepackage::Write(const std::string& fileName,
                            const std::vector<std::pair<std::string, std::string>>& files) {
  fs::remove_all(kContents);
  fs::remove(PathOf(fileName));
  for (const auto& [name, text] : files) {
    const fs::path path = fs::path(kContents) / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
  }
  // zip adds ".zip" to a name without an ending.
  const std::string command =
      std::string("cd ") + kContents + " && zip -q -r out.zip . && mv out.zip " + PathOf(fileName);
  return std::system(command.c_str()) == 0;
}

bool firmwarepackage::Write(const std::string& fileName, const std::string& version) {
  return Write(fileName, {{kVersionFile, "{\"vendor\": \"example\", \"comment\": \"" + version + "\"}\n"},
                          {"images/primary.bin", std::string(4096, 'f')}});
}

Json::Value firmwarepackage::Listing(const std::string& fileName, const std::string& version, bool supportsProduction) {
  Json::Value package;
  package["file_name"] = fileName;
  package["firmware_comment"] = version;
  package["firmware_version"] = "9.9.9.9";
  package["firmware_rc"] = "0";
  package["supports_production"] = supportsProduction;
  package["supports_golden"] = false;
  Json::Value listing(Json::arrayValue);
  listing.append(package);
  return listing;
}
