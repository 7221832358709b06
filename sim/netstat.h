// The network statistics of a device, as its streams and subscriptions make them.
#pragma once

#include <json/value.h>

#include <cstdint>

namespace netstat {
// One entry of "statistics". filter: null, or the names of the groups to fill; the others are left empty.
Json::Value Statistics(const Json::Value& device, std::int64_t upSeconds, const Json::Value& filter);
}  // namespace netstat
