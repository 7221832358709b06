// Serial data as text: backslash escapes for what is not printable.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace escape {
// Printable ASCII as it is (a backslash too), every other byte as \xhh with lower-case digits.
std::string Escape(std::string_view bytes);
// \xHH, \t, \r, \n and \\ become their byte; nothing when an escape is incomplete or unknown.
std::optional<std::string> Unescape(std::string_view text);
}  // namespace escape
