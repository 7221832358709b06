// The streams, subscriptions and nodes of a device document, one record each.
//
// Every ParseJsonInfo and ParseStreamJson reads one element of the document into its record and adds the element's part
// to the facts of the report; a null pointer for the facts fills the record alone. A field that is absent, null or of
// another type leaves its member as it was and adds nothing. No locks: a record belongs to its device and is used under
// the device's lock, or is a copy.
#pragma once

#include <json/value.h>

#include <optional>
#include <string>
#include <string_view>

#include "OSTypes.h"
#include "brntreportmsg.h"

// One stream or subscription.
class CStreamInfo {
 public:
  // Of the outgoing HDMI streams, only index 0 has a frame rate choice of its own.
  void ParseStreamJson(const Json::Value& stream, T_StreamFacts* pFacts);

  std::string m_strType;
  SInt32 m_s32Index = 0;
  std::string m_ConfAddress;  // dotted text, "0.0.0.0" when none
  bool m_ConfEnable = false;
  bool m_ConfAutostop = false;
  bool m_ConfRemoveaudio = false;
  std::string m_StatusState;  // "STREAMING", "STOPPED"
  std::string m_SourceRef_class;
  std::string m_SourceRef_type;
  SInt32 m_SourceRef_index = 0;
  SInt32 m_ConfDestIndex = 0;
  std::string m_strReport;    // always empty: a stream gives the report no text
  bool m_bIsStandby = false;  // enabled, but not streaming
};

// The picture's format, of an HDMI node's "video" or a frame buffer's "source_video".
class CHDMITiming {
 public:
  // video is the object that holds the members.
  void ParseJsonInfo(const Json::Value& video, T_HdmiFacts* pFacts);

  UInt32 m_u32Width = 0;  // 0 without a signal
  UInt32 m_u32Height = 0;
  UInt32 m_u32Fps = 0;
  std::string m_strColorSpace;
  UInt32 m_u32BitPerPixel = 0;  // bits of one component
  std::string m_strScanMode;
  std::string m_strReport;  // the resolution as it was last given to a report
  std::string m_strType;
  SInt32 m_s32Index = 0;
};

// What an HDMI input or output says beside the picture's format.
class CHdmiInfo {
 public:
  // Reads the node's "status", "video" into timing. While the source is not stable, that is the only fact it gives.
  void ParseJsonInfo(const Json::Value& node, CHDMITiming* pTiming, T_HdmiFacts* pFacts);

  // Read the HDCP members of the "configuration" of an input and of an output; the result is the text for the report.
  std::optional<std::string> ParseInputHdcp(const Json::Value& node);
  std::optional<std::string> ParseOutputHdcp(const Json::Value& node);

  std::string m_strHdcpOutputMode;
  bool m_bHdcpSupportEnable = false;
  bool m_bHdcp22SupportDisable = false;
  bool m_bHdcpProtected = false;
  std::string m_strHdcpVersion;
  bool m_bHdmi20Supported = false;
  bool m_bSourceStable = false;
  std::string m_strReport;  // the status text as it was last given to a report
  std::string m_strType;
  SInt32 m_s32Index = 0;
  bool m_bhashdr = false;
  std::string m_strHdr;
  UInt32 m_u32Samplefrequency = 0;  // Hz
  UInt32 m_u32Channels = 0;
  UInt32 m_u32Samplesize = 0;  // bits; 0 unknown
  std::string m_strEncodingtype;

 private:
  void ParseProtection(const Json::Value& status, T_HdmiFacts* pFacts);
  void ParseAudio(const Json::Value& status, T_HdmiFacts* pFacts);
};

// The frame buffer of a decoder: how the picture is shown, and what comes in.
class CFrameBuffer {
 public:
  void ParseJsonInfo(const Json::Value& node, T_ReportFacts* pFacts);

  std::string m_strType;
  SInt32 m_s32Index = 0;
  std::string m_strDisplayMode;
  UInt32 m_u32Width = 0;
  UInt32 m_u32Height = 0;
  UInt32 m_u32Fps = 0;
  std::string m_strAspectRatioMode;
  CHDMITiming m_objSourceVideo;
};

// What an HDMI output takes its picture and its sound from.
class CEncoderInputInfo {
 public:
  void ParseJsonInfo(const Json::Value& node, T_ReportFacts* pFacts);

  std::string m_strType;
  SInt32 m_s32Index = 0;
  SInt32 m_s32MainSource = 0;   // 0 the subscription, 1 the frame buffer
  SInt32 m_s32AudioSource = 0;  // 2 HDMI audio, 3 stereo, 6 two-channel mix, 7 all channels, 8 multichannel, 9 local
};

// The monitor at an HDMI output.
class CMonitorInputInfo {
 public:
  void ParseJsonInfo(const Json::Value& node, T_ReportFacts* pFacts);

  std::string m_strType;
  SInt32 m_s32Index = 0;
  bool m_bConnected = false;
  std::string m_strEdid;  // 512 hex digits; empty when none was read
};

class CNetWorkInfo {
 public:
  void ParseJsonInfo(const Json::Value& node);

  std::string m_strType;
  SInt32 m_s32Index = 0;
  std::string m_strHostname;
  std::string m_strMode;  // "DHCP" or "STATIC"
  std::string m_strAddr;
  std::string m_strMask;
  std::string m_strGateway;
  std::string m_strMac;  // 12 hex digits
};

// The scaler that makes stream 1.
class CNodesScalerInfo {
 public:
  void ParseJsonInfo(const Json::Value& node, T_ReportFacts* pFacts);

  std::string m_strType;
  SInt32 m_s32Index = 0;
  UInt32 m_u32Width = 0;  // 0 not scaled
  UInt32 m_u32Height = 0;
  SInt32 m_s32Source = 0;  // 0 full rate, 1 through the frame-rate divider
};

class CNodesUartInfo {
 public:
  void ParseJsonInfo(const Json::Value& node);

  SInt32 m_s32BaudRate = 0;
  SInt32 m_s32DataBits = 0;
  SInt32 m_s32StopBits = 0;
  std::string m_strParity;
  std::string m_strUsage;      // "EXPOSED" or "RESERVED"
  std::string m_strLineOrder;  // not in the document: what the last serial settings command said
  std::string m_strReport;     // always empty: a serial port gives the report no text
  std::string m_strType;
  SInt32 m_s32Index = 0;
};

class CNodesUSBHIDInfo {
 public:
  void ParseJsonInfo(const Json::Value& node);

  std::string m_strType;
  SInt32 m_s32Index = 0;
  std::string m_strRole;        // "LOCAL", "REMOTE", "DISABLED"
  std::string m_strHostStatus;  // "CONNECTED", "DISCONNECTED"
};

namespace brntnode {

// The highest index that is read. A hostile document could name any, and each would stay in memory.
constexpr SInt32 kMaxIndex = 31;

// The member under key; a null value, which has no members of its own, when it is absent.
const Json::Value& Child(const Json::Value& object, const char* key);

// The value itself when it is an array, else a null value, which has no elements.
const Json::Value& Elements(const Json::Value& value);

// The text of value without a copy, empty when it is no string; it lives as long as value.
std::string_view Text(const Json::Value& value);

// "type" and "index" of an element of the document; false when one of them is absent or the index is out of range. The
// type lives as long as element.
[[nodiscard]] bool GetTypeAndIndex(const Json::Value& element, std::string_view* pType, SInt32* pIndex);

// The chosen source of the node's input <name>:0; false when the input is not there or has no choice.
[[nodiscard]] bool GetInputSource(const Json::Value& node, std::string_view name, SInt32* pValue);

}  // namespace brntnode
