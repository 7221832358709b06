#include "brntstop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <iostream>
#include <thread>

#include "brntlog.h"
#include "brntplatform.h"

namespace {

// What ends the process runs in a child process; its log and its standard output come on standard error.
class Stop : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  static void BeginChild() {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    brntlog::Configure("/nowhere");  // logs to the console
    CBrntStop::TakeSignalsHere();
  }

  // Sends the signal a moment after the main thread has begun to wait.
  static void RaiseSoon(int signalNumber) {
    std::thread([signalNumber] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      kill(getpid(), signalNumber);
    }).detach();
  }
};

TEST_F(Stop, SigtermDuringASleepEndsTheProcessWithStatus0AndOneLine) {
  EXPECT_EXIT(
      {
        BeginChild();
        RaiseSoon(SIGTERM);
        CBrntPlatform::SleepMs(20000);
        _exit(3);
      },
      testing::ExitedWithCode(0), "INFO stopped by signal 15 --");
}

TEST_F(Stop, SigintDoesTheSame) {
  EXPECT_EXIT(
      {
        BeginChild();
        RaiseSoon(SIGINT);
        CBrntPlatform::SleepMs(20000);
        _exit(3);
      },
      testing::ExitedWithCode(0), "INFO stopped by signal 2 --");
}

TEST_F(Stop, ASignalThatCameBeforeTheWaitIsNotLost) {
  EXPECT_EXIT(
      {
        BeginChild();
        kill(getpid(), SIGTERM);
        CBrntStop::WaitForStop(0);
        _exit(3);
      },
      testing::ExitedWithCode(0), "stopped by signal 15");
}

TEST_F(Stop, ARunningCommandDoesNotHoldItUp) {
  EXPECT_EXIT(
      {
        BeginChild();
        RaiseSoon(SIGTERM);
        CBrntPlatform::RunShell("exec sleep 5");
        _exit(3);
      },
      testing::ExitedWithCode(0), "stopped by signal 15");
}

TEST_F(Stop, OtherThreadsDoNotTakeTheSignal) {
  EXPECT_EXIT(
      {
        BeginChild();
        std::thread([] { CBrntPlatform::SleepMs(20000); }).detach();  // has the signals blocked, too
        RaiseSoon(SIGTERM);
        CBrntPlatform::SleepMs(20000);
        _exit(3);
      },
      testing::ExitedWithCode(0), "stopped by signal 15");
}

TEST_F(Stop, LeavingFlushesTheStreamsAndRunsNoDestructorOfAStatic) {
  static struct T_Loud {
    bool armed = false;
    ~T_Loud() {
      if (armed) std::fputs("destroyed\n", stderr);
    }
  } s_loud;
  EXPECT_EXIT(
      {
        BeginChild();
        s_loud.armed = true;
        std::printf("printed, ");
        std::cout << "streamed";
        CBrntStop::LeaveProcess(7);
      },
      testing::ExitedWithCode(7),
      testing::AllOf(testing::HasSubstr("printed, "), testing::HasSubstr("streamed"),
                     testing::Not(testing::HasSubstr("destroyed"))));
}

TEST_F(Stop, WaitsOnNoOtherThread) {
  const auto before = std::chrono::steady_clock::now();
  CBrntStop::WaitForStop(60000);
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(30));
  EXPECT_FALSE(CBrntStop::IsStopThread());
}

}  // namespace
