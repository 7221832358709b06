#include "simcontrol.h"

#include <charconv>
#include <optional>
#include <sstream>

#include "escape.h"
#include "faulttext.h"
#include "simjson.h"

// How a command is written, what it does, how many words must follow its name, and its operation.
struct CSimControl::T_Command {
  const char* name;
  const char* arguments;
  const char* help;
  size_t words;
  std::string (CSimControl::*run)(const T_Line& line);
};

namespace {

constexpr const char* kOk = "ok";
constexpr size_t kShown = 20;  // the last so many of what "show" lists

std::string Error(const std::string& text) { return "error: " + text; }
std::string Result(bool done, const std::string& fault) { return done ? kOk : Error(fault); }

// A value as people write it: JSON where it is some, else a text.
Json::Value TypedValue(const std::string& text) { return simjson::Parse(text).value_or(Json::Value(text)); }

std::optional<int> ParseNumber(const std::string& text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 0) return std::nullopt;
  return number;
}

// The last lines of a list, with its length first.
std::string Listing(const std::vector<std::string>& lines) {
  std::string text = std::to_string(lines.size());
  for (size_t i = lines.size() > kShown ? lines.size() - kShown : 0; i < lines.size(); ++i) text += "\n" + lines[i];
  return text;
}

}  // namespace

std::string CSimControl::T_Line::Behind(size_t count) const {
  size_t position = text.find_first_not_of(' ');
  for (size_t i = 0; i < count && position != std::string::npos; ++i) {
    position = text.find(' ', position);
    if (position != std::string::npos) position = text.find_first_not_of(' ', position);
  }
  return position == std::string::npos ? "" : text.substr(position);
}

const std::vector<CSimControl::T_Command>& CSimControl::Commands() {
  static const std::vector<T_Command> rows = {
      {"event", "rs232 TEXT | infrared HEX | cec HEX | settings | TYPE [RESULT]",
       "data arrive at the device (TEXT with \\xHH, \\r, \\n), or an event of any type, its request's result as JSON",
       1, &CSimControl::Event},
      {"source", "3840x2160p60 | 1920x1080i50 | none", "the signal at the input changes", 1, &CSimControl::Source},
      {"monitor", "in | out", "the monitor is plugged in or out", 1, &CSimControl::Monitor},
      {"connect", "", "the server finds the device again", 0, &CSimControl::Connect},
      {"disconnect", "", "the server loses the device", 0, &CSimControl::Disconnect},
      {"hang", "", "the AV processor answers nothing more", 0, &CSimControl::Hang},
      {"wake", "", "it answers again", 0, &CSimControl::Wake},
      {"fault", "next | always | COUNT KIND [MATCH]  or  fault off",
       "the next, all, or the next COUNT requests (that match) are answered so", 1, &CSimControl::Fault},
      {"processing", "POLLS | MSms | never | off", "requests that may be answered either way are PROCESSING first", 1,
       &CSimControl::Processing},
      {"set", "KEY VALUE", "changes a member of the device document, by the keys that set:property takes", 2,
       &CSimControl::Set},
      {"get", "[KEY]", "shows a member of the device document, or all of it", 0, &CSimControl::Get},
      {"update", "succeeds | fails | never", "what becomes of the next firmware update", 1, &CSimControl::Update},
      {"firmware", "JSON | none", "the packages that the server lists", 1, &CSimControl::Firmware},
      {"tci", "drop | drop-at TEXT | refuse | accept | stop | start | split MS | line TEXT", "the text link", 1,
       &CSimControl::Tci},
      {"http", "stop | start", "the HTTP server", 1, &CSimControl::Http},
      {"show", "requests | lines | sent | ports", "what arrived so far", 1, &CSimControl::Show},
      {"help", "", "this text", 0, &CSimControl::HelpText},
  };
  return rows;
}

