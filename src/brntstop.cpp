#include "brntstop.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <iostream>
#include <log4cpp/Category.hh>

#include "brntlog.h"

// Present only in builds with the leak checker.
extern "C" int __lsan_do_recoverable_leak_check() __attribute__((weak));  // NOLINT(bugprone-reserved-identifier)

namespace {

thread_local bool t_takesSignals = false;

sigset_t StopSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGINT);
  return set;
}

}  // namespace

void CBrntStop::TakeSignalsHere() {
  const sigset_t set = StopSignals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  t_takesSignals = true;
}

bool CBrntStop::IsStopThread() { return t_takesSignals; }

void CBrntStop::WaitForStop(SInt64 ms) {
  if (!t_takesSignals) return;
  const sigset_t set = StopSignals();
  timespec timeout{};
  timeout.tv_sec = static_cast<time_t>(ms / 1000);
  timeout.tv_nsec = static_cast<long>(ms % 1000) * 1000000L;
  const int signalNumber = sigtimedwait(&set, nullptr, &timeout);
  if (signalNumber <= 0) return;
  HLOG_INFO("stopped by signal %d", signalNumber);
  LeaveProcess(0);
}

void CBrntStop::LeaveProcess(int status) {
  // The other threads go on meanwhile, so no destructor of a static object may run: _exit, with the buffers flushed by
  // hand.
  if (__lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0 && status == 0) status = 1;
  std::cout.flush();
  std::fflush(nullptr);
  _exit(status);
}
