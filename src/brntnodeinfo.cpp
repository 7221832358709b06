#include "brntnodeinfo.h"

#include "brntjson.h"

using brntnode::Child;
using brntnode::Text;

namespace {

const Json::Value& NoValue() {
  static const Json::Value& none = *new Json::Value;  // never destroyed: threads outlive main
  return none;
}

// No number of these documents counts below zero: a negative one is as good as absent.
bool GetUnsigned(const Json::Value& object, const char* key, UInt32& out) {
  SInt32 number = 0;
  if (!brntjson::GetInt(object, key, number) || number < 0) return false;
  out = static_cast<UInt32>(number);
  return true;
}

bool Holds(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

bool BeginsWith(std::string_view text, std::string_view part) { return text.substr(0, part.size()) == part; }

std::string ColorSpaceText(const std::string& colorSpace) {
  if (Holds(colorSpace, "444")) return "YUV444";
  if (Holds(colorSpace, "422")) return "YUV422";
  if (Holds(colorSpace, "420")) return "YUV420";
  return colorSpace;
}

std::string DynamicRangeText(const std::string& hdr) {
  if (BeginsWith(hdr, "HDR")) return "HDR10";
  if (Holds(hdr, "DOLBY")) return "Dolby Vision";
  return hdr;
}

std::string HdcpText(const std::string& version) {
  if (version == "NONE") return "None";
  const size_t digit = version.find_first_of("0123456789");
  if (digit != std::string::npos && version[digit] == '1') return "HDCP 1.x";
  if (digit != std::string::npos && version[digit] == '2') return "HDCP 2.x";
  return version;
}

std::string LayoutText(std::string_view displayMode) {
  if (Holds(displayMode, "MULTIVIEW")) return "multiview";
  return BeginsWith(displayMode, "WALL") ? "videoWall" : "single";
}

std::string StretchText(std::string_view aspectRatioMode) {
  if (aspectRatioMode == "STRETCH") return "Stretch";
  if (aspectRatioMode == "KEEP") return "Fit";
  if (aspectRatioMode == "CROP") return "Fill";
  return "";
}

// The wall that a frame buffer's "configuration" describes, if it gives all of its numbers.
std::optional<VideoWallParam> WallOf(const Json::Value& configuration) {
  bool inWall = false;
  if (!brntjson::GetBool(configuration, "has_auto_wall_details", inWall) || !inWall) return std::nullopt;
  const Json::Value& details = Child(configuration, "auto_wall_details");
  VideoWallParam wall;
  if (!brntjson::GetInt(details, "grid_height", wall.s_maxRow) ||
      !brntjson::GetInt(details, "grid_width", wall.s_maxColumn) ||
      !brntjson::GetInt(details, "grid_index_vert", wall.s_posRow) ||
      !brntjson::GetInt(details, "grid_index_horiz", wall.s_posColumn) ||
      !brntjson::GetInt(details, "bezel_vert", wall.s_gapTop) ||
      !brntjson::GetInt(details, "bezel_horiz", wall.s_gapLeft)) {
    return std::nullopt;
  }
  wall.s_gapBottom = wall.s_gapTop;
  wall.s_gapRight = wall.s_gapLeft;
  wall.s_stretchType = StretchText(Text(Child(configuration, "aspect_ratio_mode")));
  return wall;
}

}  // namespace

namespace brntnode {

const Json::Value& Child(const Json::Value& object, const char* key) {
  const Json::Value* member = brntjson::Member(object, key);
  return member == nullptr ? NoValue() : *member;
}

const Json::Value& Elements(const Json::Value& value) { return value.isArray() ? value : NoValue(); }

std::string_view Text(const Json::Value& value) {
  const char* begin = nullptr;
  const char* end = nullptr;
  if (!value.isString() || !value.getString(&begin, &end)) return {};
  return {begin, static_cast<size_t>(end - begin)};
}

bool GetTypeAndIndex(const Json::Value& element, std::string_view* pType, SInt32* pIndex) {
  *pType = Text(Child(element, "type"));
  return brntjson::GetInt(element, "index", *pIndex) && *pIndex >= 0 && *pIndex <= kMaxIndex;
}

bool GetInputSource(const Json::Value& node, std::string_view name, SInt32* pValue) {
  for (const Json::Value& input : Elements(Child(node, "inputs"))) {
    SInt32 index = -1;
    if (Text(Child(input, "name")) != name) continue;
    if (!brntjson::GetInt(input, "index", index) || index != 0) continue;
    return brntjson::GetInt(Child(Child(input, "configuration"), "source"), "value", *pValue);
  }
  return false;
}

}  // namespace brntnode

void CStreamInfo::ParseStreamJson(const Json::Value& stream, T_StreamFacts* pFacts) {
  const Json::Value& configuration = Child(stream, "configuration");
  if (brntjson::GetBool(configuration, "enable", m_ConfEnable) && pFacts != nullptr) pFacts->bEnable = m_ConfEnable;
  SInt32 rateSource = 0;
  if (pFacts != nullptr && m_s32Index == 0 && brntjson::GetInt(Child(configuration, "source"), "value", rateSource)) {
    pFacts->bHalfRate = rateSource == 1;
  }
  (void)brntjson::GetString(configuration, "address", m_ConfAddress);
  (void)brntjson::GetBool(configuration, "auto_stop", m_ConfAutostop);
  (void)brntjson::GetBool(configuration, "remove_audio", m_ConfRemoveaudio);
  (void)brntjson::GetInt(configuration, "dest_index", m_ConfDestIndex);
  (void)brntjson::GetString(Child(stream, "status"), "state", m_StatusState);
  m_bIsStandby = m_ConfEnable && m_StatusState != "STREAMING";
  const Json::Value& source = Child(stream, "source");
  (void)brntjson::GetString(source, "ref_class", m_SourceRef_class);
  (void)brntjson::GetString(source, "ref_type", m_SourceRef_type);
  (void)brntjson::GetInt(source, "ref_index", m_SourceRef_index);
}

void CHDMITiming::ParseJsonInfo(const Json::Value& video, T_HdmiFacts* pFacts) {
  const bool width = GetUnsigned(video, "width", m_u32Width);
  const bool height = GetUnsigned(video, "height", m_u32Height);
  const bool fps = GetUnsigned(video, "frames_per_second", m_u32Fps);
  const bool colorSpace = brntjson::GetString(video, "color_space", m_strColorSpace);
  const bool bits = GetUnsigned(video, "bits_per_pixel", m_u32BitPerPixel);
  const bool scanMode = brntjson::GetString(video, "scan_mode", m_strScanMode);
  if (pFacts == nullptr) return;
  if (width && height && fps && m_u32Width > 0 && m_u32Height > 0) {
    const char* scan = scanMode && m_strScanMode == "INTERLACED" ? "i@" : "p@";
    m_strReport =
        std::to_string(m_u32Width) + "x" + std::to_string(m_u32Height) + scan + std::to_string(m_u32Fps) + "Hz";
    pFacts->strResolution = m_strReport;
  }
  if (colorSpace) pFacts->strColorSpace = ColorSpaceText(m_strColorSpace);
  if (bits) pFacts->s32BitDepth = static_cast<int>(m_u32BitPerPixel);
}

void CHdmiInfo::ParseJsonInfo(const Json::Value& node, CHDMITiming* pTiming, T_HdmiFacts* pFacts) {
  const Json::Value& status = Child(node, "status");
  const bool knowsStable = brntjson::GetBool(status, "source_stable", m_bSourceStable);
  if (knowsStable && pFacts != nullptr) {
    m_strReport = m_bSourceStable ? "Stable" : "Unstable";
    pFacts->strStatus = m_strReport;
  }
  if (knowsStable && !m_bSourceStable) pFacts = nullptr;  // what else it says now are placeholders
  pTiming->ParseJsonInfo(Child(status, "video"), pFacts);
  ParseProtection(status, pFacts);
  ParseAudio(status, pFacts);
}

void CHdmiInfo::ParseProtection(const Json::Value& status, T_HdmiFacts* pFacts) {
  const Json::Value& video = Child(status, "video_details");
  const bool version = brntjson::GetString(status, "hdcp_version", m_strHdcpVersion);
  const bool hdr = brntjson::GetString(video, "hdr", m_strHdr);
  const bool hdmi20 = brntjson::GetBool(status, "hdmi_2_0_support", m_bHdmi20Supported);
  (void)brntjson::GetBool(status, "hdcp_protected", m_bHdcpProtected);
  (void)brntjson::GetBool(video, "has_hdr", m_bhashdr);
  if (pFacts == nullptr) return;
  if (version) pFacts->strHdcp = HdcpText(m_strHdcpVersion);
  if (hdr) pFacts->strDynamicRange = DynamicRangeText(m_strHdr);
  if (hdmi20) pFacts->strSignalType = m_bHdmi20Supported ? "HDMI 2.0" : "HDMI 1.4";
}

void CHdmiInfo::ParseAudio(const Json::Value& status, T_HdmiFacts* pFacts) {
  const Json::Value& audio = Child(status, "audio_details");
  const Json::Value& extended = Child(status, "audio_details_extended");
  const bool channels = GetUnsigned(audio, "number_of_channels", m_u32Channels);
  const bool frequency = GetUnsigned(audio, "sampling_frequency", m_u32Samplefrequency);
  const bool sampleSize = GetUnsigned(extended, "sample_size", m_u32Samplesize);
  const bool encoding = brntjson::GetString(extended, "audio_encoding_type", m_strEncodingtype);
  if (pFacts == nullptr) return;
  if (channels) pFacts->s32Channels = static_cast<int>(m_u32Channels);
  if (frequency) pFacts->s32SampleFrequency = static_cast<int>(m_u32Samplefrequency);
  if (sampleSize) pFacts->s32SampleSize = static_cast<int>(m_u32Samplesize);
  if (encoding) pFacts->strEncodingType = m_strEncodingtype;
}

std::optional<std::string> CHdmiInfo::ParseInputHdcp(const Json::Value& node) {
  const Json::Value& configuration = Child(node, "configuration");
  const bool support = brntjson::GetBool(configuration, "hdcp_support_enable", m_bHdcpSupportEnable);
  const bool disable22 = brntjson::GetBool(configuration, "hdcp_22_support_disable", m_bHdcp22SupportDisable);
  if (support && !m_bHdcpSupportEnable) return "Unsupport";
  if (!support || !disable22) return std::nullopt;
  return m_bHdcp22SupportDisable ? "HDCP 1.x" : "HDCP 2.x";
}

std::optional<std::string> CHdmiInfo::ParseOutputHdcp(const Json::Value& node) {
  if (!brntjson::GetString(Child(node, "configuration"), "hdcp_output_mode", m_strHdcpOutputMode)) return std::nullopt;
  if (BeginsWith(m_strHdcpOutputMode, "FOLLOW_SINK")) return "Follow Sink";
  if (m_strHdcpOutputMode == "FOLLOW_SOURCE") return "Follow Source";
  return std::nullopt;
}

void CFrameBuffer::ParseJsonInfo(const Json::Value& node, T_ReportFacts* pFacts) {
  const Json::Value& configuration = Child(node, "configuration");
  const bool mode = brntjson::GetString(configuration, "display_mode", m_strDisplayMode);
  const bool width = GetUnsigned(configuration, "width", m_u32Width);
  const bool height = GetUnsigned(configuration, "height", m_u32Height);
  const bool fps = GetUnsigned(configuration, "frames_per_second", m_u32Fps);
  (void)brntjson::GetString(configuration, "aspect_ratio_mode", m_strAspectRatioMode);
  m_objSourceVideo.ParseJsonInfo(Child(Child(node, "status"), "source_video"), nullptr);
  if (pFacts == nullptr) return;
  if (mode) pFacts->strLayout = LayoutText(m_strDisplayMode);
  if (width && height && fps) {
    pFacts->strFrameBufferTiming =
        std::to_string(m_u32Width) + "x" + std::to_string(m_u32Height) + "p@" + std::to_string(m_u32Fps);
  }
  if (const auto wall = WallOf(configuration)) pFacts->tVideoWall = wall;
}

void CEncoderInputInfo::ParseJsonInfo(const Json::Value& node, T_ReportFacts* pFacts) {
  const bool main = brntnode::GetInputSource(node, "main", &m_s32MainSource);
  (void)brntnode::GetInputSource(node, "audio", &m_s32AudioSource);
  if (main && pFacts != nullptr) pFacts->s32OutputSource = m_s32MainSource;
}

void CMonitorInputInfo::ParseJsonInfo(const Json::Value& node, T_ReportFacts* pFacts) {
  const Json::Value& status = Child(node, "status");
  const bool knowsConnected = brntjson::GetBool(status, "connected", m_bConnected);
  const bool edid = brntjson::GetString(status, "edid", m_strEdid);
  if (pFacts == nullptr || !knowsConnected) return;
  pFacts->bMonitorConnected = m_bConnected;
  pFacts->strMonitorEdid.reset();
  if (edid) pFacts->strMonitorEdid = m_strEdid;
  if (edid && m_bConnected && !m_strEdid.empty()) pFacts->tOutput.strEdid = m_strEdid;
}

void CNetWorkInfo::ParseJsonInfo(const Json::Value& node) {
  const Json::Value& configuration = Child(node, "configuration");
  const Json::Value& ip = Child(configuration, "ip");
  const Json::Value& status = Child(node, "status");
  (void)brntjson::GetString(configuration, "hostname", m_strHostname);
  (void)brntjson::GetString(ip, "mode", m_strMode);
  (void)brntjson::GetString(ip, "mask", m_strMask);
  (void)brntjson::GetString(ip, "gateway", m_strGateway);
  if (!brntjson::GetString(Child(status, "ip"), "address", m_strAddr)) {
    (void)brntjson::GetString(ip, "address", m_strAddr);
  }
  (void)brntjson::GetString(status, "mac_address", m_strMac);
}

void CNodesScalerInfo::ParseJsonInfo(const Json::Value& node, T_ReportFacts* pFacts) {
  const Json::Value& configuration = Child(node, "configuration");
  const bool width = GetUnsigned(configuration, "width", m_u32Width);
  const bool height = GetUnsigned(configuration, "height", m_u32Height);
  const bool source = brntnode::GetInputSource(node, "main", &m_s32Source);
  if (pFacts == nullptr) return;
  if (width && height && m_u32Width > 0 && m_u32Height > 0) {
    pFacts->tStream1.s32Width = static_cast<int>(m_u32Width);
    pFacts->tStream1.s32Height = static_cast<int>(m_u32Height);
  }
  if (source) pFacts->tStream1.bHalfRate = m_s32Source == 1;
}

void CNodesUartInfo::ParseJsonInfo(const Json::Value& node) {
  const Json::Value& configuration = Child(node, "configuration");
  (void)brntjson::GetInt(configuration, "baud_rate", m_s32BaudRate);
  (void)brntjson::GetInt(configuration, "data_bits", m_s32DataBits);
  (void)brntjson::GetInt(configuration, "stop_bits", m_s32StopBits);
  (void)brntjson::GetString(configuration, "parity", m_strParity);
  (void)brntjson::GetString(Child(node, "status"), "usage", m_strUsage);
}

void CNodesUSBHIDInfo::ParseJsonInfo(const Json::Value& node) {
  const Json::Value& status = Child(node, "status");
  (void)brntjson::GetString(status, "role", m_strRole);
  (void)brntjson::GetString(Child(status, "usb_host"), "status", m_strHostStatus);
}
