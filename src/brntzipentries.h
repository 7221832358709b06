// What a zip archive holds, by name, read before anything is unpacked.
#pragma once

#include <optional>
#include <string>
#include <vector>

struct T_ZipEntry {
  std::string strName;  // as it stands in the archive; a folder's ends in '/'
  bool bEncrypted = false;
  bool bLink = false;  // a symbolic link
};

// The archive's directory. Nothing when the file cannot be read, is no zip archive, is cut short, or is larger than
// 4 GiB or 65,534 entries (its 64-bit form is not read). Bytes before and after the archive itself do not matter.
std::optional<std::vector<T_ZipEntry>> ReadZipEntries(const std::string& path);
