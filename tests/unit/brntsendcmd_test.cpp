// Every builder: arguments in, exact request out; and what each one refuses.
#include "brntsendcmd.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "brntasynctask.h"
#include "logcapture.h"
#include "requestcapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kId = CRequestCapture::kDevice;

T_Request Post(AVP_MSG_E kind, const std::string& json) { return CRequestCapture::Post(kind, json); }

T_Request Property(AVP_MSG_E kind, const std::string& key, const std::string& value) {
  return CRequestCapture::Property(kind, key, value);
}

T_Request Get(AVP_MSG_E kind, const std::string& path) { return CRequestCapture::Any(kind, e_method_get, path); }

std::string Repeated(const std::string& text, size_t times) {
  std::string result;
  for (size_t i = 0; i < times; ++i) result += text;
  return result;
}

// One call of a builder and what it must queue.
struct T_BuilderRow {
  const char* name;
  std::function<int()> call;
  std::vector<T_Request> requests;
};

class Builder : public testing::TestWithParam<T_BuilderRow> {};

TEST_P(Builder, QueuesExactlyThis) {
  CRequestCapture requests;
  EXPECT_EQ(GetParam().call(), 1);
  EXPECT_EQ(requests.Take(), GetParam().requests);
}

std::string RowName(const testing::TestParamInfo<T_BuilderRow>& row) { return row.param.name; }

using Send = SendCmd2AVP;

INSTANTIATE_TEST_SUITE_P(
    DeviceReads, Builder,
    testing::Values(T_BuilderRow{"GetVersion",
                                 [] { return Send::SendGetVerCmd(kId); },
                                 {Get(AVP_MSG_GET_VERSION, "/api/device/0016c04e41b2")}},
                    T_BuilderRow{"GetDevice",
                                 [] { return Send::SendGetDeviceCmd(kId); },
                                 {Post(AVP_MSG_GET_DEVICE, R"({"op":"get","subset":"device"})")}},
                    T_BuilderRow{"GetIdentity",
                                 [] { return Send::SendGetAvpIdentityCmd(kId); },
                                 {Post(AVP_MSG_GET_IDENTITY, R"({"op":"get","subset":"identity"})")}},
                    T_BuilderRow{"GetEdid",
                                 [] { return Send::SendGetEdidCmd(kId); },
                                 {Post(AVP_MSG_GETEDID, R"({"op":"get","subset":"edid"})")}},
                    T_BuilderRow{"Netstat",
                                 [] { return Send::GetNetstat(kId); },
                                 {Post(AVP_MSG_GET_NETSTAT, R"({"op":"netstat","option":"read"})")}},
                    T_BuilderRow{"FirmwareListing",
                                 [] { return Send::SendGetFirmwareFileCmd(kId); },
                                 {Get(AVP_MSG_GET_FW, "/api/firmware")}},
                    T_BuilderRow{"AnIdOutsideTheUrlAlphabetIsNotEscaped",
                                 [] { return Send::SendGetVerCmd("a b/%\"?"); },
                                 {Get(AVP_MSG_GET_VERSION, "/api/device/a b/%\"?")}}),
    RowName);

