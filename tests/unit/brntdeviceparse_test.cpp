#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "brntdevice.h"
#include "devicedocs.h"
#include "reportcapture.h"

namespace {

using devicedocs::At;
using devicedocs::Find;
using devicedocs::FromText;
using devicedocs::Remove;
using devicedocs::Sample;

// The samples, and the one with a wall that none of them has.
Json::Value Document(const std::string& name) {
  if (name != "wall") return Sample(name);
  Json::Value document = Sample("device-rx");
  Json::Value& configuration = At(document, "nodes[FRAME_BUFFER:0].configuration");
  configuration["display_mode"] = "WALL_FAST_SWITCHED";
  configuration["has_auto_wall_details"] = true;
  configuration["auto_wall_details"] = FromText(
      R"({"grid_width":3,"grid_height":2,"grid_index_horiz":1,"grid_index_vert":0,"bezel_horiz":8,"bezel_vert":6})");
  return document;
}

class DeviceParsing : public testing::Test {
 protected:
  static CBrntDevice* NewDevice() {
    static int s_count = 0;
    return CBrntDevice::GetBrntDevByID("parse-test-" + std::to_string(++s_count));
  }

  Bool16 Parse(const Json::Value& document, bool report = true) { return m_device->ParseDevice(document, report); }

  // The text of the first of the reports that were sent.
  std::string Report() {
    const std::vector<T_Report> reports = m_capture.Take();
    return reports.empty() ? "nothing sent" : reports[0].text;
  }

  CReportCapture m_capture;
  CBrntDevice* m_device = NewDevice();
};

// ---- what is refused ----

TEST_F(DeviceParsing, AnEmptyElementIsRefusedInSilence) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Parse(Json::Value()), 0);
  EXPECT_EQ(Parse(FromText("{}")), 0);
  EXPECT_EQ(Parse(FromText("[]")), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(m_capture.Take().empty());
}

class DeviceWithoutIdentity : public DeviceParsing, public testing::WithParamInterface<const char*> {};

TEST_P(DeviceWithoutIdentity, IsRefusedInRedAndChangesNothing) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Parse(FromText(GetParam())), 0);
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(printed.rfind("\033[40;31m [", 0), 0u) << printed;
  EXPECT_NE(printed.find("brntdeviceparse.cpp:ParseDevice:"), std::string::npos) << printed;
  EXPECT_NE(printed.find("]: Not Found [identity] \033[0m \n"), std::string::npos) << printed;
  EXPECT_TRUE(m_capture.Take().empty());
  OSMutexLocker lock(m_device->m_objMutex);
  EXPECT_EQ(m_device->m_strDevName, "");
}

INSTANTIATE_TEST_SUITE_P(All, DeviceWithoutIdentity,
                         testing::Values(R"({"configuration":{"device_name":"x"}})",
                                         R"({"identity":null,"configuration":{"device_name":"x"}})",
                                         R"({"identity":{},"configuration":{"device_name":"x"}})",
                                         R"({"identity":"text","configuration":{"device_name":"x"}})",
                                         R"({"identity":[1],"configuration":{"device_name":"x"}})",
                                         R"({"identity":5,"configuration":{"device_name":"x"}})", "5", "[1]",
                                         "\"text\""));

TEST_F(DeviceParsing, ARefusedElementLeavesWhatWasReadBefore) {
  ASSERT_EQ(Parse(Sample("device-tx")), 1);
  const std::string before = Report();
  testing::internal::CaptureStderr();
  EXPECT_EQ(Parse(FromText(R"({"status":{"active":false}})")), 0);
  testing::internal::GetCapturedStderr();
  m_device->ReportDevice();
  EXPECT_EQ(Report(), before);
}

TEST_F(DeviceParsing, AnIdentityAloneIsADocument) {
  EXPECT_EQ(Parse(FromText(R"({"identity":{"firmware_comment":"B1"}})")), 1);
  EXPECT_EQ(Report(), "null\n");
  OSMutexLocker lock(m_device->m_objMutex);
  EXPECT_EQ(m_device->m_firmware_version, "B1");
}

// ---- what is sent ----

