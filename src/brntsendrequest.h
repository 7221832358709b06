// What every request builder shares: forming the path, serialising the body, queueing. For the brntsend*.cpp only.
//
// Any thread. Results as those of SendCmd2AVP: 1 queued, 0 refused.
#pragma once

#include <json/value.h>

#include <string>

#include "OSTypes.h"
#include "brnttypes.h"

// A property of the device document that requests set, and the kind such a request is queued under.
struct T_Property {
  const char* key;
  AVP_MSG_E kind;
};

namespace brntsend {

// {"op": op}, to be filled.
Json::Value Operation(const char* op);

// "/api/device/" and the id.
std::string DevicePath(const std::string& id);

// POST of body to the device id.
Bool16 Post(const std::string& id, const Json::Value& body, AVP_MSG_E kind);

// POST of {"op": "set:property", "key", "value"} to the device id.
Bool16 SetProperty(const std::string& id, const T_Property& property, const Json::Value& value);

// Any other request; an empty body for none.
Bool16 Queue(const std::string& id, const std::string& path, E_Http_Method method, const std::string& body,
             AVP_MSG_E kind);

}  // namespace brntsend
