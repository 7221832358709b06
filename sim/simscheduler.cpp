#include "simscheduler.h"

#include <chrono>
#include <utility>

CSimScheduler::CSimScheduler() : m_thread([this] { Run(); }) {}

CSimScheduler::~CSimScheduler() { Stop(); }

void CSimScheduler::After(int ms, std::function<void()> action) {
  {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_actions.emplace(T_SimClock::now() + std::chrono::milliseconds(ms), std::move(action));
  }
  m_cond.notify_all();
}

void CSimScheduler::Stop() {
  {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_bStop = true;
  }
  m_cond.notify_all();
  if (m_thread.joinable()) m_thread.join();
}

void CSimScheduler::Run() {
  std::unique_lock<std::mutex> lock(m_mutex);
  while (!m_bStop) {
    if (m_actions.empty()) {
      m_cond.wait(lock);
    } else if (const auto due = m_actions.begin()->first; due > T_SimClock::now()) {
      m_cond.wait_until(lock, due);
    } else {
      const std::function<void()> action = std::move(m_actions.begin()->second);
      m_actions.erase(m_actions.begin());
      lock.unlock();
      action();
      lock.lock();
    }
  }
}
