#include "brntproxy.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <utility>
#include <vector>

#include "brntasynctask.h"
#include "brntclient.h"
#include "brntcmd.h"
#include "brntcmdhandler.h"
#include "brntevmsgprocess.h"
#include "brntlog.h"

namespace {

constexpr UInt32 kTimeoutSec = 1;
constexpr UInt32 kTicksBeforeRetry = 10;
constexpr SInt64 kEndTask = -1;
constexpr SInt64 kSleep = 0;
constexpr SInt64 kTciPollMs = 300;
constexpr SInt64 kTimerCmdMs = 50;

#define AVP_MSG_NAME(name, value) #name,
constexpr const char* kMsgNames[] = {AVP_MSG_LIST(AVP_MSG_NAME)};
#undef AVP_MSG_NAME
#define AVP_MSG_VALUE(name, value) value,
constexpr std::size_t kMsgValues[] = {AVP_MSG_LIST(AVP_MSG_VALUE)};
#undef AVP_MSG_VALUE

constexpr bool ValuesAreIndexes() {
  for (std::size_t i = 0; i < std::size(kMsgValues); ++i) {
    if (kMsgValues[i] != i) return false;
  }
  return true;
}
static_assert(std::size(kMsgNames) == 38 && ValuesAreIndexes(), "names are looked up by value");

// Runs one piece of work that comes from outside; what it throws ends here, with one line.
template <class Work>
void RunGuarded(const char* what, Work work) {
  try {
    work();
  } catch (const std::exception& e) {
    HLOG_ERROR("%s dropped: %s", what, e.what());
  }
}

void HandleAnswer(T_ZpCmd& cmd) {
  RunGuarded(get_avp_msg_string(cmd.eMsgType), [&cmd] {
    const std::unique_ptr<CZp2BrntCmdHandler> handler(CZp2BrntCmdHandler::CreateCmdHandler(cmd, nullptr));
    if (handler != nullptr) handler->ProcessCmd(cmd);
  });
}

bool HasSeq(const std::list<T_ZpCmd>& list, UInt32 seq) {
  return std::any_of(list.begin(), list.end(), [seq](const T_ZpCmd& cmd) { return cmd.u32CmdSeq == seq; });
}

}  // namespace

const char* get_avp_msg_string(const AVP_MSG_E& kind) {
  const auto index = static_cast<std::size_t>(kind);
  return index < std::size(kMsgNames) ? kMsgNames[index] : "Unknown AVP_MSG_E value";
}

void GetLocalIP(const char* name, std::string& out) {
  out = "0.0.0.0";
  ifaddrs* interfaces = nullptr;
  if (getifaddrs(&interfaces) != 0) {
    std::perror("getifaddrs");
    return;
  }
  const std::size_t length = std::strlen(name);
  for (const ifaddrs* entry = interfaces; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
    if (std::strncmp(entry->ifa_name, name, length) != 0) continue;
    sockaddr_in address{};
    std::memcpy(&address, entry->ifa_addr, sizeof address);
    char text[INET_ADDRSTRLEN];
    if (inet_ntop(AF_INET, &address.sin_addr, text, sizeof text) != nullptr) out = text;
    break;
  }
  freeifaddrs(interfaces);
}

std::atomic<CBrntProxy*> CBrntProxy::s_pBrntProxy{nullptr};
std::atomic<CTimerCmdHandler*> CBrntProxy::s_pTimerCmdHandler{nullptr};

UInt16 CBrntProxy::InitProxy(const std::string& ip, UInt16 port, T_InitData* pInitData) {
  if (s_pBrntProxy != nullptr) return 1;
  auto* proxy = new CBrntProxy;  // deletes itself when its task ends
  s_pBrntProxy = proxy;
  if (s_pTimerCmdHandler == nullptr) s_pTimerCmdHandler = new CTimerCmdHandler;
  CBrntClient::Init(ip, port, pInitData);
  proxy->Signal(kStartEvent);
  return 1;
}

void CBrntProxy::UnitProxy() {
  CBrntProxy* proxy = s_pBrntProxy.exchange(nullptr);
  if (proxy != nullptr) proxy->Unit();
}

void CBrntProxy::Unit() {
  CBrntClient::UnInit();
  Signal(kKillEvent);
}

CBrntProxy::CBrntProxy() : m_objTimeoutTask(this, kTimeoutSec) { SetTaskName("BrntProxy"); }

CBrntProxy::~CBrntProxy() {
  std::list<T_ZpCmd> unanswered;
  {
    // Deliberate: the handlers that m_listEvCmd and the other lists point to stay; only the lists go.
    OSMutexLocker lock(m_objListMutex);
    unanswered.swap(m_listSyncCmd);
  }
  for (const T_ZpCmd& cmd : unanswered) CBrntCmd::SettleSynchronizeCmd(cmd);
}

