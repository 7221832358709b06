#include "avpsim.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "httpclient.h"
#include "simjson.h"
#include "tcppeer.h"

namespace {

const char kSubscribe[] =
    R"({"op":"subscribe","subscription_type":"HDMI","subscription_index":1,"source_address":"235.14.65.178"})";
const char kLeave[] = R"({"op":"leave","subscription_type":"HDMI"})";
const char kDevice[] = "/api/device/0016c04e30a1";
const char kEnabled[] = "subscriptions[HDMI:1].configuration.enable";

Json::Value Parsed(const std::string& text) { return simjson::Parse(text).value_or(Json::Value()); }

class AvpSim : public testing::Test {
 protected:
  void SetUp() override {
    m_sim = std::make_unique<CAvpSim>(Options());
    ASSERT_TRUE(m_sim->Start());
    m_client = std::make_unique<CHttpClient>(m_sim->HttpPort());
  }

  static T_AvpSimOptions Options() {
    T_AvpSimOptions options;
    options.httpPort = options.tciPort = 0;
    options.settingsChangedMs = options.infoAvailableMs = options.connectSettingsMs = 0;
    options.rebootMs = options.updateMs = 0;
    return options;
  }

  T_HttpResult Post(const std::string& body) { return m_client->Post(kDevice, body); }
  std::string Status(const T_HttpResult& result) { return Parsed(result.body)["status"].asString(); }

  // A text link in asynchronous mode.
  std::unique_ptr<CTcpPeer> Listener() {
    auto peer = std::make_unique<CTcpPeer>(m_sim->TciPort());
    peer->Send("mode async on\r\n");
    peer->Line();
    return peer;
  }

  // The next event of the type on the link.
  static Json::Value Event(CTcpPeer& peer, const std::string& type) {
    while (const std::optional<std::string> line = peer.Line()) {
      const Json::Value event = Parsed(*line)["result"]["events"][0];
      if (event["event_type"] == type) return event;
    }
    return Json::Value();
  }

  Json::Value AnswerOf(const Json::Value& event) {
    return Parsed(m_client->Get("/api/request/" + event["request_id"].asString()).body);
  }

  std::unique_ptr<CAvpSim> m_sim;
  std::unique_ptr<CHttpClient> m_client;
};

// --- requests ---

TEST_F(AvpSim, RecordsEachRequest) {
  const auto before = T_SimClock::now();
  Post(kSubscribe);
  m_client->Get("/api/firmware");
  const std::vector<T_SimRequest> requests = m_sim->Requests();
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].method, "POST");
  EXPECT_EQ(requests[0].path, kDevice);
  EXPECT_EQ(requests[0].body, kSubscribe);
  EXPECT_EQ(requests[0].json["source_address"], "235.14.65.178");
  EXPECT_EQ(requests[1].method, "GET");
  EXPECT_EQ(requests[1].path, "/api/firmware");
  EXPECT_TRUE(requests[1].json.isNull());
  EXPECT_LE(before, requests[0].time);
  EXPECT_LE(requests[0].time, requests[1].time);
}

TEST_F(AvpSim, FindsRequestsByACondition) {
  Post(kSubscribe);
  Post(kLeave);
  EXPECT_EQ(m_sim->Requests(simmatch::Op("leave")).size(), 1u);
  EXPECT_EQ(m_sim->RequestCount(), 2u);
}

TEST_F(AvpSim, ForgetsRequests) {
  Post(kLeave);
  m_sim->ClearRequests();
  EXPECT_TRUE(m_sim->Requests().empty());
  EXPECT_EQ(m_sim->RequestCount(), 0u);
}

TEST_F(AvpSim, WaitsForARequestThatComesLater) {
  std::thread later([this] { Post(kSubscribe); });
  const std::optional<T_SimRequest> request = m_sim->WaitForRequest(simmatch::Op("subscribe"), 20000);
  later.join();
  ASSERT_TRUE(request);
  EXPECT_EQ(request->body, kSubscribe);
}

