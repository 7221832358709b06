#include "deviceops.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "propertykey.h"
#include "samples.h"
#include "simjson.h"

namespace {

// The operations of sim/deviceops.cpp, propertyops.cpp and videoops.cpp.

// One request on the device of a role, and the members that it must leave so. A refusal names its reason instead.
struct T_Row {
  const char* name;
  const char* role;
  const char* body;
  const char* reason;  // "" when the request is carried out
  std::vector<std::pair<const char*, const char*>> after;
};

std::string NameOf(const testing::TestParamInfo<T_Row>& info) { return info.param.name; }

class DeviceOps : public testing::TestWithParam<T_Row> {
 protected:
  std::string Value(const char* key) const {
    const Json::Value* member = propertykey::Find(m_device, key);
    return member != nullptr ? simjson::Write(*member) : "absent";
  }

  // "" when it was carried out.
  std::string Run(const std::string& body) {
    const Json::Value parsed = simjson::Parse(body).value_or(Json::Value());
    const T_DeviceOp* row = deviceops::Find(parsed["op"].asString());
    if (row == nullptr) return "no such operation";
    const std::optional<T_SimError> refusal = row->run(m_device, parsed, m_context);
    return refusal ? refusal->reason : "";
  }

  Json::Value m_device;
  T_OpContext m_context{"127.0.0.1", {}};
};

TEST_P(DeviceOps, LeavesTheDocumentSo) {
  const T_Row& row = GetParam();
  m_device = samples::Device(row.role);
  const Json::Value before = m_device;
  EXPECT_EQ(Run(row.body), row.reason);
  for (const auto& [key, value] : row.after) EXPECT_EQ(Value(key), value) << key;
  if (*row.reason == '\0') return;
  EXPECT_EQ(m_device, before) << "a refused request changed the device";
}

const std::vector<T_Row> kStreams = {
    {"StartSetsAddressAndState",
     "TX",
     R"({"op":"start","stream_type":"RS232","stream_index":0,"dest_address":"235.1.2.3"})",
     "",
     {{"streams[RS232:0].configuration.address", R"("235.1.2.3")"},
      {"streams[RS232:0].configuration.enable", "true"},
      {"streams[RS232:0].status.state", R"("STREAMING")"}}},
    {"StartMatchesTypesInAnyCase",
     "TX",
     R"({"op":"start","stream_type":"hdmi","stream_index":1,"dest_address":"235.1.2.3"})",
     "",
     {{"streams[HDMI:1].configuration.address", R"("235.1.2.3")"}}},
    {"StartRefusesAnUnknownStream",
     "TX",
     R"({"op":"start","stream_type":"HDMI","stream_index":2,"dest_address":"235.1.2.3"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"StartRefusesWhatIsNoAddress",
     "TX",
     R"({"op":"start","stream_type":"HDMI","stream_index":0,"dest_address":"somewhere"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"StartWantsAnAddress", "TX", R"({"op":"start","stream_type":"HDMI","stream_index":0})", "ILLEGAL_ARGUMENT", {}},
    {"StartWantsAnIndex",
     "TX",
     R"({"op":"start","stream_type":"HDMI","dest_address":"235.1.2.3"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"StartRefusesAnIndexThatIsText",
     "TX",
     R"({"op":"start","stream_type":"HDMI","stream_index":"0","dest_address":"235.1.2.3"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"StopKeepsTheAddress",
     "TX",
     R"({"op":"stop","stream_type":"HDMI","stream_index":0,"free":false})",
     "",
     {{"streams[HDMI:0].configuration.address", R"("235.14.33.231")"},
      {"streams[HDMI:0].configuration.enable", "false"},
      {"streams[HDMI:0].status.state", R"("STOPPED")"}}},
    {"StopWithFreeDropsTheAddress",
     "TX",
     R"({"op":"stop","stream_type":"HDMI","stream_index":0,"free":true})",
     "",
     {{"streams[HDMI:0].configuration.address", R"("0.0.0.0")"}, {"streams[HDMI:0].status.state", R"("STOPPED")"}}},
    {"StopRefusesAFreeThatIsNoTruthValue",
     "TX",
     R"({"op":"stop","stream_type":"HDMI","stream_index":0,"free":1})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"SwitchAddressSetsAddressAndState",
     "RX",
     R"({"op":"switch:address","stream_type":"USB_HID","stream_index":0,"dest_address":"10.31.4.21"})",
     "",
     {{"streams[USB_HID:0].configuration.address", R"("10.31.4.21")"},
      {"streams[USB_HID:0].configuration.enable", "true"},
      {"streams[USB_HID:0].status.state", R"("STREAMING")"}}},
    {"SwitchAddressRefusesAMulticastAddress",
     "RX",
     R"({"op":"switch:address","stream_type":"USB_HID","stream_index":0,"dest_address":"235.1.2.3"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"SwitchApiSendsToTheServer",
     "RX",
     R"({"op":"switch:api","stream_type":"RS232","stream_index":0})",
     "",
     {{"streams[RS232:0].configuration.address", R"("127.0.0.1")"},
      {"streams[RS232:0].configuration.enable", "true"},
      {"streams[RS232:0].status.state", R"("STREAMING")"}}},
    {"SwitchApiRefusesAnUnknownStream",
     "RX",
     R"({"op":"switch:api","stream_type":"SMELL","stream_index":0})",
     "ILLEGAL_ARGUMENT",
     {}},
};
INSTANTIATE_TEST_SUITE_P(Streams, DeviceOps, testing::ValuesIn(kStreams), NameOf);

const std::vector<T_Row> kSubscriptions = {
    {"SubscribeSetsAddressAndState",
     "RX",
     R"({"op":"subscribe","subscription_type":"HDMI","subscription_index":1,"source_address":"235.14.65.178"})",
     "",
     {{"subscriptions[HDMI:1].configuration.address", R"("235.14.65.178")"},
      {"subscriptions[HDMI:1].configuration.enable", "true"},
      {"subscriptions[HDMI:1].status.state", R"("STREAMING")"}}},
    {"SubscribeMatchesTypesInAnyCase",
     "RX",
     R"({"op":"subscribe","subscription_type":"hdmi_audio","subscription_index":0,"source_address":"235.38.1.2"})",
     "",
     {{"subscriptions[HDMI_AUDIO:0].configuration.address", R"("235.38.1.2")"}}},
    {"SubscribeAddsAVideoSubscriptionUpTo31",
     "RX",
     R"({"op":"subscribe","subscription_type":"HDMI","subscription_index":31,"source_address":"235.14.1.2"})",
     "",
     {{"subscriptions[HDMI:31].configuration.address", R"("235.14.1.2")"},
      {"subscriptions[HDMI:0].configuration.address", R"("235.14.33.231")"}}},
    {"SubscribeRefusesIndex32",
     "RX",
     R"({"op":"subscribe","subscription_type":"HDMI","subscription_index":32,"source_address":"235.14.1.2"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"SubscribeRefusesASecondAudioSubscription",
     "RX",
     R"({"op":"subscribe","subscription_type":"HDMI_AUDIO","subscription_index":1,"source_address":"235.14.1.2"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"AnEncoderHasNoVideoSubscription",
     "TX",
     R"({"op":"subscribe","subscription_type":"HDMI","subscription_index":0,"source_address":"235.14.1.2"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"LeaveStopsOneSubscription",
     "TRX",
     R"({"op":"leave","subscription_type":"HDMI_AUDIO","subscription_index":0})",
     "",
     {{"subscriptions[HDMI_AUDIO:0].configuration.enable", "false"},
      {"subscriptions[HDMI_AUDIO:0].status.state", R"("STOPPED")"},
      {"subscriptions[HDMI:0].configuration.enable", "true"}}},
    {"LeaveWithoutAnIndexStopsAllOfTheType",
     "RX",
     R"({"op":"leave","subscription_type":"HDMI"})",
     "",
     {{"subscriptions[HDMI:0].status.state", R"("STOPPED")"},
      {"subscriptions[HDMI:3].status.state", R"("STOPPED")"},
      {"subscriptions[HDMI_AUDIO:0].status.state", R"("STREAMING")"}}},
    {"LeaveRefusesAnUnknownType", "RX", R"({"op":"leave","subscription_type":"SMELL"})", "ILLEGAL_ARGUMENT", {}},
    {"LeaveWantsAType", "RX", R"({"op":"leave"})", "ILLEGAL_ARGUMENT", {}},
};
INSTANTIATE_TEST_SUITE_P(Subscriptions, DeviceOps, testing::ValuesIn(kSubscriptions), NameOf);

const std::vector<T_Row> kProperties = {
    {"ATruthValue",
     "TX",
     R"({"op":"set:property","key":"nodes[HDMI_DECODER:0].configuration.hdcp_support_enable","value":false})",
     "",
     {{"nodes[HDMI_DECODER:0].configuration.hdcp_support_enable", "false"}}},
    {"ATextOutOfAList",
     "RX",
     R"({"op":"set:property","key":"nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode","value":"FOLLOW_SOURCE"})",
     "",
     {{"nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode", R"("FOLLOW_SOURCE")"}}},
    {"ATextOutsideItsList",
     "RX",
     R"({"op":"set:property","key":"nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode","value":"FOLLOW_ME"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"ParityInLowerCase",
     "RX",
     R"({"op":"set:property","key":"nodes[UART:0].configuration.parity","value":"odd"})",
     "",
     {{"nodes[UART:0].configuration.parity", R"("ODD")"}}},
    {"ANumberOutOfAList",
     "RX",
     R"({"op":"set:property","key":"nodes[UART:0].configuration.baud_rate","value":115200})",
     "",
     {{"nodes[UART:0].configuration.baud_rate", "115200"}}},
    {"ANumberOutsideItsList",
     "RX",
     R"({"op":"set:property","key":"nodes[UART:0].configuration.baud_rate","value":0})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"DataBits",
     "RX",
     R"({"op":"set:property","key":"nodes[UART:0].configuration.data_bits","value":7})",
     "",
     {{"nodes[UART:0].configuration.data_bits", "7"}}},
    {"StopBitsOutsideTheirList",
     "RX",
     R"({"op":"set:property","key":"nodes[UART:0].configuration.stop_bits","value":3})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"TheDeviceMode",
     "TRX",
     R"({"op":"set:property","key":"configuration.device_mode","value":"RECEIVER"})",
     "",
     {{"configuration.device_mode", R"("RECEIVER")"}}},
    {"AnUnknownDeviceMode",
     "TRX",
     R"({"op":"set:property","key":"configuration.device_mode","value":"TOASTER"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"AStreamSetting",
     "TX",
     R"({"op":"set:property","key":"streams[HDMI:0].configuration.remove_audio","value":true})",
     "",
     {{"streams[HDMI:0].configuration.remove_audio", "true"}}},
    {"AStreamSourceMovesWhereItComesFrom",
     "TX",
     R"({"op":"set:property","key":"streams[HDMI:0].configuration.source.value","value":1})",
     "",
     {{"streams[HDMI:0].configuration.source.value", "1"},
      {"streams[HDMI:0].source.ref_type", R"("FRAME_RATE_CONVERTER")"}}},
    {"ANodeSourceMovesWhereItComesFrom",
     "TX",
     R"({"op":"set:property","key":"nodes[SCALER:0].inputs[main:0].configuration.source.value","value":0})",
     "",
     {{"nodes[SCALER:0].inputs[main:0].configuration.source.value", "0"},
      {"nodes[SCALER:0].inputs[main:0].status.source.ref_type", R"("HDMI_DECODER")"}}},
    {"TheOutputsAudioSource",
     "RX",
     R"({"op":"set:property","key":"nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value","value":9})",
     "",
     {{"nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value", "9"},
      {"nodes[HDMI_ENCODER:0].inputs[audio:0].status.source.ref_type", R"("MULTICH_AUDIO_INPUT")"}}},
    {"AnAudioSourceThatIsNoChoice",
     "RX",
     R"({"op":"set:property","key":"nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value","value":5})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"TheSamplingFrequency",
     "RX",
     R"({"op":"set:property","key":"nodes[MULTICH_AUDIO_INPUT:0].configuration.sampling_frequency.value","value":96000})",
     "",
     {{"nodes[MULTICH_AUDIO_INPUT:0].configuration.sampling_frequency.value", "96000"}}},
    {"ASamplingFrequencyThatIsNoChoice",
     "RX",
     R"({"op":"set:property","key":"nodes[MULTICH_AUDIO_INPUT:0].configuration.sampling_frequency.value","value":1})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"TheNumberOfChannels",
     "RX",
     R"({"op":"set:property","key":"nodes[MULTICH_AUDIO_INPUT:0].configuration.number_of_channels.value","value":8})",
     "",
     {{"nodes[MULTICH_AUDIO_INPUT:0].configuration.number_of_channels.value", "8"}}},
    {"TheChannelAllocation",
     "RX",
     R"({"op":"set:property","key":"nodes[MULTICH_AUDIO_INPUT:0].configuration.channel_allocation.value","value":19})",
     "",
     {{"nodes[MULTICH_AUDIO_INPUT:0].configuration.channel_allocation.value", "19"}}},
    {"TheEncodingType",
     "RX",
     R"({"op":"set:property","key":"nodes[MULTICH_AUDIO_INPUT:0].configuration.audio_encoding_type","value":"LPCM"})",
     "",
     {{"nodes[MULTICH_AUDIO_INPUT:0].configuration.audio_encoding_type", R"("LPCM")"}}},
    {"AnUnknownEncodingType",
     "RX",
     R"({"op":"set:property","key":"nodes[MULTICH_AUDIO_INPUT:0].configuration.audio_encoding_type","value":"AC3"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"TheGenlockInput",
     "RX",
     R"({"op":"set:property","key":"nodes[HDMI_ENCODER:0].inputs[main:0].configuration.source.value","value":0})",
     "",
     {{"nodes[HDMI_ENCODER:0].inputs[main:0].status.source.ref_class", R"("SUBSCRIPTION")"},
      {"nodes[HDMI_ENCODER:0].status.video.width", "3840"}}},
    {"AnUnknownKey",
     "RX",
     R"({"op":"set:property","key":"configuration.taste","value":"sweet"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"AnUnknownNode",
     "RX",
     R"({"op":"set:property","key":"nodes[UART:7].configuration.baud_rate","value":9600})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"AnIllFormedKey",
     "RX",
     R"({"op":"set:property","key":"nodes[UART].configuration.baud_rate","value":9600})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"AStatusIsNoSetting",
     "RX",
     R"({"op":"set:property","key":"status.temperature","value":20})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"ANodeStatusIsNoSetting",
     "RX",
     R"({"op":"set:property","key":"nodes[HDMI_MONITOR:0].status.connected","value":false})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"AValueOfAnotherType",
     "RX",
     R"({"op":"set:property","key":"nodes[UART:0].configuration.baud_rate","value":"9600"})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"AWholeObjectIsNoSetting",
     "RX",
     R"({"op":"set:property","key":"nodes[UART:0].configuration","value":1})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"NoValue", "RX", R"({"op":"set:property","key":"configuration.device_mode"})", "ILLEGAL_ARGUMENT", {}},
    {"NoKey", "RX", R"({"op":"set:property","value":1})", "ILLEGAL_ARGUMENT", {}},
};
INSTANTIATE_TEST_SUITE_P(Properties, DeviceOps, testing::ValuesIn(kProperties), NameOf);

const std::vector<T_Row> kVideo = {
    {"ScalerSize",
     "TX",
     R"({"op":"set:scaler","width":960,"height":540})",
     "",
     {{"nodes[SCALER:0].configuration.width", "960"},
      {"nodes[SCALER:0].configuration.height", "540"},
      {"nodes[SCALER:0].status.video.width", "960"},
      {"nodes[SCALER:0].status.video.height", "540"}}},
    {"ADecoderHasNoScaler", "RX", R"({"op":"set:scaler","width":960,"height":540})", "DEVICE_TYPE", {}},
    {"ScalerWantsAHeight", "TX", R"({"op":"set:scaler","width":960})", "ILLEGAL_ARGUMENT", {}},
    {"ScalerRefusesANegativeWidth", "TX", R"({"op":"set:scaler","width":-2,"height":540})", "ILLEGAL_ARGUMENT", {}},
    {"FastSwitched",
     "RX",
     R"({"op":"set:video","display_mode":"FAST_SWITCHED","video":{"width":1280,"height":720,"fps":50}})",
     "",
     {{"nodes[FRAME_BUFFER:0].configuration.display_mode", R"("FAST_SWITCHED")"},
      {"nodes[FRAME_BUFFER:0].configuration.width", "1280"},
      {"nodes[FRAME_BUFFER:0].configuration.height", "720"},
      {"nodes[FRAME_BUFFER:0].configuration.frames_per_second", "50"},
      {"nodes[FRAME_BUFFER:0].configuration.aspect_ratio_mode", R"("KEEP")"},
      {"nodes[HDMI_ENCODER:0].inputs[main:0].configuration.source.value", "1"},
      {"nodes[HDMI_ENCODER:0].status.video.height", "720"}}},
    {"TheRateMayBeAText",
     "RX",
     R"({"op":"set:video","display_mode":"FAST_SWITCHED","video":{"width":1280,"height":720,"fps":"30"}})",
     "",
     {{"nodes[FRAME_BUFFER:0].configuration.frames_per_second", "30"}}},
    {"ARateThatIsNoNumber",
     "RX",
     R"({"op":"set:video","display_mode":"FAST_SWITCHED","video":{"width":1280,"height":720,"fps":"fast"}})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"Genlocked",
     "RX",
     R"({"op":"set:video","display_mode":"GENLOCKED"})",
     "",
     {{"nodes[HDMI_ENCODER:0].inputs[main:0].configuration.source.value", "0"},
      {"nodes[HDMI_ENCODER:0].inputs[main:0].status.source.ref_class", R"("SUBSCRIPTION")"},
      {"nodes[HDMI_ENCODER:0].status.video.width", "3840"},
      {"nodes[FRAME_BUFFER:0].configuration.display_mode", R"("FAST_SWITCHED")"}}},
    {"FromGenlockToTheFrameBuffer",
     "TRX",
     R"({"op":"set:video","display_mode":"GENLOCK_SCALING","video":{"width":3840,"height":2160,"fps":60}})",
     "",
     {{"nodes[HDMI_ENCODER:0].inputs[main:0].configuration.source.value", "1"},
      {"nodes[HDMI_ENCODER:0].inputs[main:0].status.source.ref_type", R"("FRAME_BUFFER")"}}},
    {"AWall",
     "RX",
     R"({"op":"set:video","display_mode":"WALL_GENLOCKED","video":{"width":1920,"height":1080,"fps":60,)"
     R"("aspect_ratio_mode":"STRETCH","grid_width":3,"grid_height":2,"grid_index_horiz":1,"grid_index_vert":0,)"
     R"("bezel_vert":5,"bezel_horiz":6}})",
     "",
     {{"nodes[FRAME_BUFFER:0].configuration.display_mode", R"("WALL_GENLOCKED")"},
      {"nodes[FRAME_BUFFER:0].configuration.aspect_ratio_mode", R"("STRETCH")"},
      {"nodes[FRAME_BUFFER:0].configuration.has_auto_wall_details", "true"},
      {"nodes[FRAME_BUFFER:0].configuration.auto_wall_details",
       R"({"bezel_horiz":6,"bezel_vert":5,"grid_height":2,"grid_index_horiz":1,"grid_index_vert":0,"grid_width":3})"}}},
    {"AWallWantsItsGrid",
     "RX",
     R"({"op":"set:video","display_mode":"WALL_FAST_SWITCHED","video":{"width":1920,"height":1080,"fps":60}})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"AnUnknownAspect",
     "RX",
     R"({"op":"set:video","display_mode":"FAST_SWITCHED","video":{"width":1920,"height":1080,"fps":60,)"
     R"("aspect_ratio_mode":"BEND"}})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"AnUnknownDisplayMode", "RX", R"({"op":"set:video","display_mode":"UPSIDE_DOWN"})", "ILLEGAL_ARGUMENT", {}},
    {"NoVideo", "RX", R"({"op":"set:video","display_mode":"FAST_SWITCHED"})", "ILLEGAL_ARGUMENT", {}},
    {"VideoThatIsNoObject",
     "RX",
     R"({"op":"set:video","display_mode":"FAST_SWITCHED","video":7})",
     "ILLEGAL_ARGUMENT",
     {}},
    {"AnEncoderHasNoOutput", "TX", R"({"op":"set:video","display_mode":"GENLOCKED"})", "DEVICE_TYPE", {}},
};
INSTANTIATE_TEST_SUITE_P(Video, DeviceOps, testing::ValuesIn(kVideo), NameOf);

TEST_F(DeviceOps, ALaterSinglePictureEndsTheWall) {
  m_device = samples::Device("RX");
  Run(R"({"op":"set:video","display_mode":"WALL_GENLOCKED","video":{"width":1920,"height":1080,"fps":60,)"
      R"("grid_width":2,"grid_height":2,"grid_index_horiz":1,"grid_index_vert":0}})");
  Run(R"({"op":"set:video","display_mode":"FAST_SWITCHED","video":{"width":1920,"height":1080,"fps":60}})");
  EXPECT_EQ(Value("nodes[FRAME_BUFFER:0].configuration.has_auto_wall_details"), "false");
  EXPECT_EQ(Value("nodes[FRAME_BUFFER:0].configuration.auto_wall_details"), "absent");
}

TEST_F(DeviceOps, AnEdidIsStoredInLowerCase) {
  m_device = samples::Device("TX");
  const std::string upper = "00FFFFFFFFFFFF00" + std::string(496, 'A');
  EXPECT_EQ(Run(R"({"op":"set:edid","data_hex":")" + upper + "\"}"), "");
  EXPECT_EQ(Value("nodes[HDMI_DECODER:0].configuration.edid"), "\"00ffffffffffff00" + std::string(496, 'a') + "\"");
}

TEST_F(DeviceOps, AnEdidOf510DigitsIsRefused) {
  m_device = samples::Device("TX");
  EXPECT_EQ(Run(R"({"op":"set:edid","data_hex":")" + std::string(510, 'a') + "\"}"), "ILLEGAL_ARGUMENT");
}

TEST_F(DeviceOps, ADecoderTakesNoEdid) {
  m_device = samples::Device("RX");
  EXPECT_EQ(Run(R"({"op":"set:edid","data_hex":")" + std::string(512, 'a') + "\"}"), "DEVICE_TYPE");
}

TEST_F(DeviceOps, SerialDataAreDecodedAsTheyAreSent) {
  m_device = samples::Device("RX");
  EXPECT_EQ(Run(R"({"op":"send:rs232","port_index":0,"data_string":"A\\x48\\x0d\\t\\r\\n\\\\"})"), "");
  ASSERT_EQ(m_context.sent.size(), 1u);
  EXPECT_EQ(m_context.sent[0].kind, "rs232");
  EXPECT_EQ(m_context.sent[0].deviceId, "0016c04e30a1");
  EXPECT_EQ(m_context.sent[0].data, "AH\r\t\r\n\\");
}

TEST_F(DeviceOps, InfraredAndCecDataAreKeptAsDigits) {
  m_device = samples::Device("RX");
  EXPECT_EQ(Run(R"({"op":"send:infrared","data_hex":"0000006d"})"), "");
  EXPECT_EQ(Run(R"({"op":"send:cec","data_hex":"4004"})"), "");
  ASSERT_EQ(m_context.sent.size(), 2u);
  EXPECT_EQ(m_context.sent[0].kind + " " + m_context.sent[0].data, "infrared 0000006d");
  EXPECT_EQ(m_context.sent[1].kind + " " + m_context.sent[1].data, "cec 4004");
}

TEST_F(DeviceOps, Infrared2064DigitsAreTheMost) {
  m_device = samples::Device("RX");
  EXPECT_EQ(Run(R"({"op":"send:infrared","data_hex":")" + std::string(2064, '0') + "\"}"), "");
  EXPECT_EQ(Run(R"({"op":"send:infrared","data_hex":")" + std::string(2066, '0') + "\"}"), "ILLEGAL_ARGUMENT");
}

