#include "brntreportmsg.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

std::string ReportOf(const std::function<void(CreateReportMsg&)>& fill) {
  CreateReportMsg message;
  fill(message);
  return message.GetReportStr();
}

// ---- every setter alone ----

struct T_SetterRow {
  const char* name;
  std::function<void(CreateReportMsg&)> call;
  const char* text;
};

class ReportSetter : public testing::TestWithParam<T_SetterRow> {};

TEST_P(ReportSetter, WritesItsMemberAndLinksItsSubtreeAlone) {
  EXPECT_EQ(ReportOf(GetParam().call), std::string(GetParam().text) + "\n");
}

const std::vector<T_SetterRow> kSetters = {
    {"InputStatus", [](CreateReportMsg& m) { m.SetInputStatus("Stable"); },
     R"({"status":{"input":{"status":"Stable"}}})"},
    {"InputResolution", [](CreateReportMsg& m) { m.SetInputResolution("1920x1080p@60"); },
     R"({"status":{"input":{"resolution":"1920x1080p@60"}}})"},
    {"InputColorSpace", [](CreateReportMsg& m) { m.SetInputColorSpace("RGB"); },
     R"({"status":{"input":{"colorSpace":"RGB"}}})"},
    {"InputBitDepth", [](CreateReportMsg& m) { m.SetInputBitDepth(12); }, R"({"status":{"input":{"bitDepth":12}}})"},
    {"InputHdcpVersion", [](CreateReportMsg& m) { m.SetInputHdcpVersion("HDCP 2.x"); },
     R"({"status":{"input":{"hdcp":"HDCP 2.x"}}})"},
    {"InputDynamicRange", [](CreateReportMsg& m) { m.SetInputDynamicRange("HDR10"); },
     R"({"status":{"input":{"dynamicRange":"HDR10"}}})"},
    {"InputSignalType", [](CreateReportMsg& m) { m.SetInputSignalType("HDMI 2.0"); },
     R"({"status":{"input":{"signalType":"HDMI 2.0"}}})"},
    {"InputAudioChannels", [](CreateReportMsg& m) { m.SetInputAudioChannels(8); },
     R"({"status":{"input":{"channels":8}}})"},
    {"InputAudioSampleFrequency", [](CreateReportMsg& m) { m.SetInputAudioSampleFrequency(48000); },
     R"({"status":{"input":{"sampleFrequency":48000}}})"},
    {"InputAudioSampleSize", [](CreateReportMsg& m) { m.SetInputAudioSampleSize(24); },
     R"({"status":{"input":{"sampleSize":24}}})"},
    {"InputAudioEncodingType", [](CreateReportMsg& m) { m.SetInputAudioEncodingType("LPCM"); },
     R"({"status":{"input":{"encodingType":"LPCM"}}})"},
    {"InputEdid", [](CreateReportMsg& m) { m.SetInputEdid("00ff"); },
     R"({"status":{"input":{"display":{"edid":"00ff"}}}})"},
    {"OutputStatus", [](CreateReportMsg& m) { m.SetOutputStatus("Unstable"); },
     R"({"status":{"output":{"status":"Unstable"}}})"},
    {"OutputResolution", [](CreateReportMsg& m) { m.SetOutputResolution("1280x720p@50Hz"); },
     R"({"status":{"output":{"resolution":"1280x720p@50Hz"}}})"},
    {"OutputColorSpace", [](CreateReportMsg& m) { m.SetOutputColorSpace("YUV444"); },
     R"({"status":{"output":{"colorSpace":"YUV444"}}})"},
    {"OutputBitDepth", [](CreateReportMsg& m) { m.SetOutputBitDepth(8); }, R"({"status":{"output":{"bitDepth":8}}})"},
    {"OutputHdcpVersion", [](CreateReportMsg& m) { m.SetOutputHdcpVersion("None"); },
     R"({"status":{"output":{"hdcp":"None"}}})"},
    {"OutputDynamicRange", [](CreateReportMsg& m) { m.SetOutputDynamicRange("SDR"); },
     R"({"status":{"output":{"dynamicRange":"SDR"}}})"},
    {"OutputSignalType", [](CreateReportMsg& m) { m.SetOutputSignalType("HDMI 1.4"); },
     R"({"status":{"output":{"signalType":"HDMI 1.4"}}})"},
    {"OutputAudioChannels", [](CreateReportMsg& m) { m.SetOutputAudioChannels(2); },
     R"({"status":{"output":{"channels":2}}})"},
    {"OutputAudioSampleFrequency", [](CreateReportMsg& m) { m.SetOutputAudioSampleFrequency(44100); },
     R"({"status":{"output":{"sampleFrequency":44100}}})"},
    {"OutputAudioSampleSize", [](CreateReportMsg& m) { m.SetOutputAudioSampleSize(16); },
     R"({"status":{"output":{"sampleSize":16}}})"},
    {"OutputAudioEncodingType", [](CreateReportMsg& m) { m.SetOutputAudioEncodingType("LPCM"); },
     R"({"status":{"output":{"encodingType":"LPCM"}}})"},
    {"OutputEdid", [](CreateReportMsg& m) { m.SetOutputEdid("ff00"); },
     R"({"status":{"output":{"display":{"edid":"ff00"}}}})"},
    {"TxHdcpCapability", [](CreateReportMsg& m) { m.SetTxHdcpCapability("Unsupport"); },
     R"({"settings":{"input":{"hdmiIn":{"hdcpCapability":"Unsupport"}}}})"},
    {"RxHdcpMethod", [](CreateReportMsg& m) { m.SetRxHdcpMethod("Follow Sink"); },
     R"({"settings":{"output":{"hdmiOut":{"hdcpMethod":"Follow Sink"}}}})"},
    {"RxScaler", [](CreateReportMsg& m) { m.SetRxScaler("bypass"); },
     R"({"settings":{"output":{"hdmiOut":{"scaler":"bypass"}}}})"},
    {"RxHdrMethod", [](CreateReportMsg& m) { m.SetRxHdrMethod("auto"); },
     R"({"settings":{"output":{"hdmiOut":{"hdrMethod":"auto"}}}})"},
    {"RxLayout", [](CreateReportMsg& m) { m.SetRxLayout("single"); },
     R"({"settings":{"output":{"hdmiOut":{"layout":"single"}}}})"},
    {"TxAvpStream0Enable", [](CreateReportMsg& m) { m.SetTxAvpStream0Enable(true); },
     R"({"settings":{"output":{"streamOut":{"streams":{"avpStream0":{"enable":true}}}}}})"},
    {"TxAvpStream0HalfFrameRate", [](CreateReportMsg& m) { m.SetTxAvpStream0HalfFrameRate(false); },
     R"({"settings":{"output":{"streamOut":{"streams":{"avpStream0":{"halfFrameRate":false}}}}}})"},
    {"TxAvpStream1Enable", [](CreateReportMsg& m) { m.SetTxAvpStream1Enable(false); },
     R"({"settings":{"output":{"streamOut":{"streams":{"avpStream1":{"enable":false}}}}}})"},
    {"TxAvpStream1Res", [](CreateReportMsg& m) { m.SetTxAvpStream1Res(1280, 720); },
     R"({"settings":{"output":{"streamOut":{"streams":{"avpStream1":{"height":720,"width":1280}}}}}})"},
};

