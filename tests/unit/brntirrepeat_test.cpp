#include "brntirrepeat.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "logcapture.h"

namespace {

// The repeated code, or nothing when the data is to be sent as it is.
std::optional<std::string> Extend(SInt32 repeat, const std::string& data) {
  const char* result = nullptr;
  if (!ExtendIrData(repeat, data, &result)) return std::nullopt;
  return std::string(result);
}

std::string Join(const std::vector<unsigned long>& words, const std::string& separator = " ") {
  std::string text;
  for (unsigned long word : words) {
    char digits[24];
    std::snprintf(digits, sizeof digits, "%04lx", word);
    text += (text.empty() ? "" : separator) + digits;
  }
  return text;
}

constexpr char kCode[] = "0000 006d 0002 0002 0001 0002 0003 0004 0005 0006 0007 0008";

TEST(IrRepeat, LaysTheRepeatSequenceDownAsOftenAsAsked) {
  EXPECT_EQ(Extend(3, kCode),
            "0000 006d 0002 0006 0001 0002 0003 0004 0005 0006 0007 0008 0005 0006 0007 0008 0005 0006 0007 0008");
}

TEST(IrRepeat, TakesEverySeparator) {
  EXPECT_EQ(Extend(2, "\n0000,006d ,0000\r\n0001,,000a \r 000b\n"), "0000 006d 0000 0002 000a 000b 000a 000b");
}

TEST(IrRepeat, WritesLowerCaseWordsOfFourDigits) {
  EXPECT_EQ(Extend(2, "0 6D 0 1 A 0x1F"), "0000 006d 0000 0002 000a 001f 000a 001f");
}

TEST(IrRepeat, FillsUpWithZerosWhatTheCodePromisesAndDoesNotHold) {
  EXPECT_EQ(Extend(2, "0000 006d 0001 0001 000a 000b"), "0000 006d 0001 0002 000a 000b 0000 0000 0000 0000");
}

TEST(IrRepeat, DropsWordsBehindTheRepeatSequence) {
  EXPECT_EQ(Extend(2, "0000 006d 0000 0001 000a 000b 000c 000d"), "0000 006d 0000 0002 000a 000b 000a 000b");
}

TEST(IrRepeat, OfACodeWithoutARepeatSequenceIsTheOnceSequence) {
  EXPECT_EQ(Extend(9, "0000 006d 0001 0000 000a 000b"), "0000 006d 0001 0000 000a 000b");
}

struct T_AsItIsRow {
  const char* name;
  SInt32 repeat;
  std::string data;
  int priority;
  std::string line;
};
class IrAsItIs : public testing::TestWithParam<T_AsItIsRow> {};

TEST_P(IrAsItIs, IsSentUnchangedAndTheLogSaysWhy) {
  const CLogCapture log;
  EXPECT_EQ(Extend(GetParam().repeat, GetParam().data), std::nullopt);
  EXPECT_EQ(log.PriorityOf(GetParam().line), GetParam().priority) << GetParam().line;
}

INSTANTIATE_TEST_SUITE_P(
    Rows, IrAsItIs,
    testing::Values(T_AsItIsRow{"Repeat1", 1, kCode, 600, "IR data repeat count:1, just send raw ir data"},
                    T_AsItIsRow{"Repeat0", 0, kCode, 600, "IR data repeat count:0, just send raw ir data"},
                    T_AsItIsRow{"NegativeRepeat", -1, kCode, 600, "IR data repeat count:-1, just send raw ir data"},
                    T_AsItIsRow{"TextOf2581Characters", 2, std::string(2581, '0'), 600,
                                "IR data too long : 2581, just sendout raw ir data"},
                    T_AsItIsRow{"NotRaw", 2, "5000 006d 0000 0001 000a 000b", 300, "not raw pronto format\n"},
                    T_AsItIsRow{"FiveWords", 2, "0000 006d 0000 0001 000a", 300, "not enough pronto format\n"},
                    T_AsItIsRow{"NoWords", 2, " , ", 300, "not enough pronto format\n"},
                    T_AsItIsRow{"Empty", 2, "", 300, "not enough pronto format\n"},
                    T_AsItIsRow{"Over2581Words", 255, "0000 006d 0000 0006 1 2 3 4 5 6 7 8 9 a b c", 300,
                                "error: IR code is too long\n"},
                    T_AsItIsRow{"Over516Words", 2, "0000 006d 0000 0081 1 2 3 4", 300, "error: IR code is too long\n"},
                    T_AsItIsRow{"HugeOnceSequence", 2, "0000 006d ffffffff 0001 1 2 3 4", 300,
                                "error: IR code is too long\n"},
                    T_AsItIsRow{"HugeRepeatSequence", 2147483647, "0000 006d ffffffff ffffffff 1 2 3 4", 300,
                                "error: IR code is too long\n"},
                    T_AsItIsRow{"WordsOfEightDigitsPastTheBuffer", 128, "0 6d 0 2 ffffffff ffffffff ffffffff ffffffff",
                                300, "error: IR code is too long\n"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(IrRepeat, SaysThatTheRawDataGoesOutWhenTheResultHasNoRoom) {
  const CLogCapture log;
  EXPECT_EQ(Extend(2, "0000 006d 0000 0081 1 2 3 4"), std::nullopt);
  EXPECT_EQ(log.Texts(), (std::vector<std::string>{"error: IR code is too long\n", "IR data after extend: ",
                                                   "IR data extend failed, just sendout raw ir data"}));
}

TEST(IrRepeat, SaysWhatItMadeOfTheCode) {
  const CLogCapture log;
  Extend(2, "0000 006d 0000 0001 000a 000b");
  EXPECT_EQ(log.PriorityOf("IR data after extend: 0000 006d 0000 0002 000a 000b 000a 000b"), 600);
}

TEST(IrRepeat, LeavesACodeOf516WordsInPlace) {
  // 4 + 2 * 256 words.
  const auto code = Extend(256, "0000 006d 0000 0001 000a 000b");
  ASSERT_TRUE(code.has_value());
  EXPECT_EQ(code->size(), 516u * 5 - 1);
  EXPECT_EQ(code->substr(0, 29), "0000 006d 0000 0100 000a 000b");
}

TEST(IrRepeat, OfA2580CharacterTextIsTried) {
  const std::string words = "0000 006d 0000 0001 000a 000b";
  const auto code = Extend(2, words + std::string(2580 - words.size(), ' '));
  EXPECT_EQ(code, "0000 006d 0000 0002 000a 000b 000a 000b");
}

TEST(IrRepeat, KeepsNothingOfTheCodeBefore) {
  Extend(2, kCode);
  EXPECT_EQ(Extend(2, "0000 006d 0001 0001 000a 000b"), "0000 006d 0001 0002 000a 000b 0000 0000 0000 0000");
}

// The same once more, slow and straight from its description.
std::optional<std::string> SlowExtend(SInt32 repeat, const std::string& data) {
  if (repeat < 2 || data.size() >= 2581) return std::nullopt;
  std::vector<unsigned long> words;
  for (size_t at = 0; (at = data.find_first_not_of(" ,\n\r", at)) != std::string::npos;) {
    const size_t end = std::min(data.find_first_of(" ,\n\r", at), data.size());
    words.push_back(std::strtoul(data.substr(at, end - at).c_str(), nullptr, 16) & 0xffffffffu);
    at = end;
  }
  if (words.empty() || words[0] != 0 || words.size() < 6) return std::nullopt;
  const unsigned __int128 start = (static_cast<unsigned __int128>(words[2]) + 2) * 2;
  const unsigned __int128 length = static_cast<unsigned __int128>(words[3]) * 2;
  const unsigned __int128 total = start + static_cast<unsigned>(repeat) * length;
  if (total > 2581 || total * 5 > 2580) return std::nullopt;
  words.resize(2581);
  std::vector<unsigned long> result(words.begin(), words.begin() + static_cast<long>(start));
  const std::vector<unsigned long> part(words.begin() + static_cast<long>(start),
                                        words.begin() + static_cast<long>(start + length));
  for (SInt32 i = 0; i < repeat && !part.empty(); ++i) result.insert(result.end(), part.begin(), part.end());
  result[3] = words[3] * static_cast<unsigned>(repeat) & 0xffffffffu;
  const std::string text = Join(result);
  if (text.size() > 2580) return std::nullopt;
  return text;
}

class IrRandom {
 public:
  std::string NextCode() {
    const unsigned once = Below(20);
    const unsigned part = Below(12);
    std::vector<unsigned long> words = {Below(50) == 0 ? Below(0x10000) : 0, 109, once, part};
    if (Below(50) == 0) words[2 + Below(2)] = m_random();
    const unsigned long count = 2 * (once + part) + Below(3) - (Below(10) == 0 ? 3 : 0);
    for (unsigned long i = 0; i < count && i < 500; ++i) words.push_back(NextWord());
    std::string text = Join(words, Separator());
    if (Below(20) == 0) text[Below(static_cast<unsigned>(text.size()))] = "g -x,\n\r\t"[Below(8)];
    return text;
  }

  SInt32 NextRepeat() { return Below(10) == 0 ? static_cast<SInt32>(m_random()) : static_cast<SInt32>(Below(40)); }

 private:
  unsigned Below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

  unsigned long NextWord() { return Below(100) == 0 ? m_random() : Below(0x10000); }

  std::string Separator() {
    static const char* const kSeparators[] = {" ", ",", ", ", "\r\n", " \n"};
    return kSeparators[Below(5)];
  }

  std::mt19937 m_random{19991231};
};

TEST(IrRepeat, AgreesWithTheSlowExpansionOnRandomCodes) {
  IrRandom random;
  int extended = 0;
  for (int i = 0; i < 10000; ++i) {
    const std::string code = random.NextCode();
    const SInt32 repeat = random.NextRepeat();
    const std::optional<std::string> expected = SlowExtend(repeat, code);
    ASSERT_EQ(Extend(repeat, code), expected) << repeat << " times " << code;
    if (expected.has_value()) ++extended;
  }
  EXPECT_GT(extended, 3000);
}

}  // namespace
