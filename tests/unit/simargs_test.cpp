#include "simargs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using T_Args = std::vector<std::string>;

T_SimArgs Good(const T_Args& args) {
  const auto parsed = simargs::Parse(args);
  if (const auto* fault = std::get_if<std::string>(&parsed)) ADD_FAILURE() << *fault;
  return std::holds_alternative<T_SimArgs>(parsed) ? std::get<T_SimArgs>(parsed) : T_SimArgs();
}

std::string Fault(const T_Args& args) {
  const auto parsed = simargs::Parse(args);
  return std::holds_alternative<std::string>(parsed) ? std::get<std::string>(parsed) : "";
}

TEST(SimArgs, HaveDefaults) {
  const T_SimArgs args = Good({});
  EXPECT_EQ(args.options.role, "RX");
  EXPECT_EQ(args.options.httpPort, 8080);
  EXPECT_EQ(args.options.tciPort, 6970);
  EXPECT_EQ(args.controlPort, 9970);
  EXPECT_FALSE(args.help);
}

TEST(SimArgs, TakeEveryOption) {
  const T_SimArgs args = Good({"--role",        "TRX",         "--mac",          "0016c04eff01",
                               "--ip",          "10.1.2.3",    "--http-port",    "0",
                               "--tci-port",    "1",           "--control-port", "-1",
                               "--reboot-ms",   "2",           "--update-ms",    "3",
                               "--settings-ms", "4",           "--log-limit",    "0",
                               "--fault",       "next hangup", "--run",          "hang"});
  EXPECT_EQ(args.options.role, "TRX");
  EXPECT_EQ(args.options.mac, "0016c04eff01");
  EXPECT_EQ(args.options.ip, "10.1.2.3");
  EXPECT_EQ(args.options.httpPort, 0);
  EXPECT_EQ(args.options.tciPort, 1);
  EXPECT_EQ(args.controlPort, -1);
  EXPECT_EQ(args.options.rebootMs, 2);
  EXPECT_EQ(args.options.updateMs, 3);
  EXPECT_EQ(args.options.settingsChangedMs, 4);
  EXPECT_EQ(args.options.logLimit, 0u);
  EXPECT_EQ(args.commands, (T_Args{"fault next hangup", "hang"}));
}

TEST(SimArgs, TakeADocumentFromAFile) {
  const T_SimArgs args = Good({"--document", HALYARD_SOURCE_DIR "/sim/samples/device-tx.json"});
  EXPECT_EQ(args.options.document["result"]["devices"][0]["device_id"], "0016c04e21e7");
}

TEST(SimArgs, AskForHelpOrTheVersion) {
  EXPECT_TRUE(Good({"--role", "TX", "--help"}).help);
  EXPECT_TRUE(Good({"-h"}).help);
  EXPECT_TRUE(Good({"--version"}).version);
}

struct T_Row {
  const char* name;
  T_Args args;
  const char* fault;
};

std::string NameOf(const testing::TestParamInfo<T_Row>& info) { return info.param.name; }

class SimArgsFault : public testing::TestWithParam<T_Row> {};

TEST_P(SimArgsFault, IsOneClearLine) { EXPECT_EQ(Fault(GetParam().args), GetParam().fault); }

INSTANTIATE_TEST_SUITE_P(
    BadUsage, SimArgsFault,
    testing::ValuesIn(std::vector<T_Row>{
        {"UnknownOption", {"--color", "red"}, "unknown argument --color (see --help)"},
        {"AWord", {"TX"}, "unknown argument TX (see --help)"},
        {"NoValue", {"--role"}, "--role wants a value: TX|RX|TRX"},
        {"UnknownRole", {"--role", "tx"}, "--role is TX, RX or TRX, not tx"},
        {"ShortMac", {"--mac", "0016"}, "--mac wants 12 hex digits, not 0016"},
        {"MacThatIsNoHex", {"--mac", "0016c04e30ag"}, "--mac wants 12 hex digits, not 0016c04e30ag"},
        {"PortTooHigh", {"--http-port", "65536"}, "--http-port wants a number from 0 to 65535, not 65536"},
        {"PortThatIsNoNumber", {"--tci-port", "http"}, "--tci-port wants a number from 0 to 65535, not http"},
        {"ControlPortTooLow", {"--control-port", "-2"}, "--control-port wants a number from -1 to 65535, not -2"},
        {"NegativeTime", {"--reboot-ms", "-1"}, "--reboot-ms wants a number from 0 to 3600000, not -1"},
        {"NoSuchFile", {"--document", "/none/at/all"}, "--document cannot read /none/at/all"},
        {"AFileThatIsNoJson",
         {"--document", HALYARD_SOURCE_DIR "/sim/CMakeLists.txt"},
         "--document " HALYARD_SOURCE_DIR "/sim/CMakeLists.txt is no JSON"},
    }),
    NameOf);

TEST(SimArgsHelp, NamesOptionsAndControlCommands) {
  for (const char* text :
       {"--role", "--document", "--mac", "--ip", "--http-port", "--tci-port", "--control-port", "--reboot-ms",
        "--update-ms", "--settings-ms", "--log-limit", "--fault", "--run", "event rs232", "halyardctl sim"}) {
    EXPECT_NE(simargs::Help().find(text), std::string::npos) << text;
  }
}

}  // namespace
