#include "netstat.h"

#include <string>
#include <string_view>

#include "simjson.h"

namespace {

constexpr Json::Int64 kControlBits = 18432;

// What each kind of stream is called in the statistics, and the bits per second that it takes.
struct T_Flow {
  const char* type;
  int index;
  const char* name;
  Json::Int64 bits;
};

constexpr T_Flow kFlows[] = {
    {"HDMI", 0, "hdmi_stream_0", 5719326720},
    {"HDMI", 1, "hdmi_stream_1", 520093696},
    {"STEREO_AUDIO", 0, "stereo_audio", 1536000},
    {"HDMI_AUDIO", 0, "hdmi_audio", 2368512},
    {"MULTICH_AUDIO", 0, "multi_channel_audio", 6144000},
    {"THUMBNAIL", 0, "thumbnail", 1048576},
};

constexpr const char* kOtherFlows[] = {"cpu_control", "aux_channel", "network_1g"};

bool Streams(const Json::Value& list, const T_Flow& flow) {
  for (const Json::Value& stream : list) {
    if (stream["type"] == flow.type && stream["index"] == flow.index) {
      return simjson::Member(stream["status"], "state") == "STREAMING";
    }
  }
  return false;
}

Json::Value ForEachFlow(const Json::Value& value) {
  Json::Value group;
  for (const T_Flow& flow : kFlows) group[flow.name] = value;
  for (const char* name : kOtherFlows) group[name] = value;
  return group;
}

Json::Value Usage(const Json::Value& streams) {
  Json::Value usage = ForEachFlow(0);
  Json::Int64 total = kControlBits;
  usage["cpu_control"] = kControlBits;
  for (const T_Flow& flow : kFlows) {
    if (!Streams(streams, flow)) continue;
    usage[flow.name] = flow.bits;
    total += flow.bits;
  }
  usage["total"] = total;
  return usage;
}

Json::Value Zeros(std::initializer_list<const char*> names, const Json::Value& zero) {
  Json::Value group;
  for (const char* name : names) group[name] = zero;
  return group;
}

Json::Value IngressCounters() {
  return Zeros({"ethernet_flow_control_frames", "xgmii_phy_errors", "xgmii_preamble_errors", "xgmii_crc_errors",
                "xgmii_frame_errors", "jumbo_frames", "runt_frame_errors"},
               0);
}

Json::Value IngressErrors() {
  return Zeros({"network_frame_dropped", "xgmii_decoder_error", "xgmii_decoder_wrong_start_code",
                "xgmii_decoder_wrong_stop_code", "xgmii_decoder_invalid_control_code"},
               false);
}

// Groups that the filter does not name are left empty.
Json::Value Filtered(Json::Value path, const Json::Value& filter) {
  if (filter.isNull()) return path;
  for (const std::string& name : path.getMemberNames()) {
    if (!path[name].isObject()) continue;
    bool wanted = filter == name;
    for (const Json::Value& entry : filter) wanted = wanted || entry == name;
    if (!wanted) path[name] = Json::objectValue;
  }
  return path;
}

Json::Value Path(const char* type) {
  Json::Value path;
  path["type"] = type;
  path["index"] = 0;
  return path;
}

bool HasRole(const Json::Value& device, const char* member) {
  return simjson::Member(simjson::Member(device, "identity"), member) == true;
}

void AddTransmitter(const Json::Value& device, const Json::Value& filter, Json::Value& paths) {
  Json::Value egress = Path("10G_TRANSMITTER_EGRESS");
  egress["bandwidth"]["selection"] = ForEachFlow(true);
  egress["bandwidth"]["selection"]["total"] = true;
  egress["bandwidth"]["usage"] = Usage(device["streams"]);
  egress["counters"] = Zeros({"ethernet_flow_control_frames"}, 0);
  egress["dropped_frames"] = ForEachFlow(false);
  Json::Value ingress = Path("10G_TRANSMITTER_INGRESS");
  ingress["counters"] = IngressCounters();
  ingress["errors"] = IngressErrors();
  paths.append(Filtered(egress, filter));
  paths.append(Filtered(ingress, filter));
}

void AddReceiver(const Json::Value& device, const Json::Value& filter, Json::Value& paths) {
  Json::Value egress = Path("10G_RECEIVER_EGRESS");
  egress["dropped_frames"] = ForEachFlow(false);
  Json::Value ingress = Path("10G_RECEIVER_INGRESS");
  ingress["bandwidth"]["usage"]["total"] = Usage(device["subscriptions"])["total"];
  ingress["counters"] = IngressCounters();
  ingress["errors"] = IngressErrors();
  paths.append(Filtered(egress, filter));
  paths.append(Filtered(ingress, filter));
}

}  // namespace

namespace netstat {

Json::Value Statistics(const Json::Value& device, std::int64_t upSeconds, const Json::Value& filter) {
  Json::Value entry;
  entry["device_id"] = device["device_id"];
  if (device.isMember("device_name")) entry["device_name"] = device["device_name"];
  entry["device_up_time"] = static_cast<Json::Int64>(upSeconds);
  Json::Value& paths = entry["data_paths"] = Json::arrayValue;
  if (HasRole(device, "is_transmitter")) AddTransmitter(device, filter, paths);
  if (HasRole(device, "is_receiver")) AddReceiver(device, filter, paths);
  return entry;
}

}  // namespace netstat
