#include "brntstartup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "OSThread.h"
#include "brntasynctask.h"
#include "brntcmd.h"
#include "brntdevice.h"
#include "brntlog.h"
#include "brntplatform.h"
#include "fakeplatform.h"
#include "logcapture.h"
#include "udpcmdprocess.h"

namespace {

constexpr char kHelp[] =
    "prog need [options]:\n"
    "\t-h --help\t\tshow this help\n"
    "\t-m --mac\t\tset local avp mac address\n"
    "\t-u --upgrade\tEnter the upgrade mode without processing any external API commands\n"
    "eg : [prog -m 0016c04e21e7] or [prog -u -m 0016c04e21e7]\n";

class StartUp : public testing::Test {
 protected:
  void SetUp() override { Myinitdata = T_InitData(); }
  void TearDown() override { Myinitdata = T_InitData(); }

  // What the arguments give, and what they print on standard output.
  int Check(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "prog");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    testing::internal::CaptureStdout();
    const int result = CheckInputParameters(static_cast<int>(arguments.size()), argv.data());
    m_printed = testing::internal::GetCapturedStdout();
    return result;
  }

  std::string m_printed;
};

TEST_F(StartUp, TheHelpTellsTheOptionsAndNothingOfForceupgrade) {
  testing::internal::CaptureStdout();
  HALYARD_HELP("prog");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), kHelp);
  EXPECT_THAT(kHelp, testing::Not(testing::HasSubstr("force")));
}

struct T_CommandLine {
  const char* name;
  std::vector<std::string> arguments;
  int result;
  bool help;
  const char* deviceId;
  bool upgrade;
  int force;
};

class CommandLine : public StartUp, public testing::WithParamInterface<T_CommandLine> {};

TEST_P(CommandLine, IsReadIntoTheStartUpRecord) {
  EXPECT_EQ(Check(GetParam().arguments), GetParam().result);
  EXPECT_EQ(m_printed, GetParam().help ? kHelp : "");
  EXPECT_EQ(Myinitdata.s_deviceid, GetParam().deviceId);
  EXPECT_EQ(Myinitdata.g_upgradeflag, GetParam().upgrade);
  EXPECT_EQ(Myinitdata.s32ForceUpgrade, GetParam().force);
  EXPECT_EQ(Myinitdata.s_mode, e_unknow);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CommandLine,
    testing::Values(T_CommandLine{"NoArguments", {}, 0, true, "", false, 0},
                    T_CommandLine{"Help", {"-h"}, 0, true, "", false, 0},
                    T_CommandLine{"LongHelp", {"--help"}, 0, true, "", false, 0},
                    T_CommandLine{"Mac", {"-m", "0016c04e21e7"}, 1, false, "0016c04e21e7", false, 0},
                    T_CommandLine{"LongMac", {"--mac", "0016c04e21e7"}, 1, false, "0016c04e21e7", false, 0},
                    T_CommandLine{"MacWithoutASpace", {"-m0016c04e21e7"}, 1, false, "0016c04e21e7", false, 0},
                    T_CommandLine{"MacWithEquals", {"--mac=0016c04e21e7"}, 1, false, "0016c04e21e7", false, 0},
                    T_CommandLine{
                        "MacTwiceAppends", {"-m", "0016c04e21e7", "-m", "01"}, 1, false, "0016c04e21e701", false, 0},
                    T_CommandLine{"MacOfAnyForm", {"-m", "not a mac"}, 1, false, "not a mac", false, 0},
                    T_CommandLine{"EmptyMac", {"-m", ""}, 0, false, "", false, 0},
                    T_CommandLine{"Upgrade", {"-u", "-m", "01"}, 1, false, "01", true, 0},
                    T_CommandLine{"LongUpgrade", {"-m", "01", "--upgrade"}, 1, false, "01", true, 0},
                    T_CommandLine{"UpgradeWithoutMacIsRefusedSilently", {"-u"}, 0, false, "", true, 0},
                    T_CommandLine{"ForceWithoutMacIsRefusedSilently", {"-f"}, 0, false, "", false, 1},
                    T_CommandLine{"Force", {"-f", "-u", "-m", "01"}, 1, false, "01", true, 1},
                    T_CommandLine{"LongForce", {"--forceupgrade", "-m", "01"}, 1, false, "01", false, 1},
                    T_CommandLine{"JoinedLetters", {"-ufm", "01"}, 1, false, "01", true, 1},
                    T_CommandLine{"HelpBeforeMac", {"-h", "-m", "01"}, 0, true, "", false, 0},
                    T_CommandLine{"HelpAfterMac", {"-m", "01", "-h"}, 0, true, "01", false, 0},
                    T_CommandLine{"NothingAfterHelpIsLookedAt", {"-h", "-u", "-f"}, 0, true, "", false, 0},
                    T_CommandLine{"OtherWordsAreIgnored", {"word", "-m", "01", "word"}, 1, false, "01", false, 0}),
    [](const auto& row) { return std::string(row.param.name); });

