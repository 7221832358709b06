#include "simtypes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "simjson.h"

namespace {

T_SimRequest Request(const std::string& method, const std::string& path, const std::string& body) {
  return {method, path, body, simjson::Parse(body).value_or(Json::Value()), T_SimClock::now()};
}

const T_SimRequest kRead = Request("POST", "/api/device/1", R"({"op":"get","subset":"edid","index":3,"flag":true})");

struct T_Row {
  const char* name;
  T_RequestMatcher matcher;
  bool matches;
};

class SimMatch : public testing::TestWithParam<T_Row> {};

TEST_P(SimMatch, LooksAtItsPart) { EXPECT_EQ(GetParam().matcher(kRead), GetParam().matches); }

INSTANTIATE_TEST_SUITE_P(Matchers, SimMatch,
                         testing::ValuesIn(std::vector<T_Row>{
                             {"Any", simmatch::Any(), true},
                             {"Op", simmatch::Op("get"), true},
                             {"OtherOp", simmatch::Op("start"), false},
                             {"Subset", simmatch::Subset("edid"), true},
                             {"OtherSubset", simmatch::Subset("device"), false},
                             {"Property", simmatch::Property("edid"), false},
                             {"Path", simmatch::Path("/api/device/1"), true},
                             {"HalfAPath", simmatch::Path("/api/device"), false},
                             {"PathPrefix", simmatch::PathPrefix("/api/device"), true},
                             {"OtherPrefix", simmatch::PathPrefix("/api/request"), false},
                             {"Method", simmatch::Method("POST"), true},
                             {"OtherMethod", simmatch::Method("GET"), false},
                             {"NumberAsText", simmatch::Field("index", "3"), true},
                             {"OtherNumber", simmatch::Field("index", "4"), false},
                             {"Both", simmatch::Both(simmatch::Op("get"), simmatch::Method("POST")), true},
                             {"OneOfBoth", simmatch::Both(simmatch::Op("get"), simmatch::Method("GET")), false},
                         }),
                         [](const auto& row) { return row.param.name; });

TEST(SimMatchProperty, LooksAtTheKey) {
  const T_SimRequest request = Request("POST", "/x", R"({"op":"set:property","key":"configuration.device_mode"})");
  EXPECT_TRUE(simmatch::Property("configuration.device_mode")(request));
  EXPECT_FALSE(simmatch::Property("configuration.device_name")(request));
}

TEST(SimRequest, FieldsOfOtherShapesAreEmpty) {
  EXPECT_EQ(kRead.Field("none"), "");
  EXPECT_EQ(Request("POST", "/x", "[1]").Op(), "");
  EXPECT_EQ(Request("GET", "/x", "").Op(), "");
}

TEST(SimRequest, IsWrittenOnOneLine) {
  EXPECT_EQ(Request("POST", "/x", "{\"op\":\"stop\"}\n").Line(), R"(POST /x {"op":"stop"})");
  EXPECT_EQ(Request("GET", "/x", "").Line(), "GET /x");
}

TEST(SimAnswer, SuccessAndErrorAreWholeEnvelopes) {
  EXPECT_EQ(T_SimAnswer::Success().strBody, R"({"status":"SUCCESS","request_id":null,"result":null,"error":null})");
  const T_SimAnswer error = T_SimAnswer::Error("VERSION", "old", 400);
  EXPECT_EQ(error.strBody,
            R"({"status":"ERROR","request_id":null,"result":null,"error":{"reason":"VERSION","message":"old"}})");
  EXPECT_EQ(error.iHttpStatus, 400);
}

TEST(SimAnswer, GarbageIsNoJson) { EXPECT_FALSE(simjson::Parse(T_SimAnswer::Garbage().strBody)); }

TEST(SimAnswer, AfterKeepsTheRest) {
  const T_SimAnswer answer = T_SimAnswer::HangUp().After(30);
  EXPECT_EQ(answer.eKind, e_answer_hangup);
  EXPECT_EQ(answer.iDelayMs, 30);
}

TEST(SimAnswer, SettledByKeepsTheWay) {
  const T_SimAnswer answer = T_SimAnswer::ProcessingPolls(2).SettledBy(T_SimAnswer::Success());
  EXPECT_EQ(answer.iPolls, 2);
  ASSERT_NE(answer.pSettled, nullptr);
  EXPECT_EQ(answer.pSettled->eKind, e_answer_body);
}

}  // namespace
