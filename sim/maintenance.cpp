// Updates, reboots and losses of a device: the part of the API server that takes its time.
#include <utility>

#include "apiserver.h"
#include "opargs.h"
#include "propertykey.h"
#include "simjson.h"

namespace {

constexpr int kProgressSteps = 4;

Json::Value Ids(const std::vector<T_Device*>& devices, const std::string& key) {
  Json::Value result;
  result[key] = result["error"] = Json::arrayValue;
  for (const T_Device* device : devices) {
    Json::Value entry;
    entry["device_id"] = device->id;
    result[key].append(entry);
  }
  return result;
}

Json::Value Progress(const T_Device& device, int percent) {
  Json::Value entry;
  entry["device_id"] = device.id;
  entry["progress"] = percent;
  Json::Value result;
  result["firmware_update"].append(entry);
  return result;
}

// The image that the device starts: its name and version go into the identity.
void ShowImage(Json::Value& identity, const Json::Value& image) {
  for (const char* key : {"firmware_comment", "firmware_version", "firmware_rc"}) {
    if (image.isMember(key)) identity[key] = image[key];
  }
}

Json::Value* ImageOfType(Json::Value& identity, const char* type) {
  Json::Value& images = identity["firmware_details"];
  if (!images.isArray()) return nullptr;
  for (Json::Value& image : images) {
    if (image.isObject() && image["type"] == type) return &image;
  }
  return nullptr;
}

}  // namespace

// Runs the action unless the device has been started anew meanwhile.
void CApiServer::LaterLocked(T_Device& device, int ms, const std::function<void(T_Device&)>& action) {
  T_Device* kept = &device;  // devices are never erased
  m_scheduler.After(ms, [this, kept, life = device.life, action] {
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (kept->life == life) action(*kept);
  });
}

CApiServer::T_Outcome CApiServer::UpdateLocked(const T_Targets& targets, const Json::Value& body) {
  T_Outcome refused;
  COpArgs args(body);
  const std::string fileName = args.Text("file_name");
  Json::Value package;
  for (const Json::Value& entry : m_firmware) {
    if (simjson::Member(entry, "file_name") == fileName) package = entry;
  }
  if (!args.Error() && package.isNull()) args.Refuse(IllegalArgument("Unknown file " + fileName));
  for (const T_Device* device : targets) {
    const bool busy = device->document["status"]["update_in_progress"] == true;
    if (busy) args.Refuse({"INVALID_STATE", "An update is in progress"});
  }
  if (!args.Error() && targets.size() != 1) args.Refuse(IllegalArgument("One device at a time"));
  if (args.Error()) {
    refused.error = args.Error();
    return refused;
  }
  T_Outcome outcome =
      ForEachLocked(targets, "update", e_reply_either, [this](T_Device&, Json::Value&) { return HungLocked(); });
  T_Device* device = targets.front();
  if (!outcome.error && device->connected) {
    outcome.begin = [this, device, package](int id) { BeginUpdateLocked(*device, package, id); };
  }
  return outcome;
}

void CApiServer::BeginUpdateLocked(T_Device& device, const Json::Value& package, int id) {
  const int total = m_options.updateMs;
  device.document["status"]["update_in_progress"] = true;
  EventLocked("FIRMWARE_UPDATE_START", device.id, Progress(device, 0));
  const int steps = m_eUpdate == e_update_fails ? kProgressSteps / 2 : kProgressSteps;
  for (int step = 1; step < steps; ++step) {
    LaterLocked(device, total * step / kProgressSteps, [this, step](T_Device& updating) {
      EventLocked("FIRMWARE_UPDATE_PROGRESS", updating.id, Progress(updating, 100 * step / kProgressSteps));
    });
  }
  if (m_eUpdate == e_update_never_settles) return;
  if (m_eUpdate == e_update_fails) {
    LaterLocked(device, total / 2, [this, id](T_Device& updating) {
      updating.document["status"]["update_in_progress"] = false;
      const T_SimError error{"INVALID_STATE", "The update failed"};
      SettleLocked(id, simjson::Envelope("ERROR", id, Json::Value(), error));
    });
    return;
  }
  LaterLocked(device, total, [this, id, package](T_Device& updating) {
    updating.document["status"]["update_in_progress"] = false;
    updating.installed = package;
    EventLocked("FIRMWARE_UPDATE_COMPLETE", updating.id, Progress(updating, 100));
    SettleLocked(id, simjson::Envelope("SUCCESS", id, Ids({&updating}, "update"), std::nullopt));
    m_condChanged.notify_all();
  });
}