UInt16 CBrntProxy::ProcessZpCmd(const T_ZpCmd& cmd) {
  CBrntProxy* proxy = s_pBrntProxy;
  return proxy == nullptr ? 0 : proxy->ProcessCmd(cmd);
}

UInt16 CBrntProxy::ProcessZpCmd(T_ZpCmd&& cmd) {
  CBrntProxy* proxy = s_pBrntProxy;
  return proxy == nullptr ? 0 : proxy->ProcessCmd(std::move(cmd));
}

UInt16 CBrntProxy::ProcessCmd(const T_ZpCmd& cmd) { return ProcessCmd(T_ZpCmd(cmd)); }

UInt16 CBrntProxy::ProcessCmd(T_ZpCmd&& cmd) {
  {
    OSMutexLocker lock(m_objListMutex);
    m_listZpCmd.push_back(std::move(cmd));
  }
  Signal(kStartEvent);
  return 1;
}

UInt16 CBrntProxy::ProcessSynchronizeCmd(const T_ZpCmd& cmd) {
  CBrntProxy* proxy = s_pBrntProxy;
  return proxy == nullptr ? 0 : proxy->ProcessSyncCmd(cmd);
}

UInt16 CBrntProxy::ProcessSyncCmd(const T_ZpCmd& cmd) {
  {
    OSMutexLocker lock(m_objListMutex);
    m_listSyncCmd.push_back(cmd);
  }
  Signal(kUpdateEvent);
  return 1;
}

UInt16 CBrntProxy::ProcessEvCmd(CBrntEventHandler* pHandler) {
  CBrntProxy* proxy = s_pBrntProxy;
  if (proxy != nullptr) return proxy->ProcessCmd(pHandler);
  delete pHandler;
  return 0;
}

UInt16 CBrntProxy::ProcessCmd(CBrntEventHandler* pHandler) {
  {
    OSMutexLocker lock(m_objListMutex);
    m_listEvCmd.push_back(pHandler);
  }
  Signal(kMsgEvent);
  return 1;
}

void CBrntProxy::ProcessBrntCmdTimer(CBrntCmdHandler* pHandler) {
  CTimerCmdHandler* timer = s_pTimerCmdHandler;
  if (timer != nullptr) timer->ProcessCmdTimer(pHandler);
}

void CBrntProxy::ProcessCmdTimer(CBrntCmdHandler* pHandler) {
  {
    OSMutexLocker lock(m_objListMutex);
    m_listBrntCmdOnTimer.push_back(pHandler);
  }
  Signal(kStartEvent);
}

void CBrntProxy::HandleRspRecv() {
  CBrntProxy* proxy = s_pBrntProxy;
  if (proxy != nullptr) proxy->Signal(kStartEvent);
}

void CBrntProxy::ProcessRspNotify() {
  CBrntProxy* proxy = s_pBrntProxy;
  if (proxy != nullptr) proxy->Signal(kStartEvent);
}

void CBrntProxy::CheckPreview() {
  CBrntProxy* proxy = s_pBrntProxy;
  if (proxy != nullptr) proxy->Signal(kPreviewCheckEvent);
}

void CBrntProxy::ClearRetryCmd() {
  CBrntProxy* proxy = s_pBrntProxy;
  if (proxy != nullptr) proxy->ClearCmd();
}

void CBrntProxy::AddReqCmd(int /*reqId*/, CBrntCmdHandler* /*pHandler*/) {
  CBrntProxy* proxy = s_pBrntProxy;
  if (proxy == nullptr) return;
  OSMutexLocker lock(proxy->m_objMapMutex);
}

void CBrntProxy::ProcessReqCmd(int /*reqId*/, CBrntCmdHandler* /*pHandler*/) {
  CBrntProxy* proxy = s_pBrntProxy;
  if (proxy == nullptr) return;
  OSMutexLocker lock(proxy->m_objMapMutex);
}

std::string CBrntProxy::GetBrntSrvIp() {
  const CBrntProxy* proxy = s_pBrntProxy;
  return proxy == nullptr ? std::string() : proxy->m_strLocalIp;
}

std::list<T_ZpCmd> CBrntProxy::QueuedCmds() {
  CBrntProxy* proxy = s_pBrntProxy;
  if (proxy == nullptr) return {};
  OSMutexLocker lock(proxy->m_objListMutex);
  return proxy->m_listZpCmd;
}

std::list<T_ZpCmd> CBrntProxy::TakeQueuedCmds() {
  std::list<T_ZpCmd> taken;
  CBrntProxy* proxy = s_pBrntProxy;
  if (proxy == nullptr) return taken;
  OSMutexLocker lock(proxy->m_objListMutex);
  taken.swap(proxy->m_listZpCmd);
  return taken;
}

