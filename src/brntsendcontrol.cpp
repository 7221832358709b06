// Device control: serial port, infrared, CEC, EDID, HDCP, audio, properties, reset.
#include <algorithm>
#include <iterator>

#include "brntlog.h"
#include "brntsendcmd.h"
#include "brntsendrequest.h"
#include "stringprocess.h"

namespace {

constexpr T_Property kHdcpSupport = {"nodes[HDMI_DECODER:0].configuration.hdcp_support_enable", AVP_MSG_HDCPSUPPORT};
constexpr T_Property kHdcp22Disable = {"nodes[HDMI_DECODER:0].configuration.hdcp_22_support_disable",
                                       AVP_MSG_HDCPNOTSUPPORT};
constexpr T_Property kHdcpOutputMode = {"nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode", AVP_MSG_HDCPMODE};
constexpr T_Property kBaudRate = {"nodes[UART:0].configuration.baud_rate", AVP_MSG_SET_SERIAL_ATTR};
constexpr T_Property kDataBits = {"nodes[UART:0].configuration.data_bits", AVP_MSG_SET_SERIAL_ATTR};
constexpr T_Property kStopBits = {"nodes[UART:0].configuration.stop_bits", AVP_MSG_SET_SERIAL_ATTR};
constexpr T_Property kParity = {"nodes[UART:0].configuration.parity", AVP_MSG_SET_SERIAL_ATTR};
constexpr T_Property kAudioSource = {"nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value",
                                     AVP_MSG_HDMIOUT_AUD_SRC};
constexpr T_Property kSamplingFrequency = {"nodes[MULTICH_AUDIO_INPUT:0].configuration.sampling_frequency.value",
                                           AVP_MSG_HDMIOUT_AUD_SRC};
constexpr T_Property kChannels = {"nodes[MULTICH_AUDIO_INPUT:0].configuration.number_of_channels.value",
                                  AVP_MSG_HDMIOUT_AUD_SRC};
constexpr T_Property kChannelAllocation = {"nodes[MULTICH_AUDIO_INPUT:0].configuration.channel_allocation.value",
                                           AVP_MSG_HDMIOUT_AUD_SRC};
constexpr T_Property kAudioEncoding = {"nodes[MULTICH_AUDIO_INPUT:0].configuration.audio_encoding_type",
                                       AVP_MSG_HDMIOUT_AUD_SRC};
constexpr T_Property kDeviceMode = {"configuration.device_mode", AVP_MSG_SET_PROPERTY_DEVICE_MODE};
constexpr T_Property kRemoveAudio = {"streams[HDMI:0].configuration.remove_audio", AVP_MSG_SET_PROPERTY_REMOVE_AUDIO};

constexpr size_t kEdidDigits = 512;
constexpr char kEdidHead[] = "00ffffffffffff00";
constexpr size_t kIrDigitsMax = 2064;  // 1032 bytes, what the infrared encoder holds

constexpr const char* kParities[] = {"none", "odd", "even"};

struct T_HdcpMode {
  E_HDCP_MODE mode;
  const char* text;
};
constexpr T_HdcpMode kHdcpModes[] = {
    {e_hdcp_mode_follow_sink_1, "FOLLOW_SINK_1"},
    {e_hdcp_mode_follow_sink_2, "FOLLOW_SINK_2"},
    {e_hdcp_mode_follow_sourse, "FOLLOW_SOURCE"},
};

struct T_AudioSource {
  const char* name;
  SInt32 value;  // the server's number for it
};
constexpr T_AudioSource kAudioSources[] = {{"hdmi-audio", 2}, {"multi-channel-local", 9}};
constexpr SInt32 kDefaultAudioSource = 2;

struct T_LineEnding {
  const char* name;
  const char* ascii;
  const char* hex;
};
constexpr T_LineEnding kLineEndings[] = {{"cr", "\r", "0d"}, {"lf", "\n", "0a"}, {"crlf", "\r\n", "0d0a"}};

// What the ending's name stands for; an unknown one for nothing.
const char* LineEnding(const std::string& name, E_RS232_DATA_MODE mode) {
  for (const T_LineEnding& ending : kLineEndings) {
    if (name == ending.name) return mode == e_rs232_mode_hex ? ending.hex : ending.ascii;
  }
  return "";
}

// "48690d" to "\x48\x69\x0d", as the server takes bytes in a text. The length of digits is even.
std::string EscapeHexPairs(const std::string& digits) {
  std::string text;
  text.reserve(digits.size() * 2);
  for (size_t i = 0; i < digits.size(); i += 2) text.append("\\x").append(digits, i, 2);
  return text;
}

// {"op": op, "data_hex": digits}
Json::Value HexOperation(const char* op, const std::string& digits) {
  Json::Value body = brntsend::Operation(op);
  body["data_hex"] = digits;
  return body;
}

bool CheckEdidDataFormat(const std::string& edid) {
  if (edid.size() != kEdidDigits) {
    HLOG_ERROR("EDID data length error!!!");
    return false;
  }
  if (StrProcess::IsHexData(edid) == 0) {
    HLOG_ERROR("EDID data is not hex data !!!");
    return false;
  }
  std::string head;
  StrProcess::Cut2GetHeadStr(edid, sizeof kEdidHead - 1, head);
  if (head != kEdidHead) {
    HLOG_ERROR("EDID head error!!!");
    return false;
  }
  return true;
}

}  // namespace

