// Every command of cmd_core at work: from its datagram to the exact requests at the API server, to what they change in
// the device and to what the next report says of it. The stream associations have a file of their own.
#include <gmock/gmock.h>
#include <json/reader.h>

#include <algorithm>
#include <ostream>

#include "msg_tags.h"
#include "systemtest.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr int kVideo = 0;
constexpr int kVideoWall = 7;

std::string Post(const std::string& body) { return "POST /api/device/" + kLocalId + " " + body; }

std::string SetProperty(const std::string& key, const std::string& value) {
  return Post(R"({"key":")" + key + R"(","op":"set:property","value":)" + value + "}");
}

// The example of the command table, which must be working JSON of the command.
std::string Example(std::string_view command) {
  for (const T_CommandTag& row : kCommandTags) {
    if (row.name == command) return std::string(row.example);
  }
  ADD_FAILURE() << "no command " << command;
  return "";
}

Json::Value ParseJson(const std::string& text) {
  Json::Value value;
  std::string errors;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, &errors)) << text << "\n" << errors;
  return value;
}

// A member and what it becomes, as JSON.
struct T_Becomes {
  std::string path;
  std::string json;
};

struct T_CommandRow {
  const char* name;
  const char* role;
  const char* command;
  std::string text;
  std::vector<std::string> requests;
  std::vector<T_Becomes> device = {};  // members of the device document, by the keys of set:property
  std::vector<T_Becomes> report = {};  // members of the next video report, ".status.output.resolution"
  std::vector<std::string> shell = {};
  const char* logged = nullptr;
};

void PrintTo(const T_CommandRow& row, std::ostream* out) { *out << row.command << " " << row.text; }

class Command : public SystemTest, public testing::WithParamInterface<T_CommandRow> {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    BringUp(GetParam().role);
    ASSERT_TRUE(Avp().WaitForAsync(kPatienceMs));
    ASSERT_TRUE(Core().WaitForReport(kVideo, kPatienceMs));
  }

  static bool Says(const T_Report& report, const std::vector<T_Becomes>& members) {
    return std::all_of(members.begin(), members.end(), [&](const T_Becomes& member) {
      return Json::Path(member.path).resolve(report.json) == ParseJson(member.json);
    });
  }

  // None of the row's effects may be there already, or seeing them would show nothing.
  void ExpectUnchanged(const T_CommandRow& row) {
    for (const T_Becomes& member : row.device) {
      const auto value = Avp().Get(member.path);
      EXPECT_TRUE(!value || *value != ParseJson(member.json)) << member.path;
    }
    for (const T_Report& report : Core().Reports(kVideo)) {
      EXPECT_TRUE(row.report.empty() || !Says(report, row.report)) << report.text;
    }
  }

  void ExpectEffects(const T_CommandRow& row) {
    for (const T_Becomes& member : row.device) {
      EXPECT_TRUE(Avp().WaitForValue(member.path, ParseJson(member.json), kPatienceMs)) << member.path;
    }
    if (row.report.empty()) return;
    const auto says = [&](const T_Report& report) { return report.kind == kVideo && Says(report, row.report); };
    EXPECT_TRUE(Core().WaitForReport(says, kPatienceMs)) << "no video report tells";
  }
};

TEST_P(Command, SendsItsRequestsAndTheyTakeEffect) {
  const T_CommandRow& row = GetParam();
  ExpectUnchanged(row);
  ASSERT_TRUE(Core().Send(row.command, row.text));
  EXPECT_THAT(TakeRequests(), ElementsAreArray(row.requests));
  ExpectEffects(row);
  for (const std::string& command : row.shell) EXPECT_TRUE(WaitForRecorded(command)) << command;
  if (row.logged != nullptr) {
    EXPECT_TRUE(WaitForLogLine(row.logged));
  }
}

const std::string kHdcpSupport = "nodes[HDMI_DECODER:0].configuration.hdcp_support_enable";
const std::string kHdcp22Disable = "nodes[HDMI_DECODER:0].configuration.hdcp_22_support_disable";
const std::string kHdcpOutput = "nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode";
const std::string kOutputSource = "nodes[HDMI_ENCODER:0].inputs[main:0].configuration.source.value";
const std::string kAudioSource = "nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value";
const std::string kFrameBuffer = "nodes[FRAME_BUFFER:0].configuration.";
const std::string kUart = "nodes[UART:0].configuration.";
const std::string kAudioInput = "nodes[MULTICH_AUDIO_INPUT:0].configuration.";

