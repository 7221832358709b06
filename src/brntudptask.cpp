#include "brntudptask.h"

#include <arpa/inet.h>

#include <cerrno>
#include <cstdio>

#include "brntlog.h"

namespace {

constexpr UInt32 kTimeoutSeconds = 1;
constexpr UInt32 kTimeoutsPerRefresh = 10;
constexpr SInt32 kTickMsgId = 1;
constexpr int kWatchRead = 1;
constexpr int kWatchReadAndWrite = 3;

// A burst of commands waits here while a handler is slow.
constexpr UInt32 kReceiveBufferBytes = 1u << 20;

}  // namespace

UdpForMaster::UdpForMaster() : m_aReadBuf(new char[kReadRoom]()), m_objTimeoutTask(this, kTimeoutSeconds) {}

Bool16 UdpForMaster::Init(const std::string& ip, UInt16 port, const char* mac) {
  {
    OSMutexLocker locker(m_objMutex);
    std::snprintf(m_macaddr, sizeof m_macaddr, "%s", mac);
    in_addr address{};
    if (inet_aton(ip.c_str(), &address) != 0) m_u32SrvIp = ntohl(address.s_addr);
    m_u16SrvPort = port;
    m_s32Status = E_Status_Init;
  }
  Signal(kStartEvent);
  HLOG_INFO("Udp Init ServerIP<%s:%d>", ip.c_str(), port);
  return 1;
}

SInt64 UdpForMaster::Run() {
  const EventFlags events = GetEvents();
  if ((events & kKillEvent) != 0) {
    HLOG_INFO("kKillEvent");
    return -1;
  }
  if ((events & kReadEvent) != 0) ProcessReadEvent();
  if ((events & kTimeoutEvent) != 0) {
    m_objTimeoutTask.RefreshTimeout();
    ProcessTimeoutEvent();
  }
  OSMutexLocker locker(m_objMutex);
  CheckStatus();
  return 0;
}

void UdpForMaster::CheckStatus() {
  switch (m_s32Status) {
    case E_Status_Init:
      OpenSocket();
      return;
    case E_Status_Connected:
      HLOG_INFO("E_Status_Connected");
      if (m_pUdpSock == nullptr) m_s32Status = E_Status_Init;
      return;
    case E_Status_Error:
      HLOG_INFO("E_Status_Error");
      m_pUdpSock.reset();
      m_s32Status = E_Status_Init;
      return;
    default:
      // Deliberate: an open socket stays in E_Status_Connecting for good, and there is nothing to check.
      return;
  }
}

Bool16 UdpForMaster::OpenSocket() {
  m_pUdpSock = std::make_unique<ZpIHUDPSocket<201>>(this);
  if (m_pUdpSock->Open() != 0) {
    HLOG_ERROR("Open socket failed: %d", errno);
    m_pUdpSock.reset();
    return 0;
  }
  m_pUdpSock->SetSocketRcvBufSize(kReceiveBufferBytes);  // as much of it as the system grants
  if (m_pUdpSock->Bind(m_u32SrvIp, m_u16SrvPort) != 0) {
    HLOG_ERROR("bind socket failed: %d", errno);
    m_pUdpSock.reset();
    return 0;
  }
  m_s32Status = E_Status_Connecting;
  m_pUdpSock->RequestEvent(kWatchReadAndWrite);
  return 1;
}

bool UdpForMaster::Receive(UInt32* pLength) {
  OSMutexLocker locker(m_objMutex);
  if (m_pUdpSock == nullptr) return false;
  return m_pUdpSock->RecvFrom(&m_u32SrvIp, &m_u16SrvPort, m_aReadBuf.get(), kReadRoom, pLength) == 0;
}

void UdpForMaster::RequestRead() {
  OSMutexLocker locker(m_objMutex);
  if (m_pUdpSock != nullptr) m_pUdpSock->RequestEvent(kWatchRead);
}

void UdpForMaster::ProcessReadEvent() {
  UInt32 length = 0;
  while (Receive(&length)) {
    if (length >= kReadRoom) {
      HLOG_WARN("Udp recver buf full");
      m_u32ReadLenInBuf = 0;
      break;
    }
    if (length <= 1) continue;
    m_aReadBuf[length] = '\0';
    Msg_Box msg;
    msg.s_msg = m_aReadBuf.get() + m_u32ReadLenInBuf;
    msg.s_msg_len = static_cast<int>(length);
    {
      OSMutexLocker locker(m_objMutex);
      msg.s_remoteport = m_u16SrvPort;
      msg.s_remoteip = static_cast<int>(m_u32SrvIp);
    }
    msg.s_deviceid = m_macaddr;
    msg.eType = MSG_BOX_JSON;
    Msg_Process(&msg);
  }
  RequestRead();
}

void UdpForMaster::ProcessTimeoutEvent() {
  Msg_Box msg;
  msg.eType = MSG_BOX_TIMER;
  msg.s32MsgId = kTickMsgId;
  msg.s_deviceid = m_macaddr;
  Msg_Process(&msg);
}

int UdpForMaster::Msg_Process(Msg_Box* msg) {
  if (msg->eType != MSG_BOX_TIMER) return DispatchTlv(TlvTaskLists.data(), TlvTaskLists.size(), msg);
  if (++m_s32TimeoutCount >= kTimeoutsPerRefresh) {
    ApiHandler::GetNetstatAndEdidHandler(msg);
    m_s32TimeoutCount = 0;
  }
  ApiHandler::CheckVideoWallStatus(msg);
  return 1;
}

int UdpForMaster::SendData2Remote(char* buf, int len) {
  OSMutexLocker locker(m_objMutex);
  HLOG_INFO("Send to == > [%d]  -----   [%d]", static_cast<int>(m_u32SrvIp), m_u16SrvPort);
  if (m_pUdpSock == nullptr) {
    HLOG_ERROR("m_pUdpSock is NULL");
    return 0;
  }
  const int error = m_pUdpSock->SendTo(m_u32SrvIp, m_u16SrvPort, buf, static_cast<UInt32>(len));
  return error == 0 ? 1 : 0;
}

void UdpForMaster::CloseSocket() {
  OSMutexLocker locker(m_objMutex);
  m_pUdpSock.reset();
}

SInt32 UdpForMaster::Status() {
  OSMutexLocker locker(m_objMutex);
  return m_s32Status;
}