Bool16 SendCmd2AVP::SendSetSreialBaudCmd(const std::string& id, SInt32 baud, SInt32 dataBits, SInt32 stopBits,
                                         const std::string& parity) {
  Bool16 queued = brntsend::SetProperty(id, kBaudRate, baud);
  queued = brntsend::SetProperty(id, kDataBits, dataBits) && queued;
  queued = brntsend::SetProperty(id, kStopBits, stopBits) && queued;
  if (std::find(std::begin(kParities), std::end(kParities), parity) == std::end(kParities)) return queued;
  return brntsend::SetProperty(id, kParity, parity) && queued;
}

Bool16 SendCmd2AVP::SendRs232DataCmd(const std::string& id, SInt32 port, E_RS232_DATA_MODE mode,
                                     const std::string& data, const std::string& ending) {
  if (data.empty()) {
    HLOG_ERROR("data is NULL,do not send rs232 data cmd");
    return 0;
  }
  if (mode != e_rs232_mode_ascii && mode != e_rs232_mode_hex) {
    HLOG_ERROR("Rs232 data format unknow");
    return 0;
  }
  std::string text = data + LineEnding(ending, mode);
  if (mode == e_rs232_mode_hex) {
    if (text.size() % 2 != 0) {
      HLOG_ERROR("Length is not even");
      return 0;
    }
    text = EscapeHexPairs(text);
  }
  HLOG_INFO("Ready to Send Rs232 Data [%s]", text.c_str());
  Json::Value body = brntsend::Operation("send:rs232");
  body["port_index"] = port;
  body["data_string"] = text;
  return brntsend::Post(id, body, AVP_MSG_SEND_SERIAL_DATA);
}

Bool16 SendCmd2AVP::SendIrDataCmd(const std::string& id, const std::string& data) {
  if (data.empty()) {
    HLOG_ERROR("data is NULL,do not send rs232 data cmd");  // Deliberate: the serial wording serves infrared too.
    return 0;
  }
  // Deliberate: an irregular form only leaves its line in the log; the server judges the digits.
  StrProcess::IsIrData(data);
  std::string digits = data;
  StrProcess::DeleteAllChar(digits, ' ');
  HLOG_INFO("Ir data : [%s]", digits.c_str());
  if (digits.size() > kIrDigitsMax) {
    HLOG_ERROR("Ir Data length exceeds %d", static_cast<int>(kIrDigitsMax));
    return 0;
  }
  return brntsend::Post(id, HexOperation("send:infrared", digits), AVP_MSG_SEND_IR_DATA);
}

