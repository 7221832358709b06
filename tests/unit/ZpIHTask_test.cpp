#include "ZpIHTask.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "gate.h"
#include "steppedclock.h"
#include "waitfor.h"

namespace {

constexpr int kInstance = 901;
using Task = ZpIHTask<kInstance>;
using Pool = ZpIHTaskThreadPool<kInstance>;

// A task that does what the test says, and remembers the events of each run.
class CScriptTask : public Task {
 public:
  using Step = std::function<SInt64(CScriptTask& self, int run)>;  // run: 1 for the first

  explicit CScriptTask(Step step = nullptr) : m_step(std::move(step)) {}

  SInt64 Run() override {
    const EventFlags events = GetEvents();
    int run = 0;
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_runs.push_back(events);
      m_threads.push_back(OSThread::GetCurrent());
      run = static_cast<int>(m_runs.size());
    }
    return m_step ? m_step(*this, run) : 0;
  }

  // The events of each run so far.
  std::vector<EventFlags> Runs() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_runs;
  }
  std::vector<OSThread*> Threads() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_threads;
  }
  bool HasRun(size_t times) const { return Runs().size() >= times; }

  EventFlags PendingEvents() {
    OSMutexLocker locker(m_AtomicMutex);
    return fEvents;
  }
  bool Sleeps() { return PendingEvents() == 0; }
  void LookDestroyed() {
    OSMutexLocker locker(m_AtomicMutex);
    fTaskName[0] = 'D';
  }
  OSQueueElem* QueueLink() { return &fTaskQueueElem; }
  OSHeapElem* TimerLink() { return &fTimerHeapElem; }

 private:
  const Step m_step;
  mutable std::mutex m_mutex;
  std::vector<EventFlags> m_runs;
  std::vector<OSThread*> m_threads;
};

// The pool ends before the tasks that a test declares after SetUp could matter to it: they are owned by the fixture.
class TaskPool : public testing::Test {
 protected:
  void StartThreads(UInt32 count) { Pool::AddThreads(count); }
  void TearDown() override { Pool::RemoveThreads(); }

  CScriptTask& NewTask(CScriptTask::Step step = nullptr) {
    m_tasks.push_back(std::make_unique<CScriptTask>(std::move(step)));
    return *m_tasks.back();
  }

  // Holds one thread of the pool at m_gate until the gate is opened.
  void HoldAThread() {
    NewTask([this](CScriptTask&, int) {
      m_gate.Pass();
      return 0;
    }).Signal(Task::kStartEvent);
  }

  std::vector<std::unique_ptr<CScriptTask>> m_tasks;
  CGate m_gate;
};

}  // namespace

TEST(TaskName, IsTheNameGivenBehindThePrefix) {
  CScriptTask task;
  task.SetTaskName("proxy");
  EXPECT_EQ(task.GetTaskName(), "live_proxy");
}

TEST(TaskName, IsUnknownAtFirst) { EXPECT_EQ(CScriptTask().GetTaskName(), "live_unknown"); }

TEST(TaskName, Of50CharactersKeepsItsFirst42) {
  CScriptTask task;
  task.SetTaskName("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWX");
  EXPECT_EQ(task.GetTaskName(), "live_abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOP");
}

TEST(TaskName, TellsALivingTaskFromADestroyedOne) {
  CScriptTask task;
  EXPECT_TRUE(task.Valid());
  task.LookDestroyed();
  EXPECT_FALSE(task.Valid());
}

TEST(TaskEvents, HaveTheirValues) {
  EXPECT_EQ(Task::kKillEvent, 0x1U);
  EXPECT_EQ(Task::kIdleEvent, 0x2U);
  EXPECT_EQ(Task::kStartEvent, 0x4U);
  EXPECT_EQ(Task::kTimeoutEvent, 0x8U);
  EXPECT_EQ(Task::kReadEvent, 0x10U);
  EXPECT_EQ(Task::kWriteEvent, 0x20U);
  EXPECT_EQ(Task::kUpdateEvent, 0x40U);
  EXPECT_EQ(Task::kMsgEvent, 0x80U);
  EXPECT_EQ(Task::kAlive, 0x80000000U);
  EXPECT_EQ(Task::kAliveOff, 0x7fffffffU);
}

