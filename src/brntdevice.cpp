#include "brntdevice.h"

#include <cstdlib>
#include <utility>

#include "brntjson.h"
#include "brntlog.h"
#include "brntmanageavpip.h"
#include "stringprocess.h"

namespace {

constexpr int kMultyTailLength = 5;  // the characters of an id that make its multicast addresses

// The number that text begins with in hexadecimal, 0 without one, cut to an octet.
int HexOctet(const std::string& text) { return static_cast<int>(std::strtoul(text.c_str(), nullptr, 16) & 255U); }

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

// Copies the record of this type and index; false when there is none.
template <class Types, class Tables>
bool CopyRecord(const Types& types, const Tables& tables, const std::string& type, SInt32 index, CStreamInfo* pInfo) {
  for (size_t i = 0; i < types.size(); ++i) {
    if (types[i] != type) continue;
    const auto found = tables[i].find(index);
    if (found == tables[i].end()) return false;
    *pInfo = found->second;
    return true;
  }
  return false;
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

bool CBrntDevice::GetIPfromMac(std::string mac, std::string& ip) {
  std::string id;
  StrProcess::Uppercase2Lowercase(mac, id);
  return AvpIpManage::SearchAvpIpFromMap(id, ip);
}

bool CBrntDevice::GetMultyAddressFromStr(std::string id, std::string& address, int kind) {
  if (id.empty()) {
    HLOG_ERROR("Multy Str is NULL");
    return false;
  }
  std::string tail;
  if (!StrProcess::Cut2GetTailStr(id, kMultyTailLength, tail)) {
    HLOG_ERROR("can't get tail 5 str");
    return false;
  }
  if (tail.size() != kMultyTailLength) {
    HLOG_ERROR("can't get multy ip");
    return false;
  }
  const int stream = (HexOctet(tail.substr(0, 1)) & 7) | ((kind & 15) << 3);
  address = "235." + std::to_string(stream) + "." + std::to_string(HexOctet(tail.substr(1, 2))) + "." +
            std::to_string(HexOctet(tail.substr(3, 2)));
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

T_VideoWallDetails CBrntDevice::GetVideoWallDetails() {
  OSMutexLocker lock(m_objMutex);
  const CHDMITiming& source = m_ModesFrameBufferInfo.m_objSourceVideo;
  T_VideoWallDetails details;
  details.s32Index = m_ModesFrameBufferInfo.m_s32Index;
  details.u32Width = source.m_u32Width;
  details.u32Height = source.m_u32Height;
  details.u32Fps = source.m_u32Fps;
  details.strColorSpace = source.m_strColorSpace;
  details.u32BitPerPixel = source.m_u32BitPerPixel;
  details.strScanMode = source.m_strScanMode;
  details.bSourceStable = m_mapOutputInfo[0].m_bSourceStable;
  details.strDisplayMode = m_ModesFrameBufferInfo.m_strDisplayMode;
  details.s32DisplayFps = static_cast<SInt32>(m_ModesFrameBufferInfo.m_u32Fps);
  return details;
}

bool CBrntDevice::GetStream(const std::string& type, SInt32 index, CStreamInfo* pInfo) {
  OSMutexLocker lock(m_objMutex);
  return CopyRecord(kStreamTypes, m_aStreams, type, index, pInfo);
}

bool CBrntDevice::GetSubscription(const std::string& type, SInt32 index, CStreamInfo* pInfo) {
  OSMutexLocker lock(m_objMutex);
  return CopyRecord(kSubscriptionTypes, m_aSubscriptions, type, index, pInfo);
}

CNodesUartInfo CBrntDevice::GetUartInfo() {
  OSMutexLocker lock(m_objMutex);
  return m_mapUart[0];
}

void CBrntDevice::SetLineOrder(const std::string& lineOrder) {
  OSMutexLocker lock(m_objMutex);
  m_mapUart[0].m_strLineOrder = lineOrder;
}

void CBrntDevice::SetMVSources(std::map<std::string, std::string> sources) {
  OSMutexLocker lock(s_objMapMutex);
  s_mapTXID2RXIDInMV = std::move(sources);
}

std::map<std::string, std::string> CBrntDevice::GetMVSources() {
  OSMutexLocker lock(s_objMapMutex);
  return s_mapTXID2RXIDInMV;
}
