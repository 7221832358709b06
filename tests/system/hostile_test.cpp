// Bad input from every side. After each kind the next good command works, nothing has reached a shell that should not,
// and (the fixture's check) the process is alive, ends in order and has no report of a sanitizer.
#include "hostile.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "systemtest.h"

namespace {

constexpr unsigned kSeed = 20'240'117;
constexpr size_t kMutations = 10'000;
// So many datagrams go out before the process is waited for: they fit the receive buffer of its socket.
constexpr size_t kBurst = 50;
// A command's text with its frame in the largest datagram that is taken.
constexpr size_t kLargestText = 8191 - 16 - 1;
constexpr int kRs232 = 1;
constexpr int kProbeMs = 2'000;  // for the report of one notification

class Hostile : public SystemTest {
 protected:
  // The answers that would otherwise change the device for the rest of the test.
  void BringUpSturdy(const std::string& role = "TRX") {
    BringUp(role);
    for (const char* op : {"factory", "reboot", "update"}) {
      Avp().Script(simmatch::Op(op), T_SimAnswer::Success(Json::Value(Json::objectValue)), 0);
    }
  }

  void SendAll(const std::vector<std::string>& datagrams) {
    for (size_t i = 0; i < datagrams.size(); ++i) {
      Core().SendRaw(datagrams[i]);
      if (i % kBurst == kBurst - 1) {
        ASSERT_NO_FATAL_FAILURE(ExpectNextCommandWorks()) << "after datagram " << i;
      }
    }
    ExpectNextCommandWorks();
  }

  void ExpectNoStrangeShellCommand() {
    for (const std::string& command : RecordedCommands()) {
      EXPECT_TRUE(command == "gpio.py IR_EN 0" || command == "gpio.py IR_EN 1" || command == "gpio.py RS232_Mode 0" ||
                  command == "gpio.py RS232_Mode 1" || command == "sync")
          << command;
    }
  }

