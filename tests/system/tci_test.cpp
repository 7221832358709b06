// The text link: when it is opened, what is said on it, what becomes of commands meanwhile, and how it comes back.
#include <gmock/gmock.h>

#include <sstream>

#include "systemtest.h"

namespace {

using testing::IsEmpty;

const char kRequire[] = "require blueriver_api 3.0.0.0";
const char kAsync[] = "mode async on";
const char kNetstat[] = "netstat ALL select all";
const char kRemoveAudio[] = "set all property streams[HDMI:0].configuration.remove_audio true";

constexpr int kSplitMs = 2'000;  // the process reads well before that, also on a machine under load

class TextLink : public SystemTest {
 protected:
  // TCP connections that anything in this sandbox has tried to open so far.
  static long ConnectionAttempts() {
    std::istringstream lines(ReadFile("/proc/net/snmp"));
    std::string names;
    std::string values;
    while (std::getline(lines, names) && std::getline(lines, values)) {
      if (names.rfind("Tcp:", 0) != 0) continue;
      std::istringstream nameWords(names);
      std::istringstream valueWords(values);
      std::string name;
      std::string value;
      while (nameWords >> name && valueWords >> value) {
        if (name == "ActiveOpens") return std::stol(value);
      }
    }
    return -1;
  }

  // The process logs that the set-up is over once it has sent the last line, which may then still be on its way.
  void ExpectLines(const std::vector<std::string>& lines) {
    ASSERT_TRUE(WaitForLogLine("INFO m_bTciInit ok"));
    EXPECT_TRUE(WaitUntil([&] { return Avp().TciLines().size() >= lines.size(); }));
    EXPECT_EQ(Avp().TciLines(), lines);
  }
};

TEST_F(TextLink, SetsUpADecoderWithThreeCommands) {
  BringUp("RX");
  ExpectLines({kRequire, kAsync, kNetstat});
}

TEST_F(TextLink, SetsUpAnEncoderWithFourCommands) {
  BringUp("TX");
  ExpectLines({kRequire, kAsync, kNetstat, kRemoveAudio});
}

TEST_F(TextLink, SetsUpATransceiverWithFourCommands) {
  BringUp("TRX");
  ExpectLines({kRequire, kAsync, kNetstat, kRemoveAudio});
}

TEST_F(TextLink, IsNotOpenedBeforeCmdCoreIsOnline) {
  StartAvp();
  StartCmdCore();
  StartHalyard();
  ASSERT_TRUE(WaitForLogLine("INFO Tell Cmd Core ,Avp Is Online", 2));
  EXPECT_GE(LogCount("INFO avp not online, tci wait"), 2u);
  EXPECT_THAT(Avp().TciLines(), IsEmpty());
  EXPECT_EQ(Avp().RequestCount(), 0u);
  EXPECT_GE(LogCount("INFO tci not init ok, cmd wait"), 2u);
  AnnounceCmdCore();
  EXPECT_TRUE(Avp().WaitForTciLine(kRequire, kPatienceMs));
}

TEST_F(TextLink, ThatIsAbsentIsTriedAtMostOnceASecond) {
  CreateAvp();
  ASSERT_TRUE(Avp().StartHttp());
  StartCmdCore();
  StartHalyard();
  AnnounceCmdCore();
  // Nothing else connects: requests wait for the link.
  const long attempts = ConnectionAttempts();
  ASSERT_TRUE(WaitUntil([&] { return ConnectionAttempts() > attempts; }));
  const auto begin = Clock::now();
  ASSERT_TRUE(WaitUntil([&] { return ConnectionAttempts() >= attempts + 5; }));
  EXPECT_GE(MsBetween(begin, Clock::now()), 3'900);
  EXPECT_EQ(Avp().RequestCount(), 0u);
}

TEST_F(TextLink, CommandsWaitForItAndKeepTheirOrder) {
  CreateAvp();
  ASSERT_TRUE(Avp().StartHttp());
  StartCmdCore();
  StartHalyard();
  AnnounceCmdCore();
  Core().Send("send-cec-data", R"({"data":"0001"})");
  Core().Send("send-cec-data", R"({"data":"0002"})");
  Core().Send("send-cec-data", R"({"data":"0003"})");
  ASSERT_TRUE(WaitForLogLine("do cmd url post", 5));
  ASSERT_TRUE(WaitForLogLine("INFO tci not init ok, cmd wait", LogCount("tci not init ok, cmd wait") + 3));
  EXPECT_EQ(Avp().RequestCount(), 0u);
  ASSERT_TRUE(Avp().StartTci());
  ASSERT_TRUE(Avp().WaitForRequests(3, simmatch::Op("send:cec"), kPatienceMs));
  const auto requests = Avp().Requests();
  EXPECT_EQ(requests[0].Field("subset"), "identity");
  EXPECT_EQ(requests[1].Field("subset"), "device");
  const auto sent = Avp().Requests(simmatch::Op("send:cec"));
  EXPECT_EQ(sent[0].Field("data_hex"), "0001");
  EXPECT_EQ(sent[1].Field("data_hex"), "0002");
  EXPECT_EQ(sent[2].Field("data_hex"), "0003");
}

TEST_F(TextLink, ThatIsDroppedIsOpenedAndSetUpAgain) {
  BringUp();
  ExpectLines({kRequire, kAsync, kNetstat});
  Avp().DropTci();
  ASSERT_TRUE(WaitForLogLine("INFO m_bTciInit ok", 2));
  ExpectLines({kRequire, kAsync, kNetstat, kRequire, kAsync, kNetstat});
  Avp().ReceiveRs232("after");
  EXPECT_TRUE(Core().WaitForReport(1, kPatienceMs));
}

TEST_F(TextLink, ThatIsDroppedDuringItsSetUpStartsFromTheFirstCommand) {
  StartAvp();
  Avp().DropTciAt(kAsync);
  StartCmdCore();
  StartHalyard();
  AnnounceCmdCore();
  ExpectLines({kRequire, kAsync, kRequire, kAsync, kNetstat});
}

TEST_F(TextLink, ThatIsClosedAtOnceIsTriedAgainWithoutABusyLoop) {
  BringUp();
  ASSERT_TRUE(WaitForLogLine("INFO m_bTciInit ok"));
  Avp().SetTciRefuse(true);
  Avp().DropTci();
  const long attempts = ConnectionAttempts();
  const auto begin = Clock::now();
  ASSERT_TRUE(WaitUntil([&] { return ConnectionAttempts() >= attempts + 5; }));
  EXPECT_GE(MsBetween(begin, Clock::now()),
            1'900);  // the first may come at once, and requests of the housekeeping count
  Avp().SetTciRefuse(false);
  EXPECT_TRUE(Avp().WaitForAsync(kPatienceMs));
  ExpectNextCommandWorks();
}

TEST_F(TextLink, CommandsAreServedWhileItIsGone) {
  BringUp();
  Avp().StopTci();
  for (int i = 0; i < 5; ++i) ExpectNextCommandWorks();
  ASSERT_TRUE(Avp().StartTci());
  EXPECT_TRUE(Avp().WaitForAsync(kPatienceMs));
}

TEST_F(TextLink, AnAnswerApartFromItsLineEndCostsAnErrorLineAndNothingElse) {
  BringUp();
  ASSERT_TRUE(WaitForLogLine("INFO m_bTciInit ok"));
  Avp().SetTciSplitMs(kSplitMs);
  Avp().ReceiveRs232("split");
  const auto report = Core().WaitForReport(1, kPatienceMs);
  ASSERT_TRUE(report.has_value());
  EXPECT_EQ(report->text, "{\"rs232_data\":\"split\"}\n");
  EXPECT_TRUE(WaitForLogLine("ERROR Check Notify Error : [] Is not json data"));
  ExpectNextCommandWorks();
}

}  // namespace