TEST_F(AvpSim, WaitsForANumberOfRequests) {
  Post(kSubscribe);
  Post(kLeave);
  EXPECT_TRUE(m_sim->WaitForRequests(2, 20000));
  EXPECT_FALSE(m_sim->WaitForRequests(3, 0));
  EXPECT_FALSE(m_sim->WaitForRequests(2, simmatch::Op("leave"), 0));
  EXPECT_FALSE(m_sim->WaitForRequest(simmatch::Op("start"), 0));
}

TEST_F(AvpSim, WaitsForTheEffectOfARequest) {
  std::thread later([this] { Post(kSubscribe); });
  EXPECT_TRUE(m_sim->WaitForValue(kEnabled, true, 20000));
  later.join();
}

// --- scripts ---

TEST_F(AvpSim, AScriptAnswersTheNextMatchingRequest) {
  m_sim->Script(simmatch::Op("subscribe"), T_SimAnswer::Error("INVALID_STATE", "No"));
  EXPECT_EQ(Status(Post(kLeave)), "SUCCESS");
  EXPECT_EQ(Status(Post(kSubscribe)), "ERROR");
  EXPECT_EQ(Status(Post(kSubscribe)), "SUCCESS");
}

TEST_F(AvpSim, AScriptMayAnswerSeveralOrAll) {
  m_sim->Script(simmatch::Op("subscribe"), T_SimAnswer::Error("INVALID_STATE", "No"), 2);
  m_sim->Script(simmatch::Op("leave"), T_SimAnswer::Error("INVALID_STATE", "No"), 0);
  std::string results;
  for (int i = 0; i < 3; ++i) results += Status(Post(kSubscribe)) + " " + Status(Post(kLeave)) + " ";
  EXPECT_EQ(results, "ERROR ERROR ERROR ERROR SUCCESS ERROR ");
  m_sim->ClearScripts();
  EXPECT_EQ(Status(Post(kLeave)), "SUCCESS");
}

TEST_F(AvpSim, TheFirstScriptThatMatchesIsUsed) {
  m_sim->Script(simmatch::Any(), T_SimAnswer::Body("first"));
  m_sim->Script(simmatch::Any(), T_SimAnswer::Body("second", 500));
  EXPECT_EQ(Post(kLeave).body, "first");
  const T_HttpResult second = Post(kLeave);
  EXPECT_EQ(second.body, "second");
  EXPECT_EQ(second.status, 500);
}

struct T_Broken {
  const char* name;
  T_SimAnswer answer;
  bool arrives;  // an HTTP answer comes, though no good one
};

class AvpSimFault : public AvpSim, public testing::WithParamInterface<T_Broken> {};

TEST_P(AvpSimFault, ConcernsOneAnswer) {
  m_sim->Script(simmatch::Any(), GetParam().answer);
  const T_HttpResult broken = Post(kLeave);
  EXPECT_EQ(broken.arrived, GetParam().arrives);
  EXPECT_TRUE(Parsed(broken.body).isNull());
  EXPECT_EQ(Status(Post(kLeave)), "SUCCESS");
}

INSTANTIATE_TEST_SUITE_P(Kinds, AvpSimFault,
                         testing::ValuesIn(std::vector<T_Broken>{
                             {"HangUp", T_SimAnswer::HangUp(), false},
                             {"Half", T_SimAnswer::Half(), false},
                             {"Raw", T_SimAnswer::Raw(), false},
                             {"Garbage", T_SimAnswer::Garbage(), true},
                         }),
                         [](const auto& row) { return row.param.name; });

TEST_F(AvpSim, AnAnswerMayComeLate) {
  m_sim->Script(simmatch::Any(), T_SimAnswer::Slow(100));
  const auto start = T_SimClock::now();
  EXPECT_EQ(Status(Post(kLeave)), "SUCCESS");
  EXPECT_GE(T_SimClock::now() - start, std::chrono::milliseconds(100));
}

