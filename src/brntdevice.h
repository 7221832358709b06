// The process's picture of the BlueRiver devices: the local AV processor and those of other endpoints.
#pragma once

#include <json/value.h>

#include <array>
#include <atomic>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "OSMutex.h"
#include "OSThreadAnnotations.h"
#include "OSTypes.h"
#include "brntnodeinfo.h"
#include "brntreportmsg.h"

// The video source of an HDMI input; the API server's numbers.
enum E_SRC_TYPE : SInt32 { E_SRC_HDMI = 0, E_SRC_DP = 1, E_SRC_AUTO = 32 };

// The audio source of an HDMI output; the API server's numbers, of which it knows more than have a name here.
enum E_A_SRC_TYPE : SInt32 { E_A_SRC_HDMI = 2, E_A_SRC_ANALOG = 3, E_A_SRC_DMIX = 6 };

struct T_NetWork {
  std::string strMode;
  std::string strAddr;
  std::string strMask;
  std::string strGateway;
};

// One row of the table of output timings.
struct T_TimingMap {
  std::string_view m_strTiming;
  int m_width;
  int m_height;
  int m_fps;  // 0: the text names no rate
};

// What a decoder takes in and how it shows it, for the video wall check.
struct T_VideoWallDetails {
  SInt32 s32Index = 0;  // of the frame buffer
  UInt32 u32Width = 0;  // of the source, as the frame buffer sees it
  UInt32 u32Height = 0;
  UInt32 u32Fps = 0;
  std::string strColorSpace;
  UInt32 u32BitPerPixel = 0;
  std::string strScanMode;
  bool bSourceStable = false;  // what the HDMI output says of its source
  std::string strDisplayMode;  // "WALL_GENLOCKED", "FAST_SWITCHED", ...; empty before the first document
  SInt32 s32DisplayFps = 0;
};

// One device, found by its id (the AV processor's MAC as 12 hex digits).
//
// Any thread. A device is read and written under its own m_objMutex: take what you need by copy and let go. The lock is
// never held while a report is sent, a command runs or another lock is taken. Devices are made by the registry and live
// as long as the process, so a pointer stays valid.
class CBrntDevice {
 public:
  // The device of this id, made and registered when there is none yet; null for "".
  static CBrntDevice* GetBrntDevByID(const std::string& id);

  // The device of this id, or null when the registry does not hold it.
  static CBrntDevice* FindBrntDevByID(const std::string& id);

  // Reads one element of the API server's "devices" array; with report set, sends the three reports that ReportDevice
  // sends. 0, with nothing read or sent, for an empty element and one without "identity".
  virtual Bool16 ParseDevice(const Json::Value& device, bool report) EXCLUDES(m_objMutex);

  // Sends what the last document said: the report as video and again as audio, then the monitor's text (empty when the
  // document had no monitor). Nothing before the first document.
  virtual void ReportDevice() EXCLUDES(m_objMutex);

  // The address that discovery knows for this MAC, of either case; false, with ip left alone, when there is none.
  static bool GetIPfromMac(std::string mac, std::string& ip);

  // The multicast address of a transmitter's stream. kind: 1 video of stream 0, 2 video of stream 1, 4 audio. False,
  // with address left alone, for an id of fewer than five characters.
  static bool GetMultyAddressFromStr(std::string id, std::string& address, int kind);

  // The numbers of an output timing such as "1920x1080p@60". Deliberate: the height comes before the width; callers
  // rely on it. False, with nothing written, for a text that is not in the table.
  static bool GetVideoTimimgRes(std::string timing, int* height, int* width, int* fps);  // (sic)

  // JSON texts of what this device subscribes to, one line each with a newline at the end.
  std::string GetStreamSubscription() EXCLUDES(m_objMutex);
  std::string GetStreamSubscriptionIR() EXCLUDES(m_objMutex);
  std::string GetStreamSubscriptionSerial() EXCLUDES(m_objMutex);
  std::string GetStreamSubscriptionHID() EXCLUDES(m_objMutex);
  std::string GetStreamSubscriptionALL() EXCLUDES(m_objMutex);
  std::string GetVideoInputInfo() EXCLUDES(m_objMutex);

