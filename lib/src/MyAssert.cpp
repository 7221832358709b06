#include "MyAssert.h"

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kTextBytes = 255;

}  // namespace

void MyAssert(const char* text) {
  std::fprintf(stderr, "%s\n", text);
  std::abort();
}

void MyAssertAt(const char* file, int line) {
  char text[kTextBytes];
  std::snprintf(text, sizeof text, "_Assert: %s, %d", file, line);
  MyAssert(text);
}

void MyAssertAtV(const char* file, int line, int value) {
  char text[kTextBytes];
  std::snprintf(text, sizeof text, "_AssertV: %s, %d (%d)", file, line, value);
  MyAssert(text);
}