// getopt says on standard error what is wrong.
class BadCommandLine : public StartUp, public testing::WithParamInterface<T_CommandLine> {};

TEST_P(BadCommandLine, PrintsTheHelp) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Check(GetParam().arguments), 0);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("prog: "));
  EXPECT_EQ(m_printed, kHelp);
  EXPECT_EQ(Myinitdata.s_deviceid, GetParam().deviceId);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BadCommandLine,
    testing::Values(T_CommandLine{"UnknownLetter", {"-x", "-m", "01"}, 0, true, "", false, 0},
                    T_CommandLine{"UnknownWord", {"--verbose"}, 0, true, "", false, 0},
                    T_CommandLine{"UnknownAfterMac", {"-m", "01", "-x"}, 0, true, "01", false, 0},
                    T_CommandLine{"MacWithoutArgument", {"-m"}, 0, true, "", false, 0},
                    T_CommandLine{"LongMacWithoutArgument", {"-u", "--mac"}, 0, true, "", false, 0},
                    T_CommandLine{"UpgradeWithAnArgument", {"--upgrade=1"}, 0, true, "", false, 0}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(StartUp, TheCommandLineMayBeReadAgain) {
  EXPECT_EQ(Check({"-m", "01", "-f"}), 1);
  EXPECT_EQ(Check({"-m", "02"}), 1);
  EXPECT_EQ(Myinitdata.s_deviceid, "0102");
  EXPECT_EQ(Myinitdata.s32ForceUpgrade, 0);
}

class BoardRole : public StartUp {
 protected:
  bool Detect(const std::string& text) {
    const std::string path = testing::TempDir() + "boardInfo.json";
    std::ofstream(path) << text;
    return DetectAt(path);
  }

  bool DetectAt(const std::string& path) {
    testing::internal::CaptureStdout();
    const bool found = DetectRole(path.c_str());
    m_printed = testing::internal::GetCapturedStdout();
    return found;
  }
};

struct T_ModelRow {
  const char* name;
  const char* model;
  E_DEVICE_MODE mode;
};

class ModelNumber : public BoardRole, public testing::WithParamInterface<T_ModelRow> {};

TEST_P(ModelNumber, GivesTheRole) {
  EXPECT_EQ(Detect(std::string(R"({"modelNumber":")") + GetParam().model + "\"}"), GetParam().mode != e_unknow);
  EXPECT_EQ(Myinitdata.s_mode, GetParam().mode);
  EXPECT_EQ(m_printed, "");
}

INSTANTIATE_TEST_SUITE_P(Rows, ModelNumber,
                         testing::Values(T_ModelRow{"Decoder", "ABC-RX", e_RX}, T_ModelRow{"Encoder", "ABC-TX", e_TX},
                                         T_ModelRow{"Transceiver", "ABC-TR", e_TRX},
                                         T_ModelRow{"TrxIsADecoderAsRxIsTestedFirst", "ABC-TRX", e_RX},
                                         T_ModelRow{"RxBeforeTx", "TX-RX", e_RX},
                                         T_ModelRow{"TxBeforeTr", "TR-TX", e_TX},
                                         T_ModelRow{"InTheMiddle", "AxRXb", e_RX},
                                         T_ModelRow{"LowerCaseIsNoRole", "abc-rx", e_unknow},
                                         T_ModelRow{"NoRole", "ABC-100", e_unknow}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(BoardRole, AMissingFileIsReportedWithThePathRunningIntoTheWord) {
  EXPECT_FALSE(DetectAt("/misc/nowhere.json"));
  EXPECT_EQ(m_printed, "open json file /misc/nowhere.jsonfailed.\n");
}

TEST_F(BoardRole, AFileThatIsNoJsonIsReported) {
  EXPECT_FALSE(Detect("modelNumber=ABC-RX"));
  EXPECT_EQ(m_printed, "can't parse json data\n");
}

TEST_F(BoardRole, AFileWithoutAModelNumberIsReported) {
  for (const char* text : {"{}", R"({"modelNumber":""})", R"({"modelNumber":null})", R"({"modelNumber":7})"}) {
    EXPECT_FALSE(Detect(text)) << text;
    EXPECT_EQ(m_printed, "can't find modelNumber\n") << text;
  }
  EXPECT_EQ(Myinitdata.s_mode, e_unknow);
}

// The run modes end their process only from outside, so each is run in a child process: its log, with the sleeps as
// lines of their own, comes on standard error.
class RunMode : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  [[noreturn]] static void EndWith(const CLogCapture& log) {
    std::string transcript;
    for (const T_LogLine& line : log.Lines()) transcript += std::to_string(line.priority) + " " + line.text + "\n";
    std::fwrite(transcript.data(), 1, transcript.size(), stderr);
    std::fflush(stderr);
    _exit(0);
  }

  // Normal mode until the given number of sleeps; onSleep gets the number of each, from 1.
  [[noreturn]] static void RunNormal(int sleeps, const std::function<void(int)>& onSleep) {
    CLogCapture log;
    CFakePlatform platform;
    int count = 0;
    platform.OnSleep([&](SInt64 ms) {
      HLOG_INFO("slept %d", static_cast<int>(ms));
      onSleep(++count);
      if (count == sleeps) EndWith(log);
    });
    Myinitdata.s_mode = e_RX;
    Myinitdata.s_deviceid = "0016c04e21e7";
    RunNormalMode();
  }
};

TEST_F(RunMode, NormalModeOpensTheLinksAnnouncesAndKeepsAlive) {
  EXPECT_EXIT(RunNormal(5,
                        [](int sleep) {
                          if (sleep == 3) SetCmdCoreOnline(true);
                        }),
              testing::ExitedWithCode(0),
              testing::HasSubstr("600 avp proxy run with mode--[2] mac--[0016c04e21e7]\n"
                                 "600 TcpForAvp Init ServerIP<127.0.0.1:6970>  AvpMac<0016c04e21e7>\n"
                                 "600 slept 2000\n"
                                 "600 Udp Init ServerIP<127.0.0.1:9991>\n"
                                 "600 Tell Cmd Core ,Avp Is Online\n"
                                 "600 Send Msg To cmd_core : [online type] -- [avp on line]\n"
                                 "600 slept 1000\n"
                                 "600 Tell Cmd Core ,Avp Is Online\n"
                                 "600 Send Msg To cmd_core : [online type] -- [avp on line]\n"
                                 "600 slept 1000\n"
                                 "600 slept 5000\n"
                                 "600 Send Msg To cmd_core : [alive type] -- [avp alive]\n"
                                 "600 slept 5000\n"));
}

TEST_F(RunMode, ACmdCoreThatIsOnlineAlreadyIsNotAnnouncedTo) {
  EXPECT_EXIT(RunNormal(3, [](int) { SetCmdCoreOnline(true); }), testing::ExitedWithCode(0),
              testing::HasSubstr("600 slept 2000\n"
                                 "600 Udp Init ServerIP<127.0.0.1:9991>\n"
                                 "600 slept 5000\n"
                                 "600 Send Msg To cmd_core : [alive type] -- [avp alive]\n"
                                 "600 slept 5000\n"));
}

TEST_F(RunMode, ACmdCoreThatGoesAwayIsNotAnnouncedToAgain) {
  EXPECT_EXIT(RunNormal(4, [](int sleep) { SetCmdCoreOnline(sleep == 1); }), testing::ExitedWithCode(0),
              testing::HasSubstr("600 Udp Init ServerIP<127.0.0.1:9991>\n"
                                 "600 slept 5000\n"
                                 "600 Send Msg To cmd_core : [alive type] -- [avp alive]\n"
                                 "600 slept 5000\n"
                                 "600 Send Msg To cmd_core : [alive type] -- [avp alive]\n"
                                 "600 slept 5000\n"));
}

// Starts the framework with a log that goes to the console, which is standard error here, and tells what it is then.
[[noreturn]] void StartAndTell(bool upgrade) {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  Myinitdata.s_mode = e_TX;
  Myinitdata.s_deviceid = "0016c04e21e7";
  Myinitdata.g_upgradeflag = upgrade;
  StartFramework("./halyard", "/nowhere/halyard.conf");
  std::fprintf(stderr, "upgrade mode %d, requests to %s\n", AsyncTask::GetUpgradeMode(),
               CBrntCmd::RequestLine().c_str());
  _exit(0);
}

TEST_F(RunMode, TheFrameworkStartsWithTheLog) {
  EXPECT_EXIT(StartAndTell(false), testing::ExitedWithCode(0),
              testing::AllOf(testing::ContainsRegex("^log configuration /nowhere/halyard.conf: [^\n]*\n"
                                                    "[^\n]* INFO program:./halyard startup --"),
                             testing::HasSubstr("upgrade mode 0, requests to http://127.0.0.1:8080\n")));
}

TEST_F(RunMode, UpgradeModeDoesWithoutTheTciLink) {
  EXPECT_EXIT(StartAndTell(true), testing::ExitedWithCode(0), testing::HasSubstr("upgrade mode 1, "));
}

class CThrowingThread : public OSThread {
 protected:
  void Entry() override { throw std::runtime_error("out of luck"); }
};

[[noreturn]] void StartAndThrow() {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  StartFramework("./halyard", "/nowhere/halyard.conf");
  CThrowingThread thread;
  thread.Start();
  thread.StopAndWaitForThread();
  _exit(0);
}

TEST_F(RunMode, WhatAThreadThrowsIsLogged) {
  EXPECT_EXIT(StartAndThrow(), testing::ExitedWithCode(0),
              testing::ContainsRegex("\n[^\n]* ERROR [^\n]*: out of luck --\\[src/brntstartup.cpp:"));
}

constexpr char kUpgradeFlag[] = "/var/avpupgrading";

// Upgrade mode with a package of this version on an AV processor that runs version "7"; the folder and the unpacking
// are real, sleeping is not. The log and the result come on standard error.
[[noreturn]] void UpgradeTo(const std::string& version, int force) {
  T_PlatformHooks hooks;
  hooks.sleepMs = [](SInt64) {};
  const CScopedPlatform platform(hooks);
  const std::string make = "cd /tmp && mkdir -p aptovision-metadata && printf '{\"comment\":\"" + version +
                           "\"}' > aptovision-metadata/vendor.json && "
                           "zip -qr /customer/firmwares/fw.apz aptovision-metadata";
  if (CBrntPlatform::RunShell(make) != 0) _exit(3);
  CBrntDevice* device = CBrntDevice::GetBrntDevByID("0016c04e21e7");
  device->SetUpgradeFilenameAndCmdFlag("fw.apz", true);
  {
    const OSMutexLocker lock(device->m_objMutex);
    device->m_firmware_version = "7";
  }
  Myinitdata.s_deviceid = "0016c04e21e7";
  Myinitdata.s32ForceUpgrade = force;

  CLogCapture log;
  unlink(kUpgradeFlag);
  const int result = RunUpgradeMode();
  unlink(kUpgradeFlag);
  for (const T_LogLine& line : log.Lines()) std::fprintf(stderr, "%d %s\n", line.priority, line.text.c_str());
  std::fprintf(stderr, "result %d\n", result);
  _exit(0);
}

TEST_F(RunMode, UpgradeModeTellsOfItsSuccessInTheLogAlone) {
  EXPECT_EXIT(UpgradeTo("7", 0), testing::ExitedWithCode(0),
              testing::AllOf(testing::HasSubstr("600 Do AVP Upgrade,Please Wait patiently ...\n"),
                             testing::HasSubstr("force upgrade [0]"),
                             testing::EndsWith("600 Do AVP Upgrade Finish,success\nresult 0\n")));
}

TEST_F(RunMode, UpgradeModeTellsOfItsFailureInTheLogAloneAndHandsTheForceOn) {
  EXPECT_EXIT(UpgradeTo("7", 1), testing::ExitedWithCode(0),
              testing::AllOf(testing::HasSubstr("600 Do AVP Upgrade,Please Wait patiently ...\n"),
                             testing::HasSubstr("force upgrade [1]"),
                             testing::EndsWith("600 Do AVP Upgrade Finish,failed !!!\nresult 0\n")));
}

}  // namespace
