// Streams and subscriptions: start, stop, subscribe, leave, switch of the destination.
#include "brntcmd.h"
#include "brntsendcmd.h"
#include "brntsendrequest.h"

namespace {

// {"op": op, "stream_type": type, "stream_index": index}
Json::Value StreamOperation(const char* op, const std::string& type, SInt32 index) {
  Json::Value body = brntsend::Operation(op);
  body["stream_type"] = type;
  body["stream_index"] = index;
  return body;
}

}  // namespace

Bool16 SendCmd2AVP::SendStopCmd(const std::string& id, const std::string& type, SInt32 index, bool free) {
  Json::Value body = StreamOperation("stop", type, index);
  body["free"] = free;
  return brntsend::Post(id, body, AVP_MSG_STOP_AV);
}

Bool16 SendCmd2AVP::SendStartCmd(const std::string& id, const std::string& type, SInt32 index,
                                 const std::string& destination) {
  Json::Value body = StreamOperation("start", type, index);
  body["dest_address"] = destination;
  return brntsend::Post(id, body, AVP_MSG_START_AV);
}

Bool16 SendCmd2AVP::SendSwitchCmdWithIP(const std::string& id, const std::string& type, SInt32 index,
                                        const std::string& destination) {
  Json::Value body = StreamOperation("switch:address", type, index);
  body["dest_address"] = destination;
  return brntsend::Post(id, body, AVP_MSG_SWITCHADDR);
}

Bool16 SendCmd2AVP::SendSetSreialEecvEventCmd(const std::string& id, const std::string& type, SInt32 index) {
  return brntsend::Post(id, StreamOperation("switch:api", type, index), AVP_MSG_SERIAL_SWITCH);
}

Bool16 SendCmd2AVP::SendSubscribeCmd(const std::string& id, const std::string& type, SInt32 index,
                                     const std::string& source) {
  Json::Value body = brntsend::Operation("subscribe");
  body["subscription_type"] = type;
  body["subscription_index"] = index;
  body["source_address"] = source;
  return brntsend::Post(id, body, AVP_MSG_SUBSCRIBE);
}

Bool16 SendCmd2AVP::SendLeaveCmd(const std::string& id, const std::string& type, SInt32 index) {
  Json::Value body = brntsend::Operation("leave");
  body["subscription_type"] = type;
  if (index >= 0) body["subscription_index"] = index;  // without it the server leaves all of the type
  return brntsend::Post(id, body, AVP_MSG_LEAVE);
}

void SendCmd2AVP::ClearSubscribeRetryCmd() { CBrntCmd::ClearRetrySubscribeCmd(); }
