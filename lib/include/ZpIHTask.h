// Cooperative tasks and the threads that run them.
//
// A task is an object whose Run a pool thread calls when the task was signalled, or when a time it asked for has come.
// Run never blocks and never runs on two threads at once. Everything is parameterised by an instance number: each
// instance has a pool of its own. Pools live until the process ends; nothing here is destroyed at exit, because the
// threads still run then.
#pragma once

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include "MyAssert.h"
#include "OS.h"
#include "OSAtomic.h"
#include "OSHeap.h"
#include "OSMutex.h"
#include "OSMutexRW.h"
#include "OSQueue.h"
#include "OSThread.h"
#include "OSTypes.h"

template <int T>
class ZpIHTaskThread;
template <int T>
class ZpIHTaskThreadPool;

class ZpIHBaseTask {
 public:
  ZpIHBaseTask() = default;
  ZpIHBaseTask(const ZpIHBaseTask&) = delete;
  ZpIHBaseTask& operator=(const ZpIHBaseTask&) = delete;
  virtual ~ZpIHBaseTask() = default;

  // Serves the pending events. Result in milliseconds: > 0 run again then, 0 sleep until signalled, < 0 destroy me.
  // An exception that leaves it is reported and counts as 0.
  virtual SInt64 Run() = 0;

  // Hooks of the coroutine mode, which is left out: tasks always run on their thread's own stack.
  virtual void AddTaskToBreakPointReadyTaskList(void* /*task*/) {}
  virtual void AddTaskToSuccessTaskList(void* /*task*/) {}

 protected:
  SInt64 m_s64Return = 0;  // coroutine mode only
  Bool16 m_isFinish = 1;   // not inside a coroutine step
};

// A task of instance T. Between its first Signal and its return to sleep it belongs to the pool: only Run's negative
// result may destroy it then.
template <int T>
class ZpIHTask : public ZpIHBaseTask {
 public:
  using EventFlags = UInt32;

  static constexpr EventFlags kKillEvent = 0x1;
  static constexpr EventFlags kIdleEvent = 0x2;  // an idle timer fired, or the time that Run asked for has come
  static constexpr EventFlags kStartEvent = 0x4;
  static constexpr EventFlags kTimeoutEvent = 0x8;
  static constexpr EventFlags kReadEvent = 0x10;
  static constexpr EventFlags kWriteEvent = 0x20;
  static constexpr EventFlags kUpdateEvent = 0x40;
  static constexpr EventFlags kMsgEvent = 0x80;
  static constexpr EventFlags kAlive = 0x80000000;     // queued, timed or running
  static constexpr EventFlags kAliveOff = 0x7fffffff;  // every event, kAlive not

  ZpIHTask() { SetTaskName("unknown"); }
  ~ZpIHTask() override { MarkDestroyed(); }

  // Stores "live_" and the name, cut to fit 48 bytes with the closing zero.
  void SetTaskName(const char* name) EXCLUDES(m_AtomicMutex) {
    OSMutexLocker locker(m_AtomicMutex);
    std::snprintf(fTaskName, sizeof fTaskName, "%.*s%.*s", kLivePrefixLength, kLivePrefix,
                  static_cast<int>(sizeof fTaskName) - 1 - kLivePrefixLength, name);
  }

  // The name with its prefix.
  std::string GetTaskName() EXCLUDES(m_AtomicMutex) {
    OSMutexLocker locker(m_AtomicMutex);
    return fTaskName;
  }

  // False once the task is being destroyed.
  bool Valid() EXCLUDES(m_AtomicMutex) {
    OSMutexLocker locker(m_AtomicMutex);
    return ValidLocked();
  }

  // Adds events to the pending ones and queues the task to a thread, unless it is queued, timed or running already.
  // Such a task sees the new events at its next run; a sleep on a time is not cut short. Any thread.
  void Signal(EventFlags events) EXCLUDES(m_AtomicMutex);