std::string CSimControl::Execute(const std::string& text) {
  T_Line line{text, {}};
  std::istringstream stream(text);
  for (std::string word; stream >> word;) line.words.push_back(word);
  if (line.words.empty()) return kOk;
  for (const T_Command& row : Commands()) {
    if (line.words[0] != row.name) continue;
    if (line.words.size() > row.words) return (this->*row.run)(line);
    return Error(std::string("usage: ") + row.name + " " + row.arguments);
  }
  return Error("unknown command " + line.words[0] + " (help lists them)");
}

bool CSimControl::IsError(const std::string& answer) { return answer.rfind("error: ", 0) == 0; }

std::string CSimControl::Help() {
  std::string help;
  for (const T_Command& row : Commands()) {
    help += std::string(row.name) + (*row.arguments != '\0' ? " " : "") + row.arguments + "\n    " + row.help + "\n";
  }
  help += "\nkinds of fault:\n" + faulttext::Help();
  help += "\nmatches: op=subscribe  subset=edid  key=configuration.device_mode  path=/api/firmware  method=DELETE\n";
  help += "\nexamples:\n  source 1920x1080p60\n  event rs232 PWR=1\\r\\n\n  fault next hangup\n";
  help += "  fault 3 error:INVALID_STATE op=subscribe\n  set nodes[HDMI_DECODER:0].status.hdcp_version HDCP_1_4";
  return help;
}

std::string CSimControl::HelpText(const T_Line&) { return Help(); }

std::string CSimControl::Event(const T_Line& line) {
  const std::string& kind = line.words[1];
  const std::string data = line.Behind(2);
  if (kind == "settings") return Result(m_sim.PushSettingsChanged() > 0, "there is no device");
  if (kind == "rs232") {
    const std::optional<std::string> bytes = escape::Unescape(data);
    if (!bytes || bytes->empty()) return Error("rs232 wants a text; escapes are \\xHH, \\t, \\r, \\n, \\\\");
    m_sim.ReceiveRs232(*bytes);
    return kOk;
  }
  if (kind == "infrared" || kind == "cec") {
    const bool hex = data.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    if (data.empty() || !hex) return Error(kind + " wants hex digits");
    kind == "cec" ? m_sim.ReceiveCec(data) : m_sim.ReceiveInfrared(data);
    return kOk;
  }
  const Json::Value result = data.empty() ? Json::Value() : TypedValue(data);
  if (!result.isNull() && !result.isObject()) return Error("the result of a request is a JSON object");
  m_sim.PushEvent(kind, m_sim.DeviceId(), result);
  return kOk;
}

std::string CSimControl::Source(const T_Line& line) {
  return Result(m_sim.SetSource(line.words[1]), "no timing, or a device without an input: " + line.words[1]);
}

std::string CSimControl::Monitor(const T_Line& line) {
  if (line.words[1] != "in" && line.words[1] != "out") return Error("usage: monitor in | out");
  return Result(m_sim.SetMonitor(line.words[1] == "in"), "the device has no output for a monitor");
}

std::string CSimControl::Connect(const T_Line&) {
  m_sim.Connect();
  return kOk;
}

std::string CSimControl::Disconnect(const T_Line&) {
  m_sim.Disconnect();
  return kOk;
}

std::string CSimControl::Hang(const T_Line&) {
  m_sim.SetHung(true);
  return kOk;
}

std::string CSimControl::Wake(const T_Line&) {
  m_sim.SetHung(false);
  return kOk;
}

std::string CSimControl::Fault(const T_Line& line) {
  const std::vector<std::string>& words = line.words;
  if (words[1] == "off") {
    m_sim.ClearScripts();
    return kOk;
  }
  const std::optional<int> times = words[1] == "next" ? 1 : words[1] == "always" ? 0 : ParseNumber(words[1]);
  if (!times || (*times == 0 && words[1] != "always") || words.size() < 3) {
    return Error("usage: fault next | always | COUNT KIND [MATCH]  or  fault off");
  }
  const std::optional<T_SimAnswer> answer = faulttext::Parse(words[2]);
  if (!answer) return Error("unknown kind of fault " + words[2]);
  const std::optional<T_RequestMatcher> matcher = faulttext::ParseMatcher(words.size() > 3 ? words[3] : "any");
  if (!matcher) return Error("unknown match " + words[3]);
  m_sim.Script(*matcher, *answer, *times);
  return kOk;
}

