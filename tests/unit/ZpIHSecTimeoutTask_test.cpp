#include "ZpIHSecTimeoutTask.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>

#include "steppedclock.h"
#include "waitfor.h"

namespace {

constexpr int kInstance = 921;  // has no threads: the tests look through the records themselves
using Task = ZpIHTask<kInstance>;
using Record = ZpIHSecTimeoutTask<kInstance>;

class COwner : public Task {
 public:
  SInt64 Run() override { return 0; }
};

class SecTimeout : public testing::Test {
 protected:
  void TearDown() override {
    for (const auto& record : m_records) m_looker.Unlink(record.get());
  }

  Record& NewRecord(UInt32 seconds) {
    m_records.push_back(std::make_unique<Record>(&m_owner, seconds));
    m_looker.Link(m_records.back().get());
    return *m_records.back();
  }

  // One look through the records, that much later. True when the owner was signalled.
  bool FiresAfter(SInt64 ms) {
    m_clock.AdvanceMs(ms);
    m_nextLookMs = m_looker.Run();
    return (m_owner.GetEvents() & Task::kTimeoutEvent) != 0;
  }

  CSteppedClock m_clock{50000};
  COwner m_owner;
  ZpIHSecTimeoutTaskThread<kInstance> m_looker;
  std::vector<std::unique_ptr<Record>> m_records;
  SInt64 m_nextLookMs = 0;
};

}  // namespace

TEST_F(SecTimeout, FiresWhenTheTimeIsOver) {
  NewRecord(3);
  EXPECT_FALSE(FiresAfter(2999));
  EXPECT_TRUE(FiresAfter(1));
}

TEST_F(SecTimeout, FiresAtEveryLookUntilItIsRefreshed) {
  Record& record = NewRecord(1);
  EXPECT_TRUE(FiresAfter(1000));
  EXPECT_TRUE(FiresAfter(1000));
  EXPECT_TRUE(FiresAfter(1));
  record.RefreshTimeout();
  EXPECT_FALSE(FiresAfter(999));
  EXPECT_TRUE(FiresAfter(1));
}

TEST_F(SecTimeout, OfZeroSecondsNeverFires) {
  Record& record = NewRecord(0);
  EXPECT_FALSE(FiresAfter(100000));
  record.RefreshTimeout();
  EXPECT_FALSE(FiresAfter(100000));
}

TEST_F(SecTimeout, CanBeSetAndClearedLater) {
  Record& record = NewRecord(0);
  record.SetTimeout(2);
  EXPECT_FALSE(FiresAfter(1999));
  EXPECT_TRUE(FiresAfter(1));
  record.SetTimeout(0);
  EXPECT_FALSE(FiresAfter(100000));
}

TEST_F(SecTimeout, SignalsTheTaskThatWasSetLast) {
  Record& record = NewRecord(1);
  COwner other;
  record.SetTask(&other);
  EXPECT_FALSE(FiresAfter(1000));
  EXPECT_EQ(other.GetEvents(), Task::kTimeoutEvent);
  record.SetTask(nullptr);
  EXPECT_FALSE(FiresAfter(1000));
}

TEST_F(SecTimeout, IsLookedForOnceASecondWhenNoneIsDueSooner) {
  FiresAfter(0);
  EXPECT_EQ(m_nextLookMs, 1000);
  NewRecord(5);
  FiresAfter(0);
  EXPECT_EQ(m_nextLookMs, 1000);
}

TEST_F(SecTimeout, IsLookedForAHundredMillisecondsAfterTheEarliestThatIsDueSooner) {
  NewRecord(1);
  m_clock.AdvanceMs(300);
  NewRecord(1);
  FiresAfter(0);
  EXPECT_EQ(m_nextLookMs, 800);
}

TEST_F(SecTimeout, AnExpiredOneDoesNotBringTheNextLookForward) {
  NewRecord(1);
  FiresAfter(2000);
  EXPECT_EQ(m_nextLookMs, 1000);
}

TEST_F(SecTimeout, AnUnlinkedOneDoesNotFire) {
  Record& record = NewRecord(1);
  m_looker.Unlink(&record);
  EXPECT_FALSE(FiresAfter(2000));
}

TEST_F(SecTimeout, ALookTakesTheLookersOwnEvents) {
  m_looker.Signal(Task::kStartEvent);
  m_looker.Run();
  EXPECT_EQ(m_looker.GetEvents(), 0U);
}

TEST_F(SecTimeout, TheLookersNameIsTimeoutTask) { EXPECT_EQ(m_looker.GetTaskName(), "live_TimeoutTask"); }

TEST_F(SecTimeout, BeforeInitializeARecordStandsAlone) {
  Record record(&m_owner, 1);
  EXPECT_FALSE(FiresAfter(2000));
}

namespace {

constexpr int kRunningInstance = 922;

// As the links of the process are built: the record is a member of its task.
class CLink : public ZpIHTask<kRunningInstance> {
 public:
  SInt64 Run() override {
    const EventFlags events = GetEvents();
    if ((events & kKillEvent) != 0) return -1;
    if ((events & kTimeoutEvent) != 0 && ++s_timeouts >= 2) m_timeout.RefreshTimeout();
    return 0;
  }
  ~CLink() override { s_gone = true; }

  inline static std::atomic<int> s_timeouts{0};
  inline static std::atomic<bool> s_gone{false};

 private:
  ZpIHSecTimeoutTask<kRunningInstance> m_timeout{this, 1};
};

}  // namespace

TEST(SecTimeoutTask, TicksATaskThatHoldsARecordAndEndsWithIt) {
  ZpIHTaskThreadPool<kRunningInstance>::AddThreads(3);
  ZpIHIdleTask<kRunningInstance>::Initialize();
  ZpIHSecTimeoutTask<kRunningInstance>::Initialize();
  ZpIHSecTimeoutTask<kRunningInstance>::Initialize();
  const SInt64 start = OS::Milliseconds();
  auto* link = new CLink;
  EXPECT_TRUE(WaitFor([] { return CLink::s_timeouts >= 3; }));
  EXPECT_GE(OS::Milliseconds() - start, 2900);
  link->Signal(CLink::kKillEvent);
  EXPECT_TRUE(WaitFor([] { return CLink::s_gone.load(); }));
}
