#include "propertykey.h"

#include <strings.h>

#include <charconv>
#include <optional>
#include <string>

namespace {

bool SameText(const Json::Value& value, std::string_view text) {
  if (!value.isString()) return false;
  const std::string own = value.asString();
  return own.size() == text.size() && strncasecmp(own.data(), text.data(), text.size()) == 0;
}

// Takes the text up to the first delimiter, and the delimiter, off the front.
std::string_view TakeUntil(std::string_view& text, char delimiter) {
  const size_t end = text.find(delimiter);
  const std::string_view head = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return head;
}

std::optional<Json::Int64> ParseIndex(std::string_view text) {
  Json::Int64 index = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return index;
}

// One step of the key: "configuration", or "nodes[UART:0]".
Json::Value* Step(Json::Value& value, std::string_view segment) {
  const bool element = !segment.empty() && segment.back() == ']';
  std::string_view rest = segment;
  const std::string name(element ? TakeUntil(rest, '[') : segment);
  if (name.empty() || !value.isObject() || !value.isMember(name)) return nullptr;
  Json::Value& member = value[name];
  if (!element) return &member;
  rest.remove_suffix(1);
  const std::string_view type = TakeUntil(rest, ':');
  const std::optional<Json::Int64> index = ParseIndex(rest);
  return index ? propertykey::FindElement(member, type, *index) : nullptr;
}

}  // namespace

namespace propertykey {

Json::Value* FindElement(Json::Value& array, std::string_view type, Json::Int64 index) {
  if (!array.isArray()) return nullptr;
  for (Json::Value& element : array) {
    if (!element.isObject()) continue;
    const Json::Value& number = element["index"];
    if (!number.isInt64() || number.asInt64() != index) continue;
    if (SameText(element[element.isMember("type") ? "type" : "name"], type)) return &element;
  }
  return nullptr;
}

Json::Value* Find(Json::Value& document, std::string_view key) {
  Json::Value* value = &document;
  if (key.empty() || key.back() == '.') return nullptr;
  while (value != nullptr && !key.empty()) value = Step(*value, TakeUntil(key, '.'));
  return value;
}

const Json::Value* Find(const Json::Value& document, std::string_view key) {
  return Find(const_cast<Json::Value&>(document), key);  // the search changes nothing
}

}  // namespace propertykey
