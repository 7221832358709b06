#include "simcontrol.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "httpclient.h"
#include "simjson.h"
#include "tcppeer.h"

namespace {

class SimControl : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_sim.Start()); }

  static T_AvpSimOptions Options() {
    T_AvpSimOptions options;
    options.role = "TRX";
    options.httpPort = options.tciPort = 0;
    options.settingsChangedMs = 0;
    return options;
  }

  std::string Do(const std::string& line) { return m_control.Execute(line); }
  T_HttpResult Leave() {
    return CHttpClient(m_sim.HttpPort()).Post("/api/device/ALL", R"({"op":"leave","subscription_type":"HDMI"})");
  }
  std::string Value(const std::string& key) { return simjson::Write(m_sim.Get(key).value_or("absent")); }

  // The next event on a text link in asynchronous mode, its request's result.
  std::string ResultAfter(const std::string& line) {
    CTcpPeer peer(m_sim.TciPort());
    peer.Send("mode async on\r\n");
    peer.Line();
    EXPECT_EQ(Do(line), "ok");
    const Json::Value event = simjson::Parse(peer.Line().value_or(""))->operator[]("result")["events"][0];
    m_lastType = event["event_type"].asString();
    const std::string path = "/api/request/" + event["request_id"].asString();
    return simjson::Write((*simjson::Parse(CHttpClient(m_sim.HttpPort()).Get(path).body))["result"]);
  }

  CAvpSim m_sim{Options()};
  CSimControl m_control{m_sim};
  std::string m_lastType;
};

TEST_F(SimControl, SerialDataArrive) {
  EXPECT_EQ(ResultAfter("event rs232 PWR = 1\\r\\n"),
            R"({"rs232":[{"device_id":"0016c04e41b2","rs232_data":"PWR = 1\\x0d\\x0a","stream_idx":0}]})");
  EXPECT_EQ(m_lastType, "RS232_RECEIVED");
}

TEST_F(SimControl, InfraredDataArrive) {
  EXPECT_EQ(ResultAfter("event infrared 0000006d"),
            R"({"infrared":[{"device_id":"0016c04e41b2","infrared_data":"0000006d","stream_idx":0}]})");
}

TEST_F(SimControl, CecDataArrive) {
  EXPECT_EQ(ResultAfter("event cec 4004"), R"({"cec":[{"device_id":"0016c04e41b2","cec_data":"4004"}]})");
}

TEST_F(SimControl, SettingsAreAnnounced) {
  ResultAfter("event settings");
  EXPECT_EQ(m_lastType, "SETTINGS_CHANGED");
}

TEST_F(SimControl, AnyEventIsAnnounced) {
  EXPECT_EQ(ResultAfter(R"(event I2C {"i2c": [{"device_id": "x"}]})"), R"({"i2c":[{"device_id":"x"}]})");
  EXPECT_EQ(m_lastType, "I2C");
  EXPECT_EQ(ResultAfter("event FIRMWARE_UPDATE_START"), "null");
}

TEST_F(SimControl, TheSourceChanges) {
  EXPECT_EQ(Do("source 1280x720p50"), "ok");
  EXPECT_EQ(Value("nodes[HDMI_DECODER:0].status.video.height"), "720");
  EXPECT_EQ(Do("source none"), "ok");
  EXPECT_EQ(Value("nodes[HDMI_DECODER:0].status.source_stable"), "false");
}

TEST_F(SimControl, TheMonitorIsPluggedOutAndIn) {
  EXPECT_EQ(Do("monitor out"), "ok");
  EXPECT_EQ(Value("nodes[HDMI_MONITOR:0].status.connected"), "false");
  EXPECT_EQ(Do("monitor in"), "ok");
  EXPECT_EQ(Value("nodes[HDMI_MONITOR:0].status.connected"), "true");
}