// 512 digits that begin as every EDID does.
std::string Edid(const std::string& digitPair) {
  std::string edid = "00ffffffffffff00";
  while (edid.size() < 512) edid += digitPair;
  return edid;
}

std::string HdmiOut(const std::string& members) { return R"({"output":{"hdmiOut":{)" + members + "}}}"; }
std::string HdmiIn(const std::string& members) { return R"({"input":{"hdmiIn":{)" + members + "}}}"; }
std::string Streams(const std::string& members) { return R"({"output":{"streamOut":{"streams":{)" + members + "}}}}"; }

std::vector<T_CommandRow> VideoRows() {
  return {
      {"VideoSingleExample",
       "TRX",
       "set-video",
       Example("set-video"),
       {SetProperty(kHdcpOutput, R"("FOLLOW_SINK_1")"),
        Post(R"({"display_mode":"FAST_SWITCHED","op":"set:video","video":{"fps":60,"height":1080,"width":1920}})")},
       {{kHdcpOutput, R"("FOLLOW_SINK_1")"}, {kOutputSource, "1"}},
       {{".settings.output.hdmiOut.hdcpMethod", R"("Follow Sink")"},
        {".status.output.resolution", R"("1920x1080p@60Hz")"}}},
      {"VideoSingleOfTheSourcesTiming",
       "RX",
       "set-video",
       HdmiOut(R"("hdcpMethod":"Follow Source","displayMode":"SINGLE","singleLayout":{"scaler":"bypass"})"),
       {SetProperty(kHdcpOutput, R"("FOLLOW_SOURCE")"), Post(R"({"display_mode":"GENLOCKED","op":"set:video"})")},
       {{kHdcpOutput, R"("FOLLOW_SOURCE")"}, {kOutputSource, "0"}},
       {{".settings.output.hdmiOut.hdcpMethod", R"("Follow Source")"},
        {".settings.output.hdmiOut.scaler", R"("bypass")"},
        {".status.output.resolution", R"("3840x2160p@60Hz")"}}},
      {"VideoSingleOfAnUnknownTimingSendsNothing",
       "RX",
       "set-video",
       HdmiOut(R"("displayMode":"single","singleLayout":{"scaler":"1x1p@1"})"),
       {},
       {},
       {},
       {},
       "ERROR video timing parse error!!!"},
      {"VideoWall",
       "RX",
       "set-video",
       HdmiOut(R"("displayMode":"videoWall","videoWallLayout":{"scaler":"1920x1080p@50","maxRow":2,"maxColumn":3,)"
               R"("posRow":1,"posColumn":2,"stretchType":"Fill","bezelHoriz":10,"bezelVert":20,)"
               R"("wallMode":"fastSwitch"})"),
       {Post(R"({"display_mode":"WALL_FAST_SWITCHED","op":"set:video","video":{"aspect_ratio_mode":"CROP",)"
             R"("bezel_horiz":10,"bezel_vert":20,"fps":50,"grid_height":2,"grid_index_horiz":2,"grid_index_vert":1,)"
             R"("grid_width":3,"height":1080,"width":1920}})")},
       {{kFrameBuffer + "display_mode", R"("WALL_FAST_SWITCHED")"},
        {kFrameBuffer + "aspect_ratio_mode", R"("CROP")"},
        {kFrameBuffer + "auto_wall_details",
         R"({"bezel_horiz":10,"bezel_vert":20,"grid_height":2,"grid_index_horiz":2,"grid_index_vert":1,)"
         R"("grid_width":3})"}},
       {{".status.output.resolution", R"("1920x1080p@50Hz")"}}},
      {"VideoWallWithoutAColumnSendsNothing",
       "RX",
       "set-video",
       HdmiOut(R"("displayMode":"videoWall","videoWallLayout":{"scaler":"1920x1080p@60","maxRow":2,"maxColumn":2,)"
               R"("posRow":0})"),
       {},
       {},
       {},
       {},
       "ERROR set video wall,but can't found [posColumn]"},
      {"VideoOutputOfAnEncoderSendsNothing",
       "TX",
       "set-video",
       Example("set-video"),
       {},
       {},
       {},
       {},
       "ERROR It's  a TX device,can't do this command [set video output hdmiout]"},
      {"VideoStreamsStop",
       "TX",
       "set-video",
       Streams(R"("avpStream0":{"enable":false,"halfFrameRate":false})"),
       {Post(R"({"free":true,"op":"stop","stream_index":0,"stream_type":"HDMI"})"),
        Post(R"({"free":true,"op":"stop","stream_index":0,"stream_type":"HDMI_AUDIO"})"),
        SetProperty("streams[HDMI:0].configuration.remove_audio", "true"),
        SetProperty("streams[HDMI:0].configuration.source.value", "0")},
       {{"streams[HDMI:0].configuration.enable", "false"},
        {"streams[HDMI:0].configuration.address", R"("0.0.0.0")"},
        {"streams[HDMI_AUDIO:0].configuration.enable", "false"}},
       {{".settings.output.streamOut.streams.avpStream0.enable", "false"}}},
      {"VideoStreamsStart",
       "TRX",
       "set-video",
       Streams(R"("avpStream0":{"enable":true,"enableAudio":true},)"
               R"("avpStream1":{"enable":true,"width":1280,"height":720,"halfRefreshRate":true})"),
       {Post(R"({"dest_address":"235.14.65.178","op":"start","stream_index":0,"stream_type":"hdmi"})"),
        SetProperty("streams[HDMI:0].configuration.remove_audio", "false"),
        Post(R"({"dest_address":"235.38.65.178","op":"start","stream_index":0,"stream_type":"HDMI_AUDIO"})"),
        Post(R"({"dest_address":"235.22.65.178","op":"start","stream_index":1,"stream_type":"hdmi"})"),
        Post(R"({"height":720,"op":"set:scaler","width":1280})"),
        SetProperty("nodes[SCALER:0].inputs[main:0].configuration.source.value", "1")},
       {{"streams[HDMI:1].configuration.enable", "true"},
        {"nodes[SCALER:0].configuration.width", "1280"},
        {"nodes[SCALER:0].configuration.height", "720"},
        {"nodes[SCALER:0].inputs[main:0].configuration.source.value", "1"}},
       {{".settings.output.streamOut.streams.avpStream1.enable", "true"},
        {".settings.output.streamOut.streams.avpStream1.halfRefreshRate", "true"},
        {".settings.output.streamOut.streams.avpStream1.width", "1280"}}},
      {"VideoStreamsOfADecoderSendNothing",
       "RX",
       "set-video",
       Streams(R"("avpStream0":{"enable":true})"),
       {},
       {},
       {},
       {},
       "ERROR RX device Can't Set streams"},
      {"VideoInputEdidAndHdcp",
       "TX",
       "set-video",
       HdmiIn(R"("hdmiInEDID":")" + Edid("AB") + R"(","hdcpCapability":"HDCP 1.x")"),
       {Post(R"({"data_hex":")" + Edid("ab") + R"(","op":"set:edid"})"), SetProperty(kHdcpSupport, "true"),
        SetProperty(kHdcp22Disable, "true")},
       {{"nodes[HDMI_DECODER:0].configuration.edid", "\"" + Edid("ab") + "\""}, {kHdcp22Disable, "true"}},
       {{".settings.input.hdmiIn.hdcpCapability", R"("HDCP 1.x")"},
        {".status.input.display.edid", "\"" + Edid("ab") + "\""}}},
      {"VideoInputHdcp2",
       "TRX",
       "set-video",
       HdmiIn(R"("hdcpCapability":"HDCP 2.x")"),
       {SetProperty(kHdcpSupport, "true"), SetProperty(kHdcp22Disable, "false")},
       {{kHdcp22Disable, "false"}},
       {{".settings.input.hdmiIn.hdcpCapability", R"("HDCP 2.x")"}}},
      {"VideoInputWithoutHdcp",
       "TX",
       "set-video",
       HdmiIn(R"("hdcpCapability":"Unsupport")"),
       {SetProperty(kHdcpSupport, "false")},
       {{kHdcpSupport, "false"}},
       {{".settings.input.hdmiIn.hdcpCapability", R"("Unsupport")"}}},
      {"VideoInputOfADecoderSendsNothing",
       "RX",
       "set-video",
       HdmiIn(R"("hdcpCapability":"HDCP 2.x")"),
       {},
       {},
       {},
       {},
       "ERROR It's not a TX device,can't do this command [set video input EDID and HDCP]"},
  };
}

