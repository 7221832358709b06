#include "brntloglayout.h"

#include <cstdio>
#include <ctime>
#include <fstream>
#include <log4cpp/Priority.hh>
#include <string_view>

namespace brntlog {

namespace {

constexpr std::size_t kAroundMessage = 40;  // time, priority, spaces and line end; room for them, not a limit

// The time of a line up to its seconds, local time. Most lines fall into the second of the line before.
struct T_Second {
  std::time_t time = -1;
  char text[24] = "";
};

const char* TextOf(std::time_t time) {
  thread_local T_Second last;
  if (time != last.time) {
    std::tm local{};
    tzset();  // the zone may have been changed meanwhile
    localtime_r(&time, &local);
    std::strftime(last.text, sizeof last.text, "%Y-%m-%d %H:%M:%S", &local);
    last.time = time;
  }
  return last.text;
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

}  // namespace

std::string CLineLayout::format(const log4cpp::LoggingEvent& event) {
  char millis[16];
  std::snprintf(millis, sizeof millis, ".%03d ", event.timeStamp.getMilliSeconds());
  std::string line;
  line.reserve(event.message.size() + kAroundMessage);
  line += TextOf(event.timeStamp.getSeconds());
  line += millis;
  line += log4cpp::Priority::getPriorityName(event.priority);
  line += ' ';
  line += event.message;
  line += '\n';
  return line;
}

bool HasLinePattern(const char* configPath, const std::string& appender) {
  const std::string layoutKey = "log4cpp.appender." + appender + ".layout";
  const std::string patternKey = layoutKey + ".ConversionPattern";
  bool layout = false;
  bool pattern = false;
  std::ifstream file(configPath);
  for (std::string line; std::getline(file, line);) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    const std::string_view key = Trimmed(std::string_view(line).substr(0, equals));
    const std::string_view value = Trimmed(std::string_view(line).substr(equals + 1));
    if (key == layoutKey) layout = value == "PatternLayout";
    if (key == patternKey) pattern = value == kLinePattern;
  }
  return layout && pattern;
}

}  // namespace brntlog
