#include "brntplatform.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "logcapture.h"

namespace {

// Runs a command with its standard output in a file, and hands that back.
std::string OutputOf(const std::string& command) {
  const std::string path = testing::TempDir() + "brntplatform_" + std::to_string(getpid());
  CBrntPlatform::RunShell("{ " + command + "; } > " + path);
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  unlink(path.c_str());
  return text.str();
}

TEST(RunShell, GivesTheExitStatus) {
  EXPECT_EQ(CBrntPlatform::RunShell("true"), 0);
  EXPECT_EQ(CBrntPlatform::RunShell("exit 7"), 7);
}

TEST(RunShell, GivesDeathByASignalAs128AndItsNumber) { EXPECT_EQ(CBrntPlatform::RunShell("kill -9 $$"), 137); }

TEST(RunShell, GoesThroughTheShell) { EXPECT_EQ(OutputOf("for i in 1 2; do echo \"$i;\"; done"), "1;\n2;\n"); }

TEST(RunShell, WaitsForTheCommand) { EXPECT_EQ(OutputOf("sleep 0.1; echo done"), "done\n"); }

TEST(RunShell, LeavesTheCommandOnlyTheStandardDescriptors) {
  const int leaked = open("/dev/null", O_RDONLY);  // not close-on-exec
  ASSERT_GT(leaked, 2);
  EXPECT_EQ(OutputOf("test -e /proc/self/fd/" + std::to_string(leaked) + " && echo there || echo closed"), "closed\n");
  close(leaked);
}

TEST(RunShell, GivesTheCommandDefaultSignals) {
  sigset_t blocked;
  sigset_t before;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  const auto oldHandler = signal(SIGPIPE, SIG_IGN);
  // Of the ignored signals the standard ones only: the C library keeps two of the others for itself.
  EXPECT_EQ(OutputOf("sed -n 's/^SigBlk:.//p; s/^SigIgn:.*\\(.......\\)$/\\1/p' /proc/self/status"),
            "0000000000000000\n0000000\n");
  signal(SIGPIPE, oldHandler);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(RunShell, WorksOnSeveralThreadsAtOnce) {
  std::vector<std::thread> threads;
  std::vector<int> statuses(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i, &statuses] {
      statuses[static_cast<std::size_t>(i)] = CBrntPlatform::RunShell("exit " + std::to_string(i));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(statuses, (std::vector<int>{0, 1, 2, 3}));
}

TEST(RunShell, FailsWithMinus1WhenTheShellCannotBeStarted) {
  CLogCapture log;
  // No command line may be longer than an eighth of the limit on their sum; 32 pages is the least that holds.
  EXPECT_EQ(CBrntPlatform::RunShell(std::string(64 * 1024 * 1024, ' ')), -1);
  EXPECT_EQ(log.PriorityOf("cannot run ["), 300);
}

TEST(Clocks, RunWithTheSystems) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const SInt64 before = static_cast<SInt64>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
  const SInt64 ms = CBrntPlatform::MonotonicMs();
  EXPECT_GE(ms, before);
  EXPECT_LT(ms, before + 10000);

  struct sysinfo info {};
  ASSERT_EQ(sysinfo(&info), 0);
  const SInt64 uptime = CBrntPlatform::UptimeSec();
  EXPECT_GE(uptime, info.uptime);
  EXPECT_LT(uptime, info.uptime + 10);
}

TEST(SleepMs, LastsAsLongAsAsked) {
  const SInt64 before = CBrntPlatform::MonotonicMs();
  CBrntPlatform::SleepMs(30);
  EXPECT_GE(CBrntPlatform::MonotonicMs() - before, 30);
  CBrntPlatform::SleepMs(0);
  CBrntPlatform::SleepMs(-5);
}

void IgnoreSignal(int) {}

TEST(SleepMs, IsNotCutShortByASignal) {
  struct sigaction action {};
  struct sigaction before {};
  action.sa_handler = IgnoreSignal;  // and no SA_RESTART
  sigaction(SIGUSR1, &action, &before);
  const pthread_t self = pthread_self();
  const SInt64 start = CBrntPlatform::MonotonicMs();
  std::thread interrupter([self] {
    for (int i = 0; i < 5; ++i) {
      CBrntPlatform::SleepMs(10);
      pthread_kill(self, SIGUSR1);
    }
  });
  CBrntPlatform::SleepMs(120);
  EXPECT_GE(CBrntPlatform::MonotonicMs() - start, 120);
  interrupter.join();
  sigaction(SIGUSR1, &before, nullptr);
}

TEST(ScopedPlatform, ReplacesWhatItSetsAndPutsItBack) {
  {
    T_PlatformHooks outer;
    outer.uptimeSec = [] { return SInt64{100}; };
    outer.runShell = [](const std::string& command) { return static_cast<int>(command.size()); };
    const CScopedPlatform first(outer);
    {
      T_PlatformHooks inner;
      inner.uptimeSec = [] { return SInt64{200}; };
      const CScopedPlatform second(inner);
      EXPECT_EQ(CBrntPlatform::UptimeSec(), 200);
      EXPECT_EQ(CBrntPlatform::RunShell("four"), 4);
    }
    EXPECT_EQ(CBrntPlatform::UptimeSec(), 100);
  }
  EXPECT_EQ(CBrntPlatform::RunShell("exit 3"), 3);
}

}  // namespace
