// The stream association commands: from cmd_core's datagram to the exact requests at the API server, in order.
#include <gmock/gmock.h>

#include "mdns.h"
#include "systemtest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string Post(const std::string& body) { return "POST /api/device/" + kLocalId + " " + body; }

const std::string kLeaveAll = Post(R"({"op":"leave","subscription_type":"HDMI"})");
const std::string kLeaveVideo = Post(R"({"op":"leave","subscription_index":0,"subscription_type":"HDMI"})");
const std::string kLeaveAudio = Post(R"({"op":"leave","subscription_index":0,"subscription_type":"hdmi_audio"})");
const std::string kAudioSource =
    Post(R"({"key":"nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value","op":"set:property","value":2})");

std::string SubscribeVideo(const std::string& address) {
  return Post(R"({"op":"subscribe","source_address":")" + address +
              R"(","subscription_index":0,"subscription_type":"HDMI"})");
}

std::string SubscribeAudio(const std::string& address) {
  return Post(R"({"op":"subscribe","source_address":")" + address +
              R"(","subscription_index":0,"subscription_type":"hdmi_audio"})");
}

std::string SwitchAddress(const std::string& type, const std::string& address) {
  return Post(R"({"dest_address":")" + address + R"(","op":"switch:address","stream_index":0,"stream_type":")" + type +
              R"("})");
}

std::string Video(const std::string& encoder, const std::string& more = "") {
  return R"({"streamSubscription":{"avpDeviceId":")" + encoder + "\"" + more + "}}";
}

std::string From(const std::string& device) { return R"({"streamSubscription":{"deviceID":")" + device + R"("}})"; }

class Association : public SystemTest {};
class ReceiverAssociation : public SystemTest, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    BringUp(GetParam());
  }
};

TEST_P(ReceiverAssociation, VideoLeavesTheOldStreamAndSubscribesTheNew) {
  Core().Send("set-associations-video", Video(kEncoderA));
  EXPECT_THAT(TakeRequests(), ElementsAre(kLeaveAll, SubscribeVideo("235.14.33.231"), kLeaveAudio));
  EXPECT_EQ(LogCount("Hdmi Subscribe [" + kEncoderA + "] -0- [235.14.33.231]"), 1u);
}

TEST_P(ReceiverAssociation, VideoWithAudioSubscribesBothAndSelectsTheSource) {
  Core().Send("set-associations-video", Video(kEncoderA, R"(,"streamIndex":0,"enableAudio":true)"));
  EXPECT_THAT(TakeRequests(),
              ElementsAre(kLeaveAll, SubscribeVideo("235.14.33.231"), SubscribeAudio("235.38.33.231"), kAudioSource));
}

TEST_P(ReceiverAssociation, VideoOfStreamOneHasAnAddressOfItsOwn) {
  Core().Send("set-associations-video", Video(kEncoderA, R"(,"streamIndex":1)"));
  EXPECT_THAT(TakeRequests(), ElementsAre(kLeaveAll, SubscribeVideo("235.22.33.231"), kLeaveAudio));
}

TEST_P(ReceiverAssociation, VideoOfAnyOtherStreamIsStreamZero) {
  Core().Send("set-associations-video", Video(kEncoderA, R"(,"streamIndex":2)"));
  EXPECT_THAT(TakeRequests(), ElementsAre(kLeaveAll, SubscribeVideo("235.14.33.231"), kLeaveAudio));
}

TEST_P(ReceiverAssociation, VideoOfTheSameEncoderAgainLeavesNothing) {
  Core().Send("set-associations-video", Video(kEncoderA));
  TakeRequests();
  Core().Send("set-associations-video", Video(kEncoderA));
  EXPECT_THAT(TakeRequests(), ElementsAre(SubscribeVideo("235.14.33.231"), kLeaveAudio));
}

TEST_P(ReceiverAssociation, VideoOfAnotherEncoderLeavesTheFirst) {
  Core().Send("set-associations-video", Video(kEncoderA));
  TakeRequests();
  Core().Send("set-associations-video", Video(kEncoderB));
  EXPECT_THAT(TakeRequests(), ElementsAre(kLeaveAll, SubscribeVideo("235.14.90.60"), kLeaveAudio));
}

TEST_P(ReceiverAssociation, VideoOfNoneAfterAnEncoderLeavesTwice) {
  Core().Send("set-associations-video", Video(kEncoderA));
  TakeRequests();
  Core().Send("set-associations-video", Video("NONE"));
  EXPECT_THAT(TakeRequests(), ElementsAre(kLeaveAll, kLeaveVideo));
  EXPECT_EQ(LogCount("Hdmi leave avpdeviceid=[NONE] i_deviceid=[" + kLocalId + "]"), 1u);
}

TEST_P(ReceiverAssociation, VideoOfAnEmptyIdLeavesOnce) {
  Core().Send("set-associations-video", Video(kEncoderA));
  TakeRequests();
  Core().Send("set-associations-video", Video(""));
  EXPECT_THAT(TakeRequests(), ElementsAre(kLeaveVideo));
}

TEST_P(ReceiverAssociation, VideoOfTheDeviceItselfDoesNothing) {
  Core().Send("set-associations-video", Video("0016C04E41B2"));
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_EQ(LogCount("WARN avpDeviceId equal local mac, pair to itself will do nothing"), 1u);
}