  // The firmware package that the API server offers; the getter is false, with nothing written, while none is known.
  void SetUpgradeFilenameAndCmdFlag(std::string name, bool supportsProduction) EXCLUDES(m_objMutex);
  bool GetUpgradeFilenameAndCmdFlag(std::string& name, bool& supportsProduction) EXCLUDES(m_objMutex);
  void SetUpgradeFinishFlag(bool finished) { m_upgradefinish = finished; }
  bool GetUpgradeFinishFlag() const { return m_upgradefinish; }
  std::string GetBootStatus() EXCLUDES(m_objMutex);

  // Copies for readers.
  T_VideoWallDetails GetVideoWallDetails() EXCLUDES(m_objMutex);
  bool GetStream(const std::string& type, SInt32 index, CStreamInfo* pInfo) EXCLUDES(m_objMutex);
  bool GetSubscription(const std::string& type, SInt32 index, CStreamInfo* pInfo) EXCLUDES(m_objMutex);
  CNodesUartInfo GetUartInfo() EXCLUDES(m_objMutex);  // UART:0

  // What a serial settings command said; the device document does not hold it.
  void SetLineOrder(const std::string& lineOrder) EXCLUDES(m_objMutex);

  // The sources that the multiview layout shows: transmitter id to receiver id. Set replaces all of them.
  static void SetMVSources(std::map<std::string, std::string> sources) EXCLUDES(s_objMapMutex);
  static std::map<std::string, std::string> GetMVSources() EXCLUDES(s_objMapMutex);

  CBrntDevice(const CBrntDevice&) = delete;
  CBrntDevice& operator=(const CBrntDevice&) = delete;

  OSMutex m_objMutex;

  const std::string m_strDevID;
  std::string m_firmware_version GUARDED_BY(m_objMutex);  // the build name, which an upgrade compares
  std::string m_avpdeviceid GUARDED_BY(m_objMutex);       // the transmitter whose video this receiver takes
  std::string m_h264deviceid GUARDED_BY(m_objMutex);
  std::string m_RxIRDeviceid GUARDED_BY(m_objMutex);
  std::string m_RxSerialDeviceid GUARDED_BY(m_objMutex);
  std::string m_RxHIDDeviceid GUARDED_BY(m_objMutex);
  std::string m_TxHdcpCapability GUARDED_BY(m_objMutex);  // "Unsupport", "HDCP 1.x", "HDCP 2.x"
  std::string m_RxHdcpMode GUARDED_BY(m_objMutex);        // "Follow Sink", "Follow Source"
  std::string m_RxScaler GUARDED_BY(m_objMutex);
  bool m_supportproduction GUARDED_BY(m_objMutex) = false;
  std::string m_upgradefilename GUARDED_BY(m_objMutex);
  std::atomic<bool> m_upgradefinish{false};
  bool m_Active GUARDED_BY(m_objMutex) = false;
  bool m_PToP GUARDED_BY(m_objMutex) = false;
  std::string m_strBootStatus GUARDED_BY(m_objMutex);  // "PRIMARY", or another image
  std::string m_strDevName GUARDED_BY(m_objMutex);
  std::string m_strDevType GUARDED_BY(m_objMutex);
  std::string m_strAliasName GUARDED_BY(m_objMutex);
  std::string m_strVersion GUARDED_BY(m_objMutex);
  std::string m_strTxID4RxVideo GUARDED_BY(m_objMutex);
  std::string m_strTxID4RxUSB GUARDED_BY(m_objMutex);
  std::string m_strTxID4RxUSBHID GUARDED_BY(m_objMutex);
  std::string m_strTxID4RxAudio GUARDED_BY(m_objMutex);
  std::string m_strTxID4RxAudio2 GUARDED_BY(m_objMutex);
  std::string m_strSrcID4RS232 GUARDED_BY(m_objMutex);
  std::string m_strSrcID4IR GUARDED_BY(m_objMutex);
  std::string m_strDstID4Serial2 GUARDED_BY(m_objMutex);
  std::string m_strDstID4IR2 GUARDED_BY(m_objMutex);
  std::atomic<Bool16> m_bRx{
      0};  // the roles; start-up sets those of the local device, the document does not change them
  std::atomic<Bool16> m_bTx{0};
  std::atomic<Bool16> m_bTRx{0};
  Bool16 m_bActive GUARDED_BY(m_objMutex) = 0;
  Bool16 m_bConnected GUARDED_BY(m_objMutex) = 0;
  Bool16 m_bNeedGetDev GUARDED_BY(m_objMutex) = 0;
  SInt32 m_s32Temperature GUARDED_BY(m_objMutex) = 0;  // degrees Celsius
  E_SRC_TYPE m_eSrcType GUARDED_BY(m_objMutex) = E_SRC_HDMI;
  T_NetWork m_tNetWork GUARDED_BY(m_objMutex);
  Bool16 m_b16SourceStable GUARDED_BY(m_objMutex) = 0;
  std::string m_strSupMCU GUARDED_BY(m_objMutex);
  std::string m_strDeviceMode GUARDED_BY(m_objMutex);  // "TRANSMITTER", "RECEIVER", "TRANSCEIVER" or empty
  E_A_SRC_TYPE m_eAudioSrcType GUARDED_BY(m_objMutex) = E_A_SRC_HDMI;
  E_A_SRC_TYPE m_eAudio2SrcType GUARDED_BY(m_objMutex) = E_A_SRC_HDMI;
  std::string m_strEDID GUARDED_BY(m_objMutex);                // of the HDMI input, hex digits
  CFrameBuffer m_ModesFrameBufferInfo GUARDED_BY(m_objMutex);  // FRAME_BUFFER:0

