// The journal that the preloaded library keeps of one process, and what it tells.
//
// Lines, each written in one piece and before the call it speaks of is made:
//   call NAME SUBJECT         a counted call; the n-th such line is call n
//   file INODE MODE HEX       the file of this inode has just been synced with this mode and content
//   folder PATH, then entry INODE NAME for each file in it, then done: the folder has just been synced
#pragma once

#include <map>
#include <string>
#include <vector>

struct T_JournalFile {
  unsigned mode = 0;
  std::string content;
};

struct T_JournalRecord {
  enum E_Kind { e_call, e_file, e_folder };

  E_Kind kind = e_call;
  std::string text;                              // of a call: its name and subject; of a folder: its path
  unsigned long inode = 0;                       // of a file
  T_JournalFile file;                            // of a file
  std::map<std::string, unsigned long> entries;  // of a folder: its files' names and inodes
};

// What the file holds, in order; a last line that was cut short is left out. Empty when there is no such file.
std::vector<T_JournalRecord> ReadJournal(const std::string& path);

// The calls alone: element n - 1 is call n.
std::vector<std::string> JournalCalls(const std::vector<T_JournalRecord>& journal);

// The place of the first record of this kind whose text begins so, or journal.size().
size_t FindCall(const std::vector<T_JournalRecord>& journal, const std::string& beginning, size_t from = 0);
