#include "MyAssert.h"

#include <gtest/gtest.h>

#include <string>

class AssertDeathTest : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(AssertDeathTest, WritesItsTextToStandardErrorAndAborts) {
  EXPECT_EXIT(MyAssert("some text"), testing::KilledBySignal(SIGABRT), "^some text\n");
}

TEST_F(AssertDeathTest, NamesFileAndLine) { EXPECT_DEATH(MyAssertAt("lib/x.h", 157), "^_Assert: lib/x.h, 157\n"); }

TEST_F(AssertDeathTest, NamesFileLineAndValue) {
  EXPECT_DEATH(MyAssertAtV("lib/x.h", 404, 9), "^_AssertV: lib/x.h, 404 \\(9\\)\n");
}

TEST_F(AssertDeathTest, CutsItsTextTo255BytesWithTheClosingZero) {
  const std::string file(300, 'x');
  EXPECT_DEATH(MyAssertAt(file.c_str(), 1), "^_Assert: x{245}\n");
}

TEST_F(AssertDeathTest, AFailedCheckSaysWhereItStands) {
  EXPECT_DEATH(ZP_ASSERT(1 == 2), "^_Assert: .*MyAssert_test.cpp, [0-9]+\n");
  EXPECT_DEATH(ZP_ASSERT_V(1 == 2, 42), "^_AssertV: .*MyAssert_test.cpp, [0-9]+ \\(42\\)\n");
}

TEST(Assert, ACheckThatHoldsDoesNothing) {
  int looks = 0;
  ZP_ASSERT(++looks == 1);
  ZP_ASSERT_V(++looks == 2, 0);
  EXPECT_EQ(looks, 2);
}
