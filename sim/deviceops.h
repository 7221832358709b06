// What the API server's operations do to one device document: one row for each "op", checked before anything changes.
//
// Plain functions on plain values; the caller keeps documents to one thread at a time.
#pragma once

#include <json/value.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simtypes.h"

// When the answer to an operation is known.
enum E_ReplyWay {
  e_reply_at_once = 0,  // SUCCESS without a request id
  e_reply_either = 1,   // SUCCESS with a request id, or PROCESSING first
};

struct T_OpContext {
  std::string serverAddress;     // where switch:api sends a stream
  std::vector<T_SentData> sent;  // what the operation sent
};

struct T_DeviceOp {
  std::string_view op;
  std::string_view resultKey;  // the member of "result" that lists the devices
  E_ReplyWay eWay;
  bool bChangesSettings;
  // Carries the operation out on the device. A refusal leaves it unchanged.
  std::optional<T_SimError> (*run)(Json::Value& device, const Json::Value& body, T_OpContext& context);
};

namespace deviceops {
const T_DeviceOp* Find(std::string_view op);

// The name under which a device is known, "" when the document has none.
std::string DeviceId(const Json::Value& device);
// The device's node; null when it has none.
Json::Value* Node(Json::Value& device, std::string_view type, int index = 0);
// Output timing and format follow the frame buffer or, under genlock, the received signal.
void UpdateOutput(Json::Value& device);
// set:multiview's part of the document.
std::optional<T_SimError> ShowMultiview(Json::Value& device, const Json::Value& body);
// Everything stopped, as after a factory reset.
void StopAll(Json::Value& device);
}  // namespace deviceops
