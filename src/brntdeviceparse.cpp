// How a device takes in its document and tells cmd_core about it; the rest of CBrntDevice is in brntdevice.cpp.
#include <algorithm>
#include <cstdio>

#include "brntasynctask.h"
#include "brntdevice.h"
#include "brntjson.h"

using brntnode::Child;
using brntnode::Elements;
using brntnode::GetTypeAndIndex;

namespace {

// The record of this index, made when there is none yet.
template <class Records>
auto& RecordOf(Records& records, std::string_view type, SInt32 index) {
  auto& record = records[index];
  record.m_strType = type;
  record.m_s32Index = index;
  return record;
}

template <class Types>
size_t RowOf(const Types& types, std::string_view type) {
  return static_cast<size_t>(std::find(types.begin(), types.end(), type) - types.begin());
}

void SendReports(const T_ReportFacts& facts) {
  CreateReportMsg message;
  message.SetFacts(facts);
  const std::string report = message.GetReportStr();
  ReportAsyncMsg(e_event_video, report);
  ReportAsyncMsg(e_event_audio, report);  // Deliberate: cmd_core takes the sound from the same text under its own kind.
  ReportAsyncMsg(e_event_monitor, message.GetHdmiMonitorStr());
}

}  // namespace

Bool16 CBrntDevice::ParseDevice(const Json::Value& device, bool report) {
  if (device.empty()) return 0;
  const Json::Value& identity = Child(device, "identity");
  if (!identity.isObject() || identity.empty()) {
    std::fprintf(stderr, "\033[40;31m [%s:%s:%d]: Not Found [%s] \033[0m \n", __FILE__, __func__, __LINE__, "identity");
    return 0;
  }
  ParseMembers(device);
  if (report) ReportDevice();
  return 1;
}

void CBrntDevice::ParseMembers(const Json::Value& device) {
  OSMutexLocker lock(m_objMutex);
  m_bParsed = true;
  m_tFacts = T_ReportFacts();
  ParseIdentity(Child(device, "identity"));
  ParseConfiguration(Child(device, "configuration"));
  ParseStatus(Child(device, "status"));
  ParseStreams(Child(device, "streams"));
  ParseSubscriptions(Child(device, "subscriptions"));
  ParseNodes(Child(device, "nodes"));
}

void CBrntDevice::ReportDevice() {
  T_ReportFacts facts;
  {
    OSMutexLocker lock(m_objMutex);
    if (!m_bParsed) return;
    facts = m_tFacts;
  }
  SendReports(facts);
}

void CBrntDevice::ParseIdentity(const Json::Value& identity) {
  (void)brntjson::GetString(identity, "firmware_comment", m_firmware_version);
  (void)brntjson::GetString(identity, "firmware_version", m_strVersion);
}

void CBrntDevice::ParseConfiguration(const Json::Value& configuration) {
  (void)brntjson::GetString(configuration, "device_name", m_strDevName);
  (void)brntjson::GetString(configuration, "device_mode", m_strDeviceMode);
}

void CBrntDevice::ParseStatus(const Json::Value& status) {
  if (brntjson::GetBool(status, "active", m_Active)) m_bActive = m_Active ? 1 : 0;
  (void)brntjson::GetBool(status, "point_to_point", m_PToP);
  (void)brntjson::GetString(status, "boot_status", m_strBootStatus);
  (void)brntjson::GetInt(status, "temperature", m_s32Temperature);
}

void CBrntDevice::ParseStreams(const Json::Value& streams) {
  for (const Json::Value& stream : Elements(streams)) {
    std::string_view type;
    SInt32 index = 0;
    if (!GetTypeAndIndex(stream, &type, &index)) continue;
    const size_t row = RowOf(kStreamTypes, type);
    if (row == kStreamTypes.size()) continue;
    T_StreamFacts* facts = nullptr;
    if (type == "HDMI" && index == 0) facts = &m_tFacts.tStream0;
    if (type == "HDMI" && index == 1) facts = &m_tFacts.tStream1;
    RecordOf(m_aStreams[row], type, index).ParseStreamJson(stream, facts);
  }
}

void CBrntDevice::ParseSubscriptions(const Json::Value& subscriptions) {
  for (const Json::Value& subscription : Elements(subscriptions)) {
    std::string_view type;
    SInt32 index = 0;
    if (!GetTypeAndIndex(subscription, &type, &index)) continue;
    const size_t row = RowOf(kSubscriptionTypes, type);
    if (row == kSubscriptionTypes.size()) continue;
    RecordOf(m_aSubscriptions[row], type, index).ParseStreamJson(subscription, nullptr);
  }
}

