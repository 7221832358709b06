#include "brntasynctask.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "brntcmdnotify.h"
#include "brntlog.h"
#include "brntplatform.h"
#include "udpcmdprocess.h"

namespace {

constexpr char kServerIp[] = "127.0.0.1";
constexpr UInt16 kServerPort = 6970;
constexpr char kLineEnd[] = "\r\n";
constexpr std::size_t kLineEndLength = sizeof kLineEnd - 1;

constexpr SInt64 kOfflinePollMs = 300;
constexpr SInt64 kConnectIntervalMs = 1000;  // a connection to a closed port fails at once
constexpr UInt32 kTimeoutSec = 1;

// The set-up commands of a session, in order.
struct T_SetUpCommand {
  const char* text;
  bool encodersOnly;
};
constexpr T_SetUpCommand kSetUpCommands[] = {
    {"require blueriver_api 3.0.0.0", false},
    {"mode async on", false},
    {"netstat ALL select all", false},
    {"set all property streams[HDMI:0].configuration.remove_audio true", true},
};

UInt32 HostOrderAddress(const std::string& dotted) {
  in_addr address{};
  return inet_aton(dotted.c_str(), &address) != 0 ? ntohl(address.s_addr) : 0;
}

}  // namespace

std::atomic<int> g_s32UpgradeMode{0};

TcpForAvp::TcpForAvp(E_DEVICE_MODE mode) : m_objTimeoutTask(this, kTimeoutSec), m_eMode(mode) {
  const OSMutexLocker lock(m_objMutex);
  QueueSetUpCommands();
}

Bool16 TcpForAvp::Init(const std::string& host, UInt16 port, const char* mac) {
  {
    const OSMutexLocker lock(m_objMutex);
    std::snprintf(m_macaddr, sizeof m_macaddr, "%s", mac);
    m_u32SrvIp = HostOrderAddress(host);
    m_u16SrvPort = port;
    m_s32Status = E_Status_Init;
  }
  Signal(kStartEvent);
  HLOG_INFO("TcpForAvp Init ServerIP<%s:%d>  AvpMac<%s>", host.c_str(), port, mac);
  return 1;
}

SInt32 TcpForAvp::Status() {
  const OSMutexLocker lock(m_objMutex);
  return m_s32Status;
}

Bool16 TcpForAvp::SendReq(const std::string& text) {
  const OSMutexLocker lock(m_objMutex);
  if (m_pTcpSock == nullptr) {
    HLOG_ERROR("m_pTcpSock is null, str[%s]", text.c_str());
    return 0;
  }
  std::string line = text;
  if (line.find(kLineEnd) == std::string::npos) line += kLineEnd;
  HLOG_INFO("send to tci server [%s]", line.c_str());
  if (SendLine(line)) return 1;
  HLOG_ERROR("send [%s] fail!!!", line.c_str());
  return 0;
}

// A lost connection is dealt with at the next run. So is one that took a line in part, which cannot be taken back.
bool TcpForAvp::SendLine(const std::string& line) {
  if (!m_pTcpSock->IsConnected()) return false;
  UInt32 sent = 0;
  const int error = m_pTcpSock->Send(line.data(), static_cast<UInt32>(line.size()), &sent);
  if (error == 0 && sent == line.size()) return true;
  if (error != EAGAIN) {
    m_s32Status = E_Status_Error;
    Signal(kStartEvent);
  }
  return false;
}

SInt64 TcpForAvp::Run() {
  const EventFlags events = GetEvents();
  if ((events & kKillEvent) != 0) return -1;
  if ((events & kReadEvent) != 0) {
    const OSMutexLocker lock(m_objMutex);
    ProcessReadEvent();
  }
  if ((events & kTimeoutEvent) != 0) {
    m_objTimeoutTask.RefreshTimeout();
    CBrntCmdNotifyHandler::PorcessConEvent();
  }
  const OSMutexLocker lock(m_objMutex);
  if (!IfCmdCoreOnline()) {
    HLOG_INFO("avp not online, tci wait");
    return kOfflinePollMs;
  }
  CheckStatus();
  return 0;
}

void TcpForAvp::CheckStatus() {
  switch (m_s32Status) {
    case E_Status_Init:
      ConnectIfDue();
      break;
    case E_Status_Connecting:
      SendSetUpCommand();
      break;
    case E_Status_Connected:
      if (m_pTcpSock == nullptr) m_s32Status = E_Status_Init;
      break;
    case E_Status_Error:
      m_pTcpSock.reset();
      QueueSetUpCommands();  // a new session at the server begins without them
      m_s32Status = E_Status_Init;
      break;
    default:
      break;
  }
}

