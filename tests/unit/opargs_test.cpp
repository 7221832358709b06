#include "opargs.h"

#include <gtest/gtest.h>

#include <string>

#include "simjson.h"

namespace {

class OpArgs : public testing::Test {
 protected:
  const Json::Value m_body = *simjson::Parse(
      R"({"text":"a","number":7,"big":4294967296,"truth":true,"null":null,"object":{},"address":"10.1.2.3",)"
      R"("hex":"0aFF","odd":"0af","digits":"60","real":1.5})");
  COpArgs m_args{m_body};

  std::string Message() const { return m_args.Error() ? m_args.Error()->message : ""; }
};

TEST_F(OpArgs, ReadsWhatIsThere) {
  EXPECT_EQ(m_args.Text("text"), "a");
  EXPECT_EQ(m_args.Int("number", 0, 10), 7);
  EXPECT_EQ(m_args.Address("address"), "10.1.2.3");
  EXPECT_EQ(m_args.Hex("hex", 2, 4), "0aFF");
  EXPECT_TRUE(m_args.Object("object").isObject());
  EXPECT_TRUE(m_args.OptionalBool("truth", false));
  EXPECT_EQ(m_args.OptionalInt("number", 1, 0, 10), 7);
  EXPECT_EQ(m_args.OptionalText("text", "b"), "a");
  EXPECT_EQ(m_args.IntOrText("number", 0, 60), 7);
  EXPECT_EQ(m_args.IntOrText("digits", 0, 60), 60);
  EXPECT_FALSE(m_args.Error());
}

TEST_F(OpArgs, ReadsOptionalMembersThatAreNotThere) {
  EXPECT_TRUE(m_args.OptionalBool("none", true));
  EXPECT_EQ(m_args.OptionalInt("null", 3, 0, 10), 3) << "null counts as absent";
  EXPECT_EQ(m_args.OptionalText("none", "b"), "b");
  EXPECT_FALSE(m_args.Error());
}

TEST_F(OpArgs, TheFirstFaultCounts) {
  m_args.Text("none");
  m_args.Int("text", 0, 1);
  EXPECT_EQ(Message(), "No value for key none");
}

TEST_F(OpArgs, NullIsNoValue) {
  m_args.Text("null");
  EXPECT_EQ(Message(), "No value for key null");
}

TEST_F(OpArgs, AnotherTypeIsABadValue) {
  m_args.Text("number");
  EXPECT_EQ(Message(), "Bad value for key number");
}

TEST_F(OpArgs, ANumberOutOfRangeIsABadValue) {
  m_args.Int("number", 0, 6);
  EXPECT_EQ(Message(), "Bad value for key number");
}

TEST_F(OpArgs, AHugeNumberIsABadValue) {
  m_args.Int("big", 0, 0x7fffffff);
  EXPECT_EQ(Message(), "Bad value for key big");
}

TEST_F(OpArgs, ARealNumberIsABadValue) {
  m_args.Int("real", 0, 10);
  EXPECT_EQ(Message(), "Bad value for key real");
}

TEST_F(OpArgs, ATextThatIsNoNumberIsABadValue) {
  m_args.IntOrText("text", 0, 60);
  EXPECT_EQ(Message(), "Bad value for key text");
}

TEST_F(OpArgs, ATextThatIsNoAddressIsABadValue) {
  m_args.Address("text");
  EXPECT_EQ(Message(), "Bad value for key text");
}

TEST_F(OpArgs, AnOddNumberOfDigitsIsABadValue) {
  m_args.Hex("odd", 0, 10);
  EXPECT_EQ(Message(), "Bad value for key odd");
}

TEST_F(OpArgs, TooManyDigitsAreABadValue) {
  m_args.Hex("hex", 0, 2);
  EXPECT_EQ(Message(), "Bad value for key hex");
}

TEST_F(OpArgs, TooFewDigitsAreABadValue) {
  m_args.Hex("hex", 6, 8);
  EXPECT_EQ(Message(), "Bad value for key hex");
}

TEST_F(OpArgs, ANumberIsNoTruthValue) {
  EXPECT_TRUE(m_args.OptionalBool("number", true));
  EXPECT_EQ(Message(), "Bad value for key number");
}

TEST_F(OpArgs, ATextIsNoObject) {
  m_args.Object("text");
  EXPECT_EQ(Message(), "Bad value for key text");
}

TEST(OpArgsBody, MayBeAnything) {
  for (const Json::Value& body : {Json::Value(), Json::Value(7), Json::Value("text"), Json::Value(Json::arrayValue)}) {
    COpArgs args(body);
    args.Text("op");
    EXPECT_EQ(args.Error()->message, "No value for key op");
  }
}

}  // namespace