TEST_F(SimControl, TheDeviceGoesAndComesBack) {
  EXPECT_EQ(Do("disconnect"), "ok");
  EXPECT_NE(Leave().body.find("DEVICE_DISCONNECTED"), std::string::npos);
  EXPECT_EQ(Do("connect"), "ok");
  EXPECT_EQ(Leave().body.find("DEVICE_DISCONNECTED"), std::string::npos);
}

TEST_F(SimControl, TheDeviceHangsAndWakes) {
  EXPECT_EQ(Do("hang"), "ok");
  EXPECT_NE(Leave().body.find("INVALID_STATE"), std::string::npos);
  EXPECT_EQ(Do("wake"), "ok");
  EXPECT_NE(Leave().body.find("SUCCESS"), std::string::npos);
}

TEST_F(SimControl, TheNextRequestMeetsAFault) {
  EXPECT_EQ(Do("fault next hangup"), "ok");
  EXPECT_FALSE(Leave().arrived);
  EXPECT_TRUE(Leave().arrived);
}

TEST_F(SimControl, ANumberOfMatchingRequestsMeetsAFault) {
  EXPECT_EQ(Do("fault 2 error:VERSION op=leave"), "ok");
  CHttpClient client(m_sim.HttpPort());
  EXPECT_EQ(client.Get("/api").body.find("VERSION\""), std::string::npos);
  for (const bool faulty : {true, true, false}) EXPECT_EQ(Leave().body.find("VERSION") != std::string::npos, faulty);
}

TEST_F(SimControl, FaultsEndWhenToldSo) {
  EXPECT_EQ(Do("fault always hangup"), "ok");
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(Leave().arrived);
  EXPECT_EQ(Do("fault off"), "ok");
  EXPECT_TRUE(Leave().arrived);
}

TEST_F(SimControl, RequestsAreProcessingFirstWhenToldSo) {
  EXPECT_EQ(Do("processing 2"), "ok");
  EXPECT_NE(Leave().body.find("PROCESSING"), std::string::npos);
  EXPECT_EQ(Do("processing off"), "ok");
  EXPECT_EQ(Leave().body.find("PROCESSING"), std::string::npos);
}

TEST_F(SimControl, MembersAreSetAndShown) {
  EXPECT_EQ(Do("set configuration.device_name Main Stage"), "ok");
  EXPECT_EQ(Do("get configuration.device_name"), R"("Main Stage")");
  EXPECT_EQ(Do("set status.temperature 71"), "ok");
  EXPECT_EQ(Do("get status.temperature"), "71");
  EXPECT_EQ(Do("set configuration.device_mode null"), "ok");
  EXPECT_EQ(Do("get configuration.device_mode"), "null");
}

TEST_F(SimControl, TheWholeDocumentIsShown) { EXPECT_EQ(*simjson::Parse(Do("get")), m_sim.Device()); }

TEST_F(SimControl, TheUpdatesOutcomeIsChosen) {
  for (const char* line : {"update fails", "update never", "update succeeds"}) EXPECT_EQ(Do(line), "ok") << line;
}

TEST_F(SimControl, ThePackagesAreReplaced) {
  CHttpClient client(m_sim.HttpPort());
  EXPECT_EQ(Do(R"(firmware [{"file_name": "x.apz"}])"), "ok");
  EXPECT_NE(client.Get("/api/firmware").body.find(R"("firmware":[{"file_name":"x.apz"}])"), std::string::npos);
  EXPECT_EQ(Do("firmware none"), "ok");
  EXPECT_NE(client.Get("/api/firmware").body.find(R"("firmware":[])"), std::string::npos);
}

