#include "deviceops.h"

#include <strings.h>

#include <algorithm>
#include <cctype>

#include "escape.h"
#include "opargs.h"
#include "propertykey.h"
#include "simjson.h"

namespace {

using T_Refusal = std::optional<T_SimError>;

constexpr int kHighestIndex = 31;  // of subscriptions and windows
constexpr int kWidest = 4096;
constexpr int kHighest = 4096;
constexpr int kFastest = 240;
constexpr size_t kEdidDigits = 512;
constexpr size_t kInfraredDigits = 2064;

T_SimError CannotDo(std::string_view node) { return {"DEVICE_TYPE", "The device has no " + std::string(node)}; }

// --- streams and subscriptions ---

// Two flags and an address say whether a stream or subscription runs, and from or to where.
void Run(Json::Value& stream, const std::string& address) {
  stream["configuration"]["address"] = address;
  stream["configuration"]["enable"] = true;
  stream["status"]["state"] = "STREAMING";
}

void Halt(Json::Value& stream) {
  stream["configuration"]["enable"] = false;
  stream["status"]["state"] = "STOPPED";
}

// The stream that "stream_type" and "stream_index" name; null, with the refusal in args, when there is none.
Json::Value* NamedStream(Json::Value& device, COpArgs& args) {
  const std::string type = args.Text("stream_type");
  const int index = args.Int("stream_index", 0, kHighestIndex);
  if (args.Error()) return nullptr;
  Json::Value* stream = propertykey::FindElement(device["streams"], type, index);
  if (stream == nullptr) args.Refuse(IllegalArgument("No stream " + type + ":" + std::to_string(index)));
  return stream;
}

bool IsMulticast(const std::string& address) {
  const int first = std::atoi(address.c_str());
  return first >= 224 && first <= 239;
}

T_Refusal Start(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  Json::Value* stream = NamedStream(device, args);
  const std::string address = args.Address("dest_address");
  if (!args.Error()) Run(*stream, address);
  return args.Error();
}

T_Refusal Stop(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  Json::Value* stream = NamedStream(device, args);
  const bool free = args.OptionalBool("free", false);
  if (args.Error()) return args.Error();
  Halt(*stream);
  if (free) (*stream)["configuration"]["address"] = "0.0.0.0";
  return std::nullopt;
}

T_Refusal SwitchAddress(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  Json::Value* stream = NamedStream(device, args);
  const std::string address = args.Address("dest_address");
  if (!args.Error() && IsMulticast(address)) args.Refuse(IllegalArgument("dest_address is not a unicast address"));
  if (!args.Error()) Run(*stream, address);
  return args.Error();
}

T_Refusal SwitchApi(Json::Value& device, const Json::Value& body, T_OpContext& context) {
  COpArgs args(body);
  Json::Value* stream = NamedStream(device, args);
  if (!args.Error()) Run(*stream, context.serverAddress);
  return args.Error();
}

// A decoder takes up to 32 video subscriptions; the document lists those that were used.
Json::Value* SubscriptionToSet(Json::Value& device, const std::string& type, int index) {
  Json::Value& subscriptions = device["subscriptions"];
  Json::Value* found = propertykey::FindElement(subscriptions, type, index);
  const Json::Value* first = propertykey::FindElement(subscriptions, type, 0);
  if (found != nullptr || first == nullptr || strcasecmp(type.c_str(), "HDMI") != 0) return found;
  Json::Value added = *first;
  added["index"] = index;
  return &subscriptions.append(added);
}

T_Refusal Subscribe(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  const std::string type = args.Text("subscription_type");
  const int index = args.Int("subscription_index", 0, kHighestIndex);
  const std::string address = args.Address("source_address");
  if (args.Error()) return args.Error();
  Json::Value* subscription = SubscriptionToSet(device, type, index);
  if (subscription == nullptr) return IllegalArgument("No subscription " + type + ":" + std::to_string(index));
  Run(*subscription, address);
  return std::nullopt;
}

// Without an index: all of the type.
T_Refusal Leave(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  const std::string type = args.Text("subscription_type");
  const int index = args.OptionalInt("subscription_index", -1, 0, kHighestIndex);
  if (args.Error()) return args.Error();
  bool any = false;
  for (Json::Value& subscription : device["subscriptions"]) {
    const bool named = strcasecmp(subscription["type"].asCString(), type.c_str()) == 0;
    if (!named || (index >= 0 && subscription["index"] != index)) continue;
    Halt(subscription);
    any = true;
  }
  if (any) return std::nullopt;
  return IllegalArgument("No subscription " + type + (index >= 0 ? ":" + std::to_string(index) : ""));
}

// --- properties ---

// Settings that take one of a few texts, by the key's last member. Written as the document writes them.
struct T_TextChoices {
  std::string_view member;
  std::vector<std::string_view> choices;
  bool anyCase;
};

const std::vector<T_TextChoices>& TextChoices() {
  static const std::vector<T_TextChoices> rows = {
      {"device_mode", {"TRANSMITTER", "RECEIVER", "TRANSCEIVER"}, false},
      {"hdcp_output_mode", {"FOLLOW_SINK_1", "FOLLOW_SINK_2", "FOLLOW_SOURCE", "UNSUPPORTED"}, false},
      {"hdmi_tx_5v", {"AUTO", "LOW"}, false},
      {"parity", {"NONE", "ODD", "EVEN"}, true},
      {"audio_encoding_type", {"LPCM"}, false},
      {"role", {"LOCAL", "REMOTE", "DISABLED"}, false},
      {"aspect_ratio_mode", {"KEEP", "STRETCH", "NONE", "CROP"}, false},
  };
  return rows;
}

// Settings that take one of a few numbers.
struct T_NumberChoices {
  std::string_view member;
  std::vector<int> choices;
};

const std::vector<T_NumberChoices>& NumberChoices() {
  static const std::vector<T_NumberChoices> rows = {
      {"baud_rate", {300, 600, 1200, 2400, 4800, 9600, 14400, 19200, 38400, 57600, 115200, 230400, 460800, 921600}},
      {"data_bits", {5, 6, 7, 8}},
      {"stop_bits", {1, 2}},
  };
  return rows;
}

// The text as the document writes it; nothing when it is no choice.
std::optional<std::string> ChosenText(std::string_view member, const std::string& text) {
  for (const T_TextChoices& row : TextChoices()) {
    if (row.member != member) continue;
    for (const std::string_view choice : row.choices) {
      const bool same = row.anyCase
                            ? choice.size() == text.size() && strncasecmp(choice.data(), text.data(), text.size()) == 0
                            : choice == text;
      if (same) return std::string(choice);
    }
    return std::nullopt;
  }
  return text;
}

bool IsNumberChoice(std::string_view member, int number) {
  for (const T_NumberChoices& row : NumberChoices()) {
    if (row.member == member) return std::find(row.choices.begin(), row.choices.end(), number) != row.choices.end();
  }
  return true;
}

std::string_view LastMember(std::string_view key) { return key.substr(key.rfind('.') + 1); }

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// The choice of {"value", "choices"} that the number selects; null when it is none.
const Json::Value* FindChoice(const Json::Value& setting, const Json::Value& value) {
  for (const Json::Value& choice : simjson::Member(setting, "choices")) {
    if (simjson::Member(choice, "value") == value) return &choice;
  }
  return nullptr;
}

// After the choice of a source: the place that tells where the data now come from.
void MoveSource(Json::Value& device, std::string_view key, const Json::Value& choice) {
  constexpr std::string_view kEnd = ".configuration.source.value";
  if (!EndsWith(key, kEnd)) return;
  Json::Value* owner = propertykey::Find(device, key.substr(0, key.size() - kEnd.size()));
  Json::Value& source = key.substr(0, 8) == "streams[" ? (*owner)["source"] : (*owner)["status"]["source"];
  source = choice["details"];
}

T_Refusal SetChoice(Json::Value& device, std::string_view key, Json::Value& setting, const Json::Value& value) {
  const Json::Value* found = FindChoice(setting, value);
  if (found == nullptr) return IllegalArgument("Value is not one of the choices of " + std::string(key));
  const Json::Value choice = *found;
  setting["value"] = value;
  MoveSource(device, key, choice);
  return std::nullopt;
}

// A plain setting keeps its type; null stands for a text that is not set.
T_Refusal SetPlain(std::string_view key, Json::Value& member, const Json::Value& value) {
  const T_SimError bad = IllegalArgument("Bad value for key " + std::string(key));
  const std::string_view name = LastMember(key);
  if (member.isString() || member.isNull()) {
    const std::optional<std::string> text = value.isString() ? ChosenText(name, value.asString()) : std::nullopt;
    if (!text) return bad;
    member = *text;
    return std::nullopt;
  }
  if (member.isBool() ? !value.isBool() : !(member.isInt() && value.isInt() && IsNumberChoice(name, value.asInt()))) {
    return bad;
  }
  member = value;
  return std::nullopt;
}

T_Refusal SetProperty(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  const std::string key = args.Text("key");
  if (!args.Error() && !args.Has("value")) args.Refuse(IllegalArgument("No value for key value"));
  if (args.Error()) return args.Error();
  Json::Value* member = propertykey::Find(device, key);
  const bool setting = key.rfind("configuration.", 0) == 0 || key.find("].configuration.") != std::string::npos;
  if (member == nullptr || !setting) return IllegalArgument("Unknown property " + key);
  const Json::Value& value = body["value"];
  constexpr std::string_view kValue = ".value";
  Json::Value* owner =
      EndsWith(key, kValue) ? propertykey::Find(device, key.substr(0, key.size() - kValue.size())) : nullptr;
  const bool choice = owner != nullptr && owner->isMember("choices");
  T_Refusal refusal = choice ? SetChoice(device, key, *owner, value) : SetPlain(key, *member, value);
  if (!refusal && (key.rfind("nodes[FRAME_BUFFER:", 0) == 0 || key.rfind("nodes[HDMI_ENCODER:", 0) == 0)) {
    deviceops::UpdateOutput(device);
  }
  return refusal;
}

// --- video ---

T_Refusal SetEdid(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  std::string edid = args.Hex("data_hex", kEdidDigits, kEdidDigits);
  if (args.Error()) return args.Error();
  Json::Value* decoder = deviceops::Node(device, "HDMI_DECODER");
  if (decoder == nullptr) return CannotDo("HDMI input");
  std::transform(edid.begin(), edid.end(), edid.begin(), [](unsigned char c) { return std::tolower(c); });
  (*decoder)["configuration"]["edid"] = edid;
  return std::nullopt;
}

T_Refusal SetScaler(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  const int width = args.Int("width", 0, kWidest);
  const int height = args.Int("height", 0, kHighest);
  if (args.Error()) return args.Error();
  Json::Value* scaler = deviceops::Node(device, "SCALER");
  if (scaler == nullptr) return CannotDo("scaler");
  for (Json::Value* video : {&(*scaler)["configuration"], &(*scaler)["status"]["video"]}) {
    (*video)["width"] = width;
    (*video)["height"] = height;
  }
  return std::nullopt;
}

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
  if (const Json::Value* choice = FindChoice(source, value)) (*input)["status"]["source"] = (*choice)["details"];
  deviceops::UpdateOutput(device);
}

