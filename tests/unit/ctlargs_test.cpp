#include "ctlargs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "msg_tags.h"

namespace {

using T_Args = std::vector<std::string>;

T_CtlArgs Good(const T_Args& args) {
  const auto parsed = ctlargs::Parse(args);
  if (const auto* fault = std::get_if<std::string>(&parsed)) ADD_FAILURE() << *fault;
  return std::holds_alternative<T_CtlArgs>(parsed) ? std::get<T_CtlArgs>(parsed) : T_CtlArgs();
}

std::string Fault(const T_Args& args) {
  const auto parsed = ctlargs::Parse(args);
  return std::holds_alternative<std::string>(parsed) ? std::get<std::string>(parsed) : "";
}

TEST(CtlArgs, HaveDefaults) {
  const T_CtlArgs args = Good({"watch"});
  EXPECT_EQ(args.eAction, e_ctl_watch);
  EXPECT_EQ(args.ip, "127.0.0.1");
  EXPECT_EQ(args.commandPort, 9991);
  EXPECT_EQ(args.reportPort, 9993);
  EXPECT_EQ(args.controlPort, 9970);
  EXPECT_EQ(args.count, 0);
  EXPECT_EQ(args.seconds, 0);
  EXPECT_EQ(args.kind, -1);
  EXPECT_FALSE(args.bytes);
}

TEST(CtlArgs, TakeACommandByNameOrTag) {
  for (const char* which : {"send-cec-data", "0x50302", "328450"}) {
    const T_CtlArgs args = Good({"send", which, R"({"data":"4004"})"});
    EXPECT_EQ(args.eAction, e_ctl_send);
    EXPECT_EQ(args.name, "send-cec-data");
    EXPECT_EQ(args.tag, 0x50302u);
    EXPECT_EQ(args.text, R"({"data":"4004"})");
  }
}

TEST(CtlArgs, TakeACommandWithoutJson) { EXPECT_EQ(Good({"send", "reset-device"}).text, ""); }

TEST(CtlArgs, TakeEveryCommandWithItsExample) {
  for (const T_CommandTag& row : kCommandTags) {
    T_Args args = {"send", std::string(row.name)};
    if (!row.example.empty()) args.emplace_back(row.example);
    EXPECT_EQ(Good(args).tag, row.tag);
  }
}

TEST(CtlArgs, TakeOptionsAnywhere) {
  const T_CtlArgs args = Good({"--ip", "10.1.2.3", "--port", "1", "watch", "--report-port", "2", "--control-port", "3",
                               "--count", "4", "--seconds", "5", "--kind", "audio", "--bytes"});
  EXPECT_EQ(args.eAction, e_ctl_watch);
  EXPECT_EQ(args.ip, "10.1.2.3");
  EXPECT_EQ(args.commandPort, 1);
  EXPECT_EQ(args.reportPort, 2);
  EXPECT_EQ(args.controlPort, 3);
  EXPECT_EQ(args.count, 4);
  EXPECT_EQ(args.seconds, 5);
  EXPECT_EQ(args.kind, 4);
  EXPECT_TRUE(args.bytes);
}

TEST(CtlArgs, TakeTheBenchsCommandAsItIs) {
  EXPECT_EQ(Good({"sim", "fault", "next", "hangup"}).text, "fault next hangup");
  EXPECT_EQ(Good({"sim", "set configuration.device_name --ip"}).text, "set configuration.device_name --ip");
  const T_CtlArgs args = Good({"--control-port", "7", "sim", "--help"});
  EXPECT_EQ(args.eAction, e_ctl_sim);
  EXPECT_EQ(args.controlPort, 7);
  EXPECT_EQ(args.text, "--help");
}

TEST(CtlArgs, AskForHelpInThreeWays) {
  for (const char* word : {"help", "--help", "-h"}) EXPECT_EQ(Good({word}).eAction, e_ctl_help) << word;
  EXPECT_EQ(Good({"--version"}).eAction, e_ctl_version);
  EXPECT_EQ(Good({"online"}).eAction, e_ctl_online);
  EXPECT_EQ(Good({"list"}).eAction, e_ctl_list);
}

struct T_Row {
  const char* name;
  T_Args args;
  const char* fault;
};

std::string NameOf(const testing::TestParamInfo<T_Row>& info) { return info.param.name; }

class CtlArgsFault : public testing::TestWithParam<T_Row> {};

TEST_P(CtlArgsFault, IsOneClearLine) { EXPECT_EQ(Fault(GetParam().args), GetParam().fault); }

INSTANTIATE_TEST_SUITE_P(
    BadUsage, CtlArgsFault,
    testing::ValuesIn(std::vector<T_Row>{
        {"Nothing", {}, "no action: send, online, watch, list or sim (see --help)"},
        {"UnknownAction", {"dance"}, "unknown action dance (see --help)"},
        {"UnknownOption", {"watch", "--color", "red"}, "unknown option --color (see --help)"},
        {"OptionWithoutAValue", {"watch", "--count"}, "--count is unknown or wants a value (see --help)"},
        {"PortOfZero", {"watch", "--port", "0"}, "--port wants a number from 1 to 65535, not 0"},
        {"PortThatIsNoNumber", {"watch", "--port", "x"}, "--port wants a number from 1 to 65535, not x"},
        {"CountOfAnotherType", {"watch", "--count", "many"}, "--count wants a number from 1 to 1000000000, not many"},
        {"UnknownKind",
         {"watch", "--kind", "smell"},
         "--kind is one of video, rs232, ir, online, audio, monitor, alive, videowall, not smell"},
        {"WatchWithAWord", {"watch", "me"}, "watch takes no me"},
        {"SendWithoutACommand", {"send"}, "send wants a command's name or tag (halyardctl list shows them)"},
        {"UnknownCommand", {"send", "dance"}, "unknown command dance (halyardctl list shows them)"},
        {"UnknownTag", {"send", "0x1"}, "unknown command 0x1 (halyardctl list shows them)"},
        {"NoJson", {"send", "send-cec-data"}, R"(send-cec-data wants JSON, such as '{"data":"4004"}')"},
        {"WhatIsNoJson", {"send", "send-cec-data", "4004}"}, "this is no JSON: 4004}"},
        {"JsonForACommandWithout", {"send", "reset-device", "{}"}, "reset-device takes no JSON"},
        {"TwoTexts", {"send", "send-cec-data", "{}", "{}"}, "send takes one JSON text; put it in quotes"},
        {"TooLong",
         {"send", "send-cec-data", "\"" + std::string(8190, 'x') + "\""},
         "the JSON is longer than 8191 bytes"},
        {"SimWithoutACommand", {"sim"}, "sim wants a control command (halyardctl sim help lists them)"},
    }),
    NameOf);

TEST(CtlArgsHelp, TeachesEveryActionAndOption) {
  for (const char* text : {"send NAME|TAG", "online", "watch", "list", "sim COMMAND", "--ip", "--port", "--report-port",
                           "--control-port", "--count", "--seconds", "--kind", "--bytes", "Exit status"}) {
    EXPECT_NE(ctlargs::Help().find(text), std::string::npos) << text;
  }
}

}  // namespace
