// Properties, audio of the HDMI output, reset, and the periodic checks.
#include "brntdevice.h"
#include "brntjson.h"
#include "brntlog.h"
#include "brntplatform.h"
#include "brntsendcmd.h"
#include "reusehanler.h"

int ReuseHanler::count = 0;

namespace {

constexpr SInt64 kAudioFormatPauseMs = 50;  // between the audio source and its format
constexpr SInt32 kNoNumber = -1;
constexpr int kChecksPerSummary = 10;

SInt32 IntOrNone(const Json::Value& body, const char* key) {
  SInt32 value = kNoNumber;
  return brntjson::GetInt(body, key, value) ? value : kNoNumber;
}

std::string TextOrEmpty(const Json::Value& body, const char* key) {
  std::string text;
  return brntjson::GetString(body, key, text) ? text : std::string();
}

void LogWallSummary(const T_VideoWallDetails& details) {
  HLOG_INFO("source[w:%u,h:%u,fps:%u,cs:%s,bpp:%u,mode:%s], disp[mode:%s,fps:%d]", details.u32Width, details.u32Height,
            details.u32Fps, details.strColorSpace.c_str(), details.u32BitPerPixel, details.strScanMode.c_str(),
            details.strDisplayMode.c_str(), details.s32DisplayFps);
}

}  // namespace

bool ReuseHanler::SendPropertyCmd(const std::string& id, const Json::Value& body) {
  const CBrntDevice* local = CBrntDevice::GetBrntDevByID(id);
  // Deliberate: only a transceiver may, whatever the line says.
  if (local == nullptr || local->m_bTRx == 0) {
    HLOG_ERROR("TR or RX device Can't Set property");
    return false;
  }
  const std::string mode = TextOrEmpty(body, "deviceMode");
  if (mode.empty()) {
    HLOG_ERROR("Can't found [%s]", "deviceMode");
    return false;
  }
  SendCmd2AVP::SendPropertyDeviceModeCmd(id, mode);
  return true;
}

bool ReuseHanler::SendHdmiOutAudSrc2Avp(const std::string& id, const Json::Value& body) {
  const std::string source = TextOrEmpty(body, "hdmi_out_audio_src");
  const SInt32 frequency = IntOrNone(body, "hdmi_out_audio_sampling_frequency");
  const SInt32 channels = IntOrNone(body, "hdmi_out_audio_number_of_channels");
  const SInt32 allocation = IntOrNone(body, "hdmi_out_audio_channel_allocation");
  const std::string encoding = TextOrEmpty(body, "hdmi_out_audio_audio_encoding_type");
  if (!source.empty()) SendCmd2AVP::SendHdmiOutAudSrcCmd(id, source);
  if (frequency == kNoNumber || channels == kNoNumber || allocation == kNoNumber || encoding.empty()) return true;
  CBrntPlatform::SleepMs(kAudioFormatPauseMs);
  SendCmd2AVP::SendHdmiOutAudSrcCmd(id, frequency, channels, allocation, encoding);
  return true;
}

bool ReuseHanler::DoAvpReset(const std::string& id) { return SendCmd2AVP::SendFactoryCmd(id) != 0; }

bool ReuseHanler::SendEdidCmd(const std::string& id, const Json::Value&) {
  SendCmd2AVP::SendGetEdidCmd(id);
  return true;
}

bool ReuseHanler::SendNetstatCmd(const std::string& id, const Json::Value&) { return SendCmd2AVP::GetNetstat(id) != 0; }

bool ReuseHanler::CheckVideoWallStatus(const std::string& id, const Json::Value&) {
  CBrntDevice* local = CBrntDevice::GetBrntDevByID(id);
  if (local == nullptr || local->m_bTx != 0) return true;
  const T_VideoWallDetails details = local->GetVideoWallDetails();
  if (++count >= kChecksPerSummary) {
    LogWallSummary(details);
    count = 0;
  }
  return SendCmd2AVP::CheckVideoWallStatus(id, details.s32Index, details);
}