  // Devices by the kind of traffic whose association, or whose start, is still to be done.
  using DeviceSet = std::set<CBrntDevice*>;
  inline static OSMutex& s_objMapMutex = *new OSMutex;  // this and all below outlive main: threads still use them
  inline static DeviceSet& s_setDev2DoMatrix GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoMatrixVideo GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoMatrixUSB GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoMatrixUSBHID GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoMatrixAudio GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoMatrixAudio2 GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoMatrixIR2 GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoMatrixSerial2 GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoVideoStart GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoUSBStart GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoUSBHIDStart GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoAudioStart GUARDED_BY(s_objMapMutex) = *new DeviceSet;
  inline static DeviceSet& s_setDev2DoAudio2Start GUARDED_BY(s_objMapMutex) = *new DeviceSet;

  static constexpr std::array<T_TimingMap, 18> s_timingMap = {{
      {"1280x720", 1280, 720, 0},
      {"1920x1080", 1920, 1080, 0},
      {"3840x2160", 3840, 2160, 0},
      {"1280x720p@24", 1280, 720, 24},
      {"1280x720p@25", 1280, 720, 25},
      {"1280x720p@30", 1280, 720, 30},
      {"1280x720p@50", 1280, 720, 50},
      {"1280x720p@60", 1280, 720, 60},
      {"1920x1080p@24", 1920, 1080, 24},
      {"1920x1080p@25", 1920, 1080, 25},
      {"1920x1080p@30", 1920, 1080, 30},
      {"1920x1080p@50", 1920, 1080, 50},
      {"1920x1080p@60", 1920, 1080, 60},
      {"3840x2160p@24", 3840, 2160, 24},
      {"3840x2160p@25", 3840, 2160, 25},
      {"3840x2160p@30", 3840, 2160, 30},
      {"3840x2160p@50", 3840, 2160, 50},
      {"3840x2160p@60", 3840, 2160, 60},
  }};

 protected:
  virtual ~CBrntDevice() = default;

 private:
  explicit CBrntDevice(const std::string& id) : m_strDevID(id) {}

  // The records of one kind by index, at most 32 of them.
  template <class Record>
  using Records = std::map<SInt32, Record>;