TEST(TaskEvents, SignalsAddUpUntilTheyAreTaken) {
  CScriptTask task;
  task.Signal(Task::kStartEvent);
  task.Signal(Task::kReadEvent);
  EXPECT_EQ(task.GetEvents(), Task::kStartEvent | Task::kReadEvent);
  EXPECT_EQ(task.GetEvents(), 0U);
}

TEST(TaskEvents, TakingThemLeavesTheTaskAlive) {
  CScriptTask task;
  task.Signal(Task::kStartEvent);
  task.GetEvents();
  EXPECT_EQ(task.PendingEvents(), Task::kAlive);
}

TEST(TaskEvents, BitsOutsideTheNamedOnesAreCarriedToo) {
  CScriptTask task;
  task.Signal(0x100);
  EXPECT_EQ(task.GetEvents(), 0x100U);
}

TEST(TaskEvents, WithoutThreadsASignalOnlyAddsThem) {
  CScriptTask task;
  task.Signal(Task::kStartEvent);
  EXPECT_EQ(task.PendingEvents(), Task::kAlive | Task::kStartEvent);
  EXPECT_FALSE(task.QueueLink()->IsMemberOfAnyQueue());
}

TEST(TaskEvents, ADestroyedTaskTakesNone) {
  CScriptTask task;
  task.LookDestroyed();
  task.Signal(Task::kStartEvent);
  EXPECT_EQ(task.PendingEvents(), 0U);
}

TEST_F(TaskPool, RunsASignalledTaskOnceAndLetsItSleep) {
  StartThreads(1);
  CScriptTask& task = NewTask();
  task.Signal(Task::kStartEvent);
  ASSERT_TRUE(WaitFor([&] { return task.HasRun(1) && task.Sleeps(); }));
  EXPECT_EQ(task.Runs(), (std::vector<UInt32>{Task::kStartEvent}));
}

TEST_F(TaskPool, ASleepingTaskRunsAtTheNextSignal) {
  StartThreads(1);
  CScriptTask& task = NewTask();
  task.Signal(Task::kStartEvent);
  ASSERT_TRUE(WaitFor([&] { return task.HasRun(1) && task.Sleeps(); }));
  task.Signal(Task::kReadEvent);
  ASSERT_TRUE(WaitFor([&] { return task.HasRun(2); }));
  EXPECT_EQ(task.Runs()[1], Task::kReadEvent);
}

TEST_F(TaskPool, TwoSignalsBeforeTheRunQueueTheTaskOnce) {
  StartThreads(1);
  HoldAThread();
  m_gate.WaitForArrivals(1);
  CScriptTask& task = NewTask();
  task.Signal(Task::kStartEvent);
  task.Signal(Task::kMsgEvent);
  CScriptTask& last = NewTask();
  last.Signal(Task::kStartEvent);
  m_gate.Open();
  ASSERT_TRUE(WaitFor([&] { return last.HasRun(1); }));
  EXPECT_EQ(task.Runs(), (std::vector<UInt32>{Task::kStartEvent | Task::kMsgEvent}));
}

TEST_F(TaskPool, ATaskThatIsSignalledWhileItRunsRunsAgainAtOnce) {
  StartThreads(1);
  CScriptTask& task = NewTask([](CScriptTask& self, int run) {
    if (run == 1) std::thread([&] { self.Signal(Task::kMsgEvent); }).join();
    return 0;
  });
  task.Signal(Task::kStartEvent);
  ASSERT_TRUE(WaitFor([&] { return task.HasRun(2) && task.Sleeps(); }));
  EXPECT_EQ(task.Runs(), (std::vector<UInt32>{Task::kStartEvent, Task::kMsgEvent}));
}

TEST_F(TaskPool, APositiveResultRunsTheTaskAgainAfterThatTime) {
  StartThreads(1);
  SInt64 first = 0;
  SInt64 second = 0;
  CScriptTask& task = NewTask([&](CScriptTask&, int run) -> SInt64 {
    (run == 1 ? first : second) = OS::Milliseconds();
    return run == 1 ? 30 : 0;
  });
  task.Signal(Task::kStartEvent);
  ASSERT_TRUE(WaitFor([&] { return task.HasRun(2) && task.Sleeps(); }));
  EXPECT_GE(second - first, 30);
  EXPECT_EQ(task.Runs()[1], Task::kIdleEvent);
}

