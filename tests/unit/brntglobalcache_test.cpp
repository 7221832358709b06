#include "brntglobalcache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr char kUntouched = '#';

struct T_Conversion {
  int result;
  std::string text;  // what stands in the buffer before its zero
};

// Converts into a buffer of exactly size bytes, so that a sanitizer sees a byte too many.
T_Conversion Convert(const std::string& list, int size = 2048) {
  std::vector<char> buffer(static_cast<size_t>(size), kUntouched);
  const int result = App_GlobalCache_To_Pronto(list.c_str(), buffer.data(), size);
  const auto end = std::find(buffer.begin(), buffer.end(), '\0');
  return {result, std::string(buffer.begin(), end)};
}

std::string Words(const std::vector<unsigned>& words) {
  std::string text;
  for (unsigned word : words) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%04x ", word & 0xffffu);
    text += digits;
  }
  return text;
}

std::string List(std::vector<int> values) {
  std::string text;
  for (int value : values) text += (text.empty() ? "" : ",") + std::to_string(value);
  return text;
}

// frequency, repeat, offset, then count durations 1, 2, 3, ...
std::string Code(int repeat, int offset, int durations) {
  std::vector<int> values = {38000, repeat, offset};
  for (int i = 1; i <= durations; ++i) values.push_back(i);
  return List(values);
}

TEST(GlobalCache, BecomesARawCodeWithItsLastTwoPairsAsTheRepeatSequence) {
  const T_Conversion done = Convert("38000,1,1,10,20,30,40,50,60");
  EXPECT_EQ(done.text, "0000 006d 0001 0002 000a 0014 001e 0028 0032 003c ");
  EXPECT_EQ(done.result, 49);
}

TEST(GlobalCache, NeedsEightValues) {
  EXPECT_EQ(Convert(Code(1, 1, 4)).result, -1);
  EXPECT_EQ(Convert(Code(1, 1, 5)).text, Words({0, 109, 0, 2, 1, 2, 3, 4, 5}));
}

struct T_NoCodeRow {
  const char* name;
  const char* list;
};
class GlobalCacheNoCode : public testing::TestWithParam<T_NoCodeRow> {};

TEST_P(GlobalCacheNoCode, FailsAndLeavesTheBufferAlone) {
  const T_Conversion done = Convert(GetParam().list, 16);
  EXPECT_EQ(done.result, -1);
  EXPECT_EQ(done.text, std::string(16, kUntouched));
}

