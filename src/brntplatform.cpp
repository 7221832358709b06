#include "brntplatform.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/sysinfo.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <utility>

#include "brntlog.h"
#include "brntstop.h"

extern char** environ;

namespace {

constexpr SInt64 kChildPollMs = 20;

// Signals that the process blocks or ignores and a command expects in their default state.
constexpr int kDefaultedSignals[] = {SIGTERM, SIGINT, SIGPIPE, SIGCHLD};

int WaitForChild(pid_t child) {
  int status = 0;
  while (true) {
    // The thread that takes stop signals must not be held up by a command.
    const bool polling = CBrntStop::IsStopThread();
    const pid_t done = waitpid(child, &status, polling ? WNOHANG : 0);
    if (done == child) break;
    if (done < 0 && errno != EINTR) return -1;
    if (polling) CBrntStop::WaitForStop(kChildPollMs);
  }
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : -1;
}

int SpawnShell(const std::string& command) {
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  sigset_t defaulted;
  sigemptyset(&defaulted);
  for (int signalNumber : kDefaultedSignals) sigaddset(&defaulted, signalNumber);
  posix_spawnattr_setsigdefault(&attributes, &defaulted);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

  // Libraries open descriptors of their own that are not close-on-exec, such as libcurl's during a transfer.
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 34)
  posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
#endif

  std::string script = command;
  char shell[] = "sh";
  char option[] = "-c";
  char* const argv[] = {shell, option, script.data(), nullptr};
  pid_t child = -1;
  const int error = posix_spawn(&child, "/bin/sh", &actions, &attributes, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) {
    HLOG_ERROR("cannot run [%s]: error %d", command.c_str(), error);
    return -1;
  }
  return WaitForChild(child);
}

SInt64 ReadMonotonicMs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<SInt64>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

SInt64 ReadUptimeSec() {
  struct sysinfo info {};
  return sysinfo(&info) == 0 ? static_cast<SInt64>(info.uptime) : 0;
}

void SleepOnThisThread(SInt64 ms) {
  if (ms <= 0) return;
  if (CBrntStop::IsStopThread()) {
    const SInt64 end = ReadMonotonicMs() + ms;
    for (SInt64 left = ms; left > 0; left = end - ReadMonotonicMs()) CBrntStop::WaitForStop(left);
    return;
  }
  timespec rest{};
  rest.tv_sec = static_cast<time_t>(ms / 1000);
  rest.tv_nsec = static_cast<long>(ms % 1000) * 1000000L;
  while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
  }
}

const T_PlatformHooks& DefaultHooks() {
  static const T_PlatformHooks* hooks =
      new T_PlatformHooks{SpawnShell, ReadMonotonicMs, ReadUptimeSec, SleepOnThisThread};  // outlives every thread
  return *hooks;
}

std::atomic<const T_PlatformHooks*>& CurrentHooks() {
  static std::atomic<const T_PlatformHooks*> current{&DefaultHooks()};
  return current;
}

const T_PlatformHooks& Hooks() { return *CurrentHooks().load(std::memory_order_acquire); }

}  // namespace

int CBrntPlatform::RunShell(const std::string& command) { return Hooks().runShell(command); }

SInt64 CBrntPlatform::MonotonicMs() { return Hooks().monotonicMs(); }

SInt64 CBrntPlatform::UptimeSec() { return Hooks().uptimeSec(); }

void CBrntPlatform::SleepMs(SInt64 ms) { Hooks().sleepMs(ms); }

CScopedPlatform::CScopedPlatform(T_PlatformHooks hooks) : m_current(Hooks()), m_pPrevious(CurrentHooks().load()) {
  if (hooks.runShell) m_current.runShell = std::move(hooks.runShell);
  if (hooks.monotonicMs) m_current.monotonicMs = std::move(hooks.monotonicMs);
  if (hooks.uptimeSec) m_current.uptimeSec = std::move(hooks.uptimeSec);
  if (hooks.sleepMs) m_current.sleepMs = std::move(hooks.sleepMs);
  CurrentHooks().store(&m_current, std::memory_order_release);
}

CScopedPlatform::~CScopedPlatform() { CurrentHooks().store(m_pPrevious, std::memory_order_release); }
