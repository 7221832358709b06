#include "brntcmdgetfirmwarefile.h"

#include "brntdevice.h"
#include "brntjson.h"
#include "brntlog.h"

namespace {

bool ReadPackage(const Json::Value& entry, std::string& fileName, bool& supportsProduction) {
  if (!brntjson::GetString(entry, "file_name", fileName)) return false;
  static_cast<void>(brntjson::GetBool(entry, "supports_production", supportsProduction));
  return true;
}

// A listing is one package or an array, of which the first that has a name counts.
bool FindPackage(const Json::Value& firmware, std::string& fileName, bool& supportsProduction) {
  if (!firmware.isArray()) return ReadPackage(firmware, fileName, supportsProduction);
  for (const Json::Value& entry : firmware) {
    if (ReadPackage(entry, fileName, supportsProduction)) return true;
  }
  return false;
}

}  // namespace

Bool16 CBrntCmdGetFirmwareFileHandler::ProcessCmd(T_ZpCmd& cmd) {
  if (LogReply(cmd) == 0 || cmd.RspStatus == e_status_PROCESSING) return 0;
  Json::Value reply;
  if (!brntjson::Parse(m_strCmd, reply)) {
    HLOG_ERROR("Get Firmware File's Rsp . Data Format is not json");
    return 0;
  }
  const Json::Value* result = brntjson::Member(reply, "result");
  const Json::Value* firmware = result != nullptr ? brntjson::Member(*result, "firmware") : nullptr;
  if (firmware == nullptr) {
    HLOG_ERROR("Not Found [%s]", result != nullptr ? "firmware" : "result");
    return 0;
  }
  std::string fileName;
  bool supportsProduction = false;
  if (!FindPackage(*firmware, fileName, supportsProduction)) {
    HLOG_ERROR("Not Found [%s]", "file_name");
    return 0;
  }
  CBrntDevice* device = CBrntDevice::GetBrntDevByID(cmd.DeviceId);
  if (device == nullptr) return 0;
  device->SetUpgradeFilenameAndCmdFlag(fileName, supportsProduction);
  return 1;
}