TEST_F(AvpSim, ARequestMaySettleLater) {
  m_sim->Script(simmatch::Op("subscribe"), T_SimAnswer::ProcessingPolls(1));
  const Json::Value answer = Parsed(Post(kSubscribe).body);
  EXPECT_EQ(answer["status"], "PROCESSING");
  const std::string path = "/api/request/" + answer["request_id"].asString();
  EXPECT_EQ(Status(m_client->Get(path)), "PROCESSING");
  EXPECT_EQ(Status(m_client->Get(path)), "SUCCESS");
}

TEST_F(AvpSim, AllRequestsMayBeProcessingFirst) {
  m_sim->SetProcessing(T_SimAnswer::ProcessingPolls(0));
  EXPECT_EQ(Status(Post(kSubscribe)), "PROCESSING");
  m_sim->SetProcessing(T_SimAnswer::Default());
  EXPECT_EQ(Status(Post(kSubscribe)), "SUCCESS");
}

// --- starting and stopping ---

TEST_F(AvpSim, TheServerMayBeAbsentAndComeBack) {
  m_sim->StopHttp();
  EXPECT_FALSE(Post(kLeave).arrived);
  EXPECT_TRUE(CTcpPeer(m_sim->TciPort()).Connected());
  ASSERT_TRUE(m_sim->StartHttp());
  EXPECT_EQ(Status(Post(kLeave)), "SUCCESS");
}

TEST_F(AvpSim, TheTextLinkMayBeAbsentAndComeBack) {
  m_sim->StopTci();
  EXPECT_FALSE(CTcpPeer(m_sim->TciPort()).Connected());
  EXPECT_EQ(Status(Post(kLeave)), "SUCCESS");
  ASSERT_TRUE(m_sim->StartTci());
  EXPECT_TRUE(CTcpPeer(m_sim->TciPort()).Connected());
}

TEST_F(AvpSim, AStopDoesNotWaitForALateAnswer) {
  m_sim->Script(simmatch::Any(), T_SimAnswer::Slow(3600000));
  std::thread waiting([this] { Post(kLeave); });
  ASSERT_TRUE(m_sim->WaitForRequests(1, 20000));
  const auto start = T_SimClock::now();
  m_sim->StopHttp();
  EXPECT_LT(T_SimClock::now() - start, std::chrono::seconds(10));
  waiting.join();
}

TEST_F(AvpSim, ATakenPortIsReported) {
  std::string logged;
  T_AvpSimOptions options = Options();
  options.httpPort = m_sim->HttpPort();
  options.log = [&logged](const std::string& line) { logged += line; };
  CAvpSim second(options);
  EXPECT_FALSE(second.Start());
  EXPECT_NE(logged.find("HTTP !! cannot listen on 127.0.0.1:"), std::string::npos) << logged;
}

TEST(AvpSimStart, KeepsAsManyRequestsAsItIsTold) {
  T_AvpSimOptions options;
  options.httpPort = options.tciPort = 0;
  options.requestsKept = 2;
  CAvpSim sim(options);
  ASSERT_TRUE(sim.StartHttp());
  CHttpClient client(sim.HttpPort());
  for (const char* path : {"/1", "/2", "/3"}) client.Get(path);
  const std::vector<T_SimRequest> kept = sim.Requests();
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].path, "/2");
  EXPECT_EQ(sim.RequestCount(), 3u);
  EXPECT_TRUE(sim.WaitForRequests(3, 0));
}

TEST(AvpSimStart, RefusesOptionsThatItCannotUse) {
  T_AvpSimOptions options;
  options.role = "TOASTER";
  EXPECT_THROW(CAvpSim{options}, std::runtime_error);
  options = {};
  options.mac = "0016c04e30";
  EXPECT_THROW(CAvpSim{options}, std::runtime_error);
  options = {};
  options.document = "none";
  EXPECT_THROW(CAvpSim{options}, std::runtime_error);
}

TEST(AvpSimStart, PlaysTheDeviceThatItIsGiven) {
  T_AvpSimOptions options;
  options.role = "TX";
  options.mac = "0016c04eff01";
  CAvpSim sim(options);
  EXPECT_EQ(sim.DeviceId(), "0016c04eff01");
  EXPECT_EQ(sim.Get("streams[HDMI:0].configuration.address"), "235.14.255.1");
  EXPECT_EQ(sim.HttpPort(), 0) << "nothing is started";
}

