// The clock of the task framework.
#pragma once

#include "OSTypes.h"

class OS {
 public:
  using Clock = SInt64 (*)();

  // Milliseconds of a clock that never goes back; only differences mean anything. Any thread.
  static SInt64 Milliseconds();

  // Puts another clock in the place of the system's, for instance one that a test moves by hand; null puts the system's
  // back. Waits are not affected: they sleep on the system's monotonic clock.
  static void SetClock(Clock clock);
};