std::vector<T_CommandRow> PortRows() {
  const std::string kSerialToApi = Post(R"({"op":"switch:api","stream_index":0,"stream_type":"RS232"})");
  const std::string kInfraredToApi = Post(R"({"op":"switch:api","stream_index":0,"stream_type":"INFRARED"})");
  return {
      {"SerialExample",
       "RX",
       "set-serial",
       Example("set-serial"),
       {kSerialToApi, SetProperty(kUart + "baud_rate", "9600"), SetProperty(kUart + "data_bits", "8"),
        SetProperty(kUart + "stop_bits", "1"), SetProperty(kUart + "parity", R"("none")")},
       {{"streams[RS232:0].configuration.enable", "true"}, {kUart + "parity", R"("NONE")"}},
       {},
       {"gpio.py RS232_Mode 0"}},
      {"SerialAsTerminal",
       "TX",
       "set-serial",
       R"({"baud":{"lineOrder":"DTE","baudRate":19200,"databits":7,"stopbits":2,"parity":"odd"}})",
       {kSerialToApi, SetProperty(kUart + "baud_rate", "19200"), SetProperty(kUart + "data_bits", "7"),
        SetProperty(kUart + "stop_bits", "2"), SetProperty(kUart + "parity", R"("odd")")},
       {{kUart + "baud_rate", "19200"},
        {kUart + "data_bits", "7"},
        {kUart + "stop_bits", "2"},
        {kUart + "parity", R"("ODD")"}},
       {},
       {"gpio.py RS232_Mode 1"}},
      {"SerialWithoutSettingsSwitchesTheReceptionOn",
       "RX",
       "set-serial",
       R"({"other":1})",
       {kSerialToApi},
       {{"streams[RS232:0].configuration.enable", "true"}},
       {},
       {},
       "ERROR can't found [baud]"},
      {"InfraredExample",
       "RX",
       "set-ir",
       Example("set-ir"),
       {kInfraredToApi},
       {{"streams[INFRARED:0].configuration.enable", "true"}},
       {},
       {"gpio.py IR_EN 1"},
       "INFO Set Ir 12V On"},
      {"InfraredPowerOff",
       "TX",
       "set-ir",
       R"({"power12V":false})",
       {kInfraredToApi},
       {{"streams[INFRARED:0].configuration.enable", "true"}},
       {},
       {"gpio.py IR_EN 0"},
       "INFO Set Ir 12V Off"},
      {"AudioSourceExample",
       "TRX",
       "set-hdmi-out-audio-src",
       Example("set-hdmi-out-audio-src"),
       {SetProperty(kAudioSource, "2")},
       {{kAudioSource, "2"}}},
      {"AudioSourceOfTheDeviceWithItsFormat",
       "RX",
       "set-hdmi-out-audio-src",
       R"({"hdmi_out_audio_src":"multi-channel-local","hdmi_out_audio_sampling_frequency":96000,)"
       R"("hdmi_out_audio_number_of_channels":8,"hdmi_out_audio_channel_allocation":19,)"
       R"("hdmi_out_audio_audio_encoding_type":"LPCM"})",
       {SetProperty(kAudioSource, "9"), SetProperty(kAudioInput + "sampling_frequency.value", "96000"),
        SetProperty(kAudioInput + "number_of_channels.value", "8"),
        SetProperty(kAudioInput + "channel_allocation.value", "19"),
        SetProperty(kAudioInput + "audio_encoding_type", R"("LPCM")")},
       {{kAudioSource, "9"},
        {kAudioInput + "sampling_frequency.value", "96000"},
        {kAudioInput + "number_of_channels.value", "8"},
        {kAudioInput + "channel_allocation.value", "19"}}},
      {"AudioFormatWithoutAnEncodingSendsNothing",
       "RX",
       "set-hdmi-out-audio-src",
       R"({"hdmi_out_audio_sampling_frequency":96000,"hdmi_out_audio_number_of_channels":8,)"
       R"("hdmi_out_audio_channel_allocation":19})",
       {}},
      {"PropertyExample",
       "TRX",
       "set-property",
       Example("set-property"),
       {SetProperty("configuration.device_mode", R"("RECEIVER")")},
       {{"configuration.device_mode", R"("RECEIVER")"}}},
      {"PropertyOfADecoderSendsNothing",
       "RX",
       "set-property",
       Example("set-property"),
       {},
       {},
       {},
       {},
       "ERROR TR or RX device Can't Set property"},
      {"PropertyOfNothingSendsNothing",
       "TRX",
       "set-property",
       R"({"mode":"RECEIVER"})",
       {},
       {},
       {},
       {},
       "ERROR Can't found [deviceMode]"},
      {"OnlineAgainSendsNothing", "RX", "cmd-core-online", "", {}, {}, {}, {}, "INFO Cmd Core Is Online"},
  };
}