// --- the text link ---

TEST_F(AvpSim, RecordsTheLinesOfTheTextLink) {
  CTcpPeer peer(m_sim->TciPort());
  peer.Send("require blueriver_api 3.0.0.0\r\nmode async on\r\n");
  EXPECT_EQ(peer.Line(), R"({"status":"SUCCESS","request_id":null,"result":null,"error":null})");
  EXPECT_EQ(m_sim->WaitForTciLine("mode async", 20000), "mode async on");
  EXPECT_EQ(m_sim->TciLines(), (std::vector<std::string>{"require blueriver_api 3.0.0.0", "mode async on"}));
  m_sim->ClearTciLines();
  EXPECT_FALSE(m_sim->WaitForTciLine("mode async", 0));
}

TEST_F(AvpSim, CountsConnections) {
  EXPECT_TRUE(m_sim->WaitForTciSessions(0, 0));
  EXPECT_FALSE(m_sim->WaitForAsync(0));
  const auto peer = Listener();
  EXPECT_TRUE(m_sim->WaitForTciSessions(1, 20000));
  EXPECT_TRUE(m_sim->WaitForAsync(20000));
  m_sim->DropTci();
  EXPECT_TRUE(m_sim->WaitForTciSessions(0, 20000));
}

TEST_F(AvpSim, PushesLinesAndBytesToEveryConnection) {
  CTcpPeer peer(m_sim->TciPort());
  ASSERT_TRUE(m_sim->WaitForTciSessions(1, 20000));
  m_sim->PushLine("no json");
  EXPECT_EQ(peer.Line(), "no json");
  m_sim->PushRaw("a\r\nb\r\n");
  EXPECT_EQ(peer.Line(), "a");
  EXPECT_EQ(peer.Line(), "b");
}

TEST_F(AvpSim, RefusesConnectionsWhenToldSo) {
  m_sim->SetTciRefuse(true);
  EXPECT_EQ(CTcpPeer(m_sim->TciPort()).Rest(), "");
  m_sim->SetTciRefuse(false);
  EXPECT_NE(Listener(), nullptr);
}

TEST_F(AvpSim, HangsUpAtALineWhenToldSoOnce) {
  m_sim->DropTciAt("mode async");
  CTcpPeer peer(m_sim->TciPort());
  peer.Send("mode async on\r\nnetstat ALL select all\r\n");
  EXPECT_EQ(peer.Rest(), "");
  EXPECT_EQ(m_sim->TciLines(), std::vector<std::string>{"mode async on"});
  EXPECT_NE(Listener(), nullptr);
}