INSTANTIATE_TEST_SUITE_P(
    Streams, Builder,
    testing::Values(
        T_BuilderRow{"Stop",
                     [] { return Send::SendStopCmd(kId, "HDMI", 1, true); },
                     {Post(AVP_MSG_STOP_AV, R"({"free":true,"op":"stop","stream_index":1,"stream_type":"HDMI"})")}},
        T_BuilderRow{"StopWithoutFreeSendsFalse",
                     [] { return Send::SendStopCmd(kId, "HDMI", 0, false); },
                     {Post(AVP_MSG_STOP_AV, R"({"free":false,"op":"stop","stream_index":0,"stream_type":"HDMI"})")}},
        T_BuilderRow{"Start",
                     [] { return Send::SendStartCmd(kId, "HDMI_AUDIO", 0, "235.14.33.231"); },
                     {Post(AVP_MSG_START_AV, R"({"dest_address":"235.14.33.231","op":"start","stream_index":0,)"
                                             R"("stream_type":"HDMI_AUDIO"})")}},
        T_BuilderRow{
            "SwitchAddress",
            [] { return Send::SendSwitchCmdWithIP(kId, "RS232", 0, "192.168.1.7"); },
            {Post(AVP_MSG_SWITCHADDR, R"({"dest_address":"192.168.1.7","op":"switch:address","stream_index":0,)"
                                      R"("stream_type":"RS232"})")}},
        T_BuilderRow{"ReceiveEvents",
                     [] { return Send::SendSetSreialEecvEventCmd(kId, "INFRARED", 0); },
                     {Post(AVP_MSG_SERIAL_SWITCH, R"({"op":"switch:api","stream_index":0,"stream_type":"INFRARED"})")}},
        T_BuilderRow{
            "Subscribe",
            [] { return Send::SendSubscribeCmd(kId, "hdmi_audio", 3, "235.38.33.231"); },
            {Post(AVP_MSG_SUBSCRIBE, R"({"op":"subscribe","source_address":"235.38.33.231","subscription_index":3,)"
                                     R"("subscription_type":"hdmi_audio"})")}},
        T_BuilderRow{"LeaveOne",
                     [] { return Send::SendLeaveCmd(kId, "HDMI", 0); },
                     {Post(AVP_MSG_LEAVE, R"({"op":"leave","subscription_index":0,"subscription_type":"HDMI"})")}},
        T_BuilderRow{"LeaveWithIndexMinus1NamesNoIndex",
                     [] { return Send::SendLeaveCmd(kId, "HDMI", -1); },
                     {Post(AVP_MSG_LEAVE, R"({"op":"leave","subscription_type":"HDMI"})")}}),
    RowName);

TEST(ClearSubscribeRetry, ForgetsTheSubscriptionsThatFailed) {
  CRequestCapture requests;
  ASSERT_TRUE(requests.LeaveAFailedSubscription());
  Send::ClearSubscribeRetryCmd();
  EXPECT_FALSE(CRequestCapture::FailedSubscriptionWaits());
}

