// The numbers behind an output timing's text. For the brntsend*.cpp and the multiview command only.
#pragma once

#include <json/value.h>

#include <string>

#include "OSTypes.h"

struct T_VideoTiming {
  SInt32 s32Width = 0;
  SInt32 s32Height = 0;
  SInt32 s32Fps = 0;  // frames per second, never 0 once read
};

// Reads a text of the timing table; false, with out left alone, for any other. A timing without a rate runs at 60.
[[nodiscard]] bool ReadVideoTiming(const std::string& text, T_VideoTiming& out);

namespace brntsend {

// {"height", "width", "fps"}
Json::Value TimingVideo(const T_VideoTiming& timing);

}  // namespace brntsend
