#include "brntglobalcache.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "OSTypes.h"

namespace {

// Positions in the list.
constexpr UInt32 kFrequency = 0;  // Hz
constexpr UInt32 kRepeat = 1;
constexpr UInt32 kOffset = 2;  // where the repeating part begins, counted from 1 at the first duration
constexpr UInt32 kFirstDuration = 3;

constexpr UInt32 kValuesMax = 254;           // a longer list is no code
constexpr UInt32 kValuesMin = 8;             // as is a shorter one
constexpr UInt32 kRepeatableValuesMax = 99;  // a longer list is not repeated
constexpr UInt32 kWordsMax = 256;
constexpr UInt32 kPronto = 4145146;  // Pronto clock ticks per second
constexpr UInt32 kHeaderWords = 4;
constexpr UInt32 kRepeatPairs = 2;
constexpr int kDigits = 4;  // of one word; a blank follows

// A list in memory: the values as read, and how many there are once the repeating part has been appended. What was
// appended is not stored: it is the values from u32RepeatFrom on, over and over.
struct T_CodeList {
  std::array<UInt16, kValuesMax> values{};
  UInt32 u32Read = 0;
  UInt32 u32Count = 0;
  UInt32 u32RepeatFrom = 0;

  UInt16 At(UInt32 index) const {
    if (index < u32Read) return values[index];
    return values[u32RepeatFrom + (index - u32Read) % (u32Read - u32RepeatFrom)];
  }
};

bool ReadList(const char* text, T_CodeList* pList) {
  for (const char* at = text + std::strspn(text, ","); *at != '\0'; at += std::strspn(at, ",")) {
    if (pList->u32Read == kValuesMax) return false;
    pList->values[pList->u32Read++] = static_cast<UInt16>(std::strtol(at, nullptr, 10));
    at += std::strcspn(at, ",");
  }
  pList->u32Count = pList->u32Read;
  return pList->u32Read >= kValuesMin;
}

// Appends the repeating part for every repeat after the first. Nothing is appended when the offset is 0 or points past
// the list.
void Repeat(size_t textLength, T_CodeList* pList) {
  const UInt32 offset = pList->values[kOffset];
  const UInt32 from = offset + kFirstDuration - 1;
  if (offset == 0 || from >= pList->u32Read || pList->u32Read > kRepeatableValuesMax) return;
  pList->u32RepeatFrom = from;
  const UInt32 part = pList->u32Read - from;
  for (UInt32 repeat = pList->values[kRepeat]; repeat >= 2; --repeat) {
    // Deliberate: the length of the text bounds the number of values.
    if (pList->u32Count + part >= textLength) break;
    pList->u32Count += part;
  }
}

UInt16 ProntoWord(const T_CodeList& list, UInt32 index) {
  switch (index) {
    case 0:
      return 0;  // a raw code
    case 1: {
      const UInt32 frequency = list.values[kFrequency];
      return frequency == 0 ? UInt16{0} : static_cast<UInt16>(kPronto / frequency);
    }
    case 2:
      // Deliberate: all pairs but the last two are sent once, whatever part of the list repeats.
      return static_cast<UInt16>((list.u32Count - kFirstDuration) / 2 - kRepeatPairs);
    case 3:
      return kRepeatPairs;
    default:
      return list.At(index - kHeaderWords + kFirstDuration);
  }
}

}  // namespace

int App_GlobalCache_To_Pronto(const char* in, char* out, int size) {
  T_CodeList list;
  if (!ReadList(in, &list)) return -1;
  Repeat(std::strlen(in), &list);
  if (size <= kDigits) {
    if (size > 0) out[0] = '\0';
    return -1;
  }
  const UInt32 words = std::min(list.u32Count + 1, kWordsMax);
  int at = 0;
  for (UInt32 i = 0; i < words && at < size - kDigits; ++i) {
    // Where only a word's digits fit, snprintf leaves the blank out.
    std::snprintf(out + at, static_cast<size_t>(size - at), "%04x ", ProntoWord(list, i));
    at += kDigits + 1;
  }
  return at - 1;
}
