// A condition variable on an OSMutex. Time limits run on the monotonic clock.
#pragma once

#include <pthread.h>

#include "OSMutex.h"
#include "OSTypes.h"

class OSCond {
 public:
  OSCond();
  ~OSCond();
  OSCond(const OSCond&) = delete;
  OSCond& operator=(const OSCond&) = delete;

  // Gives mutex up, waits for a wake-up or for ms milliseconds (0: no limit), takes it again. False when the time ran
  // out. May wake without a cause, so callers test their condition again. The caller holds mutex exactly once: a
  // second, recursive hold would stay.
  bool TimedWait(OSMutex& mutex, SInt64 ms) REQUIRES(mutex);

  // Wakes one waiter, or all. With or without the mutex held.
  void Signal();
  void Broadcast();

 private:
  pthread_cond_t m_cond;
};
