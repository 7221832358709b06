#include "fakeplatform.h"

#include <mutex>
#include <numeric>
#include <utility>

struct CFakePlatform::T_State {
  mutable std::mutex mutex;
  std::vector<std::string> commands;
  std::vector<SInt64> sleeps;
  SInt64 nowMs = 1'000'000;
  int shellResult = 0;
  std::function<int(const std::string&)> onShell;
  std::function<void(SInt64)> onSleep;

  int RunShell(const std::string& command) {
    std::unique_lock<std::mutex> lock(mutex);
    commands.push_back(command);
    if (!onShell) return shellResult;
    const auto answer = onShell;
    lock.unlock();
    return answer(command);
  }

  SInt64 Now() const {
    std::lock_guard<std::mutex> lock(mutex);
    return nowMs;
  }

  void Sleep(SInt64 ms) {
    std::unique_lock<std::mutex> lock(mutex);
    sleeps.push_back(ms);
    if (ms > 0) nowMs += ms;
    const auto callBack = onSleep;
    lock.unlock();
    if (callBack) callBack(ms);
  }
};

CFakePlatform::CFakePlatform() : m_state(std::make_shared<T_State>()) {
  T_PlatformHooks hooks;
  hooks.runShell = [state = m_state](const std::string& command) { return state->RunShell(command); };
  hooks.monotonicMs = [state = m_state] { return state->Now(); };
  hooks.uptimeSec = [state = m_state] { return state->Now() / 1000; };
  hooks.sleepMs = [state = m_state](SInt64 ms) { state->Sleep(ms); };
  m_installed = std::make_unique<CScopedPlatform>(std::move(hooks));
}

CFakePlatform::~CFakePlatform() = default;

std::vector<std::string> CFakePlatform::Commands() const {
  std::lock_guard<std::mutex> lock(m_state->mutex);
  return m_state->commands;
}

std::vector<SInt64> CFakePlatform::Sleeps() const {
  std::lock_guard<std::mutex> lock(m_state->mutex);
  return m_state->sleeps;
}

SInt64 CFakePlatform::SleptMs() const {
  const std::vector<SInt64> sleeps = Sleeps();
  return std::accumulate(sleeps.begin(), sleeps.end(), SInt64{0});
}

void CFakePlatform::AdvanceMs(SInt64 ms) {
  std::lock_guard<std::mutex> lock(m_state->mutex);
  m_state->nowMs += ms;
}

SInt64 CFakePlatform::NowMs() const { return m_state->Now(); }

void CFakePlatform::ForgetRecords() {
  std::lock_guard<std::mutex> lock(m_state->mutex);
  m_state->commands.clear();
  m_state->sleeps.clear();
}

void CFakePlatform::ShellResult(int status) {
  std::lock_guard<std::mutex> lock(m_state->mutex);
  m_state->shellResult = status;
}

void CFakePlatform::OnShell(std::function<int(const std::string&)> onShell) {
  std::lock_guard<std::mutex> lock(m_state->mutex);
  m_state->onShell = std::move(onShell);
}

void CFakePlatform::OnSleep(std::function<void(SInt64)> onSleep) {
  std::lock_guard<std::mutex> lock(m_state->mutex);
  m_state->onSleep = std::move(onSleep);
}
