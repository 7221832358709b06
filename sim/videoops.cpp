// The operations on picture and output: EDID, scaler, display mode, wall, multiview.
#include <algorithm>
#include <cctype>

#include "deviceoprows.h"
#include "opargs.h"
#include "propertykey.h"

namespace {

constexpr int kWidest = 4096;
constexpr int kHighest = 4096;
constexpr int kFastest = 240;
constexpr size_t kEdidDigits = 512;

struct T_DisplayMode {
  std::string_view name;
  bool frameBuffer;  // the output runs on the frame buffer's timing
  bool wall;
};

constexpr T_DisplayMode kDisplayModes[] = {
    {"GENLOCKED", false, false},         {"FAST_SWITCHED", true, false},   {"FAST_SWITCHED_STRETCH", true, false},
    {"FAST_SWITCHED_CROP", true, false}, {"GENLOCK_SCALING", true, false}, {"WALL_FAST_SWITCHED", true, true},
    {"WALL_GENLOCKED", true, true},
};

const T_DisplayMode* FindDisplayMode(const std::string& name) {
  for (const T_DisplayMode& row : kDisplayModes) {
    if (row.name == name) return &row;
  }
  return nullptr;
}

// Width, height and rate of a request's "video".
struct T_Timing {
  int width;
  int height;
  int fps;
};

T_Timing ReadTiming(COpArgs& video) {
  return {video.Int("width", 1, kWidest), video.Int("height", 1, kHighest), video.IntOrText("fps", 1, kFastest)};
}

void SetFrameBuffer(Json::Value& configuration, std::string_view mode, const T_Timing& timing) {
  configuration["display_mode"] = std::string(mode);
  configuration["width"] = timing.width;
  configuration["height"] = timing.height;
  configuration["frames_per_second"] = timing.fps;
  configuration["has_auto_wall_details"] = false;
  configuration.removeMember("auto_wall_details");
}

Json::Value ReadWall(COpArgs& video) {
  Json::Value wall;
  wall["grid_width"] = video.Int("grid_width", 1, 64);
  wall["grid_height"] = video.Int("grid_height", 1, 64);
  wall["grid_index_horiz"] = video.Int("grid_index_horiz", 0, 64);
  wall["grid_index_vert"] = video.Int("grid_index_vert", 0, 64);
  wall["bezel_horiz"] = video.OptionalInt("bezel_horiz", 0, -kWidest, kWidest);
  wall["bezel_vert"] = video.OptionalInt("bezel_vert", 0, -kHighest, kHighest);
  return wall;
}

// Value 0: the received signal; 1: the frame buffer.
void SelectOutput(Json::Value& device, Json::Value& encoder, int value) {
  Json::Value* input = propertykey::FindElement(encoder["inputs"], "main", 0);
  if (input == nullptr) return;
  Json::Value& source = (*input)["configuration"]["source"];
  source["value"] = value;
  if (const Json::Value* choice = deviceoprows::FindChoice(source, value))
    (*input)["status"]["source"] = (*choice)["details"];
  deviceops::UpdateOutput(device);
}

}  // namespace

namespace deviceoprows {

std::optional<T_SimError> SetEdid(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  std::string edid = args.Hex("data_hex", kEdidDigits, kEdidDigits);
  if (args.Error()) return args.Error();
  Json::Value* decoder = deviceops::Node(device, "HDMI_DECODER");
  if (decoder == nullptr) return DeviceLacks("HDMI input");
  std::transform(edid.begin(), edid.end(), edid.begin(), [](unsigned char c) { return std::tolower(c); });
  (*decoder)["configuration"]["edid"] = edid;
  return std::nullopt;
}

std::optional<T_SimError> SetScaler(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  const int width = args.Int("width", 0, kWidest);
  const int height = args.Int("height", 0, kHighest);
  if (args.Error()) return args.Error();
  Json::Value* scaler = deviceops::Node(device, "SCALER");
  if (scaler == nullptr) return DeviceLacks("scaler");
  for (Json::Value* video : {&(*scaler)["configuration"], &(*scaler)["status"]["video"]}) {
    (*video)["width"] = width;
    (*video)["height"] = height;
  }
  return std::nullopt;
}

std::optional<T_SimError> SetVideo(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  const std::string name = args.Text("display_mode");
  if (args.Error()) return args.Error();
  const T_DisplayMode* mode = FindDisplayMode(name);
  if (mode == nullptr) return IllegalArgument("Unknown display mode " + name);
  Json::Value* encoder = deviceops::Node(device, "HDMI_ENCODER");
  Json::Value* buffer = deviceops::Node(device, "FRAME_BUFFER");
  if (encoder == nullptr || buffer == nullptr) return DeviceLacks("HDMI output");
  if (!mode->frameBuffer) {
    SelectOutput(device, *encoder, 0);
    return std::nullopt;
  }
  const Json::Value& object = args.Object("video");
  if (args.Error()) return args.Error();
  COpArgs video(object);
  Json::Value& configuration = (*buffer)["configuration"];
  const T_Timing timing = ReadTiming(video);
  const std::string aspect = video.OptionalText("aspect_ratio_mode", configuration["aspect_ratio_mode"].asString());
  if (!ChosenText("aspect_ratio_mode", aspect)) video.Refuse(IllegalArgument("Bad value for key aspect_ratio_mode"));
  const Json::Value wall = mode->wall ? ReadWall(video) : Json::Value();
  if (video.Error()) return video.Error();
  SetFrameBuffer(configuration, mode->name, timing);
  configuration["aspect_ratio_mode"] = aspect;
  if (mode->wall) {
    configuration["has_auto_wall_details"] = true;
    configuration["auto_wall_details"] = wall;
  }
  SelectOutput(device, *encoder, 1);
  return std::nullopt;
}

}  // namespace deviceoprows

namespace deviceops {

void UpdateOutput(Json::Value& device) {
  Json::Value* encoder = Node(device, "HDMI_ENCODER");
  Json::Value* buffer = Node(device, "FRAME_BUFFER");
  if (encoder == nullptr || buffer == nullptr) return;
  const Json::Value* selected = propertykey::Find(*encoder, "inputs[main:0].configuration.source.value");
  Json::Value& video = (*encoder)["status"]["video"];
  if (selected != nullptr && *selected == 0) {
    const Json::Value received = (*buffer)["status"]["source_video"];
    if (received.isObject()) video = received;
    return;
  }
  const Json::Value& configuration = (*buffer)["configuration"];
  for (const char* key : {"width", "height", "frames_per_second"}) video[key] = configuration[key];
  video["scan_mode"] = "PROGRESSIVE";
}

std::optional<T_SimError> ShowMultiview(Json::Value& device, const Json::Value& body) {
  COpArgs args(body);
  const Json::Value& object = args.Object("video");
  if (args.Error()) return args.Error();
  COpArgs video(object);
  const T_Timing timing = ReadTiming(video);
  if (video.Error()) return video.Error();
  Json::Value* encoder = Node(device, "HDMI_ENCODER");
  Json::Value* buffer = Node(device, "FRAME_BUFFER");
  if (encoder == nullptr || buffer == nullptr) return DeviceLacks("HDMI output");
  SetFrameBuffer((*buffer)["configuration"], "MULTIVIEW", timing);
  SelectOutput(device, *encoder, 1);
  return std::nullopt;
}

}  // namespace deviceops
