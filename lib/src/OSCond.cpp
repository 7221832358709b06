#include "OSCond.h"

#include <algorithm>
#include <ctime>

namespace {

// A wait never lasts longer than this at a stretch; callers test their condition again anyway.
constexpr SInt64 kLongestWaitMs = 1000LL * 60 * 60 * 24;

timespec MonotonicDeadline(SInt64 ms) {
  timespec at{};
  clock_gettime(CLOCK_MONOTONIC, &at);
  at.tv_sec += static_cast<time_t>(ms / 1000);
  at.tv_nsec += static_cast<long>(ms % 1000) * 1000000L;
  if (at.tv_nsec >= 1000000000L) {
    at.tv_nsec -= 1000000000L;
    ++at.tv_sec;
  }
  return at;
}

}  // namespace

OSCond::OSCond() {
  pthread_condattr_t attr;
  pthread_condattr_init(&attr);
  pthread_condattr_setclock(&attr, CLOCK_MONOTONIC);
  pthread_cond_init(&m_cond, &attr);
  pthread_condattr_destroy(&attr);
}

OSCond::~OSCond() { pthread_cond_destroy(&m_cond); }

bool OSCond::TimedWait(OSMutex& mutex, SInt64 ms) {
  if (ms == 0) return pthread_cond_wait(&m_cond, &mutex.m_mutex) == 0;
  const timespec deadline = MonotonicDeadline(std::clamp<SInt64>(ms, 0, kLongestWaitMs));
  return pthread_cond_timedwait(&m_cond, &mutex.m_mutex, &deadline) == 0;
}

void OSCond::Signal() { pthread_cond_signal(&m_cond); }

void OSCond::Broadcast() { pthread_cond_broadcast(&m_cond); }