TEST_F(DeviceParsing, SendsTheReportAsVideoAndDeliberatelyAgainAsAudioThenTheMonitor) {
  ASSERT_EQ(Parse(Sample("device-rx")), 1);
  const std::vector<T_Report> reports = m_capture.Take();
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[0].name, "video");
  EXPECT_EQ(reports[1].name, "audio");
  EXPECT_EQ(reports[2].name, "monitor");
  EXPECT_EQ(reports[0].text, reports[1].text);
  EXPECT_TRUE(reports[0].json.isMember("status"));
  EXPECT_TRUE(reports[2].json.isMember("connected"));
}

TEST_F(DeviceParsing, WithoutTheFlagSendsNothing) {
  ASSERT_EQ(Parse(Sample("device-rx"), false), 1);
  EXPECT_TRUE(m_capture.Take().empty());
}

TEST_F(DeviceParsing, ReportDeviceSendsTheSameAfterwards) {
  for (const char* name : {"device-tx", "device-rx", "device-trx", "device-tx-nosignal", "wall"}) {
    ASSERT_EQ(Parse(Document(name), true), 1);
    const std::vector<T_Report> atOnce = m_capture.Take();
    ASSERT_EQ(Parse(Document(name), false), 1);
    m_device->ReportDevice();
    const std::vector<T_Report> later = m_capture.Take();
    ASSERT_EQ(later.size(), 3u);
    for (size_t i = 0; i < later.size(); ++i) EXPECT_EQ(later[i].raw, atOnce[i].raw) << name;
  }
}

TEST_F(DeviceParsing, ReportDeviceSaysNothingBeforeTheFirstDocument) {
  m_device->ReportDevice();
  EXPECT_TRUE(m_capture.Take().empty());
}

TEST_F(DeviceParsing, TheSameDocumentTwiceGivesTheSameReport) {
  ASSERT_EQ(Parse(Sample("device-trx")), 1);
  const std::string first = Report();
  ASSERT_EQ(Parse(Sample("device-trx")), 1);
  EXPECT_EQ(Report(), first);
}

TEST_F(DeviceParsing, NothingOfAnotherDocumentLingers) {
  ASSERT_EQ(Parse(Sample("device-rx")), 1);
  const std::string alone = Report();
  ASSERT_EQ(Parse(Sample("device-tx")), 1);
  ASSERT_EQ(Parse(Document("wall")), 1);
  m_capture.Take();
  ASSERT_EQ(Parse(Sample("device-rx")), 1);
  EXPECT_EQ(Report(), alone);
}

TEST_F(DeviceParsing, WithoutAMonitorTheMonitorReportIsEmpty) {
  Json::Value document = Sample("device-rx");
  ASSERT_EQ(Parse(document), 1);
  m_capture.Take();
  Remove(document, "nodes[HDMI_MONITOR:0]");
  ASSERT_EQ(Parse(document), 1);
  const std::vector<T_Report> reports = m_capture.Take();
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[2].name, "monitor");
  EXPECT_EQ(reports[2].text, "");
}

// ---- each field of the report ----

struct T_ReportRow {
  const char* name;
  const char* document;
  const char* field;     // in the document
  const char* reported;  // in the report
  const char* value;     // as JSON
};

class ReportedField : public DeviceParsing, public testing::WithParamInterface<T_ReportRow> {
 protected:
  // The reported value as JSON text; empty when the report does not say it.
  std::string Reported() {
    const Json::Value report = FromText(Report());
    const Json::Value* value = Find(report, GetParam().reported);
    return value == nullptr ? "" : value->toStyledString();
  }

  // What the report says once the field is as edit makes it.
  std::string ReportedAfter(const std::function<void(Json::Value&)>& edit) {
    Json::Value document = Document(GetParam().document);
    Parse(document);
    m_capture.Take();
    edit(document);
    EXPECT_EQ(Parse(document), 1);
    return Reported();
  }
};

TEST_P(ReportedField, SaysWhatTheDocumentSays) {
  ASSERT_EQ(Parse(Document(GetParam().document)), 1);
  EXPECT_EQ(Reported(), FromText(GetParam().value).toStyledString());
}

TEST_P(ReportedField, IsLeftOutWhenItDisappears) {
  EXPECT_EQ(ReportedAfter([](Json::Value& document) { Remove(document, GetParam().field); }), "");
}

TEST_P(ReportedField, IsLeftOutWhenItIsNull) {
  EXPECT_EQ(ReportedAfter([](Json::Value& document) { At(document, GetParam().field) = Json::Value(); }), "");
}

