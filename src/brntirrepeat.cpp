#include "brntirrepeat.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "brntlog.h"

namespace {

// Positions in a Pronto code.
constexpr UInt32 kFormatWord = 0;       // 0000: raw
constexpr UInt32 kOncePairsWord = 2;    // burst pairs sent once
constexpr UInt32 kRepeatPairsWord = 3;  // burst pairs of the repeat sequence
constexpr UInt32 kHeaderWords = 4;
constexpr UInt32 kWordsMin = 6;
constexpr UInt32 kCharsPerWord = 5;  // four digits and a blank

constexpr char sep[] = " , \n\r";

// Scratch of the worker thread.
UInt32 pronto_hex[kIrBufSize];
char g_szIrBuf[kIrBufSize];

// Reads the pieces of the text in g_szIrBuf into pronto_hex; the number of words.
UInt32 SplitWords() {
  UInt32 words = 0;
  for (char* at = g_szIrBuf + std::strspn(g_szIrBuf, sep); *at != '\0'; at += std::strspn(at, sep)) {
    char* end = at + std::strcspn(at, sep);
    const char after = *end;
    *end = '\0';
    pronto_hex[words++] = static_cast<UInt32>(std::strtoul(at, nullptr, 16));
    *end = after;
    at = end;
  }
  return words;
}

// Lays the repeat sequence down repeat times; the number of words then, 0 when they have no room.
UInt32 RepeatWords(UInt32 repeat) {
  // 64 bits hold every product and sum of these.
  const UInt64 start = (UInt64{pronto_hex[kOncePairsWord]} + kHeaderWords / 2) * 2;
  const UInt64 length = UInt64{pronto_hex[kRepeatPairsWord]} * 2;
  const UInt64 total = start + repeat * length;
  if (total > kIrBufSize) return 0;
  for (UInt64 i = length; i < repeat * length; ++i) pronto_hex[start + i] = pronto_hex[start + i % length];
  pronto_hex[kRepeatPairsWord] *= repeat;
  return static_cast<UInt32>(total);
}

// Writes the words into g_szIrBuf; false when they have no room, which a word of more than four digits may need more
// of.
bool WriteWords(UInt32 words) {
  if (words * kCharsPerWord > kIrBufSize - 1) return false;
  UInt32 at = 0;
  for (UInt32 i = 0; i < words; ++i) {
    const UInt32 room = kIrBufSize - at;
    const int written = std::snprintf(g_szIrBuf + at, room, i == 0 ? "%04x" : " %04x", pronto_hex[i]);
    if (written < 0 || static_cast<UInt32>(written) >= room) return false;
    at += static_cast<UInt32>(written);
  }
  return true;
}

// The repeated code in g_szIrBuf, empty when it has no room; false when the text is none that can be repeated.
bool Extend(UInt32 repeat) {
  const UInt32 words = SplitWords();
  if (pronto_hex[kFormatWord] != 0) {
    HLOG_ERROR("not raw pronto format\n");
    return false;
  }
  if (words < kWordsMin) {
    HLOG_ERROR("not enough pronto format\n");
    return false;
  }
  const UInt32 total = RepeatWords(repeat);
  if (total == 0 || !WriteWords(total)) {
    HLOG_ERROR("error: IR code is too long\n");
    g_szIrBuf[0] = '\0';
  }
  return true;
}

}  // namespace

bool ExtendIrData(SInt32 repeat, const std::string& data, const char** result) {
  if (repeat < 2) {
    HLOG_INFO("IR data repeat count:%d, just send raw ir data", repeat);
    return false;
  }
  if (data.size() >= kIrBufSize) {
    HLOG_INFO("IR data too long : %d, just sendout raw ir data", static_cast<int>(data.size()));
    return false;
  }
  std::memset(pronto_hex, 0, sizeof pronto_hex);
  std::memset(g_szIrBuf, 0, sizeof g_szIrBuf);
  std::memcpy(g_szIrBuf, data.data(), data.size());
  const bool extended = Extend(static_cast<UInt32>(repeat));
  HLOG_INFO("IR data after extend: %s", g_szIrBuf);
  if (g_szIrBuf[0] == '\0') {
    HLOG_ERROR("IR data extend failed, just sendout raw ir data");
    return false;
  }
  if (!extended) return false;
  *result = g_szIrBuf;
  return true;
}