TEST_F(TaskPool, ASignalAddsToTheEventsOfATimedTaskButDoesNotCutItsSleepShort) {
  StartThreads(1);
  SInt64 first = 0;
  SInt64 second = 0;
  CScriptTask& task = NewTask([&](CScriptTask&, int run) -> SInt64 {
    (run == 1 ? first : second) = OS::Milliseconds();
    return run == 1 ? 100 : 0;
  });
  task.Signal(Task::kStartEvent);
  ASSERT_TRUE(WaitFor([&] { return (task.PendingEvents() & Task::kIdleEvent) != 0; }));
  task.Signal(Task::kMsgEvent);
  ASSERT_TRUE(WaitFor([&] { return task.HasRun(2) && task.Sleeps(); }));
  EXPECT_GE(second - first, 100);
  EXPECT_EQ(task.Runs()[1], Task::kIdleEvent | Task::kMsgEvent);
}

TEST_F(TaskPool, TheLongestSleepIsNoTimeInThePast) {
  StartThreads(1);
  CScriptTask& sleeper = NewTask([](CScriptTask&, int) { return std::numeric_limits<SInt64>::max(); });
  sleeper.Signal(Task::kStartEvent);
  ASSERT_TRUE(WaitFor([&] { return (sleeper.PendingEvents() & Task::kIdleEvent) != 0; }));
  // Four turns of another task on the same thread: time enough for the sleeper to run, if it would.
  CScriptTask& other = NewTask([](CScriptTask&, int run) -> SInt64 { return run < 4 ? 1 : 0; });
  other.Signal(Task::kStartEvent);
  ASSERT_TRUE(WaitFor([&] { return other.HasRun(4); }));
  EXPECT_EQ(sleeper.Runs().size(), 1U);
}

TEST_F(TaskPool, ANegativeResultDestroysTheTask) {
  StartThreads(1);
  struct T_Farewell {
    std::atomic<bool> gone{false};
    bool nameWasDead = false;
  } farewell;
  class CMortal : public Task {
   public:
    explicit CMortal(T_Farewell& farewell) : m_farewell(farewell) {}
    ~CMortal() override {
      m_farewell.nameWasDead = !Valid();
      m_farewell.gone = true;
    }
    SInt64 Run() override { return (GetEvents() & kKillEvent) != 0 ? -1 : 0; }

   private:
    T_Farewell& m_farewell;
  };
  auto* task = new CMortal(farewell);
  task->Signal(Task::kKillEvent);
  ASSERT_TRUE(WaitFor([&] { return farewell.gone.load(); }));
  EXPECT_TRUE(farewell.nameWasDead);
}

TEST_F(TaskPool, SignalsGoToTheThreadsInTurn) {
  StartThreads(3);
  CScriptTask& task = NewTask();
  for (size_t run = 1; run <= 6; ++run) {
    task.Signal(Task::kStartEvent);
    ASSERT_TRUE(WaitFor([&] { return task.HasRun(run) && task.Sleeps(); }));
  }
  const std::vector<OSThread*> threads = task.Threads();
  EXPECT_NE(threads[0], threads[1]);
  EXPECT_NE(threads[1], threads[2]);
  EXPECT_NE(threads[2], threads[0]);
  for (size_t i = 0; i < 3; ++i) EXPECT_EQ(threads[i], threads[i + 3]);
}

TEST_F(TaskPool, ATaskMayAskForTheSameThreadAgain) {
  StartThreads(3);
  CScriptTask& task = NewTask([](CScriptTask& self, int) {
    self.ForceSameThread();
    return 0;
  });
  for (size_t run = 1; run <= 4; ++run) {
    task.Signal(Task::kStartEvent);
    ASSERT_TRUE(WaitFor([&] { return task.HasRun(run) && task.Sleeps(); }));
  }
  EXPECT_EQ(task.Threads(), std::vector<OSThread*>(4, task.Threads()[0]));
}

