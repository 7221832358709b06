// Coarse timeouts: a record that a task holds as a member, and the one task of an instance that looks through them.
#pragma once

#include <atomic>

#include "ZpIHIdleTask.h"

template <int T>
class ZpIHSecTimeoutTaskThread;

// Gives its owner kTimeoutEvent once the time is over, and again at every look (about once a second) until the owner
// refreshes or clears it. Its operations may be called on any thread.
template <int T>
class ZpIHSecTimeoutTask {
 public:
  // Creates and starts the instance's timeout task, once. At start-up, after ZpIHIdleTask<T>::Initialize.
  static void Initialize();

  // task: whom to signal. seconds: 0 means no timeout. Before Initialize a record is in no list and never fires.
  ZpIHSecTimeoutTask(ZpIHTask<T>* task, UInt32 seconds);
  ~ZpIHSecTimeoutTask();
  ZpIHSecTimeoutTask(const ZpIHSecTimeoutTask&) = delete;
  ZpIHSecTimeoutTask& operator=(const ZpIHSecTimeoutTask&) = delete;

  // Due that many seconds from now; 0 clears the timeout.
  void SetTimeout(UInt32 seconds) {
    fTimeoutInMilSecs = SInt64{seconds} * 1000;
    RefreshTimeout();
  }

  // Due once more after the whole time, from now. A task calls it whenever it sees traffic.
  void RefreshTimeout() {
    const SInt64 ms = fTimeoutInMilSecs;
    fTimeoutAtThisTime = ms == 0 ? 0 : OS::Milliseconds() + ms;
  }

  void SetTask(ZpIHTask<T>* task) { fTask = task; }

 private:
  friend class ZpIHSecTimeoutTaskThread<T>;

  std::atomic<ZpIHTask<T>*> fTask;
  std::atomic<SInt64> fTimeoutAtThisTime{0};  // milliseconds of OS::Milliseconds; 0: no timeout
  std::atomic<SInt64> fTimeoutInMilSecs{0};
  OSQueueElem fQueueElem{this};  // under the timeout task's lock
  inline static std::atomic<ZpIHSecTimeoutTaskThread<T>*> sThread{nullptr};
};

// The one timeout task of an instance.
template <int T>
class ZpIHSecTimeoutTaskThread : public ZpIHIdleTask<T> {
 public:
  static constexpr SInt64 kIntervalSeconds = 1;

  ZpIHSecTimeoutTaskThread() { this->SetTaskName("TimeoutTask"); }

  void Link(ZpIHSecTimeoutTask<T>* record) EXCLUDES(fMutex) {
    OSMutexLocker locker(fMutex);
    fQueue.EnQueue(&record->fQueueElem);
  }

  void Unlink(ZpIHSecTimeoutTask<T>* record) EXCLUDES(fMutex) {
    OSMutexLocker locker(fMutex);
    fQueue.Remove(&record->fQueueElem);
  }

  // Signals the owners of records that are due; sleeps until the next may be.
  SInt64 Run() override EXCLUDES(fMutex) {
    const SInt64 smallest = LookThroughRecords();
    this->GetEvents();
    OSThread::ThreadYield();
    return smallest;
  }

 private:
  SInt64 LookThroughRecords() EXCLUDES(fMutex) {
    OSMutexLocker locker(fMutex);
    const SInt64 now = OS::Milliseconds();
    SInt64 smallest = kIntervalSeconds * 1000;
    for (OSQueueIter iter(fQueue); !iter.IsDone(); iter.Next()) {
      const auto* record = static_cast<ZpIHSecTimeoutTask<T>*>(iter.GetCurrent()->GetEnclosingObject());
      const SInt64 at = record->fTimeoutAtThisTime;
      if (at > 0 && at <= now) {
        // Deliberate: the record stays in the list, so it fires at every look until its owner refreshes or clears it.
        ZpIHTask<T>* task = record->fTask;
        if (task != nullptr) task->Signal(ZpIHTask<T>::kTimeoutEvent);
        continue;
      }
      const SInt64 remaining = at - now;
      if (remaining > 0 && record->fTimeoutInMilSecs > 0 && smallest > remaining) smallest = remaining + kSlackMs;
    }
    return smallest;
  }

  static constexpr SInt64 kSlackMs = 100;

  OSMutex fMutex;
  OSQueue fQueue GUARDED_BY(fMutex);
};

template <int T>
void ZpIHSecTimeoutTask<T>::Initialize() {
  if (sThread != nullptr) return;
  auto* thread = new ZpIHSecTimeoutTaskThread<T>;  // lives as long as the process
  sThread = thread;
  thread->Signal(ZpIHTask<T>::kStartEvent);
}

template <int T>
ZpIHSecTimeoutTask<T>::ZpIHSecTimeoutTask(ZpIHTask<T>* task, UInt32 seconds) : fTask(task) {
  SetTimeout(seconds);
  ZpIHSecTimeoutTaskThread<T>* thread = sThread;
  if (thread != nullptr) thread->Link(this);
}

template <int T>
ZpIHSecTimeoutTask<T>::~ZpIHSecTimeoutTask() {
  ZpIHSecTimeoutTaskThread<T>* thread = sThread;
  if (thread != nullptr) thread->Unlink(this);
}
