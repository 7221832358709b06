#include "OSThread.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "waitfor.h"

namespace {

class CThread : public OSThread {
 public:
  explicit CThread(std::function<void(CThread&)> entry, UInt32 stackBytes = 0, SInt32 niceness = 0)
      : OSThread(stackBytes, niceness), m_entry(std::move(entry)) {}
  ~CThread() override { StopAndWaitForThread(); }

 protected:
  void Entry() override { m_entry(*this); }

 private:
  std::function<void(CThread&)> m_entry;
};

size_t StackBytes() {
  pthread_attr_t attr;
  pthread_getattr_np(pthread_self(), &attr);
  size_t bytes = 0;
  pthread_attr_getstacksize(&attr, &bytes);
  pthread_attr_destroy(&attr);
  return bytes;
}

// Collects the lines about uncaught exceptions while it lives.
class CReportedExceptions {
 public:
  CReportedExceptions() {
    Lines().clear();
    OSThread::SetExceptionHook([](const char* line) {
      const std::lock_guard<std::mutex> lock(s_mutex);
      Lines().emplace_back(line);
    });
  }
  ~CReportedExceptions() { OSThread::SetExceptionHook(nullptr); }

  std::vector<std::string> Get() const {
    const std::lock_guard<std::mutex> lock(s_mutex);
    return Lines();
  }

 private:
  static std::vector<std::string>& Lines() {
    static std::vector<std::string> lines;
    return lines;
  }
  inline static std::mutex s_mutex;
};

}  // namespace

TEST(Thread, RunsEntryOnAThreadOfItsOwn) {
  pthread_t inside = pthread_self();
  CThread thread([&](CThread&) { inside = pthread_self(); });
  ASSERT_TRUE(thread.Start());
  thread.StopAndWaitForThread();
  EXPECT_EQ(pthread_equal(inside, pthread_self()), 0);
}

TEST(Thread, StartsOnlyOnce) {
  CThread thread([](CThread&) {});
  EXPECT_TRUE(thread.Start());
  EXPECT_FALSE(thread.Start());
}

TEST(Thread, GetCurrentIsTheThreadsObject) {
  OSThread* inside = nullptr;
  CThread thread([&](CThread&) { inside = OSThread::GetCurrent(); });
  thread.Start();
  thread.StopAndWaitForThread();
  EXPECT_EQ(inside, &thread);
}

TEST(Thread, GetCurrentIsNullOnOtherThreads) { EXPECT_EQ(OSThread::GetCurrent(), nullptr); }

TEST(Thread, StopAndWaitReturnsWhenEntryHasSeenTheRequest) {
  bool ended = false;
  CThread thread([&](CThread& self) {
    while (!self.IsStopRequested()) OSThread::ThreadYield();
    ended = true;
  });
  thread.Start();
  EXPECT_FALSE(thread.IsStopRequested());
  thread.StopAndWaitForThread();
  EXPECT_TRUE(ended);
}

TEST(Thread, StoppingWhatNeverStartedDoesNotWait) {
  CThread thread([](CThread&) {});
  thread.StopAndWaitForThread();
  EXPECT_TRUE(thread.IsStopRequested());
}

TEST(Thread, HasAtLeastOneMebibyteOfStack) {
  size_t byDefault = 0;
  size_t tooSmall = 0;
  CThread first([&](CThread&) { byDefault = StackBytes(); });
  CThread second([&](CThread&) { tooSmall = StackBytes(); }, 4096);
  first.Start();
  second.Start();
  first.StopAndWaitForThread();
  second.StopAndWaitForThread();
  EXPECT_GE(byDefault, size_t{1} << 20);
  EXPECT_GE(tooSmall, size_t{1} << 20);
  EXPECT_LT(tooSmall, size_t{2} << 20);
}

TEST(Thread, TakesABiggerStackWhenAskedTo) {
  size_t bytes = 0;
  CThread thread([&](CThread&) { bytes = StackBytes(); }, 3U << 20);
  thread.Start();
  thread.StopAndWaitForThread();
  EXPECT_GE(bytes, size_t{3} << 20);
}

TEST(Thread, TakesItsNicenessAlone) {
  const int before = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
  int inside = 0;
  CThread thread([&](CThread&) { inside = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid())); }, 0, 5);
  thread.Start();
  thread.StopAndWaitForThread();
  EXPECT_EQ(inside, 5);
  EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(gettid())), before);
}

TEST(Thread, ShowsTheFirst15CharactersOfItsName) {
  char inside[16] = {};
  CThread thread([&](CThread&) { pthread_getname_np(pthread_self(), inside, sizeof inside); });
  thread.SetThreadName("a-name-that-is-too-long");
  thread.Start();
  thread.StopAndWaitForThread();
  EXPECT_STREQ(inside, "a-name-that-is-");
}

TEST(Thread, AnExceptionThatLeavesEntryIsReportedInOneLine) {
  const CReportedExceptions reported;
  CThread thread([](CThread&) { throw std::runtime_error("line one\nline two"); });
  thread.Start();
  thread.StopAndWaitForThread();
  EXPECT_EQ(reported.Get(), (std::vector<std::string>{"thread: uncaught exception: line one line two"}));
}

TEST(Thread, AnythingThrownIsReported) {
  const CReportedExceptions reported;
  CThread thread([](CThread&) { throw 7; });
  thread.Start();
  thread.StopAndWaitForThread();
  EXPECT_EQ(reported.Get(), (std::vector<std::string>{"thread: uncaught exception: not a std::exception"}));
}

TEST(Thread, WithoutAHookTheLineGoesToStandardError) {
  testing::internal::CaptureStderr();
  CThread thread([](CThread&) { throw std::runtime_error("bad"); });
  thread.Start();
  thread.StopAndWaitForThread();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "thread: uncaught exception: bad\n");
}

TEST(Thread, AfterInitializeAWriteToAPeerThatHasGoneIsAnError) {
  OSThread::Initialize();
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  EXPECT_EQ(write(ends[1], "x", 1), -1);
  EXPECT_EQ(errno, EPIPE);
  close(ends[1]);
}

TEST(ThreadDeathTest, AThreadCannotWaitForItself) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        CThread thread([](CThread& self) { self.StopAndWaitForThread(); });
        thread.Start();
        thread.StopAndWaitForThread();
      },
      "^_Assert: .*OSThread.cpp, [0-9]+");
}
