#include "simlog.h"

#include <chrono>
#include <cstdio>
#include <ctime>

#include "escape.h"

std::string TimeOfDay(T_SimClock::time_point time) {
  const auto ago = std::chrono::duration_cast<std::chrono::milliseconds>(T_SimClock::now() - time);
  const auto then = std::chrono::system_clock::now() - ago;
  const std::time_t seconds = std::chrono::system_clock::to_time_t(then);
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(then.time_since_epoch()).count() % 1000;
  std::tm local{};
  localtime_r(&seconds, &local);
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(ms));
  return text;
}

void CSimLog::Message(std::string_view link, std::string_view direction, std::string_view text) {
  if (!m_sink) return;
  std::string line = TimeOfDay(T_SimClock::now());
  line.append(" ").append(link).append(" ").append(direction).append(" ").append(escape::Escape(text));
  const std::lock_guard<std::mutex> guard(m_mutex);
  m_sink(line);
}