TEST_F(AvpSim, MaySplitAnswersFromTheirEnd) {
  m_sim->SetTciSplitMs(1'500);  // well after the first piece was read
  CTcpPeer peer(m_sim->TciPort());
  peer.Send("mode async on\r\n");
  EXPECT_EQ(peer.Piece().back(), '}');
  EXPECT_EQ(peer.Piece(), "\r\n");
}

TEST_F(AvpSim, EventsGoToAsynchronousConnectionsOnly) {
  CTcpPeer silent(m_sim->TciPort());
  const auto peer = Listener();
  ASSERT_TRUE(m_sim->WaitForTciSessions(2, 20000));
  m_sim->PushSettingsChanged();
  EXPECT_EQ(Event(*peer, "SETTINGS_CHANGED")["device_id"], "0016c04e30a1");
  m_sim->PushLine("end");
  EXPECT_EQ(silent.Line(), "end");
}

// --- events ---

TEST_F(AvpSim, ANotificationHasItsForm) {
  const auto peer = Listener();
  const int id = m_sim->PushEvent("I2C", "0016c04e30a1", Json::Value());
  const std::string line = peer->Line().value_or("");
  const std::string begin =
      R"({"status":"NOTIFICATION","request_id":null,"result":{"events":[{"device_id":"0016c04e30a1","event_id":1,)"
      R"("event_type":"I2C","timestamp":)";
  EXPECT_EQ(line.substr(0, begin.size()), begin);
  const std::string end = R"(,"request_id":)" + std::to_string(id) + R"(}]},"error":null})";
  EXPECT_EQ(line.substr(line.size() - end.size()), end);
}

TEST_F(AvpSim, SerialDataArriveAsAnEvent) {
  const auto peer = Listener();
  m_sim->ReceiveRs232("PWR=1\r\n");
  EXPECT_EQ(simjson::Write(AnswerOf(Event(*peer, "RS232_RECEIVED"))["result"]),
            R"({"rs232":[{"device_id":"0016c04e30a1","rs232_data":"PWR=1\\x0d\\x0a","stream_idx":0}]})");
}

TEST_F(AvpSim, InfraredAndCecDataArriveAsEvents) {
  const auto peer = Listener();
  m_sim->ReceiveInfrared("0000006d");
  m_sim->ReceiveCec("4004");
  EXPECT_EQ(simjson::Write(AnswerOf(Event(*peer, "INFRARED_RECEIVED"))["result"]),
            R"({"infrared":[{"device_id":"0016c04e30a1","infrared_data":"0000006d","stream_idx":0}]})");
  EXPECT_EQ(simjson::Write(AnswerOf(Event(*peer, "CEC_RECEIVED"))["result"]),
            R"({"cec":[{"device_id":"0016c04e30a1","cec_data":"4004"}]})");
}

TEST_F(AvpSim, ARequestOverHttpIsAnnouncedOnTheTextLink) {
  const auto peer = Listener();
  const Json::Value answer = Parsed(Post(kSubscribe).body);
  EXPECT_EQ(Event(*peer, "REQUEST_COMPLETE")["request_id"], answer["request_id"]);
  const Json::Value settings = AnswerOf(Event(*peer, "SETTINGS_CHANGED"));
  EXPECT_EQ(settings["result"]["devices"][0], m_sim->Device());
}

TEST_F(AvpSim, AFailedRequestOfAnEventCanBePlayed) {
  const auto peer = Listener();
  m_sim->PushEventWithAnswer("RS232_RECEIVED", "0016c04e30a1", T_SimAnswer::Error("INVALID_STATE", "No"));
  EXPECT_EQ(AnswerOf(Event(*peer, "RS232_RECEIVED"))["status"], "ERROR");
}

// --- the device ---

TEST_F(AvpSim, AnythingInTheDocumentCanBeSet) {
  const auto peer = Listener();
  EXPECT_TRUE(m_sim->Set("nodes[HDMI_ENCODER:0].status.hdcp_version", "HDCP_2_2"));
  EXPECT_EQ(m_sim->Get("nodes[HDMI_ENCODER:0].status.hdcp_version"), "HDCP_2_2");
  EXPECT_FALSE(Event(*peer, "SETTINGS_CHANGED").isNull());
  EXPECT_FALSE(m_sim->Set("nodes[SMELL:0].status", 1));
  EXPECT_FALSE(m_sim->Get("nodes[SMELL:0].status"));
}

TEST_F(AvpSim, TheSourceAndTheMonitorChange) {
  const auto peer = Listener();
  EXPECT_TRUE(m_sim->SetSource("1280x720p50"));
  EXPECT_EQ(AnswerOf(Event(*peer, "SETTINGS_CHANGED"))["result"]["devices"][0], m_sim->Device());
  EXPECT_TRUE(m_sim->SetMonitor(false));
  EXPECT_EQ(m_sim->Get("nodes[HDMI_MONITOR:0].status.connected"), false);
  EXPECT_FALSE(m_sim->SetSource("bright"));
}

TEST_F(AvpSim, TheDeviceGoesAndComesBack) {
  const auto peer = Listener();
  m_sim->Disconnect();
  EXPECT_FALSE(Event(*peer, "DEVICE_DISCONNECTED").isNull());
  EXPECT_EQ(Parsed(Post(kLeave).body)["result"]["error"][0]["reason"], "DEVICE_DISCONNECTED");
  m_sim->Connect();
  EXPECT_FALSE(Event(*peer, "DEVICE_CONNECTED").isNull());
  EXPECT_EQ(Parsed(Post(kLeave).body)["result"]["error"].size(), 0u);
}

TEST_F(AvpSim, TheDeviceMayHang) {
  m_sim->SetHung(true);
  const Json::Value answer = Parsed(Post(R"({"op":"get","subset":"identity"})").body);
  EXPECT_FALSE(answer["result"]["devices"][0].isMember("identity"));
}

TEST_F(AvpSim, AnUpdateIsPlayedToItsEnd) {
  const auto peer = Listener();
  Post(R"({"op":"update","file_name":"hly-avp-1430-20240902.apz"})");
  EXPECT_FALSE(Event(*peer, "FIRMWARE_UPDATE_COMPLETE").isNull());
  Post(R"({"op":"reboot"})");
  EXPECT_TRUE(m_sim->WaitForValue("identity.firmware_version", "1.4.3.0", 20000));
}

TEST_F(AvpSim, AnUpdateMayFail) {
  const auto peer = Listener();
  m_sim->SetUpdateOutcome(e_update_fails);
  Post(R"({"op":"update","file_name":"hly-avp-1430-20240902.apz"})");
  EXPECT_EQ(AnswerOf(Event(*peer, "REQUEST_COMPLETE"))["status"], "ERROR");
}

TEST_F(AvpSim, ThePackagesCanBeReplaced) {
  m_sim->SetFirmware(*simjson::Parse(R"([{"file_name":"x.apz","supports_production":false}])"));
  EXPECT_EQ(Parsed(m_client->Get("/api/firmware").body)["result"]["firmware"][0]["file_name"], "x.apz");
}

TEST_F(AvpSim, SentDataAreKept) {
  Post(R"({"op":"send:rs232","port_index":0,"data_string":"PWR?\\x0d"})");
  ASSERT_TRUE(m_sim->WaitForSentData(1, 20000));
  EXPECT_EQ(m_sim->SentData()[0].data, "PWR?\r");
}

TEST_F(AvpSim, DevicesCanBeAdded) {
  Json::Value device = m_sim->Device();
  device["device_id"] = "0016c04eff01";
  EXPECT_TRUE(m_sim->AddDevice(device));
  EXPECT_EQ(m_sim->Device("0016c04eff01"), device);
  EXPECT_EQ(Parsed(m_client->Get("/api/device/ALL").body)["result"]["devices"].size(), 2u);
  EXPECT_FALSE(m_sim->AddDevice(7));
}

TEST(AvpSimLog, HasOneLineForEachMessage) {
  std::mutex mutex;
  std::vector<std::string> lines;
  T_AvpSimOptions options;
  options.httpPort = options.tciPort = 0;
  options.autoEvents = false;
  options.logLimit = 60;
  options.log = [&](const std::string& line) {
    const std::lock_guard<std::mutex> guard(mutex);
    lines.push_back(line.substr(line.find(' ') + 1));
  };
  CAvpSim sim(options);
  ASSERT_TRUE(sim.Start());
  CHttpClient(sim.HttpPort()).Post("/api/device/ALL", "{\"op\":\"stop\"}\n");
  CHttpClient(sim.HttpPort()).Get("/x");
  CTcpPeer peer(sim.TciPort());
  peer.Send("mode async on\r\n");
  peer.Line();
  sim.Stop();
  const std::lock_guard<std::mutex> guard(mutex);
  EXPECT_EQ(lines, (std::vector<std::string>{
                       R"(HTTP <- POST /api/device/ALL {"op":"stop"})",
                       R"(HTTP -> {"status":"ERROR","request_id":null,"result":null,"error":{"... (129 bytes))",
                       "HTTP <- GET /x",
                       R"(HTTP -> 404 {"status":"ERROR","request_id":null,"result":null,"error... (129 bytes))",
                       "TCI <- mode async on",
                       R"(TCI -> {"status":"SUCCESS","request_id":null,"result":null,"error":... (65 bytes))"}));
}

}  // namespace
