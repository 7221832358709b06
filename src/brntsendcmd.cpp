#include "brntsendcmd.h"

#include "brntavpupgrade.h"
#include "brntcmd.h"
#include "brntjson.h"
#include "brntsendrequest.h"

namespace brntsend {

Json::Value Operation(const char* op) {
  Json::Value body(Json::objectValue);
  body["op"] = op;
  return body;
}

std::string DevicePath(const std::string& id) { return "/api/device/" + id; }

Bool16 Queue(const std::string& id, const std::string& path, E_Http_Method method, const std::string& body,
             AVP_MSG_E kind) {
  std::string answer;  // stays empty: the answer goes to the command handler of the kind
  return CBrntCmd::DoCmd2(id, path, method, body, answer, kind);
}

Bool16 Post(const std::string& id, const Json::Value& body, AVP_MSG_E kind) {
  return Queue(id, DevicePath(id), e_method_post, brntjson::Write(body), kind);
}

Bool16 SetProperty(const std::string& id, const T_Property& property, const Json::Value& value) {
  Json::Value body = Operation("set:property");
  body["key"] = property.key;
  body["value"] = value;
  return Post(id, body, property.kind);
}

}  // namespace brntsend

namespace {

// {"op": "get", "subset": subset}
Json::Value GetSubset(const char* subset) {
  Json::Value body = brntsend::Operation("get");
  body["subset"] = subset;
  return body;
}

}  // namespace

Bool16 SendCmd2AVP::SendGetVerCmd(const std::string& id) {
  return brntsend::Queue(id, brntsend::DevicePath(id), e_method_get, "", AVP_MSG_GET_VERSION);
}

Bool16 SendCmd2AVP::SendGetDeviceCmd(const std::string& id) {
  return brntsend::Post(id, GetSubset("device"), AVP_MSG_GET_DEVICE);
}

Bool16 SendCmd2AVP::SendGetAvpIdentityCmd(const std::string& id) {
  return brntsend::Post(id, GetSubset("identity"), AVP_MSG_GET_IDENTITY);
}

Bool16 SendCmd2AVP::SendGetEdidCmd(const std::string& id) {
  return brntsend::Post(id, GetSubset("edid"), AVP_MSG_GETEDID);
}

Bool16 SendCmd2AVP::GetNetstat(const std::string& id) {
  Json::Value body = brntsend::Operation("netstat");
  body["option"] = "read";
  return brntsend::Post(id, body, AVP_MSG_GET_NETSTAT);
}

Bool16 SendCmd2AVP::SendGetFirmwareFileCmd(const std::string& id) {
  return brntsend::Queue(id, "/api/firmware", e_method_get, "", AVP_MSG_GET_FW);
}

Bool16 SendCmd2AVP::SendUpdateCmd(const std::string& id, const std::string& fileName) {
  Json::Value body = brntsend::Operation("update");
  body["file_name"] = fileName;
  std::string answer;
  return CBrntCmd::DoSynchronizeCmd2(id, brntsend::DevicePath(id), e_method_post, brntjson::Write(body), answer,
                                     AVP_MSG_SEND_UPDATE);
}

bool SendCmd2AVP::DoAvpUpgrade(std::string id, int force) { return CAvpUpgrade(id, force).Run(); }