INSTANTIATE_TEST_SUITE_P(All, ReportSetter, testing::ValuesIn(kSetters),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Report, SecondStreamDeliberatelySaysHalfRefreshRate) {
  EXPECT_EQ(ReportOf([](CreateReportMsg& m) { m.SetTxAvpStream1HalfFrameRate(true); }),
            "{\"settings\":{\"output\":{\"streamOut\":{\"streams\":{\"avpStream1\":{\"halfRefreshRate\":true}}}}}}\n");
}

TEST(Report, VideoWallCarriesItsNineValues) {
  VideoWallParam wall;
  wall.s_maxRow = 2;
  wall.s_maxColumn = 3;
  wall.s_posRow = 1;
  wall.s_posColumn = 2;
  wall.s_gapTop = 4;
  wall.s_gapBottom = 5;
  wall.s_gapLeft = 6;
  wall.s_gapRight = 7;
  wall.s_stretchType = "Fit";
  EXPECT_EQ(ReportOf([&](CreateReportMsg& m) { m.SetRxVideoWall(&wall); }),
            "{\"settings\":{\"output\":{\"hdmiOut\":{\"videoWall\":{\"gapBottom\":5,\"gapLeft\":6,\"gapRight\":7,"
            "\"gapTop\":4,\"maxColumn\":3,\"maxRow\":2,\"posColumn\":2,\"posRow\":1,\"stretchType\":\"Fit\"}}}}}\n");
}

TEST(Report, NoVideoWallIsNoSetting) {
  EXPECT_EQ(ReportOf([](CreateReportMsg& m) { m.SetRxVideoWall(nullptr); }), "null\n");
}

// ---- how the subtrees are put together ----

