// Waits for what another thread will have done.
#pragma once

#include <chrono>
#include <thread>

// True as soon as condition holds; false when it still does not after the time limit, which only a failing test
// reaches.
template <typename Condition>
[[nodiscard]] bool WaitFor(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(20)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}
