// JSON as the bench reads and writes it.
#pragma once

#include <json/value.h>

#include <optional>
#include <string>
#include <string_view>

#include "simtypes.h"

namespace simjson {
// Nothing when the text is no JSON (or nests too deep).
std::optional<Json::Value> Parse(std::string_view text);
// Compact, on one line. Members leave in the order of the API server's documents, unknown ones after them by name.
std::string Write(const Json::Value& value);

// The envelope of every answer: all four members, null where they do not apply.
std::string Envelope(std::string_view status, std::optional<int> requestId, const Json::Value& result,
                     const std::optional<T_SimError>& error);

// The envelope of a request that was carried out.
std::string Success(int requestId, const Json::Value& result);
// A final answer of a request carries the request's id; what is no sound envelope stays as it is.
std::string WithRequestId(const std::string& body, int requestId);

// The member of an object, or null (a static value) for anything else.
const Json::Value& Member(const Json::Value& object, const char* key);
}  // namespace simjson
