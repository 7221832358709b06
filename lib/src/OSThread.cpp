#include "OSThread.h"

#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <exception>
#include <string>

#include "MyAssert.h"

namespace {

constexpr size_t kSmallestStackBytes = size_t{1} << 20;

thread_local OSThread* t_current = nullptr;

void WriteToStandardError(const char* line) { std::fprintf(stderr, "%s\n", line); }

std::atomic<OSThread::ExceptionHook> g_exceptionHook{WriteToStandardError};

std::string CurrentExceptionText() {
  try {
    throw;
  } catch (const std::exception& e) {
    return e.what();
  } catch (...) {
    return "not a std::exception";
  }
}

}  // namespace

void OSThread::Initialize() { signal(SIGPIPE, SIG_IGN); }

void OSThread::ThreadYield() { sched_yield(); }

OSThread* OSThread::GetCurrent() { return t_current; }

void OSThread::SetExceptionHook(ExceptionHook hook) { g_exceptionHook = hook == nullptr ? WriteToStandardError : hook; }

void OSThread::ReportException(const char* where) noexcept {
  try {
    std::string line = std::string(where) + ": uncaught exception: " + CurrentExceptionText();
    std::replace_if(
        line.begin(), line.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
    g_exceptionHook.load()(line.c_str());
  } catch (...) {
    WriteToStandardError("uncaught exception");  // no memory for more
  }
}

OSThread::OSThread(UInt32 stackBytes, SInt32 niceness) : m_stackBytes(stackBytes), m_niceness(niceness) {}

OSThread::~OSThread() { StopAndWaitForThread(); }

void OSThread::SetThreadName(const char* name) { std::snprintf(m_name, sizeof m_name, "%s", name); }

bool OSThread::Start() {
  if (m_started) return false;
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  size_t stackBytes = 0;
  pthread_attr_getstacksize(&attr, &stackBytes);
  if (m_stackBytes != 0) stackBytes = m_stackBytes;
  pthread_attr_setstacksize(&attr, std::max(stackBytes, kSmallestStackBytes));
  m_started = pthread_create(&m_thread, &attr, Trampoline, this) == 0;
  pthread_attr_destroy(&attr);
  m_joinable = m_started;
  return m_started;
}

void OSThread::StopAndWaitForThread() {
  ZP_ASSERT(GetCurrent() != this);
  SendStopRequest();
  if (!m_joinable) return;
  pthread_join(m_thread, nullptr);
  m_joinable = false;
}

void* OSThread::Trampoline(void* self) {
  auto* thread = static_cast<OSThread*>(self);
  t_current = thread;
  if (thread->m_name[0] != '\0') pthread_setname_np(pthread_self(), thread->m_name);
  if (thread->m_niceness != 0) setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), thread->m_niceness);
  try {
    thread->Entry();
  } catch (...) {
    ReportException("thread");
  }
  return nullptr;
}
