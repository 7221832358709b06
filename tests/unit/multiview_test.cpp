#include "multiview.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "simjson.h"

namespace {

Json::Value Json(const std::string& text) { return simjson::Parse(text).value_or(Json::Value()); }

const char kCreate[] = R"({"op":"create","width":1920,"height":1080})";
const char kWindow[] = R"({"op":"create","horizontal_position":2,"vertical_position":4,"width":960,"height":540,)"
                       R"("horizontal_offset":6,"vertical_offset":8,"target_surface":1})";

class Multiview : public testing::Test {
 protected:
  std::string Window(int index) {
    Json::Value result;
    m_store.DescribePart("wide", "window", index, result);
    return simjson::Write(result);
  }

  void SetUp() override { ASSERT_FALSE(m_store.Create("wide", Json(kCreate))); }

  CMultiviewStore m_store;
};

TEST_F(Multiview, ListsItsLayouts) {
  EXPECT_EQ(simjson::Write(m_store.List()), R"({"layout":[{"name":"pip"},{"name":"quad"},{"name":"wide"}]})");
}

TEST_F(Multiview, ANewLayoutIsEmpty) {
  Json::Value result;
  EXPECT_FALSE(m_store.Describe("wide", result));
  EXPECT_EQ(simjson::Write(result), R"({"layout_description":{"name":"wide","width":1920,"height":1080,)"
                                    R"("read_only":false,"surfaces":[],"windows":[]}})");
}

TEST_F(Multiview, ALayoutThatExistsIsRefused) {
  EXPECT_EQ(m_store.Create("wide", Json(kCreate))->reason, "ILLEGAL_ARGUMENT");
}

TEST_F(Multiview, AnUnknownLayoutIsRefusedEverywhere) {
  Json::Value result;
  EXPECT_EQ(m_store.Describe("x", result)->reason, "ILLEGAL_ARGUMENT");
  EXPECT_EQ(m_store.Delete("x")->reason, "ILLEGAL_ARGUMENT");
  EXPECT_EQ(m_store.CreatePart("x", "window", 0, Json(kWindow))->reason, "ILLEGAL_ARGUMENT");
  EXPECT_EQ(m_store.DescribePart("x", "window", 0, result)->reason, "ILLEGAL_ARGUMENT");
  EXPECT_EQ(m_store.DeletePart("x", "window", 0)->reason, "ILLEGAL_ARGUMENT");
}

TEST_F(Multiview, ADeletedLayoutIsGone) {
  EXPECT_FALSE(m_store.Delete("wide"));
  EXPECT_FALSE(m_store.Has("wide"));
}

TEST_F(Multiview, AWindowShowsTheSubscriptionOfItsNumber) {
  EXPECT_FALSE(m_store.CreatePart("wide", "window", 3, Json(kWindow)));
  EXPECT_EQ(Window(3), R"({"layout_window":{"index":3,"width":960,"height":540,"content":"HDMI:3",)"
                       R"("horizontal_offset":6,"horizontal_position":2,"target_surface":1,)"
                       R"("vertical_offset":8,"vertical_position":4}})");
}

TEST_F(Multiview, AWindowThatExistsIsReplaced) {
  m_store.CreatePart("wide", "window", 0, Json(kWindow));
  EXPECT_FALSE(m_store.CreatePart("wide", "window", 0,
                                  Json(R"({"horizontal_position":0,"vertical_position":0,"width":100,"height":50})")));
  Json::Value result;
  m_store.DescribePart("wide", "window", 0, result);
  EXPECT_EQ(result["layout_window"]["width"], 100);
  EXPECT_EQ(result["layout_window"]["horizontal_offset"], 0);
}

TEST_F(Multiview, ASurfaceIsKeptApartFromTheWindowOfItsNumber) {
  EXPECT_FALSE(m_store.CreatePart("wide", "surface", 0, Json(kWindow)));
  Json::Value result;
  EXPECT_FALSE(m_store.DescribePart("wide", "surface", 0, result));
  EXPECT_EQ(simjson::Write(result), R"({"layout_surface":{"index":0,"width":960,"height":540,)"
                                    R"("horizontal_position":2,"vertical_position":4}})");
  EXPECT_TRUE(m_store.DescribePart("wide", "window", 0, result));
}

TEST_F(Multiview, ADeletedWindowIsGone) {
  m_store.CreatePart("wide", "window", 0, Json(kWindow));
  EXPECT_FALSE(m_store.DeletePart("wide", "window", 0));
  EXPECT_EQ(m_store.DeletePart("wide", "window", 0)->reason, "ILLEGAL_ARGUMENT");
}

struct T_Row {
  const char* name;
  int index;
  const char* body;
};

std::string NameOf(const testing::TestParamInfo<T_Row>& info) { return info.param.name; }

class MultiviewWindow : public testing::TestWithParam<T_Row> {};

TEST_P(MultiviewWindow, IsRefused) {
  CMultiviewStore store;
  const std::optional<T_SimError> refusal = store.CreatePart("quad", "window", GetParam().index, Json(GetParam().body));
  ASSERT_TRUE(refusal);
  EXPECT_EQ(refusal->reason, "ILLEGAL_ARGUMENT");
}

INSTANTIATE_TEST_SUITE_P(
    IllFormed, MultiviewWindow,
    testing::ValuesIn(std::vector<T_Row>{
        {"Number32", 32, kWindow},
        {"NegativeNumber", -1, kWindow},
        {"OddWidth", 0, R"({"horizontal_position":0,"vertical_position":0,"width":101,"height":50})"},
        {"OddPosition", 0, R"({"horizontal_position":1,"vertical_position":0,"width":100,"height":50})"},
        {"TooNarrow", 0, R"({"horizontal_position":0,"vertical_position":0,"width":2,"height":50})"},
        {"NoHeight", 0, R"({"horizontal_position":0,"vertical_position":0,"width":100})"},
        {"HeightOfZero", 0, R"({"horizontal_position":0,"vertical_position":0,"width":100,"height":0})"},
        {"PositionOfAnotherType", 0, R"({"horizontal_position":"0","vertical_position":0,"width":100,"height":50})"},
        {"NegativePosition", 0, R"({"horizontal_position":-2,"vertical_position":0,"width":100,"height":50})"},
        {"NoBody", 0, ""},
    }),
    NameOf);

TEST(MultiviewLayout, WantsItsSize) {
  CMultiviewStore store;
  EXPECT_EQ(store.Create("wide", Json(R"({"op":"create","width":1920})"))->message, "No value for key height");
  EXPECT_EQ(store.Create("", Json(kCreate))->reason, "ILLEGAL_ARGUMENT");
}

}  // namespace
