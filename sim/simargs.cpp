#include "simargs.h"

#include <charconv>
#include <fstream>
#include <optional>
#include <sstream>

#include "simcontrol.h"
#include "simjson.h"

namespace {

constexpr int kHighestPort = 65535;
constexpr int kLongestMs = 3600000;

// One option: takes its value into the arguments, or says what is wrong with it.
using T_Fault = std::optional<std::string>;
struct T_Option {
  const char* name;
  const char* value;  // how the help names it
  const char* help;
  T_Fault (*take)(T_SimArgs& args, const std::string& value);
};

T_Fault TakeNumber(const std::string& text, int min, int max, int& number) {
  int read = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
  if (error == std::errc() && end == text.data() + text.size() && read >= min && read <= max) {
    number = read;
    return std::nullopt;
  }
  return "wants a number from " + std::to_string(min) + " to " + std::to_string(max) + ", not " + text;
}

T_Fault TakeRole(T_SimArgs& args, const std::string& value) {
  args.options.role = value;
  if (value == "TX" || value == "RX" || value == "TRX") return std::nullopt;
  return "is TX, RX or TRX, not " + value;
}

T_Fault TakeMac(T_SimArgs& args, const std::string& value) {
  args.options.mac = value;
  const bool hex = value.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
  if (hex && value.size() == 12) return std::nullopt;
  return "wants 12 hex digits, not " + value;
}

T_Fault TakeDocument(T_SimArgs& args, const std::string& value) {
  std::ifstream file(value);
  std::ostringstream text;
  if (!file || !(text << file.rdbuf())) return "cannot read " + value;
  args.options.document = simjson::Parse(text.str()).value_or(Json::Value());
  if (args.options.document.isNull()) return value + " is no JSON";
  return std::nullopt;
}

T_Fault TakeCommand(T_SimArgs& args, const std::string& value) {
  args.commands.push_back(value);
  return std::nullopt;
}

T_Fault TakeFault(T_SimArgs& args, const std::string& value) { return TakeCommand(args, "fault " + value); }

constexpr T_Option kOptions[] = {
    {"--role", "TX|RX|TRX", "which built-in device is played (RX)", TakeRole},
    {"--document", "FILE", "a device document instead: an answer, a device or a list of devices", TakeDocument},
    {"--mac", "MAC", "the device's id, 12 hex digits (the document's own)", TakeMac},
    {"--ip", "ADDRESS", "where all ports are (127.0.0.1)",
     [](T_SimArgs& args, const std::string& value) {
       args.options.ip = value;
       return T_Fault();
     }},
    {"--http-port", "N", "the HTTP port (8080; 0: any)",
     [](T_SimArgs& args, const std::string& value) {
       return TakeNumber(value, 0, kHighestPort, args.options.httpPort);
     }},
    {"--tci-port", "N", "the text link's port (6970; 0: any)",
     [](T_SimArgs& args, const std::string& value) {
       return TakeNumber(value, 0, kHighestPort, args.options.tciPort);
     }},
    {"--control-port", "N", "the UDP port for control commands (9970; 0: any, -1: none)",
     [](T_SimArgs& args, const std::string& value) { return TakeNumber(value, -1, kHighestPort, args.controlPort); }},
    {"--reboot-ms", "N", "how long a reboot takes (5000)",
     [](T_SimArgs& args, const std::string& value) { return TakeNumber(value, 0, kLongestMs, args.options.rebootMs); }},
    {"--update-ms", "N", "how long a firmware update takes (10000)",
     [](T_SimArgs& args, const std::string& value) { return TakeNumber(value, 0, kLongestMs, args.options.updateMs); }},
    {"--settings-ms", "N", "from a change to its SETTINGS_CHANGED (100)",
     [](T_SimArgs& args, const std::string& value) {
       return TakeNumber(value, 0, kLongestMs, args.options.settingsChangedMs);
     }},
    {"--log-limit", "N", "longer messages are cut in the log (400; 0: never)",
     [](T_SimArgs& args, const std::string& value) {
       int limit = 0;
       T_Fault fault = TakeNumber(value, 0, 1 << 24, limit);
       args.options.logLimit = static_cast<size_t>(limit);
       return fault;
     }},
    {"--fault", "'WHEN KIND [MATCH]'", "as the control command fault, from the first request on; repeatable",
     TakeFault},
    {"--run", "'COMMAND'", "any control command, before the ports open; repeatable", TakeCommand},
};

}  // namespace

namespace simargs {

std::variant<T_SimArgs, std::string> Parse(const std::vector<std::string>& args) {
  T_SimArgs parsed;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--help" || args[i] == "-h") parsed.help = true;
    if (args[i] == "--version") parsed.version = true;
    if (parsed.help || parsed.version) return parsed;
    const T_Option* option = nullptr;
    for (const T_Option& row : kOptions) {
      if (args[i] == row.name) option = &row;
    }
    if (option == nullptr) return "unknown argument " + args[i] + " (see --help)";
    if (++i == args.size()) return std::string(option->name) + " wants a value: " + option->value;
    if (const T_Fault fault = option->take(parsed, args[i])) return std::string(option->name) + " " + *fault;
  }
  return parsed;
}

std::string Help() {
  std::string help =
      "halyard-sim: plays the AV processor and its API server (HTTP and text link) for halyard.\n\n"
      "usage: halyard-sim [OPTION VALUE]...\n\n";
  for (const T_Option& row : kOptions) {
    std::string text = std::string("  ") + row.name + " " + row.value;
    text.resize(std::max<size_t>(text.size() + 2, 32), ' ');
    help += text + row.help + "\n";
  }
  help +=
      "\nWhile it runs, each message is printed on one line: time, link, direction (<- received, -> sent), text.\n"
      "Make things happen by typing a command, or from elsewhere: halyardctl sim COMMAND\n\n" +
      CSimControl::Help() + "\n";
  return help;
}

}  // namespace simargs