void TcpForAvp::QueueSetUpCommands() {
  m_lInitCmd.clear();
  for (const T_SetUpCommand& command : kSetUpCommands) {
    if (!command.encodersOnly || m_eMode == e_TX || m_eMode == e_TRX) m_lInitCmd.emplace_back(command.text);
  }
}

// One command per run: the timeout paces the set-up.
void TcpForAvp::SendSetUpCommand() {
  if (m_lInitCmd.empty()) {
    HLOG_INFO("m_bTciInit ok");
    m_s32Status = E_Status_Connected;
    return;
  }
  if (SendReq(m_lInitCmd.front()) != 0) m_lInitCmd.pop_front();
  m_bTciInit = true;  // Deliberate: trying the first command is enough, sent or not.
}

void TcpForAvp::ConnectIfDue() {
  const SInt64 now = CBrntPlatform::MonotonicMs();
  if (m_s64LastConnectMs && now - *m_s64LastConnectMs < kConnectIntervalMs) return;
  m_s64LastConnectMs = now;
  OpenSocket();
}

Bool16 TcpForAvp::OpenSocket() {
  m_pTcpSock = std::make_unique<ZpIHTCPSocket<202>>(this);
  if (m_pTcpSock->Open() != 0) {
    HLOG_ERROR("Open socket failed: %d", errno);
    m_pTcpSock.reset();
    return 0;
  }
  if (m_pTcpSock->Connect(m_u32SrvIp, m_u16SrvPort) != 0) {
    HLOG_ERROR("connect to server failed: %d", errno);
    m_pTcpSock.reset();
    return 0;
  }
  m_s32Status = E_Status_Connecting;
  m_pTcpSock->RequestEvent(kEventRead | kEventWrite);
  return 1;
}

void TcpForAvp::ProcessReadEvent() {
  if (m_pTcpSock == nullptr) return;
  if (ReadOnce()) {
    HLOG_INFO("read avp tci msg [%u-%s] ", m_u32ReadLenInBuf, m_aReadBuf);
    ParseLines(std::string(m_aReadBuf, m_u32ReadLenInBuf));
  }
  std::memset(m_aReadBuf, 0, sizeof m_aReadBuf);
  if (!m_pTcpSock->IsConnected()) m_s32Status = E_Status_Error;
  m_pTcpSock->RequestEvent(kEventRead);  // reports at once what is still to read
  if (m_s32Status == E_Status_Error) Signal(kStartEvent);
}

// False when nothing was read; the socket then says whether it is still connected.
bool TcpForAvp::ReadOnce() {
  UInt32 got = 0;
  if (m_pTcpSock->Read(m_aReadBuf, kReadRoom, &got) != 0) return false;
  m_u32ReadLenInBuf = got;
  m_aReadBuf[got] = '\0';
  return true;
}

// Deliberate: the last line counts without its end, and a line that comes in two reads is lost.
void TcpForAvp::ParseLines(const std::string& text) {
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(kLineEnd, begin), text.size());
    const std::string line = text.substr(begin, end - begin);
    if (CBrntCmdNotifyHandler::IsNotifyMsg(line)) CBrntCmdNotifyHandler::ProcessNotifyMsg(line);
    begin = end + kLineEndLength;
  }
}

int AsyncTask::Init(const std::string& host, UInt16 port, const char* mac, E_DEVICE_MODE mode) {
  auto* link = new TcpForAvp(mode);  // the framework destroys it
  const OSMutexLocker lock(s_objMutex);
  s_pBrntClientAgent = link;
  return link->Init(host, port, mac);
}

void AsyncTask::UnInit() {
  const OSMutexLocker lock(s_objMutex);
  if (s_pBrntClientAgent == nullptr) return;
  s_pBrntClientAgent->Unit();
  s_pBrntClientAgent = nullptr;
}

Bool16 AsyncTask::SendReq(const std::string& text) {
  const OSMutexLocker lock(s_objMutex);
  return s_pBrntClientAgent == nullptr ? Bool16{0} : s_pBrntClientAgent->SendReq(text);
}

int AsyncTask::GetTciInitStatus() {
  if (GetUpgradeMode() != 0) {
    HLOG_INFO("halyard is in upgrade mode");
    return 1;
  }
  const OSMutexLocker lock(s_objMutex);
  if (s_pBrntClientAgent == nullptr) {
    HLOG_WARN("s_pBrntClientAgent is NULL");
    return 0;
  }
  return s_pBrntClientAgent->IsTciInit() ? 1 : 0;
}

void AsyncTask::SetUpgradeMode(int mode) { g_s32UpgradeMode = mode; }

int AsyncTask::GetUpgradeMode() { return g_s32UpgradeMode; }

int StartDoAsyncMsg(const char* mac, E_DEVICE_MODE mode) { return AsyncTask::Init(kServerIp, kServerPort, mac, mode); }
