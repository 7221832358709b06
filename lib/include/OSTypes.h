// Integer types named by width and sign, used throughout the process.
#pragma once

#include <cstdint>

using UInt8 = std::uint8_t;
using SInt8 = std::int8_t;
using UInt16 = std::uint16_t;
using SInt16 = std::int16_t;
using UInt32 = std::uint32_t;
using SInt32 = std::int32_t;
using UInt64 = std::uint64_t;
using SInt64 = std::int64_t;

// A truth value of 16 bits: 0 is false, anything else true.
using Bool16 = UInt16;
