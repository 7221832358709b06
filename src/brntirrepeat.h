// Repeated infrared codes: the repeat sequence of a Pronto code, written out as often as it is to be sent.
#pragma once

#include <string>

#include "OSTypes.h"

// Longest text and most words that a repeated code may have.
constexpr UInt32 kIrBufSize = 2581;

// Lays the repeat sequence of the Pronto text down repeat times in a row. False when data is to be sent as it is: less
// than two repeats, a text too long or not in the raw form, or a result without room (each logged).
//
// Worker thread only: works in static buffers, so that a burst allocates nothing. The result points into one of them
// and lives until the next call.
bool ExtendIrData(SInt32 repeat, const std::string& data, const char** result);