CApiServer::T_Outcome CApiServer::RebootLocked(const T_Targets& targets, const Json::Value&) {
  T_Outcome outcome =
      ForEachLocked(targets, "reboot", e_reply_either, [this](T_Device&, Json::Value&) { return HungLocked(); });
  if (!outcome.result["reboot"].empty()) {
    outcome.begin = [this, targets](int id) { BeginBootLocked(targets, "reboot", false, id); };
  }
  return outcome;
}

CApiServer::T_Outcome CApiServer::FactoryLocked(const T_Targets& targets, const Json::Value&) {
  T_Outcome outcome =
      ForEachLocked(targets, "factory", e_reply_either, [this](T_Device&, Json::Value&) { return HungLocked(); });
  if (!outcome.result["factory"].empty()) {
    outcome.begin = [this, targets](int id) { BeginBootLocked(targets, "factory", true, id); };
  }
  return outcome;
}

// The devices leave at once and come back after a while; then the request settles.
void CApiServer::BeginBootLocked(const T_Targets& targets, const std::string& key, bool factory, int id) {
  for (T_Device* device : targets) {
    if (!device->connected) continue;
    ++device->life;
    LeaveLocked(*device);
    LaterLocked(*device, m_options.rebootMs, [this, factory](T_Device& booting) { BootLocked(booting, factory); });
  }
  const Json::Value result = Ids(targets, key);
  m_requests.Pend(id, simjson::Envelope("SUCCESS", id, result, std::nullopt), -1);
  SettleLaterLocked(id, m_options.rebootMs);
}

// An update that the boot cut short leaves no whole image: the device falls back to its golden one.
void CApiServer::BootLocked(T_Device& device, bool factory) {
  Json::Value& document = device.document;
  const bool broken = document["status"]["update_in_progress"] == true;
  if (factory) {
    const Json::Value identity = document["identity"];
    document = device.defaults;
    document["identity"] = identity;
    deviceops::StopAll(document);
  }
  Json::Value& identity = document["identity"];
  document["status"]["update_in_progress"] = false;
  if (device.installed.isObject()) {
    if (Json::Value* primary = ImageOfType(identity, "PRIMARY")) ShowImage(*primary, device.installed);
    ShowImage(identity, device.installed);
    document["status"]["boot_status"] = "PRIMARY";
    device.installed = Json::Value();
  } else if (broken) {
    if (const Json::Value* golden = ImageOfType(identity, "GOLDEN")) ShowImage(identity, *golden);
    document["status"]["boot_status"] = "GOLDEN";
  }
  device.up = T_SimClock::now();
  ReturnLocked(device);
}

void CApiServer::LeaveLocked(T_Device& device) {
  if (!device.connected) return;
  device.connected = false;
  Json::Value entry;
  entry["device_id"] = device.id;
  entry["reason"] = "DEVICE_DISCONNECTED";
  entry["message"] = "Device is not connected";
  Json::Value result;
  result["devices"] = Json::arrayValue;
  result["error"].append(entry);
  EventLocked("DEVICE_DISCONNECTED", device.id, result);
  m_condChanged.notify_all();
}

void CApiServer::ReturnLocked(T_Device& device) {
  if (device.connected) return;
  device.connected = true;
  const int connection = ++device.connections;
  Json::Value entry;
  entry["device_id"] = device.id;
  if (device.document.isMember("device_name")) entry["device_name"] = device.document["device_name"];
  entry["status"]["active"] = true;
  Json::Value result;
  result["devices"].append(entry);
  result["error"] = Json::arrayValue;
  EventLocked("DEVICE_CONNECTED", device.id, result);
  LaterLocked(device, m_options.infoAvailableMs, [this, result, connection](T_Device& back) {
    if (back.connected && back.connections == connection) EventLocked("DEVICE_INFO_AVAILABLE", back.id, result);
  });
  LaterLocked(device, m_options.connectSettingsMs, [this, connection](T_Device& back) {
    if (back.connected && back.connections == connection) SettingsEventLocked(back);
  });
  m_condChanged.notify_all();
}

void CApiServer::Disconnect(const std::string& deviceId) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  if (T_Device* device = m_devices.Find(deviceId)) LeaveLocked(*device);
}

void CApiServer::Connect(const std::string& deviceId) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  if (T_Device* device = m_devices.Find(deviceId)) ReturnLocked(*device);
}
