#include "brntclient.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "brntdevice.h"
#include "brntlibcurl.h"
#include "brntlog.h"
#include "brntparsersp.h"
#include "brntplatform.h"
#include "brntsendcmd.h"

namespace {

constexpr SInt64 kBeforeFirstPollMs = 100;
constexpr SInt64 kSyncPollMs = 1000;
constexpr int kLastPoll = 5;  // polls are numbered from 0

// Longer answers are logged by their size alone where they come often.
constexpr std::size_t kLoggedInFull = 256;

std::string RequestIdUrl(const T_ZpCmd& cmd, SInt32 reqId) {
  char path[200];
  std::snprintf(path, sizeof path, "%s/%d", "/api/request", reqId);
  return cmd.ReqLine + path;
}

// One exchange as the command's method says; a result below 1 is a failure with its text in err.
int Transfer(const T_ZpCmd& cmd, const std::string& url, std::string& answer, std::string& err) {
  switch (cmd.httpmethod) {
    case e_method_get:
      return Libcurl_Get_Data(url, answer, err);
    case e_method_post:
      return Libcurl_Post_Data(url, cmd.ReqBody, answer, err);
    case e_method_delete:
      return Libcurl_Delete(url, nullptr, answer, err);
  }
  return 0;
}

bool IsKnownMethod(E_Http_Method method) {
  return method == e_method_get || method == e_method_post || method == e_method_delete;
}

// The sends say the same things in words of their own; each text stands here whole.

void LogSendReqFailure(const T_ZpCmd& cmd, const std::string& url, const std::string& err) {
  if (cmd.httpmethod == e_method_post) {
    HLOG_ERROR("SendReq [%s][%s] Error! %s", url.c_str(), cmd.ReqBody.c_str(), err.c_str());
  } else {
    HLOG_ERROR("SendReq [%s] Error! %s", url.c_str(), err.c_str());
  }
}

void LogSendReqAnswer(const T_ZpCmd& cmd, const std::string& url, const std::string& answer) {
  if (cmd.httpmethod == e_method_get) {
    HLOG_INFO("SendReq get avpinfo url[%s] rsp[%s]", url.c_str(), answer.c_str());
  } else if (cmd.httpmethod == e_method_post) {
    HLOG_INFO("SendReq post avpinfo url[%s] data[%s] rsp[%s]", url.c_str(), cmd.ReqBody.c_str(), answer.c_str());
  } else {
    HLOG_INFO("SendReq delete avpinfo url[%s] rsp[%s]", url.c_str(), answer.c_str());
  }
}

void LogSendSyncReqFailure(const T_ZpCmd& cmd, const std::string& url, const std::string& err) {
  if (cmd.httpmethod == e_method_post) {
    HLOG_ERROR("SendSyncReq [%s][%s] Error! %s", url.c_str(), cmd.ReqBody.c_str(), err.c_str());
  } else {
    HLOG_ERROR("SendSyncReq [%s] Error! %s", url.c_str(), err.c_str());
  }
}

void LogSendSyncReqAnswer(const T_ZpCmd& cmd, const std::string& url, const std::string& answer) {
  if (cmd.httpmethod == e_method_get) {
    HLOG_INFO("SendSyncReq get avpinfo url[%s] rsp[%s]", url.c_str(), answer.c_str());
  } else if (cmd.httpmethod == e_method_post) {
    HLOG_INFO("SendSyncReq post avpinfo url[%s] data[%s] rsp[%s]", url.c_str(), cmd.ReqBody.c_str(), answer.c_str());
  } else {
    HLOG_INFO("SendSyncReq delete avpinfo url[%s] rsp[%s]", url.c_str(), answer.c_str());
  }
}

void LogSendEvReqFailure(const T_ZpCmd& cmd, const std::string& url, const std::string& err) {
  if (cmd.httpmethod == e_method_post) {
    HLOG_ERROR("SendEvReq [%s] [%s] Error! %s", url.c_str(), cmd.ReqBody.c_str(), err.c_str());
  } else {
    HLOG_ERROR("SendEvReq [%s] Error! %s", url.c_str(), err.c_str());
  }
}

void LogSendEvReqAnswer(const T_ZpCmd& cmd, const std::string& url, const std::string& answer) {
  if (cmd.httpmethod == e_method_get && answer.size() > kLoggedInFull) {
    HLOG_INFO("SendEvReq get avpinfo url[%s] rsp size[%d]", url.c_str(), static_cast<int>(answer.size()));
  } else if (cmd.httpmethod == e_method_get) {
    HLOG_INFO("SendEvReq get avpinfo url[%s] rsp[%s]", url.c_str(), answer.c_str());
  } else if (cmd.httpmethod == e_method_post) {
    HLOG_INFO("SendEvReq post avpinfo url[%s] data[%s] rsp[%s]", url.c_str(), cmd.ReqBody.c_str(), answer.c_str());
  } else {
    HLOG_INFO("SendEvReq delete avpinfo url[%s] rsp[%s]", url.c_str(), answer.c_str());
  }
}

void LogNoPath() {}  // the other sends say nothing about an empty path

void LogNoEventPath() { HLOG_ERROR("SendEvReq RestAPI is empty"); }

}  // namespace

