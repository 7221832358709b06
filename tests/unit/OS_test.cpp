#include "OS.h"

#include <gtest/gtest.h>

#include <ctime>

#include "steppedclock.h"

TEST(OS, MillisecondsAreThoseOfTheMonotonicClock) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const SInt64 before = SInt64{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
  const SInt64 ms = OS::Milliseconds();
  EXPECT_GE(ms, before);
  EXPECT_LT(ms, before + 60000);
}

TEST(OS, AClockSetByHandIsUsedUntilItIsTakenAway) {
  {
    CSteppedClock clock(500);
    EXPECT_EQ(OS::Milliseconds(), 500);
    clock.AdvanceMs(90000);
    EXPECT_EQ(OS::Milliseconds(), 90500);
  }
  EXPECT_NE(OS::Milliseconds(), 90500);
}
