#include "brntcmdgetidentity.h"

#include "brntjson.h"
#include "brntlog.h"
#include "brntparsersp.h"

Bool16 CBrntCmdGetIdentityHandler::ProcessCmd(T_ZpCmd& cmd) {
  if (LogReply(cmd) == 0 || cmd.RspStatus == e_status_PROCESSING) return 0;
  Json::Value reply;
  if (!brntjson::Parse(m_strCmd, reply)) {
    HLOG_ERROR("Get Identity's Rsp . Data Format is not json");
    return 0;
  }
  const Json::Value* devices = FindDevices(reply);
  if (devices == nullptr) return 0;
  for (const Json::Value& device : *devices) {
    std::string id;
    const Json::Value* identity = brntjson::Member(device, "identity");
    if (identity == nullptr || !brntjson::GetString(device, "device_id", id)) continue;
    ParseJsonRsp::ParseJsonInfo(id, *identity);
  }
  return 1;
}