// What tells the three sends apart.
struct CBrntClientAgent::T_SendKind {
  void (*logNoPath)();
  void (*logFailure)(const T_ZpCmd& cmd, const std::string& url, const std::string& err);
  void (*logAnswer)(const T_ZpCmd& cmd, const std::string& url, const std::string& answer);
  UInt16 (CBrntClientAgent::*follow)(T_ZpCmd* pCmd, SInt32 reqId, std::string& rsp);  // a request in progress
};

const CBrntClientAgent::T_SendKind CBrntClientAgent::kSendReq = {LogNoPath, LogSendReqFailure, LogSendReqAnswer,
                                                                 &CBrntClientAgent::PollAfterPause};
const CBrntClientAgent::T_SendKind CBrntClientAgent::kSendSyncReq = {
    LogNoPath, LogSendSyncReqFailure, LogSendSyncReqAnswer, &CBrntClientAgent::StillPollAfterPause};
const CBrntClientAgent::T_SendKind CBrntClientAgent::kSendEvReq = {
    LogNoEventPath, LogSendEvReqFailure, LogSendEvReqAnswer, &CBrntClientAgent::LeaveProcessing};

T_DynamicBuf::T_DynamicBuf(const char* name) { std::snprintf(szBufName, sizeof szBufName, "%s", name); }

T_DynamicBuf::~T_DynamicBuf() { std::free(pBuf); }

bool T_DynamicBuf::AddData(const void* data, UInt32 length) {
  if (length > kMaxBytes - u32DataLen) return false;
  const UInt32 needed = u32DataLen + length;
  if (needed > u32BufSize) {
    const UInt32 grown = std::min(kMaxBytes, std::max(needed, 2 * u32BufSize));
    auto* bigger = static_cast<UInt8*>(std::realloc(pBuf, grown));
    if (bigger == nullptr) return false;
    pBuf = bigger;
    u32BufSize = grown;
  }
  if (length > 0) std::memcpy(pBuf + u32DataLen, data, length);
  u32DataLen = needed;
  return true;
}

void T_DynamicBuf::RemoveData(UInt32 length) {
  const UInt32 removed = std::min(length, u32DataLen);
  if (removed == 0) return;
  std::memmove(pBuf, pBuf + removed, u32DataLen - removed);
  u32DataLen -= removed;
}

CBrntClientAgent::CBrntClientAgent() : m_objDynamicBuf("brnt client") {
  std::memset(m_requestline, 0, sizeof m_requestline);
}

CBrntClientAgent::~CBrntClientAgent() {
  if (m_s32Status != 0) Cleanup_Curl_Global();
}

UInt16 CBrntClientAgent::Init(const std::string& ip, UInt16 port, const T_InitData* pInitData) {
  std::snprintf(m_requestline, sizeof m_requestline, "http://%s:%d", ip.c_str(), port);
  in_addr address{};
  if (inet_pton(AF_INET, ip.c_str(), &address) == 1) m_u32SrvIp = ntohl(address.s_addr);
  m_u16SrvPort = port;

  const std::string& id = pInitData->s_deviceid;
  CBrntDevice* device = CBrntDevice::GetBrntDevByID(id);
  Init_Curl_Global();
  m_s32Status = 1;

  SendCmd2AVP::SendGetAvpIdentityCmd(id);
  SendCmd2AVP::SendGetDeviceCmd(id);
  if (pInitData->g_upgradeflag) {
    HLOG_INFO("Init do : get firmware file");
    SendCmd2AVP::SendGetFirmwareFileCmd(id);
  }

  if (device == nullptr) return 1;
  switch (pInitData->s_mode) {
    case e_TX:
      device->m_bTx = 1;
      break;
    case e_RX:
      device->m_bRx = 1;
      break;
    case e_TRX:
      device->m_bTRx = 1;
      break;
    default:
      HLOG_ERROR("Unknow Device model");
      break;
  }
  return 1;
}

