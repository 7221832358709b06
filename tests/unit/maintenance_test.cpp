// Updates, reboots and losses: the part of the API server in sim/maintenance.cpp.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apibench.h"
#include "simjson.h"

namespace {

const char kUpdate[] = R"({"op":"update","file_name":"hly-avp-1430-20240902.apz"})";
const char kReboot[] = R"({"op":"reboot"})";
const char kFactory[] = R"({"op":"factory"})";
const char kComment[] = "identity.firmware_comment";
const char kBootStatus[] = "status.boot_status";
const char kInProgress[] = "status.update_in_progress";

class Maintenance : public testing::Test {
 protected:
  // Begins a slow request; its id.
  int Begin(CApiBench& bench, const std::string& body) {
    const Json::Value answer = bench.Post(body);
    EXPECT_EQ(answer["status"], "PROCESSING") << simjson::Write(answer);
    return answer["request_id"].asInt();
  }

  // What the request came to.
  Json::Value Settled(CApiBench& bench, int id) {
    Json::Value event;
    do {
      event = bench.TakeEvent("REQUEST_COMPLETE");
    } while (!event.isNull() && event["request_id"] != id);
    return bench.Get("/api/request/" + std::to_string(id));
  }

  static T_AvpSimOptions SlowUpdate() {
    T_AvpSimOptions options = CApiBench::Options("TX");
    options.updateMs = 3600000;
    return options;
  }

