// The real binary as a child of the test: started, watched, signalled, ended.
//
// One thread. Whatever the test does, the child does not outlive the object. Times are milliseconds.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

class CHalyardProcess {
 public:
  CHalyardProcess() = default;
  ~CHalyardProcess();
  CHalyardProcess(const CHalyardProcess&) = delete;
  CHalyardProcess& operator=(const CHalyardProcess&) = delete;

  // Starts build/<preset>/halyard with these arguments, its output going to a file. False when it cannot be started, or
  // one is running.
  bool Start(const std::vector<std::string>& arguments);

  bool Running();
  pid_t Pid() const { return m_pid; }
  void Signal(int signalNumber);

  // The exit status, 128 + n for death by signal n; nothing while it still runs after that time.
  std::optional<int> WaitForEnd(int timeoutMs);

  // What it wrote to standard output and standard error since it was started.
  std::string Output() const;
  // True when the output holds a report of AddressSanitizer, LeakSanitizer, ThreadSanitizer or
  // UndefinedBehaviorSanitizer.
  bool HasSanitizerReport() const;

  // Numbers of /proc/<pid>/status, such as "VmRSS" (KiB) or "Threads"; nothing when it does not run.
  std::optional<long> StatusNumber(const std::string& field) const;
  // Open descriptors.
  std::optional<size_t> DescriptorCount() const;
  // Processor time used so far, all threads, user and system.
  std::optional<long> CpuMs() const;

  // The path of the binary, as it is started.
  static std::string Path();

 private:
  bool Reap(bool wait);

  pid_t m_pid = -1;             // -1: none was started, or it has been waited for
  std::optional<int> m_status;  // of the last one that ended
};
