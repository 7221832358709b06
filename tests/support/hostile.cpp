#include "hostile.h"

#include <json/json.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "msg_tags.h"

namespace hostile {
namespace {

constexpr std::uint32_t kVideoTag = 0x10402;
constexpr size_t kNesting = 5000;

std::string Repeat(const std::string& piece, size_t count) {
  std::string text;
  text.reserve(piece.size() * count);
  for (size_t i = 0; i < count; ++i) text += piece;
  return text;
}

std::string Word(std::uint32_t value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

std::string Compact(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

Json::Value ParseOwn(const std::string& text) {
  Json::Value value;
  std::string errors;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  reader->parse(text.data(), text.data() + text.size(), &value, &errors);
  return value;
}

std::vector<std::pair<std::string, Json::Value>> WrongValues() {
  Json::Value listOfNull(Json::arrayValue);
  listOfNull.append(Json::nullValue);
  Json::Value listOfObject(Json::arrayValue);
  listOfObject.append(Json::objectValue);
  Json::Value object(Json::objectValue);
  object["a"] = 1;
  Json::Value listOfNumbers(Json::arrayValue);
  for (int i = 0; i < 5; ++i) listOfNumbers.append(i - 2);
  return {{"null", Json::nullValue},
          {"true", true},
          {"false", false},
          {"zero", 0},
          {"minus one", -1},
          {"fraction", 1.5},
          {"2^31", Json::Value(Json::Int64{2147483648})},
          {"-2^31-1", Json::Value(Json::Int64{-2147483649})},
          {"2^64-1", Json::Value(Json::UInt64{18446744073709551615U})},
          {"1e300", 1e300},
          {"empty text", ""},
          {"text", "text"},
          {"long text", std::string(3000, 'x')},
          {"format text", "%s%n%99999d"},
          {"shell text", "$(reboot);`reboot`|reboot&\n"},
          {"path text", "../../../etc/passwd"},
          {"empty list", Json::arrayValue},
          {"list of null", listOfNull},
          {"list of object", listOfObject},
          {"list of numbers", listOfNumbers},
          {"empty object", Json::objectValue},
          {"object", object}};
}

// Calls visit(value) on every member and element at any depth; the visitor changes it, looks, and puts it back.
template <typename Visit>
void ForEachMember(Json::Value& value, const std::string& path, const Visit& visit) {
  if (value.isObject()) {
    for (const std::string& key : value.getMemberNames()) {
      visit(path + "." + key, value[key]);
      ForEachMember(value[key], path + "." + key, visit);
    }
  } else if (value.isArray()) {
    for (Json::ArrayIndex i = 0; i < value.size(); ++i) {
      visit(path + "[" + std::to_string(i) + "]", value[i]);
      ForEachMember(value[i], path + "[" + std::to_string(i) + "]", visit);
    }
  }
}

// Text with one object's member taken out, for each member.
void AddWithoutMember(const Json::Value& root, Json::Value& at, const std::string& path, std::vector<T_Row>* pRows) {
  if (at.isObject()) {
    for (const std::string& key : at.getMemberNames()) {
      const Json::Value kept = at[key];
      at.removeMember(key);
      pRows->push_back({path + "." + key + " left out", Compact(root)});
      at[key] = kept;
      AddWithoutMember(root, at[key], path + "." + key, pRows);
    }
  } else if (at.isArray()) {
    for (Json::ArrayIndex i = 0; i < at.size(); ++i) {
      AddWithoutMember(root, at[i], path + "[" + std::to_string(i) + "]", pRows);
    }
  }
}

std::string Edid() { return "00ffffffffffff00" + Repeat("5a", 248); }

// The "hdmiOut" section of the video settings: this display mode with its layout.
std::string VideoOutput(const std::string& displayMode, const std::string& layout) {
  return R"({"output":{"hdmiOut":{"hdcpMethod":"Follow Sink","displayMode":")" + displayMode + "\"," + layout + "}}}";
}

std::uint32_t TagOf(const std::string& name) {
  for (const T_CommandTag& row : kCommandTags) {
    if (row.name == name) return row.tag;
  }
  return 0;
}

}  // namespace

std::string Record(std::uint32_t tag, const std::string& value) {
  return Word(tag) + Word(static_cast<std::uint32_t>(value.size())) + value;
}

std::string Command(std::uint32_t tag, const std::string& text) {
  return Record(kTlvEnvelopeTag, Record(tag, text + '\0'));
}

std::vector<T_Row> Datagrams() {
  const std::string good = Command(kVideoTag, R"({"streamSubscription":{"avpDeviceId":"0016c04e21e7"}})");
  std::string deep = Command(kVideoTag, "{}");
  for (int i = 0; i < 1000 && deep.size() + 8 < kTlvTextRoom; ++i) deep = Record(kTlvEnvelopeTag, deep);
  return {
      {"nothing", ""},
      {"one byte", "x"},
      {"two bytes", "xy"},
      {"half a header", Word(kTlvEnvelopeTag)},
      {"seven bytes", Word(kTlvEnvelopeTag) + "abc"},
      {"a header without its value", Word(kTlvEnvelopeTag) + Word(100)},
      {"a length of 2^32-1", Word(kTlvEnvelopeTag) + Word(0xffffffffU) + "value"},
      {"a length of 2^31", Word(kTlvEnvelopeTag) + Word(0x80000000U) + "value"},
      {"a length of 2^31-1", Word(kTlvEnvelopeTag) + Word(0x7fffffffU) + "value"},
      {"a length that wraps with its header", Word(kTlvEnvelopeTag) + Word(0xfffffff8U) + "value"},
      {"one byte short", good.substr(0, good.size() - 1)},
      {"an inner length past the outer", Record(kTlvEnvelopeTag, Word(kVideoTag) + Word(5000) + "{}")},
      {"an inner length of 2^32-1", Record(kTlvEnvelopeTag, Word(kVideoTag) + Word(0xffffffffU))},
      {"an empty command box", Record(kTlvEnvelopeTag, "")},
      {"a command box of noise", Record(kTlvEnvelopeTag, "noise noise noise")},
      {"no command box", Record(4, Record(kVideoTag, "{}"))},
      {"the command without its box", Record(kVideoTag, std::string("{}\0", 3))},
      {"an unknown command", Command(0x7f7f7f7f, "{}")},
      {"an empty text", Record(kTlvEnvelopeTag, Record(kVideoTag, ""))},
      {"a text without its zero", Record(kTlvEnvelopeTag, Record(kVideoTag, R"({"streamSubscription":1})"))},
      {"a zero inside the text", Command(kVideoTag, std::string("{\"stream\0Subscription\":{}}", 26))},
      {"a text that fills the room", Record(kTlvEnvelopeTag, Record(kVideoTag, std::string(8175, '[')))},
      {"a datagram of 8191 bytes", Record(kTlvEnvelopeTag, std::string(8183, 'a'))},
      {"a datagram of 8192 bytes", Record(kTlvEnvelopeTag, std::string(8184, 'a'))},
      {"the largest datagram", Record(kTlvEnvelopeTag, std::string(65499, 'a'))},
      {"a thousand empty records", Repeat(Record(9, ""), 1000)},
      {"a thousand boxes in one another", deep},
      {"the command box twice", Record(kTlvEnvelopeTag, "") + good},
      {"every tag at once",
       [] {
         std::string box;
         for (const T_CommandTag& row : kCommandTags) box += Record(row.tag, std::string("{]\0", 3));
         return Record(kTlvEnvelopeTag, box);
       }()},
      {"plain JSON", R"({"streamSubscription":{"avpDeviceId":"0016c04e21e7"}})"},
      {"zeros", std::string(64, '\0')},
      {"ones", std::string(64, '\xff')},
  };
}

std::vector<T_Row> JsonTexts(size_t maxBytes) {
  std::vector<T_Row> rows = {
      {"nothing", ""},
      {"a blank", " "},
      {"null", "null"},
      {"true", "true"},
      {"a number", "17"},
      {"a text", R"("streamSubscription")"},
      {"an empty list", "[]"},
      {"a list", R"([1,"status",null,{},[]])"},
      {"an empty object", "{}"},
      {"an object cut off", R"({"streamSubscription":{"avpDeviceId":)"},
      {"a text cut off", R"({"streamSubscription)"},
      {"an escape cut off", R"({"status":"\u00)"},
      {"a lone surrogate", R"({"status":"\ud800"})"},
      {"an escaped zero", R"({"status":"SUC\u0000CESS","streamSubscription":{"avpDeviceId":"\u0000"}})"},
      {"bytes that are no UTF-8", "{\"status\":\"\xff\xfe\xc0\x80\",\"\xf5\":1}"},
      {"a byte order mark", "\xef\xbb\xbf{}"},
      {"a number beyond any", R"({"request_id":1e99999,"status":-1e99999})"},
      {"a number of a thousand digits", R"({"request_id":)" + Repeat("9", 1000) + "}"},
      {"not a number", R"({"request_id":NaN,"status":Infinity})"},
      {"keys twice", R"({"status":1,"status":{},"status":"SUCCESS","streamSubscription":1,"streamSubscription":[]})"},
      {"a comment", "/* a */ {} // b"},
      {"a comment without an end", "/* a {}"},
      {"two values", "{} {}"},
      {"a value and noise", R"({"status":"SUCCESS"}garbage)"},
      {"an HTML page", "<html><body><h1>502 Bad Gateway</h1></body></html>"},
      {"format letters", "%s%s%s%s%n%n%n%999999d"},
      {"lists in lists, never closed", Repeat("[", kNesting)},
      {"objects in objects, never closed", Repeat("{\"a\":", std::min(kNesting, maxBytes / 5))},
      {"lists in lists", Repeat("[", kNesting) + Repeat("]", kNesting)},
      {"lists in lists, as many as fit", Repeat("[", maxBytes / 2) + Repeat("]", maxBytes / 2)},
      {"objects in objects", Repeat("{\"a\":", std::min(kNesting, maxBytes / 6 - 1)) + "1" +
                                 Repeat("}", std::min(kNesting, maxBytes / 6 - 1))},
      {"the result nested", R"({"status":"SUCCESS","result":)" + Repeat("[", std::min(kNesting, (maxBytes - 40) / 2)) +
                                Repeat("]", std::min(kNesting, (maxBytes - 40) / 2)) + "}"},
      {"the subscription nested", R"({"streamSubscription":)" + Repeat("[", std::min(kNesting, (maxBytes - 40) / 2)) +
                                      Repeat("]", std::min(kNesting, (maxBytes - 40) / 2)) + "}"},
      {"status of another type", R"({"status":{"a":1},"request_id":"x","result":"text","error":[]})"},
      {"result of another type", R"({"status":"SUCCESS","request_id":null,"result":7,"error":null})"},
      {"errors of another type", R"({"status":"SUCCESS","result":{"error":"text"},"error":1})"},
      {"errors that are no objects", R"({"status":"SUCCESS","result":{"error":[1,"a",null,[]]},"error":{"reason":5}})"},
      {"devices of another type",
       R"({"status":"SUCCESS","result":{"devices":{"device_id":1},"error":[]},"error":null})"},
      {"devices that are no objects", R"({"status":"SUCCESS","result":{"devices":[1,null,"a",[]],"error":[]}})"},
      {"a request id beyond 32 bits", R"({"status":"PROCESSING","request_id":99999999999999,"result":null})"},
      {"a request id below zero", R"({"status":"ERROR","request_id":-1,"result":null,"error":{}})"},
      {"a long text", R"({"status":")" + std::string(maxBytes > 100 ? maxBytes - 100 : 0, 'x') + R"("})"},
  };
  rows.erase(std::remove_if(rows.begin(), rows.end(), [&](const T_Row& row) { return row.bytes.size() > maxBytes; }),
             rows.end());
  return rows;
}

std::vector<T_Row> FullCommands() {
  const std::string association = R"({"streamSubscription":{"deviceID":"0016c04e21e7"}})";
  std::vector<T_Row> rows = {
      {"set-associations-video",
       R"({"streamSubscription":{"avpDeviceId":"0016c04e21e7","streamIndex":1,"enableAudio":true,)"
       R"("h264DeviceId":"0016c04e21e8","deviceID":"0016c04e21e9","firmware_comment":"v1","edid":"00ff",)"
       R"("hdcpCapability":"HDCP 2.x"}})"},
      {"set-associations-serial", association},
      {"set-associations-ir", association},
      {"set-associations-usb-hid", association},
      {"set-usb-hid", association},
      {"set-video", R"({"input":{"hdmiIn":{"hdmiInEDID":")" + Edid() + R"(","hdcpCapability":"HDCP 2.x"}}})"},
      {"set-video",
       R"({"input":{"streamSubscription":{"avpDeviceId":"0016c04e21e7","streamIndex":1,"enableAudio":true}}})"},
      {"set-video",
       VideoOutput("single", R"("singleLayout":{"scaler":"1920x1080p@60","videoWall":false,"wallMode":"genlock"})")},
      {"set-video",
       VideoOutput("videoWall",
                   R"("videoWallLayout":{"scaler":"3840x2160p@30","maxRow":2,"maxColumn":2,"posRow":0,"posColumn":1,)"
                   R"("stretchType":"Fit","bezelHoriz":10,"bezelVert":10,"wallMode":"auto"})")},
      {"set-video",
       VideoOutput(
           "multiview",
           R"("multiviewLayout":{"layout":"quad","scaler":"1920x1080p@60","width":1920,"height":1080,"windows":)"
           R"([{"index":0,"horizontalPosition":0,"verticalPosition":0,"width":960,"height":540,)"
           R"("horizontalOffset":0,"verticalOffset":0,"targetSurface":0}],"sources":[{"streamType":"HDMI",)"
           R"("sourceDevice":"0016c04e21e7","streamIndex":1,"subscriptionIndex":0}]})")},
      {"set-video",
       R"({"output":{"streamOut":{"streams":{"avpStream0":{"enable":true,"halfFrameRate":true,"enableAudio":true},)"
       R"("avpStream1":{"enable":true,"height":720,"width":1280,"halfRefreshRate":true}}}}})"},
      {"set-hdmi-out-audio-src", R"({"hdmi_out_audio_src":"hdmi-audio","hdmi_out_audio_sampling_frequency":48000,)"
                                 R"("hdmi_out_audio_number_of_channels":2,"hdmi_out_audio_channel_allocation":0,)"
                                 R"("hdmi_out_audio_audio_encoding_type":"LPCM"})"},
      {"send-ir-data",
       R"({"format":"globalcache","data":"38000,1,1,10,20,30,40,50,60","repeatTimes":1,"interval":0,"delay":0})"},
  };
  for (const T_CommandTag& command : kCommandTags)
    rows.push_back({std::string(command.name), std::string(command.example)});
  return rows;
}

std::vector<T_Row> WrongTyped(const std::string& json) {
  std::vector<T_Row> rows;
  Json::Value root = ParseOwn(json);
  const auto wrongValues = WrongValues();
  for (const auto& [name, value] : wrongValues) rows.push_back({"all of it " + name, Compact(value)});
  ForEachMember(root, "", [&](const std::string& path, Json::Value& member) {
    const Json::Value kept = member;
    for (const auto& [name, value] : wrongValues) {
      member = value;
      rows.push_back({path + " " + name, Compact(root)});
    }
    member = kept;
  });
  AddWithoutMember(root, root, "", &rows);
  return rows;
}

std::vector<T_Row> GoodDatagrams() {
  std::vector<T_Row> rows = FullCommands();
  for (T_Row& row : rows) row.bytes = Command(TagOf(row.name), row.bytes);
  return rows;
}

std::string Mutate(std::string bytes, std::mt19937& random) {
  static constexpr std::uint32_t kEdges[] = {0,      1,      7,          8,          0x7f,       0x80,      0xff,
                                             0x1fff, 0x2000, 0x7fffffff, 0x80000000, 0xfffffff7, 0xffffffff};
  const auto below = [&random](size_t limit) { return limit == 0 ? 0 : random() % limit; };
  for (size_t left = 1 + below(8); left > 0; --left) {
    if (bytes.empty()) return bytes;
    const size_t at = below(bytes.size());
    switch (random() % 7) {
      case 0:
        bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
        break;
      case 1:
        bytes[at] = static_cast<char>(random());
        break;
      case 2:
        bytes.insert(at, 1 + below(16), static_cast<char>(random()));
        break;
      case 3:
        bytes.erase(at, 1 + below(16));
        break;
      case 4:
        bytes.insert(at, bytes.substr(below(bytes.size()), 1 + below(64)));
        break;
      case 5: {
        const std::uint32_t edge = kEdges[below(std::size(kEdges))];
        const size_t aligned = at / 4 * 4;
        std::memcpy(&bytes[aligned], &edge, std::min(sizeof edge, bytes.size() - aligned));
        break;
      }
      default:
        if (below(4) == 0) bytes.resize(at);
        break;
    }
  }
  return bytes;
}

std::string Noise(size_t maxBytes, std::mt19937& random) {
  std::string bytes(random() % (maxBytes + 1), '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

std::vector<T_Row> LinkBytes() {
  const std::string end = "\r\n";
  std::vector<T_Row> rows = {
      {"line ends alone", Repeat(end, 100)},
      {"a carriage return alone", "\r"},
      {"a zero", std::string("{\"status\":\0\"NOTIFICATION\"}\r\n", 28)},
      {"a notification without result", R"({"status":"NOTIFICATION"})" + end},
      {"a notification without events", R"({"status":"NOTIFICATION","result":{}})" + end},
      {"events of another type", R"({"status":"NOTIFICATION","result":{"events":"text"}})" + end},
      {"events in an object", R"({"status":"NOTIFICATION","result":{"events":{"event_type":"RS232_RECEIVED"}}})" + end},
      {"events that are no objects", R"({"status":"NOTIFICATION","result":{"events":[1,null,"a",[],true]}})" + end},
      {"an event of wrong types",
       R"({"status":"NOTIFICATION","result":{"events":[{"device_id":1,"event_id":"x","event_type":[],)"
       R"("timestamp":{},"request_id":"7"}]}})" +
           end},
      {"numbers beyond 32 bits",
       R"({"status":"NOTIFICATION","result":{"events":[{"device_id":"0016c04e41b2","event_id":99999999999,)"
       R"("event_type":"REQUEST_COMPLETE","timestamp":99999999999,"request_id":99999999999}]}})" +
           end},
      {"an event without a request id",
       R"({"status":"NOTIFICATION","result":{"events":[{"device_id":"0016c04e41b2","event_id":1,)"
       R"("event_type":"RS232_RECEIVED","timestamp":1}]}})" +
           end},
      {"a request id that was never given",
       R"({"status":"NOTIFICATION","result":{"events":[{"device_id":"0016c04e41b2","event_id":1,)"
       R"("event_type":"RS232_RECEIVED","timestamp":1,"request_id":2147483647}]}})" +
           end},
      {"an event type of format letters",
       R"({"status":"NOTIFICATION","result":{"events":[{"device_id":"%s%n","event_id":1,)"
       R"("event_type":"%s%s%s%n","timestamp":1,"request_id":1}]}})" +
           end},
      {"more than one read", std::string(20'000, 'x') + end},
      {"half a notification", R"({"status":"NOTIFICATION","result":{"events":[{"device_id":)"},
      {"its other half", R"("0016c04e41b2","event_id":1}]}})" + end},
  };
  for (T_Row& row : JsonTexts(20'000)) rows.push_back({row.name, row.bytes + end});
  return rows;
}

}  // namespace hostile
