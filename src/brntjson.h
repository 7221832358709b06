// The one place where JSON text is read and written, and the readers that say "absent" for every wrong shape.
//
// Any thread; nothing here throws. A null member, and one of another type, counts as absent.
#pragma once

#include <json/value.h>

#include <string>

#include "OSTypes.h"

namespace brntjson {

// Parses text (comments allowed) into value. False, with value left as it was, for anything but JSON, and for nesting
// too deep to read.
[[nodiscard]] bool Parse(const std::string& text, Json::Value& value);

// The compact one-line form, members in key order, with a newline at the end.
std::string Write(const Json::Value& value);

// The member under key, or null when object is no object, or the member is missing or null. The pointer lives as long
// as object.
const Json::Value* Member(const Json::Value& object, const char* key);

// The members of one type; false, with out left alone, when absent. Integers are those that fit into 32 signed bits.
[[nodiscard]] bool GetString(const Json::Value& object, const char* key, std::string& out);
[[nodiscard]] bool GetInt(const Json::Value& object, const char* key, SInt32& out);
[[nodiscard]] bool GetBool(const Json::Value& object, const char* key, bool& out);

// True when the member is absent, or an empty object, array or string.
bool IsMissingOrEmpty(const Json::Value& object, const char* key);

}  // namespace brntjson
