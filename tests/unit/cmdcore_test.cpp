#include "cmdcore.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using std::string_literals::operator""s;

// Two of them: one sends what the other receives.
class CmdCore : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_receiver.Start());
    m_sender.SetCommandPort(m_receiver.ReportPort());
  }

  static T_CmdCoreOptions Options() {
    T_CmdCoreOptions options;
    options.reportPort = 0;
    return options;
  }

  void SendReport(std::uint32_t tag, const std::string& text) {
    m_sender.SendRaw(reportframe::EncodeRecord(3, reportframe::EncodeRecord(tag, text + '\0')));
  }

  CCmdCore m_receiver{Options()};
  CCmdCore m_sender{Options()};
};

TEST_F(CmdCore, ReceivesAndDecodesReports) {
  SendReport(0x20503, "{\"rs232_data\":\"A\"}\n");
  const std::optional<T_Report> report = m_receiver.WaitForReport(1);
  ASSERT_TRUE(report);
  EXPECT_EQ(report->name, "rs232");
  EXPECT_EQ(report->json["rs232_data"], "A");
  EXPECT_EQ(report->text, "{\"rs232_data\":\"A\"}\n");
}

TEST_F(CmdCore, KeepsReportsInOrderUntilTheyAreCleared) {
  for (const char* text : {"1", "2", "3"}) SendReport(0xB0503, text);
  ASSERT_TRUE(m_receiver.WaitForReports(3, 6));
  std::string texts;
  for (const T_Report& report : m_receiver.Reports()) texts += report.text;
  EXPECT_EQ(texts, "123");
  m_receiver.ClearReports();
  EXPECT_TRUE(m_receiver.Reports().empty());
}

TEST_F(CmdCore, TellsKindsApart) {
  SendReport(0x10503, "video");
  SendReport(0x40503, "audio");
  ASSERT_TRUE(m_receiver.WaitForReport(4));
  ASSERT_EQ(m_receiver.Reports(0).size(), 1u);
  EXPECT_EQ(m_receiver.Reports(0)[0].text, "video");
  EXPECT_TRUE(m_receiver.Reports(5).empty());
}

TEST_F(CmdCore, FindsAReportByAnyCondition) {
  SendReport(0x10503, R"({"a":1})");
  SendReport(0x10503, R"({"a":2})");
  const std::optional<T_Report> report =
      m_receiver.WaitForReport([](const T_Report& candidate) { return candidate.json["a"] == 2; });
  ASSERT_TRUE(report);
  EXPECT_EQ(report->text, R"({"a":2})");
}

TEST_F(CmdCore, GivesUpWhenNothingComes) {
  EXPECT_FALSE(m_receiver.WaitForReport(0, 0));
  EXPECT_FALSE(m_receiver.WaitForReports(1, 0, 0));
  EXPECT_TRUE(m_receiver.TakeReports(0).empty());
}

TEST_F(CmdCore, TakesReportsOut) {
  SendReport(0x10503, "a");
  EXPECT_EQ(m_receiver.TakeReports(20000).size(), 1u);
  EXPECT_TRUE(m_receiver.Reports().empty());
}

TEST_F(CmdCore, KeepsDatagramsThatAreNoReports) {
  m_sender.SendRaw("");
  ASSERT_TRUE(m_receiver.WaitForReport(-1));
  EXPECT_EQ(m_receiver.Reports(-1)[0].fault, "the datagram is empty");
}

TEST_F(CmdCore, SendsACommandByNameAndByTag) {
  const std::string datagram = "\x03\x00\x00\x00\x0b\x00\x00\x00\x02\x03\x06\x00\x03\x00\x00\x00\x61\x62\x00"s;
  EXPECT_TRUE(m_sender.Send("reset-device", "ab"));
  EXPECT_TRUE(m_sender.Send(0x60302, "ab"));
  ASSERT_TRUE(m_receiver.WaitForReports(2, -1));
  EXPECT_EQ(m_receiver.Reports()[0].raw, datagram);
  EXPECT_EQ(m_receiver.Reports()[1].raw, datagram);
}

TEST_F(CmdCore, SendsTheAnnouncement) {
  EXPECT_TRUE(m_sender.Online());
  const std::optional<T_Report> received = m_receiver.WaitForReport(3);
  ASSERT_TRUE(received) << "the command and the report share their tag";
  EXPECT_EQ(received->tag, 0x90503u);
  EXPECT_EQ(received->text, "");
}

TEST_F(CmdCore, RefusesAnUnknownName) { EXPECT_FALSE(m_sender.Send("dance", "")); }

TEST_F(CmdCore, LogsWhatItSendsAndReceives) {
  std::vector<std::string> lines;  // the receiving thread writes it until Stop
  T_CmdCoreOptions options = Options();
  options.log = [&lines](const std::string& line) { lines.push_back(line.substr(line.find(' ') + 1)); };
  CCmdCore core(options);
  ASSERT_TRUE(core.Start());
  m_sender.SetCommandPort(core.ReportPort());
  SendReport(0x10503, "a\n");
  ASSERT_TRUE(core.WaitForReport(0));
  core.Stop();
  core.Send("reset-device", "");
  EXPECT_EQ(lines, (std::vector<std::string>{"UDP <- video a\\x0a", "UDP -> reset-device "}));
}

TEST_F(CmdCore, StopsAndStartsAgainOnItsPort) {
  const int port = m_receiver.ReportPort();
  m_receiver.Stop();
  ASSERT_TRUE(m_receiver.Start());
  EXPECT_EQ(m_receiver.ReportPort(), port);
  SendReport(0x10503, "a");
  EXPECT_TRUE(m_receiver.WaitForReport(0));
}

TEST_F(CmdCore, APortThatIsTakenIsRefused) {
  T_CmdCoreOptions options;
  options.reportPort = m_receiver.ReportPort();
  EXPECT_FALSE(CCmdCore(options).Start());
}

}  // namespace
