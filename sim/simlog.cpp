#include "simlog.h"

#include <chrono>
#include <cstdio>
#include <ctime>

#include "escape.h"

namespace {

std::string WallClock() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm local{};
  localtime_r(&seconds, &local);
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(ms));
  return text;
}

}  // namespace

void CSimLog::Message(std::string_view link, std::string_view direction, std::string_view text) {
  if (!m_sink) return;
  std::string line = WallClock();
  line.append(" ").append(link).append(" ").append(direction).append(" ").append(escape::Escape(text));
  const std::lock_guard<std::mutex> guard(m_mutex);
  m_sink(line);
}
