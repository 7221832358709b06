// A gate that holds threads until the test opens it.
#pragma once

#include <condition_variable>
#include <mutex>

class CGate {
 public:
  // Waits until the gate is open.
  void Pass() {
    std::unique_lock<std::mutex> lock(m_mutex);
    ++m_arrived;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_open; });
  }

  void Open() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open = true;
    m_changed.notify_all();
  }

  // Waits until that many threads have come to the gate.
  void WaitForArrivals(int count) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [&] { return m_arrived >= count; });
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  bool m_open = false;
  int m_arrived = 0;
};