const std::string kLayoutPath = "/api/multiview/layout";

// What the example of the multiview command does.
std::vector<std::string> MultiviewRequests() {
  const auto window = [](int index, int left) {
    return "POST " + kLayoutPath + "/quad/window/" + std::to_string(index) +
           R"( {"height":540,"horizontal_offset":0,"horizontal_position":)" + std::to_string(left) +
           R"(,"op":"create","target_surface":0,"vertical_offset":0,"vertical_position":0,"width":960})";
  };
  return {Post(R"({"op":"leave","subscription_type":"HDMI"})"),
          "DELETE " + kLayoutPath + "/quad",
          "POST " + kLayoutPath + R"(/quad {"height":1080,"op":"create","width":1920})",
          window(0, 0),
          window(1, 960),
          Post(R"({"op":"subscribe","source_address":"235.22.33.231","subscription_index":0,)"
               R"("subscription_type":"HDMI"})"),
          Post(R"({"op":"leave","subscription_index":1,"subscription_type":"HDMI"})"),
          Post(R"({"layout":"quad","op":"set:multiview","video":{"fps":60,"height":1080,"width":1920}})"),
          "GET " + kLayoutPath};
}

std::vector<T_CommandRow> MultiviewRows() {
  const std::string layout = ParseJson(Example("set-multiview"))["multiview"].toStyledString();
  const std::vector<T_Becomes> shown = {
      {kFrameBuffer + "display_mode", R"("MULTIVIEW")"},
      {"subscriptions[HDMI:0].configuration.address", R"("235.22.33.231")"},
  };
  return {
      {"MultiviewExample", "RX", "set-multiview", Example("set-multiview"), MultiviewRequests(), shown},
      {"MultiviewAmongTheVideoSettings", "TRX", "set-video",
       HdmiOut(R"("displayMode":"multiview","multiviewLayout":)" + layout), MultiviewRequests(), shown},
      {"MultiviewWithoutWindowsSendsNothing",
       "RX",
       "set-multiview",
       R"({"multiview":{"layout":"quad","scaler":"1920x1080p@60","windows":[],"sources":[]}})",
       {},
       {},
       {},
       {},
       "ERROR set multiview,but [windows] of the layout is missing"},
      {"MultiviewOfANameThatIsAPathSendsNothing",
       "RX",
       "set-multiview",
       R"({"multiview":{"layout":"../device","scaler":"1920x1080p@60","windows":[{"index":0,"horizontalPosition":0,)"
       R"("verticalPosition":0,"width":960,"height":540}]}})",
       {},
       {},
       {},
       {},
       "ERROR set multiview,but [layout] of the layout is no name for a layout"},
  };
}

