// Associations: JSON in, exact sequence of requests out, in every role.
#include "reusehanler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "brntdevice.h"
#include "commandfixture.h"

namespace {

using request::Leave;
using request::LeaveAll;
using request::Stop;
using request::Subscribe;
using request::SwitchAddress;
using testing::ElementsAre;
using testing::IsEmpty;

T_Request AudioFromHdmi() {
  return CRequestCapture::Property(AVP_MSG_HDMIOUT_AUD_SRC,
                                   "nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value", "2");
}

// What a video association without audio comes to.
std::vector<T_Request> VideoOnly(const std::string& address) {
  return {LeaveAll("HDMI"), Subscribe("HDMI", 0, address), Leave("hdmi_audio", 0)};
}

std::vector<T_Request> ToNothing() { return {LeaveAll("HDMI"), Leave("HDMI", 0)}; }

T_CommandRow Video(const std::string& name, const std::string& json, const std::vector<T_Request>& requests,
                   bool result = true) {
  return {name, ReuseHanler::SetAssociationsVideo, json, requests, result};
}

using RowAndRole = std::tuple<T_CommandRow, E_DEVICE_MODE>;

class VideoAssociation : public CommandFixture, public testing::WithParamInterface<RowAndRole> {};

TEST_P(VideoAssociation, QueuesExactlyThisUnlessTheDeviceIsATransmitter) {
  RunRow(std::get<0>(GetParam()), {{e_RX, e_TRX}, "TX can't do this cmd [subscribe]"}, std::get<1>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, VideoAssociation,
    testing::Combine(
        testing::Values(
            Video("WithAudio", R"({"avpDeviceId":"0016c04e21e7","streamIndex":0,"enableAudio":true})",
                  {LeaveAll("HDMI"), Subscribe("HDMI", 0, "235.14.33.231"), Subscribe("hdmi_audio", 0, "235.38.33.231"),
                   AudioFromHdmi()}),
            Video("AudioLeftOut", R"({"avpDeviceId":"0016c04e21e7"})", VideoOnly("235.14.33.231")),
            Video("AudioOff", R"({"avpDeviceId":"0016c04e21e7","enableAudio":false})", VideoOnly("235.14.33.231")),
            Video("AudioOfTheWrongType", R"({"avpDeviceId":"0016c04e21e7","enableAudio":"true"})",
                  VideoOnly("235.14.33.231")),
            Video("ScaledStream", R"({"avpDeviceId":"0016c04e21e7","streamIndex":1})", VideoOnly("235.22.33.231")),
            Video("StreamIndex2IsStream0", R"({"avpDeviceId":"0016c04e21e7","streamIndex":2})",
                  VideoOnly("235.14.33.231")),
            Video("NegativeStreamIndexIsStream0", R"({"avpDeviceId":"0016c04e21e7","streamIndex":-1})",
                  VideoOnly("235.14.33.231")),
            Video("StreamIndexOfTheWrongType", R"({"avpDeviceId":"0016c04e21e7","streamIndex":"1"})",
                  VideoOnly("235.14.33.231")),
            Video("None", R"({"avpDeviceId":"none"})", ToNothing()),
            Video("NullInCapitals", R"({"avpDeviceId":"NULL"})", ToNothing()),
            Video("NothingButTheFirstFourCharactersOfNone", R"({"avpDeviceId":"nonesuch"})", ToNothing()),
            Video("EmptyId", R"({"avpDeviceId":""})", {Leave("HDMI", 0)}),
            Video("Missing", R"({"streamIndex":0})", {}, false), Video("WrongType", R"({"avpDeviceId":16})", {}, false),
            Video("JsonNull", R"({"avpDeviceId":null})", {}, false), Video("NoObject", R"([1])", {}, false),
            Video("IdTooShortForAnAddress", R"({"avpDeviceId":"21e7"})", {LeaveAll("HDMI")}, false),
            Video("ItselfInCapitals", R"({"avpDeviceId":"0016C04E41B2"})", {}),
            T_CommandRow{"AsVideoInput", ReuseHanler::SetRXVideoInput, R"({"avpDeviceId":"0016c04e21e7"})",
                         VideoOnly("235.14.33.231")}),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

class VideoAssociations : public CommandFixture {
 protected:
  bool Take(const std::string& device) {
    return Run(ReuseHanler::SetAssociationsVideo, R"({"avpDeviceId":")" + device + R"("})");
  }
};

TEST_F(VideoAssociations, DeliberatelyDoNotLeaveWhenTheSourceStaysTheSame) {
  Take(kTxA);
  Requests();
  EXPECT_TRUE(Take(kTxA));
  EXPECT_THAT(Requests(), ElementsAre(Subscribe("HDMI", 0, "235.14.33.231"), Leave("hdmi_audio", 0)));
}

TEST_F(VideoAssociations, LeaveEverythingBeforeAnotherSource) {
  Take(kTxA);
  Requests();
  EXPECT_TRUE(Take(kTxB));
  EXPECT_THAT(Requests(), ElementsAre(LeaveAll("HDMI"), Subscribe("HDMI", 0, "235.14.33.232"), Leave("hdmi_audio", 0)));
}

TEST_F(VideoAssociations, DeliberatelyLeaveTwiceForNoSource) {
  Take(kTxA);
  Requests();
  m_log.Clear();
  EXPECT_TRUE(Take("NONE"));
  EXPECT_THAT(Requests(), ElementsAre(LeaveAll("HDMI"), Leave("HDMI", 0)));
  EXPECT_EQ(m_log.PriorityOf("Hdmi leave avpdeviceid=[NONE] i_deviceid=[0016c04e41b2]"), 600);
}

TEST_F(VideoAssociations, RememberTheSourceOnlyWhenItWasSubscribedTo) {
  Take(kTxA);
  Take("21e7");
  Requests();
  EXPECT_TRUE(Take(kTxA));
  EXPECT_EQ(Requests().size(), 2u) << "no leave: the last source is still A";
}

TEST_F(VideoAssociations, CompareIdsWithTheLastOneByCase) {
  Take(kTxA);
  Requests();
  Take("0016C04E21E7");
  EXPECT_EQ(Requests().front(), LeaveAll("HDMI"));
}

TEST_F(VideoAssociations, LogWhatTheyAreAbout) {
  Run(ReuseHanler::SetAssociationsVideo, R"({"avpDeviceId":"0016c04e21e7","streamIndex":1,"enableAudio":true})");
  EXPECT_EQ(m_log.PriorityOf("audio subscription enable:1"), 600);
  EXPECT_EQ(m_log.PriorityOf("new avpDeviceId:0016c04e21e7, streamIdx:1, last avpDeviceId:, local mac:0016c04e41b2"),
            600);
  EXPECT_EQ(m_log.PriorityOf("Hdmi Subscribe [0016c04e21e7] -1- [235.22.33.231] ; Audio Subscribe enable:1  "
                             "[235.38.33.231] -- [0016c04e21e7]"),
            600);
}

TEST_F(VideoAssociations, WithItselfAreAWarning) {
  EXPECT_TRUE(Take("0016C04E41B2"));
  EXPECT_EQ(m_log.PriorityOf("avpDeviceId equal local mac, pair to itself will do nothing"), 400);
}

TEST_F(VideoAssociations, WithoutAnAddressAreAnError) {
  EXPECT_FALSE(Take("21e7"));
  EXPECT_EQ(m_log.PriorityOf("Video Association Fail ,Can't Get hdmi Remote Ip"), 300);
}

TEST_F(VideoAssociations, WithoutAnIdSayNothing) {
  EXPECT_FALSE(Run(ReuseHanler::SetAssociationsVideo, "{}"));
  EXPECT_THAT(m_log.Lines(), IsEmpty());
}

TEST_F(VideoAssociations, ForgetFailedSubscriptionsOfEarlierOnes) {
  ASSERT_TRUE(m_requests.LeaveAFailedSubscription());
  Take(kTxA);
  EXPECT_FALSE(CRequestCapture::FailedSubscriptionWaits());
}

TEST_F(VideoAssociations, ForgetFailedSubscriptionsWhenTheyLeave) {
  ASSERT_TRUE(m_requests.LeaveAFailedSubscription());
  Take("");
  EXPECT_FALSE(CRequestCapture::FailedSubscriptionWaits());
}

TEST_F(VideoAssociations, KeepFailedSubscriptionsWhenTheyAreRefused) {
  ASSERT_TRUE(m_requests.LeaveAFailedSubscription());
  Take("21e7");
  EXPECT_TRUE(CRequestCapture::FailedSubscriptionWaits());
}

T_CommandRow Ir(const std::string& name, const std::string& json, const std::vector<T_Request>& requests,
                bool result = true) {
  return {"Ir" + name, ReuseHanler::SetAssociationsIR, json, requests, result};
}

T_CommandRow Serial(const std::string& name, const std::string& json, const std::vector<T_Request>& requests,
                    bool result = true) {
  return {"Serial" + name, ReuseHanler::SetAssociationsSerial, json, requests, result};
}

T_CommandRow Hid(const std::string& name, const std::string& json, const std::vector<T_Request>& requests,
                 bool result = true) {
  return {"Hid" + name, ReuseHanler::SetAssociationsUSB_HID, json, requests, result};
}

class DataAssociation : public CommandFixture, public testing::WithParamInterface<RowAndRole> {};

TEST_P(DataAssociation, QueuesExactlyThisInEveryRole) {
  RunRow(std::get<0>(GetParam()), {{e_TX, e_RX, e_TRX}, ""}, std::get<1>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DataAssociation,
    testing::Combine(
        testing::Values(
            Ir("Known", R"({"deviceID":"0016c04e21e7"})", {SwitchAddress("INFRARED", "192.168.7.31")}),
            Ir("KnownInCapitals", R"({"deviceID":"0016C04E21E7"})", {SwitchAddress("INFRARED", "192.168.7.31")}),
            Ir("Unknown", R"({"deviceID":"0016c04e21ff"})", {}), Ir("Null", R"({"deviceID":"null"})", {}),
            Ir("Empty", R"({"deviceID":""})", {}), Ir("Missing", "{}", {}, false),
            Ir("WrongType", R"({"deviceID":true})", {}, false),
            Serial("Known", R"({"deviceID":"0016c04e21e7"})", {SwitchAddress("RS232", "192.168.7.31")}),
            Serial("Unknown", R"({"deviceID":"0016c04e21ff"})", {}), Serial("Empty", R"({"deviceID":""})", {}),
            Serial("Missing", "{}", {}, false), Serial("WrongType", R"({"deviceID":{}})", {}, false),
            Hid("Known", R"({"deviceID":"0016c04e21e7"})", {SwitchAddress("USB_HID", "192.168.7.31")}),
            Hid("Unknown", R"({"deviceID":"0016c04e21ff"})", {}),
            Hid("Null", R"({"deviceID":"null"})", {Stop("USB_HID", 0)}),
            Hid("NoneInCapitals", R"({"deviceID":"NONE"})", {Stop("USB_HID", 0)}),
            Hid("Empty", R"({"deviceID":""})", {Stop("USB_HID", 0)}), Hid("Missing", "{}", {}, false),
            Hid("WrongType", R"({"deviceID":[]})", {}, false)),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

class DataAssociations : public CommandFixture {};

TEST_F(DataAssociations, LogDeviceAndAddress) {
  Run(ReuseHanler::SetAssociationsIR, R"({"deviceID":"0016c04e21e7"})");
  Run(ReuseHanler::SetAssociationsSerial, R"({"deviceID":"0016c04e21e7"})");
  Run(ReuseHanler::SetAssociationsUSB_HID, R"({"deviceID":"0016c04e21ff"})");
  Run(ReuseHanler::SetAssociationsUSB_HID, R"({"deviceID":"null"})");
  EXPECT_EQ(m_log.PriorityOf("Ir Association [0016c04e21e7] -- [192.168.7.31]"), 600);
  EXPECT_EQ(m_log.PriorityOf("Serial Association [0016c04e21e7] -- [192.168.7.31]"), 600);
  EXPECT_EQ(m_log.PriorityOf("Usb Association [0016c04e21ff] -- []"), 600);
  EXPECT_EQ(m_log.PriorityOf("USB_HID stop deviceID=[null] i_deviceid=[0016c04e41b2]"), 600);
}

TEST_F(DataAssociations, DeliberatelyKeepTheSerialOneUnderTheAddressOfTheRemote) {
  Run(ReuseHanler::SetAssociationsSerial, R"({"deviceID":"0016c04e21e7"})");
  CBrntDevice* remote = CBrntDevice::FindBrntDevByID(kIpA);
  ASSERT_NE(remote, nullptr);
  OSMutexLocker locker(remote->m_objMutex);
  EXPECT_EQ(remote->m_RxSerialDeviceid, "0016c04e21e7");
}

struct T_MacRow {
  const char* name;
  unsigned length;
  std::string buffer;  // afterwards, in a buffer that began as "####..."
};
class MyMac : public testing::TestWithParam<T_MacRow> {};

TEST_P(MyMac, IsWrittenOnlyWhereThereIsMoreThanItsRoom) {
  char buffer[32];
  std::memset(buffer, '#', sizeof buffer);
  buffer[31] = '\0';
  EXPECT_EQ(GetMyMACID(buffer, GetParam().length), buffer);
  EXPECT_EQ(std::string(buffer), GetParam().buffer);
}

INSTANTIATE_TEST_SUITE_P(Rows, MyMac,
                         testing::Values(T_MacRow{"None", 0, std::string(31, '#')},
                                         T_MacRow{"One", 1, std::string(31, '#')}, T_MacRow{"Two", 2, ""},
                                         T_MacRow{"TheTextAndItsZero", 13, ""}, T_MacRow{"OneMore", 14, "0016c04e41b2"},
                                         T_MacRow{"Plenty", 31, "0016c04e41b2"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(MyMacId, OfNoBufferIsNull) { EXPECT_EQ(GetMyMACID(nullptr, 32), nullptr); }

}  // namespace