  // A notification that the process reads together with the end of what came before may be lost, deliberately: reads
  // are not joined. So it is pushed again until one is reported.
  void ExpectNextEventWorks() {
    EXPECT_TRUE(WaitUntil([this] {
      Avp().ReceiveRs232("probe");
      return Core().WaitForReport(kRs232, kProbeMs).has_value();
    })) << "no report any more";
    Core().ClearReports();
  }
};

TEST_F(Hostile, DatagramsAreDropped) {
  BringUpSturdy();
  for (const hostile::T_Row& row : hostile::Datagrams()) {
    Core().SendRaw(row.bytes);
    ASSERT_NO_FATAL_FAILURE(ExpectNextCommandWorks()) << row.name;
  }
  ExpectNoStrangeShellCommand();
}

TEST_F(Hostile, DatagramsOfNoiseAreDropped) {
  BringUpSturdy();
  std::mt19937 random(kSeed);
  std::vector<std::string> datagrams;
  for (size_t i = 0; i < kMutations / 4; ++i) datagrams.push_back(hostile::Noise(600, random));
  SendAll(datagrams);
  ExpectNoStrangeShellCommand();
}

TEST_F(Hostile, DatagramsMutatedFromGoodOnesHarmNothing) {
  BringUpSturdy();
  std::mt19937 random(kSeed);
  const auto good = hostile::GoodDatagrams();
  std::vector<std::string> datagrams;
  for (size_t i = 0; i < kMutations; ++i) datagrams.push_back(hostile::Mutate(good[i % good.size()].bytes, random));
  SendAll(datagrams);
  ExpectNoStrangeShellCommand();
}

TEST_F(Hostile, CommandTextsThatAreNoCommandAreDropped) {
  BringUpSturdy();
  const auto texts = hostile::JsonTexts(kLargestText);
  for (const T_CommandTag& command : kCommandTags) {
    if (command.name == "reset-device") continue;
    for (const hostile::T_Row& row : texts) ASSERT_TRUE(Core().Send(command.tag, row.bytes)) << row.name;
    ASSERT_NO_FATAL_FAILURE(ExpectNextCommandWorks()) << command.name;
  }
  ExpectNoStrangeShellCommand();
}

class WrongTypes : public Hostile, public testing::WithParamInterface<const char*> {};

TEST_P(WrongTypes, OfEveryKeyOfEveryCommandCountAsAbsent) {
  BringUpSturdy(GetParam());
  for (const hostile::T_Row& command : hostile::FullCommands()) {
    if (command.name == "reset-device") continue;
    size_t sent = 0;
    for (const hostile::T_Row& row : hostile::WrongTyped(command.bytes)) {
      Core().Send(command.name, row.bytes);
      if (++sent % kBurst == 0) {
        ASSERT_NO_FATAL_FAILURE(ExpectNextCommandWorks()) << command.name << row.name;
      }
    }
    ASSERT_NO_FATAL_FAILURE(ExpectNextCommandWorks()) << command.name;
  }
  ExpectNoStrangeShellCommand();
}

INSTANTIATE_TEST_SUITE_P(Roles, WrongTypes, testing::Values("RX", "TX", "TRX"), T_RowName());

TEST_F(Hostile, LinesOnTheTextLinkAreDropped) {
  BringUpSturdy();
  ASSERT_TRUE(WaitForLogLine("INFO m_bTciInit ok"));
  for (const hostile::T_Row& row : hostile::LinkBytes()) {
    Avp().PushRaw(row.bytes);
    ASSERT_NO_FATAL_FAILURE(ExpectNextCommandWorks()) << row.name;
  }
  Avp().PushRaw("\r\n");  // ends what a row left open
  ExpectNextEventWorks();
  ExpectNoStrangeShellCommand();
}

TEST_F(Hostile, NoiseOnTheTextLinkIsDropped) {
  BringUpSturdy();
  ASSERT_TRUE(WaitForLogLine("INFO m_bTciInit ok"));
  std::mt19937 random(kSeed);
  for (int i = 0; i < 300; ++i) Avp().PushRaw(hostile::Noise(8000, random));
  Avp().PushRaw("\r\n");
  ExpectNextCommandWorks();
  ExpectNextEventWorks();
}

TEST_F(Hostile, AnswersToCommandsAreSurvived) {
  BringUpSturdy();
  for (const hostile::T_Row& row : hostile::JsonTexts(100'000)) {
    Avp().Script(simmatch::Op("start"), T_SimAnswer::Body(row.bytes), 0);
    Avp().Script(simmatch::Op("subscribe"), T_SimAnswer::Body(row.bytes), 0);
    Avp().Script(simmatch::Op("netstat"), T_SimAnswer::Body(row.bytes), 0);
    Avp().Script(simmatch::Op("set:property"), T_SimAnswer::Body(row.bytes), 0);
    Core().Send("set-associations-video",
                R"({"streamSubscription":{"avpDeviceId":"0016c04e21e7","enableAudio":true}})");
    ASSERT_NO_FATAL_FAILURE(ExpectNextCommandWorks()) << row.name;
    Avp().ClearScripts();
  }
}

// An answer of no known status is asked for again for four seconds, so the rows are dealt out to several tests.
class AnswersToPolls : public Hostile, public testing::WithParamInterface<int> {
 protected:
  static constexpr size_t kShares = 6;
};

TEST_P(AnswersToPolls, AreSurvived) {
  BringUpSturdy();
  const auto rows = hostile::JsonTexts(20'000);
  for (size_t i = static_cast<size_t>(GetParam()); i < rows.size(); i += kShares) {
    Avp().Script(simmatch::Op("leave"), T_SimAnswer::ProcessingPolls(0).SettledBy(T_SimAnswer::Body(rows[i].bytes)), 1);
    Core().Send("set-associations-video", R"({"streamSubscription":{"avpDeviceId":"none"}})");
    ASSERT_NO_FATAL_FAILURE(ExpectNextCommandWorks()) << rows[i].name;
    Avp().ClearScripts();
  }
}

INSTANTIATE_TEST_SUITE_P(Shares, AnswersToPolls, testing::Range(0, 6));

TEST_F(Hostile, AnswersToTheFirstReadsAreSurvived) {
  StartAvp();
  Avp().Script(simmatch::Subset("identity"),
               T_SimAnswer::Body(R"({"status":"SUCCESS","result":{"devices":[[],1,{"device_id":7}]}})"));
  Avp().Script(
      simmatch::Subset("device"),
      T_SimAnswer::Body(R"({"status":"SUCCESS","result":{"devices":[{"device_id":[],"nodes":{}},null,{"device_id":)"
                        R"("0016c04e41b2","identity":{"a":1},"nodes":[[],{"type":1}],"streams":"x"}]}})"));
  StartCmdCore();
  StartHalyard();
  AnnounceCmdCore();
  ExpectNextCommandWorks();
}

TEST_F(Hostile, ResultsOfEventsAreSurvived) {
  BringUpSturdy();
  ASSERT_TRUE(Avp().WaitForAsync(kPatienceMs));
  for (const char* type :
       {"RS232_RECEIVED", "INFRARED_RECEIVED", "SETTINGS_CHANGED", "REQUEST_COMPLETE", "CEC_RECEIVED"}) {
    for (const hostile::T_Row& row : hostile::JsonTexts(20'000)) {
      Avp().PushEventWithAnswer(type, kLocalId, T_SimAnswer::Body(row.bytes));
    }
    ASSERT_NO_FATAL_FAILURE(ExpectNextCommandWorks()) << type;
    ASSERT_NO_FATAL_FAILURE(ExpectNextEventWorks()) << type;
  }
}

TEST_F(Hostile, AnEndlessPeerOnTheTextLinkDoesNotStopCommands) {
  BringUpSturdy();
  ASSERT_TRUE(WaitForLogLine("INFO m_bTciInit ok"));
  const std::string line = R"({"status":"SUCCESS","request_id":null,"result":null,"error":null})"
                           "\r\n";
  std::string chunk;
  while (chunk.size() < 60'000) chunk += line;
  for (int i = 0; i < 50; ++i) Avp().PushRaw(chunk);
  ExpectNextCommandWorks();
}

}  // namespace
