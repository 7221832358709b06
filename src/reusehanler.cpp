// Associations: where a receiver takes its video, audio, infrared, serial and USB/HID traffic from.
#include "reusehanler.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "brntdevice.h"
#include "brntjson.h"
#include "brntlog.h"
#include "brntparsersp.h"
#include "brntsendcmd.h"
#include "brntstreamnames.h"
#include "stringprocess.h"

namespace {

constexpr char kLocalInterface[] = "eth0";

// What a video association asks for.
struct T_VideoSource {
  std::string strDevice;
  SInt32 s32Stream = 0;
  bool bAudio = false;
};

std::string LocalMac() {
  char text[kMacTextRoom];
  return GetMyMACID(text, sizeof text);
}

std::string LastVideoSource(CBrntDevice* device) {
  OSMutexLocker locker(device->m_objMutex);
  return device->m_avpdeviceid;
}

bool SubscribeVideo(const std::string& id, const T_VideoSource& source, const Json::Value& subscription) {
  const char* device = source.strDevice.c_str();
  const int kind = source.s32Stream == kScaledStream ? kAddressOfVideo1 : kAddressOfVideo0;
  std::string video;
  if (!CBrntDevice::GetMultyAddressFromStr(source.strDevice, video, kind)) {
    HLOG_ERROR("Video Association Fail ,Can't Get hdmi Remote Ip");
    return false;
  }
  std::string audio;
  if (!CBrntDevice::GetMultyAddressFromStr(source.strDevice, audio, kAddressOfAudio)) {
    HLOG_ERROR("Video Association Fail ,Can't Get hdmi audio Remote Ip");
    return false;
  }
  ParseJsonRsp::ParseJsonInfo(id, subscription);
  SendCmd2AVP::ClearSubscribeRetryCmd();
  SendCmd2AVP::SendSubscribeCmd(id, kVideoStream, 0, video);
  if (source.bAudio) {
    SendCmd2AVP::SendSubscribeCmd(id, kAudioSubscription, 0, audio);
    SendCmd2AVP::SendHdmiOutAudSrcCmd(id, kAudioSourceHdmi);
  } else {
    SendCmd2AVP::SendLeaveCmd(id, kAudioSubscription, 0);
  }
  HLOG_INFO("Hdmi Subscribe [%s] -%d- [%s] ; Audio Subscribe enable:%d  [%s] -- [%s]", device, source.s32Stream,
            video.c_str(), source.bAudio, audio.c_str(), device);
  return true;
}

// The unicast address of a remote device, empty when discovery does not know it.
std::string AddressOf(const std::string& device) {
  std::string address;
  CBrntDevice::GetIPfromMac(device, address);
  return address;
}

bool ReadHardwareAddress(unsigned char (&mac)[6]) {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  ifreq request{};
  std::memcpy(request.ifr_name, kLocalInterface, sizeof kLocalInterface);
  const bool known = ioctl(fd, SIOCGIFHWADDR, &request) == 0;
  close(fd);
  if (known) std::memcpy(mac, request.ifr_hwaddr.sa_data, sizeof mac);
  return known;
}

}  // namespace

bool ReuseHanler::SetAssociationsVideo(const std::string& id, const Json::Value& subscription) {
  CBrntDevice* local = CBrntDevice::GetBrntDevByID(id);
  if (local == nullptr) return false;
  if (local->m_bTx != 0) {
    HLOG_ERROR("TX can't do this cmd [subscribe]");
    return false;
  }
  const std::string mac = LocalMac();
  T_VideoSource source;
  if (!brntjson::GetString(subscription, "avpDeviceId", source.strDevice)) return false;
  if (!brntjson::GetInt(subscription, "streamIndex", source.s32Stream)) source.s32Stream = 0;
  const std::string last = LastVideoSource(local);
  if (!brntjson::GetBool(subscription, "enableAudio", source.bAudio)) source.bAudio = false;
  HLOG_INFO("audio subscription enable:%d", source.bAudio);
  HLOG_INFO("new avpDeviceId:%s, streamIdx:%d, last avpDeviceId:%s, local mac:%s", source.strDevice.c_str(),
            source.s32Stream, last.c_str(), mac.c_str());
  if (StrProcess::EqualsNoCase(source.strDevice, mac)) {
    HLOG_WARN("avpDeviceId equal local mac, pair to itself will do nothing");
    return true;
  }
  if (!source.strDevice.empty()) {
    // Deliberate: every change of source leaves all video first, also a change to none, which leaves once more below;
    // the same source again is subscribed to without leaving.
    if (source.strDevice != last) SendCmd2AVP::SendLeaveCmd(id, kVideoStream, kAllSubscriptions);
    if (!IsNoSourceName(source.strDevice)) return SubscribeVideo(id, source, subscription);
  }
  SendCmd2AVP::ClearSubscribeRetryCmd();
  SendCmd2AVP::SendLeaveCmd(id, kVideoStream, 0);
  HLOG_INFO("Hdmi leave avpdeviceid=[%s] i_deviceid=[%s]", source.strDevice.c_str(), id.c_str());
  return true;
}

bool ReuseHanler::SetRXVideoInput(const std::string& id, const Json::Value& subscription) {
  return SetAssociationsVideo(id, subscription);
}

bool ReuseHanler::SetAssociationsIR(const std::string& id, const Json::Value& subscription) {
  std::string device;
  if (!brntjson::GetString(subscription, "deviceID", device)) return false;
  if (device.empty()) return true;
  const std::string address = AddressOf(device);
  HLOG_INFO("Ir Association [%s] -- [%s]", device.c_str(), address.c_str());
  if (!address.empty()) SendCmd2AVP::SendSwitchCmdWithIP(id, kInfraredStream, 0, address);
  return true;
}

bool ReuseHanler::SetAssociationsSerial(const std::string& id, const Json::Value& subscription) {
  std::string device;
  if (!brntjson::GetString(subscription, "deviceID", device)) return false;
  if (device.empty()) return true;
  const std::string address = AddressOf(device);
  HLOG_INFO("Serial Association [%s] -- [%s]", device.c_str(), address.c_str());
  if (address.empty()) return true;
  // Deliberate: the record is kept under the remote's address, not under its id.
  ParseJsonRsp::StoreSerialInfo2device(address, subscription);
  SendCmd2AVP::SendSwitchCmdWithIP(id, kSerialStream, 0, address);
  return true;
}

bool ReuseHanler::SetAssociationsUSB_HID(const std::string& id, const Json::Value& subscription) {
  std::string device;
  if (!brntjson::GetString(subscription, "deviceID", device)) return false;
  if (device.empty() || IsNoSourceName(device)) {
    SendCmd2AVP::SendStopCmd(id, kUsbHidStream, 0, true);
    HLOG_INFO("USB_HID stop deviceID=[%s] i_deviceid=[%s]", device.c_str(), id.c_str());
    return true;
  }
  const std::string address = AddressOf(device);
  HLOG_INFO("Usb Association [%s] -- [%s]", device.c_str(), address.c_str());
  if (!address.empty()) SendCmd2AVP::SendSwitchCmdWithIP(id, kUsbHidStream, 0, address);
  return true;
}

char* GetMyMACID(char* buf, unsigned len) {
  if (buf == nullptr || len < 2) return buf;
  buf[0] = '\0';
  unsigned char mac[6];
  // Deliberate: room for exactly the text and its zero counts as too little.
  if (len < kMacTextRoom || !ReadHardwareAddress(mac)) return buf;
  std::snprintf(buf, len, "%02x%02x%02x%02x%02x%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  return buf;
}
