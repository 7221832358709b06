// The framework's clock, moved by hand for as long as the object lives.
#pragma once

#include <atomic>

#include "OS.h"

class CSteppedClock {
 public:
  explicit CSteppedClock(SInt64 ms) {
    s_ms = ms;
    OS::SetClock([] { return s_ms.load(); });
  }
  ~CSteppedClock() { OS::SetClock(nullptr); }
  CSteppedClock(const CSteppedClock&) = delete;
  CSteppedClock& operator=(const CSteppedClock&) = delete;

  void AdvanceMs(SInt64 ms) { s_ms += ms; }

 private:
  inline static std::atomic<SInt64> s_ms{0};
};
