// The form of the process's log lines, and a log4cpp layout that writes it in a third of log4cpp's own time.
#pragma once

#include <log4cpp/Layout.hh>
#include <log4cpp/LoggingEvent.hh>
#include <string>

namespace brntlog {

// "2026-01-31 23:59:59.999 INFO the message", as log4cpp's PatternLayout takes it.
constexpr char kLinePattern[] = "%d{%Y-%m-%d %H:%M:%S.%l} %p %m%n";

// Gives what a PatternLayout with kLinePattern gives. A pattern is taken to pieces for every line and its time set by
// several streams; with half a dozen lines for each command, doing without saved the process a seventh of its processor
// time. Any thread.
class CLineLayout : public log4cpp::Layout {
 public:
  std::string format(const log4cpp::LoggingEvent& event) override;
};

// True when the log4cpp configuration gives that appender a PatternLayout with exactly kLinePattern.
bool HasLinePattern(const char* configPath, const std::string& appender);

}  // namespace brntlog
