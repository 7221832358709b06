// The master link: cmd_core's commands come in on UDP 127.0.0.1:9991, one TLV message per datagram.
//
// Nothing is answered here; reports leave through the report socket. Start-up creates one link on the main thread,
// which lives as long as the process.
#pragma once

#include <memory>
#include <string>

#include "OSMutex.h"
#include "OSThreadAnnotations.h"
#include "OSTypes.h"
#include "ZpIHSecTimeoutTask.h"
#include "ZpIHTask.h"
#include "ZpIHUDPSocket.h"
#include "udpcmdprocess.h"

class UdpForMaster : public ZpIHTask<201> {
 public:
  enum E_LinkStatus : SInt32 {
    E_Status_Init = 0,        // no socket
    E_Status_Connecting = 1,  // socket open and watched: the steady state
    E_Status_Connected = 2,   // nothing sets this
    E_Status_Error = 3,       // nor this
  };

  UdpForMaster();

  // Takes the dotted address and the port to bind and the local device's id, of which 15 characters count, and starts
  // the task. 1. Main thread, once.
  Bool16 Init(const std::string& ip, UInt16 port, const char* mac) EXCLUDES(m_objMutex);

  // Serves the pending events: datagrams, then the timeout, then the socket's state. 0, or -1 to end the task.
  SInt64 Run() override EXCLUDES(m_objMutex);

  // Carries out one message; the low 8 bits of the handler's result, 1 for the tick. Link task only.
  int Msg_Process(Msg_Box* msg);

  // Sends one datagram to the sender of the last one received. 1 sent, 0 not. Kept for handlers that answer directly.
  int SendData2Remote(char* buf, int len) EXCLUDES(m_objMutex);

  void CloseSocket() EXCLUDES(m_objMutex);

  SInt32 Status() EXCLUDES(m_objMutex);

 protected:
  static constexpr UInt32 kReadRoom = 8192;

  // One datagram into m_aReadBuf; *pLength is kReadRoom when it was cut. False when none waits.
  bool Receive(UInt32* pLength) EXCLUDES(m_objMutex);
  void ProcessReadEvent() EXCLUDES(m_objMutex);
  void ProcessTimeoutEvent();
  void CheckStatus() REQUIRES(m_objMutex);
  Bool16 OpenSocket() REQUIRES(m_objMutex);
  void RequestRead() EXCLUDES(m_objMutex);

  std::unique_ptr<ZpIHUDPSocket<201>> m_pUdpSock GUARDED_BY(m_objMutex);
  OSMutex m_objMutex;  // never held while a message is carried out: handlers run commands and sleep
  UInt32 m_u32SrvIp GUARDED_BY(m_objMutex) = 0;  // host order; the address to bind, then the last sender's
  UInt16 m_u16SrvPort GUARDED_BY(m_objMutex) = 0;
  SInt32 m_s32Status GUARDED_BY(m_objMutex) = E_Status_Init;
  UInt32 m_u32ReadLenInBuf = 0;        // link task only; where a message begins in the buffer, always 0
  std::unique_ptr<char[]> m_aReadBuf;  // link task only; kReadRoom bytes
  char m_macaddr[16] = {};             // constant after Init
  ZpIHSecTimeoutTask<201> m_objTimeoutTask;
  UInt32 m_s32TimeoutCount = 0;  // link task only; timeouts since the last network and EDID refresh
};
