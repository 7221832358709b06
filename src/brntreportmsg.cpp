#include "brntreportmsg.h"

#include "brntjson.h"

namespace {

using TextFact = std::optional<std::string> T_HdmiFacts::*;
using NumberFact = std::optional<int> T_HdmiFacts::*;
using TextSetter = void (CreateReportMsg::*)(const std::string&);
using NumberSetter = void (CreateReportMsg::*)(int);

struct T_HdmiText {
  TextFact fact;
  TextSetter input;
  TextSetter output;
};
constexpr T_HdmiText kHdmiTexts[] = {
    {&T_HdmiFacts::strStatus, &CreateReportMsg::SetInputStatus, &CreateReportMsg::SetOutputStatus},
    {&T_HdmiFacts::strResolution, &CreateReportMsg::SetInputResolution, &CreateReportMsg::SetOutputResolution},
    {&T_HdmiFacts::strColorSpace, &CreateReportMsg::SetInputColorSpace, &CreateReportMsg::SetOutputColorSpace},
    {&T_HdmiFacts::strHdcp, &CreateReportMsg::SetInputHdcpVersion, &CreateReportMsg::SetOutputHdcpVersion},
    {&T_HdmiFacts::strDynamicRange, &CreateReportMsg::SetInputDynamicRange, &CreateReportMsg::SetOutputDynamicRange},
    {&T_HdmiFacts::strSignalType, &CreateReportMsg::SetInputSignalType, &CreateReportMsg::SetOutputSignalType},
    {&T_HdmiFacts::strEncodingType, &CreateReportMsg::SetInputAudioEncodingType,
     &CreateReportMsg::SetOutputAudioEncodingType},
    {&T_HdmiFacts::strEdid, &CreateReportMsg::SetInputEdid, &CreateReportMsg::SetOutputEdid},
};

struct T_HdmiNumber {
  NumberFact fact;
  NumberSetter input;
  NumberSetter output;
};
constexpr T_HdmiNumber kHdmiNumbers[] = {
    {&T_HdmiFacts::s32BitDepth, &CreateReportMsg::SetInputBitDepth, &CreateReportMsg::SetOutputBitDepth},
    {&T_HdmiFacts::s32Channels, &CreateReportMsg::SetInputAudioChannels, &CreateReportMsg::SetOutputAudioChannels},
    {&T_HdmiFacts::s32SampleFrequency, &CreateReportMsg::SetInputAudioSampleFrequency,
     &CreateReportMsg::SetOutputAudioSampleFrequency},
    {&T_HdmiFacts::s32SampleSize, &CreateReportMsg::SetInputAudioSampleSize,
     &CreateReportMsg::SetOutputAudioSampleSize},
};

struct T_SettingText {
  std::optional<std::string> T_ReportFacts::*fact;
  TextSetter setter;
};
constexpr T_SettingText kSettingTexts[] = {
    {&T_ReportFacts::strHdcpCapability, &CreateReportMsg::SetTxHdcpCapability},
    {&T_ReportFacts::strHdcpMethod, &CreateReportMsg::SetRxHdcpMethod},
    {&T_ReportFacts::strLayout, &CreateReportMsg::SetRxLayout},
};

template <class Rows>
void CallHdmiSetters(const Rows& rows, const T_ReportFacts& facts, CreateReportMsg* pReport) {
  for (const auto& row : rows) {
    if (const auto& value = facts.tInput.*row.fact) (pReport->*row.input)(*value);
    if (const auto& value = facts.tOutput.*row.fact) (pReport->*row.output)(*value);
  }
}

}  // namespace

void CreateReportMsg::SetFacts(const T_ReportFacts& facts) {
  CallHdmiSetters(kHdmiTexts, facts, this);
  CallHdmiSetters(kHdmiNumbers, facts, this);
  for (const T_SettingText& row : kSettingTexts) {
    if (const auto& value = facts.*row.fact) (this->*row.setter)(*value);
  }
  SetScaler(facts);
  if (facts.tVideoWall) SetRxVideoWall(&*facts.tVideoWall);
  SetStreams(facts.tStream0, facts.tStream1);
  SetMonitor(facts);
}

void CreateReportMsg::SetScaler(const T_ReportFacts& facts) {
  if (facts.s32OutputSource == 0) SetRxScaler("bypass");
  if (facts.s32OutputSource == 1 && facts.strFrameBufferTiming) SetRxScaler(*facts.strFrameBufferTiming);
}

