// The bench's API server without its links: requests go in as text, answers and notifications come out parsed.
//
// Threads: notifications arrive on the server's scheduler thread; everything else is the test's.
#pragma once

#include <json/value.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "apiserver.h"
#include "samples.h"

class CApiBench {
 public:
  // A device of this role, with every delay at nothing.
  explicit CApiBench(const std::string& role = "RX") : CApiBench(Options(role)) {}
  explicit CApiBench(const T_AvpSimOptions& options);

  static T_AvpSimOptions Options(const std::string& role);

  CApiServer& Api() { return m_api; }

  // One request and its answer, parsed. way as CApiServer::Answer takes it.
  Json::Value Ask(const std::string& method, const std::string& path, const std::string& body = "",
                  const T_SimAnswer& way = T_SimAnswer::Default());
  Json::Value Get(const std::string& path) { return Ask("GET", path); }
  // To the first device.
  Json::Value Post(const std::string& body, const T_SimAnswer& way = T_SimAnswer::Default());
  Json::Value PostTo(const std::string& target, const std::string& body);
  // The same, answered SUCCESS with the first device in the list and nothing in "error"; why not, otherwise.
  std::string Done(const std::string& body, const std::string& resultKey = "devices");
  // The reason of a refused request; "" when it was not refused.
  std::string Refused(const std::string& body);
  int HttpStatus() const { return m_httpStatus; }  // of the last answer

  // The member of the first device's document as text; "absent" when there is none.
  std::string Value(const std::string& key) const;

  // The first event of the type that was announced and not yet taken, waiting for it; null when none comes.
  Json::Value TakeEvent(const std::string& type);
  // What asking for the event's request gives.
  Json::Value AnswerOf(const Json::Value& event);
  std::vector<std::string> EventTypes() const;  // all so far, in order

 private:
  void Notify(const std::string& line);

  mutable std::mutex m_mutex;  // guards the three below
  std::condition_variable m_cond;
  std::vector<Json::Value> m_events;
  std::vector<std::string> m_types;
  int m_httpStatus = 0;  // test's thread only
  CApiServer m_api;      // last: its thread uses the others
};
