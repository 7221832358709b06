#include "brntcmd.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "MyAssert.h"
#include "OSCond.h"
#include "OSThread.h"
#include "ZpIHIdleTask.h"
#include "ZpIHSecTimeoutTask.h"
#include "ZpIHSocket.h"
#include "ZpIHTask.h"
#include "ZpIHev.h"
#include "brntlog.h"
#include "brntproxy.h"
#include "brntstop.h"

namespace {

constexpr UInt32 kThreadsPerPool = 3;
constexpr int kProxyPool = 200;
constexpr int kLinkPool = 201;
constexpr int kTciPool = 202;

// How often the thread that takes stop signals looks for one while it waits for an answer.
constexpr SInt64 kStopPollMs = 200;

template <int T>
void StartTasks() {
  ZpIHTaskThreadPool<T>::AddThreads(kThreadsPerPool);
  ZpIHIdleTask<T>::Initialize();
  ZpIHSecTimeoutTask<T>::Initialize();
}

template <int T>
void StartTasksWithSockets() {
  StartTasks<T>();
  ZpIHSelect<T>::select_startevents();
  ZpIHSocket<T>::StartThread();
}

void LogCmd(const T_ZpCmd& cmd) {
  const std::string url = cmd.ReqLine + cmd.RestAPI;
  switch (cmd.httpmethod) {
    case e_method_get:
      HLOG_INFO("do cmd url get [%s] reqbody[%s]", url.c_str(), cmd.ReqBody.c_str());
      break;
    case e_method_post:
      HLOG_INFO("do cmd url post [%s] reqbody[%s]", url.c_str(), cmd.ReqBody.c_str());
      break;
    case e_method_delete:
      HLOG_INFO("do cmd url delete [%s] reqbody[%s]", url.c_str(), cmd.ReqBody.c_str());
      break;
  }
}

}  // namespace

UInt32 CBrntCmd::s_u32CurCmdSeq = 0;
OSMutex& CBrntCmd::s_objMutex = *new OSMutex;
OSCond& CBrntCmd::s_condOfList = *new OSCond;
std::map<UInt32, CBrntCmd::T_SyncAnswer>& CBrntCmd::s_mapSeq2CmdRsp = *new std::map<UInt32, T_SyncAnswer>;
CBrntProxy* CBrntCmd::s_pBrntProxy = nullptr;
std::atomic<Bool16> CBrntCmd::s_b16Init{0};
char CBrntCmd::m_requestline[100] = "";

int CBrntCmd::Init(const std::string& host, unsigned short port, T_InitData* pInitData) {
  if (s_b16Init != 0) return 1;
  OSThread::Initialize();
  StartTasks<kProxyPool>();
  StartTasksWithSockets<kTciPool>();
  StartTasksWithSockets<kLinkPool>();

  std::memset(m_requestline, 0, sizeof m_requestline);
  std::snprintf(m_requestline, sizeof m_requestline, "http://%s:%d", host.c_str(), port);
  s_b16Init = 1;
  CBrntProxy::InitProxy(host, port, pInitData);
  return 1;
}

UInt16 CBrntCmd::DoCmd(const std::string& devId, const std::string& restApi, E_Http_Method method,
                       const std::string& reqBody, std::string& rsp) {
  return DoCmd2(devId, restApi, method, reqBody, rsp, T_ZpCmd().eMsgType);
}

UInt16 CBrntCmd::DoCmd2(const std::string& devId, const std::string& restApi, E_Http_Method method,
                        const std::string& reqBody, std::string& /*rsp*/, AVP_MSG_E kind) {
  T_ZpCmd cmd;
  if (!MakeCmd(devId, restApi, method, reqBody, kind, &cmd)) return 0;
  return CBrntProxy::ProcessZpCmd(std::move(cmd));
}

UInt16 CBrntCmd::DoSynchronizeCmd(const std::string& devId, const std::string& restApi, E_Http_Method method,
                                  const std::string& reqBody, std::string& rsp) {
  return DoSynchronizeCmd2(devId, restApi, method, reqBody, rsp, T_ZpCmd().eMsgType);
}

UInt16 CBrntCmd::DoSynchronizeCmd2(const std::string& devId, const std::string& restApi, E_Http_Method method,
                                   const std::string& reqBody, std::string& rsp, AVP_MSG_E kind) {
  ZP_ASSERT(dynamic_cast<ZpIHTaskThread<kProxyPool>*>(OSThread::GetCurrent()) == nullptr);
  T_ZpCmd cmd;
  if (!MakeCmd(devId, restApi, method, reqBody, kind, &cmd)) return 0;
  {
    OSMutexLocker lock(s_objMutex);
    s_mapSeq2CmdRsp[cmd.u32CmdSeq] = T_SyncAnswer{};
  }
  if (CBrntProxy::ProcessSynchronizeCmd(cmd) == 0) SettleSynchronizeCmd(cmd);
  return WaitForAnswer(cmd.u32CmdSeq, rsp);
}

bool CBrntCmd::MakeCmd(const std::string& devId, const std::string& restApi, E_Http_Method method,
                       const std::string& reqBody, AVP_MSG_E kind, T_ZpCmd* pCmd) {
  if (s_b16Init == 0) {
    HLOG_ERROR("don't Init , return");
    return false;
  }
  pCmd->httpmethod = method;
  pCmd->DeviceId = devId;
  pCmd->ReqLine = m_requestline;
  pCmd->RestAPI = restApi;
  pCmd->ReqBody = reqBody;
  pCmd->eMsgType = kind;
  pCmd->u32CmdSeq = NextSeq();
  LogCmd(*pCmd);
  return true;
}

UInt32 CBrntCmd::NextSeq() {
  OSMutexLocker lock(s_objMutex);
  s_u32CurCmdSeq = SeqAfter(s_u32CurCmdSeq);
  return s_u32CurCmdSeq;
}

void CBrntCmd::SettleSynchronizeCmd(const T_ZpCmd& cmd) {
  {
    OSMutexLocker lock(s_objMutex);
    const auto waiting = s_mapSeq2CmdRsp.find(cmd.u32CmdSeq);
    if (waiting == s_mapSeq2CmdRsp.end()) return;
    waiting->second = {true, cmd.RspStatus, cmd.RspBody};
  }
  s_condOfList.Broadcast();
}

UInt16 CBrntCmd::WaitForAnswer(UInt32 seq, std::string& rsp) {
  T_SyncAnswer answer;
  while (!TakeAnswer(seq, &answer)) CBrntStop::WaitForStop(0);
  rsp = std::move(answer.rspBody);
  return answer.status == e_status_SUCCESS ? 1 : 0;
}

bool CBrntCmd::TakeAnswer(UInt32 seq, T_SyncAnswer* pAnswer) {
  OSMutexLocker lock(s_objMutex);
  const auto waiting = s_mapSeq2CmdRsp.find(seq);
  if (!waiting->second.settled) s_condOfList.TimedWait(s_objMutex, CBrntStop::IsStopThread() ? kStopPollMs : 0);
  if (!waiting->second.settled) return false;
  *pAnswer = std::move(waiting->second);
  s_mapSeq2CmdRsp.erase(waiting);
  return true;
}

void CBrntCmd::ClearRetrySubscribeCmd() { CBrntProxy::ClearRetryCmd(); }

std::string CBrntCmd::RequestLine() { return s_b16Init == 0 ? std::string() : std::string(m_requestline); }
