#include "stringprocess.h"

#include <gtest/gtest.h>

#include <string>

#include "logcapture.h"

namespace {

constexpr char kMac[] = "0016c04e21e7";

TEST(StrProcess, KnowsEmptyTexts) {
  EXPECT_EQ(StrProcess::IsEmpty(std::string()), 1);
  EXPECT_EQ(StrProcess::IsEmpty(std::string(1, '\0')), 0);
  EXPECT_EQ(StrProcess::IsEmpty(""), 1);
  EXPECT_EQ(StrProcess::IsEmpty("a"), 0);
  EXPECT_EQ(StrProcess::IsEmpty(static_cast<const char*>(nullptr)), 1);
}

TEST(StrProcess, FindsAFlagAnywhereInATextAndTheEmptyOneEverywhere) {
  EXPECT_EQ(StrProcess::FindFlagFromStr("HLY-TRX", "RX"), 1);
  EXPECT_EQ(StrProcess::FindFlagFromStr("RX", "RX"), 1);
  EXPECT_EQ(StrProcess::FindFlagFromStr("rx", "RX"), 0);
  EXPECT_EQ(StrProcess::FindFlagFromStr("R", "RX"), 0);
  EXPECT_EQ(StrProcess::FindFlagFromStr("", ""), 1);
}

struct T_NumberRow {
  const char* name;
  const char* text;
  int number;
};
class StrToInt : public testing::TestWithParam<T_NumberRow> {};

TEST_P(StrToInt, ReadsTheNumberThatTheTextBeginsWith) {
  EXPECT_EQ(StrProcess::StrToInt(GetParam().text), GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(Rows, StrToInt,
                         testing::Values(T_NumberRow{"Plain", "42", 42}, T_NumberRow{"Negative", "-7", -7},
                                         T_NumberRow{"WithATail", "12ab", 12}, T_NumberRow{"Blanks", "  5", 5},
                                         T_NumberRow{"NoNumber", "ab", 0}, T_NumberRow{"Empty", "", 0},
                                         T_NumberRow{"CutToAnInt", "4294967298", 2}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(StrProcess, TakesHexadecimalDigitsOfEitherCase) {
  EXPECT_EQ(StrProcess::IsHexData("0123456789abcdefABCDEF"), 1);
  EXPECT_EQ(StrProcess::IsHexData("12g4"), 0);
  EXPECT_EQ(StrProcess::IsHexData("12 4"), 0);
  EXPECT_EQ(StrProcess::IsHexData("\xe4"), 0);
  EXPECT_EQ(StrProcess::IsHexData(std::string("12\0", 3)), 0);
}

TEST(StrProcess, CountsAnEmptyTextAsHexadecimal) { EXPECT_EQ(StrProcess::IsHexData(""), 1); }

struct T_IrRow {
  const char* name;
  const char* text;
  int result;
  const char* line;  // the ERROR line, empty for none
};
class IsIrData : public testing::TestWithParam<T_IrRow> {};

TEST_P(IsIrData, SaysWhatIsWrongWithACode) {
  const CLogCapture log;
  EXPECT_EQ(StrProcess::IsIrData(GetParam().text), GetParam().result);
  ASSERT_EQ(log.Lines().size(), *GetParam().line == '\0' ? 0u : 1u);
  if (log.Lines().empty()) return;
  EXPECT_EQ(log.Texts()[0], GetParam().line);
  EXPECT_EQ(log.Lines()[0].priority, 300);
}

INSTANTIATE_TEST_SUITE_P(Rows, IsIrData,
                         testing::Values(T_IrRow{"Regular", "0000 006D", 1, ""},
                                         T_IrRow{"ShortLastGroup", "0000 00", 1, ""},
                                         T_IrRow{"BlankAtTheEnd", "0000 ", 1, ""},
                                         T_IrRow{"NoSpaceBetween", "0000_006D", 0, "5 is not space"},
                                         T_IrRow{"NoHexDigit", "000G", 0, "4 is not hex data"},
                                         T_IrRow{"SpaceInsideAGroup", "00 0", 0, "3 is not hex data"},
                                         T_IrRow{"ThirdSeparator", "0000 1111 2222-3333", 0, "15 is not space"},
                                         T_IrRow{"Empty", "", 0, "input is NULL"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(StrProcess, DeletesEveryOccurrenceOfACharacter) {
  std::string text = " 0000  006d ";
  EXPECT_EQ(StrProcess::DeleteAllChar(text, ' '), 1);
  EXPECT_EQ(text, "0000006d");
  EXPECT_EQ(StrProcess::DeleteAllChar(text, 'x'), 1);
  EXPECT_EQ(text, "0000006d");
}

TEST(StrProcess, LogsWhenThereIsNothingToDeleteFrom) {
  const CLogCapture log;
  std::string text;
  EXPECT_EQ(StrProcess::DeleteAllChar(text, ' '), 0);
  EXPECT_EQ(log.PriorityOf("input is NULL"), 300);
}

TEST(StrProcess, AppendsTheConvertedTextToWhatIsThere) {
  std::string upper = "X";
  EXPECT_EQ(StrProcess::Lowercase2Uppercase("aB-1\xe4", upper), 1);
  EXPECT_EQ(upper, "XAB-1\xe4");
  std::string lower = "x";
  EXPECT_EQ(StrProcess::Uppercase2Lowercase("aB-1\xc4", lower), 1);
  EXPECT_EQ(lower, "xab-1\xc4");
}

TEST(StrProcess, ConvertsATextIntoItself) {
  std::string text = "ab";
  EXPECT_EQ(StrProcess::Lowercase2Uppercase(text, text), 1);
  EXPECT_EQ(text, "abAB");
}

TEST(StrProcess, RefusesToConvertNothing) {
  std::string out = "kept";
  EXPECT_EQ(StrProcess::Lowercase2Uppercase("", out), 0);
  EXPECT_EQ(StrProcess::Uppercase2Lowercase("", out), 0);
  EXPECT_EQ(out, "kept");
}

struct T_CutRow {
  const char* name;
  int n;
  int result;
  const char* head;
  const char* tail;
};
class Cut : public testing::TestWithParam<T_CutRow> {};

TEST_P(Cut, TakesBeginOrEndOfATextAndLeavesTheOutputAloneOtherwise) {
  std::string head = "kept";
  std::string tail = "kept";
  EXPECT_EQ(StrProcess::Cut2GetHeadStr(kMac, GetParam().n, head), GetParam().result);
  EXPECT_EQ(StrProcess::Cut2GetTailStr(kMac, GetParam().n, tail), GetParam().result);
  EXPECT_EQ(head, GetParam().head);
  EXPECT_EQ(tail, GetParam().tail);
}

INSTANTIATE_TEST_SUITE_P(Rows, Cut,
                         testing::Values(T_CutRow{"Four", 4, 1, "0016", "21e7"}, T_CutRow{"One", 1, 1, "0", "7"},
                                         T_CutRow{"All", 12, 1, kMac, kMac},
                                         T_CutRow{"MoreThanAll", 13, 0, "kept", "kept"},
                                         T_CutRow{"None", 0, 0, "kept", "kept"},
                                         T_CutRow{"Negative", -1, 0, "kept", "kept"}),
                         [](const auto& row) { return std::string(row.param.name); });

struct T_SplitRow {
  const char* name;
  const char* text;
  const char* delimiter;
  int n;
  int result;
  const char* field;
};
class SplitStr : public testing::TestWithParam<T_SplitRow> {};

TEST_P(SplitStr, TakesTheNthField) {
  std::string field = "kept";
  EXPECT_EQ(StrProcess::SplitStr(GetParam().text, GetParam().delimiter, GetParam().n, field), GetParam().result);
  EXPECT_EQ(field, GetParam().field);
}

INSTANTIATE_TEST_SUITE_P(Rows, SplitStr,
                         testing::Values(T_SplitRow{"First", "a,b", ",", 1, 1, "a"},
                                         T_SplitRow{"Last", "a,b", ",", 2, 1, "b"},
                                         T_SplitRow{"BeyondTheLast", "a,b", ",", 3, 0, "kept"},
                                         T_SplitRow{"EmptyInTheMiddle", "a,,b", ",", 2, 1, ""},
                                         T_SplitRow{"EmptyFirst", ",b", ",", 1, 1, ""},
                                         T_SplitRow{"EmptyLastIsRefused", "a,b,", ",", 3, 0, "kept"},
                                         T_SplitRow{"LastButOneBeforeAnEmptyLast", "a,b,", ",", 2, 1, "b"},
                                         T_SplitRow{"NoDelimiter", "a", ",", 1, 1, "a"},
                                         T_SplitRow{"NoDelimiterSecond", "a", ",", 2, 0, "kept"},
                                         T_SplitRow{"EmptyText", "", ",", 1, 0, "kept"},
                                         T_SplitRow{"Zeroth", "a,b", ",", 0, 0, "kept"},
                                         T_SplitRow{"Negative", "a,b", ",", -1, 0, "kept"},
                                         T_SplitRow{"LongDelimiter", "one\r\ntwo\r\nthree", "\r\n", 2, 1, "two"},
                                         T_SplitRow{"HalfADelimiterIsNone", "one\rtwo", "\r\n", 1, 1, "one\rtwo"},
                                         T_SplitRow{"EmptyDelimiter", "ab", "", 1, 0, "kept"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(StrProcess, ComparesPrefixesWithoutRegardToCase) {
  EXPECT_TRUE(StrProcess::HasPrefixNoCase("BYPASSED", "bypass"));
  EXPECT_TRUE(StrProcess::HasPrefixNoCase("any", ""));
  EXPECT_FALSE(StrProcess::HasPrefixNoCase("bypas", "bypass"));
  EXPECT_FALSE(StrProcess::HasPrefixNoCase("", "bypass"));
}

TEST(StrProcess, ComparesWholeTextsWithoutRegardToCase) {
  EXPECT_TRUE(StrProcess::EqualsNoCase("Genlock", "gENLOCK"));
  EXPECT_TRUE(StrProcess::EqualsNoCase("", ""));
  EXPECT_FALSE(StrProcess::EqualsNoCase("genlock", "genlocked"));
  EXPECT_FALSE(StrProcess::EqualsNoCase("genlock", ""));
}

TEST(CheckDirAndFileIsExist, KnowsFilesAndFoldersAndWhatIsNotThere) {
  EXPECT_EQ(CheckDirAndFileIsExist("/proc/self/exe"), 1);
  EXPECT_EQ(CheckDirAndFileIsExist("/proc"), 1);
  EXPECT_EQ(CheckDirAndFileIsExist("/proc/nothing here"), 0);
}

}  // namespace
