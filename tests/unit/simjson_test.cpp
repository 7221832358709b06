#include "simjson.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(SimJson, WritesOnOneLineInTheServersOrder) {
  const Json::Value device = *simjson::Parse(
      R"({"nodes":[],"status":{},"device_name":"n","zeal":1,"device_id":"i","configuration":{},"alpha":2})");
  EXPECT_EQ(simjson::Write(device),
            R"({"device_id":"i","device_name":"n","configuration":{},"status":{},"nodes":[],"alpha":2,"zeal":1})");
}

TEST(SimJson, WritesErrorsLast) {
  EXPECT_EQ(simjson::Write(*simjson::Parse(R"({"error":[],"reboot":[1,2]})")), R"({"reboot":[1,2],"error":[]})");
}

TEST(SimJson, WritesEveryKindOfValue) {
  const char* text = R"([null,true,false,-7,18446744073709551615,59.94,"a\"\\\n",{},[]])";
  EXPECT_EQ(simjson::Write(*simjson::Parse(text)), text);
}

TEST(SimJson, RefusesWhatIsNoJson) {
  for (const char* text : {"", "{", "{]", "no json", "1 2", "{}}"}) EXPECT_FALSE(simjson::Parse(text)) << text;
}

TEST(SimJson, RefusesNestingOfThousands) {
  EXPECT_FALSE(simjson::Parse(std::string(5000, '[') + std::string(5000, ']')));
}

TEST(SimJson, AnEnvelopeHasAllItsMembers) {
  EXPECT_EQ(simjson::Envelope("PROCESSING", 41, Json::Value(), std::nullopt),
            R"({"status":"PROCESSING","request_id":41,"result":null,"error":null})");
  EXPECT_EQ(simjson::Envelope("ERROR", std::nullopt, Json::Value(), T_SimError{"VERSION", "old"}),
            R"({"status":"ERROR","request_id":null,"result":null,"error":{"reason":"VERSION","message":"old"}})");
}

TEST(SimJson, AFinalAnswerCarriesItsRequestsId) {
  EXPECT_EQ(simjson::Success(7, Json::Value()), R"({"status":"SUCCESS","request_id":7,"result":null,"error":null})");
  EXPECT_EQ(
      simjson::WithRequestId(
          R"({"status":"ERROR","request_id":null,"result":null,"error":{"reason":"VERSION","message":"old"}})", 7),
      R"({"status":"ERROR","request_id":7,"result":null,"error":{"reason":"VERSION","message":"old"}})");
}

TEST(SimJson, WhatIsNoSoundEnvelopeStaysAsItIs) {
  for (const char* text : {"no json", "[1]", R"({"status":"SUCCESS"})", R"({"status":7,"request_id":null})",
                           R"({"status":"ERROR","request_id":null,"error":"text"})",
                           R"({"status":"ERROR","request_id":null,"error":{"reason":7,"message":"old"}})"}) {
    EXPECT_EQ(simjson::WithRequestId(text, 7), text);
  }
}

TEST(SimJson, AMemberOfAnythingElseIsNull) {
  EXPECT_TRUE(simjson::Member(Json::Value("text"), "a").isNull());
  EXPECT_TRUE(simjson::Member(Json::Value(Json::arrayValue), "a").isNull());
  EXPECT_TRUE(simjson::Member(*simjson::Parse(R"({"b":1})"), "a").isNull());
}

}  // namespace