void CreateReportMsg::SetStreams(const T_StreamFacts& stream0, const T_StreamFacts& stream1) {
  if (stream0.bEnable) SetTxAvpStream0Enable(*stream0.bEnable);
  if (stream0.bHalfRate) SetTxAvpStream0HalfFrameRate(*stream0.bHalfRate);
  if (stream1.bEnable) SetTxAvpStream1Enable(*stream1.bEnable);
  if (stream1.bHalfRate) SetTxAvpStream1HalfFrameRate(*stream1.bHalfRate);
  if (stream1.s32Width && stream1.s32Height) SetTxAvpStream1Res(*stream1.s32Width, *stream1.s32Height);
}

void CreateReportMsg::SetMonitor(const T_ReportFacts& facts) {
  if (!facts.bMonitorConnected) return;
  Json::Value monitor(Json::objectValue);
  monitor["connected"] = *facts.bMonitorConnected;
  if (facts.strMonitorEdid) monitor["edid"] = *facts.strMonitorEdid;
  SetHdmiMonitorJson(monitor);
}

void CreateReportMsg::PutInput(const char* key, const Json::Value& value) {
  StatusInput[key] = value;
  m_bInputFlag = true;
}

void CreateReportMsg::PutOutput(const char* key, const Json::Value& value) {
  StatusOutput[key] = value;
  m_bOutputFlag = true;
}

void CreateReportMsg::PutHdmiout(const char* key, const Json::Value& value) {
  SettingsOutputHdmiout[key] = value;
  m_bHdmioutFlag = true;
}

void CreateReportMsg::SetInputStatus(const std::string& status) { PutInput("status", status); }

void CreateReportMsg::SetInputResolution(const std::string& resolution) { PutInput("resolution", resolution); }

void CreateReportMsg::SetInputColorSpace(const std::string& colorSpace) { PutInput("colorSpace", colorSpace); }

void CreateReportMsg::SetInputBitDepth(int bits) { PutInput("bitDepth", bits); }

void CreateReportMsg::SetInputHdcpVersion(const std::string& version) { PutInput("hdcp", version); }

void CreateReportMsg::SetInputDynamicRange(const std::string& range) { PutInput("dynamicRange", range); }

void CreateReportMsg::SetInputSignalType(const std::string& type) { PutInput("signalType", type); }

void CreateReportMsg::SetInputAudioChannels(int channels) { PutInput("channels", channels); }

void CreateReportMsg::SetInputAudioSampleFrequency(int hertz) { PutInput("sampleFrequency", hertz); }

void CreateReportMsg::SetInputAudioSampleSize(int bits) { PutInput("sampleSize", bits); }

void CreateReportMsg::SetInputAudioEncodingType(const std::string& type) { PutInput("encodingType", type); }

void CreateReportMsg::SetInputEdid(const std::string& hexText) {
  StatusInputDisplay["edid"] = hexText;
  PutInput("display", StatusInputDisplay);
}

void CreateReportMsg::SetOutputStatus(const std::string& status) { PutOutput("status", status); }

void CreateReportMsg::SetOutputResolution(const std::string& resolution) { PutOutput("resolution", resolution); }

void CreateReportMsg::SetOutputColorSpace(const std::string& colorSpace) { PutOutput("colorSpace", colorSpace); }

void CreateReportMsg::SetOutputBitDepth(int bits) { PutOutput("bitDepth", bits); }

void CreateReportMsg::SetOutputHdcpVersion(const std::string& version) { PutOutput("hdcp", version); }

void CreateReportMsg::SetOutputDynamicRange(const std::string& range) { PutOutput("dynamicRange", range); }

void CreateReportMsg::SetOutputSignalType(const std::string& type) { PutOutput("signalType", type); }

void CreateReportMsg::SetOutputAudioChannels(int channels) { PutOutput("channels", channels); }

void CreateReportMsg::SetOutputAudioSampleFrequency(int hertz) { PutOutput("sampleFrequency", hertz); }

void CreateReportMsg::SetOutputAudioSampleSize(int bits) { PutOutput("sampleSize", bits); }

void CreateReportMsg::SetOutputAudioEncodingType(const std::string& type) { PutOutput("encodingType", type); }

void CreateReportMsg::SetOutputEdid(const std::string& hexText) {
  StatusOutputDisplay["edid"] = hexText;
  PutOutput("display", StatusOutputDisplay);
}

void CreateReportMsg::SetTxHdcpCapability(const std::string& capability) {
  SettingsInputHdmiin["hdcpCapability"] = capability;
  m_bHdmiinFlag = true;
}

