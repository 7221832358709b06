#include "brntcmdworker.h"

#include <algorithm>
#include <exception>
#include <list>
#include <sstream>
#include <thread>
#include <utility>

#include "OSMutex.h"
#include "OSThread.h"
#include "OSThreadAnnotations.h"
#include "brntirrepeat.h"
#include "brntlog.h"
#include "brntplatform.h"
#include "brntsendcmd.h"
#include "reusehanler.h"
#include "stringprocess.h"

std::atomic<bool> threadCreated{false};

namespace {

constexpr SInt64 kRestMs = 400;
constexpr UInt32 kStackBytes = 1u << 20;

// The objects behind references live until the process is gone: the worker outlives main.
OSMutex& g_IRCmdListMutex = *new OSMutex;
std::list<IR_CMD_T>& g_IRCmdList GUARDED_BY(g_IRCmdListMutex) = *new std::list<IR_CMD_T>;
size_t g_IRCmdBytes GUARDED_BY(g_IRCmdListMutex) = 0;  // of the whole list

OSMutex& g_TimerEventListMutex = *new OSMutex;
std::list<TIMER_EVENT_T>& g_TimerEventList GUARDED_BY(g_TimerEventListMutex) = *new std::list<TIMER_EVENT_T>;

OSMutex& g_threadMutex = *new OSMutex;
OSThread* g_thread GUARDED_BY(g_threadMutex) = nullptr;  // the worker; never joined

class CWorkerThread : public OSThread {
 public:
  CWorkerThread() : OSThread(kStackBytes) {}

 private:
  void Entry() override { ThreadFunction(nullptr); }
};

size_t BytesOf(const IR_CMD_T& cmd) { return sizeof cmd + cmd.strData.size() + cmd.strDevice.size(); }

bool AppendIrCmd(const IR_CMD_T& cmd) EXCLUDES(g_IRCmdListMutex) {
  OSMutexLocker locker(g_IRCmdListMutex);
  const size_t bytes = BytesOf(cmd);
  if (bytes > kIrQueueBytes - g_IRCmdBytes) return false;
  g_IRCmdList.push_back(cmd);
  g_IRCmdBytes += bytes;
  return true;
}

void SendIrBurst(IR_CMD_T& cmd) {
  HLOG_INFO("IR cmd: repeat=%d, interval=%d, delay=%d, data=%s device=%s", cmd.s32Repeat, cmd.s32Interval, cmd.s32Delay,
            cmd.strData.c_str(), cmd.strDevice.c_str());
  const char* repeated = nullptr;
  if (ExtendIrData(cmd.s32Repeat, cmd.strData, &repeated)) cmd.strData = repeated;
  if (SendCmd2AVP::SendIrDataCmd(cmd.strDevice, cmd.strData) != 0) {
    HLOG_INFO("SendIrDataCmd count:%d", 1);
  } else {
    HLOG_ERROR("SendIrDataCmd:%s failed", cmd.strData.c_str());
  }
  if (cmd.s32Interval > 0) CBrntPlatform::SleepMs(cmd.s32Interval);
  if (cmd.s32Delay > 0) CBrntPlatform::SleepMs(cmd.s32Delay);
}

void ReadEdidOnce(const std::string& device) {
  if (CheckDirAndFileIsExist(kInputEdidFile) == 0) SendCmd2AVP::SendGetEdidCmd(device);
}

void RunTimerEvent(const TIMER_EVENT_T& event) {
  switch (event.eEvent) {
    case E_TIMER_GET_NETSTAT:
      SendCmd2AVP::GetNetstat(event.strDevice);
      return;
    case E_TIMER_GET_EDID:
      ReadEdidOnce(event.strDevice);
      return;
    case E_TIMER_GET_NETSTAT_EDID:
      SendCmd2AVP::GetNetstat(event.strDevice);
      ReadEdidOnce(event.strDevice);
      return;
    case E_TIMER_CHECK_VIDEOWALL_STATUS:
      ReuseHanler::CheckVideoWallStatus(event.strDevice, Json::Value());
      return;
    case E_TIMER_DEFAULT:
      return;
  }
}

}  // namespace

int SetIrCmd(const IR_CMD_T& cmd) {
  if (!AppendIrCmd(cmd)) {
    HLOG_ERROR("ir queue is full, dropped %zu characters for device %s", cmd.strData.size(), cmd.strDevice.c_str());
  }
  return 0;
}

int GetIrCmd(IR_CMD_T& cmd) {
  OSMutexLocker locker(g_IRCmdListMutex);
  if (g_IRCmdList.empty()) return 0;
  cmd = std::move(g_IRCmdList.front());
  g_IRCmdList.pop_front();
  g_IRCmdBytes -= BytesOf(cmd);
  return 1;
}

int GetIrCmdSize() {
  OSMutexLocker locker(g_IRCmdListMutex);
  return static_cast<int>(g_IRCmdList.size());
}

int SetTimerEvent(const TIMER_EVENT_T& event) {
  OSMutexLocker locker(g_TimerEventListMutex);
  for (const TIMER_EVENT_T& waiting : g_TimerEventList) {
    if (waiting.eEvent == event.eEvent && waiting.strDevice == event.strDevice) return 0;
  }
  g_TimerEventList.push_back(event);
  return 0;
}

int GetTimerEvent(TIMER_EVENT_T& event) {
  OSMutexLocker locker(g_TimerEventListMutex);
  if (g_TimerEventList.empty()) return 0;
  event = std::move(g_TimerEventList.front());
  g_TimerEventList.pop_front();
  return 1;
}

void CreateThread() {
  if (threadCreated) return;
  OSMutexLocker locker(g_threadMutex);
  if (threadCreated) return;
  auto* thread = new CWorkerThread;
  if (!thread->Start()) {
    HLOG_ERROR("cannot start the command worker");
    delete thread;
    return;
  }
  g_thread = thread;
  threadCreated = true;
}

void* ThreadFunction(void*) {
  std::ostringstream id;
  id << std::this_thread::get_id();
  HLOG_INFO("Thread ID: %s", id.str().c_str());
  for (;;) {
    CBrntPlatform::SleepMs(kRestMs);
    try {
      WorkOnce();
    } catch (const std::exception& e) {
      HLOG_ERROR("command worker: %s", e.what());
    }
  }
}

void WorkOnce() {
  IR_CMD_T cmd;
  while (GetIrCmd(cmd) != 0) SendIrBurst(cmd);
  TIMER_EVENT_T event;
  if (GetTimerEvent(event) != 0) RunTimerEvent(event);
}