INSTANTIATE_TEST_SUITE_P(Video, Command, testing::ValuesIn(VideoRows()), T_RowName());
INSTANTIATE_TEST_SUITE_P(Ports, Command, testing::ValuesIn(PortRows()), T_RowName());
INSTANTIATE_TEST_SUITE_P(Multiview, Command, testing::ValuesIn(MultiviewRows()), T_RowName());

// Data to send: what the request says and what leaves the device.
struct T_DataRow {
  const char* name;
  const char* command;
  std::string text;
  std::string request;
  const char* kind;
  std::string data;
};

void PrintTo(const T_DataRow& row, std::ostream* out) { *out << row.command << " " << row.text; }

class DataCommand : public SystemTest, public testing::WithParamInterface<T_DataRow> {
 protected:
  bool HasLeft(const T_DataRow& row) {
    const auto sent = Avp().SentData();
    return std::any_of(sent.begin(), sent.end(), [&](const T_SentData& one) {
      return one.kind == row.kind && one.deviceId == kLocalId && one.data == row.data;
    });
  }
};

TEST_P(DataCommand, LeavesTheDevice) {
  const T_DataRow& row = GetParam();
  BringUp();
  ASSERT_TRUE(Core().Send(row.command, row.text));
  EXPECT_TRUE(WaitUntil([&] { return HasLeft(row); }));
  EXPECT_THAT(TakeRequests(), ElementsAre(Post(row.request)));
}

