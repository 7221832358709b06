// A proxy that the test runs by hand: queueing and signals only mark what is to be done, Run() does it on the test's
// thread. It stands in the instance's place for as long as it lives.
#pragma once

#include "brntproxy.h"

class CHandProxy : public CBrntProxy {
 public:
  CHandProxy() : m_pReplaced(ReplaceInstance(this)) { BelongToTheTest(); }
  ~CHandProxy() override { ReplaceInstance(m_pReplaced); }

  // Signals that many ticks of the 1 s timeout and runs after each.
  void Tick(int count) {
    for (int i = 0; i < count; ++i) {
      Signal(kTimeoutEvent);
      Run();
    }
  }

 private:
  // A task that counts as running is never given to a thread of the pool.
  void BelongToTheTest() {
    OSMutexLocker lock(m_AtomicMutex);
    events_or(kAlive);
  }

  CBrntProxy* const m_pReplaced;
};