TEST_P(ReportedField, IsLeftOutWhenItIsOfAnotherType) {
  for (const char* wrong : {"[]", "{}", "[1]", "1.5", "99999999999"}) {
    EXPECT_EQ(ReportedAfter([&](Json::Value& document) { At(document, GetParam().field) = FromText(wrong); }), "")
        << wrong;
  }
}

TEST_P(ReportedField, IsLeftOutOnAnotherIndex) {
  const std::string field = GetParam().field;
  const std::string element = field.substr(0, field.find(']') + 1);
  EXPECT_EQ(ReportedAfter([&](Json::Value& document) { At(document, element)["index"] = 5; }), "");
}

#define INPUT_STATUS(name, field, reported, value) \
  T_ReportRow { name, "device-tx", "nodes[HDMI_DECODER:0].status." field, "status.input." reported, value }
#define OUTPUT_STATUS(name, field, reported, value) \
  T_ReportRow { name, "device-rx", "nodes[HDMI_ENCODER:0].status." field, "status.output." reported, value }
#define STREAM_OUT "settings.output.streamOut.streams."
#define HDMI_OUT "settings.output.hdmiOut."
#define WALL "nodes[FRAME_BUFFER:0].configuration.auto_wall_details."

const std::vector<T_ReportRow> kReportRows = {
    {"Stream0Enable", "device-tx", "streams[HDMI:0].configuration.enable", STREAM_OUT "avpStream0.enable", "true"},
    {"Stream0HalfRate", "device-trx", "streams[HDMI:0].configuration.source.value",
     STREAM_OUT "avpStream0.halfFrameRate", "true"},
    {"Stream1Enable", "device-trx", "streams[HDMI:1].configuration.enable", STREAM_OUT "avpStream1.enable", "false"},
    {"Stream1Width", "device-tx", "nodes[SCALER:0].configuration.width", STREAM_OUT "avpStream1.width", "1280"},
    {"Stream1Height", "device-tx", "nodes[SCALER:0].configuration.height", STREAM_OUT "avpStream1.height", "720"},
    {"Stream1HalfRate", "device-tx", "nodes[SCALER:0].inputs[main:0].configuration.source.value",
     STREAM_OUT "avpStream1.halfRefreshRate", "true"},
    INPUT_STATUS("InputStatus", "source_stable", "status", "\"Stable\""),
    INPUT_STATUS("InputWidth", "video.width", "resolution", "\"3840x2160p@60Hz\""),
    INPUT_STATUS("InputHeight", "video.height", "resolution", "\"3840x2160p@60Hz\""),
    INPUT_STATUS("InputRate", "video.frames_per_second", "resolution", "\"3840x2160p@60Hz\""),
    INPUT_STATUS("InputColorSpace", "video.color_space", "colorSpace", "\"YUV444\""),
    INPUT_STATUS("InputBitDepth", "video.bits_per_pixel", "bitDepth", "8"),
    INPUT_STATUS("InputHdcp", "hdcp_version", "hdcp", "\"HDCP 2.x\""),
    INPUT_STATUS("InputDynamicRange", "video_details.hdr", "dynamicRange", "\"HDR10\""),
    INPUT_STATUS("InputSignalType", "hdmi_2_0_support", "signalType", "\"HDMI 2.0\""),
    INPUT_STATUS("InputChannels", "audio_details.number_of_channels", "channels", "2"),
    INPUT_STATUS("InputSampleFrequency", "audio_details.sampling_frequency", "sampleFrequency", "48000"),
    INPUT_STATUS("InputSampleSize", "audio_details_extended.sample_size", "sampleSize", "24"),
    INPUT_STATUS("InputEncodingType", "audio_details_extended.audio_encoding_type", "encodingType", "\"LPCM\""),
    {"HdcpSupport", "device-tx", "nodes[HDMI_DECODER:0].configuration.hdcp_support_enable",
     "settings.input.hdmiIn.hdcpCapability", "\"HDCP 2.x\""},
    {"Hdcp22Support", "device-trx", "nodes[HDMI_DECODER:0].configuration.hdcp_22_support_disable",
     "settings.input.hdmiIn.hdcpCapability", "\"HDCP 1.x\""},
    OUTPUT_STATUS("OutputStatus", "source_stable", "status", "\"Stable\""),
    OUTPUT_STATUS("OutputWidth", "video.width", "resolution", "\"1920x1080p@60Hz\""),
    OUTPUT_STATUS("OutputHeight", "video.height", "resolution", "\"1920x1080p@60Hz\""),
    OUTPUT_STATUS("OutputRate", "video.frames_per_second", "resolution", "\"1920x1080p@60Hz\""),
    OUTPUT_STATUS("OutputColorSpace", "video.color_space", "colorSpace", "\"RGB\""),
    OUTPUT_STATUS("OutputBitDepth", "video.bits_per_pixel", "bitDepth", "8"),
    OUTPUT_STATUS("OutputHdcp", "hdcp_version", "hdcp", "\"None\""),
    OUTPUT_STATUS("OutputDynamicRange", "video_details.hdr", "dynamicRange", "\"SDR\""),
    OUTPUT_STATUS("OutputSignalType", "hdmi_2_0_support", "signalType", "\"HDMI 2.0\""),
    OUTPUT_STATUS("OutputChannels", "audio_details.number_of_channels", "channels", "2"),
    OUTPUT_STATUS("OutputSampleFrequency", "audio_details.sampling_frequency", "sampleFrequency", "48000"),
    OUTPUT_STATUS("OutputSampleSize", "audio_details_extended.sample_size", "sampleSize", "0"),
    OUTPUT_STATUS("OutputEncodingType", "audio_details_extended.audio_encoding_type", "encodingType", "\"LPCM\""),
    {"HdcpMethod", "device-trx", "nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode", HDMI_OUT "hdcpMethod",
     "\"Follow Source\""},
    {"ScalerBypass", "device-trx", "nodes[HDMI_ENCODER:0].inputs[main:0].configuration.source.value", HDMI_OUT "scaler",
     "\"bypass\""},
    {"ScalerSource", "device-rx", "nodes[HDMI_ENCODER:0].inputs[main:0].configuration.source.value", HDMI_OUT "scaler",
     "\"1920x1080p@60\""},
    {"ScalerWidth", "device-rx", "nodes[FRAME_BUFFER:0].configuration.width", HDMI_OUT "scaler", "\"1920x1080p@60\""},
    {"ScalerHeight", "device-rx", "nodes[FRAME_BUFFER:0].configuration.height", HDMI_OUT "scaler", "\"1920x1080p@60\""},
    {"ScalerRate", "device-rx", "nodes[FRAME_BUFFER:0].configuration.frames_per_second", HDMI_OUT "scaler",
     "\"1920x1080p@60\""},
    {"Layout", "wall", "nodes[FRAME_BUFFER:0].configuration.display_mode", HDMI_OUT "layout", "\"videoWall\""},
    {"WallFlag", "wall", "nodes[FRAME_BUFFER:0].configuration.has_auto_wall_details", HDMI_OUT "videoWall.maxRow", "2"},
    {"WallDetails", "wall", "nodes[FRAME_BUFFER:0].configuration.auto_wall_details", HDMI_OUT "videoWall.maxRow", "2"},
    {"WallRows", "wall", WALL "grid_height", HDMI_OUT "videoWall.maxRow", "2"},
    {"WallColumns", "wall", WALL "grid_width", HDMI_OUT "videoWall.maxColumn", "3"},
    {"WallRow", "wall", WALL "grid_index_vert", HDMI_OUT "videoWall.posRow", "0"},
    {"WallColumn", "wall", WALL "grid_index_horiz", HDMI_OUT "videoWall.posColumn", "1"},
    {"WallTop", "wall", WALL "bezel_vert", HDMI_OUT "videoWall.gapTop", "6"},
    {"WallBottom", "wall", WALL "bezel_vert", HDMI_OUT "videoWall.gapBottom", "6"},
    {"WallLeft", "wall", WALL "bezel_horiz", HDMI_OUT "videoWall.gapLeft", "8"},
    {"WallRight", "wall", WALL "bezel_horiz", HDMI_OUT "videoWall.gapRight", "8"},
};

