// Requests on their way to the API server: polling, retries, and a server that is absent, late or does not behave.
#include <gmock/gmock.h>

#include "systemtest.h"

namespace {

using testing::ElementsAre;

const std::string kDevicePath = "/api/device/" + kLocalId;
const char kSubscribeA[] = R"({"streamSubscription":{"avpDeviceId":"0016c04e21e7"}})";
const char kSubscribeB[] = R"({"streamSubscription":{"avpDeviceId":"0016c04e5a3c"}})";

class Request : public SystemTest {
 protected:
  // Subscriptions as they arrived, by their addresses.
  std::vector<std::string> SubscribedAddresses() {
    std::vector<std::string> addresses;
    for (const T_SimRequest& request : Avp().Requests(simmatch::Op("subscribe"))) {
      addresses.push_back(request.Field("source_address"));
    }
    return addresses;
  }

  void Subscribe(const char* json) { ASSERT_TRUE(Core().Send("set-associations-video", json)); }

  std::vector<T_SimRequest> Polls(int requestId) {
    return Avp().Requests(simmatch::Path("/api/request/" + std::to_string(requestId)));
  }
};

// Polls as they arrive; the number of the request is the server's choice.
TEST_F(Request, AnsweredProcessingIsPolledUntilItSettles) {
  T_AvpSimOptions options;
  options.autoEvents = false;  // no event asks for the request again
  BringUp("RX", options);
  Avp().Script(simmatch::Op("subscribe"), T_SimAnswer::ProcessingPolls(2));
  Subscribe(kSubscribeA);
  ExpectNextCommandWorks();
  const auto polls = Avp().Requests(simmatch::PathPrefix("/api/request/"));
  ASSERT_EQ(polls.size(), 3u);
  for (const T_SimRequest& poll : polls) {
    EXPECT_EQ(poll.method, "GET");
    EXPECT_EQ(poll.path, polls[0].path);
    EXPECT_EQ(poll.body, "");
  }
  const auto subscribe = Avp().Requests(simmatch::Op("subscribe")).at(0);
  EXPECT_GE(MsBetween(subscribe.time, polls[0].time), 95);
  EXPECT_GE(MsBetween(polls[0].time, polls[1].time), 195);
  EXPECT_GE(MsBetween(polls[1].time, polls[2].time), 295);
}

TEST_F(Request, ThatNeverSettlesIsPolledSixTimes) {
  T_AvpSimOptions options;
  options.autoEvents = false;
  BringUp("RX", options);
  Avp().Script(simmatch::Op("subscribe"), T_SimAnswer::NeverSettles());
  Subscribe(kSubscribeA);
  ExpectNextCommandWorks();
  const auto polls = Avp().Requests(simmatch::PathPrefix("/api/request/"));
  ASSERT_EQ(polls.size(), 6u);
  const int pauses[] = {195, 295, 595, 1095, 1795};
  for (size_t i = 0; i < 5; ++i) EXPECT_GE(MsBetween(polls[i].time, polls[i + 1].time), pauses[i]) << i;
  EXPECT_EQ(LogCount("request id timeout"), 1u);
}

TEST_F(Request, IsTheOnlyOneUnderWay) {
  BringUp();
  Avp().Script(simmatch::Op("subscribe"), T_SimAnswer::Slow(300), 0);
  Subscribe(kSubscribeA);
  EXPECT_EQ(TakeRequests().size(), 3u);
  Subscribe(kSubscribeA);
  ASSERT_TRUE(Avp().WaitForRequest(simmatch::Op("subscribe"), kPatienceMs));
  ASSERT_TRUE(Avp().WaitForRequest(simmatch::Op("leave"), kPatienceMs));
  const auto requests = Avp().Requests();
  size_t slow = 0;
  while (requests[slow].Op() != "subscribe") ++slow;  // results of events may be fetched before it
  ASSERT_LT(slow + 1, requests.size());
  EXPECT_GE(MsBetween(requests[slow].time, requests[slow + 1].time), 290);
}

TEST_F(Request, OfASubscriptionAnsweredErrorIsSentAgainAfterElevenSeconds) {
  BringUp();
  Avp().Script(simmatch::Op("subscribe"), T_SimAnswer::Error("INVALID_STATE", "not now"), 2);
  Subscribe(kSubscribeA);
  ASSERT_TRUE(Avp().WaitForRequests(3, simmatch::Op("subscribe"), kPatienceMs));
  const auto sent = Avp().Requests(simmatch::Op("subscribe"));
  EXPECT_EQ(sent[1].body, sent[0].body);
  // The tick runs all the time, so the first pause is a part of its period, the second a whole one.
  EXPECT_GE(MsBetween(sent[1].time, sent[2].time), 10'500);
  EXPECT_EQ(LogCount("INFO add retry cmd req:"), 1u);
  EXPECT_TRUE(WaitForLogLine("clear retry cmd req:"));
}

TEST_F(Request, OfAFailedSubscriptionIsForgottenWithTheNextAssociation) {
  BringUp();
  Avp().Script(simmatch::Field("source_address", "235.14.33.231"), T_SimAnswer::Error("INVALID_STATE", "not now"), 0);
  Subscribe(kSubscribeA);
  ASSERT_TRUE(WaitForLogLine("INFO add retry cmd req:"));
  Subscribe(kSubscribeB);
  ASSERT_TRUE(WaitForLogLine("clear retry subscribe cmd"));
  const auto begin = Clock::now();
  ASSERT_TRUE(WaitUntil([&] { return MsBetween(begin, Clock::now()) > 12'500; }));  // past the next retry
  EXPECT_THAT(SubscribedAddresses(), ElementsAre("235.14.33.231", "235.14.90.60"));
}

TEST_F(Request, OfASubscriptionAnsweredGarbageIsSentAgain) {
  BringUp();
  Avp().Script(simmatch::Op("subscribe"), T_SimAnswer::Garbage());
  Subscribe(kSubscribeA);
  EXPECT_TRUE(Avp().WaitForRequests(2, simmatch::Op("subscribe"), kPatienceMs));
}

TEST_F(Request, AnsweredByAnHttpErrorIsReadByItsEnvelope) {
  BringUp();
  Avp().Script(simmatch::Op("subscribe"), T_SimAnswer::Error("ILLEGAL_ARGUMENT", "no such address", 400));
  Subscribe(kSubscribeA);
  EXPECT_TRUE(WaitForLogLine("INFO add retry cmd req:"));
}

struct T_Misbehaviour {
  const char* name;
  T_SimAnswer answer;
  const char* logged;  // nullptr: nothing in particular
};

class MisbehavingServer : public SystemTest, public testing::WithParamInterface<T_Misbehaviour> {};

TEST_P(MisbehavingServer, CostsOneRequestAndNoMore) {
  BringUp();
  Avp().Script(simmatch::Op("subscribe"), GetParam().answer);
  ASSERT_TRUE(Core().Send("set-associations-video", kSubscribeA));
  ASSERT_TRUE(Core().Send("set-associations-video", kSubscribeB));
  ExpectNextCommandWorks();
  const auto subscriptions = Avp().Requests(simmatch::Op("subscribe"));
  ASSERT_GE(subscriptions.size(), 2u);
  EXPECT_EQ(subscriptions.back().Field("source_address"), "235.14.90.60");
  if (GetParam().logged != nullptr) {
    EXPECT_GE(LogCount(GetParam().logged), 1u) << GetParam().logged;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Answers, MisbehavingServer,
    testing::Values(T_Misbehaviour{"HangsUp", T_SimAnswer::HangUp(), "ERROR SendReq ["},
                    T_Misbehaviour{"SendsHalf", T_SimAnswer::Half(), "ERROR "},
                    T_Misbehaviour{"SendsNoJson", T_SimAnswer::Garbage(), nullptr},
                    T_Misbehaviour{"SendsNoHttp", T_SimAnswer::Raw(), "ERROR SendReq ["},
                    T_Misbehaviour{"SendsNothingInTheBody", T_SimAnswer::Body(""), nullptr},
                    T_Misbehaviour{"SendsAServerError", T_SimAnswer::Body("oops", 500), nullptr},
                    T_Misbehaviour{"IsSlow", T_SimAnswer::Slow(1500), nullptr},
                    T_Misbehaviour{"LostTheDevice", T_SimAnswer::Disconnected(), "get DEVICE_DISCONNECTED first time"},
                    T_Misbehaviour{"SettlesAsGarbage",
                                   T_SimAnswer::ProcessingPolls(1).SettledBy(T_SimAnswer::Garbage()),
                                   "ERROR parse json error"}),
    T_RowName());

TEST_F(Request, FailsWithOneErrorLineWhileTheServerIsAbsent) {
  BringUp();
  Avp().StopHttp();
  Subscribe(kSubscribeA);
  ASSERT_TRUE(WaitForLogLine("ERROR SendReq [http://127.0.0.1:8080" + kDevicePath + "][{\"op\":\"subscribe\""));
  EXPECT_GE(LogCount("ERROR Failed to post : ["), 1u);
  ASSERT_TRUE(Avp().StartHttp());
  Avp().ClearRequests();
  Subscribe(kSubscribeB);
  ExpectNextCommandWorks();
  // A transport failure leaves the answer's status untouched: such a subscription is not sent again.
  EXPECT_THAT(SubscribedAddresses(), ElementsAre("235.14.90.60"));
  EXPECT_EQ(LogCount("add retry cmd"), 0u);
}

TEST_F(Request, ServedWhenTheServerComesLate) {
  CreateAvp();
  ASSERT_TRUE(Avp().StartTci());
  StartCmdCore();
  StartHalyard();
  AnnounceCmdCore();
  ASSERT_TRUE(WaitForLogLine("ERROR SendReq [http://127.0.0.1:8080" + kDevicePath +
                             "][{\"op\":\"get\",\"subset\":\"device\"}"));
  ASSERT_TRUE(Avp().StartHttp());
  Subscribe(kSubscribeA);
  EXPECT_TRUE(Avp().WaitForRequest(simmatch::Op("subscribe"), kPatienceMs));
}

TEST_F(Request, GoesPastAProxyThatTheEnvironmentNames) {
  setenv("http_proxy", "http://127.0.0.1:1", 1);
  setenv("ALL_PROXY", "http://127.0.0.1:1", 1);
  BringUp();
  unsetenv("http_proxy");
  unsetenv("ALL_PROXY");
}

TEST_F(Request, BodiesEndWithALineEndAndSayThatTheyAreJson) {
  BringUp();
  Subscribe(kSubscribeA);
  ASSERT_TRUE(Avp().WaitForRequest(simmatch::Op("subscribe"), kPatienceMs));
  EXPECT_EQ(Avp().Requests(simmatch::Op("subscribe")).at(0).body,
            "{\"op\":\"subscribe\",\"source_address\":\"235.14.33.231\",\"subscription_index\":0,"
            "\"subscription_type\":\"HDMI\"}\n");
}

TEST_F(Request, LongRunOfCommandsArrivesWholeAndInOrder) {
  BringUp();
  std::vector<std::string> expected;
  for (int i = 0; i < 1000; ++i) {
    char data[16];
    std::snprintf(data, sizeof data, "4004%04x", i);
    expected.push_back(std::string("POST ") + kDevicePath + R"( {"data_hex":")" + data + R"(","op":"send:cec"})");
    ASSERT_TRUE(Core().Send("send-cec-data", std::string(R"({"data":")") + data + R"("})"));
  }
  EXPECT_EQ(TakeRequests(), expected);
}

}  // namespace