const std::vector<T_Row> kRefusedData = {
    {"AnUnknownPort", "RX", R"({"op":"send:rs232","port_index":1,"data_string":"A"})", "ILLEGAL_ARGUMENT", {}},
    {"NoText", "RX", R"({"op":"send:rs232","port_index":0})", "ILLEGAL_ARGUMENT", {}},
    {"AnEmptyText", "RX", R"({"op":"send:rs232","port_index":0,"data_string":""})", "ILLEGAL_ARGUMENT", {}},
    {"AnIncompleteEscape", "RX", R"({"op":"send:rs232","port_index":0,"data_string":"\\x4"})", "ILLEGAL_ARGUMENT", {}},
    {"AnUnknownEscape", "RX", R"({"op":"send:rs232","port_index":0,"data_string":"\\q"})", "ILLEGAL_ARGUMENT", {}},
    {"InfraredThatIsNoHex", "RX", R"({"op":"send:infrared","data_hex":"00 6d"})", "ILLEGAL_ARGUMENT", {}},
    {"AnOddNumberOfDigits", "RX", R"({"op":"send:cec","data_hex":"400"})", "ILLEGAL_ARGUMENT", {}},
    {"NoDigits", "RX", R"({"op":"send:cec","data_hex":""})", "ILLEGAL_ARGUMENT", {}},
};
INSTANTIATE_TEST_SUITE_P(RefusedData, DeviceOps, testing::ValuesIn(kRefusedData), NameOf);

