#include "faulttext.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "simjson.h"

namespace {

struct T_Row {
  const char* name;
  const char* text;
  E_AnswerKind eKind;
  int delayMs;
  int polls;
  int settleMs;
};

std::string NameOf(const testing::TestParamInfo<T_Row>& info) { return info.param.name; }

class FaultText : public testing::TestWithParam<T_Row> {};

TEST_P(FaultText, NamesAnAnswer) {
  const std::optional<T_SimAnswer> answer = faulttext::Parse(GetParam().text);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->eKind, GetParam().eKind);
  EXPECT_EQ(answer->iDelayMs, GetParam().delayMs);
  EXPECT_EQ(answer->iPolls, GetParam().polls);
  EXPECT_EQ(answer->iSettleMs, GetParam().settleMs);
}

INSTANTIATE_TEST_SUITE_P(Kinds, FaultText,
                         testing::ValuesIn(std::vector<T_Row>{
                             {"HangUp", "hangup", e_answer_hangup, 0, -1, -1},
                             {"Half", "half", e_answer_half, 0, -1, -1},
                             {"Garbage", "garbage", e_answer_body, 0, -1, -1},
                             {"Raw", "raw", e_answer_raw, 0, -1, -1},
                             {"Disconnected", "disconnected", e_answer_disconnected, 0, -1, -1},
                             {"Slow", "slow:500", e_answer_default, 500, -1, -1},
                             {"Error", "error", e_answer_body, 0, -1, -1},
                             {"ErrorWithAReason", "error:VERSION", e_answer_body, 0, -1, -1},
                             {"ProcessingByPolls", "processing:3", e_answer_processing, 0, 3, -1},
                             {"ProcessingByTime", "processing:250ms", e_answer_processing, 0, -1, 250},
                             {"ProcessingForEver", "processing:never", e_answer_processing, 0, -1, -1},
                         }),
                         NameOf);

TEST(FaultTextReason, GoesIntoTheAnswer) {
  EXPECT_EQ((*simjson::Parse(faulttext::Parse("error:VERSION")->strBody))["error"]["reason"], "VERSION");
  EXPECT_EQ((*simjson::Parse(faulttext::Parse("error")->strBody))["error"]["reason"], "INVALID_STATE");
}

TEST(FaultTextBad, IsNothing) {
  for (const char* text : {"", "dance", "hangup:1", "slow", "slow:", "slow:x", "slow:-1", "processing", "processing:ms",
                           "processing:3s", "processing:3 ms"}) {
    EXPECT_FALSE(faulttext::Parse(text)) << text;
  }
}

TEST(FaultTextMatcher, NamesRequests) {
  const T_SimRequest request{"POST", "/api/device/1", "", *simjson::Parse(R"({"op":"get","subset":"edid"})"),
                             T_SimClock::now()};
  for (const char* text : {"any", "op=get", "subset=edid", "path=/api/device/1", "method=POST"}) {
    const std::optional<T_RequestMatcher> matcher = faulttext::ParseMatcher(text);
    ASSERT_TRUE(matcher) << text;
    EXPECT_TRUE((*matcher)(request)) << text;
  }
  for (const char* text : {"op=start", "subset=device", "key=edid", "path=/api", "method=GET"}) {
    EXPECT_FALSE((*faulttext::ParseMatcher(text))(request)) << text;
  }
  for (const char* text : {"", "op", "color=red", "=get"}) EXPECT_FALSE(faulttext::ParseMatcher(text)) << text;
}

TEST(FaultTextHelp, NamesEveryKind) {
  for (const char* kind :
       {"hangup", "half", "garbage", "raw", "disconnected", "slow:MS", "error:REASON", "processing:POLLS|MSms|never"}) {
    EXPECT_NE(faulttext::Help().find(kind), std::string::npos) << kind;
  }
}

}  // namespace
