#include "OS.h"

#include <atomic>
#include <ctime>

namespace {

SInt64 MonotonicMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return SInt64{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

std::atomic<OS::Clock> g_clock{MonotonicMilliseconds};

}  // namespace

SInt64 OS::Milliseconds() { return g_clock.load(std::memory_order_relaxed)(); }

void OS::SetClock(Clock clock) { g_clock = clock == nullptr ? MonotonicMilliseconds : clock; }
