// Checks of conditions that cannot be false in a sound program; a failed one ends the process.
#pragma once

// Writes text and a newline to standard error and aborts.
[[noreturn]] void MyAssert(const char* text);

// Format "_Assert: <file>, <line>" and "_AssertV: <file>, <line> (<value>)", cut to a 255-byte buffer, for MyAssert.
[[noreturn]] void MyAssertAt(const char* file, int line);
[[noreturn]] void MyAssertAtV(const char* file, int line, int value);

#define ZP_ASSERT(condition) ((condition) ? static_cast<void>(0) : MyAssertAt(__FILE__, __LINE__))
#define ZP_ASSERT_V(condition, value) ((condition) ? static_cast<void>(0) : MyAssertAtV(__FILE__, __LINE__, (value)))
