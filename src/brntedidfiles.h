// The EDID files of the local device: /tmp/dec.edid of its HDMI input, /tmp/mon.edid of the attached monitor, each with
// a ".bin" twin.
#pragma once

#include <json/value.h>

#include <string>

// Saves what the document of device deviceId in a reply's "devices" array says. An EDID that the document does not tell
// leaves its files alone, with an ERROR line; one that is too short, and that of a monitor which is not connected,
// removes them. Proxy task.
void SaveEdidFiles(const Json::Value& devices, const std::string& deviceId);
