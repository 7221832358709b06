// Device documents for tests: the bench's samples, and paths into them.
#pragma once

#include <json/value.h>

#include <string>

namespace devicedocs {

// The device in sim/samples/<name>.json, for example "device-tx". One thread at a time.
Json::Value Sample(const std::string& name);

// The place that a path such as "nodes[HDMI_DECODER:0].inputs[main:0].configuration.source.value" names; members that
// are missing are made. A list element is found by its "type" (or "name") and "index", and must be there.
Json::Value& At(Json::Value& document, const std::string& path);

// The same for reading; null when something on the way is missing.
const Json::Value* Find(const Json::Value& document, const std::string& path);

// Takes the member at the end of path out of the document; an element of a list too.
void Remove(Json::Value& document, const std::string& path);

// The value that JSON text stands for; anything but JSON throws.
Json::Value FromText(const std::string& text);

}  // namespace devicedocs