TEST(Report, WithoutAnySetterNothingIsLinked) {
  EXPECT_EQ(ReportOf([](CreateReportMsg&) {}), "null\n");
}

TEST(Report, InputAndOutputShareTheStatus) {
  EXPECT_EQ(ReportOf([](CreateReportMsg& m) {
              m.SetInputStatus("Stable");
              m.SetOutputStatus("Unstable");
            }),
            "{\"status\":{\"input\":{\"status\":\"Stable\"},\"output\":{\"status\":\"Unstable\"}}}\n");
}

TEST(Report, BothSettingsStandSideBySide) {
  EXPECT_EQ(ReportOf([](CreateReportMsg& m) {
              m.SetTxHdcpCapability("HDCP 1.x");
              m.SetRxScaler("bypass");
            }),
            "{\"settings\":{\"input\":{\"hdmiIn\":{\"hdcpCapability\":\"HDCP 1.x\"}},"
            "\"output\":{\"hdmiOut\":{\"scaler\":\"bypass\"}}}}\n");
}

TEST(Report, StreamsJoinTheOtherSettings) {
  EXPECT_EQ(ReportOf([](CreateReportMsg& m) {
              m.SetInputStatus("Stable");
              m.SetTxHdcpCapability("HDCP 2.x");
              m.SetRxLayout("single");
              m.SetTxAvpStream0Enable(true);
              m.SetTxAvpStream1Enable(false);
            }),
            "{\"settings\":{\"input\":{\"hdmiIn\":{\"hdcpCapability\":\"HDCP 2.x\"}},"
            "\"output\":{\"hdmiOut\":{\"layout\":\"single\"},\"streamOut\":{\"streams\":{"
            "\"avpStream0\":{\"enable\":true},\"avpStream1\":{\"enable\":false}}}}},"
            "\"status\":{\"input\":{\"status\":\"Stable\"}}}\n");
}

TEST(Report, StreamsAloneBringNeitherInputNorStatus) {
  EXPECT_EQ(
      ReportOf([](CreateReportMsg& m) { m.SetTxAvpStream1Res(1920, 1080); }),
      "{\"settings\":{\"output\":{\"streamOut\":{\"streams\":{\"avpStream1\":{\"height\":1080,\"width\":1920}}}}}}"
      "\n");
}

TEST(Report, ASecondValueReplacesTheFirst) {
  EXPECT_EQ(ReportOf([](CreateReportMsg& m) {
              m.SetInputEdid("00");
              m.SetInputEdid("11");
            }),
            "{\"status\":{\"input\":{\"display\":{\"edid\":\"11\"}}}}\n");
}

TEST(Report, AskingTwiceGivesTheSameText) {
  CreateReportMsg message;
  message.SetInputStatus("Stable");
  message.SetTxAvpStream0Enable(true);
  const std::string first = message.GetReportStr();
  EXPECT_EQ(message.GetReportStr(), first);
}

TEST(Report, EscapesWhatComesFromOutside) {
  EXPECT_EQ(ReportOf([](CreateReportMsg& m) { m.SetInputColorSpace("a\"\n\xff"); }),
            "{\"status\":{\"input\":{\"colorSpace\":\"a\\\"\\n\\ufffd\"}}}\n");
}

// ---- the monitor ----

TEST(Report, MonitorTextIsEmptyUntilItIsSet) { EXPECT_EQ(CreateReportMsg().GetHdmiMonitorStr(), ""); }

TEST(Report, MonitorTextIsTheValueOnOneLine) {
  Json::Value monitor;
  monitor["connected"] = true;
  CreateReportMsg message;
  message.SetHdmiMonitorJson(monitor);
  EXPECT_EQ(message.GetHdmiMonitorStr(), "{\"connected\":true}\n");
  EXPECT_EQ(message.GetReportStr(), "null\n");
}

// ---- the facts of a document ----

TEST(ReportFacts, WithoutAnyNoSetterIsCalled) {
  CreateReportMsg message;
  message.SetFacts(T_ReportFacts());
  EXPECT_EQ(message.GetReportStr(), "null\n");
  EXPECT_EQ(message.GetHdmiMonitorStr(), "");
}

T_HdmiFacts AllHdmiFacts() {
  T_HdmiFacts facts;
  facts.strStatus = "a";
  facts.strResolution = "b";
  facts.strColorSpace = "c";
  facts.s32BitDepth = 1;
  facts.strHdcp = "d";
  facts.strDynamicRange = "e";
  facts.strSignalType = "f";
  facts.s32Channels = 2;
  facts.s32SampleFrequency = 3;
  facts.s32SampleSize = 4;
  facts.strEncodingType = "g";
  facts.strEdid = "h";
  return facts;
}

