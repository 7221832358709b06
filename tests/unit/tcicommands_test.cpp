// The commands of the text link: the part of the API server in sim/tcicommands.cpp.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apibench.h"

namespace {

const char kDone[] = R"({"status":"SUCCESS","request_id":null,"result":null,"error":null})";

struct T_Row {
  const char* name;
  const char* line;
  const char* answer;  // its beginning
  CTciLink::T_Answer::E_Async eAsync;
};

std::string NameOf(const testing::TestParamInfo<T_Row>& info) { return info.param.name; }

class TciCommands : public testing::TestWithParam<T_Row> {};

TEST_P(TciCommands, AreAnsweredOnOneLine) {
  CApiBench bench("TX");
  const CTciLink::T_Answer answer = bench.Api().AnswerLine(GetParam().line);
  EXPECT_EQ(answer.line.substr(0, std::string(GetParam().answer).size()), GetParam().answer);
  EXPECT_EQ(answer.line.find_first_of("\r\n"), std::string::npos);
  EXPECT_EQ(answer.eAsync, GetParam().eAsync);
}

constexpr auto kKeep = CTciLink::T_Answer::e_keep;
constexpr char kUnknown[] =
    R"({"status":"ERROR","request_id":null,"result":null,"error":{"reason":"PROTOCOL_NOT_FOUND")";
constexpr char kIllegal[] = R"({"status":"ERROR","request_id":null,"result":null,"error":{"reason":"ILLEGAL_ARGUMENT")";

INSTANTIATE_TEST_SUITE_P(
    Lines, TciCommands,
    testing::ValuesIn(std::vector<T_Row>{
        {"TheVersion", "require blueriver_api 3.0.0.0", kDone, kKeep},
        {"AnotherVersion", "require blueriver_api 4.0.0.0",
         R"({"status":"ERROR","request_id":null,"result":null,"error":{"reason":"VERSION")", kKeep},
        {"AsynchronousModeOn", "mode async on", kDone, CTciLink::T_Answer::e_on},
        {"AsynchronousModeOff", "mode async off", kDone, CTciLink::T_Answer::e_off},
        {"TheStatistics", "netstat ALL select all",
         R"({"status":"SUCCESS","request_id":null,"result":{"devices":[{"device_id":"0016c04e21e7"}],"error":[]})",
         kKeep},
        {"TheStatisticsOfAnUnknownDevice", "netstat 0016c0000000 select all", kIllegal, kKeep},
        {"AProperty", "set all property streams[HDMI:0].configuration.remove_audio true", kDone, kKeep},
        {"AnUnknownProperty", "set all property streams[HDMI:9].configuration.remove_audio true", kIllegal, kKeep},
        {"APropertyOfAnUnknownDevice", "set 0016c0000000 property configuration.device_name x", kIllegal, kKeep},
        {"APropertyWithoutAValue", "set all property configuration.device_name", kUnknown, kKeep},
        {"AnUnknownCommand", "dance", kUnknown, kKeep},
        {"Nothing", "", kUnknown, kKeep},
    }),
    NameOf);

TEST(TciProperty, ChangesTheDocumentAndIsAnnounced) {
  CApiBench bench("TX");
  bench.Api().AnswerLine("set all property streams[HDMI:0].configuration.remove_audio true");
  EXPECT_EQ(bench.Value("streams[HDMI:0].configuration.remove_audio"), "true");
  EXPECT_FALSE(bench.TakeEvent("SETTINGS_CHANGED").isNull());
}

TEST(TciProperty, TakesTextsAndNumbers) {
  CApiBench bench("TX");
  bench.Api().AnswerLine("set all property configuration.device_name Stage");
  bench.Api().AnswerLine("set all property nodes[UART:0].configuration.baud_rate 9600");
  EXPECT_EQ(bench.Value("configuration.device_name"), R"("Stage")");
  EXPECT_EQ(bench.Value("nodes[UART:0].configuration.baud_rate"), "9600");
}

}  // namespace
