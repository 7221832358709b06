// Faults and answers as text: "hangup", "slow:500", "error:INVALID_STATE", "processing:3".
#pragma once

#include <optional>
#include <string>

#include "simtypes.h"

namespace faulttext {
// The answer that the text names; nothing for another text.
std::optional<T_SimAnswer> Parse(const std::string& text);
// Which requests: "op=subscribe", "subset=edid", "key=configuration.device_mode", "path=/api/firmware",
// "method=DELETE", "any"; nothing for another text.
std::optional<T_RequestMatcher> ParseMatcher(const std::string& text);
// One line for each text that Parse takes, for a help text.
std::string Help();
}  // namespace faulttext
