#include "ZpIHIdleTask.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <vector>

#include "waitfor.h"

namespace {

constexpr int kInstance = 911;

// Remembers when it ran, and with which events.
class CTimedTask : public ZpIHIdleTask<kInstance> {
 public:
  SInt64 Run() override {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_runs.push_back(GetEvents());
    m_lastRun = OS::Milliseconds();
    return 0;
  }

  std::vector<EventFlags> Runs() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_runs;
  }
  SInt64 LastRun() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastRun;
  }

 private:
  mutable std::mutex m_mutex;
  std::vector<EventFlags> m_runs;
  SInt64 m_lastRun = 0;
};

class IdleTimer : public testing::Test {
 protected:
  void SetUp() override {
    ZpIHTaskThreadPool<kInstance>::AddThreads(1);
    ZpIHIdleTask<kInstance>::Initialize();
  }
  void TearDown() override { ZpIHTaskThreadPool<kInstance>::RemoveThreads(); }

  CTimedTask& NewTask() {
    m_tasks.push_back(std::make_unique<CTimedTask>());
    return *m_tasks.back();
  }

  // Returns when every timer that is due before ms milliseconds from now has fired and its task has run: a timer of a
  // task behind them has.
  void LetTimersFire(SInt64 ms) {
    CTimedTask& last = NewTask();
    last.SetIdleTimer(ms);
    ASSERT_TRUE(WaitFor([&] { return !last.Runs().empty(); }));
  }

  std::vector<std::unique_ptr<CTimedTask>> m_tasks;
};

}  // namespace

TEST_F(IdleTimer, SignalsItsTaskWhenTheTimeHasCome) {
  CTimedTask& task = NewTask();
  const SInt64 start = OS::Milliseconds();
  task.SetIdleTimer(20);
  ASSERT_TRUE(WaitFor([&] { return !task.Runs().empty(); }));
  EXPECT_GE(task.LastRun() - start, 20);
  EXPECT_EQ(task.Runs(), (std::vector<UInt32>{ZpIHTask<kInstance>::kIdleEvent}));
}

TEST_F(IdleTimer, FiresOnce) {
  CTimedTask& task = NewTask();
  task.SetIdleTimer(1);
  LetTimersFire(20);
  EXPECT_EQ(task.Runs().size(), 1U);
}

TEST_F(IdleTimer, MayBeSetAgainAfterItFired) {
  CTimedTask& task = NewTask();
  task.SetIdleTimer(1);
  ASSERT_TRUE(WaitFor([&] { return task.Runs().size() == 1; }));
  task.SetIdleTimer(1);
  EXPECT_TRUE(WaitFor([&] { return task.Runs().size() == 2; }));
}

TEST_F(IdleTimer, SettingItAnewMovesIt) {
  CTimedTask& task = NewTask();
  const SInt64 start = OS::Milliseconds();
  task.SetIdleTimer(1000000);
  task.SetIdleTimer(1);
  task.SetIdleTimer(40);
  ASSERT_TRUE(WaitFor([&] { return !task.Runs().empty(); }));
  EXPECT_GE(task.LastRun() - start, 40);
}

TEST_F(IdleTimer, AnEarlierOneWakesTheThreadThatWaitsForALaterOne) {
  CTimedTask& late = NewTask();
  CTimedTask& early = NewTask();
  late.SetIdleTimer(1000000);
  early.SetIdleTimer(1);
  EXPECT_TRUE(WaitFor([&] { return !early.Runs().empty(); }));
  EXPECT_TRUE(late.Runs().empty());
}

TEST_F(IdleTimer, ACancelledOneDoesNotFire) {
  CTimedTask& task = NewTask();
  task.SetIdleTimer(5);
  task.CancelTimeout();
  LetTimersFire(20);
  EXPECT_TRUE(task.Runs().empty());
}

TEST_F(IdleTimer, CancellingOneThatIsNotSetDoesNothing) {
  CTimedTask& task = NewTask();
  task.CancelTimeout();
  task.SetIdleTimer(1);
  EXPECT_TRUE(WaitFor([&] { return !task.Runs().empty(); }));
}

TEST_F(IdleTimer, EndsWithItsTask) {
  NewTask().SetIdleTimer(5);
  m_tasks.clear();  // had the timer stayed, its thread would signal freed memory
  LetTimersFire(20);
}

TEST_F(IdleTimer, ManyRunTogether) {
  for (SInt64 i = 0; i < 50; ++i) NewTask().SetIdleTimer(50 - i);
  EXPECT_TRUE(WaitFor([&] {
    for (const auto& task : m_tasks) {
      if (task->Runs().empty()) return false;
    }
    return true;
  }));
}

TEST(IdleTask, IsNamedSo) { EXPECT_EQ(CTimedTask().GetTaskName(), "live_IdleTask"); }

TEST(IdleTaskThread, StopsThoughItWaitsWithoutLimit) {
  ZpIHIdleTaskThread<912> thread;
  ASSERT_TRUE(thread.Start());
}

TEST(IdleTaskDeathTest, ATimerNeedsTheTimerThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  class CTask : public ZpIHIdleTask<913> {
    SInt64 Run() override { return 0; }
  };
  EXPECT_DEATH(CTask().SetIdleTimer(1), "^_Assert: .*lib/include/ZpIHIdleTask.h, [0-9]+");
}
