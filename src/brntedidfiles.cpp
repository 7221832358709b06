#include "brntedidfiles.h"

#include "brntjson.h"
#include "brntlog.h"
#include "brntparsersp.h"

namespace {

constexpr char kDecoderPath[] = "/tmp/dec.edid";
constexpr char kMonitorPath[] = "/tmp/mon.edid";

// The "edid" text under part ("configuration" or "status") of the node of that type; false with the missing key.
bool FindEdid(const Json::Value* nodes, const char* type, const char* part, std::string& edid, const char*& missing) {
  missing = "nodes";
  if (nodes == nullptr) return false;
  missing = part;
  const Json::Value* holder = ParseJsonRsp::FindInJsonArray(part, *nodes, "type", type);
  if (holder == nullptr) return false;
  missing = "edid";
  if (!brntjson::GetString(*holder, "edid", edid)) return false;
  bool connected = true;
  static_cast<void>(brntjson::GetBool(*holder, "connected", connected));  // monitors only
  if (!connected) edid.clear();
  return true;
}

}  // namespace

void SaveEdidFiles(const Json::Value& devices, const std::string& deviceId) {
  const Json::Value* nodes = ParseJsonRsp::FindInJsonArray("nodes", devices, "device_id", deviceId);
  std::string edid;
  const char* missing = nullptr;
  if (FindEdid(nodes, "HDMI_DECODER", "configuration", edid, missing)) {
    ParseJsonRsp::SaveEdid(kDecoderPath, edid.c_str());
  } else {
    HLOG_ERROR("Get DECORDER's edid Not Found [%s]", missing);
  }
  if (FindEdid(nodes, "HDMI_MONITOR", "status", edid, missing)) {
    ParseJsonRsp::SaveEdid(kMonitorPath, edid.c_str());
  } else {
    HLOG_ERROR("Get MONITOR's edid Not Found [%s]", missing);
  }
}
