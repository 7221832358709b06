#include "brntjson.h"

#include <json/reader.h>
#include <json/writer.h>

#include <exception>
#include <utility>

namespace brntjson {

// The peers were built against the older reader and writer and see their exact text forms, so the process keeps them;
// the deprecation is silenced here and nowhere else.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

bool Parse(const std::string& text, Json::Value& value) {
  try {
    Json::Reader reader;
    Json::Value parsed;
    if (!reader.parse(text, parsed, true)) return false;
    value = std::move(parsed);
    return true;
  } catch (const std::exception&) {  // nesting deeper than the reader's limit
    return false;
  }
}

std::string Write(const Json::Value& value) {
  try {
    Json::FastWriter writer;
    return writer.write(value);
  } catch (const std::exception&) {
    return "null\n";
  }
}

#pragma GCC diagnostic pop

const Json::Value* Member(const Json::Value& object, const char* key) {
  if (!object.isObject()) return nullptr;
  const Json::Value* member = object.find(key, key + std::char_traits<char>::length(key));
  return member == nullptr || member->isNull() ? nullptr : member;
}

bool GetString(const Json::Value& object, const char* key, std::string& out) {
  const Json::Value* member = Member(object, key);
  if (member == nullptr || !member->isString()) return false;
  out = member->asString();
  return true;
}

bool GetInt(const Json::Value& object, const char* key, SInt32& out) {
  const Json::Value* member = Member(object, key);
  if (member == nullptr || !member->isInt()) return false;
  out = member->asInt();
  return true;
}

bool GetBool(const Json::Value& object, const char* key, bool& out) {
  const Json::Value* member = Member(object, key);
  if (member == nullptr || !member->isBool()) return false;
  out = member->asBool();
  return true;
}

bool IsMissingOrEmpty(const Json::Value& object, const char* key) {
  const Json::Value* member = Member(object, key);
  if (member == nullptr) return true;
  if (member->isString()) return member->asString().empty();
  return member->empty();
}

}  // namespace brntjson
