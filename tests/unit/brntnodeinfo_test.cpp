#include "brntnodeinfo.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "devicedocs.h"

namespace {

using devicedocs::At;
using devicedocs::FromText;
using devicedocs::Sample;

Json::Value NodeOf(const std::string& sample, const std::string& node) {
  Json::Value document = Sample(sample);
  return At(document, "nodes[" + node + "]");
}

// ---- finding the way in the document ----

TEST(DeviceDocument, ChildOfWhatHasNoMembersIsNull) {
  EXPECT_TRUE(brntnode::Child(Json::Value(5), "a").isNull());
  EXPECT_TRUE(brntnode::Child(Json::Value("text"), "a").isNull());
  EXPECT_TRUE(brntnode::Child(FromText("[1]"), "a").isNull());
  EXPECT_TRUE(brntnode::Child(FromText("{\"a\":null}"), "a").isNull());
}

TEST(DeviceDocument, WhatIsNoArrayHasNoElements) {
  EXPECT_EQ(brntnode::Elements(FromText("{\"a\":1}")).size(), 0u);
  EXPECT_EQ(brntnode::Elements(Json::Value("text")).size(), 0u);
  EXPECT_EQ(brntnode::Elements(FromText("[1,2]")).size(), 2u);
}

TEST(DeviceDocument, TextOfAnythingButAStringIsEmpty) {
  EXPECT_EQ(brntnode::Text(Json::Value("UART")), "UART");
  EXPECT_EQ(brntnode::Text(Json::Value("")), "");
  EXPECT_EQ(brntnode::Text(Json::Value(5)), "");
  EXPECT_EQ(brntnode::Text(Json::Value()), "");
}

struct T_IndexRow {
  const char* name;
  const char* element;
  bool found;
};

class ElementIndex : public testing::TestWithParam<T_IndexRow> {};

TEST_P(ElementIndex, CountsFromZeroToThirtyOne) {
  std::string_view type;
  SInt32 index = 0;
  const Json::Value element = FromText(GetParam().element);
  EXPECT_EQ(brntnode::GetTypeAndIndex(element, &type, &index), GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(All, ElementIndex,
                         testing::Values(T_IndexRow{"First", R"({"type":"UART","index":0})", true},
                                         T_IndexRow{"Last", R"({"type":"UART","index":31})", true},
                                         T_IndexRow{"PastTheLast", R"({"type":"UART","index":32})", false},
                                         T_IndexRow{"Negative", R"({"type":"UART","index":-1})", false},
                                         T_IndexRow{"Huge", R"({"type":"UART","index":4294967296})", false},
                                         T_IndexRow{"Text", R"({"type":"UART","index":"0"})", false},
                                         T_IndexRow{"Null", R"({"type":"UART","index":null})", false},
                                         T_IndexRow{"Absent", R"({"type":"UART"})", false},
                                         T_IndexRow{"NoObject", "[0]", false}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(InputSource, IsTheChosenValueOfTheNamedInput) {
  SInt32 value = -1;
  const Json::Value node = NodeOf("device-rx", "HDMI_ENCODER:0");
  EXPECT_TRUE(brntnode::GetInputSource(node, "main", &value));
  EXPECT_EQ(value, 1);
  EXPECT_TRUE(brntnode::GetInputSource(node, "audio", &value));
  EXPECT_EQ(value, 2);
}

TEST(InputSource, IsAbsentWhereThereIsNothingToChoose) {
  SInt32 value = 7;
  EXPECT_FALSE(brntnode::GetInputSource(NodeOf("device-tx", "HDMI_DECODER:0"), "main", &value));
  EXPECT_FALSE(brntnode::GetInputSource(NodeOf("device-rx", "HDMI_ENCODER:0"), "other", &value));
  EXPECT_FALSE(brntnode::GetInputSource(FromText("{\"inputs\":{}}"), "main", &value));
  EXPECT_EQ(value, 7);
}

TEST(InputSource, OfAnotherIndexDoesNotCount) {
  SInt32 value = 7;
  Json::Value node = NodeOf("device-rx", "HDMI_ENCODER:0");
  At(node, "inputs[main:0]")["index"] = 1;
  EXPECT_FALSE(brntnode::GetInputSource(node, "main", &value));
}

// ---- texts of the report ----

struct T_TextRow {
  const char* name;
  const char* given;
  const char* text;
};

std::string NameOf(const testing::TestParamInfo<T_TextRow>& row) { return row.param.name; }

class ColorSpaceText : public testing::TestWithParam<T_TextRow> {};

TEST_P(ColorSpaceText, NamesTheSubsampling) {
  Json::Value video;
  video["color_space"] = GetParam().given;
  T_HdmiFacts facts;
  CHDMITiming timing;
  timing.ParseJsonInfo(video, &facts);
  EXPECT_EQ(facts.strColorSpace, GetParam().text);
  EXPECT_EQ(timing.m_strColorSpace, GetParam().given);
}

INSTANTIATE_TEST_SUITE_P(All, ColorSpaceText,
                         testing::Values(T_TextRow{"Full", "YCBCR_444", "YUV444"},
                                         T_TextRow{"Half", "YCBCR_422", "YUV422"},
                                         T_TextRow{"Quarter", "YCBCR_420", "YUV420"}, T_TextRow{"Rgb", "RGB", "RGB"},
                                         T_TextRow{"Unknown", "XYZ", "XYZ"}, T_TextRow{"Empty", "", ""}),
                         NameOf);

class DynamicRangeText : public testing::TestWithParam<T_TextRow> {};

TEST_P(DynamicRangeText, NamesTheKindWhateverHasHdrSays) {
  for (const bool hasHdr : {false, true}) {
    Json::Value node;
    node["status"]["video_details"]["hdr"] = GetParam().given;
    node["status"]["video_details"]["has_hdr"] = hasHdr;
    T_HdmiFacts facts;
    CHDMITiming timing;
    CHdmiInfo info;
    info.ParseJsonInfo(node, &timing, &facts);
    EXPECT_EQ(facts.strDynamicRange, GetParam().text);
    EXPECT_EQ(info.m_strHdr, GetParam().given);
    EXPECT_EQ(info.m_bhashdr, hasHdr);
  }
}

INSTANTIATE_TEST_SUITE_P(All, DynamicRangeText,
                         testing::Values(T_TextRow{"Standard", "SDR", "SDR"}, T_TextRow{"Hdr10", "HDR10", "HDR10"},
                                         T_TextRow{"Hdr10Plus", "HDR10_PLUS", "HDR10"},
                                         T_TextRow{"DolbyVision", "DOLBY_VISION", "Dolby Vision"},
                                         T_TextRow{"HybridLogGamma", "HLG", "HLG"}, T_TextRow{"Empty", "", ""}),
                         NameOf);

class HdcpVersionText : public testing::TestWithParam<T_TextRow> {};

TEST_P(HdcpVersionText, NamesTheGeneration) {
  Json::Value node;
  node["status"]["hdcp_version"] = GetParam().given;
  T_HdmiFacts facts;
  CHDMITiming timing;
  CHdmiInfo info;
  info.ParseJsonInfo(node, &timing, &facts);
  EXPECT_EQ(facts.strHdcp, GetParam().text);
  EXPECT_EQ(info.m_strHdcpVersion, GetParam().given);
}

INSTANTIATE_TEST_SUITE_P(All, HdcpVersionText,
                         testing::Values(T_TextRow{"None", "NONE", "None"},
                                         T_TextRow{"OneFour", "HDCP_1_4", "HDCP 1.x"},
                                         T_TextRow{"TwoTwo", "HDCP_2_2", "HDCP 2.x"},
                                         T_TextRow{"OnlyTheFirstDigitCounts", "HDCP_3_1", "HDCP_3_1"},
                                         T_TextRow{"NoDigit", "HDCP", "HDCP"}, T_TextRow{"LowerCase", "none", "none"}),
                         NameOf);

struct T_CapabilityRow {
  const char* name;
  const char* configuration;
  std::optional<std::string> text;
};

class HdcpCapability : public testing::TestWithParam<T_CapabilityRow> {};

TEST_P(HdcpCapability, FollowsTheTwoSwitches) {
  Json::Value node;
  node["configuration"] = FromText(GetParam().configuration);
  EXPECT_EQ(CHdmiInfo().ParseInputHdcp(node), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    All, HdcpCapability,
    testing::Values(
        T_CapabilityRow{"Off", R"({"hdcp_support_enable":false,"hdcp_22_support_disable":true})", "Unsupport"},
        T_CapabilityRow{"OffAlone", R"({"hdcp_support_enable":false})", "Unsupport"},
        T_CapabilityRow{"OneOnly", R"({"hdcp_support_enable":true,"hdcp_22_support_disable":true})", "HDCP 1.x"},
        T_CapabilityRow{"Two", R"({"hdcp_support_enable":true,"hdcp_22_support_disable":false})", "HDCP 2.x"},
        T_CapabilityRow{"OnAlone", R"({"hdcp_support_enable":true})", std::nullopt},
        T_CapabilityRow{"SecondAlone", R"({"hdcp_22_support_disable":false})", std::nullopt},
        T_CapabilityRow{"Neither", "{}", std::nullopt}),
    [](const auto& row) { return std::string(row.param.name); });

class HdcpMethod : public testing::TestWithParam<T_CapabilityRow> {};

TEST_P(HdcpMethod, IsSaidOnlyForTheKnownModes) {
  Json::Value node;
  node["configuration"] = FromText(GetParam().configuration);
  EXPECT_EQ(CHdmiInfo().ParseOutputHdcp(node), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    All, HdcpMethod,
    testing::Values(T_CapabilityRow{"SinkOne", R"({"hdcp_output_mode":"FOLLOW_SINK_1"})", "Follow Sink"},
                    T_CapabilityRow{"SinkTwo", R"({"hdcp_output_mode":"FOLLOW_SINK_2"})", "Follow Sink"},
                    T_CapabilityRow{"Source", R"({"hdcp_output_mode":"FOLLOW_SOURCE"})", "Follow Source"},
                    T_CapabilityRow{"SourceWithMore", R"({"hdcp_output_mode":"FOLLOW_SOURCE_1"})", std::nullopt},
                    T_CapabilityRow{"Unsupported", R"({"hdcp_output_mode":"UNSUPPORTED"})", std::nullopt},
                    T_CapabilityRow{"Absent", "{}", std::nullopt}),
    [](const auto& row) { return std::string(row.param.name); });

struct T_ResolutionRow {
  const char* name;
  const char* video;
  std::optional<std::string> text;
};

class Resolution : public testing::TestWithParam<T_ResolutionRow> {};

TEST_P(Resolution, NeedsAllThreeNumbersAndAPicture) {
  T_HdmiFacts facts;
  CHDMITiming timing;
  timing.ParseJsonInfo(FromText(GetParam().video), &facts);
  EXPECT_EQ(facts.strResolution, GetParam().text);
  EXPECT_EQ(timing.m_strReport, GetParam().text.value_or(""));
}

INSTANTIATE_TEST_SUITE_P(
    All, Resolution,
    testing::Values(
        T_ResolutionRow{"Progressive",
                        R"({"width":3840,"height":2160,"frames_per_second":60,"scan_mode":"PROGRESSIVE"})",
                        "3840x2160p@60Hz"},
        T_ResolutionRow{"Interlaced", R"({"width":1920,"height":1080,"frames_per_second":50,"scan_mode":"INTERLACED"})",
                        "1920x1080i@50Hz"},
        T_ResolutionRow{"NoScanMode", R"({"width":1280,"height":720,"frames_per_second":30})", "1280x720p@30Hz"},
        T_ResolutionRow{"NoRateYet", R"({"width":1280,"height":720,"frames_per_second":0})", "1280x720p@0Hz"},
        T_ResolutionRow{"NoWidth", R"({"width":0,"height":720,"frames_per_second":60})", std::nullopt},
        T_ResolutionRow{"NoHeight", R"({"width":1280,"height":0,"frames_per_second":60})", std::nullopt},
        T_ResolutionRow{"NegativeWidth", R"({"width":-1280,"height":720,"frames_per_second":60})", std::nullopt},
        T_ResolutionRow{"TextForANumber", R"({"width":"1280","height":720,"frames_per_second":60})", std::nullopt},
        T_ResolutionRow{"HugeNumber", R"({"width":12800000000,"height":720,"frames_per_second":60})", std::nullopt},
        T_ResolutionRow{"BrokenNumber", R"({"width":1280.5,"height":720,"frames_per_second":60})", std::nullopt},
        T_ResolutionRow{"RateMissing", R"({"width":1280,"height":720})", std::nullopt}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ResolutionText, TakesTheScanModeOfThisDocumentOnly) {
  CHDMITiming timing;
  T_HdmiFacts facts;
  timing.ParseJsonInfo(FromText(R"({"width":1920,"height":1080,"frames_per_second":50,"scan_mode":"INTERLACED"})"),
                       &facts);
  timing.ParseJsonInfo(FromText(R"({"width":1920,"height":1080,"frames_per_second":50})"), &facts);
  EXPECT_EQ(facts.strResolution, "1920x1080p@50Hz");
}

class LayoutText : public testing::TestWithParam<T_TextRow> {};

TEST_P(LayoutText, FollowsTheDisplayMode) {
  Json::Value node;
  node["configuration"]["display_mode"] = GetParam().given;
  T_ReportFacts facts;
  CFrameBuffer().ParseJsonInfo(node, &facts);
  EXPECT_EQ(facts.strLayout, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(All, LayoutText,
                         testing::Values(T_TextRow{"FastSwitched", "FAST_SWITCHED", "single"},
                                         T_TextRow{"Stretch", "FAST_SWITCHED_STRETCH", "single"},
                                         T_TextRow{"Crop", "FAST_SWITCHED_CROP", "single"},
                                         T_TextRow{"Genlock", "GENLOCK_SCALING", "single"},
                                         T_TextRow{"WallFast", "WALL_FAST_SWITCHED", "videoWall"},
                                         T_TextRow{"WallGenlock", "WALL_GENLOCKED", "videoWall"},
                                         T_TextRow{"WallInside", "NO_WALL", "single"},
                                         T_TextRow{"Multiview", "MULTIVIEW", "multiview"},
                                         T_TextRow{"MultiviewInside", "WALL_MULTIVIEW", "multiview"},
                                         T_TextRow{"Unknown", "OTHER", "single"}),
                         NameOf);

// ---- the video wall ----

Json::Value WallNode(const std::string& aspectRatioMode) {
  Json::Value node = NodeOf("device-rx", "FRAME_BUFFER:0");
  node["configuration"]["has_auto_wall_details"] = true;
  node["configuration"]["aspect_ratio_mode"] = aspectRatioMode;
  node["configuration"]["auto_wall_details"] =
      FromText(R"({"grid_width":3,"grid_height":2,"grid_index_horiz":1,"grid_index_vert":0,"bezel_horiz":8,
                   "bezel_vert":6})");
  return node;
}

std::optional<VideoWallParam> WallOf(const Json::Value& node) {
  T_ReportFacts facts;
  CFrameBuffer().ParseJsonInfo(node, &facts);
  return facts.tVideoWall;
}

TEST(VideoWall, ColumnsAreTheGridsWidthAndRowsItsHeight) {
  const std::optional<VideoWallParam> wall = WallOf(WallNode("KEEP"));
  ASSERT_TRUE(wall);
  EXPECT_EQ(wall->s_maxRow, 2);
  EXPECT_EQ(wall->s_maxColumn, 3);
  EXPECT_EQ(wall->s_posRow, 0);
  EXPECT_EQ(wall->s_posColumn, 1);
  EXPECT_EQ(wall->s_gapTop, 6);
  EXPECT_EQ(wall->s_gapBottom, 6);
  EXPECT_EQ(wall->s_gapLeft, 8);
  EXPECT_EQ(wall->s_gapRight, 8);
}

class StretchType : public testing::TestWithParam<T_TextRow> {};

TEST_P(StretchType, FollowsTheAspectRatioMode) {
  const std::optional<VideoWallParam> wall = WallOf(WallNode(GetParam().given));
  ASSERT_TRUE(wall);
  EXPECT_EQ(wall->s_stretchType, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(All, StretchType,
                         testing::Values(T_TextRow{"Stretch", "STRETCH", "Stretch"}, T_TextRow{"Keep", "KEEP", "Fit"},
                                         T_TextRow{"Crop", "CROP", "Fill"}, T_TextRow{"None", "NONE", ""},
                                         T_TextRow{"Unknown", "stretch", ""}),
                         NameOf);

TEST(VideoWall, IsNotReadWhileTheDocumentSaysThereIsNone) {
  Json::Value node = WallNode("KEEP");
  node["configuration"]["has_auto_wall_details"] = false;
  EXPECT_FALSE(WallOf(node));
  node["configuration"].removeMember("has_auto_wall_details");
  EXPECT_FALSE(WallOf(node));
}

TEST(VideoWall, NeedsEveryNumber) {
  for (const std::string& key : Json::Value(WallNode("KEEP")["configuration"]["auto_wall_details"]).getMemberNames()) {
    Json::Value node = WallNode("KEEP");
    node["configuration"]["auto_wall_details"][key] = "2";
    EXPECT_FALSE(WallOf(node)) << key;
    node["configuration"]["auto_wall_details"].removeMember(key);
    EXPECT_FALSE(WallOf(node)) << key;
  }
}

// ---- HDMI nodes ----

TEST(HdmiInfo, ReadsEveryMemberOfTheStatus) {
  CHdmiInfo info;
  CHDMITiming timing;
  info.ParseJsonInfo(NodeOf("device-tx", "HDMI_DECODER:0"), &timing, nullptr);
  EXPECT_TRUE(info.m_bSourceStable);
  EXPECT_TRUE(info.m_bHdcpProtected);
  EXPECT_EQ(info.m_strHdcpVersion, "HDCP_2_2");
  EXPECT_TRUE(info.m_bHdmi20Supported);
  EXPECT_TRUE(info.m_bhashdr);
  EXPECT_EQ(info.m_strHdr, "HDR10");
  EXPECT_EQ(info.m_u32Samplefrequency, 48000u);
  EXPECT_EQ(info.m_u32Channels, 2u);
  EXPECT_EQ(info.m_u32Samplesize, 24u);
  EXPECT_EQ(info.m_strEncodingtype, "LPCM");
  EXPECT_EQ(timing.m_u32Width, 3840u);
  EXPECT_EQ(timing.m_u32Height, 2160u);
  EXPECT_EQ(timing.m_u32Fps, 60u);
  EXPECT_EQ(timing.m_strColorSpace, "YCBCR_444");
  EXPECT_EQ(timing.m_u32BitPerPixel, 8u);
  EXPECT_EQ(timing.m_strScanMode, "PROGRESSIVE");
}

TEST(HdmiInfo, ReadsTheConfigurationOfAnInput) {
  CHdmiInfo info;
  (void)info.ParseInputHdcp(NodeOf("device-trx", "HDMI_DECODER:0"));
  EXPECT_TRUE(info.m_bHdcpSupportEnable);
  EXPECT_TRUE(info.m_bHdcp22SupportDisable);
}

TEST(HdmiInfo, ReadsTheConfigurationOfAnOutput) {
  CHdmiInfo info;
  (void)info.ParseOutputHdcp(NodeOf("device-rx", "HDMI_ENCODER:0"));
  EXPECT_EQ(info.m_strHdcpOutputMode, "FOLLOW_SINK_1");
}

TEST(HdmiInfo, OfAnUnstableSourceSaysOnlySoButKeepsTheRest) {
  Json::Value node = NodeOf("device-tx", "HDMI_DECODER:0");
  node["status"]["source_stable"] = false;
  CHdmiInfo info;
  CHDMITiming timing;
  T_HdmiFacts facts;
  info.ParseJsonInfo(node, &timing, &facts);
  EXPECT_EQ(facts.strStatus, "Unstable");
  EXPECT_FALSE(facts.strResolution || facts.strColorSpace || facts.s32BitDepth || facts.strHdcp);
  EXPECT_FALSE(facts.strDynamicRange || facts.strSignalType || facts.s32Channels || facts.s32SampleFrequency);
  EXPECT_FALSE(facts.s32SampleSize || facts.strEncodingType || facts.strEdid);
  EXPECT_EQ(timing.m_u32Width, 3840u);
  EXPECT_EQ(info.m_strHdr, "HDR10");
}

TEST(HdmiInfo, WithoutAWordOnStabilitySaysTheRest) {
  Json::Value node = NodeOf("device-tx", "HDMI_DECODER:0");
  node["status"].removeMember("source_stable");
  CHdmiInfo info;
  CHDMITiming timing;
  T_HdmiFacts facts;
  info.ParseJsonInfo(node, &timing, &facts);
  EXPECT_FALSE(facts.strStatus);
  EXPECT_EQ(facts.strResolution, "3840x2160p@60Hz");
}

TEST(HdmiInfo, SignalTypeFollowsTheHdmiVersion) {
  for (const bool hdmi20 : {false, true}) {
    Json::Value node = NodeOf("device-tx", "HDMI_DECODER:0");
    node["status"]["hdmi_2_0_support"] = hdmi20;
    T_HdmiFacts facts;
    CHDMITiming timing;
    CHdmiInfo().ParseJsonInfo(node, &timing, &facts);
    EXPECT_EQ(facts.strSignalType, hdmi20 ? "HDMI 2.0" : "HDMI 1.4");
  }
}

TEST(HdmiInfo, KeepsWhatIsAbsentOrOfAnotherType) {
  CHdmiInfo info;
  CHDMITiming timing;
  info.ParseJsonInfo(NodeOf("device-tx", "HDMI_DECODER:0"), &timing, nullptr);
  info.ParseJsonInfo(FromText(R"({"status":{"source_stable":"no","hdcp_version":null,"video":[],"audio_details":7,
      "hdmi_2_0_support":0,"video_details":{"hdr":1,"has_hdr":"x"}}})"),
                     &timing, nullptr);
  EXPECT_TRUE(info.m_bSourceStable);
  EXPECT_EQ(info.m_strHdcpVersion, "HDCP_2_2");
  EXPECT_TRUE(info.m_bHdmi20Supported);
  EXPECT_EQ(info.m_strHdr, "HDR10");
  EXPECT_TRUE(info.m_bhashdr);
  EXPECT_EQ(info.m_u32Channels, 2u);
  EXPECT_EQ(timing.m_u32Width, 3840u);
}

// ---- streams ----

CStreamInfo StreamOf(const std::string& path, T_StreamFacts* pFacts = nullptr) {
  Json::Value document = Sample("device-tx");
  CStreamInfo info;
  info.m_s32Index = At(document, path)["index"].asInt();
  info.ParseStreamJson(At(document, path), pFacts);
  return info;
}

TEST(StreamInfo, ReadsEveryMember) {
  const CStreamInfo info = StreamOf("streams[HDMI:1]");
  EXPECT_EQ(info.m_ConfAddress, "235.22.33.231");
  EXPECT_TRUE(info.m_ConfEnable);
  EXPECT_FALSE(info.m_ConfAutostop);
  EXPECT_TRUE(info.m_ConfRemoveaudio);
  EXPECT_EQ(info.m_StatusState, "STREAMING");
  EXPECT_EQ(info.m_SourceRef_class, "NODE");
  EXPECT_EQ(info.m_SourceRef_type, "SCALER");
  EXPECT_EQ(info.m_SourceRef_index, 0);
  EXPECT_FALSE(info.m_bIsStandby);
}

TEST(StreamInfo, ReadsAutoStopDestinationAndSourceIndex) {
  Json::Value document = Sample("device-tx");
  Json::Value& stream = At(document, "streams[RS232:0]");
  stream["configuration"]["auto_stop"] = true;
  stream["configuration"]["dest_index"] = 3;
  stream["source"]["ref_index"] = 2;
  CStreamInfo info;
  info.ParseStreamJson(stream, nullptr);
  EXPECT_TRUE(info.m_ConfAutostop);
  EXPECT_EQ(info.m_ConfDestIndex, 3);
  EXPECT_EQ(info.m_SourceRef_index, 2);
}

TEST(StreamInfo, StandsByWhileEnabledWithoutStreaming) {
  Json::Value stream;
  stream["configuration"]["enable"] = true;
  stream["status"]["state"] = "STOPPED";
  CStreamInfo info;
  info.ParseStreamJson(stream, nullptr);
  EXPECT_TRUE(info.m_bIsStandby);
  stream["configuration"]["enable"] = false;
  info.ParseStreamJson(stream, nullptr);
  EXPECT_FALSE(info.m_bIsStandby);
}

TEST(StreamInfo, SaysWhetherItIsEnabled) {
  T_StreamFacts facts;
  StreamOf("streams[RS232:0]", &facts);
  EXPECT_EQ(facts.bEnable, false);
  StreamOf("streams[HDMI:0]", &facts);
  EXPECT_EQ(facts.bEnable, true);
}

TEST(StreamInfo, OnlyTheFirstStreamHasAFrameRateOfItsOwn) {
  Json::Value stream = FromText(R"({"configuration":{"source":{"value":1}}})");
  for (const SInt32 index : {0, 1}) {
    CStreamInfo info;
    info.m_s32Index = index;
    T_StreamFacts facts;
    info.ParseStreamJson(stream, &facts);
    EXPECT_EQ(facts.bHalfRate, index == 0 ? std::optional<bool>(true) : std::nullopt);
  }
}

TEST(StreamInfo, FullRateForEveryOtherSource) {
  for (const int value : {0, 2, -1}) {
    Json::Value stream;
    stream["configuration"]["source"]["value"] = value;
    T_StreamFacts facts;
    CStreamInfo().ParseStreamJson(stream, &facts);
    EXPECT_EQ(facts.bHalfRate, false);
  }
}

// ---- the other nodes ----

TEST(FrameBuffer, ReadsEveryMember) {
  CFrameBuffer info;
  T_ReportFacts facts;
  info.ParseJsonInfo(NodeOf("device-rx", "FRAME_BUFFER:0"), &facts);
  EXPECT_EQ(info.m_strDisplayMode, "FAST_SWITCHED");
  EXPECT_EQ(info.m_u32Width, 1920u);
  EXPECT_EQ(info.m_u32Height, 1080u);
  EXPECT_EQ(info.m_u32Fps, 60u);
  EXPECT_EQ(info.m_strAspectRatioMode, "KEEP");
  EXPECT_EQ(info.m_objSourceVideo.m_u32Width, 3840u);
  EXPECT_EQ(info.m_objSourceVideo.m_u32Height, 2160u);
  EXPECT_EQ(info.m_objSourceVideo.m_strColorSpace, "YCBCR_444");
  EXPECT_EQ(facts.strFrameBufferTiming, "1920x1080p@60");
  EXPECT_FALSE(facts.tVideoWall);
}

TEST(EncoderInputs, ReadBothSources) {
  CEncoderInputInfo info;
  T_ReportFacts facts;
  info.ParseJsonInfo(NodeOf("device-trx", "HDMI_ENCODER:0"), &facts);
  EXPECT_EQ(info.m_s32MainSource, 0);
  EXPECT_EQ(info.m_s32AudioSource, 9);
  EXPECT_EQ(facts.s32OutputSource, 0);
}

TEST(Monitor, IsReadWithItsEdid) {
  CMonitorInputInfo info;
  T_ReportFacts facts;
  info.ParseJsonInfo(NodeOf("device-rx", "HDMI_MONITOR:0"), &facts);
  EXPECT_TRUE(info.m_bConnected);
  EXPECT_EQ(info.m_strEdid.size(), 512u);
  EXPECT_EQ(facts.bMonitorConnected, true);
  EXPECT_EQ(facts.strMonitorEdid, info.m_strEdid);
  EXPECT_EQ(facts.tOutput.strEdid, info.m_strEdid);
}

struct T_MonitorRow {
  const char* name;
  const char* status;
  std::optional<bool> connected;
  std::optional<std::string> monitorEdid;
  std::optional<std::string> outputEdid;
};

class MonitorStatus : public testing::TestWithParam<T_MonitorRow> {};

TEST_P(MonitorStatus, DecidesWhatIsSaid) {
  Json::Value node;
  node["status"] = FromText(GetParam().status);
  T_ReportFacts facts;
  CMonitorInputInfo().ParseJsonInfo(node, &facts);
  EXPECT_EQ(facts.bMonitorConnected, GetParam().connected);
  EXPECT_EQ(facts.strMonitorEdid, GetParam().monitorEdid);
  EXPECT_EQ(facts.tOutput.strEdid, GetParam().outputEdid);
}

INSTANTIATE_TEST_SUITE_P(
    All, MonitorStatus,
    testing::Values(
        T_MonitorRow{"Connected", R"({"connected":true,"edid":"00ff"})", true, "00ff", "00ff"},
        T_MonitorRow{"ConnectedNoEdid", R"({"connected":true})", true, std::nullopt, std::nullopt},
        T_MonitorRow{"ConnectedEmptyEdid", R"({"connected":true,"edid":""})", true, "", std::nullopt},
        T_MonitorRow{"ConnectedNullEdid", R"({"connected":true,"edid":null})", true, std::nullopt, std::nullopt},
        T_MonitorRow{"Unplugged", R"({"connected":false,"edid":""})", false, "", std::nullopt},
        T_MonitorRow{"UnpluggedOldEdid", R"({"connected":false,"edid":"00ff"})", false, "00ff", std::nullopt},
        T_MonitorRow{"NoWordOnTheConnection", R"({"edid":"00ff"})", std::nullopt, std::nullopt, std::nullopt},
        T_MonitorRow{"ConnectionAsText", R"({"connected":"true","edid":"00ff"})", std::nullopt, std::nullopt,
                     std::nullopt},
        T_MonitorRow{"NoObject", "[]", std::nullopt, std::nullopt, std::nullopt}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(NetWork, ReadsEveryMember) {
  CNetWorkInfo info;
  info.ParseJsonInfo(NodeOf("device-trx", "NETWORK_INTERFACE:0"));
  EXPECT_EQ(info.m_strHostname, "studio-trx");
  EXPECT_EQ(info.m_strMode, "STATIC");
  EXPECT_EQ(info.m_strAddr, "10.31.4.50");
  EXPECT_EQ(info.m_strMask, "255.255.0.0");
  EXPECT_EQ(info.m_strGateway, "10.31.0.1");
  EXPECT_EQ(info.m_strMac, "0016c04e41b2");
}

TEST(NetWork, TheAddressInUseComesBeforeTheConfiguredOne) {
  Json::Value node = NodeOf("device-trx", "NETWORK_INTERFACE:0");
  node["status"]["ip"]["address"] = "10.0.0.1";
  CNetWorkInfo info;
  info.ParseJsonInfo(node);
  EXPECT_EQ(info.m_strAddr, "10.0.0.1");
  node["status"].removeMember("ip");
  info.ParseJsonInfo(node);
  EXPECT_EQ(info.m_strAddr, "10.31.4.50");
}

struct T_ScalerSizeRow {
  const char* name;
  const char* configuration;
  std::optional<int> width;
  std::optional<int> height;
};

class ScalerSize : public testing::TestWithParam<T_ScalerSizeRow> {};

TEST_P(ScalerSize, IsSaidWhenItScales) {
  Json::Value node = NodeOf("device-tx", "SCALER:0");
  node["configuration"] = FromText(GetParam().configuration);
  T_ReportFacts facts;
  CNodesScalerInfo().ParseJsonInfo(node, &facts);
  EXPECT_EQ(facts.tStream1.s32Width, GetParam().width);
  EXPECT_EQ(facts.tStream1.s32Height, GetParam().height);
}

INSTANTIATE_TEST_SUITE_P(
    All, ScalerSize,
    testing::Values(T_ScalerSizeRow{"Scaled", R"({"width":1280,"height":720})", 1280, 720},
                    T_ScalerSizeRow{"NotScaled", R"({"width":0,"height":0})", std::nullopt, std::nullopt},
                    T_ScalerSizeRow{"WidthOnly", R"({"width":1280,"height":0})", std::nullopt, std::nullopt},
                    T_ScalerSizeRow{"HeightMissing", R"({"width":1280})", std::nullopt, std::nullopt}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Scaler, HalvesTheRateThroughTheDivider) {
  CNodesScalerInfo info;
  T_ReportFacts facts;
  info.ParseJsonInfo(NodeOf("device-tx", "SCALER:0"), &facts);
  EXPECT_EQ(info.m_u32Width, 1280u);
  EXPECT_EQ(info.m_u32Height, 720u);
  EXPECT_EQ(info.m_s32Source, 1);
  EXPECT_EQ(facts.tStream1.bHalfRate, true);
  info.ParseJsonInfo(NodeOf("device-trx", "SCALER:0"), &facts);
  EXPECT_EQ(facts.tStream1.bHalfRate, false);
}

TEST(Uart, ReadsEveryMember) {
  CNodesUartInfo info;
  info.m_strLineOrder = "DCE";
  info.ParseJsonInfo(NodeOf("device-trx", "UART:0"));
  EXPECT_EQ(info.m_s32BaudRate, 57600);
  EXPECT_EQ(info.m_s32DataBits, 7);
  EXPECT_EQ(info.m_s32StopBits, 2);
  EXPECT_EQ(info.m_strParity, "ODD");
  EXPECT_EQ(info.m_strUsage, "EXPOSED");
  EXPECT_EQ(info.m_strLineOrder, "DCE");
}

TEST(UsbHid, ReadsEveryMember) {
  CNodesUSBHIDInfo info;
  info.ParseJsonInfo(NodeOf("device-tx", "USB_HID:0"));
  EXPECT_EQ(info.m_strRole, "LOCAL");
  EXPECT_EQ(info.m_strHostStatus, "CONNECTED");
}

TEST(Records, WithoutFactsAreFilledAllTheSame) {
  CFrameBuffer buffer;
  buffer.ParseJsonInfo(NodeOf("device-rx", "FRAME_BUFFER:0"), nullptr);
  EXPECT_EQ(buffer.m_u32Width, 1920u);
  CEncoderInputInfo inputs;
  inputs.ParseJsonInfo(NodeOf("device-rx", "HDMI_ENCODER:0"), nullptr);
  EXPECT_EQ(inputs.m_s32MainSource, 1);
  CMonitorInputInfo monitor;
  monitor.ParseJsonInfo(NodeOf("device-rx", "HDMI_MONITOR:0"), nullptr);
  EXPECT_TRUE(monitor.m_bConnected);
  CNodesScalerInfo scaler;
  scaler.ParseJsonInfo(NodeOf("device-tx", "SCALER:0"), nullptr);
  EXPECT_EQ(scaler.m_u32Width, 1280u);
}

}  // namespace