TEST_F(DeviceOps, AnUnknownOperationHasNoRow) { EXPECT_EQ(deviceops::Find("dance"), nullptr); }

TEST_F(DeviceOps, StoppingAllLeavesTheAddresses) {
  m_device = samples::Device("TRX");
  deviceops::StopAll(m_device);
  EXPECT_EQ(Value("streams[HDMI:0].status.state"), R"("STOPPED")");
  EXPECT_EQ(Value("streams[HDMI:0].configuration.enable"), "false");
  EXPECT_EQ(Value("streams[HDMI:0].configuration.address"), R"("235.14.65.178")");
  EXPECT_EQ(Value("subscriptions[HDMI:0].status.state"), R"("STOPPED")");
}

TEST_F(DeviceOps, MultiviewSetsTheModeAndTheTiming) {
  m_device = samples::Device("RX");
  const Json::Value body = *simjson::Parse(R"({"video":{"width":3840,"height":2160,"fps":"30"}})");
  EXPECT_FALSE(deviceops::ShowMultiview(m_device, body));
  EXPECT_EQ(Value("nodes[FRAME_BUFFER:0].configuration.display_mode"), R"("MULTIVIEW")");
  EXPECT_EQ(Value("nodes[FRAME_BUFFER:0].configuration.width"), "3840");
  EXPECT_EQ(Value("nodes[FRAME_BUFFER:0].configuration.frames_per_second"), "30");
}

}  // namespace