UInt16 CBrntClientAgent::SendReq(T_ZpCmd* pCmd, std::string& rsp) { return Send(kSendReq, pCmd, rsp); }

UInt16 CBrntClientAgent::SendSyncReq(T_ZpCmd* pCmd, std::string& rsp) { return Send(kSendSyncReq, pCmd, rsp); }

UInt16 CBrntClientAgent::SendEvReq(T_ZpCmd* pCmd, std::string& rsp) { return Send(kSendEvReq, pCmd, rsp); }

UInt16 CBrntClientAgent::Send(const T_SendKind& kind, T_ZpCmd* pCmd, std::string& rsp) {
  OSMutexLocker lock(m_objMutex);
  if (pCmd->RestAPI.empty()) {
    kind.logNoPath();
    return 0;
  }
  if (!IsKnownMethod(pCmd->httpmethod)) {
    HLOG_ERROR("error method");
    return 0;
  }
  const std::string url = pCmd->ReqLine + pCmd->RestAPI;
  std::string answer;
  std::string err;
  if (Transfer(*pCmd, url, answer, err) < 1) {
    kind.logFailure(*pCmd, url, err);
    return 0;
  }
  kind.logAnswer(*pCmd, url, answer);

  T_BrntRsp parsed;
  if (!ParseJsonRsp::ParseRsp(answer, &parsed)) parsed.eRspStatus = e_status_ERROR;
  switch (parsed.eRspStatus) {
    case e_status_SUCCESS:
    case e_status_ERROR:
      rsp = std::move(answer);
      pCmd->RspStatus = parsed.eRspStatus;
      return parsed.eRspStatus == e_status_SUCCESS ? 1 : 0;
    case e_status_PROCESSING:
      (this->*kind.follow)(pCmd, parsed.s32ReqID, rsp);
      return 1;
    default:
      pCmd->RspStatus = parsed.eRspStatus;
      return 0;
  }
}

UInt16 CBrntClientAgent::PollAfterPause(T_ZpCmd* pCmd, SInt32 reqId, std::string& rsp) {
  CBrntPlatform::SleepMs(kBeforeFirstPollMs);
  return SendGetRequestID(pCmd, reqId, rsp);
}

UInt16 CBrntClientAgent::StillPollAfterPause(T_ZpCmd* pCmd, SInt32 reqId, std::string& rsp) {
  CBrntPlatform::SleepMs(kBeforeFirstPollMs);
  return StillSendGetRequestID(pCmd, reqId, rsp);
}

UInt16 CBrntClientAgent::LeaveProcessing(T_ZpCmd* pCmd, SInt32 /*reqId*/, std::string& /*rsp*/) {
  HLOG_WARN("Get Event Msg,but Blueriver Server return processing ???");
  pCmd->RspStatus = e_status_PROCESSING;
  return 1;
}

UInt16 CBrntClientAgent::SendGetRequestID(T_ZpCmd* pCmd, SInt32 reqId, std::string& rsp) {
  OSMutexLocker lock(m_objMutex);
  const std::string url = RequestIdUrl(*pCmd, reqId);
  pCmd->RspStatus = e_status_ERROR;
  for (int n = 0;; ++n) {
    std::string answer;
    std::string err;
    if (Libcurl_Get_Data(url, answer, err) < 1) {
      HLOG_ERROR("SendGetRequestID [%s] Error! %s", url.c_str(), err.c_str());
      return 0;
    }
    if (answer.size() <= kLoggedInFull) {
      HLOG_INFO("SendGetRequestID get avpinfo url [%s] resp [%s]", url.c_str(), answer.c_str());
    } else {
      HLOG_INFO("SendGetRequestID get avpinfo url [%s] resp size [%u]", url.c_str(),
                static_cast<unsigned>(answer.size()));
    }

    T_BrntRsp parsed;
    if (!ParseJsonRsp::ParseRsp(answer, &parsed)) {
      HLOG_ERROR("parse json error");
      rsp = "Parse Json Error";
      return 0;
    }
    if (parsed.eRspStatus == e_status_SUCCESS) {
      rsp = std::move(answer);
      pCmd->RspStatus = e_status_SUCCESS;
      return 1;
    }
    if (parsed.eRspStatus == e_status_ERROR) {
      rsp = std::move(answer);
      HLOG_ERROR("get request id ,response error");
      return 0;
    }
    if (n == kLastPoll) {
      HLOG_INFO("get url [%s] request id timeout", url.c_str());
      rsp = std::move(answer);
      pCmd->RspStatus = e_status_PROCESSING;
      return 1;
    }
    CBrntPlatform::SleepMs(200 + 100 * SInt64{n} * n);
  }
}

