#include "brntcmdgetedid.h"

#include "brntedidfiles.h"
#include "brntjson.h"
#include "brntlog.h"

Bool16 CBrntCmdGetEdidHandler::ProcessCmd(T_ZpCmd& cmd) {
  if (LogReply(cmd) == 0 || cmd.RspStatus == e_status_PROCESSING) return 0;
  Json::Value reply;
  if (!brntjson::Parse(m_strCmd, reply)) {
    HLOG_ERROR("Get Edid's Rsp . Data Format is not json");
    return 0;
  }
  const Json::Value* devices = FindDevices(reply);
  if (devices == nullptr) return 0;
  SaveEdidFiles(*devices, cmd.DeviceId);
  return 1;
}
