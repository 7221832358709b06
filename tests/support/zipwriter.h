// Writes zip archives for tests, entries stored as they are: whatever an archive can hold, trickery included.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct T_ZipFile {
  std::string name;
  std::string content;
  std::uint16_t flags = 0;
  std::uint32_t unixMode = 0100644;
};

// The archive's bytes.
std::string ZipOf(const std::vector<T_ZipFile>& files, const std::string& comment = "");