void CBrntDevice::ParseNodes(const Json::Value& nodes) {
  struct T_NodeParser {
    std::string_view type;
    void (CBrntDevice::*parse)(const Json::Value& node, SInt32 index);
  };
  static constexpr T_NodeParser kNodeParsers[] = {
      {"FRAME_BUFFER", &CBrntDevice::ParseFrameBuffer},
      {"HDMI_DECODER", &CBrntDevice::ParseHDMIDecoder},
      {"HDMI_ENCODER", &CBrntDevice::ParseHDMIEncoder},
      {"HDMI_MONITOR", &CBrntDevice::ParseHDMIMonitor},
      {"NETWORK_INTERFACE", &CBrntDevice::ParseNetWork},
      {"SCALER", &CBrntDevice::ParseNodeScaler},
      {"UART", &CBrntDevice::ParseNodeRS232},
      {"USB_HID", &CBrntDevice::ParseNodeUsbHid},
  };
  for (const Json::Value& node : Elements(nodes)) {
    std::string_view type;
    SInt32 index = 0;
    if (!GetTypeAndIndex(node, &type, &index)) continue;
    for (const T_NodeParser& row : kNodeParsers) {
      if (row.type == type) (this->*row.parse)(node, index);
    }
  }
}

T_ReportFacts* CBrntDevice::FactsOf(SInt32 index) { return index == 0 ? &m_tFacts : nullptr; }

void CBrntDevice::ParseFrameBuffer(const Json::Value& node, SInt32 index) {
  CFrameBuffer& record = index == 0 ? m_ModesFrameBufferInfo : m_mapFrameBuffer[index];
  record.m_strType = "FRAME_BUFFER";
  record.m_s32Index = index;
  record.ParseJsonInfo(node, FactsOf(index));
}

void CBrntDevice::ParseHDMIDecoder(const Json::Value& node, SInt32 index) {
  T_ReportFacts* facts = FactsOf(index);
  CHdmiInfo& info = RecordOf(m_mapInputInfo, "HDMI_DECODER", index);
  CHDMITiming& timing = RecordOf(m_mapInputTiming, "HDMI_DECODER", index);
  info.ParseJsonInfo(node, &timing, facts == nullptr ? nullptr : &facts->tInput);
  const std::optional<std::string> capability = info.ParseInputHdcp(node);
  if (facts == nullptr) return;

  m_b16SourceStable = info.m_bSourceStable ? 1 : 0;
  if (capability) {
    m_TxHdcpCapability = *capability;
    facts->strHdcpCapability = capability;
  }
  const std::string_view edid = brntnode::Text(Child(Child(node, "configuration"), "edid"));
  if (!edid.empty()) {
    m_strEDID = edid;
    facts->tInput.strEdid = m_strEDID;
  }
  SInt32 source = 0;
  if (brntnode::GetInputSource(node, "main", &source)) m_eSrcType = static_cast<E_SRC_TYPE>(source);
}

void CBrntDevice::ParseHDMIEncoder(const Json::Value& node, SInt32 index) {
  T_ReportFacts* facts = FactsOf(index);
  CHdmiInfo& info = RecordOf(m_mapOutputInfo, "HDMI_ENCODER", index);
  CHDMITiming& timing = RecordOf(m_mapOutputTiming, "HDMI_ENCODER", index);
  CEncoderInputInfo& inputs = RecordOf(m_mapEncoderInput, "HDMI_ENCODER", index);
  info.ParseJsonInfo(node, &timing, facts == nullptr ? nullptr : &facts->tOutput);
  const std::optional<std::string> method = info.ParseOutputHdcp(node);
  inputs.ParseJsonInfo(node, facts);
  if (facts == nullptr) return;

  if (method) {
    m_RxHdcpMode = *method;
    facts->strHdcpMethod = method;
  }
  SInt32 source = 0;
  if (brntnode::GetInputSource(node, "audio", &source)) m_eAudioSrcType = static_cast<E_A_SRC_TYPE>(source);
}

void CBrntDevice::ParseHDMIMonitor(const Json::Value& node, SInt32 index) {
  RecordOf(m_mapMonitor, "HDMI_MONITOR", index).ParseJsonInfo(node, FactsOf(index));
}

void CBrntDevice::ParseNetWork(const Json::Value& node, SInt32 index) {
  CNetWorkInfo& record = RecordOf(m_mapNetWork, "NETWORK_INTERFACE", index);
  record.ParseJsonInfo(node);
  if (index == 0) m_tNetWork = {record.m_strMode, record.m_strAddr, record.m_strMask, record.m_strGateway};
}

void CBrntDevice::ParseNodeScaler(const Json::Value& node, SInt32 index) {
  RecordOf(m_mapScaler, "SCALER", index).ParseJsonInfo(node, FactsOf(index));
}

void CBrntDevice::ParseNodeRS232(const Json::Value& node, SInt32 index) {
  RecordOf(m_mapUart, "UART", index).ParseJsonInfo(node);
}

void CBrntDevice::ParseNodeUsbHid(const Json::Value& node, SInt32 index) {
  RecordOf(m_mapUsbHid, "USB_HID", index).ParseJsonInfo(node);
}