INSTANTIATE_TEST_SUITE_P(
    Properties, Builder,
    testing::Values(
        T_BuilderRow{
            "HdcpSupportOn",
            [] { return Send::SendHdcpSupportCmd(kId, true); },
            {Property(AVP_MSG_HDCPSUPPORT, "nodes[HDMI_DECODER:0].configuration.hdcp_support_enable", "true")}},
        T_BuilderRow{
            "HdcpSupportOff",
            [] { return Send::SendHdcpSupportCmd(kId, false); },
            {Property(AVP_MSG_HDCPSUPPORT, "nodes[HDMI_DECODER:0].configuration.hdcp_support_enable", "false")}},
        T_BuilderRow{
            "Hdcp22Refused",
            [] { return Send::SendHdcpNotSupport22Cmd(kId, true); },
            {Property(AVP_MSG_HDCPNOTSUPPORT, "nodes[HDMI_DECODER:0].configuration.hdcp_22_support_disable", "true")}},
        T_BuilderRow{
            "Hdcp22Taken",
            [] { return Send::SendHdcpNotSupport22Cmd(kId, false); },
            {Property(AVP_MSG_HDCPNOTSUPPORT, "nodes[HDMI_DECODER:0].configuration.hdcp_22_support_disable", "false")}},
        T_BuilderRow{
            "HdcpModeSink1",
            [] { return Send::SendHdcpSetModeCmd(kId, e_hdcp_mode_follow_sink_1); },
            {Property(AVP_MSG_HDCPMODE, "nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode", R"("FOLLOW_SINK_1")")}},
        T_BuilderRow{
            "HdcpModeSink2",
            [] { return Send::SendHdcpSetModeCmd(kId, e_hdcp_mode_follow_sink_2); },
            {Property(AVP_MSG_HDCPMODE, "nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode", R"("FOLLOW_SINK_2")")}},
        T_BuilderRow{
            "HdcpModeSource",
            [] { return Send::SendHdcpSetModeCmd(kId, e_hdcp_mode_follow_sourse); },
            {Property(AVP_MSG_HDCPMODE, "nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode", R"("FOLLOW_SOURCE")")}},
        T_BuilderRow{"AudioSourceHdmi",
                     [] { return Send::SendHdmiOutAudSrcCmd(kId, "hdmi-audio"); },
                     {Property(AVP_MSG_HDMIOUT_AUD_SRC,
                               "nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value", "2")}},
        T_BuilderRow{"AudioSourceMultichannel",
                     [] { return Send::SendHdmiOutAudSrcCmd(kId, "multi-channel-local"); },
                     {Property(AVP_MSG_HDMIOUT_AUD_SRC,
                               "nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value", "9")}},
        T_BuilderRow{"AudioFormatIsFourRequests",
                     [] { return Send::SendHdmiOutAudSrcCmd(kId, 48000, 2, 0, "LPCM"); },
                     {Property(AVP_MSG_HDMIOUT_AUD_SRC,
                               "nodes[MULTICH_AUDIO_INPUT:0].configuration.sampling_frequency.value", "48000"),
                      Property(AVP_MSG_HDMIOUT_AUD_SRC,
                               "nodes[MULTICH_AUDIO_INPUT:0].configuration.number_of_channels.value", "2"),
                      Property(AVP_MSG_HDMIOUT_AUD_SRC,
                               "nodes[MULTICH_AUDIO_INPUT:0].configuration.channel_allocation.value", "0"),
                      Property(AVP_MSG_HDMIOUT_AUD_SRC,
                               "nodes[MULTICH_AUDIO_INPUT:0].configuration.audio_encoding_type", R"("LPCM")")}},
        T_BuilderRow{"DeviceModeIsPassedThrough",
                     [] { return Send::SendPropertyDeviceModeCmd(kId, "RECEIVER"); },
                     {Property(AVP_MSG_SET_PROPERTY_DEVICE_MODE, "configuration.device_mode", R"("RECEIVER")")}},
        T_BuilderRow{
            "RemoveAudio",
            [] { return Send::SendRemoveAudioCmd(kId, true); },
            {Property(AVP_MSG_SET_PROPERTY_REMOVE_AUDIO, "streams[HDMI:0].configuration.remove_audio", "true")}},
        T_BuilderRow{
            "KeepAudio",
            [] { return Send::SendRemoveAudioCmd(kId, false); },
            {Property(AVP_MSG_SET_PROPERTY_REMOVE_AUDIO, "streams[HDMI:0].configuration.remove_audio", "false")}},
        T_BuilderRow{"HalveStream0",
                     [] { return Send::SendFrameRateHalvedCmd(kId, 0, true); },
                     {Property(AVP_MSG_FRAME_HALF, "streams[HDMI:0].configuration.source.value", "1")}},
        T_BuilderRow{"HalveStream1UsesTheScaler",
                     [] { return Send::SendFrameRateHalvedCmd(kId, 1, true); },
                     {Property(AVP_MSG_FRAME_HALF, "nodes[SCALER:0].inputs[main:0].configuration.source.value", "1")}},
        T_BuilderRow{"FullRateOfStream2",
                     [] { return Send::SendFrameRateHalvedCmd(kId, 2, false); },
                     {Property(AVP_MSG_FRAME_HALF, "streams[HDMI:2].configuration.source.value", "0")}}),
    RowName);

T_Request Uart(const std::string& member, const std::string& value) {
  return Property(AVP_MSG_SET_SERIAL_ATTR, "nodes[UART:0].configuration." + member, value);
}

std::vector<T_Request> SerialSettings(const std::vector<std::string>& parity) {
  std::vector<T_Request> requests = {Uart("baud_rate", "9600"), Uart("data_bits", "8"), Uart("stop_bits", "1")};
  for (const std::string& text : parity) requests.push_back(Uart("parity", "\"" + text + "\""));
  return requests;
}

