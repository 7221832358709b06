#include "opargs.h"

#include <arpa/inet.h>

#include <charconv>

#include "simjson.h"

T_SimError IllegalArgument(const std::string& message) { return {"ILLEGAL_ARGUMENT", message}; }

T_SimError DeviceLacks(const std::string& part) { return {"DEVICE_TYPE", "The device has no " + part}; }

namespace {

T_SimError BadValue(const char* key) { return IllegalArgument(std::string("Bad value for key ") + key); }

}  // namespace

void COpArgs::Refuse(const T_SimError& error) {
  if (!m_error) m_error = error;
}

bool COpArgs::Has(const char* key) const { return !simjson::Member(m_body, key).isNull(); }

const Json::Value& COpArgs::Required(const char* key) {
  const Json::Value& value = simjson::Member(m_body, key);
  if (value.isNull()) Refuse(IllegalArgument(std::string("No value for key ") + key));
  return value;
}

std::string COpArgs::Text(const char* key) {
  const Json::Value& value = Required(key);
  if (value.isString()) return value.asString();
  Refuse(BadValue(key));
  return "";
}

int COpArgs::Range(const char* key, const Json::Value& value, int min, int max) {
  if (value.isInt() && value.asInt() >= min && value.asInt() <= max) return value.asInt();
  Refuse(BadValue(key));
  return 0;
}

int COpArgs::Int(const char* key, int min, int max) { return Range(key, Required(key), min, max); }

int COpArgs::OptionalInt(const char* key, int otherwise, int min, int max) {
  return Has(key) ? Int(key, min, max) : otherwise;
}

int COpArgs::IntOrText(const char* key, int min, int max) {
  const Json::Value& value = Required(key);
  if (!value.isString()) return Range(key, value, min, max);
  const std::string text = value.asString();
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return Range(key, whole ? Json::Value(number) : Json::Value(), min, max);
}

std::string COpArgs::Address(const char* key) {
  std::string text = Text(key);
  in_addr address{};
  if (inet_pton(AF_INET, text.c_str(), &address) == 1) return text;
  Refuse(BadValue(key));
  return "";
}

std::string COpArgs::Hex(const char* key, size_t minDigits, size_t maxDigits) {
  std::string text = Text(key);
  const bool hex = text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
  if (hex && text.size() % 2 == 0 && text.size() >= minDigits && text.size() <= maxDigits) return text;
  Refuse(BadValue(key));
  return "";
}

const Json::Value& COpArgs::Object(const char* key) {
  const Json::Value& value = Required(key);
  if (!value.isObject()) Refuse(BadValue(key));
  return value;
}

bool COpArgs::OptionalBool(const char* key, bool otherwise) {
  if (!Has(key)) return otherwise;
  const Json::Value& value = Required(key);
  if (!value.isBool()) Refuse(BadValue(key));
  return value.isBool() ? value.asBool() : otherwise;
}

std::string COpArgs::OptionalText(const char* key, const std::string& otherwise) {
  return Has(key) ? Text(key) : otherwise;
}
