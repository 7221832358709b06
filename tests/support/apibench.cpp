#include "apibench.h"

#include <chrono>

#include "propertykey.h"
#include "simjson.h"

CApiBench::CApiBench(const T_AvpSimOptions& options)
    : m_api(options, [this](const std::string& line) { Notify(line); }) {
  std::string reason;
  m_api.Load(options.document, reason);
}

T_AvpSimOptions CApiBench::Options(const std::string& role) {
  T_AvpSimOptions options;
  options.document = samples::Device(role);
  options.settingsChangedMs = options.infoAvailableMs = options.connectSettingsMs = 0;
  options.rebootMs = options.updateMs = 0;
  return options;
}

Json::Value CApiBench::Ask(const std::string& method, const std::string& path, const std::string& body,
                           const T_SimAnswer& way) {
  const T_SimRequest request{method, path, body, simjson::Parse(body).value_or(Json::Value()), T_SimClock::now()};
  const CApiServer::T_Reply reply = m_api.Answer(request, way);
  m_httpStatus = reply.status;
  return simjson::Parse(reply.body).value_or(Json::Value());
}

Json::Value CApiBench::Post(const std::string& body, const T_SimAnswer& way) {
  return Ask("POST", "/api/device/" + m_api.FirstId(), body, way);
}

Json::Value CApiBench::PostTo(const std::string& target, const std::string& body) {
  return Ask("POST", "/api/device/" + target, body);
}

std::string CApiBench::Done(const std::string& body, const std::string& resultKey) {
  const Json::Value answer = Post(body);
  const bool done = answer["status"] == "SUCCESS" && answer["error"].isNull() &&
                    answer["result"][resultKey].size() == 1 &&
                    answer["result"][resultKey][0]["device_id"] == m_api.FirstId() &&
                    answer["result"]["error"] == Json::Value(Json::arrayValue);
  return done ? "done" : simjson::Write(answer);
}

std::string CApiBench::Refused(const std::string& body) {
  const Json::Value answer = Post(body);
  const bool refused = answer["status"] == "ERROR" && answer["result"].isNull() && answer["request_id"].isNull();
  return refused ? answer["error"]["reason"].asString() : "";
}

std::string CApiBench::Value(const std::string& key) const {
  const std::optional<Json::Value> value = m_api.Get(key, "");
  return value ? simjson::Write(*value) : "absent";
}

Json::Value CApiBench::TakeEvent(const std::string& type) {
  std::unique_lock<std::mutex> lock(m_mutex);
  Json::Value taken;
  m_cond.wait_for(lock, std::chrono::seconds(20), [&] {
    for (auto event = m_events.begin(); event != m_events.end(); ++event) {
      if ((*event)["event_type"] != type) continue;
      taken = *event;
      m_events.erase(event);
      return true;
    }
    return false;
  });
  return taken;
}

Json::Value CApiBench::AnswerOf(const Json::Value& event) {
  return Get("/api/request/" + event["request_id"].asString());
}

std::vector<std::string> CApiBench::EventTypes() const {
  const std::lock_guard<std::mutex> guard(m_mutex);
  return m_types;
}

void CApiBench::Notify(const std::string& line) {
  const Json::Value notification = simjson::Parse(line).value_or(Json::Value());
  {
    const std::lock_guard<std::mutex> guard(m_mutex);
    for (const Json::Value& event : notification["result"]["events"]) {
      m_events.push_back(event);
      m_types.push_back(event["event_type"].asString());
    }
  }
  m_cond.notify_all();
}
