// What a power loss leaves of some folders: the contents and the folder entries that had been synced, nothing else.
//
// The strictest reading: a file's bytes survive only when the file was synced after they were written (or was opened
// for synchronous writing), its name only when its folder was synced afterwards, and a removed name comes back unless
// the folder was synced. Folders inside them that stood there at first are left alone with all they hold, later ones
// vanish; links and special files are left alone. One thread.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "journal.h"

class CStableStore {
 public:
  // Everything that stands in these folders now is on stable storage.
  explicit CStableStore(const std::vector<std::string>& folders);

  // A process has run since and left this journal.
  void Replay(const std::vector<T_JournalRecord>& journal);

  // Makes the folders what they would be after a power loss. Contents are put back under new inodes, so the object has
  // served its turn.
  void ThrowAwayUnsynced() const;

 private:
  struct T_Folder {
    std::map<std::string, unsigned long> files;  // name and inode
    std::set<std::string> folders;               // those that stood there at first
  };

  static void RemoveLost(const std::string& path, const T_Folder& folder);
  void PutBack(const std::string& path, const T_Folder& folder) const;

  std::map<std::string, T_Folder> m_folders;       // by path
  std::map<unsigned long, T_JournalFile> m_files;  // by inode; a file never synced is missing
};