Bool16 SendCmd2AVP::SendCECDataCmd(const std::string& id, const std::string& data) {
  if (data.empty()) {
    HLOG_ERROR("data is NULL,do not send CEC data cmd");
    return 0;
  }
  if (StrProcess::IsHexData(data) == 0) {
    HLOG_ERROR("Not Hex Format");
    return 0;
  }
  return brntsend::Post(id, HexOperation("send:cec", data), AVP_MSG_SEND_CEC_DATA);
}

Bool16 SendCmd2AVP::SendSetTxEdidCmd(const std::string& id, const std::string& edid) {
  std::string lowered;
  StrProcess::Uppercase2Lowercase(edid, lowered);
  if (!CheckEdidDataFormat(lowered)) return 0;
  return brntsend::Post(id, HexOperation("set:edid", lowered), AVP_MSG_SETTXEDID);
}

Bool16 SendCmd2AVP::SendHdcpSupportCmd(const std::string& id, bool enable) {
  return brntsend::SetProperty(id, kHdcpSupport, enable);
}

Bool16 SendCmd2AVP::SendHdcpNotSupport22Cmd(const std::string& id, bool disable) {
  return brntsend::SetProperty(id, kHdcp22Disable, disable);
}

Bool16 SendCmd2AVP::SendHdcpSetModeCmd(const std::string& id, E_HDCP_MODE mode) {
  if (mode == e_hdcp_mode_none) {
    HLOG_INFO("zan shi bu chu li");  // Deliberate: this mode is left unhandled.
    return 0;
  }
  for (const T_HdcpMode& row : kHdcpModes) {
    if (row.mode == mode) return brntsend::SetProperty(id, kHdcpOutputMode, row.text);
  }
  HLOG_ERROR("Set Hdcp Mode Not Found [%d]", static_cast<int>(mode));
  return 0;
}

Bool16 SendCmd2AVP::SendHdmiOutAudSrcCmd(const std::string& id, const std::string& source) {
  for (const T_AudioSource& row : kAudioSources) {
    if (source == row.name) return brntsend::SetProperty(id, kAudioSource, row.value);
  }
  HLOG_WARN("unknown audio source[%s] of hdmi out, using default", source.c_str());
  return brntsend::SetProperty(id, kAudioSource, kDefaultAudioSource);
}

Bool16 SendCmd2AVP::SendHdmiOutAudSrcCmd(const std::string& id, SInt32 samplingFrequency, SInt32 channels,
                                         SInt32 channelAllocation, const std::string& encodingType) {
  Bool16 queued = brntsend::SetProperty(id, kSamplingFrequency, samplingFrequency);
  queued = brntsend::SetProperty(id, kChannels, channels) && queued;
  queued = brntsend::SetProperty(id, kChannelAllocation, channelAllocation) && queued;
  return brntsend::SetProperty(id, kAudioEncoding, encodingType) && queued;
}

Bool16 SendCmd2AVP::SendRemoveAudioCmd(const std::string& id, bool remove) {
  return brntsend::SetProperty(id, kRemoveAudio, remove);
}

Bool16 SendCmd2AVP::SendPropertyDeviceModeCmd(const std::string& id, const std::string& mode) {
  return brntsend::SetProperty(id, kDeviceMode, mode);
}

Bool16 SendCmd2AVP::SendRebootCmd(const std::string& id) {
  HLOG_INFO("send reboot cmd to avp");
  return brntsend::Post(id, brntsend::Operation("reboot"), AVP_MSG_SEND_REBOOT);
}

Bool16 SendCmd2AVP::SendFactoryCmd(const std::string& id) {
  return brntsend::Post(id, brntsend::Operation("factory"), AVP_MSG_SEND_FACTORY);
}
