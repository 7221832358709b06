// What the process does to the world beside its sockets: shell commands, clocks, sleeping. A test puts its own
// functions in place for as long as a CScopedPlatform lives; the process runs with the defaults.
#pragma once

#include <functional>
#include <string>

#include "OSTypes.h"

struct T_PlatformHooks {
  std::function<int(const std::string& command)> runShell;
  std::function<SInt64()> monotonicMs;
  std::function<SInt64()> uptimeSec;
  std::function<void(SInt64 ms)> sleepMs;
};

// Any thread.
class CBrntPlatform {
 public:
  // Runs command through /bin/sh -c and waits for it, with default signal mask and handlers and no descriptor of the
  // process but the standard three. The exit status, 128 + n for death by signal n, or -1 when it could not be run.
  static int RunShell(const std::string& command);

  // Milliseconds of CLOCK_MONOTONIC.
  static SInt64 MonotonicMs();

  // Whole seconds since boot, suspended time included.
  static SInt64 UptimeSec();

  // Sleeps; a signal does not cut the sleep short. On the main thread a stop signal ends the process instead
  // (brntstop.h). Never called with a lock held, but for the REST client's own.
  static void SleepMs(SInt64 ms);
};

// Replaces the hooks that are set, and puts back what was there before. Tests only, no two threads at once; install it
// before the threads that use the platform start.
class CScopedPlatform {
 public:
  explicit CScopedPlatform(T_PlatformHooks hooks);
  ~CScopedPlatform();
  CScopedPlatform(const CScopedPlatform&) = delete;
  CScopedPlatform& operator=(const CScopedPlatform&) = delete;

 private:
  T_PlatformHooks m_current;
  const T_PlatformHooks* m_pPrevious;
};