TEST_F(TaskPool, TheSameThreadIsAskedForOnceOnly) {
  StartThreads(2);
  CScriptTask& task = NewTask([](CScriptTask& self, int run) {
    if (run == 1) self.ForceSameThread();
    return 0;
  });
  for (size_t run = 1; run <= 4; ++run) {
    task.Signal(Task::kStartEvent);
    ASSERT_TRUE(WaitFor([&] { return task.HasRun(run) && task.Sleeps(); }));
  }
  EXPECT_EQ(task.Threads()[1], task.Threads()[0]);
  EXPECT_NE(task.Threads()[3], task.Threads()[2]);
}

TEST_F(TaskPool, ATaskNeverRunsOnTwoThreadsAtOnce) {
  StartThreads(3);
  std::atomic<int> inside{0};
  std::atomic<int> overlaps{0};
  CScriptTask& task = NewTask([&](CScriptTask&, int) {
    if (++inside != 1) ++overlaps;
    OSThread::ThreadYield();
    --inside;
    return 0;
  });
  std::vector<std::thread> producers;
  for (UInt32 p = 0; p < 4; ++p) {
    producers.emplace_back([&task, p] {
      for (int i = 0; i < 500; ++i) task.Signal(Task::kReadEvent << p);
    });
  }
  for (std::thread& producer : producers) producer.join();
  ASSERT_TRUE(WaitFor([&] { return task.Sleeps(); }));
  EXPECT_EQ(overlaps, 0);
  UInt32 seen = 0;
  for (const UInt32 events : task.Runs()) seen |= events;
  EXPECT_EQ(seen, UInt32{0xf0});
}

TEST_F(TaskPool, AMaximumRunCountGivesOthersTheirTurn) {
  StartThreads(1);
  std::vector<char> order;
  CScriptTask& busy = NewTask([&](CScriptTask& self, int run) {
    order.push_back('b');
    if (run < 5) self.Signal(Task::kMsgEvent);
    return 0;
  });
  CScriptTask& other = NewTask([&](CScriptTask&, int) {
    order.push_back('o');
    return 0;
  });
  busy.SetMaxRunCount(2);
  HoldAThread();
  m_gate.WaitForArrivals(1);
  busy.Signal(Task::kStartEvent);
  other.Signal(Task::kStartEvent);
  m_gate.Open();
  ASSERT_TRUE(WaitFor([&] { return busy.HasRun(5) && busy.Sleeps() && other.Sleeps(); }));
  EXPECT_EQ(std::string(order.begin(), order.end()), "bbobbb");
}

TEST_F(TaskPool, WithoutAMaximumATaskRunsAsLongAsItHasEvents) {
  StartThreads(1);
  std::vector<char> order;
  CScriptTask& busy = NewTask([&](CScriptTask& self, int run) {
    order.push_back('b');
    if (run < 5) self.Signal(Task::kMsgEvent);
    return 0;
  });
  CScriptTask& other = NewTask([&](CScriptTask&, int) {
    order.push_back('o');
    return 0;
  });
  EXPECT_EQ(busy.GetMaxRunCount(), 0U);
  HoldAThread();
  m_gate.WaitForArrivals(1);
  busy.Signal(Task::kStartEvent);
  other.Signal(Task::kStartEvent);
  m_gate.Open();
  ASSERT_TRUE(WaitFor([&] { return other.HasRun(1) && other.Sleeps(); }));
  EXPECT_EQ(std::string(order.begin(), order.end()), "bbbbbo");
}

TEST_F(TaskPool, AnExceptionThatLeavesRunIsReportedAndTheTaskGoesOn) {
  StartThreads(1);
  CScriptTask& task = NewTask([](CScriptTask&, int run) -> SInt64 {
    if (run == 1) throw std::runtime_error("bad value");
    return 0;
  });
  task.SetTaskName("thrower");
  testing::internal::CaptureStderr();
  task.Signal(Task::kStartEvent);
  const bool slept = WaitFor([&] { return task.HasRun(1) && task.Sleeps(); });
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "live_thrower: uncaught exception: bad value\n");
  ASSERT_TRUE(slept);
  task.Signal(Task::kReadEvent);
  EXPECT_TRUE(WaitFor([&] { return task.HasRun(2); }));
}

