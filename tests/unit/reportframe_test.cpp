#include "reportframe.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using std::string_literals::operator""s;

TEST(ReportFrame, EncodesACommandToTheByte) {
  EXPECT_EQ(reportframe::EncodeCommand(0x60302, "ab"),
            "\x03\x00\x00\x00\x0b\x00\x00\x00\x02\x03\x06\x00\x03\x00\x00\x00\x61\x62\x00"s);
}

TEST(ReportFrame, DecodesAReportToTheByte) {
  const T_Report report =
      reportframe::Decode("\x03\x00\x00\x00\x10\x00\x00\x00\x03\x05\x01\x00\x08\x00\x00\x00{\"a\":1}\x00"s);
  EXPECT_EQ(report.fault, "");
  EXPECT_EQ(report.kind, 0);
  EXPECT_EQ(report.name, "video");
  EXPECT_EQ(report.tag, 0x10503u);
  EXPECT_EQ(report.text, "{\"a\":1}");
  EXPECT_EQ(report.json["a"], 1);
  EXPECT_EQ(report.raw.size(), 24u);
}

class ReportFrameKind : public testing::TestWithParam<T_ReportTag> {};

TEST_P(ReportFrameKind, IsKnownByItsTag) {
  const std::string text = "avp alive\0"s;
  const T_Report report =
      reportframe::Decode(reportframe::EncodeRecord(3, reportframe::EncodeRecord(GetParam().tag, text)));
  EXPECT_EQ(report.kind, GetParam().kind);
  EXPECT_EQ(report.name, GetParam().name);
  EXPECT_EQ(report.text, "avp alive");
  EXPECT_TRUE(report.json.isNull());
}

INSTANTIATE_TEST_SUITE_P(Table, ReportFrameKind, testing::ValuesIn(kReportTags),
                         [](const auto& row) { return std::string(row.param.name); });

struct T_Row {
  const char* name;
  std::string datagram;
  const char* fault;
};

std::string NameOf(const testing::TestParamInfo<T_Row>& info) { return info.param.name; }

class ReportFault : public testing::TestWithParam<T_Row> {};

TEST_P(ReportFault, IsNamed) {
  const T_Report report = reportframe::Decode(GetParam().datagram);
  EXPECT_EQ(report.fault, GetParam().fault);
  EXPECT_EQ(report.kind, -1);
  EXPECT_EQ(report.raw, GetParam().datagram);
}

std::string Framed(std::uint32_t tag, const std::string& value) {
  return reportframe::EncodeRecord(3, reportframe::EncodeRecord(tag, value));
}

INSTANTIATE_TEST_SUITE_P(
    Datagrams, ReportFault,
    testing::ValuesIn(std::vector<T_Row>{
        {"Empty", "", "the datagram is empty"},
        {"HalfAHeader", "\x03\x00\x00"s, "the outer record does not fill the datagram"},
        {"BytesBehind", Framed(0x10503, "a\0"s) + "x", "the outer record does not fill the datagram"},
        {"LengthBeyondTheEnd", "\x03\x00\x00\x00\xff\xff\xff\xff"s, "the outer record does not fill the datagram"},
        {"AnotherOuterTag", reportframe::EncodeRecord(4, "x"), "the outer tag is not 3"},
        {"AnEmptyObject", reportframe::EncodeRecord(3, ""), "the box under tag 3 is empty"},
        {"TwoInnerRecords",
         reportframe::EncodeRecord(3, reportframe::EncodeRecord(0x10503, "a\0"s) + reportframe::EncodeRecord(1, "b")),
         "the inner record does not fill the box under tag 3"},
        {"AnUnknownInnerTag", Framed(7, "a\0"s), "the inner tag is no report's"},
        {"NoTerminatingZero", Framed(0x10503, "a"), "the text has no terminating zero"},
        {"NoText", Framed(0x10503, ""), "the text has no terminating zero"},
    }),
    NameOf);

TEST(ReportFrame, FindsCommandsByNameAndTag) {
  for (const T_CommandTag& row : kCommandTags) {
    for (const std::string& text : {std::string(row.name), std::to_string(row.tag)}) {
      const T_CommandTag* found = reportframe::FindCommand(text);
      ASSERT_NE(found, nullptr) << text;
      EXPECT_EQ(found->tag, row.tag) << text;
    }
  }
  EXPECT_EQ(reportframe::FindCommand("0x60302")->name, "reset-device");
  for (const char* text : {"", "0x", "7", "dance", "0x60302z", "-1", "99999999999"}) {
    EXPECT_EQ(reportframe::FindCommand(text), nullptr) << text;
  }
}

}  // namespace