INSTANTIATE_TEST_SUITE_P(
    SerialSettings, Builder,
    testing::Values(
        T_BuilderRow{"ParityNone", [] { return Send::SendSetSreialBaudCmd(kId, 9600, 8, 1, "none"); },
                     SerialSettings({"none"})},
        T_BuilderRow{"ParityOdd", [] { return Send::SendSetSreialBaudCmd(kId, 9600, 8, 1, "odd"); },
                     SerialSettings({"odd"})},
        T_BuilderRow{"ParityEven", [] { return Send::SendSetSreialBaudCmd(kId, 9600, 8, 1, "even"); },
                     SerialSettings({"even"})},
        T_BuilderRow{"AnotherParityIsNotSent", [] { return Send::SendSetSreialBaudCmd(kId, 9600, 8, 1, "None"); },
                     SerialSettings({})},
        T_BuilderRow{"NoParity", [] { return Send::SendSetSreialBaudCmd(kId, 9600, 8, 1, ""); }, SerialSettings({})}),
    RowName);

T_Request Rs232(const std::string& escaped, int port = 0) {
  return Post(AVP_MSG_SEND_SERIAL_DATA,
              R"({"data_string":")" + escaped + R"(","op":"send:rs232","port_index":)" + std::to_string(port) + "}");
}

INSTANTIATE_TEST_SUITE_P(
    SerialData, Builder,
    testing::Values(T_BuilderRow{"AsciiCr",
                                 [] { return Send::SendRs232DataCmd(kId, 0, e_rs232_mode_ascii, "AT", "cr"); },
                                 {Rs232(R"(AT\r)")}},
                    T_BuilderRow{"AsciiLf",
                                 [] { return Send::SendRs232DataCmd(kId, 0, e_rs232_mode_ascii, "AT", "lf"); },
                                 {Rs232(R"(AT\n)")}},
                    T_BuilderRow{"AsciiCrlf",
                                 [] { return Send::SendRs232DataCmd(kId, 0, e_rs232_mode_ascii, "AT", "crlf"); },
                                 {Rs232(R"(AT\r\n)")}},
                    T_BuilderRow{"AsciiWithAnUnknownEnding",
                                 [] { return Send::SendRs232DataCmd(kId, 0, e_rs232_mode_ascii, "AT", "CR"); },
                                 {Rs232("AT")}},
                    T_BuilderRow{"AsciiOfOddLength",
                                 [] { return Send::SendRs232DataCmd(kId, 0, e_rs232_mode_ascii, "PWR", ""); },
                                 {Rs232("PWR")}},
                    T_BuilderRow{"HexCr",
                                 [] { return Send::SendRs232DataCmd(kId, 0, e_rs232_mode_hex, "4869", "cr"); },
                                 {Rs232(R"(\\x48\\x69\\x0d)")}},
                    T_BuilderRow{"HexLf",
                                 [] { return Send::SendRs232DataCmd(kId, 0, e_rs232_mode_hex, "4869", "lf"); },
                                 {Rs232(R"(\\x48\\x69\\x0a)")}},
                    T_BuilderRow{"HexCrlfOnAnotherPort",
                                 [] { return Send::SendRs232DataCmd(kId, 1, e_rs232_mode_hex, "4869", "crlf"); },
                                 {Rs232(R"(\\x48\\x69\\x0d\\x0a)", 1)}},
                    T_BuilderRow{"HexWithoutAnEnding",
                                 [] { return Send::SendRs232DataCmd(kId, 0, e_rs232_mode_hex, "48690d", ""); },
                                 {Rs232(R"(\\x48\\x69\\x0d)")}}),
    RowName);

const std::string& Edid() {
  static const std::string edid = "00ffffffffffff00" + Repeated("a5", 248);
  return edid;
}

