// The sample documents of sim/samples, and device documents made from them.
#pragma once

#include <json/value.h>

#include <string>
#include <string_view>

namespace samples {
// A file's text by its name without ".json" ("device-rx", "identity"); empty when there is none.
std::string_view Text(std::string_view name);
Json::Value Document(std::string_view name);  // parsed; null when there is none
// The device of a role: "TX", "RX" or "TRX", in any case; null for another text.
Json::Value Device(const std::string& role);
// Gives a device another id, and the hardware address and multicast addresses that go with it.
void SetMac(Json::Value& device, const std::string& mac);
}  // namespace samples
