// Names and numbers of streams, as commands and requests write them.
#pragma once

#include <string>

#include "OSTypes.h"
#include "stringprocess.h"

// Deliberate: the spellings differ from request to request; the API server matches them without regard to case.
constexpr char kVideoStream[] = "HDMI";
constexpr char kVideoStreamToStart[] = "hdmi";
constexpr char kAudioStream[] = "HDMI_AUDIO";
constexpr char kAudioSubscription[] = "hdmi_audio";
constexpr char kAudioSourceHdmi[] = "hdmi-audio";  // of the HDMI output
constexpr char kInfraredStream[] = "INFRARED";
constexpr char kSerialStream[] = "RS232";
constexpr char kUsbHidStream[] = "USB_HID";

// What CBrntDevice::GetMultyAddressFromStr makes an address for.
constexpr int kAddressOfVideo0 = 1;
constexpr int kAddressOfVideo1 = 2;
constexpr int kAddressOfAudio = 4;

// An encoder's video streams.
constexpr SInt32 kFullStream = 0;
constexpr SInt32 kScaledStream = 1;

constexpr int kAllSubscriptions = -1;  // the index that leaves all of a type

// True for the names that say "no source", by their first four characters; the empty text is not among them.
inline bool IsNoSourceName(const std::string& device) {
  return StrProcess::HasPrefixNoCase(device, "null") || StrProcess::HasPrefixNoCase(device, "none");
}
