#include "stablestore.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {

std::string ReadWhole(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

CStableStore::CStableStore(const std::vector<std::string>& folders) {
  for (const std::string& path : folders) {
    T_Folder& folder = m_folders[path];
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
      struct stat about {};
      if (entry.is_symlink() || stat(entry.path().c_str(), &about) != 0) continue;
      if (entry.is_directory()) folder.folders.insert(entry.path().filename());
      if (!entry.is_regular_file()) continue;
      folder.files[entry.path().filename()] = about.st_ino;
      m_files[about.st_ino] = {about.st_mode & 07777U, ReadWhole(entry.path())};
    }
  }
}

void CStableStore::Replay(const std::vector<T_JournalRecord>& journal) {
  for (const T_JournalRecord& record : journal) {
    if (record.kind == T_JournalRecord::e_file) m_files[record.inode] = record.file;
    if (record.kind != T_JournalRecord::e_folder) continue;
    const auto folder = m_folders.find(record.text);
    if (folder != m_folders.end()) folder->second.files = record.entries;
  }
}

void CStableStore::ThrowAwayUnsynced() const {
  for (const auto& [path, folder] : m_folders) {
    RemoveLost(path, folder);
    PutBack(path, folder);
  }
}

void CStableStore::RemoveLost(const std::string& path, const T_Folder& folder) {
  std::vector<fs::path> lost;
  for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
    if (entry.is_symlink()) continue;
    const bool newFolder = entry.is_directory() && folder.folders.count(entry.path().filename()) == 0;
    if (newFolder || entry.is_regular_file()) lost.push_back(entry.path());
  }
  for (const fs::path& gone : lost) fs::remove_all(gone);
}

void CStableStore::PutBack(const std::string& path, const T_Folder& folder) const {
  for (const auto& [name, inode] : folder.files) {
    const fs::path target = fs::path(path) / name;
    std::ofstream out(target, std::ios::binary);
    const auto file = m_files.find(inode);
    if (file == m_files.end()) continue;  // its name was synced, nothing of its content
    out << file->second.content;
    out.close();
    fs::permissions(target, static_cast<fs::perms>(file->second.mode));
  }
}