  // Takes the pending events. Called by Run of the task itself; events that come later stay for the next call.
  EventFlags GetEvents() EXCLUDES(m_AtomicMutex) {
    OSMutexLocker locker(m_AtomicMutex);
    const EventFlags events = fEvents & kAliveOff;
    events_sub(events);
    return events;
  }

  // Called in Run: the next signal queues the task to the thread it is running on.
  void ForceSameThread() {
    fUseThisThread = dynamic_cast<ZpIHTaskThread<T>*>(OSThread::GetCurrent());
    ZP_ASSERT(fUseThisThread != nullptr);
  }

  // How many runs in a row a thread grants the task before others have their turn; 0: no limit. Called before the first
  // Signal, or in Run.
  void SetMaxRunCount(UInt32 count) { fMaxRunCount = count; }
  UInt32 GetMaxRunCount() const { return fMaxRunCount; }
  void ResetRunCount() { fRunCount = fMaxRunCount; }

  // Uses up one of the runs in a row; false when that was the last.
  bool RunCountSub() { return fMaxRunCount == 0 || --fRunCount > 0; }

 protected:
  EventFlags events_add(EventFlags events) REQUIRES(m_AtomicMutex) { return fEvents += events; }
  EventFlags events_sub(EventFlags events) REQUIRES(m_AtomicMutex) { return fEvents -= events; }

  // Returns the events as they were before.
  EventFlags events_or(EventFlags events) REQUIRES(m_AtomicMutex) {
    const EventFlags old = fEvents;
    fEvents |= events;
    return old;
  }

  // Stores events if the pending ones are exactly expected. True when they were.
  bool events_compare_store(EventFlags expected, EventFlags events) REQUIRES(m_AtomicMutex) {
    if (fEvents != expected) return false;
    fEvents = events;
    return true;
  }

  bool ValidLocked() REQUIRES(m_AtomicMutex) { return std::memcmp(fTaskName, kLivePrefix, kLivePrefixLength) == 0; }

  OSMutex m_AtomicMutex;
  char fTaskName[48] GUARDED_BY(m_AtomicMutex) = {};  // its first five characters tell a living task
  EventFlags fEvents GUARDED_BY(m_AtomicMutex) = 0;
  // The rest belongs to whoever made the task kAlive: the signalling thread until it has queued it, then its task
  // thread.
  ZpIHTaskThread<T>* fUseThisThread = nullptr;
  ZpIHTaskThread<T>* fLastThread = nullptr;
  OSHeapElem fTimerHeapElem{this};  // value: when to run again, in milliseconds of OS::Milliseconds
  OSQueueElem fTaskQueueElem{this};
  UInt32 fRunCount = 0;
  UInt32 fMaxRunCount = 0;

 private:
  friend class ZpIHTaskThread<T>;
  friend class ZpIHTaskThreadPool<T>;

  static constexpr char kLivePrefix[] = "live_";
  static constexpr int kLivePrefixLength = 5;

  void MarkDestroyed() EXCLUDES(m_AtomicMutex) {
    OSMutexLocker locker(m_AtomicMutex);
    fTaskName[0] = 'D';
  }

  // Back to sleep, unless events came in while the task ran.
  bool FallAsleep() EXCLUDES(m_AtomicMutex) {
    OSMutexLocker locker(m_AtomicMutex);
    return events_compare_store(kAlive, 0);
  }

  void AddIdleEvent() EXCLUDES(m_AtomicMutex) {
    OSMutexLocker locker(m_AtomicMutex);
    events_or(kIdleEvent);
  }

  // True when the task was asleep and must be queued.
  bool AddEvents(EventFlags events) EXCLUDES(m_AtomicMutex) {
    OSMutexLocker locker(m_AtomicMutex);
    if (!ValidLocked()) return false;
    return (events_or(events | kAlive) & kAlive) == 0;
  }

  inline static std::atomic<UInt32> sThreadPicker{0};
};

