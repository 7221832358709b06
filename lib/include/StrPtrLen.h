// A run of bytes that somebody else owns.
#pragma once

#include <cstring>

#include "OSTypes.h"

struct StrPtrLen {
  StrPtrLen() = default;
  explicit StrPtrLen(const char* text) : Ptr(text), Len(text == nullptr ? 0 : static_cast<UInt32>(std::strlen(text))) {}
  StrPtrLen(const char* bytes, UInt32 length) : Ptr(bytes), Len(length) {}

  void Set(const char* bytes, UInt32 length) {
    Ptr = bytes;
    Len = length;
  }

  bool Equal(const StrPtrLen& other) const {
    return Len == other.Len && (Len == 0 || std::memcmp(Ptr, other.Ptr, Len) == 0);
  }

  const char* Ptr = nullptr;  // not necessarily closed by a zero
  UInt32 Len = 0;
};
