// An instance of the task framework with its threads running, and a task whose runs show.
#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <vector>

#include "ZpIHSocket.h"
#include "waitfor.h"

// Remembers the events of each run.
template <int T>
class CReaderTask : public ZpIHTask<T> {
 public:
  using EventFlags = typename ZpIHTask<T>::EventFlags;

  SInt64 Run() override {
    const EventFlags events = this->GetEvents();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_runs.push_back(events);
    return 0;
  }

  std::vector<EventFlags> Runs() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_runs;
  }
  bool HasRun(size_t times) const { return Runs().size() >= times; }

  bool Sleeps() {
    OSMutexLocker locker(this->m_AtomicMutex);
    return this->fEvents == 0;
  }

 private:
  mutable std::mutex m_mutex;
  std::vector<EventFlags> m_runs;
};

template <int T>
class CEventFixture : public testing::Test {
 protected:
  // In the constructor, so that the sockets of a derived fixture find the event thread. Those of a test are cleaned up
  // before the tasks end.
  CEventFixture() {
    ZpIHTaskThreadPool<T>::AddThreads(1);
    ZpIHSelect<T>::select_startevents();
    ZpIHSocket<T>::StartThread();
  }
  void TearDown() override {
    ASSERT_TRUE(WaitFor([&] { return m_reader.Sleeps() && m_other.Sleeps(); }));
  }

  CReaderTask<T> m_reader;
  CReaderTask<T> m_other;
};
