// A platform without the world: shell commands are recorded instead of run, sleeping moves a clock instead of waiting.
//
// Installed for as long as it lives. Any thread may use the platform meanwhile; the fake locks itself, and holds no
// lock while it calls back. Both clocks stand still but for sleeps and AdvanceMs; they start at 1,000,000 ms and 1,000
// s.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "brntplatform.h"

class CFakePlatform {
 public:
  CFakePlatform();
  ~CFakePlatform();
  CFakePlatform(const CFakePlatform&) = delete;
  CFakePlatform& operator=(const CFakePlatform&) = delete;

  // Every command so far, in order.
  std::vector<std::string> Commands() const;

  // Every sleep so far in milliseconds, in order, and their sum.
  std::vector<SInt64> Sleeps() const;
  SInt64 SleptMs() const;

  // Moves both clocks without a sleep.
  void AdvanceMs(SInt64 ms);
  SInt64 NowMs() const;

  // Forgets the recorded commands and sleeps; clocks and answers stay.
  void ForgetRecords();

  // The exit status of every command that OnShell does not answer; 0 at first.
  void ShellResult(int status);

  // Called with each command; its result is the exit status.
  void OnShell(std::function<int(const std::string& command)> onShell);

  // Called after each sleep has been recorded and the clock has moved.
  void OnSleep(std::function<void(SInt64 ms)> onSleep);

 private:
  struct T_State;

  std::shared_ptr<T_State> m_state;
  std::unique_ptr<CScopedPlatform> m_installed;
};
