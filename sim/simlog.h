// The bench's log: one line for each message, with the time, the link and the direction.
#pragma once

#include <mutex>
#include <string>
#include <string_view>

#include "simtypes.h"

class CSimLog {
 public:
  explicit CSimLog(T_SimLogSink sink) : m_sink(std::move(sink)) {}

  // "12:03:04.125 HTTP <- POST /api/device/ALL {...}". What is not printable leaves as \xhh; one call at a time reaches
  // the sink.
  void Message(std::string_view link, std::string_view direction, std::string_view text);

 private:
  const T_SimLogSink m_sink;
  std::mutex m_mutex;  // one line at a time
};

// When that was, on this machine's clock of the day: "12:03:04.125".
std::string TimeOfDay(T_SimClock::time_point time);