INSTANTIATE_TEST_SUITE_P(All, ReportedField, testing::ValuesIn(kReportRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(DeviceParsing, ReportsTheEdidsOfInputAndMonitor) {
  Json::Value document = Sample("device-trx");
  At(document, "nodes[HDMI_DECODER:0].configuration.edid") = "00aa";
  At(document, "nodes[HDMI_MONITOR:0].status.edid") = "00bb";
  ASSERT_EQ(Parse(document), 1);
  const std::vector<T_Report> reports = m_capture.Take();
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(Find(reports[0].json, "status.input.display.edid")->asString(), "00aa");
  EXPECT_EQ(Find(reports[0].json, "status.output.display.edid")->asString(), "00bb");
  EXPECT_EQ(reports[2].text, "{\"connected\":true,\"edid\":\"00bb\"}\n");
}

TEST_F(DeviceParsing, AnEmptyEdidIsNotReportedAndKeepsTheLastOne) {
  Json::Value document = Sample("device-tx");
  At(document, "nodes[HDMI_DECODER:0].configuration.edid") = "00aa";
  ASSERT_EQ(Parse(document), 1);
  m_capture.Take();
  At(document, "nodes[HDMI_DECODER:0].configuration.edid") = "";
  ASSERT_EQ(Parse(document), 1);
  EXPECT_EQ(Find(FromText(Report()), "status.input.display"), nullptr);
  OSMutexLocker lock(m_device->m_objMutex);
  EXPECT_EQ(m_device->m_strEDID, "00aa");
}

TEST_F(DeviceParsing, AnUnstableInputStillSaysItsConfiguration) {
  Json::Value document = Sample("device-tx");
  At(document, "nodes[HDMI_DECODER:0].status.source_stable") = false;
  ASSERT_EQ(Parse(document), 1);
  const Json::Value report = FromText(Report());
  EXPECT_EQ(Find(report, "status.input")->getMemberNames(), (std::vector<std::string>{"display", "status"}));
  EXPECT_EQ(Find(report, "settings.input.hdmiIn.hdcpCapability")->asString(), "HDCP 2.x");
}

TEST_F(DeviceParsing, AnUnstableOutputStillSaysItsConfigurationAndMonitor) {
  Json::Value document = Sample("device-rx");
  At(document, "nodes[HDMI_ENCODER:0].status.source_stable") = false;
  ASSERT_EQ(Parse(document), 1);
  const Json::Value report = FromText(Report());
  EXPECT_EQ(Find(report, "status.output")->getMemberNames(), (std::vector<std::string>{"display", "status"}));
  EXPECT_EQ(Find(report, "settings.output.hdmiOut.scaler")->asString(), "1920x1080p@60");
  EXPECT_EQ(Find(report, "settings.output.hdmiOut.hdcpMethod")->asString(), "Follow Sink");
}

TEST_F(DeviceParsing, NodesMayComeInAnyOrder) {
  Json::Value document = Sample("device-rx");
  ASSERT_EQ(Parse(document), 1);
  const std::string inOrder = Report();
  Json::Value reversed(Json::arrayValue);
  for (Json::ArrayIndex i = document["nodes"].size(); i > 0; --i) reversed.append(document["nodes"][i - 1]);
  document["nodes"] = reversed;
  ASSERT_EQ(Parse(document), 1);
  EXPECT_EQ(Report(), inOrder);
}

TEST_F(DeviceParsing, OfTwoNodesWithTheSameIndexTheLastOneCounts) {
  Json::Value document = Sample("device-tx");
  Json::Value second = At(document, "nodes[HDMI_DECODER:0]");
  second["status"]["video"]["width"] = 1280;
  second["status"]["hdmi_2_0_support"] = false;
  second["status"].removeMember("hdcp_version");
  document["nodes"].append(second);
  ASSERT_EQ(Parse(document), 1);
  const Json::Value report = FromText(Report());
  EXPECT_EQ(Find(report, "status.input.resolution")->asString(), "1280x2160p@60Hz");
  EXPECT_EQ(Find(report, "status.input.signalType")->asString(), "HDMI 1.4");
  EXPECT_EQ(Find(report, "status.input.hdcp")->asString(), "HDCP 2.x");
}

// ---- each member of the device ----

struct T_MemberRow {
  const char* name;
  const char* document;
  const char* field;
  Json::Value value;  // what the field is set to
  std::function<Json::Value(CBrntDevice&)> member;
  Json::Value expected;
};

class DeviceMember : public DeviceParsing, public testing::WithParamInterface<T_MemberRow> {
 protected:
  Json::Value Member() {
    OSMutexLocker lock(m_device->m_objMutex);
    return GetParam().member(*m_device);
  }

  Json::Value Edited() {
    Json::Value document = Document(GetParam().document);
    At(document, GetParam().field) = GetParam().value;
    return document;
  }
};

TEST_P(DeviceMember, IsFilledWithAndWithoutAReport) {
  for (const bool report : {false, true}) {
    m_device = NewDevice();
    ASSERT_EQ(Parse(Edited(), report), 1);
    EXPECT_EQ(Member(), GetParam().expected);
  }
}

TEST_P(DeviceMember, StaysWhenTheFieldIsAbsentNullOrOfAnotherType) {
  ASSERT_EQ(Parse(Edited()), 1);
  Json::Value document = Edited();
  for (const char* wrong : {"null", "[]", "{}", "[1]", "1.5", "99999999999"}) {
    At(document, GetParam().field) = FromText(wrong);
    ASSERT_EQ(Parse(document), 1);
    EXPECT_EQ(Member(), GetParam().expected) << wrong;
  }
  Remove(document, GetParam().field);
  ASSERT_EQ(Parse(document), 1);
  EXPECT_EQ(Member(), GetParam().expected);
}

Json::Value Flag(Bool16 flag) { return static_cast<int>(flag); }

Json::Value StreamText(CBrntDevice& device, const char* type, SInt32 index) {
  CStreamInfo info;
  return device.GetStream(type, index, &info) ? info.m_strType + "|" + info.m_ConfAddress : "none";
}

Json::Value SubscriptionText(CBrntDevice& device, const char* type, SInt32 index) {
  CStreamInfo info;
  return device.GetSubscription(type, index, &info) ? info.m_strType + "|" + info.m_ConfAddress : "none";
}

#define FRAME_BUFFER "nodes[FRAME_BUFFER:0]."
#define NETWORK "nodes[NETWORK_INTERFACE:0]."

const std::vector<T_MemberRow> kMemberRows = {
    {"FirmwareComment", "device-tx", "identity.firmware_comment", "B7",
     [](CBrntDevice& d) -> Json::Value { return d.m_firmware_version; }, "B7"},
    {"FirmwareVersion", "device-tx", "identity.firmware_version", "9.8",
     [](CBrntDevice& d) -> Json::Value { return d.m_strVersion; }, "9.8"},
    {"DeviceName", "device-tx", "configuration.device_name", "Hall",
     [](CBrntDevice& d) -> Json::Value { return d.m_strDevName; }, "Hall"},
    {"DeviceMode", "device-tx", "configuration.device_mode", "RECEIVER",
     [](CBrntDevice& d) -> Json::Value { return d.m_strDeviceMode; }, "RECEIVER"},
    {"Active", "device-tx", "status.active", true, [](CBrntDevice& d) -> Json::Value { return d.m_Active; }, true},
    {"ActiveFlag", "device-tx", "status.active", true, [](CBrntDevice& d) { return Flag(d.m_bActive); }, 1},
    {"PointToPoint", "device-tx", "status.point_to_point", true, [](CBrntDevice& d) -> Json::Value { return d.m_PToP; },
     true},
    {"BootStatus", "device-tx", "status.boot_status", "GOLDEN",
     [](CBrntDevice& d) -> Json::Value { return d.GetBootStatus(); }, "GOLDEN"},
    {"Temperature", "device-tx", "status.temperature", -4,
     [](CBrntDevice& d) -> Json::Value { return d.m_s32Temperature; }, -4},
    {"InputStable", "device-tx", "nodes[HDMI_DECODER:0].status.source_stable", true,
     [](CBrntDevice& d) { return Flag(d.m_b16SourceStable); }, 1},
    {"InputEdid", "device-tx", "nodes[HDMI_DECODER:0].configuration.edid", "00ff",
     [](CBrntDevice& d) -> Json::Value { return d.m_strEDID; }, "00ff"},
    {"HdcpCapability", "device-trx", "nodes[HDMI_DECODER:0].configuration.hdcp_support_enable", false,
     [](CBrntDevice& d) -> Json::Value { return d.m_TxHdcpCapability; }, "Unsupport"},
    {"InputSource", "device-tx", "nodes[HDMI_DECODER:0].inputs[main:0].configuration.source.value", 32,
     [](CBrntDevice& d) -> Json::Value { return d.m_eSrcType == E_SRC_AUTO; }, true},
    {"HdcpMode", "device-rx", "nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode", "FOLLOW_SOURCE",
     [](CBrntDevice& d) -> Json::Value { return d.m_RxHdcpMode; }, "Follow Source"},
    {"AudioSource", "device-rx", "nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value", 6,
     [](CBrntDevice& d) -> Json::Value { return d.m_eAudioSrcType == E_A_SRC_DMIX; }, true},
    {"DisplayMode", "device-rx", FRAME_BUFFER "configuration.display_mode", "WALL_GENLOCKED",
     [](CBrntDevice& d) -> Json::Value { return d.GetVideoWallDetails().strDisplayMode; }, "WALL_GENLOCKED"},
    {"DisplayWidth", "device-rx", FRAME_BUFFER "configuration.width", 1280,
     [](CBrntDevice& d) -> Json::Value { return d.m_ModesFrameBufferInfo.m_u32Width; }, 1280u},
    {"DisplayHeight", "device-rx", FRAME_BUFFER "configuration.height", 720,
     [](CBrntDevice& d) -> Json::Value { return d.m_ModesFrameBufferInfo.m_u32Height; }, 720u},
    {"DisplayRate", "device-rx", FRAME_BUFFER "configuration.frames_per_second", 30,
     [](CBrntDevice& d) -> Json::Value { return d.GetVideoWallDetails().s32DisplayFps; }, 30},
    {"SourceWidth", "device-rx", FRAME_BUFFER "status.source_video.width", 1280,
     [](CBrntDevice& d) -> Json::Value { return d.GetVideoWallDetails().u32Width; }, 1280u},
    {"SourceHeight", "device-rx", FRAME_BUFFER "status.source_video.height", 720,
     [](CBrntDevice& d) -> Json::Value { return d.GetVideoWallDetails().u32Height; }, 720u},
    {"SourceRate", "device-rx", FRAME_BUFFER "status.source_video.frames_per_second", 50,
     [](CBrntDevice& d) -> Json::Value { return d.GetVideoWallDetails().u32Fps; }, 50u},
    {"SourceColorSpace", "device-rx", FRAME_BUFFER "status.source_video.color_space", "RGB",
     [](CBrntDevice& d) -> Json::Value { return d.GetVideoWallDetails().strColorSpace; }, "RGB"},
    {"SourceBits", "device-rx", FRAME_BUFFER "status.source_video.bits_per_pixel", 12,
     [](CBrntDevice& d) -> Json::Value { return d.GetVideoWallDetails().u32BitPerPixel; }, 12u},
    {"SourceScanMode", "device-rx", FRAME_BUFFER "status.source_video.scan_mode", "INTERLACED",
     [](CBrntDevice& d) -> Json::Value { return d.GetVideoWallDetails().strScanMode; }, "INTERLACED"},
    {"OutputStable", "device-rx", "nodes[HDMI_ENCODER:0].status.source_stable", true,
     [](CBrntDevice& d) -> Json::Value { return d.GetVideoWallDetails().bSourceStable; }, true},
    {"NetworkMode", "device-tx", NETWORK "configuration.ip.mode", "STATIC",
     [](CBrntDevice& d) -> Json::Value { return d.m_tNetWork.strMode; }, "STATIC"},
    {"NetworkMask", "device-tx", NETWORK "configuration.ip.mask", "255.0.0.0",
     [](CBrntDevice& d) -> Json::Value { return d.m_tNetWork.strMask; }, "255.0.0.0"},
    {"NetworkGateway", "device-tx", NETWORK "configuration.ip.gateway", "10.0.0.1",
     [](CBrntDevice& d) -> Json::Value { return d.m_tNetWork.strGateway; }, "10.0.0.1"},
    {"UartParity", "device-tx", "nodes[UART:0].configuration.parity", "ODD",
     [](CBrntDevice& d) -> Json::Value { return d.GetUartInfo().m_strParity; }, "ODD"},
    {"UartBaudRate", "device-tx", "nodes[UART:0].configuration.baud_rate", 19200,
     [](CBrntDevice& d) -> Json::Value { return d.GetUartInfo().m_s32BaudRate; }, 19200},
    {"StreamHdmi", "device-tx", "streams[HDMI:1].configuration.address", "235.1.1.1",
     [](CBrntDevice& d) { return StreamText(d, "HDMI", 1); }, "HDMI|235.1.1.1"},
    {"StreamHdmiAudio", "device-tx", "streams[HDMI_AUDIO:0].configuration.address", "235.1.1.2",
     [](CBrntDevice& d) { return StreamText(d, "HDMI_AUDIO", 0); }, "HDMI_AUDIO|235.1.1.2"},
    {"StreamRs232", "device-tx", "streams[RS232:0].configuration.address", "10.1.1.3",
     [](CBrntDevice& d) { return StreamText(d, "RS232", 0); }, "RS232|10.1.1.3"},
    {"StreamCec", "device-tx", "streams[CEC:0].configuration.address", "10.1.1.4",
     [](CBrntDevice& d) { return StreamText(d, "CEC", 0); }, "CEC|10.1.1.4"},
    {"StreamUsbHid", "device-tx", "streams[USB_HID:0].configuration.address", "10.1.1.5",
     [](CBrntDevice& d) { return StreamText(d, "USB_HID", 0); }, "USB_HID|10.1.1.5"},
    {"SubscriptionHdmi", "device-rx", "subscriptions[HDMI:0].configuration.address", "235.1.1.6",
     [](CBrntDevice& d) { return SubscriptionText(d, "HDMI", 0); }, "HDMI|235.1.1.6"},
    {"SubscriptionRs232", "device-rx", "subscriptions[RS232:0].configuration.address", "10.1.1.7",
     [](CBrntDevice& d) { return SubscriptionText(d, "RS232", 0); }, "RS232|10.1.1.7"},
    {"SubscriptionUsbHid", "device-rx", "subscriptions[USB_HID:0].configuration.address", "10.1.1.8",
     [](CBrntDevice& d) { return SubscriptionText(d, "USB_HID", 0); }, "USB_HID|10.1.1.8"},
};

INSTANTIATE_TEST_SUITE_P(All, DeviceMember, testing::ValuesIn(kMemberRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(DeviceParsing, TheNetworkAddressIsTheOneInUse) {
  Json::Value document = Sample("device-tx");
  At(document, NETWORK "status.ip.address") = "10.0.0.7";
  ASSERT_EQ(Parse(document), 1);
  OSMutexLocker lock(m_device->m_objMutex);
  EXPECT_EQ(m_device->m_tNetWork.strAddr, "10.0.0.7");
}

TEST_F(DeviceParsing, AnAudioSourceWithoutANameHereIsKeptAllTheSame) {
  Json::Value document = Sample("device-trx");
  ASSERT_EQ(Parse(document), 1);
  OSMutexLocker lock(m_device->m_objMutex);
  EXPECT_EQ(static_cast<SInt32>(m_device->m_eAudioSrcType), 9);
}

TEST_F(DeviceParsing, OtherStreamsAndSubscriptionsAreSkipped) {
  ASSERT_EQ(Parse(Sample("device-trx")), 1);
  CStreamInfo info;
  EXPECT_FALSE(m_device->GetStream("STEREO_AUDIO", 0, &info));
  EXPECT_FALSE(m_device->GetStream("INFRARED", 0, &info));
  EXPECT_FALSE(m_device->GetStream("HDMI", 2, &info));
  EXPECT_FALSE(m_device->GetSubscription("HDMI_AUDIO", 0, &info));
  EXPECT_TRUE(m_device->GetSubscription("HDMI", 0, &info));
}

TEST_F(DeviceParsing, OtherIndexesFillRecordsOfTheirOwn) {
  Json::Value document = Sample("device-rx");
  Json::Value second = At(document, "nodes[FRAME_BUFFER:0]");
  second["index"] = 1;
  second["configuration"]["display_mode"] = "WALL_GENLOCKED";
  document["nodes"].append(second);
  ASSERT_EQ(Parse(document), 1);
  EXPECT_EQ(Find(FromText(Report()), "settings.output.hdmiOut.layout")->asString(), "single");
  const T_VideoWallDetails details = m_device->GetVideoWallDetails();
  EXPECT_EQ(details.s32Index, 0);
  EXPECT_EQ(details.strDisplayMode, "FAST_SWITCHED");
}

TEST_F(DeviceParsing, TheDocumentChangesNoRole) {
  m_device->m_bRx = 1;
  ASSERT_EQ(Parse(Sample("device-tx")), 1);
  EXPECT_EQ(m_device->m_bTx, 0);
  EXPECT_EQ(m_device->m_bRx, 1);
  EXPECT_EQ(m_device->m_bTRx, 0);
}

TEST_F(DeviceParsing, TheLineOrderSurvivesTheDocument) {
  m_device->SetLineOrder("DTE");
  ASSERT_EQ(Parse(Sample("device-tx")), 1);
  EXPECT_EQ(m_device->GetUartInfo().m_strLineOrder, "DTE");
  EXPECT_EQ(m_device->GetUartInfo().m_s32BaudRate, 115200);
}

}  // namespace
