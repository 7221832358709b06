// What the parts of the bench hand to each other and to its users: recorded requests, scripted answers, matchers.
#pragma once

#include <json/value.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

using T_SimClock = std::chrono::steady_clock;

// One HTTP request as it arrived.
struct T_SimRequest {
  std::string method;  // "GET", "POST", "DELETE"
  std::string path;    // the request target as sent, "/api/device/0016c04e21e7"
  std::string body;
  Json::Value json;  // the parsed body; null when it is empty or no JSON
  T_SimClock::time_point time;

  // The body's "op", or "" when it has none.
  std::string Op() const;
  // Method, path and body on one line, without the body's own end of line.
  std::string Line() const;
  // A text or whole number member of the body as text; "" when absent.
  std::string Field(const std::string& key) const;
};

struct T_SimError {
  std::string reason;
  std::string message;
};

// Data that a device was told to send: serial data as bytes, infrared and CEC data as hex digits.
struct T_SentData {
  std::string kind;  // "rs232", "infrared", "cec"
  std::string deviceId;
  std::string data;
};

using T_RequestMatcher = std::function<bool(const T_SimRequest&)>;

// Matchers for Script and WaitForRequest.
namespace simmatch {
T_RequestMatcher Any();
T_RequestMatcher Op(std::string op);                            // POST with this "op"
T_RequestMatcher Subset(std::string subset);                    // {"op":"get","subset":...}
T_RequestMatcher Property(std::string key);                     // {"op":"set:property","key":...}
T_RequestMatcher Path(std::string path);                        // the whole path
T_RequestMatcher PathPrefix(std::string prefix);                // "/api/request/"
T_RequestMatcher Method(std::string method);                    // "DELETE"
T_RequestMatcher Field(std::string key, std::string value);     // body member as text, see T_SimRequest::Field
T_RequestMatcher Both(T_RequestMatcher a, T_RequestMatcher b);  // and
}  // namespace simmatch

// How a scripted answer leaves the server.
enum E_AnswerKind {
  e_answer_default = 0,       // what the device document says
  e_answer_body = 1,          // strBody with iHttpStatus
  e_answer_processing = 2,    // PROCESSING; settles as iPolls, iSettleMs and pSettled say
  e_answer_disconnected = 3,  // SUCCESS, and DEVICE_DISCONNECTED in "result"."error"
  e_answer_hangup = 4,        // the connection is closed without a byte
  e_answer_half = 5,          // the first half of the default answer, then the connection is closed
  e_answer_raw = 6,           // strBody instead of HTTP, then the connection is closed
};

struct T_SimAnswer {
  E_AnswerKind eKind = e_answer_default;
  std::string strBody;
  int iHttpStatus = 200;
  int iDelayMs = 0;    // before the answer leaves
  int iPolls = -1;     // settles after this many PROCESSING polls of its request id; -1: not by polls
  int iSettleMs = -1;  // settles after this time; -1: not by time. Neither given: never settles
  std::shared_ptr<T_SimAnswer> pSettled;  // what the settled request says; null: the default answer

  static T_SimAnswer Default();
  static T_SimAnswer Body(std::string body, int httpStatus = 200);
  static T_SimAnswer Success(const Json::Value& result = Json::Value());  // without a request id
  static T_SimAnswer Error(std::string reason, std::string message, int httpStatus = 200);
  static T_SimAnswer ProcessingPolls(int polls);
  static T_SimAnswer ProcessingMs(int ms);
  static T_SimAnswer NeverSettles();
  static T_SimAnswer Disconnected();
  static T_SimAnswer HangUp();
  static T_SimAnswer Half();
  static T_SimAnswer Garbage();                                       // HTTP 200 with a body that is no JSON
  static T_SimAnswer Raw(std::string bytes = "\x16\x03garbage\r\n");  // bytes that are no HTTP
  static T_SimAnswer Slow(int ms);                                    // the default answer, late

  T_SimAnswer After(int ms) const;                        // the same, later
  T_SimAnswer SettledBy(const T_SimAnswer& final) const;  // for a PROCESSING answer: e_answer_body or _disconnected
};

// Takes one line of the bench's log, without an end of line. Called from any thread of the bench, one call at a time.
using T_SimLogSink = std::function<void(const std::string& line)>;