// One thread of the pool: waits for tasks that were signalled or whose time has come, and runs them.
template <int T>
class ZpIHTaskThread : public OSThread {
 public:
  explicit ZpIHTaskThread(UInt32 stackBytes = 0, SInt32 niceness = 0) : OSThread(stackBytes, niceness) {
    SetThreadName(("task-" + std::to_string(T)).c_str());
  }
  ~ZpIHTaskThread() override {
    SendStopRequest();
    fTaskQueue.WakeAll();
    StopAndWaitForThread();
  }

  virtual int GetTemplateID() { return T; }

 protected:
  void Entry() override {
    for (;;) {
      ZpIHTask<T>* task = WaitForTask();
      // Deliberate: a destroyed task in the queue ends the thread; it is not skipped.
      if (task == nullptr || !task->Valid()) return;
      task->ResetRunCount();
      RunUntilItRests(task);
    }
  }

  // The next task to run; null when the thread was asked to stop. A flood of expiring timers does not starve the
  // signalled tasks: once it has lasted kQueueOverdueMs, the queue comes first and timers get every 11th round.
  ZpIHTask<T>* WaitForTask() {
    for (;;) {
      const SInt64 now = OS::Milliseconds();
      OSQueueElem* signalled = nullptr;
      if (now - fQueueLastRunTime < kQueueOverdueMs) {
        const OSHeapElem* earliest = fHeap.PeekMin();
        if (earliest != nullptr && earliest->GetValue() <= now) return TaskOf(fHeap.Extract()->GetEnclosingObject());
        fQueueLastRunTime = now;
        const SInt64 ms = earliest == nullptr ? kShortestWaitMs : std::max(kShortestWaitMs, earliest->GetValue() - now);
        signalled = fTaskQueue.DeQueueBlocking(this, ms);
      } else {
        if (++fQueueRunCount > kQueueRoundsInARow) RestartQueueTurn(now);
        signalled = fTaskQueue.DeQueue();
        if (signalled == nullptr) RestartQueueTurn(now);
      }
      if (signalled != nullptr) return TaskOf(signalled->GetEnclosingObject());
      if (IsStopRequested()) return nullptr;
    }
  }

  OSHeap fHeap{1024};            // this thread only: tasks waiting for a time
  OSQueue_Blocking fTaskQueue;   // locks itself: signalled tasks
  SInt64 fQueueLastRunTime = 0;  // this thread only, milliseconds
  SInt32 fQueueRunCount = 0;     // this thread only

 private:
  friend class ZpIHTaskThreadPool<T>;

  static constexpr SInt64 kShortestWaitMs = 5;
  static constexpr SInt64 kQueueOverdueMs = 2000;
  static constexpr SInt32 kQueueRoundsInARow = 10;

  static ZpIHTask<T>* TaskOf(void* enclosing) { return static_cast<ZpIHTask<T>*>(enclosing); }

  void RestartQueueTurn(SInt64 now) {
    fQueueLastRunTime = now;
    fQueueRunCount = 0;
  }

  // Runs the task until it sleeps, waits for a time, gives its place to others, or is gone.
  void RunUntilItRests(ZpIHTask<T>* task) {
    for (;;) {
      task->fUseThisThread = nullptr;
      const SInt64 result = RunOnce(task);
      task->fLastThread = this;
      if (result < 0) {
        task->MarkDestroyed();
        delete task;
        ThreadYield();
        return;
      }
      if (result > 0) {
        WakeLater(task, result);
        return;
      }
      if (task->FallAsleep()) return;  // from here on another thread may have it
      if (!task->RunCountSub()) {
        fTaskQueue.EnQueue(&task->fTaskQueueElem);
        return;
      }
      ThreadYield();
    }
  }

  static SInt64 RunOnce(ZpIHTask<T>* task) {
    try {
      return task->Run();
    } catch (...) {
      ReportException(task->GetTaskName().c_str());
      return 0;
    }
  }

  void WakeLater(ZpIHTask<T>* task, SInt64 ms) {
    const SInt64 now = OS::Milliseconds();
    const SInt64 latest = std::numeric_limits<SInt64>::max();
    task->fTimerHeapElem.SetValue(ms > latest - now ? latest : now + ms);
    const bool inserted = fHeap.Insert(&task->fTimerHeapElem);
    ZP_ASSERT(inserted);
    task->AddIdleEvent();
  }
};