std::list<T_ZpCmd> CBrntProxy::QueuedSyncCmds() {
  CBrntProxy* proxy = s_pBrntProxy;
  if (proxy == nullptr) return {};
  OSMutexLocker lock(proxy->m_objListMutex);
  return proxy->m_listSyncCmd;
}

std::list<T_ZpCmd> CBrntProxy::RetryCmds() {
  CBrntProxy* proxy = s_pBrntProxy;
  if (proxy == nullptr) return {};
  OSMutexLocker lock(proxy->m_objListMutex);
  return proxy->m_listZpCmdRetry;
}

std::size_t CBrntProxy::ParkedCmds() {
  CTimerCmdHandler* timer = s_pTimerCmdHandler;
  return timer == nullptr ? 0 : timer->ParkedCmds();
}

bool CBrntProxy::ZpCmdListEmpty() {
  OSMutexLocker lock(m_objListMutex);
  return m_listZpCmd.empty();
}

bool CBrntProxy::BrntCmdListEmpty() {
  OSMutexLocker lock(m_objListMutex);
  return m_listBrntCmdOnTimer.empty();
}

SInt64 CBrntProxy::Run() {
  const UInt32 events = GetEvents();
  if ((events & kKillEvent) != 0) return kEndTask;
  if ((events & kTimeoutEvent) != 0) {
    m_objTimeoutTask.RefreshTimeout();
    DoTimeout();
  }
  if ((events & kStartEvent) != 0) {
    if (AsyncTask::GetTciInitStatus() == 0) {
      HLOG_INFO("tci not init ok, cmd wait");
      Signal(events & (kStartEvent | kUpdateEvent | kMsgEvent));  // or the next run would find nothing to do
      return kTciPollMs;
    }
    ProcessCmdInZpCmdList();
  }
  // Deliberate: without kStartEvent these two run whether the TCI link is ready or not.
  if ((events & kUpdateEvent) != 0) ProcessSyncCmdInZpCmdList();
  if ((events & kMsgEvent) != 0) ProcessEvCmdInCmdList();
  return kSleep;
}

void CBrntProxy::ProcessCmdInZpCmdList() {
  T_ZpCmd cmd;
  while (TakeCmd(&cmd)) {
    CBrntClient::SendReq(&cmd, cmd.RspBody);
    HandleAnswer(cmd);
    if (cmd.eMsgType == AVP_MSG_SUBSCRIBE) SettleSubscription(cmd);
  }
}

bool CBrntProxy::TakeCmd(T_ZpCmd* pCmd) {
  std::size_t left = 0;
  std::vector<UInt32> merged;
  UInt32 seq = 0;
  {
    OSMutexLocker lock(m_objListMutex);
    if (m_listZpCmd.empty()) return false;
    *pCmd = std::move(m_listZpCmd.front());
    m_listZpCmd.pop_front();
    seq = pCmd->u32CmdSeq;
    left = m_listZpCmd.size();
    if (pCmd->eMsgType == AVP_MSG_GET_DEVICE) merged = MergeDeviceReadsLocked(pCmd);
  }
  const char* kind = get_avp_msg_string(pCmd->eMsgType);
  HLOG_INFO("cmd req:%u type:%s will be process, cmd size:%zu in list", seq, kind, left);
  if (pCmd->eMsgType != AVP_MSG_GET_DEVICE) return true;
  for (UInt32 mergedSeq : merged) HLOG_INFO("cmd req:%u type:%s will be merge", mergedSeq, kind);
  HLOG_INFO("cmd req:%u type:%s will be process, cmd size:%zu in list after merge", pCmd->u32CmdSeq, kind,
            left - merged.size());
  return true;
}

std::vector<UInt32> CBrntProxy::MergeDeviceReadsLocked(T_ZpCmd* pCmd) {
  std::vector<UInt32> merged;
  for (auto later = m_listZpCmd.begin(); later != m_listZpCmd.end();) {
    if (later->eMsgType != AVP_MSG_GET_DEVICE) {
      ++later;
      continue;
    }
    merged.push_back(later->u32CmdSeq);
    *pCmd = std::move(*later);
    later = m_listZpCmd.erase(later);
  }
  return merged;
}

void CBrntProxy::SettleSubscription(const T_ZpCmd& cmd) {
  if (cmd.RspStatus == e_status_ERROR) {
    AddRetryCmd(cmd);
  } else {
    ClearCmd(cmd);
  }
}

