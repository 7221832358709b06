// A thread with an object around it. A derived class overrides Entry; its owner starts it and stops it.
#pragma once

#include <pthread.h>

#include <atomic>

#include "OSTypes.h"

class OSThread {
 public:
  using ExceptionHook = void (*)(const char* line);

  // Once, before the first thread starts: makes a write to a peer that has gone an error instead of SIGPIPE.
  static void Initialize();

  // Gives the processor to another thread that is ready to run.
  static void ThreadYield();

  // The object of the calling thread; null on a thread that no OSThread started.
  static OSThread* GetCurrent();

  // Where the line about an exception goes that nobody caught in a thread or a task; null: to standard error. The hook
  // may be called on any thread, on several at once.
  static void SetExceptionHook(ExceptionHook hook);

  // To be called in a catch block: hands one line, "where: what the exception says", to the hook.
  static void ReportException(const char* where) noexcept;

  // stackBytes: size of the stack; less than 1 MiB, and 0, mean the system's default, or 1 MiB where that is smaller.
  // niceness: added to the thread's scheduling priority number at its start; 0 leaves it alone.
  explicit OSThread(UInt32 stackBytes = 0, SInt32 niceness = 0);

  // Stops and joins. A derived class whose Entry uses members of its own does so in its own destructor.
  virtual ~OSThread();
  OSThread(const OSThread&) = delete;
  OSThread& operator=(const OSThread&) = delete;

  // The name under which system tools show the thread; the first 15 characters count. Before Start.
  void SetThreadName(const char* name);

  // Starts Entry on a new thread. False when the system refuses, or when it was started before. Owner only.
  bool Start();

  // Asks Entry to return; it does when it next looks. Any thread.
  void SendStopRequest() { m_stopRequested = true; }
  bool IsStopRequested() const { return m_stopRequested; }

  // Sends the stop request and waits until Entry has returned. Owner only, and never on the thread itself.
  void StopAndWaitForThread();

 protected:
  // What the thread does. An exception that leaves it is reported and ends the thread.
  virtual void Entry() = 0;

 private:
  static void* Trampoline(void* self);

  char m_name[16] = {};  // constant once started; empty: the process's own
  const UInt32 m_stackBytes;
  const SInt32 m_niceness;
  pthread_t m_thread{};     // owner only
  bool m_joinable = false;  // owner only
  bool m_started = false;   // owner only
  std::atomic<bool> m_stopRequested{false};
};
