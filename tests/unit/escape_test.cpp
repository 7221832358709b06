#include "escape.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Escape, KeepsPrintableTextAndBackslashes) { EXPECT_EQ(escape::Escape("PWR=1 ~\\"), "PWR=1 ~\\"); }

TEST(Escape, WritesOtherBytesWithLowerCaseDigits) {
  EXPECT_EQ(escape::Escape(std::string("\r\n\0\x7f\xff", 5)), "\\x0d\\x0a\\x00\\x7f\\xff");
}

TEST(Escape, ReadsEveryEscape) { EXPECT_EQ(escape::Unescape("a\\x0D\\xfF\\t\\r\\n\\\\"), "a\r\xff\t\r\n\\"); }

TEST(Escape, RefusesIncompleteAndUnknownOnes) {
  for (const char* text : {"\\", "\\x", "\\x1", "\\xg1", "\\x1g", "\\q"}) EXPECT_FALSE(escape::Unescape(text)) << text;
}

TEST(Escape, ReadsBackWhatItWrote) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) {
    if (i != '\\') bytes += static_cast<char>(i);
  }
  EXPECT_EQ(escape::Unescape(escape::Escape(bytes)), bytes);
}

}  // namespace