  CApiBench m_bench{"TX"};
};

TEST_F(Maintenance, AnUpdateSettlesWithItsDevice) {
  const Json::Value settled = Settled(m_bench, Begin(m_bench, kUpdate));
  EXPECT_EQ(simjson::Write(settled["result"]), R"({"update":[{"device_id":"0016c04e21e7"}],"error":[]})");
}

TEST_F(Maintenance, AnUpdateIsAnnouncedFromStartToEnd) {
  Settled(m_bench, Begin(m_bench, kUpdate));
  EXPECT_EQ(m_bench.EventTypes(),
            (std::vector<std::string>{"FIRMWARE_UPDATE_START", "FIRMWARE_UPDATE_PROGRESS", "FIRMWARE_UPDATE_PROGRESS",
                                      "FIRMWARE_UPDATE_PROGRESS", "FIRMWARE_UPDATE_COMPLETE", "REQUEST_COMPLETE"}));
}

TEST_F(Maintenance, ProgressIsTold) {
  Begin(m_bench, kUpdate);
  EXPECT_EQ(simjson::Write(m_bench.AnswerOf(m_bench.TakeEvent("FIRMWARE_UPDATE_START"))["result"]),
            R"({"firmware_update":[{"device_id":"0016c04e21e7","progress":0}]})");
  const Json::Value progress = m_bench.AnswerOf(m_bench.TakeEvent("FIRMWARE_UPDATE_PROGRESS"));
  EXPECT_EQ(progress["result"]["firmware_update"][0]["progress"], 25);
  const Json::Value complete = m_bench.AnswerOf(m_bench.TakeEvent("FIRMWARE_UPDATE_COMPLETE"));
  EXPECT_EQ(complete["result"]["firmware_update"][0]["progress"], 100);
}

TEST_F(Maintenance, TheNewVersionRunsOnlyAfterAReboot) {
  Settled(m_bench, Begin(m_bench, kUpdate));
  EXPECT_EQ(m_bench.Value(kComment), R"("HLY-AVP-1420-20240311")");
  Settled(m_bench, Begin(m_bench, kReboot));
  EXPECT_EQ(m_bench.Value(kComment), R"("HLY-AVP-1430-20240902")");
  EXPECT_EQ(m_bench.Value("identity.firmware_version"), R"("1.4.3.0")");
  EXPECT_EQ(m_bench.Value(kBootStatus), R"("PRIMARY")");
}

TEST_F(Maintenance, AnUpdateThatRunsIsShownAndRefusesAnother) {
  CApiBench bench(SlowUpdate());
  const int id = Begin(bench, kUpdate);
  EXPECT_EQ(bench.Value(kInProgress), "true");
  EXPECT_EQ(bench.Refused(kUpdate), "INVALID_STATE");
  EXPECT_EQ(bench.Get("/api/request/" + std::to_string(id))["status"], "PROCESSING");
}

TEST_F(Maintenance, ARebootDuringAnUpdateLeavesTheGoldenImage) {
  CApiBench bench(SlowUpdate());
  Begin(bench, kUpdate);
  Settled(bench, Begin(bench, kReboot));
  EXPECT_EQ(bench.Value(kBootStatus), R"("GOLDEN")");
  EXPECT_EQ(bench.Value("identity.firmware_version"), R"("1.3.0.0")");
  EXPECT_EQ(bench.Value(kInProgress), "false");
}

TEST_F(Maintenance, AnUpdateRepairsTheGoldenState) {
  T_AvpSimOptions options = CApiBench::Options("TX");
  options.document["status"]["boot_status"] = "GOLDEN";
  CApiBench bench(options);
  Settled(bench, Begin(bench, kUpdate));
  Settled(bench, Begin(bench, kReboot));
  EXPECT_EQ(bench.Value(kBootStatus), R"("PRIMARY")");
}

TEST_F(Maintenance, AnUpdateMayFail) {
  m_bench.Api().SetUpdateOutcome(e_update_fails);
  const Json::Value settled = Settled(m_bench, Begin(m_bench, kUpdate));
  EXPECT_EQ(settled["status"], "ERROR");
  EXPECT_EQ(settled["error"]["reason"], "INVALID_STATE");
  EXPECT_EQ(m_bench.Value(kInProgress), "false");
  Settled(m_bench, Begin(m_bench, kReboot));
  EXPECT_EQ(m_bench.Value(kComment), R"("HLY-AVP-1420-20240311")");
}

TEST_F(Maintenance, AnUpdateMayNeverSettle) {
  m_bench.Api().SetUpdateOutcome(e_update_never_settles);
  const int id = Begin(m_bench, kUpdate);
  for (int step = 0; step < 3; ++step) EXPECT_FALSE(m_bench.TakeEvent("FIRMWARE_UPDATE_PROGRESS").isNull());
  EXPECT_EQ(m_bench.Get("/api/request/" + std::to_string(id))["status"], "PROCESSING");
  EXPECT_EQ(m_bench.Value(kInProgress), "true");
}

TEST_F(Maintenance, AnUpdateWantsAFileName) { EXPECT_EQ(m_bench.Refused(R"({"op":"update"})"), "ILLEGAL_ARGUMENT"); }

TEST_F(Maintenance, AHungDeviceTakesNoneOfIt) {
  m_bench.Api().SetHung(true);
  for (const char* body : {kUpdate, kReboot, kFactory}) EXPECT_EQ(m_bench.Refused(body), "INVALID_STATE") << body;
}

TEST_F(Maintenance, ALostDeviceIsNamedInTheErrors) {
  m_bench.Api().Disconnect("");
  for (const char* body : {kUpdate, kReboot, kFactory}) {
    EXPECT_EQ(m_bench.Post(body)["result"]["error"][0]["reason"], "DEVICE_DISCONNECTED") << body;
  }
}

TEST_F(Maintenance, ARebootLeavesAndComesBack) {
  const Json::Value settled = Settled(m_bench, Begin(m_bench, kReboot));
  EXPECT_EQ(simjson::Write(settled["result"]), R"({"reboot":[{"device_id":"0016c04e21e7"}],"error":[]})");
  EXPECT_FALSE(m_bench.TakeEvent("DEVICE_INFO_AVAILABLE").isNull());
  const std::vector<std::string> types = m_bench.EventTypes();
  ASSERT_GE(types.size(), 2u);
  EXPECT_EQ(types[0], "DEVICE_DISCONNECTED");
  EXPECT_EQ(types[1], "DEVICE_CONNECTED");
}

TEST_F(Maintenance, ADeviceThatBootsIsLost) {
  T_AvpSimOptions options = CApiBench::Options("TX");
  options.rebootMs = 3600000;
  CApiBench bench(options);
  Begin(bench, kReboot);
  EXPECT_EQ(bench.Get("/api/device/ALL")["result"]["devices"][0]["status"]["active"], false);
}

TEST_F(Maintenance, ARebootKeepsTheSettings) {
  m_bench.Post(R"({"op":"set:scaler","width":960,"height":540})");
  Settled(m_bench, Begin(m_bench, kReboot));
  EXPECT_EQ(m_bench.Value("nodes[SCALER:0].configuration.width"), "960");
}

TEST_F(Maintenance, AFactoryResetRestoresTheDefaultsAndStopsAll) {
  m_bench.Post(R"({"op":"set:scaler","width":960,"height":540})");
  Settled(m_bench, Begin(m_bench, kUpdate));
  Settled(m_bench, Begin(m_bench, kReboot));
  const Json::Value settled = Settled(m_bench, Begin(m_bench, kFactory));
  EXPECT_EQ(simjson::Write(settled["result"]), R"({"factory":[{"device_id":"0016c04e21e7"}],"error":[]})");
  EXPECT_EQ(m_bench.Value("nodes[SCALER:0].configuration.width"), "1280");
  EXPECT_EQ(m_bench.Value("streams[HDMI:0].status.state"), R"("STOPPED")");
  EXPECT_EQ(m_bench.Value("streams[HDMI:0].configuration.enable"), "false");
  EXPECT_EQ(m_bench.Value(kComment), R"("HLY-AVP-1430-20240902")") << "the firmware is not reset";
}

}  // namespace
