#include "brntcmdhandler.h"

#include <string_view>

#include "brntcmdgetdevice.h"
#include "brntcmdgetedid.h"
#include "brntcmdgetfirmwarefile.h"
#include "brntcmdgetidentity.h"
#include "brntcmdgetmvlayout.h"
#include "brntcmdgetnetstat.h"
#include "brntcmdstart.h"
#include "brntcmdstop.h"
#include "brntcmdsubscribe.h"
#include "brntcmdunknow.h"
#include "brntcmdupdate.h"
#include "brntjson.h"
#include "brntlog.h"
#include "brntproxy.h"

namespace {

constexpr std::string_view kFirmwarePath = "/api/firmware";

template <class Handler>
CZp2BrntCmdHandler* Create(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) {
  return new Handler(cmd, pBatHandler);
}

struct T_HandlerRow {
  AVP_MSG_E kind;
  CZp2BrntCmdHandler* (*create)(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler);
};
constexpr T_HandlerRow kHandlers[] = {
    {AVP_MSG_STOP_AV, Create<CBrntCmdStopHandler>},
    {AVP_MSG_START_AV, Create<CBrntCmdStartHandler>},
    {AVP_MSG_SUBSCRIBE, Create<CBrntCmdSubscribeHandler>},
    {AVP_MSG_GETEDID, Create<CBrntCmdGetEdidHandler>},
    {AVP_MSG_GET_FW, Create<CBrntCmdGetFirmwareFileHandler>},
    {AVP_MSG_GET_IDENTITY, Create<CBrntCmdGetIdentityHandler>},
    {AVP_MSG_SEND_UPDATE, Create<CBrntCmdUpdateHandler>},
    {AVP_MSG_GET_DEVICE, Create<CBrntCmdGetDeviceHandler>},
    {AVP_MSG_GET_LAYOUT, Create<CBrntCmdGetMVLayoutHandler>},
    {AVP_MSG_GET_NETSTAT, Create<CBrntCmdGetNetstatHandler>},
};

}  // namespace

CZp2BrntCmdHandler* CZp2BrntCmdHandler::CreateCmdHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) {
  for (const T_HandlerRow& row : kHandlers) {
    if (row.kind == cmd.eMsgType) return row.create(cmd, pBatHandler);
  }
  return new CZpUnknowCmdHandler(cmd, pBatHandler);
}

std::string CZp2BrntCmdHandler::ParseCmdToGetCmdType(const T_ZpCmd& cmd) {
  if (cmd.ReqBody.empty()) {
    const bool firmware = std::string_view(cmd.RestAPI).substr(0, kFirmwarePath.size()) == kFirmwarePath;
    return firmware ? std::string(kFirmwarePath) : "NoBody";
  }
  std::string type = "unknown command";
  Json::Value body;
  if (!brntjson::Parse(cmd.ReqBody, body)) {
    HLOG_ERROR("Parse Cmd for Type Error: Json Error");
    return type;
  }
  static_cast<void>(brntjson::GetString(body, "op", type));
  return type;
}

CZp2BrntCmdHandler::CZp2BrntCmdHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler)
    : m_strCmd(cmd.RspBody), m_pBatHandler(pBatHandler) {}

Bool16 CZp2BrntCmdHandler::ProcessCmd(T_ZpCmd& cmd) { return LogReply(cmd); }

Bool16 CZp2BrntCmdHandler::LogReply(const T_ZpCmd& cmd) {
  if (cmd.RspStatus == e_status_UNDEFINED && cmd.RspBody.empty()) return 0;  // the client has said why
  const char* kind = get_avp_msg_string(cmd.eMsgType);
  if (cmd.RspStatus != e_status_ERROR) {
    HLOG_INFO("%s reply from [%s] : [%s]", kind, cmd.DeviceId.c_str(), cmd.RspBody.c_str());
    return 1;
  }
  std::string reason;
  std::string message;
  Json::Value reply;
  if (brntjson::Parse(cmd.RspBody, reply)) {
    if (const Json::Value* error = brntjson::Member(reply, "error")) {
      static_cast<void>(brntjson::GetString(*error, "reason", reason));
      static_cast<void>(brntjson::GetString(*error, "message", message));
    }
  }
  HLOG_ERROR("%s [%s] refused by [%s] : reason[%s] message[%s]", kind, ParseCmdToGetCmdType(cmd).c_str(),
             cmd.DeviceId.c_str(), reason.c_str(), message.c_str());
  return 0;
}

const Json::Value* CZp2BrntCmdHandler::FindDevices(const Json::Value& reply) {
  const Json::Value* result = brntjson::Member(reply, "result");
  if (result == nullptr) {
    HLOG_ERROR("Not Found [%s]", "result");
    return nullptr;
  }
  const Json::Value* devices = brntjson::Member(*result, "devices");
  if (devices == nullptr || !devices->isArray()) {
    HLOG_ERROR("Not Found [%s]", "devices");
    return nullptr;
  }
  return devices;
}