void CreateReportMsg::SetRxHdcpMethod(const std::string& method) { PutHdmiout("hdcpMethod", method); }

void CreateReportMsg::SetRxScaler(const std::string& scaler) { PutHdmiout("scaler", scaler); }

void CreateReportMsg::SetRxHdrMethod(const std::string& method) { PutHdmiout("hdrMethod", method); }

void CreateReportMsg::SetRxLayout(const std::string& layout) { PutHdmiout("layout", layout); }

void CreateReportMsg::SetRxVideoWall(const VideoWallParam* wall) {
  if (wall == nullptr) return;
  Json::Value& node = SettingsOutputHdmioutVideoWall;
  node["maxRow"] = wall->s_maxRow;
  node["maxColumn"] = wall->s_maxColumn;
  node["posRow"] = wall->s_posRow;
  node["posColumn"] = wall->s_posColumn;
  node["gapTop"] = wall->s_gapTop;
  node["gapBottom"] = wall->s_gapBottom;
  node["gapLeft"] = wall->s_gapLeft;
  node["gapRight"] = wall->s_gapRight;
  node["stretchType"] = wall->s_stretchType;
  PutHdmiout("videoWall", node);
}

void CreateReportMsg::SetTxAvpStream0Enable(bool enable) {
  SettingsOutputStreamoutStreamsAvpStream0["enable"] = enable;
  m_bAvpStream0 = true;
}

void CreateReportMsg::SetTxAvpStream0HalfFrameRate(bool half) {
  SettingsOutputStreamoutStreamsAvpStream0["halfFrameRate"] = half;
  m_bAvpStream0 = true;
}

void CreateReportMsg::SetTxAvpStream1Enable(bool enable) {
  SettingsOutputStreamoutStreamsAvpStream1["enable"] = enable;
  m_bAvpStream1 = true;
}

void CreateReportMsg::SetTxAvpStream1HalfFrameRate(bool half) {
  // Deliberate: the second stream says "halfRefreshRate" where the first says "halfFrameRate"; cmd_core reads both so.
  SettingsOutputStreamoutStreamsAvpStream1["halfRefreshRate"] = half;
  m_bAvpStream1 = true;
}

void CreateReportMsg::SetTxAvpStream1Res(int width, int height) {
  SettingsOutputStreamoutStreamsAvpStream1["height"] = height;
  SettingsOutputStreamoutStreamsAvpStream1["width"] = width;
  m_bAvpStream1 = true;
}

void CreateReportMsg::SetHdmiMonitorJson(const Json::Value& monitor) {
  m_objHdmiMonitorJson = monitor;
  m_bHdmiMonitor = true;
}

std::string CreateReportMsg::GetReportStr() {
  LinkStatus();
  LinkSettings();
  m_strReport = brntjson::Write(root);
  return m_strReport;
}

void CreateReportMsg::LinkStatus() {
  if (m_bInputFlag) Status["input"] = StatusInput;
  if (m_bOutputFlag) Status["output"] = StatusOutput;
  if (m_bInputFlag || m_bOutputFlag) root["status"] = Status;
}

void CreateReportMsg::LinkSettings() {
  if (m_bHdmiinFlag) SettingsInput["hdmiIn"] = SettingsInputHdmiin;
  if (m_bHdmioutFlag) SettingsOutput["hdmiOut"] = SettingsOutputHdmiout;
  const bool streams = m_bAvpStream0 || m_bAvpStream1;
  if (streams) LinkStreams();
  if (m_bHdmiinFlag) Settings["input"] = SettingsInput;
  if (m_bHdmioutFlag || streams) Settings["output"] = SettingsOutput;
  if (m_bHdmiinFlag || m_bHdmioutFlag || streams) root["settings"] = Settings;
}

void CreateReportMsg::LinkStreams() {
  Json::Value& streams = SettingsOutputStreamoutStreams;
  if (m_bAvpStream0) streams["avpStream0"] = SettingsOutputStreamoutStreamsAvpStream0;
  if (m_bAvpStream1) streams["avpStream1"] = SettingsOutputStreamoutStreamsAvpStream1;
  SettingsOutputStreamout["streams"] = streams;
  SettingsOutput["streamOut"] = SettingsOutputStreamout;
}

std::string CreateReportMsg::GetHdmiMonitorStr() const {
  return m_bHdmiMonitor ? brntjson::Write(m_objHdmiMonitorJson) : std::string();
}
