#include "deviceops.h"

#include <strings.h>

#include "deviceoprows.h"
#include "escape.h"
#include "opargs.h"
#include "propertykey.h"
#include "simjson.h"

namespace {

using T_Refusal = std::optional<T_SimError>;

constexpr int kHighestIndex = 31;  // of subscriptions and windows
constexpr size_t kInfraredDigits = 2064;

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
  if (deviceops::Node(device, node) == nullptr) return DeviceLacks(node);
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
    {"set:property", "devices", e_reply_either, true, deviceoprows::SetProperty},
    {"set:edid", "devices", e_reply_either, true, deviceoprows::SetEdid},
    {"set:scaler", "devices", e_reply_either, true, deviceoprows::SetScaler},
    {"set:video", "devices", e_reply_either, true, deviceoprows::SetVideo},
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

void StopAll(Json::Value& device) {
  for (const char* list : {"streams", "subscriptions"}) {
    for (Json::Value& stream : device[list]) Halt(stream);
  }
}

}  // namespace deviceops
