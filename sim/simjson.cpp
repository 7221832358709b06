#include "simjson.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

namespace {

// Members that the API server writes first, in its order; the others follow by name, "error" last of all.
constexpr std::string_view kMemberOrder[] = {"type",
                                             "name",
                                             "device_id",
                                             "device_name",
                                             "index",
                                             "event_id",
                                             "event_type",
                                             "timestamp",
                                             "request_id",
                                             "identity",
                                             "capabilities",
                                             "configuration",
                                             "status",
                                             "streams",
                                             "subscriptions",
                                             "nodes",
                                             "source",
                                             "inputs",
                                             "file_name",
                                             "chipset_type",
                                             "engine",
                                             "vendor_id",
                                             "product_id",
                                             "firmware_comment",
                                             "firmware_version",
                                             "firmware_rc",
                                             "is_receiver",
                                             "is_transmitter",
                                             "value",
                                             "choices",
                                             "description",
                                             "details",
                                             "ref_class",
                                             "ref_type",
                                             "ref_index",
                                             "width",
                                             "height",
                                             "frames_per_second",
                                             "color_space",
                                             "bits_per_pixel",
                                             "scan_mode",
                                             "video",
                                             "has_video_details",
                                             "video_details",
                                             "has_audio_details",
                                             "audio_details",
                                             "reason",
                                             "message"};

size_t Rank(const std::string& key) {
  const size_t others = std::size(kMemberOrder);
  if (key == "error") return others + 1;
  const auto* found = std::find(std::begin(kMemberOrder), std::end(kMemberOrder), key);
  return found == std::end(kMemberOrder) ? others : static_cast<size_t>(found - std::begin(kMemberOrder));
}

void Append(const Json::Value& value, std::string& out);

void AppendObject(const Json::Value& object, std::string& out) {
  std::vector<std::pair<size_t, std::string>> keys;
  for (const std::string& key : object.getMemberNames()) keys.emplace_back(Rank(key), key);
  std::sort(keys.begin(), keys.end());
  out += '{';
  for (const auto& [rank, key] : keys) {
    if (out.back() != '{') out += ',';
    out += Json::valueToQuotedString(key.c_str());
    out += ':';
    Append(object[key], out);
  }
  out += '}';
}

void Append(const Json::Value& value, std::string& out) {
  switch (value.type()) {
    case Json::nullValue:
      out += "null";
      return;
    case Json::intValue:
      out += Json::valueToString(value.asLargestInt());
      return;
    case Json::uintValue:
      out += Json::valueToString(value.asLargestUInt());
      return;
    case Json::realValue:
      out += Json::valueToString(value.asDouble(), 15);
      return;
    case Json::booleanValue:
      out += value.asBool() ? "true" : "false";
      return;
    case Json::stringValue: {
      Json::StreamWriterBuilder builder;
      builder["indentation"] = "";
      builder["emitUTF8"] = true;
      out += Json::writeString(builder, value);
      return;
    }
    case Json::arrayValue:
      out += '[';
      for (Json::ArrayIndex i = 0; i < value.size(); ++i) {
        if (i > 0) out += ',';
        Append(value[i], out);
      }
      out += ']';
      return;
    case Json::objectValue:
      AppendObject(value, out);
      return;
  }
}

}  // namespace

namespace simjson {

std::optional<Json::Value> Parse(std::string_view text) {
  static const Json::CharReaderBuilder builder = [] {
    Json::CharReaderBuilder strict;
    strict["failIfExtra"] = true;
    return strict;
  }();
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  try {
    if (!reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) return std::nullopt;
  } catch (const Json::Exception&) {
    return std::nullopt;  // nested too deep
  }
  return value;
}

std::string Write(const Json::Value& value) {
  std::string out;
  Append(value, out);
  return out;
}

std::string Envelope(std::string_view status, std::optional<int> requestId, const Json::Value& result,
                     const std::optional<T_SimError>& error) {
  std::string out = "{\"status\":\"" + std::string(status) + "\",\"request_id\":";
  out += requestId ? std::to_string(*requestId) : "null";
  out += ",\"result\":" + Write(result) + ",\"error\":";
  if (error) {
    Json::Value object;
    object["reason"] = error->reason;
    object["message"] = error->message;
    out += Write(object);
  } else {
    out += "null";
  }
  return out + "}";
}

std::string Success(int requestId, const Json::Value& result) {
  return Envelope("SUCCESS", requestId, result, std::nullopt);
}

std::string WithRequestId(const std::string& body, int requestId) {
  const std::optional<Json::Value> envelope = Parse(body);
  if (!envelope || !envelope->isObject() || !envelope->isMember("request_id")) return body;
  const Json::Value& status = Member(*envelope, "status");
  const Json::Value& error = Member(*envelope, "error");
  const Json::Value& reason = Member(error, "reason");
  const Json::Value& message = Member(error, "message");
  if (!status.isString() || !(error.isNull() || (reason.isString() && message.isString()))) return body;
  std::optional<T_SimError> carried;
  if (error.isObject()) carried = T_SimError{reason.asString(), message.asString()};
  return Envelope(status.asString(), requestId, Member(*envelope, "result"), carried);
}

const Json::Value& Member(const Json::Value& object, const char* key) {
  static const Json::Value absent;
  return object.isObject() ? object[key] : absent;
}

}  // namespace simjson
