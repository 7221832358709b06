// Reads the members of a request body and of its objects; the first that is absent or wrong becomes the refusal.
#pragma once

#include <json/value.h>

#include <optional>
#include <string>

#include "simtypes.h"

T_SimError IllegalArgument(const std::string& message);
T_SimError DeviceLacks(const std::string& part);  // the operation needs what the device has not

class COpArgs {
 public:
  explicit COpArgs(const Json::Value& body) : m_body(body) {}

  // Required members; "" or 0 after a fault.
  std::string Text(const char* key);
  int Int(const char* key, int min, int max);
  std::string Address(const char* key);                                  // dotted, IPv4
  std::string Hex(const char* key, size_t minDigits, size_t maxDigits);  // an even number of digits
  const Json::Value& Object(const char* key);

  // Members that may be left out.
  bool OptionalBool(const char* key, bool otherwise);
  int OptionalInt(const char* key, int otherwise, int min, int max);
  std::string OptionalText(const char* key, const std::string& otherwise);
  // A number, or a number in a text.
  int IntOrText(const char* key, int min, int max);

  void Refuse(const T_SimError& error);  // the first one counts
  const std::optional<T_SimError>& Error() const { return m_error; }
  bool Has(const char* key) const;

 private:
  const Json::Value& Required(const char* key);
  int Range(const char* key, const Json::Value& value, int min, int max);

  const Json::Value& m_body;
  std::optional<T_SimError> m_error;
};
