// What the API server announces, and what happens to it from outside of any request.
#include <chrono>
#include <ctime>

#include "apiserver.h"
#include "propertykey.h"
#include "samples.h"
#include "simjson.h"

// --- events ---

void CApiServer::AnnounceLocked(const std::string& type, const Json::Value& deviceId, int requestId) {
  Json::Value event;
  event["device_id"] = deviceId;
  event["event_id"] = ++m_lastEvent;
  event["event_type"] = type;
  event["timestamp"] = static_cast<Json::Int64>(std::time(nullptr));
  event["request_id"] = requestId;
  Json::Value result;
  result["events"].append(event);
  const std::string line = simjson::Envelope("NOTIFICATION", std::nullopt, result, std::nullopt);
  m_scheduler.After(0, [this, line] { m_notify(line); });
}

int CApiServer::EventLocked(const std::string& type, const Json::Value& deviceId, const Json::Value& result) {
  const int id = m_requests.Open();
  m_requests.Settle(id, simjson::Success(id, result));
  AnnounceLocked(type, deviceId, id);
  return id;
}

void CApiServer::CompleteLocked(int id) {
  if (m_options.autoEvents) AnnounceLocked("REQUEST_COMPLETE", Json::Value(), id);
}

int CApiServer::SettingsEventLocked(T_Device& device) {
  Json::Value result;
  result["devices"].append(device.document);
  result["error"] = Json::arrayValue;
  return EventLocked("SETTINGS_CHANGED", device.id, result);
}

void CApiServer::ChangedLocked(T_Device& device) {
  m_condChanged.notify_all();
  if (!m_options.autoEvents || device.settingsPending) return;
  device.settingsPending = true;
  const std::string id = device.id;
  m_scheduler.After(m_options.settingsChangedMs, [this, id] {
    const std::lock_guard<std::mutex> guard(m_mutex);
    T_Device* changed = m_devices.Find(id);
    changed->settingsPending = false;
    if (changed->connected) SettingsEventLocked(*changed);
  });
}

int CApiServer::PushEvent(const std::string& type, const std::string& deviceId, const Json::Value& result) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  return EventLocked(type, deviceId.empty() ? Json::Value() : Json::Value(deviceId), result);
}

int CApiServer::PushEventWithAnswer(const std::string& type, const std::string& deviceId, const T_SimAnswer& answer) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  const int id = m_requests.Open();
  if (answer.eKind == e_answer_processing) {
    m_requests.Pend(id, simjson::Success(id, Json::Value()), answer.iPolls);
    if (answer.iSettleMs >= 0) SettleLaterLocked(id, answer.iSettleMs);
  } else {
    m_requests.Settle(id, simjson::WithRequestId(answer.strBody, id));
  }
  AnnounceLocked(type, deviceId.empty() ? Json::Value() : Json::Value(deviceId), id);
  return id;
}

int CApiServer::PushSettingsChanged(const std::string& deviceId) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  T_Device* device = m_devices.Find(deviceId);
  return device != nullptr ? SettingsEventLocked(*device) : 0;
}

// --- from outside ---

std::string CApiServer::FirstId() const {
  const std::lock_guard<std::mutex> guard(m_mutex);
  return m_devices.FirstId();
}

std::string CApiServer::KnownId(const std::string& deviceId) const {
  const std::lock_guard<std::mutex> guard(m_mutex);
  const T_Device* device = const_cast<CDeviceStore&>(m_devices).Find(deviceId);
  return device != nullptr ? device->id : deviceId;
}

Json::Value CApiServer::Device(const std::string& deviceId) const {
  const std::lock_guard<std::mutex> guard(m_mutex);
  const T_Device* device = const_cast<CDeviceStore&>(m_devices).Find(deviceId);
  return device != nullptr ? device->document : Json::Value();
}

std::optional<Json::Value> CApiServer::Get(const std::string& key, const std::string& deviceId) const {
  const Json::Value document = Device(deviceId);
  const Json::Value* member = propertykey::Find(document, key);
  if (member == nullptr) return std::nullopt;
  return *member;
}

bool CApiServer::WaitForValue(const std::string& key, const Json::Value& value, const std::string& deviceId,
                              int timeoutMs) const {
  std::unique_lock<std::mutex> lock(m_mutex);
  return m_condChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
    const T_Device* device = const_cast<CDeviceStore&>(m_devices).Find(deviceId);
    if (device == nullptr) return false;
    const Json::Value* member = propertykey::Find(static_cast<const Json::Value&>(device->document), key);
    return member != nullptr && *member == value;
  });
}

bool CApiServer::Load(const Json::Value& document, std::string& reason) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  const bool loaded = m_devices.Load(document, reason);
  m_condChanged.notify_all();
  return loaded;
}

void CApiServer::Rename(const std::string& mac) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  T_Device* device = m_devices.Find("");
  samples::SetMac(device->document, mac);
  samples::SetMac(device->defaults, mac);
  device->id = mac;
}

bool CApiServer::Change(const std::string& deviceId, const std::function<bool(T_Device&)>& change) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  T_Device* device = m_devices.Find(deviceId);
  if (device == nullptr || !change(*device)) return false;
  ChangedLocked(*device);
  return true;
}

void CApiServer::SetHung(bool hung) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  m_bHung = hung;
}

void CApiServer::SetUpdateOutcome(E_UpdateOutcome outcome) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  m_eUpdate = outcome;
}

void CApiServer::SetFirmware(const Json::Value& packages) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  m_firmware = packages;
}

void CApiServer::SetWay(const T_SimAnswer& way) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  m_way = way;
}

std::vector<T_SentData> CApiServer::SentData() const {
  const std::lock_guard<std::mutex> guard(m_mutex);
  return {m_sent.begin(), m_sent.end()};
}

bool CApiServer::WaitForSentData(size_t count, int timeoutMs) const {
  std::unique_lock<std::mutex> lock(m_mutex);
  return m_condChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] { return m_sentCount >= count; });
}
