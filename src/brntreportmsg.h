// The report document that cmd_core gets about a device: what goes in, and how its text is put together.
//
// No locks: each object belongs to the thread that made it. The layout of the text is in docs/reports.md.
#pragma once

#include <json/value.h>

#include <optional>
#include <string>

#include "OSTypes.h"

// Where a decoder sits in a video wall, as reported.
struct VideoWallParam {
  int s_maxRow = 0;
  int s_maxColumn = 0;
  int s_posRow = 0;
  int s_posColumn = 0;
  int s_gapTop = 0;  // the gaps in the unit of the API server's bezels
  int s_gapBottom = 0;
  int s_gapLeft = 0;
  int s_gapRight = 0;
  std::string s_stretchType;  // "Stretch", "Fit", "Fill" or empty
};

// What one HDMI node says to the report, in the report's own words. A value that the last document did not give is not
// there, so nothing lingers from an earlier document.
struct T_HdmiFacts {
  std::optional<std::string> strStatus;
  std::optional<std::string> strResolution;
  std::optional<std::string> strColorSpace;
  std::optional<int> s32BitDepth;
  std::optional<std::string> strHdcp;
  std::optional<std::string> strDynamicRange;
  std::optional<std::string> strSignalType;
  std::optional<int> s32Channels;
  std::optional<int> s32SampleFrequency;
  std::optional<int> s32SampleSize;
  std::optional<std::string> strEncodingType;
  std::optional<std::string> strEdid;
};

// What one outgoing HDMI stream says to the report.
struct T_StreamFacts {
  std::optional<bool> bEnable;
  std::optional<bool> bHalfRate;
  std::optional<int> s32Width;  // stream 1 only; both or neither
  std::optional<int> s32Height;
};

// What one device document says to the report.
struct T_ReportFacts {
  T_HdmiFacts tInput;
  T_HdmiFacts tOutput;
  std::optional<std::string> strHdcpCapability;
  std::optional<std::string> strHdcpMethod;
  std::optional<std::string> strLayout;
  std::optional<VideoWallParam> tVideoWall;
  std::optional<int> s32OutputSource;               // 0 the subscription, 1 the frame buffer
  std::optional<std::string> strFrameBufferTiming;  // reported when the frame buffer is the output's source
  T_StreamFacts tStream0;
  T_StreamFacts tStream1;
  std::optional<bool> bMonitorConnected;  // without it there is no monitor text
  std::optional<std::string> strMonitorEdid;
};

// Collects the values of one report and writes its text. A subtree that no setter touched is left out.
class CreateReportMsg {
 public:
  // Calls the setter of every value that facts holds.
  void SetFacts(const T_ReportFacts& facts);

  void SetInputStatus(const std::string& status);
  void SetInputResolution(const std::string& resolution);
  void SetInputColorSpace(const std::string& colorSpace);
  void SetInputBitDepth(int bits);
  void SetInputHdcpVersion(const std::string& version);
  void SetInputDynamicRange(const std::string& range);
  void SetInputSignalType(const std::string& type);
  void SetInputAudioChannels(int channels);
  void SetInputAudioSampleFrequency(int hertz);
  void SetInputAudioSampleSize(int bits);
  void SetInputAudioEncodingType(const std::string& type);
  void SetInputEdid(const std::string& hexText);

  void SetOutputStatus(const std::string& status);
  void SetOutputResolution(const std::string& resolution);
  void SetOutputColorSpace(const std::string& colorSpace);
  void SetOutputBitDepth(int bits);
  void SetOutputHdcpVersion(const std::string& version);
  void SetOutputDynamicRange(const std::string& range);
  void SetOutputSignalType(const std::string& type);
  void SetOutputAudioChannels(int channels);
  void SetOutputAudioSampleFrequency(int hertz);
  void SetOutputAudioSampleSize(int bits);
  void SetOutputAudioEncodingType(const std::string& type);
  void SetOutputEdid(const std::string& hexText);

  void SetTxHdcpCapability(const std::string& capability);
  void SetRxHdcpMethod(const std::string& method);
  void SetRxScaler(const std::string& scaler);
  void SetRxHdrMethod(const std::string& method);  // the device document has no such value, so nothing calls it yet
  void SetRxLayout(const std::string& layout);
  void SetRxVideoWall(const VideoWallParam* wall);

  void SetTxAvpStream0Enable(bool enable);
  void SetTxAvpStream0HalfFrameRate(bool half);
  void SetTxAvpStream1Enable(bool enable);
  void SetTxAvpStream1HalfFrameRate(bool half);
  void SetTxAvpStream1Res(int width, int height);

  void SetHdmiMonitorJson(const Json::Value& monitor);

  // The report as one line with a newline at the end; "null" and a newline when no setter was called.
  std::string GetReportStr();

  // The monitor's text in the same form; empty before SetHdmiMonitorJson.
  std::string GetHdmiMonitorStr() const;

 private:
  void SetScaler(const T_ReportFacts& facts);
  void SetStreams(const T_StreamFacts& stream0, const T_StreamFacts& stream1);
  void SetMonitor(const T_ReportFacts& facts);
  void PutInput(const char* key, const Json::Value& value);
  void PutOutput(const char* key, const Json::Value& value);
  void PutHdmiout(const char* key, const Json::Value& value);
  void LinkStatus();
  void LinkSettings();
  void LinkStreams();

  Json::Value StatusInputDisplay;
  Json::Value StatusInput;
  Json::Value StatusOutputDisplay;
  Json::Value StatusOutput;
  Json::Value Status;
  Json::Value Settings;
  Json::Value SettingsInput;
  Json::Value SettingsInputStreamsubscription;  // part of the tree; no setter fills it
  Json::Value SettingsInputHdmiin;
  Json::Value SettingsOutput;
  Json::Value SettingsOutputHdmiout;
  Json::Value SettingsOutputHdmioutVideoWall;
  Json::Value SettingsOutputHdmioutSource;  // part of the tree; no setter fills it
  Json::Value SettingsOutputStreamout;
  Json::Value SettingsOutputStreamoutStreams;
  Json::Value SettingsOutputStreamoutStreamsAvpStream0;
  Json::Value SettingsOutputStreamoutStreamsAvpStream1;
  Json::Value m_objHdmiMonitorJson;
  Json::Value root;

  bool m_bInputFlag = false;
  bool m_bOutputFlag = false;
  bool m_bHdmioutFlag = false;
  bool m_bHdmiinFlag = false;
  bool m_bAvpStream0 = false;
  bool m_bAvpStream1 = false;
  bool m_bHdmiMonitor = false;

  std::string m_strReport;  // the last text produced
};