INSTANTIATE_TEST_SUITE_P(
    HexData, Builder,
    testing::Values(
        T_BuilderRow{"Infrared",
                     [] { return Send::SendIrDataCmd(kId, "0000 006d 0001 "); },
                     {Post(AVP_MSG_SEND_IR_DATA, R"({"data_hex":"0000006d0001","op":"send:infrared"})")}},
        T_BuilderRow{
            "InfraredOfExactly2064Digits",
            [] { return Send::SendIrDataCmd(kId, Repeated("0abc ", 516)); },
            {Post(AVP_MSG_SEND_IR_DATA, R"({"data_hex":")" + Repeated("0abc", 516) + R"(","op":"send:infrared"})")}},
        T_BuilderRow{"InfraredThatIsNoHexIsSentAllTheSame",
                     [] { return Send::SendIrDataCmd(kId, "zz"); },
                     {Post(AVP_MSG_SEND_IR_DATA, R"({"data_hex":"zz","op":"send:infrared"})")}},
        T_BuilderRow{"Cec",
                     [] { return Send::SendCECDataCmd(kId, "4004Ff"); },
                     {Post(AVP_MSG_SEND_CEC_DATA, R"({"data_hex":"4004Ff","op":"send:cec"})")}},
        T_BuilderRow{"Edid",
                     [] { return Send::SendSetTxEdidCmd(kId, Edid()); },
                     {Post(AVP_MSG_SETTXEDID, R"({"data_hex":")" + Edid() + R"(","op":"set:edid"})")}},
        T_BuilderRow{"EdidInUpperCaseIsLoweredFirst",
                     [] { return Send::SendSetTxEdidCmd(kId, "00FFFFFFFFFFFF00" + Repeated("A5", 248)); },
                     {Post(AVP_MSG_SETTXEDID, R"({"data_hex":")" + Edid() + R"(","op":"set:edid"})")}},
        T_BuilderRow{
            "Reboot", [] { return Send::SendRebootCmd(kId); }, {Post(AVP_MSG_SEND_REBOOT, R"({"op":"reboot"})")}},
        T_BuilderRow{
            "Factory", [] { return Send::SendFactoryCmd(kId); }, {Post(AVP_MSG_SEND_FACTORY, R"({"op":"factory"})")}}),
    RowName);

Video_Wall_Param Wall(const std::string& mode, const std::string& timing = "1920x1080p@50") {
  Video_Wall_Param param;
  param.i_videotiming = timing;
  param.i_maxRow = 2;
  param.i_maxColumn = 3;
  param.i_posRow = 1;
  param.i_posColumn = 2;
  param.bezelHoriz = 10;
  param.bezelVert = 20;
  param.i_stretchType = "KEEP";
  param.i_wallMode = mode;
  return param;
}

int SendWall(const Video_Wall_Param& param, bool save = true) { return Send::SendRxVideoWallCmd(kId, &param, save); }

T_Request WallRequest(const std::string& displayMode, const std::string& rate = "50") {
  return Post(AVP_MSG_SET_VIDEO_WALL,
              R"({"display_mode":")" + displayMode +
                  R"(","op":"set:video","video":{"aspect_ratio_mode":"KEEP","bezel_horiz":10,"bezel_vert":20,"fps":)" +
                  rate +
                  R"(,"grid_height":2,"grid_index_horiz":2,"grid_index_vert":1,"grid_width":3,"height":1080,)"
                  R"("width":1920}})");
}

INSTANTIATE_TEST_SUITE_P(
    Video, Builder,
    testing::Values(
        T_BuilderRow{"SingleWithATiming",
                     [] { return Send::SendRxVideoResCmd(kId, "1920x1080p@50", false, "genlock", true); },
                     {Post(AVP_MSG_SET_DISP_MODE, R"({"display_mode":"FAST_SWITCHED","op":"set:video",)"
                                                  R"("video":{"fps":50,"height":1080,"width":1920}})")}},
        T_BuilderRow{"SingleWithoutARateRunsAt60",
                     [] { return Send::SendRxVideoResCmd(kId, "3840x2160", true, "auto", false); },
                     {Post(AVP_MSG_SET_DISP_MODE, R"({"display_mode":"FAST_SWITCHED","op":"set:video",)"
                                                  R"("video":{"fps":60,"height":2160,"width":3840}})")}},
        T_BuilderRow{"BypassInCapitalsIsGenlockWithoutVideo",
                     [] { return Send::SendRxVideoResCmd(kId, "BYPASS", false, "genlock", true); },
                     {Post(AVP_MSG_SET_DISP_MODE, R"({"display_mode":"GENLOCKED","op":"set:video"})")}},
        T_BuilderRow{"BypassIsAPrefix",
                     [] { return Send::SendRxVideoResCmd(kId, "bypass please", false, "genlock", true); },
                     {Post(AVP_MSG_SET_DISP_MODE, R"({"display_mode":"GENLOCKED","op":"set:video"})")}},
        T_BuilderRow{"WallColumnsAreWidthAndHorizontalIndex",
                     [] { return SendWall(Wall("fastSwitch")); },
                     {WallRequest("WALL_FAST_SWITCHED")}},
        T_BuilderRow{"WallAutoInCapitals", [] { return SendWall(Wall("AUTO")); }, {WallRequest("WALL_FAST_SWITCHED")}},
        T_BuilderRow{"WallGenlock", [] { return SendWall(Wall("GenLock")); }, {WallRequest("WALL_GENLOCKED")}},
        T_BuilderRow{"WallOfAnUnknownMode", [] { return SendWall(Wall("abc")); }, {WallRequest("WALL_FAST_SWITCHED")}},
        T_BuilderRow{"WallWithoutARateRunsAt60",
                     [] { return SendWall(Wall("genlock", "1920x1080"), false); },
                     {WallRequest("WALL_GENLOCKED", "60")}},
        T_BuilderRow{"ScalerTakesWidthFirst",
                     [] { return Send::SendSetTXScaleCmd(kId, 1280, 720); },
                     {Post(AVP_MSG_SETTXSCALE, R"({"height":720,"op":"set:scaler","width":1280})")}}),
    RowName);

