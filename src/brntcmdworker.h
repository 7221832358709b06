// The command worker: one thread that sends infrared bursts with their pauses and runs the maintenance requests that
// the master link's timer asks for, so that the link itself never waits for either.
//
// Producers: the master link's task. Consumer: the worker. Each queue has a lock of its own; they are never held
// together, nor across anything but one list operation.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>

#include "OSTypes.h"

// One infrared send.
struct IR_CMD_T {
  SInt32 s32Repeat = 0;
  SInt32 s32Interval = 0;  // pause after the send, milliseconds
  SInt32 s32Delay = 0;     // further pause, milliseconds
  std::string strData;     // Pronto words in hexadecimal
  std::string strDevice;   // the device that sends it
};

enum E_TIMER_EVENT {
  E_TIMER_GET_NETSTAT = 0,
  E_TIMER_GET_EDID = 1,
  E_TIMER_GET_NETSTAT_EDID = 2,
  E_TIMER_CHECK_VIDEOWALL_STATUS = 3,
  E_TIMER_DEFAULT = 4,
};

// One maintenance request.
struct TIMER_EVENT_T {
  std::string strDevice;
  E_TIMER_EVENT eEvent = E_TIMER_DEFAULT;
};

// The EDID of the HDMI input; it is asked for only until this file exists.
constexpr char kInputEdidFile[] = "/tmp/dec.edid";

// Appends an infrared send; 0. What would make the queue outgrow kIrQueueBytes is dropped with a line in the log.
int SetIrCmd(const IR_CMD_T& cmd);
// Moves the head out; 1, or 0 when nothing waits.
int GetIrCmd(IR_CMD_T& cmd);
int GetIrCmdSize();

// Each datagram may queue a send, and each send may hold the worker for a second: this much waits, texts and records
// counted, and no more.
constexpr size_t kIrQueueBytes = 4u << 20;

// Appends a maintenance request, unless the same one for the same device waits already (which also bounds the list); 0.
int SetTimerEvent(const TIMER_EVENT_T& event);
// Moves the head out; 1, or 0 when nothing waits.
int GetTimerEvent(TIMER_EVENT_T& event);

// Starts the worker thread the first time it is called; it then lives as long as the process. Any thread.
void CreateThread();

// The worker: rest 400 ms, WorkOnce, for ever.
[[noreturn]] void* ThreadFunction(void* unused);

// One pass of the worker: every infrared send that waits, then one maintenance request. Worker thread only.
void WorkOnce();

// Set once the worker has been started. A test that sets it first keeps the thread from starting.
extern std::atomic<bool> threadCreated;
