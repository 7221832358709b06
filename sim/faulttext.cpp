#include "faulttext.h"

#include <charconv>

namespace {

std::optional<int> ParseNumber(const std::string& text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 0) return std::nullopt;
  return number;
}

using T_Made = std::optional<T_SimAnswer>;

T_Made Late(const std::string& value) {
  const std::optional<int> ms = ParseNumber(value);
  return ms ? T_Made(T_SimAnswer::Slow(*ms)) : std::nullopt;
}

T_Made Refused(const std::string& value) {
  return T_SimAnswer::Error(value.empty() ? "INVALID_STATE" : value, "As the bench was told");
}

T_Made Processing(const std::string& value) {
  if (value == "never") return T_SimAnswer::NeverSettles();
  const size_t unit = value.size() > 2 ? value.find("ms", value.size() - 2) : std::string::npos;
  const std::optional<int> number = ParseNumber(value.substr(0, unit));
  if (!number) return std::nullopt;
  return unit == std::string::npos ? T_SimAnswer::ProcessingPolls(*number) : T_SimAnswer::ProcessingMs(*number);
}

struct T_Fault {
  const char* name;
  const char* value;  // what follows the colon; "" for nothing
  const char* help;
  T_Made (*make)(const std::string& value);
};

constexpr T_Fault kFaults[] = {
    {"hangup", "", "close the connection without a byte",
     [](const std::string&) { return T_Made(T_SimAnswer::HangUp()); }},
    {"half", "", "half an answer, then close", [](const std::string&) { return T_Made(T_SimAnswer::Half()); }},
    {"garbage", "", "an answer that is no JSON", [](const std::string&) { return T_Made(T_SimAnswer::Garbage()); }},
    {"raw", "", "bytes that are no HTTP", [](const std::string&) { return T_Made(T_SimAnswer::Raw()); }},
    {"disconnected", "", "DEVICE_DISCONNECTED for the device",
     [](const std::string&) { return T_Made(T_SimAnswer::Disconnected()); }},
    {"slow", "MS", "the right answer, late", Late},
    {"error", "REASON", "ERROR with this reason (INVALID_STATE when left out)", Refused},
    {"processing", "POLLS|MSms|never", "PROCESSING until so many polls, so many milliseconds, or for ever", Processing},
};

}  // namespace

namespace faulttext {

std::optional<T_SimAnswer> Parse(const std::string& text) {
  const size_t colon = text.find(':');
  const std::string name = text.substr(0, colon);
  const std::string value = colon == std::string::npos ? "" : text.substr(colon + 1);
  for (const T_Fault& row : kFaults) {
    if (name != row.name) continue;
    if (*row.value == '\0' && colon != std::string::npos) return std::nullopt;
    return row.make(value);
  }
  return std::nullopt;
}

std::optional<T_RequestMatcher> ParseMatcher(const std::string& text) {
  struct T_Matcher {
    const char* name;
    T_RequestMatcher (*make)(std::string value);
  };
  static constexpr T_Matcher kMatchers[] = {
      {"op", simmatch::Op},     {"subset", simmatch::Subset}, {"key", simmatch::Property},
      {"path", simmatch::Path}, {"method", simmatch::Method},
  };
  if (text == "any") return simmatch::Any();
  const size_t equals = text.find('=');
  if (equals == std::string::npos) return std::nullopt;
  for (const T_Matcher& row : kMatchers) {
    if (text.substr(0, equals) == row.name) return row.make(text.substr(equals + 1));
  }
  return std::nullopt;
}

std::string Help() {
  std::string help;
  for (const T_Fault& row : kFaults) {
    std::string text = std::string("  ") + row.name + (*row.value != '\0' ? ":" : "") + row.value;
    text.resize(std::max<size_t>(text.size() + 2, 32), ' ');
    help += text + row.help + "\n";
  }
  return help;
}

}  // namespace faulttext
