#include "journal.h"

#include <fstream>
#include <sstream>

namespace {

std::string FromHex(const std::string& hex) {
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

T_JournalRecord ReadFileLine(std::istringstream& line) {
  T_JournalRecord record;
  record.kind = T_JournalRecord::e_file;
  std::string hex;
  line >> record.inode >> std::oct >> record.file.mode >> hex;
  record.file.content = FromHex(hex);
  return record;
}

std::string Rest(std::istringstream& line) {
  std::string rest;
  std::getline(line >> std::ws, rest);
  return rest;
}

}  // namespace

std::vector<T_JournalRecord> ReadJournal(const std::string& path) {
  std::vector<T_JournalRecord> journal;
  T_JournalRecord folder;
  folder.kind = T_JournalRecord::e_folder;
  std::ifstream in(path, std::ios::binary);
  for (std::string text; std::getline(in, text) && !in.eof();) {
    std::istringstream line(text);
    std::string kind;
    line >> kind;
    if (kind == "call") {
      T_JournalRecord record;
      record.text = Rest(line);
      journal.push_back(record);
    } else if (kind == "file") {
      journal.push_back(ReadFileLine(line));
    } else if (kind == "folder") {
      folder.text = Rest(line);
      folder.entries.clear();
    } else if (kind == "entry") {
      unsigned long inode = 0;
      line >> inode;
      folder.entries[Rest(line)] = inode;
    } else if (kind == "done") {
      journal.push_back(folder);
    }
  }
  return journal;
}

std::vector<std::string> JournalCalls(const std::vector<T_JournalRecord>& journal) {
  std::vector<std::string> calls;
  for (const T_JournalRecord& record : journal) {
    if (record.kind == T_JournalRecord::e_call) calls.push_back(record.text);
  }
  return calls;
}

size_t FindCall(const std::vector<T_JournalRecord>& journal, const std::string& beginning, size_t from) {
  while (from < journal.size() &&
         (journal[from].kind != T_JournalRecord::e_call || journal[from].text.rfind(beginning, 0) != 0)) {
    ++from;
  }
  return from;
}