T_MVWindow Window() {
  T_MVWindow window;
  window.s32Index = 31;
  window.s32HorizontalPosition = 1;
  window.s32VerticalPosition = 2;
  window.s32Width = 3;
  window.s32Height = 4;
  window.s32HorizontalOffset = 5;
  window.s32VerticalOffset = 6;
  window.s32TargetSurface = 7;
  return window;
}

INSTANTIATE_TEST_SUITE_P(
    Multiview, Builder,
    testing::Values(
        T_BuilderRow{
            "ReadLayouts", [] { return Send::GetMVLayout(kId); }, {Get(AVP_MSG_GET_LAYOUT, "/api/multiview/layout")}},
        T_BuilderRow{"CreateLayout",
                     [] { return Send::CreateMVLayout(kId, "quad", 1920, 1080); },
                     {CRequestCapture::Any(AVP_MSG_MV_CREATE_LAYOUT, e_method_post, "/api/multiview/layout/quad",
                                           "{\"height\":1080,\"op\":\"create\",\"width\":1920}\n")}},
        T_BuilderRow{"DeleteLayout",
                     [] { return Send::DeleteMVLayout(kId, "quad"); },
                     {CRequestCapture::Any(AVP_MSG_DELETE_LAYOUT, e_method_delete, "/api/multiview/layout/quad")}},
        T_BuilderRow{"SetDisplay",
                     [] { return Send::SetMVDisp(kId, "quad", "1280x720"); },
                     {Post(AVP_MSG_MV_SET_DISP,
                           R"({"layout":"quad","op":"set:multiview","video":{"fps":60,"height":720,"width":1280}})")}},
        T_BuilderRow{"CreateWindow",
                     [] { return Send::CreateMVWin(kId, "quad", Window()); },
                     {CRequestCapture::Any(AVP_MSG_MV_CREATE_WIN, e_method_post, "/api/multiview/layout/quad/window/31",
                                           R"({"height":4,"horizontal_offset":5,"horizontal_position":1,"op":"create",)"
                                           R"("target_surface":7,"vertical_offset":6,"vertical_position":2,"width":3})"
                                           "\n")}},
        T_BuilderRow{
            "DeleteWindow",
            [] { return Send::DeleteMVWin(kId, "quad", 0); },
            {CRequestCapture::Any(AVP_MSG_MV_DELETE_WIN, e_method_delete, "/api/multiview/layout/quad/window/0")}}),
    RowName);

// One call that must queue nothing, and the line that says why.
struct T_RefusalRow {
  const char* name;
  std::function<int()> call;
  int priority;
  std::string line;
};

class BuilderRefusal : public testing::TestWithParam<T_RefusalRow> {};

