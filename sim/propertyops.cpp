// set:property: which settings there are, and which values they take.
#include <strings.h>

#include <algorithm>
#include <vector>

#include "deviceoprows.h"
#include "opargs.h"
#include "propertykey.h"
#include "simjson.h"

namespace {

using T_Refusal = std::optional<T_SimError>;

// Settings that take one of a few texts, by the key's last member. Written as the document writes them.
struct T_TextChoices {
  std::string_view member;
  std::vector<std::string_view> choices;
  bool anyCase;
};

const std::vector<T_TextChoices>& TextChoices() {
  static const std::vector<T_TextChoices> rows = {
      {"device_mode", {"TRANSMITTER", "RECEIVER", "TRANSCEIVER"}, false},
      {"hdcp_output_mode", {"FOLLOW_SINK_1", "FOLLOW_SINK_2", "FOLLOW_SOURCE", "UNSUPPORTED"}, false},
      {"hdmi_tx_5v", {"AUTO", "LOW"}, false},
      {"parity", {"NONE", "ODD", "EVEN"}, true},
      {"audio_encoding_type", {"LPCM"}, false},
      {"role", {"LOCAL", "REMOTE", "DISABLED"}, false},
      {"aspect_ratio_mode", {"KEEP", "STRETCH", "NONE", "CROP"}, false},
  };
  return rows;
}

// Settings that take one of a few numbers.
struct T_NumberChoices {
  std::string_view member;
  std::vector<int> choices;
};

const std::vector<T_NumberChoices>& NumberChoices() {
  static const std::vector<T_NumberChoices> rows = {
      {"baud_rate", {300, 600, 1200, 2400, 4800, 9600, 14400, 19200, 38400, 57600, 115200, 230400, 460800, 921600}},
      {"data_bits", {5, 6, 7, 8}},
      {"stop_bits", {1, 2}},
  };
  return rows;
}

bool IsNumberChoice(std::string_view member, int number) {
  for (const T_NumberChoices& row : NumberChoices()) {
    if (row.member == member) return std::find(row.choices.begin(), row.choices.end(), number) != row.choices.end();
  }
  return true;
}

std::string_view LastMember(std::string_view key) { return key.substr(key.rfind('.') + 1); }

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// After the choice of a source: the place that tells where the data now come from.
void MoveSource(Json::Value& device, std::string_view key, const Json::Value& choice) {
  constexpr std::string_view kEnd = ".configuration.source.value";
  if (!EndsWith(key, kEnd)) return;
  Json::Value* owner = propertykey::Find(device, key.substr(0, key.size() - kEnd.size()));
  Json::Value& source = key.substr(0, 8) == "streams[" ? (*owner)["source"] : (*owner)["status"]["source"];
  source = choice["details"];
}

T_Refusal SetChoice(Json::Value& device, std::string_view key, Json::Value& setting, const Json::Value& value) {
  const Json::Value* found = deviceoprows::FindChoice(setting, value);
  if (found == nullptr) return IllegalArgument("Value is not one of the choices of " + std::string(key));
  const Json::Value choice = *found;
  setting["value"] = value;
  MoveSource(device, key, choice);
  return std::nullopt;
}

// A plain setting keeps its type; null stands for a text that is not set.
T_Refusal SetPlain(std::string_view key, Json::Value& member, const Json::Value& value) {
  const T_SimError bad = IllegalArgument("Bad value for key " + std::string(key));
  const std::string_view name = LastMember(key);
  if (member.isString() || member.isNull()) {
    const std::optional<std::string> text =
        value.isString() ? deviceoprows::ChosenText(name, value.asString()) : std::nullopt;
    if (!text) return bad;
    member = *text;
    return std::nullopt;
  }
  if (member.isBool() ? !value.isBool() : !(member.isInt() && value.isInt() && IsNumberChoice(name, value.asInt()))) {
    return bad;
  }
  member = value;
  return std::nullopt;
}

}  // namespace

namespace deviceoprows {

std::optional<std::string> ChosenText(std::string_view setting, const std::string& text) {
  for (const T_TextChoices& row : TextChoices()) {
    if (row.member != setting) continue;
    for (const std::string_view choice : row.choices) {
      const bool same = row.anyCase
                            ? choice.size() == text.size() && strncasecmp(choice.data(), text.data(), text.size()) == 0
                            : choice == text;
      if (same) return std::string(choice);
    }
    return std::nullopt;
  }
  return text;
}

const Json::Value* FindChoice(const Json::Value& setting, const Json::Value& value) {
  for (const Json::Value& choice : simjson::Member(setting, "choices")) {
    if (simjson::Member(choice, "value") == value) return &choice;
  }
  return nullptr;
}

std::optional<T_SimError> SetProperty(Json::Value& device, const Json::Value& body, T_OpContext&) {
  COpArgs args(body);
  const std::string key = args.Text("key");
  if (!args.Error() && !args.Has("value")) args.Refuse(IllegalArgument("No value for key value"));
  if (args.Error()) return args.Error();
  Json::Value* member = propertykey::Find(device, key);
  const bool setting = key.rfind("configuration.", 0) == 0 || key.find("].configuration.") != std::string::npos;
  if (member == nullptr || !setting) return IllegalArgument("Unknown property " + key);
  const Json::Value& value = body["value"];
  constexpr std::string_view kValue = ".value";
  Json::Value* owner =
      EndsWith(key, kValue) ? propertykey::Find(device, key.substr(0, key.size() - kValue.size())) : nullptr;
  const bool choice = owner != nullptr && owner->isMember("choices");
  T_Refusal refusal = choice ? SetChoice(device, key, *owner, value) : SetPlain(key, *member, value);
  if (!refusal && (key.rfind("nodes[FRAME_BUFFER:", 0) == 0 || key.rfind("nodes[HDMI_ENCODER:", 0) == 0)) {
    deviceops::UpdateOutput(device);
  }
  return refusal;
}

}  // namespace deviceoprows
