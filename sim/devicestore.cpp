#include "devicestore.h"

#include <strings.h>

#include "deviceops.h"
#include "simjson.h"

namespace {

// The list of devices in any of the forms that a document may have.
Json::Value DeviceList(const Json::Value& document) {
  if (document.isArray()) return document;
  const Json::Value& list = simjson::Member(simjson::Member(document, "result"), "devices");
  if (list.isArray()) return list;
  const Json::Value& bare = simjson::Member(document, "devices");
  if (bare.isArray()) return bare;
  Json::Value single = Json::arrayValue;
  if (document.isObject()) single.append(document);
  return single;
}

bool IsObjectList(const Json::Value& list) {
  if (!list.isArray()) return false;
  for (const Json::Value& element : list) {
    if (!element.isObject() || !element["type"].isString()) return false;
  }
  return true;
}

bool IsUsable(const Json::Value& device) {
  return !deviceops::DeviceId(device).empty() && IsObjectList(device["streams"]) &&
         IsObjectList(device["subscriptions"]) && IsObjectList(device["nodes"]);
}

bool HasRole(const Json::Value& device, const char* member) {
  const Json::Value& role = simjson::Member(simjson::Member(device, "identity"), member);
  return role.isBool() && role.asBool();
}

}  // namespace

bool CDeviceStore::Load(const Json::Value& document, std::string& reason) {
  const Json::Value list = DeviceList(document);
  if (list.empty()) reason = "the document holds no device";
  for (const Json::Value& device : list) {
    if (IsUsable(device)) continue;
    reason = "a device needs a device_id and lists of streams, subscriptions and nodes";
    return false;
  }
  for (const Json::Value& device : list) {
    const std::string id = deviceops::DeviceId(device);
    T_Device* known = m_devices.empty() ? nullptr : Find(id);
    T_Device& place = known != nullptr ? *known : m_devices.emplace_back();
    place.id = id;
    place.document = place.defaults = device;
  }
  return !list.empty();
}

std::string CDeviceStore::FirstId() const { return m_devices.empty() ? "" : m_devices.front().id; }

T_Device* CDeviceStore::Find(const std::string& id) {
  for (T_Device& device : m_devices) {
    if (id.empty() || strcasecmp(device.id.c_str(), id.c_str()) == 0) return &device;
  }
  return nullptr;
}

std::vector<T_Device*> CDeviceStore::Resolve(const std::string& target) {
  const auto is = [&target](const char* group) { return strcasecmp(target.c_str(), group) == 0; };
  std::vector<T_Device*> found;
  for (T_Device& device : m_devices) {
    if (is("ALL") || is(device.id.c_str()) || (is("ALL_TX") && HasRole(device.document, "is_transmitter")) ||
        (is("ALL_RX") && HasRole(device.document, "is_receiver"))) {
      found.push_back(&device);
    }
  }
  return found;
}
