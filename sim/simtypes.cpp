#include "simtypes.h"

#include <utility>

#include "simjson.h"

std::string T_SimRequest::Op() const { return Field("op"); }

std::string T_SimRequest::Field(const std::string& key) const {
  const Json::Value& value = simjson::Member(json, key.c_str());
  return value.isString() || value.isIntegral() ? value.asString() : "";
}

std::string T_SimRequest::Line() const {
  return method + " " + path + (body.empty() ? "" : " ") + body.substr(0, body.find_last_not_of("\r\n") + 1);
}

namespace simmatch {

T_RequestMatcher Any() {
  return [](const T_SimRequest&) { return true; };
}

T_RequestMatcher Op(std::string op) {
  return [op = std::move(op)](const T_SimRequest& request) { return request.Op() == op; };
}

T_RequestMatcher Subset(std::string subset) { return Both(Op("get"), Field("subset", std::move(subset))); }

T_RequestMatcher Property(std::string key) { return Both(Op("set:property"), Field("key", std::move(key))); }

T_RequestMatcher Path(std::string path) {
  return [path = std::move(path)](const T_SimRequest& request) { return request.path == path; };
}

T_RequestMatcher PathPrefix(std::string prefix) {
  return [prefix = std::move(prefix)](const T_SimRequest& request) { return request.path.rfind(prefix, 0) == 0; };
}

T_RequestMatcher Method(std::string method) {
  return [method = std::move(method)](const T_SimRequest& request) { return request.method == method; };
}

T_RequestMatcher Field(std::string key, std::string value) {
  return [key = std::move(key), value = std::move(value)](const T_SimRequest& request) {
    return request.Field(key) == value;
  };
}

T_RequestMatcher Both(T_RequestMatcher a, T_RequestMatcher b) {
  return [a = std::move(a), b = std::move(b)](const T_SimRequest& request) { return a(request) && b(request); };
}

}  // namespace simmatch

namespace {

T_SimAnswer OfKind(E_AnswerKind kind) {
  T_SimAnswer answer;
  answer.eKind = kind;
  return answer;
}

}  // namespace

T_SimAnswer T_SimAnswer::Default() { return {}; }

T_SimAnswer T_SimAnswer::Body(std::string body, int httpStatus) {
  T_SimAnswer answer = OfKind(e_answer_body);
  answer.strBody = std::move(body);
  answer.iHttpStatus = httpStatus;
  return answer;
}

T_SimAnswer T_SimAnswer::Success(const Json::Value& result) {
  return Body(simjson::Envelope("SUCCESS", std::nullopt, result, std::nullopt));
}

T_SimAnswer T_SimAnswer::Error(std::string reason, std::string message, int httpStatus) {
  const T_SimError error{std::move(reason), std::move(message)};
  return Body(simjson::Envelope("ERROR", std::nullopt, Json::Value(), error), httpStatus);
}

T_SimAnswer T_SimAnswer::ProcessingPolls(int polls) {
  T_SimAnswer answer = OfKind(e_answer_processing);
  answer.iPolls = polls;
  return answer;
}

T_SimAnswer T_SimAnswer::ProcessingMs(int ms) {
  T_SimAnswer answer = OfKind(e_answer_processing);
  answer.iSettleMs = ms;
  return answer;
}

T_SimAnswer T_SimAnswer::NeverSettles() { return OfKind(e_answer_processing); }
T_SimAnswer T_SimAnswer::Disconnected() { return OfKind(e_answer_disconnected); }
T_SimAnswer T_SimAnswer::HangUp() { return OfKind(e_answer_hangup); }
T_SimAnswer T_SimAnswer::Half() { return OfKind(e_answer_half); }
T_SimAnswer T_SimAnswer::Garbage() { return Body("<html>no JSON: }{[ \x01</html>"); }

T_SimAnswer T_SimAnswer::Raw(std::string bytes) {
  T_SimAnswer answer = OfKind(e_answer_raw);
  answer.strBody = std::move(bytes);
  return answer;
}

T_SimAnswer T_SimAnswer::Slow(int ms) { return Default().After(ms); }

T_SimAnswer T_SimAnswer::After(int ms) const {
  T_SimAnswer answer = *this;
  answer.iDelayMs = ms;
  return answer;
}

T_SimAnswer T_SimAnswer::SettledBy(const T_SimAnswer& final) const {
  T_SimAnswer answer = *this;
  answer.pSettled = std::make_shared<T_SimAnswer>(final);
  return answer;
}
