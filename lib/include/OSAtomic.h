// Atomic operations on shared counters.
#pragma once

#include <atomic>

#include "OSTypes.h"

// Adds value and returns the sum; wraps around.
inline UInt32 zp_atomic_add(std::atomic<UInt32>* area, UInt32 value) { return area->fetch_add(value) + value; }

// Stores newValue if the area holds oldValue. True when it did.
inline bool zp_compare_and_store(UInt32 oldValue, UInt32 newValue, std::atomic<UInt32>* area) {
  return area->compare_exchange_strong(oldValue, newValue);
}
