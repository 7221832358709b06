#include "StrPtrLen.h"

#include <gtest/gtest.h>

TEST(StrPtrLen, IsEmptyByDefaultAndForNoText) {
  EXPECT_EQ(StrPtrLen().Len, 0U);
  EXPECT_EQ(StrPtrLen(nullptr).Len, 0U);
}

TEST(StrPtrLen, TakesATextWithoutItsClosingZero) { EXPECT_EQ(StrPtrLen("abc").Len, 3U); }

TEST(StrPtrLen, EqualComparesLengthAndBytes) {
  EXPECT_TRUE(StrPtrLen("abc").Equal(StrPtrLen("abcd", 3)));
  EXPECT_FALSE(StrPtrLen("abc").Equal(StrPtrLen("abcd")));
  EXPECT_FALSE(StrPtrLen("abc").Equal(StrPtrLen("abd")));
  EXPECT_TRUE(StrPtrLen().Equal(StrPtrLen("")));
}

TEST(StrPtrLen, EqualLooksBehindZeroBytes) { EXPECT_FALSE(StrPtrLen("a\0b", 3).Equal(StrPtrLen("a\0c", 3))); }

TEST(StrPtrLen, SetPointsItElsewhere) {
  StrPtrLen text("abc");
  text.Set("xy", 2);
  EXPECT_TRUE(text.Equal(StrPtrLen("xy")));
}