INSTANTIATE_TEST_SUITE_P(Rows, GlobalCacheNoCode,
                         testing::Values(T_NoCodeRow{"Empty", ""}, T_NoCodeRow{"OnlyCommas", ",,,,,,,,,,"},
                                         T_NoCodeRow{"NoNumbers", "pronto"},
                                         T_NoCodeRow{"SevenValues", "38000,1,1,10,20,30,40"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(GlobalCache, SkipsEmptyFieldsAndReadsWhatIsNoNumberAs0) {
  EXPECT_EQ(Convert(",38000,,1,1, 10,x,30z,-1,65537,").text, Words({0, 109, 0, 2, 10, 0, 30, 0xffff, 1}));
}

TEST(GlobalCache, TakesAFrequencyOf0AsNoCarrier) {
  EXPECT_EQ(Convert("0,1,1,1,2,3,4,5,6").text, Words({0, 0, 1, 2, 1, 2, 3, 4, 5, 6}));
}

TEST(GlobalCache, CutsTheCarrierTo16Bits) {
  EXPECT_EQ(Convert("1,1,1,1,2,3,4,5,6").text.substr(5, 4), "3ffa");  // 4145146 = 0x3f3ffa
}

TEST(GlobalCache, TakesAtMost254Values) {
  EXPECT_EQ(Convert(Code(1, 1, 251)).result, 255 * 5 - 1);
  EXPECT_EQ(Convert(Code(1, 1, 252)).result, -1);
}

TEST(GlobalCache, AppendsTheRepeatingPartForEachRepeatAfterTheFirst) {
  EXPECT_EQ(Convert(Code(3, 5, 6)).text, Words({0, 109, 3, 2, 1, 2, 3, 4, 5, 6, 5, 6, 5, 6}));
}

TEST(GlobalCache, RepeatsTheWholeListFromOffset1) {
  EXPECT_EQ(Convert(Code(2, 1, 6)).text, Words({0, 109, 4, 2, 1, 2, 3, 4, 5, 6, 1, 2, 3, 4, 5, 6}));
}

TEST(GlobalCache, OfRepeat1Or0IsNotRepeated) {
  EXPECT_EQ(Convert(Code(0, 1, 6)).text, Words({0, 109, 1, 2, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(Convert(Code(1, 1, 6)).text, Words({0, 109, 1, 2, 1, 2, 3, 4, 5, 6}));
}

TEST(GlobalCache, AppendsNothingForAnOffsetOf0OrPastTheEnd) {
  const std::string once = Words({0, 109, 1, 2, 1, 2, 3, 4, 5, 6});
  EXPECT_EQ(Convert(Code(3, 0, 6)).text, once);
  EXPECT_EQ(Convert(Code(3, 7, 6)).text, once);
  EXPECT_EQ(Convert(Code(3, 60000, 6)).text, once);
}

TEST(GlobalCache, RepeatsAtMost99Values) {
  EXPECT_GT(Convert(Code(2, 1, 96)).result, Convert(Code(1, 1, 96)).result);
  EXPECT_EQ(Convert(Code(2, 1, 97)).result, Convert(Code(1, 1, 97)).result);
}

TEST(GlobalCache, GrowsDeliberatelyOnlyWhileItHasFewerValuesThanItsTextHasCharacters) {
  // 9 values in a text of 21 characters: one more pass makes 15, the next would make 21.
  const std::string list = "38000,9,1,1,2,3,4,5,6";
  ASSERT_EQ(list.size(), 21u);
  EXPECT_EQ(Convert(list).text, Words({0, 109, 4, 2, 1, 2, 3, 4, 5, 6, 1, 2, 3, 4, 5, 6}));
}

TEST(GlobalCache, CountsPairsBeyondTheWordsThatItWrites) {
  // 93 values in a text of 273 characters: three more with each pass make 270, of which 255 find room.
  const std::string list = Code(200, 88, 90);
  ASSERT_EQ(list.size(), 273u);
  const T_Conversion done = Convert(list);
  EXPECT_EQ(done.result, 256 * 5 - 1);
  EXPECT_EQ(done.text.substr(10, 4), "0083");  // (270 - 3) / 2 - 2 pairs
  EXPECT_EQ(done.text.substr(252 * 5), Words({90, 88, 89, 90}));
}

struct T_RoomRow {
  const char* name;
  int size;
  int result;
  const char* text;
};
class GlobalCacheRoom : public testing::TestWithParam<T_RoomRow> {};

TEST_P(GlobalCacheRoom, IsNeverExceeded) {
  const T_Conversion done = Convert("38000,1,1,10,20,30,40,50,60", GetParam().size);
  EXPECT_EQ(done.result, GetParam().result);
  EXPECT_EQ(done.text, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, GlobalCacheRoom,
    testing::Values(T_RoomRow{"None", 0, -1, ""}, T_RoomRow{"OnlyTheZero", 1, -1, ""},
                    T_RoomRow{"NoRoomForAWord", 4, -1, ""}, T_RoomRow{"OneWordWithoutItsBlank", 5, 4, "0000"},
                    T_RoomRow{"OneWord", 6, 4, "0000 "}, T_RoomRow{"StillOneWord", 9, 4, "0000 "},
                    T_RoomRow{"TwoWordsWithoutTheLastBlank", 10, 9, "0000 006d"},
                    T_RoomRow{"AllButTheLastBlank", 50, 49, "0000 006d 0001 0002 000a 0014 001e 0028 0032 003c"},
                    T_RoomRow{"All", 51, 49, "0000 006d 0001 0002 000a 0014 001e 0028 0032 003c "}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(GlobalCache, LeavesABufferOfNoOrNegativeSizeAlone) {
  char byte = kUntouched;
  EXPECT_EQ(App_GlobalCache_To_Pronto("38000,1,1,1,2,3,4,5,6", &byte, 0), -1);
  EXPECT_EQ(App_GlobalCache_To_Pronto("38000,1,1,1,2,3,4,5,6", &byte, -7), -1);
  EXPECT_EQ(byte, kUntouched);
}

// The same conversion once more, slow and straight from its description: the list is grown in memory, all words are
// made, the text is put together whole and cut at the end.
T_Conversion SlowConvert(const std::string& list, int size) {
  const T_Conversion failed = {-1, std::string(static_cast<size_t>(size), kUntouched)};
  std::vector<unsigned> values;
  std::istringstream fields(list);
  for (std::string field; std::getline(fields, field, ',');) {
    if (!field.empty()) values.push_back(static_cast<std::uint16_t>(std::strtol(field.c_str(), nullptr, 10)));
  }
  if (values.size() > 254 || values.size() < 8) return failed;
  const unsigned offset = values[2];
  if (values.size() <= 99 && offset > 0 && offset + 2 < values.size()) {
    const std::vector<unsigned> part(values.begin() + offset + 2, values.end());
    for (unsigned repeat = values[1]; repeat >= 2; --repeat) {
      if (values.size() + part.size() < list.size()) values.insert(values.end(), part.begin(), part.end());
    }
  }
  std::vector<unsigned> words = {0, values[0] == 0 ? 0 : 4145146 / values[0],
                                 static_cast<unsigned>((values.size() - 3) / 2 - 2), 2};
  words.insert(words.end(), values.begin() + 3, values.end());
  if (words.size() > 256) words.resize(256);
  if (size - 4 <= 0) return {-1, ""};
  const size_t fit = static_cast<size_t>(size - 4 + 4) / 5;  // words that begin before size - 4
  if (words.size() > fit) words.resize(fit);
  std::string text = Words(words);
  const int result = static_cast<int>(text.size()) - 1;
  if (text.size() >= static_cast<size_t>(size)) text.resize(static_cast<size_t>(size) - 1);
  return {result, text};
}

class GlobalCacheRandom {
 public:
  std::string NextList() {
    std::string list;
    const unsigned count = Below(8) == 0 ? Below(300) : 5 + Below(110);
    for (unsigned i = 0; i < count; ++i) {
      if (i > 0) list += ',';
      list += NextField(i);
    }
    return list;
  }

  int NextSize() { return Below(4) == 0 ? 1 + static_cast<int>(Below(1400)) : 2048; }

 private:
  unsigned Below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

  std::string NextField(unsigned index) {
    if (Below(200) == 0) return Junk();
    if (index == 1) return std::to_string(Below(12));
    if (index == 2) return std::to_string(Below(10) == 0 ? Below(70000) : Below(20));
    return std::to_string(Below(3) == 0 ? Below(100000) : Below(400));
  }

  std::string Junk() {
    static const char* const kJunk[] = {"", " 7", "-3", "x", "9z", "99999999999999999999", "\t5"};
    return kJunk[Below(7)];
  }

  std::mt19937 m_random{20240607};
};

TEST(GlobalCache, AgreesWithTheSlowConversionOnRandomLists) {
  GlobalCacheRandom random;
  int converted = 0;
  for (int i = 0; i < 10000; ++i) {
    const std::string list = random.NextList();
    const int size = random.NextSize();
    const T_Conversion expected = SlowConvert(list, size);
    const T_Conversion done = Convert(list, size);
    ASSERT_EQ(done.result, expected.result) << list << " into " << size;
    ASSERT_EQ(done.text, expected.text) << list << " into " << size;
    if (done.result > 0) ++converted;
  }
  EXPECT_GT(converted, 5000);
}

}  // namespace