constexpr char kAllHdmiText[] =
    "{\"bitDepth\":1,\"channels\":2,\"colorSpace\":\"c\",\"display\":{\"edid\":\"h\"},\"dynamicRange\":\"e\","
    "\"encodingType\":\"g\",\"hdcp\":\"d\",\"resolution\":\"b\",\"sampleFrequency\":3,\"sampleSize\":4,"
    "\"signalType\":\"f\",\"status\":\"a\"}";

TEST(ReportFacts, EachFactOfTheInputReachesItsMember) {
  T_ReportFacts facts;
  facts.tInput = AllHdmiFacts();
  EXPECT_EQ(ReportOf([&](CreateReportMsg& m) { m.SetFacts(facts); }),
            "{\"status\":{\"input\":" + std::string(kAllHdmiText) + "}}\n");
}

TEST(ReportFacts, EachFactOfTheOutputReachesItsMember) {
  T_ReportFacts facts;
  facts.tOutput = AllHdmiFacts();
  EXPECT_EQ(ReportOf([&](CreateReportMsg& m) { m.SetFacts(facts); }),
            "{\"status\":{\"output\":" + std::string(kAllHdmiText) + "}}\n");
}

TEST(ReportFacts, EachSettingReachesItsMember) {
  T_ReportFacts facts;
  facts.strHdcpCapability = "HDCP 1.x";
  facts.strHdcpMethod = "Follow Source";
  facts.strLayout = "multiview";
  facts.tStream0.bEnable = true;
  facts.tStream0.bHalfRate = true;
  facts.tStream1.bEnable = false;
  facts.tStream1.bHalfRate = false;
  facts.tStream1.s32Width = 640;
  facts.tStream1.s32Height = 480;
  EXPECT_EQ(ReportOf([&](CreateReportMsg& m) { m.SetFacts(facts); }),
            "{\"settings\":{\"input\":{\"hdmiIn\":{\"hdcpCapability\":\"HDCP 1.x\"}},\"output\":{\"hdmiOut\":{"
            "\"hdcpMethod\":\"Follow Source\",\"layout\":\"multiview\"},\"streamOut\":{\"streams\":{"
            "\"avpStream0\":{\"enable\":true,\"halfFrameRate\":true},"
            "\"avpStream1\":{\"enable\":false,\"halfRefreshRate\":false,\"height\":480,\"width\":640}}}}}}\n");
}

struct T_ScalerRow {
  const char* name;
  std::optional<int> source;
  std::optional<std::string> timing;
  const char* text;
};

class ReportScaler : public testing::TestWithParam<T_ScalerRow> {};

TEST_P(ReportScaler, FollowsTheOutputsSource) {
  T_ReportFacts facts;
  facts.s32OutputSource = GetParam().source;
  facts.strFrameBufferTiming = GetParam().timing;
  EXPECT_EQ(ReportOf([&](CreateReportMsg& m) { m.SetFacts(facts); }), std::string(GetParam().text) + "\n");
}

INSTANTIATE_TEST_SUITE_P(All, ReportScaler,
                         testing::Values(T_ScalerRow{"Subscription", 0, "1920x1080p@60",
                                                     R"({"settings":{"output":{"hdmiOut":{"scaler":"bypass"}}}})"},
                                         T_ScalerRow{
                                             "FrameBuffer", 1, "1920x1080p@60",
                                             R"({"settings":{"output":{"hdmiOut":{"scaler":"1920x1080p@60"}}}})"},
                                         T_ScalerRow{"FrameBufferWithoutTiming", 1, std::nullopt, "null"},
                                         T_ScalerRow{"UnknownSource", 2, "1920x1080p@60", "null"},
                                         T_ScalerRow{"NoSource", std::nullopt, "1920x1080p@60", "null"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ReportFacts, MonitorSaysItsEdidOnlyWhenItHasOne) {
  T_ReportFacts facts;
  facts.bMonitorConnected = false;
  CreateReportMsg without;
  without.SetFacts(facts);
  EXPECT_EQ(without.GetHdmiMonitorStr(), "{\"connected\":false}\n");
  facts.strMonitorEdid = "00ff";
  CreateReportMsg with;
  with.SetFacts(facts);
  EXPECT_EQ(with.GetHdmiMonitorStr(), "{\"connected\":false,\"edid\":\"00ff\"}\n");
}

}  // namespace
