// The commands of the text link: the part of the API server that reads them.
#include <strings.h>

#include <sstream>

#include "apiserver.h"
#include "opargs.h"
#include "simjson.h"

namespace {

using T_Words = std::vector<std::string>;

T_Words SplitWords(const std::string& line) {
  std::istringstream stream(line);
  T_Words words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

bool Begins(const T_Words& words, std::initializer_list<const char*> with) {
  if (words.size() < with.size()) return false;
  size_t i = 0;
  for (const char* word : with) {
    const std::string& given = words[i++];
    if (*word != '*' && strcasecmp(given.c_str(), word) != 0) return false;
  }
  return true;
}

std::string Done(const Json::Value& result = Json::Value()) {
  return simjson::Envelope("SUCCESS", std::nullopt, result, std::nullopt);
}

std::string Refusal(const T_SimError& error) { return simjson::Envelope("ERROR", std::nullopt, Json::Value(), error); }

// A value as the text link writes it: true, false, a number, or a text.
Json::Value TextValue(const std::string& text) {
  const std::optional<Json::Value> value = simjson::Parse(text);
  return value && !value->isObject() && !value->isArray() ? *value : Json::Value(text);
}

}  // namespace

CTciLink::T_Answer CApiServer::AnswerLine(const std::string& line) {
  const T_Words words = SplitWords(line);
  if (Begins(words, {"require", "blueriver_api", "*"})) {
    if (words[2].rfind("3.", 0) == 0) return {Done()};
    return {Refusal({"VERSION", "API version " + words[2] + " is not compatible with 3.5.0.0"})};
  }
  if (Begins(words, {"mode", "async", "on"})) return {Done(), CTciLink::T_Answer::e_on};
  if (Begins(words, {"mode", "async", "off"})) return {Done(), CTciLink::T_Answer::e_off};
  if (Begins(words, {"netstat", "*", "select"})) return {SelectStatistics(words[1])};
  if (Begins(words, {"set", "*", "property", "*", "*"})) return {SetFromLine(words[1], words[3], TextValue(words[4]))};
  return {Refusal({"PROTOCOL_NOT_FOUND", "Unknown command " + line})};
}

std::string CApiServer::SelectStatistics(const std::string& target) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  const T_Targets targets = m_devices.Resolve(target);
  if (targets.empty()) return Refusal(IllegalArgument("Unknown device " + target));
  return Done(ForEachLocked(targets, "devices", e_reply_at_once, [](T_Device&, Json::Value&) {
                return std::optional<T_SimError>();
              }).result);
}

std::string CApiServer::SetFromLine(const std::string& target, const std::string& key, const Json::Value& value) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  const T_Targets targets = m_devices.Resolve(target);
  if (targets.empty()) return Refusal(IllegalArgument("Unknown device " + target));
  Json::Value body;
  body["op"] = "set:property";
  body["key"] = key;
  body["value"] = value;
  const T_Outcome outcome = DeviceOpLocked(targets, *deviceops::Find("set:property"), body);
  for (T_Device* device : outcome.changed) ChangedLocked(*device);
  return outcome.error ? Refusal(*outcome.error) : Done();
}
