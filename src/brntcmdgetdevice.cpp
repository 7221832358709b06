#include "brntcmdgetdevice.h"

#include "brntdevice.h"
#include "brntedidfiles.h"
#include "brntjson.h"
#include "brntlog.h"

Bool16 CBrntCmdGetDeviceHandler::ProcessCmd(T_ZpCmd& cmd) {
  HLOG_INFO("************\nAvp Rest Api Response : [%s] -- [%s]\n************", cmd.RestAPI.c_str(), m_strCmd.c_str());
  Json::Value reply;
  if (!brntjson::Parse(m_strCmd, reply)) {
    HLOG_ERROR("Get Device's Rsp . Data Format is not json");
    return 0;
  }
  if (cmd.RspStatus == e_status_ERROR) return LogReply(cmd);
  if (cmd.RspStatus == e_status_PROCESSING) return 0;
  const Json::Value* devices = FindDevices(reply);
  if (devices == nullptr) return 0;

  for (const Json::Value& node : *devices) {
    std::string id;
    if (!brntjson::GetString(node, "device_id", id)) continue;
    CBrntDevice* device = CBrntDevice::GetBrntDevByID(id);
    if (device != nullptr && device->ParseDevice(node, false) != 0) device->ReportDevice();
  }
  SaveEdidFiles(*devices, cmd.DeviceId);
  return 1;
}
