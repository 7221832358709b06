// Properties, audio of the HDMI output, reset and the periodic checks.
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

using testing::ElementsAre;
using testing::IsEmpty;

using RowAndRole = std::tuple<T_CommandRow, E_DEVICE_MODE>;

T_Request DeviceMode(const std::string& mode) {
  return CRequestCapture::Property(AVP_MSG_SET_PROPERTY_DEVICE_MODE, "configuration.device_mode", "\"" + mode + "\"");
}

T_CommandRow SetProperty(const std::string& name, const std::string& json, const std::vector<T_Request>& requests,
                         bool result = true) {
  return {name, ReuseHanler::SendPropertyCmd, json, requests, result};
}

class PropertyCommand : public CommandFixture, public testing::WithParamInterface<RowAndRole> {};

TEST_P(PropertyCommand, IsDeliberatelyForTransceiversAloneWhateverItsLineSays) {
  RunRow(std::get<0>(GetParam()), {{e_TRX}, "TR or RX device Can't Set property"}, std::get<1>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, PropertyCommand,
    testing::Combine(testing::Values(SetProperty("Mode", R"({"deviceMode":"RECEIVER"})", {DeviceMode("RECEIVER")}),
                                     SetProperty("AnyText", R"({"deviceMode":"whatever"})", {DeviceMode("whatever")}),
                                     SetProperty("Empty", R"({"deviceMode":""})", {}, false),
                                     SetProperty("Missing", "{}", {}, false),
                                     SetProperty("WrongType", R"({"deviceMode":1})", {}, false),
                                     SetProperty("NoObject", R"("deviceMode")", {}, false)),
                     testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

class PropertyLog : public CommandFixture {};

TEST_F(PropertyLog, NamesTheMissingKey) {
  BecomeA(e_TRX);
  Run(ReuseHanler::SendPropertyCmd, "{}");
  EXPECT_THAT(Errors(), ElementsAre("Can't found [deviceMode]"));
}

T_Request Source(const std::string& value) {
  return CRequestCapture::Property(AVP_MSG_HDMIOUT_AUD_SRC,
                                   "nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value", value);
}

T_Request Format(const std::string& member, const std::string& value) {
  return CRequestCapture::Property(AVP_MSG_HDMIOUT_AUD_SRC, "nodes[MULTICH_AUDIO_INPUT:0].configuration." + member,
                                   value);
}

std::vector<T_Request> Formats() {
  return {Format("sampling_frequency.value", "48000"), Format("number_of_channels.value", "8"),
          Format("channel_allocation.value", "19"), Format("audio_encoding_type", R"("LPCM")")};
}

std::vector<T_Request> SourceAndFormats() {
  std::vector<T_Request> requests = Formats();
  requests.insert(requests.begin(), Source("9"));
  return requests;
}

// The audio command with these members.
T_CommandRow Audio(const std::string& name, const std::string& members, const std::vector<T_Request>& requests) {
  return {name, ReuseHanler::SendHdmiOutAudSrc2Avp, "{" + members + "}", requests, true};
}

constexpr char kSource[] = R"("hdmi_out_audio_src":"multi-channel-local")";
constexpr char kFrequency[] = R"("hdmi_out_audio_sampling_frequency":48000)";
constexpr char kChannels[] = R"("hdmi_out_audio_number_of_channels":8)";
constexpr char kAllocation[] = R"("hdmi_out_audio_channel_allocation":19)";
constexpr char kEncoding[] = R"("hdmi_out_audio_audio_encoding_type":"LPCM")";

std::string Members(const std::vector<std::string>& members) {
  std::string text;
  for (const std::string& member : members) text += (text.empty() ? "" : ",") + member;
  return text;
}

class AudioCommand : public CommandFixture, public testing::WithParamInterface<RowAndRole> {};

TEST_P(AudioCommand, QueuesExactlyThisInEveryRole) {
  RunRow(std::get<0>(GetParam()), {{e_TX, e_RX, e_TRX}, ""}, std::get<1>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, AudioCommand,
    testing::Combine(
        testing::Values(
            Audio("Complete", Members({kSource, kFrequency, kChannels, kAllocation, kEncoding}), SourceAndFormats()),
            Audio("SourceAlone", kSource, {Source("9")}),
            Audio("UnknownSourceIsTheDefault", R"("hdmi_out_audio_src":"dante")", {Source("2")}),
            Audio("FormatAlone", Members({kFrequency, kChannels, kAllocation, kEncoding}), Formats()),
            Audio("EmptySource", Members({R"("hdmi_out_audio_src":"")", kFrequency, kChannels, kAllocation, kEncoding}),
                  Formats()),
            Audio("SourceOfTheWrongType",
                  Members({R"("hdmi_out_audio_src":9)", kFrequency, kChannels, kAllocation, kEncoding}), Formats()),
            Audio("WithoutFrequency", Members({kSource, kChannels, kAllocation, kEncoding}), {Source("9")}),
            Audio("WithoutChannels", Members({kSource, kFrequency, kAllocation, kEncoding}), {Source("9")}),
            Audio("WithoutAllocation", Members({kSource, kFrequency, kChannels, kEncoding}), {Source("9")}),
            Audio("WithoutEncoding", Members({kSource, kFrequency, kChannels, kAllocation}), {Source("9")}),
            Audio("EmptyEncoding",
                  Members({kFrequency, kChannels, kAllocation, R"("hdmi_out_audio_audio_encoding_type":"")"}), {}),
            Audio("EncodingOfTheWrongType",
                  Members({kFrequency, kChannels, kAllocation, R"("hdmi_out_audio_audio_encoding_type":1)"}), {}),
            Audio("FrequencyOfTheWrongType",
                  Members({R"("hdmi_out_audio_sampling_frequency":"48000")", kChannels, kAllocation, kEncoding}), {}),
            Audio("ChannelsOfMinus1",
                  Members({kFrequency, R"("hdmi_out_audio_number_of_channels":-1)", kAllocation, kEncoding}), {}),
            Audio("Nothing", "", {})),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

class AudioCommands : public CommandFixture {};

TEST_F(AudioCommands, PauseBetweenSourceAndFormat) {
  std::vector<T_Request> beforePause;
  m_platform.OnSleep([&](SInt64) { beforePause = Requests(); });
  Run(ReuseHanler::SendHdmiOutAudSrc2Avp,
      "{" + Members({kSource, kFrequency, kChannels, kAllocation, kEncoding}) + "}");
  EXPECT_THAT(m_platform.Sleeps(), ElementsAre(50));
  EXPECT_THAT(beforePause, ElementsAre(Source("9")));
}

TEST_F(AudioCommands, DoNotPauseForTheSourceAlone) {
  Run(ReuseHanler::SendHdmiOutAudSrc2Avp, std::string("{") + kSource + "}");
  EXPECT_THAT(m_platform.Sleeps(), IsEmpty());
}

class MaintenanceCommand : public CommandFixture {};

TEST_F(MaintenanceCommand, ResetsTheAvProcessorToItsDefaults) {
  EXPECT_TRUE(ReuseHanler::DoAvpReset(kId));
  EXPECT_THAT(Requests(), ElementsAre(CRequestCapture::Post(AVP_MSG_SEND_FACTORY, R"({"op":"factory"})")));
}

TEST_F(MaintenanceCommand, AsksForEdidAndNetstat) {
  EXPECT_TRUE(ReuseHanler::SendEdidCmd(kId, Json::Value()));
  EXPECT_TRUE(ReuseHanler::SendNetstatCmd(kId, Json::Value()));
  EXPECT_THAT(Requests(),
              ElementsAre(CRequestCapture::Post(AVP_MSG_GETEDID, R"({"op":"get","subset":"edid"})"),
                          CRequestCapture::Post(AVP_MSG_GET_NETSTAT, R"({"op":"netstat","option":"read"})")));
}

constexpr char kFrameBuffer[] = R"({"identity":{"firmware_comment":"c"},"nodes":[
    {"type":"FRAME_BUFFER","index":0,"configuration":{"display_mode":"WALL_FAST_SWITCHED","width":1920,"height":1080,
     "frames_per_second":50},"status":{"source_video":{"width":3840,"height":2160,"frames_per_second":60,
     "color_space":"RGB","bits_per_pixel":8,"scan_mode":"PROGRESSIVE"}},"inputs":[]}]})";

class WallSummary : public CommandFixture {
 protected:
  WallSummary() {
    CBrntDevice::GetBrntDevByID(kId)->ParseDevice(Json(kFrameBuffer), false);
    SendCmd2AVP::SendRxVideoResCmd(kId, "bypass", false, "genlock", true);
    Requests();
    // An earlier test may have left a part of ten.
    while (!m_log.Contains("source[w:")) Check();
    m_log.Clear();
  }

  bool Check() { return ReuseHanler::CheckVideoWallStatus(kId, Json::Value()); }
};

TEST_F(WallSummary, IsWrittenOnEveryTenthCheck) {
  for (int check = 0; check < 9; ++check) EXPECT_TRUE(Check());
  EXPECT_FALSE(m_log.Contains("source[w:"));
  EXPECT_TRUE(Check());
  EXPECT_EQ(m_log.PriorityOf("source[w:3840,h:2160,fps:60,cs:RGB,bpp:8,mode:PROGRESSIVE], "
                             "disp[mode:WALL_FAST_SWITCHED,fps:50]"),
            600);
  for (int check = 0; check < 10; ++check) Check();
  EXPECT_EQ(m_log.Count("source[w:"), 2u);
}

TEST_F(WallSummary, IsNeverWrittenOnATransmitter) {
  BecomeA(e_TX);
  for (int check = 0; check < 20; ++check) EXPECT_TRUE(Check());
  EXPECT_THAT(m_log.Lines(), IsEmpty());
}

TEST_F(WallSummary, IsWrittenOnATransceiver) {
  BecomeA(e_TRX);
  for (int check = 0; check < 10; ++check) Check();
  EXPECT_EQ(m_log.Count("source[w:"), 1u);
}

TEST_F(WallSummary, ComesBesideTheCheckOfTheWall) {
  Run(ReuseHanler::SetRXVideoOutput,
      R"({"displayMode":"videoWall","videoWallLayout":{"scaler":"3840x2160p@60","maxRow":1,"maxColumn":1,"posRow":0,
          "posColumn":0,"wallMode":"auto"}})");
  Requests();
  Check();
  EXPECT_THAT(Requests(), IsEmpty()) << "no stable source";
  CBrntDevice::GetBrntDevByID(kId)->ParseDevice(
      Json(R"({"identity":{"a":1},"nodes":[{"type":"HDMI_ENCODER","index":0,"configuration":{},
              "status":{"source_stable":true},"inputs":[]}]})"),
      false);
  Check();
  ASSERT_EQ(Requests().size(), 1u);
}

}  // namespace
