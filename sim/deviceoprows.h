// Operations of the table in deviceops.cpp that have files of their own, and what these share.
#pragma once

#include <json/value.h>

#include <optional>
#include <string>
#include <string_view>

#include "deviceops.h"

namespace deviceoprows {
// propertyops.cpp
std::optional<T_SimError> SetProperty(Json::Value& device, const Json::Value& body, T_OpContext& context);
// videoops.cpp
std::optional<T_SimError> SetEdid(Json::Value& device, const Json::Value& body, T_OpContext& context);
std::optional<T_SimError> SetScaler(Json::Value& device, const Json::Value& body, T_OpContext& context);
std::optional<T_SimError> SetVideo(Json::Value& device, const Json::Value& body, T_OpContext& context);

// The text as the document writes it; nothing when it is no choice of the setting with this name.
std::optional<std::string> ChosenText(std::string_view setting, const std::string& text);
// The choice of {"value", "choices"} that the value selects; null when it is none.
const Json::Value* FindChoice(const Json::Value& setting, const Json::Value& value);
}  // namespace deviceoprows