TEST_P(ReceiverAssociation, VideoOfAnIdWithoutAnAddressLeavesAndStops) {
  Core().Send("set-associations-video", Video("1e7"));
  EXPECT_THAT(TakeRequests(), ElementsAre(kLeaveAll));
  EXPECT_EQ(LogCount("ERROR Video Association Fail ,Can't Get hdmi Remote Ip"), 1u);
}

TEST_P(ReceiverAssociation, VideoWithoutAnIdDoesNothing) {
  Core().Send("set-associations-video", R"({"streamSubscription":{"streamIndex":0}})");
  EXPECT_THAT(TakeRequests(), IsEmpty());
}

TEST_P(ReceiverAssociation, VideoComesWithTheVideoSettingsToo) {
  Core().Send("set-video", R"({"input":)" + Video(kEncoderA) + "}");
  EXPECT_THAT(TakeRequests(), ElementsAre(kLeaveAll, SubscribeVideo("235.14.33.231"), kLeaveAudio));
}

INSTANTIATE_TEST_SUITE_P(Roles, ReceiverAssociation, testing::Values("RX", "TRX"), T_RowName());

TEST_F(Association, AnEncoderRefusesVideo) {
  BringUp("TX");
  Core().Send("set-associations-video", Video(kEncoderA));
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_EQ(LogCount("INFO TX can't do this command [switch streamSubscription]"), 1u);
}

TEST_F(Association, AnEncoderRefusesVideoInTheVideoSettings) {
  BringUp("TX");
  Core().Send("set-video", R"({"input":)" + Video(kEncoderA) + "}");
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_EQ(LogCount("ERROR TX can't do this cmd [subscribe]"), 1u);
}

TEST_F(Association, UsbOfNoneStopsTheStream) {
  BringUp();
  const std::string stop = Post(R"({"free":true,"op":"stop","stream_index":0,"stream_type":"USB_HID"})");
  for (const char* command : {"set-associations-usb-hid", "set-usb-hid"}) {
    for (const char* device : {"", "null", "NONE"}) {
      Core().Send(command, From(device));
      EXPECT_THAT(TakeRequests(), ElementsAre(stop)) << command << " " << device;
    }
  }
}

TEST_F(Association, SerialAndInfraredOfAnEmptyIdDoNothing) {
  BringUp();
  Core().Send("set-associations-serial", From(""));
  Core().Send("set-associations-ir", From(""));
  EXPECT_THAT(TakeRequests(), IsEmpty());
}

TEST_F(Association, OfADeviceWithoutAKnownAddressQueuesNothing) {
  BringUp();
  for (const char* command : {"set-associations-serial", "set-associations-ir", "set-associations-usb-hid"}) {
    Core().Send(command, From(kEncoderA));
  }
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_EQ(LogCount("ERROR Not found Avp IP IN Map"), 3u);
}

TEST_F(Association, QueriesReachTheirHandlersAndSendNothing) {
  BringUp();
  for (const char* command :
       {"get-associations-video", "get-associations-serial", "get-associations-ir", "get-associations-usb-hid"}) {
    Core().Send(command, "");
  }
  EXPECT_THAT(TakeRequests(), IsEmpty());
  for (const char* row : {"0", "2", "4", "6"})
    EXPECT_EQ(LogCount(std::string("INFO msg process Find [") + row + "] tag["), 1u);
}

class DiscoveredAssociation : public SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    ASSERT_TRUE(m_mdns.Start());
    BringUp();
  }

  void PublishAvp(const std::string& deviceId, const std::string& ip) {
    m_mdns.PublishAvp(deviceId, ip);
    ASSERT_TRUE(WaitForLogLine("INFO new avp device, deviceid[" + deviceId + "] avpip[" + ip + "]"));
  }

  CMdns m_mdns;
};

TEST_F(DiscoveredAssociation, SwitchesTheStreamToTheAnnouncedAddress) {
  PublishAvp(kEncoderA, "10.77.0.9");
  Core().Send("set-associations-ir", From(kEncoderA));
  Core().Send("set-associations-serial", From("0016C04E21E7"));
  Core().Send("set-associations-usb-hid", From(kEncoderA));
  Core().Send("set-usb-hid", From(kEncoderA));
  EXPECT_THAT(TakeRequests(),
              ElementsAre(SwitchAddress("INFRARED", "10.77.0.9"), SwitchAddress("RS232", "10.77.0.9"),
                          SwitchAddress("USB_HID", "10.77.0.9"), SwitchAddress("USB_HID", "10.77.0.9")));
  EXPECT_EQ(LogCount("INFO Ir Association [" + kEncoderA + "] -- [10.77.0.9]"), 1u);
}

TEST_F(DiscoveredAssociation, UsesTheNewAddressAfterAChange) {
  PublishAvp(kEncoderA, "10.77.0.9");
  PublishAvp(kEncoderA, "10.77.0.10");
  Core().Send("set-associations-ir", From(kEncoderA));
  EXPECT_THAT(TakeRequests(), ElementsAre(SwitchAddress("INFRARED", "10.77.0.10")));
}

TEST_F(DiscoveredAssociation, KeepsWhatItLearnedWhenTheDaemonDies) {
  PublishAvp(kEncoderA, "10.77.0.9");
  m_mdns.StopDaemon();
  Core().Send("set-associations-ir", From(kEncoderA));
  EXPECT_THAT(TakeRequests(), ElementsAre(SwitchAddress("INFRARED", "10.77.0.9")));
}

}  // namespace
