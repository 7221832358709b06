// Tasks with a one-shot timer, and the thread that keeps the timers of an instance.
#pragma once

#include <atomic>
#include <string>

#include "ZpIHTask.h"

template <int T>
class ZpIHIdleTask;

template <int T>
class ZpIHIdleTaskThread : public OSThread {
 public:
  ZpIHIdleTaskThread() { SetThreadName(("idle-" + std::to_string(T)).c_str()); }
  ~ZpIHIdleTaskThread() override {
    SendStopRequest();
    Wake();
    StopAndWaitForThread();
  }

  // Sets or moves the task's timer to msec milliseconds from now. Any thread.
  void SetIdleTimer(ZpIHIdleTask<T>* task, SInt64 msec) EXCLUDES(fHeapMutex) {
    OSMutexLocker locker(fHeapMutex);
    fIdleHeap.Remove(&task->fIdleElem);
    task->fIdleElem.SetValue(OS::Milliseconds() + msec);
    const bool inserted = fIdleHeap.Insert(&task->fIdleElem);
    ZP_ASSERT(inserted);
    fHeapCond.Signal();
  }

  void CancelTimeout(ZpIHIdleTask<T>* task) EXCLUDES(fHeapMutex) {
    OSMutexLocker locker(fHeapMutex);
    fIdleHeap.Remove(&task->fIdleElem);
  }

 protected:
  void Entry() override EXCLUDES(fHeapMutex) {
    OSMutexLocker locker(fHeapMutex);
    if (fIdleHeap.PeekMin() == nullptr && !IsStopRequested()) fHeapCond.TimedWait(fHeapMutex, 0);
    while (!IsStopRequested()) {
      const SInt64 now = OS::Milliseconds();
      SignalDueTasksLocked(now);
      const OSHeapElem* earliest = fIdleHeap.PeekMin();
      fHeapCond.TimedWait(fHeapMutex, earliest == nullptr ? 0 : earliest->GetValue() - now);
    }
  }

 private:
  void SignalDueTasksLocked(SInt64 now) REQUIRES(fHeapMutex) {
    while (fIdleHeap.PeekMin() != nullptr && fIdleHeap.PeekMin()->GetValue() <= now) {
      auto* task = static_cast<ZpIHIdleTask<T>*>(fIdleHeap.Extract()->GetEnclosingObject());
      ZP_ASSERT(task != nullptr);
      task->Signal(ZpIHTask<T>::kIdleEvent);
    }
  }

  void Wake() EXCLUDES(fHeapMutex) {
    OSMutexLocker locker(fHeapMutex);
    fHeapCond.Signal();
  }

  OSHeap fIdleHeap GUARDED_BY(fHeapMutex){1024};
  OSMutex fHeapMutex;
  OSCond fHeapCond;
};

template <int T>
class ZpIHIdleTask : public ZpIHTask<T> {
 public:
  // Creates and starts the instance's timer thread, once. At start-up, when the pool has its threads.
  static void Initialize() {
    if (sIdleThread != nullptr) return;
    auto* thread = new ZpIHIdleTaskThread<T>;  // lives as long as the process
    const bool started = thread->Start();
    ZP_ASSERT(started);
    sIdleThread = thread;
  }

  ZpIHIdleTask() { this->SetTaskName("IdleTask"); }
  ~ZpIHIdleTask() override { CancelTimeout(); }

  // Signals kIdleEvent once, msec milliseconds from now; a timer that runs already is set anew.
  void SetIdleTimer(SInt64 msec) {
    ZpIHIdleTaskThread<T>* thread = sIdleThread;
    ZP_ASSERT(thread != nullptr);
    thread->SetIdleTimer(this, msec);
  }

  void CancelTimeout() {
    ZpIHIdleTaskThread<T>* thread = sIdleThread;
    if (thread != nullptr) thread->CancelTimeout(this);
  }

 private:
  friend class ZpIHIdleTaskThread<T>;

  OSHeapElem fIdleElem{this};  // under the timer thread's lock
  inline static std::atomic<ZpIHIdleTaskThread<T>*> sIdleThread{nullptr};
};
