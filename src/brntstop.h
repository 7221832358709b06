// The orderly stop: SIGTERM and SIGINT, taken by the main thread while it sleeps, waits or runs a command.
#pragma once

#include "OSTypes.h"

class CBrntStop {
 public:
  // Blocks the stop signals in the calling thread and all it starts, and makes the caller the thread that takes them.
  // Main thread, before any other thread starts.
  static void TakeSignalsHere();

  // True on the thread that takes the signals.
  static bool IsStopThread();

  // Waits up to ms for a stop signal; when one comes, logs one INFO line and ends the process with status 0. On every
  // other thread, and before TakeSignalsHere, it returns at once.
  static void WaitForStop(SInt64 ms);

  // Ends the process with the log and the standard streams flushed, while its other threads run. (With the leak checker
  // in the build, leaks turn status 0 into 1.)
  [[noreturn]] static void LeaveProcess(int status);
};
