#include "stringprocess.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "brntlog.h"

namespace {

constexpr size_t kIrGroupSize = 5;  // four digits and the space after them

// The C library's tests depend on the locale and take no negative char; these do not.
bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }
char ToUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsCutLength(const std::string& text, int n) { return n >= 1 && static_cast<size_t>(n) <= text.size(); }

}  // namespace

int StrProcess::IsEmpty(const std::string& text) { return text.empty() ? 1 : 0; }

int StrProcess::IsEmpty(const char* text) { return text == nullptr || *text == '\0' ? 1 : 0; }

int StrProcess::FindFlagFromStr(const std::string& text, const char* flag) {
  return text.find(flag) != std::string::npos ? 1 : 0;
}

int StrProcess::StrToInt(const char* text) { return static_cast<int>(std::strtol(text, nullptr, 10)); }

int StrProcess::IsHexData(const std::string& text) {
  // Deliberate: an empty text has no character that is not hexadecimal.
  return std::all_of(text.begin(), text.end(), IsHexDigit) ? 1 : 0;
}

int StrProcess::IsIrData(const std::string& text) {
  if (text.empty()) {
    HLOG_ERROR("input is NULL");
    return 0;
  }
  for (size_t number = 1; number <= text.size(); ++number) {
    const char c = text[number - 1];
    if (number % kIrGroupSize == 0) {
      if (c == ' ') continue;
      HLOG_ERROR("%d is not space", static_cast<int>(number));
      return 0;
    }
    if (!IsHexDigit(c)) {
      HLOG_ERROR("%d is not hex data", static_cast<int>(number));
      return 0;
    }
  }
  return 1;
}

int StrProcess::DeleteAllChar(std::string& text, char c) {
  if (text.empty()) {
    HLOG_ERROR("input is NULL");
    return 0;
  }
  text.erase(std::remove(text.begin(), text.end(), c), text.end());
  return 1;
}

int StrProcess::Lowercase2Uppercase(const std::string& in, std::string& out) {
  if (in.empty()) return 0;
  out.reserve(out.size() + in.size());
  for (char c : std::string(in)) out += ToUpper(c);  // a copy: in and out may be the same text
  return 1;
}

int StrProcess::Uppercase2Lowercase(const std::string& in, std::string& out) {
  if (in.empty()) return 0;
  for (char c : std::string(in)) out += ToLower(c);
  return 1;
}

int StrProcess::Cut2GetHeadStr(const std::string& text, int n, std::string& out) {
  if (!IsCutLength(text, n)) return 0;
  out = text.substr(0, static_cast<size_t>(n));
  return 1;
}

int StrProcess::Cut2GetTailStr(const std::string& text, int n, std::string& out) {
  if (!IsCutLength(text, n)) return 0;
  out = text.substr(text.size() - static_cast<size_t>(n));
  return 1;
}

int StrProcess::SplitStr(const std::string& text, const char* delimiter, int n, std::string& out) {
  const size_t width = std::strlen(delimiter);
  if (n < 1 || width == 0) return 0;
  size_t begin = 0;
  int taken = 0;
  for (size_t end = text.find(delimiter); end != std::string::npos; end = text.find(delimiter, begin)) {
    if (++taken == n) {
      out = text.substr(begin, end - begin);
      return 1;
    }
    begin = end + width;
  }
  // The last field counts only when there is something in it.
  if (taken != n - 1 || begin == text.size()) return 0;
  out = text.substr(begin);
  return 1;
}

bool StrProcess::HasPrefixNoCase(const std::string& text, const char* prefix) {
  return strncasecmp(text.c_str(), prefix, std::strlen(prefix)) == 0;
}

bool StrProcess::EqualsNoCase(const std::string& a, const std::string& b) {
  return a.size() == b.size() && strncasecmp(a.c_str(), b.c_str(), a.size()) == 0;
}

int CheckDirAndFileIsExist(const char* path) { return access(path, F_OK) == 0 ? 1 : 0; }