  static constexpr std::array<std::string_view, 5> kStreamTypes = {"HDMI", "HDMI_AUDIO", "RS232", "CEC", "USB_HID"};
  static constexpr std::array<std::string_view, 3> kSubscriptionTypes = {"HDMI", "RS232", "USB_HID"};

  void ParseMembers(const Json::Value& device) EXCLUDES(m_objMutex);
  void ParseIdentity(const Json::Value& identity) REQUIRES(m_objMutex);
  void ParseConfiguration(const Json::Value& configuration) REQUIRES(m_objMutex);
  void ParseStatus(const Json::Value& status) REQUIRES(m_objMutex);
  void ParseStreams(const Json::Value& streams) REQUIRES(m_objMutex);
  void ParseSubscriptions(const Json::Value& subscriptions) REQUIRES(m_objMutex);
  void ParseNodes(const Json::Value& nodes) REQUIRES(m_objMutex);
  void ParseFrameBuffer(const Json::Value& node, SInt32 index) REQUIRES(m_objMutex);
  void ParseHDMIDecoder(const Json::Value& node, SInt32 index) REQUIRES(m_objMutex);
  void ParseHDMIEncoder(const Json::Value& node, SInt32 index) REQUIRES(m_objMutex);
  void ParseHDMIMonitor(const Json::Value& node, SInt32 index) REQUIRES(m_objMutex);
  void ParseNetWork(const Json::Value& node, SInt32 index) REQUIRES(m_objMutex);
  void ParseNodeScaler(const Json::Value& node, SInt32 index) REQUIRES(m_objMutex);
  void ParseNodeRS232(const Json::Value& node, SInt32 index) REQUIRES(m_objMutex);
  void ParseNodeUsbHid(const Json::Value& node, SInt32 index) REQUIRES(m_objMutex);
  T_ReportFacts* FactsOf(SInt32 index) REQUIRES(m_objMutex);  // null but for index 0, the one that is reported

  bool m_bParsed GUARDED_BY(m_objMutex) = false;  // a document has been read
  T_ReportFacts m_tFacts GUARDED_BY(m_objMutex);  // of the last document
  std::array<Records<CStreamInfo>, kStreamTypes.size()> m_aStreams GUARDED_BY(m_objMutex);
  std::array<Records<CStreamInfo>, kSubscriptionTypes.size()> m_aSubscriptions GUARDED_BY(m_objMutex);
  Records<CFrameBuffer> m_mapFrameBuffer GUARDED_BY(m_objMutex);  // all but index 0
  Records<CHdmiInfo> m_mapInputInfo GUARDED_BY(m_objMutex);
  Records<CHDMITiming> m_mapInputTiming GUARDED_BY(m_objMutex);
  Records<CHdmiInfo> m_mapOutputInfo GUARDED_BY(m_objMutex);
  Records<CHDMITiming> m_mapOutputTiming GUARDED_BY(m_objMutex);
  Records<CEncoderInputInfo> m_mapEncoderInput GUARDED_BY(m_objMutex);
  Records<CMonitorInputInfo> m_mapMonitor GUARDED_BY(m_objMutex);
  Records<CNetWorkInfo> m_mapNetWork GUARDED_BY(m_objMutex);
  Records<CNodesScalerInfo> m_mapScaler GUARDED_BY(m_objMutex);
  Records<CNodesUartInfo> m_mapUart GUARDED_BY(m_objMutex);
  Records<CNodesUSBHIDInfo> m_mapUsbHid GUARDED_BY(m_objMutex);

  // Never emptied: an id enters when cmd_core or the API server, both on this endpoint, name a device.
  inline static std::map<std::string, CBrntDevice*>& s_mapID2Dev GUARDED_BY(s_objMapMutex) =
      *new std::map<std::string, CBrntDevice*>;
  inline static std::map<std::string, std::string>& s_mapTXID2RXIDInMV GUARDED_BY(s_objMapMutex) =
      *new std::map<std::string, std::string>;
};