std::string CSimControl::Processing(const T_Line& line) {
  const std::string& way = line.words[1];
  const std::optional<T_SimAnswer> answer =
      way == "off" ? T_SimAnswer::Default() : faulttext::Parse("processing:" + way);
  if (!answer) return Error("usage: processing POLLS | MSms | never | off");
  m_sim.SetProcessing(*answer);
  return kOk;
}

std::string CSimControl::Set(const T_Line& line) {
  return Result(m_sim.Set(line.words[1], TypedValue(line.Behind(2))), "no member " + line.words[1]);
}

std::string CSimControl::Get(const T_Line& line) {
  if (line.words.size() == 1) return simjson::Write(m_sim.Device());
  const std::optional<Json::Value> value = m_sim.Get(line.words[1]);
  return value ? simjson::Write(*value) : Error("no member " + line.words[1]);
}

std::string CSimControl::Update(const T_Line& line) {
  struct T_Outcome {
    const char* name;
    E_UpdateOutcome outcome;
  };
  static constexpr T_Outcome kOutcomes[] = {
      {"succeeds", e_update_succeeds}, {"fails", e_update_fails}, {"never", e_update_never_settles}};
  for (const T_Outcome& row : kOutcomes) {
    if (line.words[1] != row.name) continue;
    m_sim.SetUpdateOutcome(row.outcome);
    return kOk;
  }
  return Error("usage: update succeeds | fails | never");
}

std::string CSimControl::Firmware(const T_Line& line) {
  const std::string text = line.Behind(1);
  Json::Value packages = text == "none" ? Json::Value(Json::arrayValue) : TypedValue(text);
  if (!packages.isArray() && !packages.isObject()) return Error("usage: firmware JSON | none");
  m_sim.SetFirmware(packages);
  return kOk;
}

std::string CSimControl::Tci(const T_Line& line) {
  const std::string& what = line.words[1];
  const std::string data = line.Behind(2);
  const std::optional<int> number = ParseNumber(data);
  if (what == "drop") {
    m_sim.DropTci();
  } else if (what == "drop-at" && !data.empty()) {
    m_sim.DropTciAt(data);
  } else if (what == "refuse" || what == "accept") {
    m_sim.SetTciRefuse(what == "refuse");
  } else if (what == "stop") {
    m_sim.StopTci();
  } else if (what == "start") {
    return Result(m_sim.StartTci(), "the port cannot be had");
  } else if (what == "split" && number) {
    m_sim.SetTciSplitMs(*number);
  } else if (what == "line" && !data.empty()) {
    m_sim.PushLine(data);
  } else {
    return Error("usage: tci drop | drop-at TEXT | refuse | accept | stop | start | split MS | line TEXT");
  }
  return kOk;
}

std::string CSimControl::Http(const T_Line& line) {
  if (line.words[1] == "start") return Result(m_sim.StartHttp(), "the port cannot be had");
  if (line.words[1] != "stop") return Error("usage: http stop | start");
  m_sim.StopHttp();
  return kOk;
}

std::string CSimControl::Show(const T_Line& line) {
  const std::string& what = line.words[1];
  std::vector<std::string> lines;
  if (what == "ports") return "http " + std::to_string(m_sim.HttpPort()) + " tci " + std::to_string(m_sim.TciPort());
  if (what == "lines") return Listing(m_sim.TciLines());
  if (what == "requests") {
    for (const T_SimRequest& request : m_sim.Requests()) {
      lines.push_back(escape::Escape(request.Line()));
    }
    return Listing(lines);
  }
  if (what == "sent") {
    for (const T_SentData& sent : m_sim.SentData()) lines.push_back(sent.kind + " " + escape::Escape(sent.data));
    return Listing(lines);
  }
  return Error("usage: show requests | lines | sent | ports");
}
