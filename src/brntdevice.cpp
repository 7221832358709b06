#include "brntdevice.h"

#include <utility>

#include "brntjson.h"
#include "brntlog.h"

namespace {

Json::Value VideoSubscription(const std::string& avpDeviceId, const std::string& h264DeviceId) {
  Json::Value subscription(Json::objectValue);
  subscription["avpDeviceId"] = avpDeviceId;
  subscription["h264DeviceId"] = h264DeviceId;
  return subscription;
}

Json::Value DataSubscription(const std::string& deviceId) {
  Json::Value subscription(Json::objectValue);
  subscription["deviceID"] = deviceId;
  return subscription;
}

std::string SubscriptionText(Json::Value subscription) {
  Json::Value document(Json::objectValue);
  document["streamSubscription"] = std::move(subscription);
  return brntjson::Write(document);
}

}  // namespace

CBrntDevice* CBrntDevice::GetBrntDevByID(const std::string& id) {
  if (id.empty()) return nullptr;
  OSMutexLocker lock(s_objMapMutex);
  CBrntDevice*& device = s_mapID2Dev[id];
  if (device == nullptr) device = new CBrntDevice(id);
  return device;
}

CBrntDevice* CBrntDevice::FindBrntDevByID(const std::string& id) {
  OSMutexLocker lock(s_objMapMutex);
  const auto found = s_mapID2Dev.find(id);
  return found == s_mapID2Dev.end() ? nullptr : found->second;
}

Bool16 CBrntDevice::ParseDevice(const Json::Value&, bool) { return 0; }

void CBrntDevice::ReportDevice() {}

bool CBrntDevice::GetIPfromMac(std::string, std::string&) { return false; }

bool CBrntDevice::GetMultyAddressFromStr(std::string id, std::string& address, int kind) {
  if (id.empty()) {
    HLOG_ERROR("Multy Str is NULL");
    return false;
  }
  if (id.size() < 5) {
    HLOG_ERROR("can't get tail 5 str");
    return false;
  }
  const std::string tail = id.substr(id.size() - 5);
  const auto octet = [](const std::string& text) {
    return static_cast<int>(std::strtoul(text.c_str(), nullptr, 16)) & 255;
  };
  address = "235." + std::to_string((octet(tail.substr(0, 1)) & 7) | ((kind & 15) << 3)) + "." +
            std::to_string(octet(tail.substr(1, 2))) + "." + std::to_string(octet(tail.substr(3, 2)));
  HLOG_INFO("get multy ip [%s]", address.c_str());
  return true;
}

bool CBrntDevice::GetVideoTimimgRes(std::string timing, int* height, int* width, int* fps) {
  for (const T_TimingMap& row : s_timingMap) {
    if (row.m_strTiming != timing) continue;
    *height = row.m_height;
    *width = row.m_width;
    *fps = row.m_fps;
    return true;
  }
  return false;
}

std::string CBrntDevice::GetStreamSubscription() {
  OSMutexLocker lock(m_objMutex);
  return SubscriptionText(VideoSubscription(m_avpdeviceid, m_h264deviceid));
}

std::string CBrntDevice::GetStreamSubscriptionIR() {
  OSMutexLocker lock(m_objMutex);
  return SubscriptionText(DataSubscription(m_RxIRDeviceid));
}

std::string CBrntDevice::GetStreamSubscriptionSerial() {
  OSMutexLocker lock(m_objMutex);
  return SubscriptionText(DataSubscription(m_RxSerialDeviceid));
}

std::string CBrntDevice::GetStreamSubscriptionHID() {
  OSMutexLocker lock(m_objMutex);
  return SubscriptionText(DataSubscription(m_RxHIDDeviceid));
}

std::string CBrntDevice::GetStreamSubscriptionALL() {
  OSMutexLocker lock(m_objMutex);
  Json::Value all(Json::objectValue);
  all["video"] = VideoSubscription(m_avpdeviceid, m_h264deviceid);
  all["serial"] = DataSubscription(m_RxSerialDeviceid);
  all["ir"] = DataSubscription(m_RxIRDeviceid);
  all["hid"] = DataSubscription(m_RxHIDDeviceid);
  return SubscriptionText(std::move(all));
}

std::string CBrntDevice::GetVideoInputInfo() {
  OSMutexLocker lock(m_objMutex);
  Json::Value document(Json::objectValue);
  document["hdmiIn"]["hdcpCapability"] = m_TxHdcpCapability;
  document["hdmiIn"]["hdmiInEDID"] = m_strEDID;
  document["streamSubscription"] = VideoSubscription(m_avpdeviceid, m_h264deviceid);
  return brntjson::Write(document);
}

void CBrntDevice::SetUpgradeFilenameAndCmdFlag(std::string name, bool supportsProduction) {
  OSMutexLocker lock(m_objMutex);
  m_upgradefilename = std::move(name);
  m_supportproduction = supportsProduction;
}

bool CBrntDevice::GetUpgradeFilenameAndCmdFlag(std::string& name, bool& supportsProduction) {
  OSMutexLocker lock(m_objMutex);
  if (m_upgradefilename.empty()) return false;
  name = m_upgradefilename;
  supportsProduction = m_supportproduction;
  return true;
}

std::string CBrntDevice::GetBootStatus() {
  OSMutexLocker lock(m_objMutex);
  return m_strBootStatus;
}

T_VideoWallDetails CBrntDevice::GetVideoWallDetails() { return {}; }

void CBrntDevice::SetMVSources(std::map<std::string, std::string> sources) {
  OSMutexLocker lock(s_objMapMutex);
  s_mapTXID2RXIDInMV = std::move(sources);
}

std::map<std::string, std::string> CBrntDevice::GetMVSources() {
  OSMutexLocker lock(s_objMapMutex);
  return s_mapTXID2RXIDInMV;
}
