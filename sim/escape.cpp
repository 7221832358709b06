#include "escape.h"

#include <cstdio>

namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

namespace escape {

std::string Escape(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7f) {
      out += c;
      continue;
    }
    char text[8];
    std::snprintf(text, sizeof text, "\\x%02x", byte);
    out += text;
  }
  return out;
}

std::optional<std::string> Unescape(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      out += text[i];
      continue;
    }
    if (++i == text.size()) return std::nullopt;
    switch (text[i]) {
      case 't':
        out += '\t';
        break;
      case 'r':
        out += '\r';
        break;
      case 'n':
        out += '\n';
        break;
      case '\\':
        out += '\\';
        break;
      case 'x': {
        if (text.size() - i < 3 || HexDigit(text[i + 1]) < 0 || HexDigit(text[i + 2]) < 0) return std::nullopt;
        out += static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
        i += 2;
        break;
      }
      default:
        return std::nullopt;
    }
  }
  return out;
}

}  // namespace escape