TEST_F(SimControl, TheTextLinkIsDroppedRefusedAndStopped) {
  CTcpPeer peer(m_sim.TciPort());
  ASSERT_TRUE(m_sim.WaitForTciSessions(1, 20000));
  EXPECT_EQ(Do("tci line some text"), "ok");
  EXPECT_EQ(peer.Line(), "some text");
  EXPECT_EQ(Do("tci split 1"), "ok");
  EXPECT_EQ(Do("tci drop"), "ok");
  EXPECT_EQ(peer.Rest(), "");
  EXPECT_EQ(Do("tci drop-at mode async"), "ok");
  CTcpPeer second(m_sim.TciPort());
  second.Send("mode async on\r\n");
  EXPECT_EQ(second.Rest(), "");
  EXPECT_EQ(Do("tci refuse"), "ok");
  EXPECT_EQ(CTcpPeer(m_sim.TciPort()).Rest(), "");
  EXPECT_EQ(Do("tci accept"), "ok");
  EXPECT_EQ(Do("tci stop"), "ok");
  EXPECT_FALSE(CTcpPeer(m_sim.TciPort()).Connected());
  EXPECT_EQ(Do("tci start"), "ok");
  EXPECT_TRUE(CTcpPeer(m_sim.TciPort()).Connected());
}

TEST_F(SimControl, TheServerIsStoppedAndStarted) {
  EXPECT_EQ(Do("http stop"), "ok");
  EXPECT_FALSE(Leave().arrived);
  EXPECT_EQ(Do("http start"), "ok");
  EXPECT_TRUE(Leave().arrived);
}

TEST_F(SimControl, WhatArrivedIsShown) {
  Leave();
  EXPECT_EQ(Do("show requests"), "1\nPOST /api/device/ALL {\"op\":\"leave\",\"subscription_type\":\"HDMI\"}");
  EXPECT_EQ(Do("show lines"), "0");
  CHttpClient(m_sim.HttpPort()).Post("/api/device/ALL", R"({"op":"send:rs232","port_index":0,"data_string":"A\\x0d"})");
  EXPECT_EQ(Do("show sent"), "1\nrs232 A\\x0d");
  EXPECT_EQ(Do("show ports"), "http " + std::to_string(m_sim.HttpPort()) + " tci " + std::to_string(m_sim.TciPort()));
}

TEST_F(SimControl, OnlyTheLastTwentyAreShown) {
  for (int i = 0; i < 21; ++i) CHttpClient(m_sim.HttpPort()).Get("/" + std::to_string(i));
  const std::string shown = Do("show requests");
  EXPECT_EQ(shown.substr(0, 10), "21\nGET /1\n");
}

TEST_F(SimControl, AnEmptyLineIsNothing) {
  EXPECT_EQ(Do(""), "ok");
  EXPECT_EQ(Do("   "), "ok");
}

TEST_F(SimControl, HelpNamesEveryCommand) {
  for (const char* name : {"event", "source", "monitor", "connect", "disconnect", "hang", "wake", "fault", "processing",
                           "set", "get", "update", "firmware", "tci", "http", "show", "help"}) {
    EXPECT_NE(("\n" + Do("help")).find("\n" + std::string(name)), std::string::npos) << name;
  }
}

class SimControlError : public SimControl, public testing::WithParamInterface<const char*> {};

TEST_P(SimControlError, IsOneLine) {
  const Json::Value before = m_sim.Device();
  const std::string answer = Do(GetParam());
  EXPECT_TRUE(CSimControl::IsError(answer)) << answer;
  EXPECT_EQ(answer.find('\n'), std::string::npos);
  EXPECT_EQ(m_sim.Device(), before);
}

INSTANTIATE_TEST_SUITE_P(Lines, SimControlError,
                         testing::Values("dance", "event", "event rs232", "event rs232 \\q", "event infrared xyz",
                                         "event cec", "event I2C text", "source", "source bright", "monitor",
                                         "monitor sideways", "fault", "fault next", "fault 0 hangup",
                                         "fault soon hangup", "fault next dance", "fault next hangup color=red",
                                         "processing", "processing soon", "set", "set configuration.device_name",
                                         "set taste sweet", "get taste", "update", "update maybe", "firmware",
                                         "firmware text", "tci", "tci dance", "tci split", "tci split x", "tci drop-at",
                                         "tci line", "http", "http dance", "show", "show dance"));

}  // namespace