// The threads of instance T. All static.
template <int T>
class ZpIHTaskThreadPool {
 public:
  // Creates count threads and starts them; an existing pool is left alone. At start-up, before the first task.
  static void AddThreads(UInt32 count) EXCLUDES(sMutexRW) {
    OSMutexWriteLocker locker(sMutexRW);
    if (sNumTaskThreads != 0 || count == 0) return;
    sTaskThreadArray = new ZpIHTaskThread<T>*[count];
    for (UInt32 i = 0; i < count; ++i) {
      sTaskThreadArray[i] = new ZpIHTaskThread<T>(0, 0);
      const bool started = sTaskThreadArray[i]->Start();
      ZP_ASSERT(started);
    }
    sNumTaskThreads = count;
  }

  // Stops the threads, each after the run it is in, and destroys them. Nobody may signal a task meanwhile; tasks that
  // are queued or timed are dropped.
  static void RemoveThreads() EXCLUDES(sMutexRW) {
    OSMutexWriteLocker locker(sMutexRW);
    const UInt32 count = sNumTaskThreads.exchange(0);
    for (UInt32 i = 0; i < count; ++i) sTaskThreadArray[i]->SendStopRequest();
    for (UInt32 i = 0; i < count; ++i) delete sTaskThreadArray[i];
    if (count == 0) return;
    delete[] sTaskThreadArray;
    sTaskThreadArray = nullptr;
  }

  static UInt32 GetNumThreads() { return sNumTaskThreads; }

  // Appends task, which the caller has just made kAlive, to the queue of thread; to that of the thread whose turn it is
  // when thread is null. Without threads nothing happens.
  static void AddTaskToThread(ZpIHTask<T>* task, ZpIHTaskThread<T>* thread) {
    const UInt32 count = sNumTaskThreads;
    if (count == 0) return;
    if (thread == nullptr) thread = sTaskThreadArray[(zp_atomic_add(&ZpIHTask<T>::sThreadPicker, 1) - 1) % count];
    thread->fTaskQueue.EnQueue(&task->fTaskQueueElem);
  }

  // Adds to the time planned for the pool's tasks, in milliseconds, and returns the sum.
  static SInt32 AddMoniterPlanTime(SInt32 ms) EXCLUDES(sMutexRW) {  // (sic)
    OSMutexWriteLocker locker(sMutexRW);
    return s32PlanTime += ms;
  }

  // Makes the process run as that user and group. False when either is unknown or the system refuses.
  static bool SwitchPersonality(const char* user, const char* group) {
    const ::group* toGroup = getgrnam(group);
    if (toGroup == nullptr) return false;
    const gid_t gid = toGroup->gr_gid;
    const ::passwd* toUser = getpwnam(user);
    if (toUser == nullptr) return false;
    const uid_t uid = toUser->pw_uid;
    return initgroups(user, gid) == 0 && setgid(gid) == 0 && setuid(uid) == 0;
  }

  // The switch of the coroutine mode. The mode itself is left out, so the switch changes nothing.
  static void SetUcontextEnable(Bool16 enable) { sUcontextEnable = enable; }
  static Bool16 GetUcontextEnable() { return sUcontextEnable; }

 private:
  inline static OSMutexRW& sMutexRW = *new OSMutexRW;            // never destroyed
  inline static ZpIHTaskThread<T>** sTaskThreadArray = nullptr;  // constant while sNumTaskThreads is not 0
  inline static std::atomic<UInt32> sNumTaskThreads{0};
  inline static SInt32 s32PlanTime GUARDED_BY(sMutexRW) = 0;
  inline static std::atomic<Bool16> sUcontextEnable{0};
};

template <int T>
void ZpIHTask<T>::Signal(EventFlags events) {
  if (AddEvents(events)) ZpIHTaskThreadPool<T>::AddTaskToThread(this, fUseThisThread);
}
