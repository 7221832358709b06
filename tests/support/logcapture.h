// Keeps what the process logs while it lives. Lines of all threads are taken in; several captures may live at a time.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct T_LogLine {
  int priority;       // 300 error, 400 warning, 600 information
  std::string text;   // without the place
  std::string place;  // "file:line"
};

class CLogCapture {
 public:
  CLogCapture();
  ~CLogCapture();
  CLogCapture(const CLogCapture&) = delete;
  CLogCapture& operator=(const CLogCapture&) = delete;

  std::vector<T_LogLine> Lines() const;
  std::vector<std::string> Texts() const;

  // Lines that hold text anywhere.
  bool Contains(const std::string& text) const { return Count(text) > 0; }
  std::size_t Count(const std::string& text) const;

  // The priority of the first line that holds text; 0 when there is none.
  int PriorityOf(const std::string& text) const;

  // Waits until count lines hold text; false when that took longer than the timeout.
  bool WaitFor(const std::string& text, std::size_t count = 1, int timeoutMs = 10000) const;

  // Forgets the lines so far.
  void Clear();

 private:
  std::vector<T_LogLine> m_lines;  // guarded by the collector's lock
  friend class CLogCollector;
};