TEST_F(TaskPool, AnExistingPoolIsNotCreatedAgain) {
  Pool::AddThreads(2);
  Pool::AddThreads(3);
  EXPECT_EQ(Pool::GetNumThreads(), 2U);
}

TEST_F(TaskPool, ThreadsAreRemovedAndMayBeAddedAnew) {
  Pool::AddThreads(2);
  Pool::RemoveThreads();
  EXPECT_EQ(Pool::GetNumThreads(), 0U);
  Pool::RemoveThreads();
  StartThreads(1);
  CScriptTask& task = NewTask();
  task.Signal(Task::kStartEvent);
  EXPECT_TRUE(WaitFor([&] { return task.HasRun(1); }));
}

TEST_F(TaskPool, TheCoroutineSwitchIsKeptAndChangesNothing) {
  EXPECT_EQ(Pool::GetUcontextEnable(), 0);
  Pool::SetUcontextEnable(1);
  EXPECT_EQ(Pool::GetUcontextEnable(), 1);
  StartThreads(1);
  CScriptTask& task = NewTask();
  task.Signal(Task::kStartEvent);
  EXPECT_TRUE(WaitFor([&] { return task.HasRun(1) && task.Sleeps(); }));
  Pool::SetUcontextEnable(0);
}

TEST(TaskThreadPool, PlanTimesAddUp) {
  using OtherPool = ZpIHTaskThreadPool<902>;
  EXPECT_EQ(OtherPool::AddMoniterPlanTime(5), 5);
  EXPECT_EQ(OtherPool::AddMoniterPlanTime(7), 12);
}

TEST(TaskThreadPool, DoesNotBecomeAUserOrGroupThatIsUnknown) {
  EXPECT_FALSE(Pool::SwitchPersonality("no-such-user", "root"));
  EXPECT_FALSE(Pool::SwitchPersonality("root", "no-such-group"));
}

TEST_F(TaskPool, ItsThreadsAreNamedAfterTheInstance) {
  StartThreads(1);
  char name[16] = {};
  CScriptTask& task = NewTask([&](CScriptTask&, int) {
    pthread_getname_np(pthread_self(), name, sizeof name);
    return 0;
  });
  task.Signal(Task::kStartEvent);
  ASSERT_TRUE(WaitFor([&] { return task.HasRun(1) && task.Sleeps(); }));
  EXPECT_STREQ(name, "task-901");
}

TEST(TaskThread, TellsItsInstance) { EXPECT_EQ(ZpIHTaskThread<kInstance>().GetTemplateID(), kInstance); }

namespace {

// A task thread whose inside shows. A test calls Next where the loop of a running thread would wait for a task.
class COpenThread : public ZpIHTaskThread<kInstance> {
 public:
  ~COpenThread() override { StopAndWaitForThread(); }

  Task* Next() { return WaitForTask(); }
  void Queue(CScriptTask& task) { fTaskQueue.EnQueue(task.QueueLink()); }
  void Time(CScriptTask& task, SInt64 at) {
    task.TimerLink()->SetValue(at);
    ASSERT_TRUE(fHeap.Insert(task.TimerLink()));
  }
  bool HasEnded() const { return m_ended; }

 protected:
  void Entry() override {
    ZpIHTaskThread::Entry();
    m_ended = true;
  }

 private:
  std::atomic<bool> m_ended{false};
};

class WaitForTask : public testing::Test {
 protected:
  // One round with an empty queue: afterwards the queue counts as just served.
  void SetUp() override {
    CScriptTask due;
    m_thread.Time(due, 0);
    ASSERT_EQ(m_thread.Next(), &due);
  }

  CSteppedClock m_clock{100000};
  COpenThread m_thread;
};

}  // namespace

TEST_F(WaitForTask, GivesSignalledTasksInTheirOrder) {
  CScriptTask first;
  CScriptTask second;
  m_thread.Queue(first);
  m_thread.Queue(second);
  EXPECT_EQ(m_thread.Next(), &first);
  EXPECT_EQ(m_thread.Next(), &second);
}

