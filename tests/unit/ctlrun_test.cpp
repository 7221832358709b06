#include "ctlrun.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "cmdcore.h"
#include "controllink.h"
#include "msg_tags.h"

namespace {

class CtlRun : public testing::Test {
 protected:
  int Run(const std::vector<std::string>& args) { return CtlMain(args, m_out, m_err); }

  // A command core that stands in for halyard: it receives what the program sends.
  static T_CmdCoreOptions Options() {
    T_CmdCoreOptions options;
    options.reportPort = 0;
    return options;
  }

  // Any port that nobody listens on, for this moment.
  static std::string FreePort() {
    CCmdCore core(Options());
    core.Start();
    return std::to_string(core.ReportPort());
  }

  std::ostringstream m_out;
  std::ostringstream m_err;
  std::atomic<bool> m_done{false};
};

TEST_F(CtlRun, SendsACommand) {
  CCmdCore halyard(Options());
  ASSERT_TRUE(halyard.Start());
  EXPECT_EQ(Run({"send", "send-cec-data", R"({"data":"4004"})", "--port", std::to_string(halyard.ReportPort())}), 0);
  ASSERT_TRUE(halyard.WaitForReports(1, -1));
  EXPECT_EQ(halyard.Reports()[0].raw, reportframe::EncodeCommand(0x50302, R"({"data":"4004"})"));
  EXPECT_EQ(m_out.str() + m_err.str(), "");
}

TEST_F(CtlRun, AnnouncesTheCommandCore) {
  CCmdCore halyard(Options());
  ASSERT_TRUE(halyard.Start());
  EXPECT_EQ(Run({"online", "--port", std::to_string(halyard.ReportPort())}), 0);
  EXPECT_TRUE(halyard.WaitForReport(3));
}

TEST_F(CtlRun, WatchesReportsUntilItHasEnough) {
  const std::string port = FreePort();
  std::thread halyard([&port, this] {
    CCmdCore sender(Options());
    sender.SetCommandPort(std::stoi(port));
    while (!m_done) {  // until the watcher listens and has taken its two
      sender.SendRaw(reportframe::EncodeRecord(3, reportframe::EncodeRecord(0x40503, std::string("no\0", 3))));
      sender.SendRaw(reportframe::EncodeRecord(3, reportframe::EncodeRecord(0x10503, std::string("{}\n\0", 4))));
      std::this_thread::yield();
    }
  });
  EXPECT_EQ(Run({"watch", "--report-port", port, "--count", "2", "--kind", "video", "--bytes"}), 0);
  m_done = true;
  halyard.join();
  std::istringstream lines(m_out.str());
  std::string line;
  for (int i = 0; i < 2; ++i) {
    std::getline(lines, line);
    EXPECT_EQ(line.substr(line.find(' ')), " video {}");
    std::getline(lines, line);
    EXPECT_EQ(line, "  03 00 00 00 0c 00 00 00 03 05 01 00 04 00 00 00 7b 7d 0a 00");
  }
  EXPECT_FALSE(std::getline(lines, line)) << line;
}

TEST_F(CtlRun, ComplainsAboutATakenPort) {
  CCmdCore other(Options());
  ASSERT_TRUE(other.Start());
  const std::string port = std::to_string(other.ReportPort());
  EXPECT_EQ(Run({"watch", "--report-port", port, "--seconds", "1"}), 1);
  EXPECT_EQ(m_err.str(), "halyardctl: port " + port + " cannot be had (is another watch running?)\n");
}

TEST_F(CtlRun, ListsEveryCommandWithItsExample) {
  EXPECT_EQ(Run({"list"}), 0);
  for (const T_CommandTag& row : kCommandTags) {
    std::string text = "halyardctl send " + std::string(row.name);
    if (!row.example.empty()) text += " '" + std::string(row.example) + "'";
    EXPECT_NE(m_out.str().find(text + "\n"), std::string::npos) << text;
  }
  EXPECT_NE(m_out.str().find("reset-device (0x60302)\n"), std::string::npos);
}

TEST_F(CtlRun, ReachesTheBenchsControlChannel) {
  CControlLink link([](const std::string& command) { return command == "bad" ? "error: no" : "<" + command + ">"; });
  ASSERT_TRUE(link.Start("127.0.0.1", 0));
  const std::string port = std::to_string(link.Port());
  EXPECT_EQ(Run({"--control-port", port, "sim", "source", "none"}), 0);
  EXPECT_EQ(m_out.str(), "<source none>\n");
  EXPECT_EQ(Run({"--control-port", port, "sim", "bad"}), 1);
  EXPECT_EQ(m_err.str(), "error: no\n");
}

TEST_F(CtlRun, SaysThatNoBenchAnswers) {
  const std::string port = FreePort();
  EXPECT_EQ(Run({"--control-port", port, "sim", "help"}), 1);
  EXPECT_EQ(m_err.str(), "halyardctl: no halyard-sim answers on port " + port + "\n");
}

TEST_F(CtlRun, TeachesItself) {
  EXPECT_EQ(Run({"--help"}), 0);
  EXPECT_EQ(m_out.str(), ctlargs::Help());
}

TEST_F(CtlRun, TellsItsVersion) {
  EXPECT_EQ(Run({"--version"}), 0);
  EXPECT_EQ(m_out.str().substr(0, 11), "halyardctl ");
}

TEST_F(CtlRun, BadUsageIsOneLineAndStatus2) {
  EXPECT_EQ(Run({"dance"}), 2);
  EXPECT_EQ(m_err.str(), "halyardctl: unknown action dance (see --help)\n");
  EXPECT_EQ(m_out.str(), "");
}

}  // namespace
