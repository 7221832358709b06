// Video settings: input and streams of an encoder, output of a decoder.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "brntdevice.h"
#include "brntsendcmd.h"
#include "commandfixture.h"
#include "reusehanler.h"

namespace {

using request::LeaveAll;
using request::Start;
using request::Stop;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

using RowAndRole = std::tuple<T_CommandRow, E_DEVICE_MODE>;

std::string Edid() {
  std::string edid = "00ffffffffffff00";
  while (edid.size() < 512) edid += "5a";
  return edid;
}

T_Request SetEdid() {
  return CRequestCapture::Post(AVP_MSG_SETTXEDID, R"({"data_hex":")" + Edid() + R"(","op":"set:edid"})");
}

T_Request HdcpSupport(const std::string& value) {
  return CRequestCapture::Property(AVP_MSG_HDCPSUPPORT, "nodes[HDMI_DECODER:0].configuration.hdcp_support_enable",
                                   value);
}

T_Request Hdcp22Disable(const std::string& value) {
  return CRequestCapture::Property(AVP_MSG_HDCPNOTSUPPORT,
                                   "nodes[HDMI_DECODER:0].configuration.hdcp_22_support_disable", value);
}

T_CommandRow Input(const std::string& name, const std::string& json, const std::vector<T_Request>& requests,
                   bool result = true) {
  return {name, ReuseHanler::SetTXVideoInput, json, requests, result};
}

class VideoInput : public CommandFixture, public testing::WithParamInterface<RowAndRole> {};

TEST_P(VideoInput, QueuesExactlyThisUnlessTheDeviceIsAReceiver) {
  RunRow(std::get<0>(GetParam()),
         {{e_TX, e_TRX}, "It's not a TX device,can't do this command [set video input EDID and HDCP]"},
         std::get<1>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, VideoInput,
    testing::Combine(
        testing::Values(
            Input("EdidAndHdcp2", R"({"hdmiInEDID":")" + Edid() + R"(","hdcpCapability":"HDCP 2.x"})",
                  {SetEdid(), HdcpSupport("true"), Hdcp22Disable("false")}),
            Input("Hdcp1", R"({"hdcpCapability":"HDCP 1.x"})", {HdcpSupport("true"), Hdcp22Disable("true")}),
            Input("NoHdcp", R"({"hdcpCapability":"Unsupport"})", {HdcpSupport("false")}),
            Input("LowerCaseIsUnknown", R"({"hdcpCapability":"hdcp 2.x"})", {}, false),
            Input("EdidStaysQueuedWhenTheHdcpIsUnknown",
                  R"({"hdmiInEDID":")" + Edid() + R"(","hdcpCapability":"HDCP 3.x"})", {SetEdid()}, false),
            Input("EdidAlone", R"({"hdmiInEDID":")" + Edid() + R"("})", {SetEdid()}),
            Input("EdidThatIsNone", R"({"hdmiInEDID":"00","hdcpCapability":"Unsupport"})", {HdcpSupport("false")}),
            Input("EmptyTexts", R"({"hdmiInEDID":"","hdcpCapability":""})", {}),
            Input("WrongTypes", R"({"hdmiInEDID":17,"hdcpCapability":["HDCP 2.x"]})", {}), Input("Nothing", "{}", {}),
            Input("NoObject", "[]", {})),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

class VideoInputs : public CommandFixture {
 protected:
  static std::string Capability() {
    CBrntDevice* local = CBrntDevice::GetBrntDevByID(kId);
    OSMutexLocker locker(local->m_objMutex);
    return local->m_TxHdcpCapability;
  }
};

TEST_F(VideoInputs, NameTheUnknownCapabilityAndKeepTheOldOne) {
  BecomeA(e_TX);
  Run(ReuseHanler::SetTXVideoInput, R"({"hdcpCapability":"HDCP 1.x"})");
  EXPECT_EQ(Capability(), "HDCP 1.x");
  Run(ReuseHanler::SetTXVideoInput, R"({"hdcpCapability":"HDCP 3.x"})");
  EXPECT_THAT(Errors(), ElementsAre("[HDCP 3.x] Unkown"));
  EXPECT_EQ(Capability(), "HDCP 1.x");
}

T_Request HdcpMode(const std::string& text) {
  return CRequestCapture::Property(AVP_MSG_HDCPMODE, "nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode",
                                   "\"" + text + "\"");
}

T_Request Single1080p50() {
  return CRequestCapture::Post(AVP_MSG_SET_DISP_MODE, R"({"display_mode":"FAST_SWITCHED","op":"set:video",)"
                                                      R"("video":{"fps":50,"height":1080,"width":1920}})");
}

T_Request Bypass() {
  return CRequestCapture::Post(AVP_MSG_SET_DISP_MODE, R"({"display_mode":"GENLOCKED","op":"set:video"})");
}

struct T_WallText {
  std::string mode = "WALL_GENLOCKED";
  std::string stretch = "STRETCH";
  std::string bezelHoriz = "0";
  std::string bezelVert = "0";
};

T_Request WallOf(const T_WallText& wall) {
  return CRequestCapture::Post(
      AVP_MSG_SET_VIDEO_WALL,
      R"({"display_mode":")" + wall.mode + R"(","op":"set:video","video":{"aspect_ratio_mode":")" + wall.stretch +
          R"(","bezel_horiz":)" + wall.bezelHoriz + R"(,"bezel_vert":)" + wall.bezelVert +
          R"(,"fps":60,"grid_height":2,"grid_index_horiz":2,"grid_index_vert":1,"grid_width":3,"height":2160,)"
          R"("width":3840}})");
}

T_Request StretchedTo(const std::string& stretch) {
  T_WallText wall;
  wall.stretch = stretch;
  return WallOf(wall);
}

T_Request WallMode(const std::string& mode) {
  T_WallText wall;
  wall.mode = mode;
  return WallOf(wall);
}

T_Request Bezels(const std::string& horiz, const std::string& vert) {
  T_WallText wall;
  wall.bezelHoriz = horiz;
  wall.bezelVert = vert;
  return WallOf(wall);
}

constexpr char kWallPlace[] = R"("scaler":"3840x2160","maxRow":2,"maxColumn":3,"posRow":1,"posColumn":2)";

// A video wall command with these members beside (or, where they have the same key, after) the place of the screen.
std::string WallJson(const std::string& more = "", const std::string& place = kWallPlace) {
  return R"({"displayMode":"videoWall","videoWallLayout":{)" + place + (more.empty() ? "" : ",") + more + "}}";
}

T_CommandRow Output(const std::string& name, const std::string& json, const std::vector<T_Request>& requests) {
  return {name, ReuseHanler::SetRXVideoOutput, json, requests, true};
}

class VideoOutput : public CommandFixture, public testing::WithParamInterface<RowAndRole> {};

TEST_P(VideoOutput, QueuesExactlyThisAndIsDeliberatelyAlwaysDone) {
  RunRow(std::get<0>(GetParam()),
         {{e_RX, e_TRX}, "It's  a TX device,can't do this command [set video output hdmiout]", true},
         std::get<1>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Hdcp, VideoOutput,
    testing::Combine(
        testing::Values(Output("FollowSink", R"({"hdcpMethod":"Follow Sink"})", {HdcpMode("FOLLOW_SINK_1")}),
                        Output("FollowSource", R"({"hdcpMethod":"Follow Source"})", {HdcpMode("FOLLOW_SOURCE")}),
                        Output("AnotherMethodIsLeftUnhandled", R"({"hdcpMethod":"follow sink"})", {}),
                        Output("WrongType", R"({"hdcpMethod":1})", {}), Output("Nothing", "{}", {}),
                        Output("NoObject", "7", {})),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

INSTANTIATE_TEST_SUITE_P(
    Single, VideoOutput,
    testing::Combine(
        testing::Values(
            Output("Complete",
                   R"({"hdcpMethod":"Follow Sink","displayMode":"single",)"
                   R"("singleLayout":{"scaler":"1920x1080p@50","videoWall":true,"wallMode":"auto"}})",
                   {HdcpMode("FOLLOW_SINK_1"), Single1080p50()}),
            Output("InCapitalsWithATail", R"({"displayMode":"SINGLE view","singleLayout":{"scaler":"1920x1080p@50"}})",
                   {Single1080p50()}),
            Output("Bypass", R"({"displayMode":"single","singleLayout":{"scaler":"bypass"}})", {Bypass()}),
            Output("UnknownScaler", R"({"displayMode":"single","singleLayout":{"scaler":"720p"}})", {}),
            Output("WithoutAScaler", R"({"displayMode":"single","singleLayout":{"wallMode":"auto"}})", {}),
            Output("ScalerOfTheWrongType", R"({"displayMode":"single","singleLayout":{"scaler":1080}})", {}),
            Output("OptionalsOfTheWrongType",
                   R"({"displayMode":"single","singleLayout":{"scaler":"1920x1080p@50","videoWall":1,"wallMode":2}})",
                   {Single1080p50()}),
            Output("WithoutALayout", R"({"displayMode":"single"})", {}),
            Output("LayoutOfTheWrongType", R"({"displayMode":"single","singleLayout":"1920x1080p@50"})", {}),
            Output("DisplayModeOfTheWrongType", R"({"displayMode":1,"singleLayout":{"scaler":"1920x1080p@50"}})", {}),
            Output("UnknownDisplayMode", R"({"displayMode":"singl","singleLayout":{"scaler":"1920x1080p@50"}})", {}),
            Output("MultiviewWithoutALayout", R"({"displayMode":"multiview"})", {})),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

INSTANTIATE_TEST_SUITE_P(
    Wall, VideoOutput,
    testing::Combine(
        testing::Values(
            Output("OnlyWhatIsNeeded", WallJson(), {WallOf({})}),
            Output("DisplayModeInCapitals",
                   std::string(R"({"displayMode":"VIDEOWALL 2","videoWallLayout":{)") + kWallPlace + "}}",
                   {WallOf({})}),
            Output("Stretch", WallJson(R"("stretchType":"Stretch")"), {StretchedTo("STRETCH")}),
            Output("Fit", WallJson(R"("stretchType":"FIT")"), {StretchedTo("KEEP")}),
            Output("FillInLowerCase", WallJson(R"("stretchType":"fill")"), {StretchedTo("CROP")}),
            Output("UnknownStretch", WallJson(R"("stretchType":"zoom")"), {StretchedTo("CROP")}),
            Output("StretchOfTheWrongType", WallJson(R"("stretchType":3)"), {StretchedTo("STRETCH")}),
            Output("Bezels", WallJson(R"("bezelHoriz":10,"bezelVert":-20)"), {Bezels("10", "-20")}),
            Output("BezelsOfTheWrongType", WallJson(R"("bezelHoriz":"10","bezelVert":[20])"), {WallOf({})}),
            Output("FastSwitchInCapitals", WallJson(R"("wallMode":"FASTSWITCH")"), {WallMode("WALL_FAST_SWITCHED")}),
            Output("Auto", WallJson(R"("wallMode":"auto")"), {WallMode("WALL_FAST_SWITCHED")}),
            Output("Genlock", WallJson(R"("wallMode":"genlock")"), {WallMode("WALL_GENLOCKED")}),
            Output("UnknownWallModeIsDeliberatelyGenlock", WallJson(R"("wallMode":"turbo")"),
                   {WallMode("WALL_GENLOCKED")}),
            Output("WallModeOfTheWrongType", WallJson(R"("wallMode":0)"), {WallMode("WALL_GENLOCKED")}),
            Output("UnknownScaler", WallJson("", R"("scaler":"8k","maxRow":2,"maxColumn":3,"posRow":1,"posColumn":2)"),
                   {}),
            Output("NoRows", WallJson("", R"("scaler":"3840x2160","maxRow":0,"maxColumn":3,"posRow":1,"posColumn":2)"),
                   {}),
            Output("WithoutALayout", R"({"displayMode":"videoWall"})", {})),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

struct T_MissingRow {
  const char* name;
  const char* place;
  const char* key;
};
class WallWithout : public CommandFixture, public testing::WithParamInterface<T_MissingRow> {};

TEST_P(WallWithout, WhatIsNeededIsRefusedAndTheKeyNamed) {
  EXPECT_TRUE(Run(ReuseHanler::SetRXVideoOutput, WallJson("", GetParam().place)));
  EXPECT_THAT(Requests(), IsEmpty());
  EXPECT_THAT(Errors(), ElementsAre(std::string("set video wall,but can't found [") + GetParam().key + "]"));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, WallWithout,
    testing::Values(
        T_MissingRow{"Scaler", R"("maxRow":2,"maxColumn":3,"posRow":1,"posColumn":2)", "scaler"},
        T_MissingRow{"ScalerOfTheWrongType", R"("scaler":4,"maxRow":2,"maxColumn":3,"posRow":1,"posColumn":2)",
                     "scaler"},
        T_MissingRow{"MaxRow", R"("scaler":"3840x2160","maxColumn":3,"posRow":1,"posColumn":2)", "maxRow"},
        T_MissingRow{"MaxColumn", R"("scaler":"3840x2160","maxRow":2,"maxColumn":"3","posRow":1,"posColumn":2)",
                     "maxColumn"},
        T_MissingRow{"PosRow", R"("scaler":"3840x2160","maxRow":2,"maxColumn":3,"posRow":null,"posColumn":2)",
                     "posRow"},
        T_MissingRow{"PosColumn", R"("scaler":"3840x2160","maxRow":2,"maxColumn":3,"posRow":1)", "posColumn"},
        T_MissingRow{"EverythingNamesTheFirst", R"("posColumn":1)", "scaler"}),
    [](const auto& row) { return std::string(row.param.name); });

class VideoOutputs : public CommandFixture {
 protected:
  bool SetWall(const std::string& more) { return Run(ReuseHanler::SetRXVideoOutput, WallJson(more)); }
};

TEST_F(VideoOutputs, UseTheLastStretchTypeWhenAWallCommandHasNone) {
  SetWall(R"("stretchType":"Fit")");
  Requests();
  m_log.Clear();
  SetWall("");
  EXPECT_THAT(Requests(), ElementsAre(StretchedTo("KEEP")));
  EXPECT_EQ(m_log.PriorityOf("set video wall,but can't found [stretchType] , so used default value [KEEP]"), 600);
}

TEST_F(VideoOutputs, KeepAnUnknownStretchTypeAsCrop) {
  SetWall(R"("stretchType":"zoom")");
  EXPECT_THAT(Errors(), ElementsAre("set video wall,but param [zoom] unknow"));
  EXPECT_EQ(ReuseHanler::LastVWStretchType, "CROP");
}

TEST_F(VideoOutputs, DeliberatelyNameFastswitchForAnUnknownWallModeAndUseGenlock) {
  SetWall(R"("wallMode":"turbo")");
  EXPECT_THAT(Errors(), ElementsAre("set video wall,but param [turbo] err, use default fastswitch"));
  EXPECT_EQ(m_log.PriorityOf("video wall mode :genlock"), 600);
  EXPECT_EQ(SendCmd2AVP::SavedVideoWall().i_wallMode, "genlock");
}

TEST_F(VideoOutputs, LogTheWallMode) {
  SetWall(R"("wallMode":"FASTSWITCH")");
  EXPECT_EQ(m_log.PriorityOf("video wall mode :FASTSWITCH"), 600);
  SetWall("");
  EXPECT_EQ(m_log.PriorityOf("video default wall mode :genlock"), 600);
}

TEST_F(VideoOutputs, SaveWallAndSingleSettings) {
  SetWall(R"("wallMode":"AUTO")");
  EXPECT_EQ(SendCmd2AVP::SavedVideoWall().i_wallMode, "AUTO");
  Run(ReuseHanler::SetRXVideoOutput,
      R"({"displayMode":"single","singleLayout":{"scaler":"1280x720","videoWall":true}})");
  EXPECT_EQ(SendCmd2AVP::SavedSingle().strScaler, "1280x720");
  EXPECT_TRUE(SendCmd2AVP::SavedSingle().bVideoWall);
  EXPECT_EQ(SendCmd2AVP::SavedSingle().wallMode, "genlock");
}

class StoredOutput : public CommandFixture {
 protected:
  static std::string Stored() {
    CBrntDevice* local = CBrntDevice::GetBrntDevByID(kId);
    OSMutexLocker locker(local->m_objMutex);
    return local->m_RxScaler + "|" + local->m_RxHdcpMode;
  }
};

TEST_F(StoredOutput, IsThatOfASingleCommandThatWasSent) {
  Run(ReuseHanler::SetRXVideoOutput,
      R"({"hdcpMethod":"Follow Sink","displayMode":"single","singleLayout":{"scaler":"1280x720"}})");
  EXPECT_EQ(Stored(), "1280x720|Follow Sink");
  Run(ReuseHanler::SetRXVideoOutput, R"({"displayMode":"single","singleLayout":{"scaler":"bypass"}})");
  EXPECT_EQ(Stored(), "bypass|Follow Sink");
}

TEST_F(StoredOutput, StaysAsItWasWhenTheBuilderRefuses) {
  Run(ReuseHanler::SetRXVideoOutput, R"({"displayMode":"single","singleLayout":{"scaler":"1280x720"}})");
  Run(ReuseHanler::SetRXVideoOutput,
      R"({"hdcpMethod":"Follow Sink","displayMode":"single","singleLayout":{"scaler":"8k"}})");
  EXPECT_EQ(Stored(), "1280x720|");
}

T_Request RemoveAudio(const std::string& value) {
  return CRequestCapture::Property(AVP_MSG_SET_PROPERTY_REMOVE_AUDIO, "streams[HDMI:0].configuration.remove_audio",
                                   value);
}

T_Request HalveStream0(const std::string& value) {
  return CRequestCapture::Property(AVP_MSG_FRAME_HALF, "streams[HDMI:0].configuration.source.value", value);
}

T_Request HalveStream1(const std::string& value) {
  return CRequestCapture::Property(AVP_MSG_FRAME_HALF, "nodes[SCALER:0].inputs[main:0].configuration.source.value",
                                   value);
}

T_Request Scale(const std::string& width, const std::string& height) {
  return CRequestCapture::Post(AVP_MSG_SETTXSCALE,
                               R"({"height":)" + height + R"(,"op":"set:scaler","width":)" + width + "}");
}

T_Request StartVideo0() { return Start("hdmi", 0, "235.14.65.178"); }
T_Request StartVideo1() { return Start("hdmi", 1, "235.22.65.178"); }
T_Request StartAudio() { return Start("HDMI_AUDIO", 0, "235.38.65.178"); }

std::vector<T_Request> AllOff() { return {Stop("HDMI", 0), Stop("HDMI_AUDIO", 0), RemoveAudio("true")}; }

T_CommandRow Stream0(const std::string& name, const std::string& members, const std::vector<T_Request>& requests) {
  return {"Stream0" + name, ReuseHanler::SetTXVideoOutput, R"({"streams":{"avpStream0":{)" + members + "}}}", requests,
          true};
}

T_CommandRow Stream1(const std::string& name, const std::string& members, const std::vector<T_Request>& requests) {
  return {"Stream1" + name, ReuseHanler::SetTXVideoOutput, R"({"streams":{"avpStream1":{)" + members + "}}}", requests,
          true};
}

T_CommandRow Streams(const std::string& name, const std::string& json, const std::vector<T_Request>& requests,
                     bool result = true) {
  return {name, ReuseHanler::SetTXVideoOutput, json, requests, result};
}

class StreamOutput : public CommandFixture, public testing::WithParamInterface<RowAndRole> {};

TEST_P(StreamOutput, QueuesExactlyThisUnlessTheDeviceIsAReceiver) {
  RunRow(std::get<0>(GetParam()), {{e_TX, e_TRX}, "RX device Can't Set streams"}, std::get<1>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Stream0, StreamOutput,
    testing::Combine(
        testing::Values(Stream0("Complete", R"("enable":true,"enableAudio":true,"halfFrameRate":true)",
                                {StartVideo0(), RemoveAudio("false"), StartAudio(), HalveStream0("1")}),
                        Stream0("VideoAlone", R"("enable":true)",
                                {StartVideo0(), Stop("HDMI_AUDIO", 0), RemoveAudio("true")}),
                        Stream0("Off", R"("enable":false)", AllOff()), Stream0("NothingGivenIsOff", "", AllOff()),
                        Stream0("WrongTypesAreOff", R"("enable":1,"enableAudio":"true","halfFrameRate":1)", AllOff()),
                        Stream0("FullRate", R"("enable":true,"enableAudio":true,"halfFrameRate":false)",
                                {StartVideo0(), RemoveAudio("false"), StartAudio(), HalveStream0("0")}),
                        Stream0("AudioAlone", R"("enable":false,"enableAudio":true)",
                                {Stop("HDMI", 0), RemoveAudio("false"), StartAudio()})),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

INSTANTIATE_TEST_SUITE_P(
    Stream1, StreamOutput,
    testing::Combine(
        testing::Values(Stream1("Complete", R"("enable":true,"height":720,"width":1280,"halfRefreshRate":true)",
                                {StartVideo1(), Scale("1280", "720"), HalveStream1("1")}),
                        Stream1("Off", R"("enable":false)", {Stop("HDMI", 1), Stop("HDMI_AUDIO", 1)}),
                        Stream1("NothingGiven", "", {}), Stream1("EnableOfTheWrongType", R"("enable":"true")", {}),
                        Stream1("WidthAlone", R"("width":1280)", {}), Stream1("HeightAlone", R"("height":720)", {}),
                        Stream1("WidthOfTheWrongType", R"("width":"1280","height":720)", {}),
                        Stream1("ScaleAlone", R"("width":1280,"height":720)", {Scale("1280", "720")}),
                        Stream1("FullRate", R"("halfRefreshRate":false)", {HalveStream1("0")}),
                        Stream1("RateOfTheWrongType", R"("halfRefreshRate":0)", {})),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

INSTANTIATE_TEST_SUITE_P(
    Both, StreamOutput,
    testing::Combine(
        testing::Values(
            Streams("Stream0ComesFirst", R"({"streams":{"avpStream1":{"enable":true},"avpStream0":{"enable":false}}})",
                    {Stop("HDMI", 0), Stop("HDMI_AUDIO", 0), RemoveAudio("true"), StartVideo1()}),
            Streams("StreamsOfTheWrongTypeAreNone", R"({"streams":{"avpStream0":true,"avpStream1":[1]}})", {}),
            Streams("AnotherStreamIsNone", R"({"streams":{"avpStream2":{"enable":true}}})", {}),
            Streams("Empty", R"({"streams":{}})", {}, false), Streams("Missing", "{}", {}, false),
            Streams("WrongType", R"({"streams":5})", {}, false), Streams("NoObject", "true", {}, false)),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

class StreamOutputs : public CommandFixture {
 protected:
  StreamOutputs() { BecomeA(e_TX); }
};

TEST_F(StreamOutputs, NameTheMissingStreams) {
  Run(ReuseHanler::SetTXVideoOutput, "{}");
  EXPECT_THAT(Errors(), ElementsAre("Can't found [streams]"));
}

TEST_F(StreamOutputs, KeepTheDoubleBlanksOfTheirLines) {
  Run(ReuseHanler::SetTXVideoOutput,
      R"({"streams":{"avpStream0":{"enable":true,"enableAudio":true},"avpStream1":{"enable":true}}})");
  Run(ReuseHanler::SetTXVideoOutput, R"({"streams":{"avpStream0":{}}})");
  EXPECT_EQ(m_log.PriorityOf("Start stream 0 HDMI : [0016c04e41b2 -- 235.14.65.178]"), 600);
  EXPECT_EQ(m_log.PriorityOf("Start stream 0  HDMI_AUDIO : [0016c04e41b2 -- 235.38.65.178]"), 600);
  EXPECT_EQ(m_log.PriorityOf("Start stream 1  HDMI : [0016c04e41b2 -- 235.22.65.178]"), 600);
  EXPECT_EQ(m_log.PriorityOf("Start stream 0  HDMI_AUDIO stop"), 600);
}

}  // namespace
