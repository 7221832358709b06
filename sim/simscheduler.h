// Runs actions later, on one thread of its own: settling requests, pushing events, coming back from a reboot.
//
// Threads: every operation from any thread. Actions run one at a time, in the order of their times, under no lock.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "simtypes.h"

class CSimScheduler {
 public:
  CSimScheduler();
  ~CSimScheduler();  // as Stop
  CSimScheduler(const CSimScheduler&) = delete;
  CSimScheduler& operator=(const CSimScheduler&) = delete;

  void After(int ms, std::function<void()> action);
  void Stop();  // drops what waits, and waits for the action that runs

 private:
  void Run();

  std::mutex m_mutex;  // guards the three below
  std::condition_variable m_cond;
  std::multimap<T_SimClock::time_point, std::function<void()>> m_actions;
  bool m_bStop = false;
  std::thread m_thread;  // last: it uses the others
};