T_Refusal SetVideo(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  const std::string name = args.Text("display_mode");
  if (args.Error()) return args.Error();
  const T_DisplayMode* mode = FindDisplayMode(name);
  if (mode == nullptr) return IllegalArgument("Unknown display mode " + name);
  Json::Value* encoder = deviceops::Node(device, "HDMI_ENCODER");
  Json::Value* buffer = deviceops::Node(device, "FRAME_BUFFER");
  if (encoder == nullptr || buffer == nullptr) return CannotDo("HDMI output");
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

// --- data ---

T_Refusal SendRs232(Json::Value& device, const Json::Value& body, T_OpContext& context) {
  COpArgs args(body);
  const int port = args.Int("port_index", 0, kHighestIndex);
  const std::string data = args.Text("data_string");
  if (args.Error()) return args.Error();
  if (deviceops::Node(device, "UART", port) == nullptr) return IllegalArgument("No port " + std::to_string(port));
  const std::optional<std::string> bytes = escape::Unescape(data);
  if (!bytes || bytes->empty()) return IllegalArgument("Bad value for key data_string");
  context.sent.push_back({"rs232", deviceops::DeviceId(device), *bytes});
  return std::nullopt;
}

T_Refusal SendHex(Json::Value& device, const Json::Value& body, T_OpContext& context, const char* kind,
                  const char* node, size_t maxDigits) {
  COpArgs args(body);
  const std::string data = args.Hex("data_hex", 2, maxDigits);
  if (args.Error()) return args.Error();
  if (deviceops::Node(device, node) == nullptr) return CannotDo(node);
  context.sent.push_back({kind, deviceops::DeviceId(device), data});
  return std::nullopt;
}

T_Refusal SendInfrared(Json::Value& device, const Json::Value& body, T_OpContext& context) {
  return SendHex(device, body, context, "infrared", "INFRARED_ENCODER", kInfraredDigits);
}

T_Refusal SendCec(Json::Value& device, const Json::Value& body, T_OpContext& context) {
  return SendHex(device, body, context, "cec", "CEC", std::string::npos);
}

constexpr T_DeviceOp kDeviceOps[] = {
    {"start", "devices", e_reply_either, true, Start},
    {"stop", "devices", e_reply_either, true, Stop},
    {"subscribe", "devices", e_reply_either, true, Subscribe},
    {"leave", "devices", e_reply_either, true, Leave},
    {"switch:address", "devices", e_reply_either, true, SwitchAddress},
    {"switch:api", "devices", e_reply_either, true, SwitchApi},
    {"set:property", "devices", e_reply_either, true, SetProperty},
    {"set:edid", "devices", e_reply_either, true, SetEdid},
    {"set:scaler", "devices", e_reply_either, true, SetScaler},
    {"set:video", "devices", e_reply_either, true, SetVideo},
    {"send:rs232", "send_rs232", e_reply_at_once, false, SendRs232},
    {"send:infrared", "send_infrared", e_reply_at_once, false, SendInfrared},
    {"send:cec", "send_cec", e_reply_at_once, false, SendCec},
};

}  // namespace

namespace deviceops {

const T_DeviceOp* Find(std::string_view op) {
  for (const T_DeviceOp& row : kDeviceOps) {
    if (row.op == op) return &row;
  }
  return nullptr;
}

std::string DeviceId(const Json::Value& device) {
  const Json::Value& id = simjson::Member(device, "device_id");
  return id.isString() ? id.asString() : "";
}

Json::Value* Node(Json::Value& device, std::string_view type, int index) {
  return propertykey::FindElement(device["nodes"], type, index);
}

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
  if (encoder == nullptr || buffer == nullptr) return CannotDo("HDMI output");
  SetFrameBuffer((*buffer)["configuration"], "MULTIVIEW", timing);
  SelectOutput(device, *encoder, 1);
  return std::nullopt;
}

void StopAll(Json::Value& device) {
  for (const char* list : {"streams", "subscriptions"}) {
    for (Json::Value& stream : device[list]) Halt(stream);
  }
}

}  // namespace deviceops