TEST_P(BuilderRefusal, QueuesNothingAndSaysWhy) {
  CRequestCapture requests;
  const CLogCapture log;
  EXPECT_EQ(GetParam().call(), 0);
  EXPECT_THAT(requests.Take(), IsEmpty());
  EXPECT_THAT(log.Texts(), testing::Contains(GetParam().line));
  EXPECT_EQ(log.PriorityOf(GetParam().line), GetParam().priority);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BuilderRefusal,
    testing::Values(
        T_RefusalRow{"EdidOf510Digits", [] { return Send::SendSetTxEdidCmd(kId, Edid().substr(2)); }, 300,
                     "EDID data length error!!!"},
        T_RefusalRow{"EmptyEdid", [] { return Send::SendSetTxEdidCmd(kId, ""); }, 300, "EDID data length error!!!"},
        T_RefusalRow{"EdidThatIsNoHex", [] { return Send::SendSetTxEdidCmd(kId, Edid().substr(1) + "g"); }, 300,
                     "EDID data is not hex data !!!"},
        T_RefusalRow{"EdidWithAnotherHead", [] { return Send::SendSetTxEdidCmd(kId, Repeated("a5", 256)); }, 300,
                     "EDID head error!!!"},
        T_RefusalRow{"HdcpMode4", [] { return Send::SendHdcpSetModeCmd(kId, static_cast<E_HDCP_MODE>(4)); }, 300,
                     "Set Hdcp Mode Not Found [4]"},
        T_RefusalRow{"HdcpMode0IsLeftUnhandled", [] { return Send::SendHdcpSetModeCmd(kId, e_hdcp_mode_none); }, 600,
                     "zan shi bu chu li"},
        T_RefusalRow{"EmptySerialData", [] { return Send::SendRs232DataCmd(kId, 0, e_rs232_mode_ascii, "", "cr"); },
                     300, "data is NULL,do not send rs232 data cmd"},
        T_RefusalRow{"SerialDataOfNoMode", [] { return Send::SendRs232DataCmd(kId, 0, e_rs232_mode_none, "AT", "cr"); },
                     300, "Rs232 data format unknow"},
        T_RefusalRow{"HexOfFiveDigits", [] { return Send::SendRs232DataCmd(kId, 0, e_rs232_mode_hex, "48690", "cr"); },
                     300, "Length is not even"},
        T_RefusalRow{"EmptyInfraredDataUsesTheSerialWording", [] { return Send::SendIrDataCmd(kId, ""); }, 300,
                     "data is NULL,do not send rs232 data cmd"},
        T_RefusalRow{"InfraredOf2065Digits", [] { return Send::SendIrDataCmd(kId, std::string(2065, '0')); }, 300,
                     "Ir Data length exceeds 2064"},
        T_RefusalRow{"EmptyCecData", [] { return Send::SendCECDataCmd(kId, ""); }, 300,
                     "data is NULL,do not send CEC data cmd"},
        T_RefusalRow{"CecDataThatIsNoHex", [] { return Send::SendCECDataCmd(kId, "40 04"); }, 300, "Not Hex Format"},
        T_RefusalRow{"SingleOfAnUnknownTiming",
                     [] { return Send::SendRxVideoResCmd(kId, "720p", false, "genlock", true); }, 300,
                     "video timing parse error!!!"},
        T_RefusalRow{"WallOfAnUnknownTiming", [] { return SendWall(Wall("genlock", "720p")); }, 300,
                     "video timing[720p] parse error!!!"},
        T_RefusalRow{"WallOfNoRows",
                     [] {
                       Video_Wall_Param param = Wall("genlock");
                       param.i_maxRow = 0;
                       return SendWall(param);
                     },
                     300, "set video wall param error i_maxRow : [0],i_maxColumn : [3]"},
        T_RefusalRow{"WallOfNoColumns",
                     [] {
                       Video_Wall_Param param = Wall("genlock");
                       param.i_maxColumn = -1;
                       return SendWall(param);
                     },
                     300, "set video wall param error i_maxRow : [2],i_maxColumn : [-1]"},
        T_RefusalRow{"MultiviewOfAnUnknownTiming", [] { return Send::SetMVDisp(kId, "quad", "bypass"); }, 300,
                     "video timing[bypass] parse error!!!"},
        T_RefusalRow{"TheTestForALayoutIsAPlaceholder", [] { return Send::ExistMVLayout(kId, "quad"); }, 300,
                     "ExistMVLayout TBD"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(BuilderLog, NamesWhatIsSent) {
  CRequestCapture requests;
  const CLogCapture log;
  Send::SendRs232DataCmd(kId, 0, e_rs232_mode_hex, "48", "cr");
  Send::SendIrDataCmd(kId, "0000 006d");
  Send::SendRebootCmd(kId);
  Send::SendRxVideoResCmd(kId, "bypass", true, "genlock", false);
  EXPECT_EQ(log.PriorityOf(R"(Ready to Send Rs232 Data [\x48\x0d])"), 600);
  EXPECT_EQ(log.PriorityOf("Ir data : [0000006d]"), 600);
  EXPECT_EQ(log.PriorityOf("send reboot cmd to avp"), 600);
  EXPECT_EQ(log.PriorityOf("Set RX Res [bypass] videoMode:1 save:0"), 600);
}

TEST(BuilderLog, OfAnIrregularInfraredCodeIsOneLineMore) {
  CRequestCapture requests;
  const CLogCapture log;
  Send::SendIrDataCmd(kId, "0000_006d");
  EXPECT_EQ(log.PriorityOf("5 is not space"), 300);
  EXPECT_EQ(requests.Take().size(), 1u);
}

TEST(BuilderLog, OfAnUnknownAudioSourceWarnsAndUsesTheDefault) {
  CRequestCapture requests;
  const CLogCapture log;
  EXPECT_EQ(Send::SendHdmiOutAudSrcCmd(kId, "dante"), 1);
  EXPECT_EQ(log.PriorityOf("unknown audio source[dante] of hdmi out, using default"), 400);
  EXPECT_THAT(requests.Take(),
              ElementsAre(Property(AVP_MSG_HDMIOUT_AUD_SRC,
                                   "nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value", "2")));
}

TEST(BuilderLog, OfAWallNamesTheDefaultOnlyForAnUnknownMode) {
  CRequestCapture requests;
  const CLogCapture log;
  SendWall(Wall("AUTO"), false);
  EXPECT_FALSE(log.Contains("set video wall default mode fastSwitch"));
  SendWall(Wall("abc"), false);
  EXPECT_EQ(log.PriorityOf("set video wall default mode fastSwitch"), 600);
}

TEST(SavedSettings, OfASingleCommandAreKeptEvenWhenItsTimingIsUnknown) {
  CRequestCapture requests;
  Send::SendRxVideoResCmd(kId, "1280x720", true, "auto", true);
  Send::SendRxVideoResCmd(kId, "1920x1080", false, "genlock", false);
  EXPECT_EQ(Send::SavedSingle().strScaler, "1280x720");
  EXPECT_TRUE(Send::SavedSingle().bVideoWall);
  EXPECT_EQ(Send::SavedSingle().wallMode, "auto");
  Send::SendRxVideoResCmd(kId, "720p", false, "genlock", true);
  EXPECT_EQ(Send::SavedSingle().strScaler, "720p");
}

TEST(SavedSettings, OfAWallAreThoseOfTheLastOneThatPassedAndWasToBeSaved) {
  CRequestCapture requests;
  SendWall(Wall("genlock"));
  SendWall(Wall("auto"), false);
  SendWall(Wall("auto", "720p"));
  EXPECT_EQ(Send::SavedVideoWall().i_wallMode, "genlock");
  EXPECT_EQ(Send::SavedVideoWall().i_maxColumn, 3);
}

TEST(FirmwareUpdate, WaitsUntilTheServerHasSettledIt) {
  CRequestCapture requests;
  const CLogCapture log;
  AsyncTask::SetUpgradeMode(1);  // opens the queue without a text link
  EXPECT_EQ(Send::SendUpdateCmd(kId, "fw \"1\".apz"), 0) << "the server answers ERROR";
  AsyncTask::SetUpgradeMode(0);
  EXPECT_TRUE(log.Contains(R"(/api/device/0016c04e41b2] reqbody[{"file_name":"fw \"1\".apz","op":"update"})"));
  EXPECT_TRUE(log.Contains("do cmd url post ["));
}

}  // namespace
