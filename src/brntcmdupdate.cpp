#include "brntcmdupdate.h"

#include "brntdevice.h"
#include "brntjson.h"
#include "brntlog.h"

namespace {

// The server says SUCCESS also when the update failed for the device; the device then stands in the result's errors.
bool FailedForDevice(const std::string& text, const std::string& deviceId) {
  Json::Value reply;
  if (!brntjson::Parse(text, reply)) return true;
  const Json::Value* result = brntjson::Member(reply, "result");
  const Json::Value* errors = result != nullptr ? brntjson::Member(*result, "error") : nullptr;
  if (errors == nullptr || !errors->isArray()) return false;
  for (const Json::Value& error : *errors) {
    std::string id;
    if (!brntjson::GetString(error, "device_id", id) || id != deviceId) continue;
    std::string reason;
    std::string message;
    static_cast<void>(brntjson::GetString(error, "reason", reason));
    static_cast<void>(brntjson::GetString(error, "message", message));
    HLOG_ERROR("update of [%s] failed : reason[%s] message[%s]", id.c_str(), reason.c_str(), message.c_str());
    return true;
  }
  return false;
}

}  // namespace

Bool16 CBrntCmdUpdateHandler::ProcessCmd(T_ZpCmd& cmd) {
  if (LogReply(cmd) == 0 || cmd.RspStatus != e_status_SUCCESS) return 0;
  if (FailedForDevice(m_strCmd, cmd.DeviceId)) {
    cmd.RspStatus = e_status_ERROR;  // what whoever waits for the update is told
    return 0;
  }
  CBrntDevice* device = CBrntDevice::GetBrntDevByID(cmd.DeviceId);
  if (device == nullptr) return 0;
  device->SetUpgradeFinishFlag(true);
  return 1;
}
