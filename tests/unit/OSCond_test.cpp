#include "OSCond.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "OS.h"

namespace {

// A number that threads wait for.
class CBoard {
 public:
  void Write(int value, bool all) {
    OSMutexLocker locker(m_mutex);
    m_value = value;
    if (all) {
      m_cond.Broadcast();
    } else {
      m_cond.Signal();
    }
  }

  void WaitUntil(int value) {
    OSMutexLocker locker(m_mutex);
    while (m_value != value) m_cond.TimedWait(m_mutex, 0);
  }

  bool WaitOnce(SInt64 ms) {
    OSMutexLocker locker(m_mutex);
    return m_cond.TimedWait(m_mutex, ms);
  }

 private:
  OSMutex m_mutex;
  OSCond m_cond;
  int m_value GUARDED_BY(m_mutex) = 0;
};

}  // namespace

TEST(Cond, AWaitWithoutLimitEndsWithASignal) {
  CBoard board;
  std::thread waiter([&] { board.WaitUntil(1); });
  board.Write(1, false);
  waiter.join();
}

TEST(Cond, ABroadcastWakesEveryWaiter) {
  CBoard board;
  std::vector<std::thread> waiters;
  for (int i = 0; i < 3; ++i) waiters.emplace_back([&] { board.WaitUntil(1); });
  board.Write(1, true);
  for (std::thread& waiter : waiters) waiter.join();
}

TEST(Cond, AWaitThatNobodyEndsLastsItsTimeAndSaysSo) {
  CBoard board;
  const SInt64 start = OS::Milliseconds();
  while (board.WaitOnce(30)) {  // true would be a wake-up without a cause
  }
  EXPECT_GE(OS::Milliseconds() - start, 29);
}

TEST(Cond, ATimeInThePastDoesNotWait) {
  CBoard board;
  EXPECT_FALSE(board.WaitOnce(-5));
}