TEST_F(WaitForTask, GivesTasksWhoseTimeHasComeEarliestFirst) {
  CScriptTask late;
  CScriptTask early;
  m_thread.Time(late, 100000);
  m_thread.Time(early, 99990);
  EXPECT_EQ(m_thread.Next(), &early);
  EXPECT_EQ(m_thread.Next(), &late);
}

TEST_F(WaitForTask, ATimeThatHasComeGoesBeforeASignal) {
  CScriptTask timed;
  CScriptTask signalled;
  m_thread.Queue(signalled);
  m_thread.Time(timed, 100000);
  EXPECT_EQ(m_thread.Next(), &timed);
  EXPECT_EQ(m_thread.Next(), &signalled);
}

TEST_F(WaitForTask, ATimeThatHasNotComeStaysBehind) {
  CScriptTask timed;
  CScriptTask signalled;
  m_thread.Time(timed, 100001);
  m_thread.Queue(signalled);
  EXPECT_EQ(m_thread.Next(), &signalled);
  m_clock.AdvanceMs(1);
  EXPECT_EQ(m_thread.Next(), &timed);
}

TEST_F(WaitForTask, GivesNothingOnceTheThreadIsAskedToStop) {
  m_thread.SendStopRequest();
  EXPECT_EQ(m_thread.Next(), nullptr);
}

TEST_F(WaitForTask, GivesNothingWhenTheQueueIsOverdueAndTheThreadIsAskedToStop) {
  m_clock.AdvanceMs(2000);
  m_thread.SendStopRequest();
  EXPECT_EQ(m_thread.Next(), nullptr);
}

TEST_F(WaitForTask, AFloodOfTimersGoesFirstForTwoSeconds) {
  CScriptTask signalled;
  m_thread.Queue(signalled);
  CScriptTask timed[3];
  for (CScriptTask& task : timed) m_thread.Time(task, 0);
  m_clock.AdvanceMs(1999);
  EXPECT_NE(m_thread.Next(), &signalled);
  m_clock.AdvanceMs(1);
  EXPECT_EQ(m_thread.Next(), &signalled);
  EXPECT_NE(m_thread.Next(), nullptr);
}

TEST_F(WaitForTask, AnOverdueQueueIsServedElevenTimesBeforeTimersAreLookedAtAgain) {
  CScriptTask timed;
  m_thread.Time(timed, 0);
  CScriptTask signalled[12];
  for (CScriptTask& task : signalled) m_thread.Queue(task);
  m_clock.AdvanceMs(2000);
  for (size_t i = 0; i < 11; ++i) EXPECT_EQ(m_thread.Next(), &signalled[i]) << i;
  EXPECT_EQ(m_thread.Next(), &timed);
  EXPECT_EQ(m_thread.Next(), &signalled[11]);
}

TEST_F(WaitForTask, AnOverdueButEmptyQueueLetsTheTimersThrough) {
  CScriptTask timed;
  m_thread.Time(timed, 0);
  m_clock.AdvanceMs(5000);
  EXPECT_EQ(m_thread.Next(), &timed);
}

// Deliberate behaviour: a destroyed task ends the thread that meets it; it is not skipped.
TEST(TaskThread, ADestroyedTaskInTheQueueEndsTheThread) {
  CScriptTask destroyed;
  CScriptTask behind;
  destroyed.LookDestroyed();
  COpenThread thread;
  thread.Queue(destroyed);
  thread.Queue(behind);
  ASSERT_TRUE(thread.Start());
  ASSERT_TRUE(WaitFor([&] { return thread.HasEnded(); }));
  EXPECT_TRUE(behind.Runs().empty());
}

TEST(TaskThread, EndsWhenItIsAskedToStop) {
  COpenThread thread;
  ASSERT_TRUE(thread.Start());
  thread.StopAndWaitForThread();
  EXPECT_TRUE(thread.HasEnded());
}

TEST(TaskDeathTest, TheSameThreadCanOnlyBeAskedForOnATaskThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(CScriptTask().ForceSameThread(), "^_Assert: .*lib/include/ZpIHTask.h, [0-9]+");
}