void CBrntProxy::ProcessSyncCmdInZpCmdList() {
  T_ZpCmd cmd;
  while (TakeSyncCmd(&cmd)) {
    CBrntClient::SendSyncReq(&cmd, cmd.RspBody);
    HandleAnswer(cmd);
    CBrntCmd::SettleSynchronizeCmd(cmd);  // last: the caller finds what the handler stored
  }
}

bool CBrntProxy::TakeSyncCmd(T_ZpCmd* pCmd) {
  std::size_t left = 0;
  {
    OSMutexLocker lock(m_objListMutex);
    if (m_listSyncCmd.empty()) return false;
    *pCmd = std::move(m_listSyncCmd.front());
    m_listSyncCmd.pop_front();
    left = m_listSyncCmd.size();
  }
  HLOG_INFO("cmd req:%u type:%s will be process, cmd size:%zu in list", pCmd->u32CmdSeq,
            get_avp_msg_string(pCmd->eMsgType), left);
  return true;
}

void CBrntProxy::ProcessEvCmdInCmdList() {
  while (const std::unique_ptr<CBrntEventHandler> handler{TakeEvCmd()}) {
    char path[100];
    std::snprintf(path, sizeof path, "/api/request/%d", handler->GetReqId());
    T_ZpCmd cmd;
    cmd.httpmethod = e_method_get;
    cmd.DeviceId = handler->GetDevId();
    cmd.ReqLine = CBrntCmd::RequestLine();
    cmd.RestAPI = path;
    CBrntClient::SendEvReq(&cmd, cmd.RspBody);
    RunGuarded("event", [&] { handler->DoResponse(cmd.RspBody, cmd.RspStatus); });
  }
}

CBrntEventHandler* CBrntProxy::TakeEvCmd() {
  CBrntEventHandler* handler = nullptr;
  std::size_t left = 0;
  {
    OSMutexLocker lock(m_objListMutex);
    if (m_listEvCmd.empty()) return nullptr;
    handler = m_listEvCmd.front();
    m_listEvCmd.pop_front();
    left = m_listEvCmd.size();
  }
  HLOG_INFO("EvCmd id:%d will be process, listEvCmd size:%zu", handler->GetReqId(), left);
  return handler;
}

void CBrntProxy::AddRetryCmd(const T_ZpCmd& cmd) {
  OSMutexLocker lock(m_objListMutex);
  if (HasSeq(m_listZpCmdRetry, cmd.u32CmdSeq)) return;
  m_listZpCmdRetry.push_back(cmd);
  m_listZpCmdRetry.back().RspBody.clear();  // the status stays: a try that gets no answer at all is no success
  HLOG_INFO("add retry cmd req:%u, reqbody:%s", cmd.u32CmdSeq, cmd.ReqBody.c_str());
}

void CBrntProxy::ClearCmd(const T_ZpCmd& cmd) {
  OSMutexLocker lock(m_objListMutex);
  for (auto entry = m_listZpCmdRetry.begin(); entry != m_listZpCmdRetry.end(); ++entry) {
    if (entry->u32CmdSeq != cmd.u32CmdSeq) continue;
    HLOG_INFO("clear retry cmd req:%u reqbody:%s", entry->u32CmdSeq, entry->ReqBody.c_str());
    m_listZpCmdRetry.erase(entry);
    return;
  }
}

void CBrntProxy::ClearCmd() {
  OSMutexLocker lock(m_objListMutex);
  if (m_listZpCmdRetry.empty()) return;
  HLOG_INFO("clear retry subscribe cmd");
  m_listZpCmdRetry.clear();
}

void CBrntProxy::DoTimeout() {
  if (++m_u32TimeoutCnt <= kTicksBeforeRetry) return;
  m_u32TimeoutCnt = 0;
  OSMutexLocker lock(m_objListMutex);
  for (const T_ZpCmd& cmd : m_listZpCmdRetry) {
    HLOG_INFO("retry cmd seq: %u, reqbody:%s", cmd.u32CmdSeq, cmd.ReqBody.c_str());
    ProcessCmd(cmd);
  }
}

CTimerCmdHandler::CTimerCmdHandler() { SetTaskName("TimerCmdHandler"); }

SInt64 CTimerCmdHandler::Run() {
  if ((GetEvents() & kKillEvent) != 0) return kEndTask;
  ProcessCmdInList();
  return kTimerCmdMs;
}

void CTimerCmdHandler::ProcessCmdTimer(CBrntCmdHandler* pHandler) {
  {
    OSMutexLocker lock(m_objListMutex);
    m_listBrntCmdOnTimer.push_back(pHandler);
  }
  Signal(kStartEvent);
}

std::size_t CTimerCmdHandler::ParkedCmds() {
  OSMutexLocker lock(m_objListMutex);
  return m_listBrntCmdOnTimer.size();
}