const T_DataRow kDataRows[] = {
    {"SerialExample", "send-serial-data", Example("send-serial-data"),
     R"({"data_string":"PWR?\r\n","op":"send:rs232","port_index":0})", "rs232", "PWR?\r\n"},
    {"SerialHex", "send-serial-data", R"({"mode":"hex","terminator":"cr","data":"48690A"})",
     R"({"data_string":"\\x48\\x69\\x0A\\x0d","op":"send:rs232","port_index":0})", "rs232", "Hi\n\r"},
    {"SerialWithoutTerminator", "send-serial-data", R"({"mode":"ascii","data":"AT"})",
     R"({"data_string":"AT","op":"send:rs232","port_index":0})", "rs232", "AT"},
    {"InfraredExample", "send-ir-data", Example("send-ir-data"),
     R"({"data_hex":"0000006d00010004000a0014001e00280032003c001e00280032003c","op":"send:infrared"})", "infrared",
     "0000006d00010004000a0014001e00280032003c001e00280032003c"},
    {"InfraredOnce", "send-ir-data",
     R"({"format":"pronto","data":"0000 006d 0001 0002 000a 0014 001e 0028 0032 003c","repeatTimes":1})",
     R"({"data_hex":"0000006d00010002000a0014001e00280032003c","op":"send:infrared"})", "infrared",
     "0000006d00010002000a0014001e00280032003c"},
    {"InfraredAsAList", "send-ir-data", R"({"format":"GlobalCache","data":"38000,1,1,10,20,30,40,50,60"})",
     R"({"data_hex":"0000006d00010002000a0014001e00280032003c","op":"send:infrared"})", "infrared",
     "0000006d00010002000a0014001e00280032003c"},
    {"CecExample", "send-cec-data", Example("send-cec-data"), R"({"data_hex":"4004","op":"send:cec"})", "cec", "4004"},
    {"CecLong", "send-cec-data", R"({"data":"0f8210FF"})", R"({"data_hex":"0f8210FF","op":"send:cec"})", "cec",
     "0f8210FF"},
};

INSTANTIATE_TEST_SUITE_P(Ports, DataCommand, testing::ValuesIn(kDataRows), T_RowName());

class RefusedData : public SystemTest {};

TEST_F(RefusedData, SendsNothing) {
  BringUp();
  Core().Send("send-serial-data", R"({"mode":"HEX","data":"4869"})");
  Core().Send("send-serial-data", R"({"mode":"hex","data":"48690"})");
  Core().Send("send-cec-data", R"({"data":"40zz"})");
  Core().Send("send-ir-data", R"({"format":"globalcache","data":"38000,1,1,10,20,30,40"})");
  ASSERT_TRUE(WaitForLogLine("ERROR data is NULL,do not send rs232 data cmd"));
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_EQ(LogCount("ERROR Unknow mode : [HEX]"), 1u);
  EXPECT_EQ(LogCount("ERROR Length is not even"), 1u);
  EXPECT_EQ(LogCount("ERROR Not Hex Format"), 1u);
  EXPECT_THAT(Avp().Requests(simmatch::Op("send:infrared")), IsEmpty());
}

class ResetCommand : public SystemTest {};

TEST_F(ResetCommand, BringsTheFactorySettingsBack) {
  T_AvpSimOptions options;
  options.rebootMs = 500;
  BringUp("RX", options);
  const std::string baudRate = kUart + "baud_rate";
  ASSERT_TRUE(Avp().Set(baudRate, 115200));
  ASSERT_TRUE(Core().Send("reset-device", Example("reset-device")));
  ASSERT_TRUE(Avp().WaitForValue(baudRate, 9600, kPatienceMs));
  const auto resets = Avp().Requests(simmatch::Op("factory"));
  ASSERT_EQ(resets.size(), 1u);
  EXPECT_EQ(resets[0].method + " " + resets[0].path + " " + resets[0].body, Post("{\"op\":\"factory\"}\n"));
  EXPECT_EQ(LogCount("INFO Do Reset ..."), 1u);
}

// A wall command's change of the display mode is told in a report of its own.
class WallReport : public SystemTest {};

TEST_F(WallReport, TellsTheNewDisplayMode) {
  BringUp();
  ASSERT_TRUE(Avp().WaitForAsync(kPatienceMs));
  ASSERT_TRUE(Core().WaitForReport(kVideo, kPatienceMs));
  Core().Send("set-video", HdmiOut(R"("displayMode":"videoWall","videoWallLayout":{"scaler":"1920x1080p@50",)"
                                   R"("maxRow":2,"maxColumn":2,"posRow":0,"posColumn":1,"wallMode":"genlock"})"));
  const auto report = Core().WaitForReport(kVideoWall, kPatienceMs);
  ASSERT_TRUE(report.has_value());
  EXPECT_EQ(report->text, "{\"videoWall\":{\"displayFps\":50,\"displayMode\":\"WALL_GENLOCKED\",\"sourceFps\":60}}\n");
}

}  // namespace