UInt16 CBrntClientAgent::StillSendGetRequestID(T_ZpCmd* pCmd, SInt32 reqId, std::string& rsp) {
  OSMutexLocker lock(m_objMutex);
  const std::string url = RequestIdUrl(*pCmd, reqId);
  pCmd->RspStatus = e_status_ERROR;
  while (true) {
    std::string answer;
    std::string err;
    if (Libcurl_Get_Data(url, answer, err) < 1) {
      HLOG_ERROR("SendReq [%s] Error! %s", url.c_str(), err.c_str());  // Deliberate: SendReq's words.
      return 0;
    }
    HLOG_INFO("StillSendGetRequestID get avpinfo url[%s] resp[%s]", url.c_str(), answer.c_str());

    T_BrntRsp parsed;
    if (!ParseJsonRsp::ParseRsp(answer, &parsed)) {
      HLOG_ERROR("parse json error");
      return 0;
    }
    if (parsed.eRspStatus != e_status_PROCESSING) {
      // An answer that is neither settled nor in progress ends the wait too: nothing says that it would change.
      rsp = std::move(answer);
      pCmd->RspStatus = parsed.eRspStatus;
      return parsed.eRspStatus == e_status_SUCCESS ? 1 : 0;
    }
    HLOG_INFO("Processing ...");
    CBrntPlatform::SleepMs(kSyncPollMs);
  }
}

void CBrntClientAgent::RecvRsp(std::string& /*rsp*/, int /*timeout*/) {}

OSMutex& CBrntClient::s_objMutex = *new OSMutex;
std::shared_ptr<CBrntClientAgent>& CBrntClient::s_pBrntClientAgent = *new std::shared_ptr<CBrntClientAgent>;

UInt16 CBrntClient::Init(const std::string& ip, UInt16 port, const T_InitData* pInitData) {
  UnInit();
  auto agent = std::make_shared<CBrntClientAgent>();
  {
    OSMutexLocker lock(s_objMutex);
    s_pBrntClientAgent = agent;
  }
  return agent->Init(ip, port, pInitData);
}

void CBrntClient::UnInit() {
  std::shared_ptr<CBrntClientAgent> old;  // its end releases libcurl's global state, outside the lock
  OSMutexLocker lock(s_objMutex);
  old.swap(s_pBrntClientAgent);
}

std::shared_ptr<CBrntClientAgent> CBrntClient::Agent() {
  OSMutexLocker lock(s_objMutex);
  return s_pBrntClientAgent;
}

void CBrntClient::RecvRsp(std::string& rsp, int timeout) {
  if (const auto agent = Agent()) agent->RecvRsp(rsp, timeout);
}

UInt16 CBrntClient::SendReq(T_ZpCmd* pCmd, std::string& rsp) {
  const auto agent = Agent();
  return agent == nullptr ? 0 : agent->SendReq(pCmd, rsp);
}

UInt16 CBrntClient::SendSyncReq(T_ZpCmd* pCmd, std::string& rsp) {
  const auto agent = Agent();
  return agent == nullptr ? 0 : agent->SendSyncReq(pCmd, rsp);
}

UInt16 CBrntClient::SendEvReq(T_ZpCmd* pCmd, std::string& rsp) {
  const auto agent = Agent();
  return agent == nullptr ? 0 : agent->SendEvReq(pCmd, rsp);
}

UInt16 CBrntClient::SendGetRequestID(T_ZpCmd* pCmd, int reqId, std::string& rsp) {
  const auto agent = Agent();
  return agent == nullptr ? 0 : agent->SendGetRequestID(pCmd, reqId, rsp);
}
