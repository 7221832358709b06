// What the request builders queued: the requests as the API server would get them, in order.
//
// The facade is initialised once per process, towards a server that answers ERROR to everything. The queue is not
// worked off, because no text link to the API server exists in a unit test. One test thread.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "brnttypes.h"

struct T_Request {
  AVP_MSG_E kind;
  E_Http_Method method;
  std::string path;
  std::string body;
};
bool operator==(const T_Request& a, const T_Request& b);
std::ostream& operator<<(std::ostream& out, const T_Request& request);

class CRequestCapture {
 public:
  // The device that the requests of the tests are for.
  static constexpr char kDevice[] = "0016c04e41b2";

  // Takes away what earlier tests have left.
  CRequestCapture();

  // What was queued since the last call, which empties the queue.
  std::vector<T_Request> Take();

  // Makes one subscription fail, so that it waits to be sent again. False when that does not come about.
  [[nodiscard]] bool LeaveAFailedSubscription();
  static bool FailedSubscriptionWaits();

  // A POST to kDevice, with the newline that every body ends in.
  static T_Request Post(AVP_MSG_E kind, const std::string& json);
  // Any other request.
  static T_Request Any(AVP_MSG_E kind, E_Http_Method method, const std::string& path, const std::string& body = "");
  // A property set on kDevice; value is JSON.
  static T_Request Property(AVP_MSG_E kind, const std::string& key, const std::string& value);
};
