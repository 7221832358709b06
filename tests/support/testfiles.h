// Files as tests see them.
#pragma once

#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

// The whole content; empty when the file cannot be read.
inline std::string FileText(const std::string& path) {
  const std::ifstream file(path, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

inline void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

inline bool Exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }
