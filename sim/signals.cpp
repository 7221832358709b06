#include <cstdio>

#include "deviceops.h"
#include "devicestore.h"
#include "propertykey.h"
#include "samples.h"

namespace {

struct T_Signal {
  int width = 0;
  int height = 0;
  int fps = 0;
  bool interlaced = false;
};

std::optional<T_Signal> ParseTiming(const std::string& text) {
  T_Signal signal;
  if (text == "none") return signal;
  char scan = 0;
  int used = 0;
  if (std::sscanf(text.c_str(), "%5dx%5d%c%3d%n", &signal.width, &signal.height, &scan, &signal.fps, &used) != 4 ||
      static_cast<size_t>(used) != text.size() || (scan != 'p' && scan != 'i')) {
    return std::nullopt;
  }
  if (signal.width <= 0 || signal.height <= 0 || signal.fps <= 0) return std::nullopt;
  signal.interlaced = scan == 'i';
  return signal;
}

void SetVideo(Json::Value& video, const T_Signal& signal) {
  video["width"] = signal.width;
  video["height"] = signal.height;
  video["frames_per_second"] = signal.fps;
  video["scan_mode"] = signal.interlaced ? "INTERLACED" : "PROGRESSIVE";
}

// What the node shows while its signal is there: as loaded, or, when it was loaded without one, as the sample shows it.
Json::Value StableStatus(const Json::Value& defaults) {
  const char* key = "nodes[HDMI_DECODER:0].status";
  const Json::Value* loaded = propertykey::Find(defaults, key);
  if (loaded != nullptr && (*loaded)["source_stable"] == true) return *loaded;
  return *propertykey::Find(static_cast<const Json::Value&>(samples::Device("TX")), key);
}

// Without a signal the objects stay and hold placeholders.
Json::Value UnstableStatus() {
  const Json::Value device = samples::Document("device-tx-nosignal")["result"]["devices"][0];
  return *propertykey::Find(device, "nodes[HDMI_DECODER:0].status");
}

void SetInput(Json::Value& device, const Json::Value& defaults, Json::Value& decoder, const T_Signal& signal) {
  const bool stable = signal.width > 0;
  Json::Value status = stable ? StableStatus(defaults) : UnstableStatus();
  SetVideo(status["video"], signal);
  status["video_details"]["frame_rate"] = static_cast<double>(signal.fps);
  decoder["status"] = status;
  Json::Value* scaler = deviceops::Node(device, "SCALER");
  if (scaler == nullptr) return;
  Json::Value& video = (*scaler)["status"]["video"];
  const Json::Value& size = (*scaler)["configuration"];
  const Json::Value* divided = propertykey::Find(*scaler, "inputs[main:0].configuration.source.value");
  const bool halved = divided != nullptr && *divided == 1;
  video = status["video"];
  video["width"] = stable ? size["width"] : Json::Value(0);
  video["height"] = stable ? size["height"] : Json::Value(0);
  video["frames_per_second"] = halved ? signal.fps / 2 : signal.fps;
  video["scan_mode"] = "PROGRESSIVE";
}

}  // namespace

namespace signals {

bool SetSource(Json::Value& device, const Json::Value& defaults, const std::string& timing) {
  const std::optional<T_Signal> signal = ParseTiming(timing);
  if (!signal) return false;
  if (Json::Value* decoder = deviceops::Node(device, "HDMI_DECODER")) {
    SetInput(device, defaults, *decoder, *signal);
    return true;
  }
  Json::Value* buffer = deviceops::Node(device, "FRAME_BUFFER");
  if (buffer == nullptr) return false;
  SetVideo((*buffer)["status"]["source_video"], *signal);
  deviceops::UpdateOutput(device);
  return true;
}

bool SetMonitor(Json::Value& device, const Json::Value& defaults, bool connected) {
  Json::Value* monitor = deviceops::Node(device, "HDMI_MONITOR");
  if (monitor == nullptr) return false;
  const Json::Value* loaded = propertykey::Find(defaults, "nodes[HDMI_MONITOR:0].status.edid");
  const bool known = loaded != nullptr && loaded->isString() && !loaded->asString().empty();
  const Json::Value edid =
      known ? *loaded : *propertykey::Find(samples::Device("RX"), "nodes[HDMI_MONITOR:0].status.edid");
  (*monitor)["status"]["connected"] = connected;
  (*monitor)["status"]["edid"] = connected ? edid : Json::Value("");
  return true;
}

}  // namespace signals
