#include <strings.h>

#include "deviceops.h"
#include "samples.h"
#include "simjson.h"

namespace samples {

Json::Value Document(std::string_view name) { return simjson::Parse(Text(name)).value_or(Json::Value()); }

Json::Value Device(const std::string& role) {
  constexpr struct {
    const char* role;
    const char* sample;
  } kRoles[] = {{"TX", "device-tx"}, {"RX", "device-rx"}, {"TRX", "device-trx"}};
  for (const auto& row : kRoles) {
    if (strcasecmp(row.role, role.c_str()) == 0) return Document(row.sample)["result"]["devices"][0];
  }
  return Json::Value();
}

void SetMac(Json::Value& device, const std::string& mac) {
  device["device_id"] = mac;
  if (Json::Value* port = deviceops::Node(device, "NETWORK_INTERFACE")) (*port)["status"]["mac_address"] = mac;
  if (mac.size() != 12) return;
  const std::string ending = std::to_string(std::stoi(mac.substr(8, 2), nullptr, 16)) + "." +
                             std::to_string(std::stoi(mac.substr(10, 2), nullptr, 16));
  for (Json::Value& stream : device["streams"]) {
    Json::Value& address = stream["configuration"]["address"];
    const std::string text = address.asString();
    if (text.rfind("235.", 0) != 0) continue;
    address = text.substr(0, text.find('.', 4) + 1) + ending;
  }
}

}  // namespace samples
