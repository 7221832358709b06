// The keys of set:property: members joined by dots, array elements by type (or name) and index.
//
//   nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value
//   streams[HDMI:1].configuration.enable
//   configuration.device_mode
#pragma once

#include <json/value.h>

#include <string_view>

namespace propertykey {
// The member in the document that the key names; null when the key is ill-formed or names nothing. An element's type or
// name is compared without regard to case. The pointer lives as long as the document keeps its shape.
Json::Value* Find(Json::Value& document, std::string_view key);
const Json::Value* Find(const Json::Value& document, std::string_view key);

// The element of an array of typed (or named) and numbered objects; null when there is none.
Json::Value* FindElement(Json::Value& array, std::string_view type, Json::Int64 index);
}  // namespace propertykey
