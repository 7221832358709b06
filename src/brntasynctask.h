// The text link to the AV processor's API server (TCP 127.0.0.1:6970) and what others ask of it.
//
// The link sends a few set-up commands and receives notification lines, which go to CBrntCmdNotifyHandler. It waits for
// cmd_core to be online before it connects, and reconnects for as long as the process lives. The report socket's names
// (ReportAsyncMsg and its kin) come with this header, too.
#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include "OSMutex.h"
#include "OSTypes.h"
#include "ZpIHSecTimeoutTask.h"
#include "ZpIHTCPSocket.h"
#include "ZpIHTask.h"
#include "brntreportsocket.h"
#include "brnttypes.h"

// The link's task. Made once it is known where it connects to; destroyed by the framework after kKillEvent.
class TcpForAvp : public ZpIHTask<202> {
 public:
  enum E_LinkStatus : SInt32 {
    E_Status_Init = 0,        // no connection
    E_Status_Connecting = 1,  // connecting, or set-up commands still to send
    E_Status_Connected = 2,
    E_Status_Error = 3,  // the connection is lost
  };

  // mode decides which set-up commands are sent.
  explicit TcpForAvp(E_DEVICE_MODE mode);

  // Takes the server's address (dotted) and port, and starts the task. 1.
  Bool16 Init(const std::string& host, UInt16 port, const char* mac) EXCLUDES(m_objMutex);

  // Asks the task to end.
  void Unit() { Signal(kKillEvent); }

  // Sends one line, "\r\n" added unless the text has it. 1 when it was sent whole, else 0 with an ERROR line. Any
  // thread; the status check calls it with m_objMutex held.
  Bool16 SendReq(const std::string& text);

  // Serves the pending events. In milliseconds: 300 while cmd_core is not online, 0 to wait for events, -1 to end.
  SInt64 Run() override EXCLUDES(m_objMutex);

  // True once a set-up command has been tried; never false again. Any thread.
  bool IsTciInit() const { return m_bTciInit; }

  SInt32 Status() EXCLUDES(m_objMutex);

 private:
  static constexpr UInt32 kReadRoom = 4096;

  void CheckStatus() REQUIRES(m_objMutex);
  void SendSetUpCommand() REQUIRES(m_objMutex);
  void QueueSetUpCommands() REQUIRES(m_objMutex);
  void ConnectIfDue() REQUIRES(m_objMutex);
  Bool16 OpenSocket() REQUIRES(m_objMutex);
  void ProcessReadEvent() REQUIRES(m_objMutex);
  bool ReadOnce() REQUIRES(m_objMutex);
  void ParseLines(const std::string& text) REQUIRES(m_objMutex);
  bool SendLine(const std::string& line) REQUIRES(m_objMutex);

  std::unique_ptr<ZpIHTCPSocket<202>> m_pTcpSock GUARDED_BY(m_objMutex);
  OSMutex m_objMutex;                            // held while reading and checking, so also by the notification path
  UInt32 m_u32SrvIp GUARDED_BY(m_objMutex) = 0;  // host order
  UInt16 m_u16SrvPort GUARDED_BY(m_objMutex) = 0;
  OSMutex m_mutexOfList;
  SInt32 m_s32Status GUARDED_BY(m_objMutex) = E_Status_Init;
  UInt32 m_u32ReadLenInBuf GUARDED_BY(m_objMutex) = 0;         // bytes of the last read
  char m_aReadBuf[kReadRoom + 1] GUARDED_BY(m_objMutex) = {};  // with room for a closing zero
  char m_macaddr[16] GUARDED_BY(m_objMutex) = {};
  std::list<std::string> m_lInitCmd GUARDED_BY(m_objMutex);     // set-up commands still to send in this session
  std::list<std::string> m_lSendCmd GUARDED_BY(m_mutexOfList);  // unused
  std::atomic<bool> m_bTciInit{false};
  ZpIHSecTimeoutTask<202> m_objTimeoutTask;  // 1 s
  const E_DEVICE_MODE m_eMode;
  std::optional<SInt64> m_s64LastConnectMs GUARDED_BY(m_objMutex);  // monotonic; when a connection was last tried
};

// The one link of the process, for everybody else. All static; any thread.
class AsyncTask {
 public:
  // Creates the link and starts it. 1.
  static int Init(const std::string& host, UInt16 port, const char* mac, E_DEVICE_MODE mode) EXCLUDES(s_objMutex);

  // Ends the link, if there is one; nobody does in the running process.
  static void UnInit() EXCLUDES(s_objMutex);

  // TcpForAvp::SendReq of the link; 0 without a link.
  static Bool16 SendReq(const std::string& text) EXCLUDES(s_objMutex);

  // 1 when API requests may be sent: the link's set-up has been tried, or the process runs in upgrade mode, which does
  // without the link. Else 0.
  static int GetTciInitStatus() EXCLUDES(s_objMutex);

  static void SetUpgradeMode(int mode);
  static int GetUpgradeMode();

 private:
  inline static OSMutex& s_objMutex = *new OSMutex;  // outlives every thread; taken before the link's own lock
  // Null, or the link; it is not destroyed while the lock is held.
  inline static TcpForAvp* s_pBrntClientAgent GUARDED_BY(s_objMutex) = nullptr;
};

extern std::atomic<int> g_s32UpgradeMode;

// Creates and starts the link to 127.0.0.1:6970. 1.
int StartDoAsyncMsg(const char* mac, E_DEVICE_MODE mode);
