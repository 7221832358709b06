// From the command line to the running process: what is refused and how, the roles, the log.
#include <cstdio>

#include "systemtest.h"

namespace {

std::string Help(const std::string& program) {
  return program + " need [options]:\n" +
         "\t-h --help\t\tshow this help\n"
         "\t-m --mac\t\tset local avp mac address\n"
         "\t-u --upgrade\tEnter the upgrade mode without processing any external API commands\n" +
         "eg : [" + program + " -m 0016c04e21e7] or [" + program + " -u -m 0016c04e21e7]\n";
}

struct T_Refusal {
  const char* name;
  std::vector<std::string> arguments;
  bool help;
};

struct T_Board {
  const char* name;
  const char* text;  // nullptr: no file
  const char* output;
};

struct T_Role {
  const char* name;
  const char* model;
  int mode;
};

class RefusedCommandLine : public SystemTest, public testing::WithParamInterface<T_Refusal> {};
class RefusedBoard : public SystemTest, public testing::WithParamInterface<T_Board> {};
class Role : public SystemTest, public testing::WithParamInterface<T_Role> {};
class StartUp : public SystemTest {};
class LogConfiguration : public SystemTest {};

TEST_P(RefusedCommandLine, EndsTheProcessWith255) {
  SetBoard("RX");
  StartHalyardWith(GetParam().arguments);
  ExpectEnd(255);
  std::string output = Halyard().Output();
  if (!GetParam().help) {
    EXPECT_EQ(output, "");
    return;
  }
  // What getopt itself has to say about an option goes to standard error, before the help.
  const size_t begin = output.rfind(CHalyardProcess::Path() + " need [options]:");
  ASSERT_NE(begin, std::string::npos) << output;
  EXPECT_EQ(output.substr(begin), Help(CHalyardProcess::Path()));
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, RefusedCommandLine,
    testing::Values(T_Refusal{"None", {}, true}, T_Refusal{"ShortHelp", {"-h"}, true},
                    T_Refusal{"LongHelp", {"--help"}, true}, T_Refusal{"HelpAfterMac", {"-m", kLocalId, "-h"}, true},
                    T_Refusal{"HelpBeforeMac", {"-h", "-m", kLocalId}, true}, T_Refusal{"UnknownShort", {"-x"}, true},
                    T_Refusal{"UnknownLong", {"--frobnicate", "-m", kLocalId}, true},
                    T_Refusal{"ShortMacWithoutValue", {"-m"}, true}, T_Refusal{"LongMacWithoutValue", {"--mac"}, true},
                    T_Refusal{"UpgradeWithoutMacIsSilent", {"-u"}, false},
                    T_Refusal{"ForceWithoutMacIsSilent", {"-f"}, false},
                    T_Refusal{"LongForceWithoutMacIsSilent", {"--forceupgrade"}, false},
                    T_Refusal{"EmptyMacIsSilent", {"-m", ""}, false},
                    T_Refusal{"OtherWordsAreSilent", {"0016c04e41b2"}, false}),
    T_RowName());

TEST_P(RefusedBoard, EndsTheProcessWith255) {
  SetBoard("");
  if (GetParam().text != nullptr) WriteFile("/misc/boardInfo.json", GetParam().text);
  StartHalyardWith({"-m", kLocalId});
  ExpectEnd(255);
  EXPECT_EQ(Halyard().Output(), GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(Files, RefusedBoard,
                         testing::Values(T_Board{"Absent", nullptr, "open json file /misc/boardInfo.jsonfailed.\n"},
                                         T_Board{"Empty", "", "can't parse json data\n"},
                                         T_Board{"NotJson", "modelNumber=HLY-RX\n", "can't parse json data\n"},
                                         T_Board{"WithoutModel", R"({"serial":"1"})", "can't find modelNumber\n"},
                                         T_Board{"EmptyModel", R"({"modelNumber":""})", "can't find modelNumber\n"},
                                         T_Board{"NullModel", R"({"modelNumber":null})", "can't find modelNumber\n"},
                                         T_Board{"ModelOfAnotherType", R"({"modelNumber":{"a":"RX"}})",
                                                 "can't find modelNumber\n"},
                                         T_Board{"NotAnObject", R"(["HLY-RX"])", "can't find modelNumber\n"},
                                         T_Board{"ModelWithoutRoleIsSilent", R"({"modelNumber":"HLY-100"})", ""},
                                         T_Board{"RoleInLowerCaseIsSilent", R"({"modelNumber":"HLY-rx"})", ""}),
                         T_RowName());

TEST_P(Role, ComesFromTheModelNumber) {
  StartHalyard(GetParam().model);
  EXPECT_TRUE(
      WaitForLogLine("avp proxy run with mode--[" + std::to_string(GetParam().mode) + "] mac--[" + kLocalId + "]"));
}

INSTANTIATE_TEST_SUITE_P(Models, Role,
                         testing::Values(T_Role{"Encoder", "TX", 1}, T_Role{"Decoder", "RX", 2},
                                         T_Role{"Transceiver", "TR", 3}, T_Role{"TrxIsADecoder", "TRX", 2},
                                         T_Role{"RxBeforeTx", "TX-RX", 2}, T_Role{"TxBeforeTr", "TR-TX", 1}),
                         T_RowName());

TEST_F(StartUp, LogsTheProgramAsStarted) {
  StartHalyard();
  EXPECT_TRUE(WaitForLogLine("INFO program:" + CHalyardProcess::Path() + " startup --["));
}

TEST_F(StartUp, SeveralMacArgumentsAreJoined) {
  SetBoard("RX");
  StartHalyardWith({"-m", kLocalId, "--mac", "01"});
  EXPECT_TRUE(WaitForLogLine("mac--[" + kLocalId + "01]"));
}

TEST_F(StartUp, ReadsTheIdentityAndThenTheDevice) {
  StartAvp();
  StartCmdCore();
  StartHalyard();
  AnnounceCmdCore();
  ASSERT_TRUE(Avp().WaitForRequest(simmatch::Subset("device"), kPatienceMs));
  const auto requests = Avp().Requests(simmatch::Op("get"));
  ASSERT_GE(requests.size(), 2u);
  EXPECT_EQ(requests[0].method, "POST");
  EXPECT_EQ(requests[0].path, "/api/device/" + kLocalId);
  EXPECT_EQ(requests[0].body, "{\"op\":\"get\",\"subset\":\"identity\"}\n");
  EXPECT_EQ(requests[1].path, "/api/device/" + kLocalId);
  EXPECT_EQ(requests[1].body, "{\"op\":\"get\",\"subset\":\"device\"}\n");
}

TEST_F(StartUp, OpensTheMasterLinkTwoSecondsAfterTheTextLinkTask) {
  StartHalyard();
  const auto begin = Clock::now();
  ASSERT_TRUE(WaitForLogLine("Udp Init ServerIP<127.0.0.1:9991>"));
  EXPECT_GE(MsBetween(begin, Clock::now()), 1900);
  EXPECT_EQ(LogCount("TcpForAvp Init ServerIP<127.0.0.1:6970>  AvpMac<" + kLocalId + ">"), 1u);
}

TEST_F(StartUp, RequestsLeaveNoDescriptorBehind) {
  BringUp();
  ASSERT_TRUE(WaitForLogLine("m_bTciInit ok"));
  ExpectNextCommandWorks();
  const size_t before = Halyard().DescriptorCount().value_or(0);
  EXPECT_GT(before, 0u);
  for (int i = 0; i < 200; ++i) ExpectNextCommandWorks();
  // libcurl keeps a pair of its own on each of the three threads that send, made when the thread first does; and a
  // transfer of the housekeeping may be under way for a moment.
  EXPECT_TRUE(WaitUntil([&] { return Halyard().DescriptorCount().value_or(999) <= before + 3 * 2; }));
}

TEST_F(LogConfiguration, WhenMissingIsReportedAndTheConsoleTakesTheLog) {
  std::remove("/config/logconf/halyard.conf");
  StartHalyard();
  EXPECT_TRUE(
      WaitUntil([this] { return Halyard().Output().find("avp proxy run with mode--[2]") != std::string::npos; }));
  EXPECT_EQ(Halyard().Output().rfind("log configuration /config/logconf/halyard.conf: ", 0), 0u) << Halyard().Output();
}

TEST_F(LogConfiguration, WhenBadIsReportedAndTheConsoleTakesTheLog) {
  WriteFile("/config/logconf/halyard.conf",
            "log4cpp.category.CATEGORY=INFO, file\nlog4cpp.appender.file=NoSuchAppender\n");
  StartHalyard();
  EXPECT_TRUE(
      WaitUntil([this] { return Halyard().Output().find("avp proxy run with mode--[2]") != std::string::npos; }));
  EXPECT_EQ(Halyard().Output().rfind("log configuration /config/logconf/halyard.conf: ", 0), 0u) << Halyard().Output();
}

TEST_F(LogConfiguration, SetsThePriority) {
  std::string text = ReadFile("/config/logconf/halyard.conf");
  const std::string wanted = "log4cpp.category.CATEGORY=INFO";
  text.replace(text.find(wanted), wanted.size(), "log4cpp.category.CATEGORY=ERROR");
  WriteFile("/config/logconf/halyard.conf", text);
  StartAvp();
  StartCmdCore();
  StartHalyard();
  ASSERT_TRUE(Core().WaitForReport(3, kPatienceMs));  // it runs, and would have logged that at INFO
  Core().SendRaw("no box at all");
  EXPECT_TRUE(WaitUntil([this] {
    Core().SendRaw("no box at all");
    return LogCount("ERROR tlv_box_get_object cmd failed !") > 0;
  }));
  EXPECT_EQ(LogCount(" INFO "), 0u);
}

}  // namespace
