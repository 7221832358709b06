#include "brntjson.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(BrntJson, WritesCompactTextInKeyOrderWithANewline) {
  Json::Value value;
  value["b"] = 1;
  value["a"] = "x";
  EXPECT_EQ(brntjson::Write(value), "{\"a\":\"x\",\"b\":1}\n");
}

TEST(BrntJson, RefusesWhatIsNotJsonAndLeavesTheValueAlone) {
  Json::Value value = "kept";
  EXPECT_FALSE(brntjson::Parse("not json", value));
  EXPECT_EQ(value, Json::Value("kept"));
}

TEST(BrntJson, RefusesNestingOfThousands) {
  Json::Value value;
  EXPECT_FALSE(brntjson::Parse(std::string(5000, '[') + std::string(5000, ']'), value));
}

TEST(BrntJson, CountsMembersOfTheWrongTypeAsAbsent) {
  Json::Value value;
  ASSERT_TRUE(brntjson::Parse(R"({"n":"1","s":1,"b":0,"z":null,"big":4294967296})", value));
  SInt32 number = 7;
  std::string text = "kept";
  bool flag = true;
  EXPECT_FALSE(brntjson::GetInt(value, "n", number));
  EXPECT_FALSE(brntjson::GetInt(value, "big", number));
  EXPECT_FALSE(brntjson::GetString(value, "s", text));
  EXPECT_FALSE(brntjson::GetBool(value, "b", flag));
  EXPECT_EQ(brntjson::Member(value, "z"), nullptr);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(text, "kept");
  EXPECT_TRUE(flag);
}

TEST(BrntJson, HasNoMembersInWhatIsNoObject) {
  EXPECT_EQ(brntjson::Member(Json::Value("text"), "a"), nullptr);
  EXPECT_EQ(brntjson::Member(Json::Value(Json::arrayValue), "a"), nullptr);
}

TEST(BrntJson, EmptyTextsArraysAndObjectsAreMissing) {
  Json::Value value;
  ASSERT_TRUE(brntjson::Parse(R"({"t":"","a":[],"o":{},"n":0})", value));
  EXPECT_TRUE(brntjson::IsMissingOrEmpty(value, "t"));
  EXPECT_TRUE(brntjson::IsMissingOrEmpty(value, "a"));
  EXPECT_TRUE(brntjson::IsMissingOrEmpty(value, "o"));
  EXPECT_FALSE(brntjson::IsMissingOrEmpty(value, "n"));
}

}  // namespace
