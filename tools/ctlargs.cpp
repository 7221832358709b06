#include "ctlargs.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "msg_tags.h"
#include "reportframe.h"
#include "simjson.h"

namespace {

constexpr int kHighestPort = 65535;
constexpr int kLongestWatch = 1000000000;

using T_Fault = std::optional<std::string>;
using T_Words = std::vector<std::string>;

T_Fault TakeNumber(const std::string& name, const std::string& text, int max, int& number) {
  int read = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
  if (error == std::errc() && end == text.data() + text.size() && read >= 1 && read <= max) {
    number = read;
    return std::nullopt;
  }
  return name + " wants a number from 1 to " + std::to_string(max) + ", not " + text;
}

// Options of every action; they may stand anywhere.
struct T_NumberOption {
  const char* name;
  int max;
  int T_CtlArgs::*number;
};

constexpr T_NumberOption kNumberOptions[] = {
    {"--port", kHighestPort, &T_CtlArgs::commandPort},         {"--report-port", kHighestPort, &T_CtlArgs::reportPort},
    {"--control-port", kHighestPort, &T_CtlArgs::controlPort}, {"--count", kLongestWatch, &T_CtlArgs::count},
    {"--seconds", kLongestWatch, &T_CtlArgs::seconds},
};

T_Fault TakeKind(T_CtlArgs& args, const std::string& name) {
  std::string names;
  for (const T_ReportTag& row : kReportTags) {
    if (row.name == name) {
      args.kind = row.kind;
      return std::nullopt;
    }
    names += (names.empty() ? "" : ", ") + std::string(row.name);
  }
  return "--kind is one of " + names + ", not " + name;
}

// Takes the options out of the words; what stays is the action and its arguments.
T_Fault TakeOptions(T_Words& words, T_CtlArgs& args) {
  T_Words rest;
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (word.rfind("--", 0) != 0 || word == "--help" || word == "--version") {
      rest.push_back(word);
      continue;
    }
    if (word == "--bytes") {
      args.bytes = true;
      continue;
    }
    if (i + 1 == words.size()) return word + " is unknown or wants a value (see --help)";
    const std::string& value = words[++i];
    T_Fault fault = "unknown option " + word + " (see --help)";
    for (const T_NumberOption& row : kNumberOptions) {
      if (word == row.name) fault = TakeNumber(word, value, row.max, args.*row.number);
    }
    if (word == "--kind") fault = TakeKind(args, value);
    if (word == "--ip") {
      args.ip = value;
      fault = std::nullopt;
    }
    if (fault) return fault;
  }
  words = rest;
  return std::nullopt;
}

T_Fault TakeNothing(T_CtlArgs&, const T_Words& words) {
  if (words.size() == 1) return std::nullopt;
  return words[0] + " takes no " + words[1];
}

// A command without JSON takes none; one with JSON wants it well formed.
T_Fault TakeSend(T_CtlArgs& args, const T_Words& words) {
  if (words.size() < 2) return std::string("send wants a command's name or tag (halyardctl list shows them)");
  if (words.size() > 3) return "send takes one JSON text; put it in quotes";
  const T_CommandTag* row = reportframe::FindCommand(words[1]);
  if (row == nullptr) return "unknown command " + words[1] + " (halyardctl list shows them)";
  args.name = std::string(row->name);
  args.tag = row->tag;
  args.text = words.size() == 3 ? words[2] : "";
  if (row->example.empty()) {
    if (args.text.empty()) return std::nullopt;
    return args.name + " takes no JSON";
  }
  if (args.text.empty()) return args.name + " wants JSON, such as '" + std::string(row->example) + "'";
  if (!simjson::Parse(args.text)) return "this is no JSON: " + args.text;
  if (args.text.size() < kTlvTextRoom) return std::nullopt;
  return "the JSON is longer than " + std::to_string(kTlvTextRoom - 1) + " bytes";
}

T_Fault TakeSim(T_CtlArgs& args, const T_Words& words) {
  for (size_t i = 1; i < words.size(); ++i) args.text += (i > 1 ? " " : "") + words[i];
  if (!args.text.empty()) return std::nullopt;
  return std::string("sim wants a control command (halyardctl sim help lists them)");
}

struct T_Action {
  const char* name;
  E_CtlAction eAction;
  T_Fault (*take)(T_CtlArgs& args, const T_Words& words);
};

constexpr T_Action kActions[] = {
    {"send", e_ctl_send, TakeSend},
    {"online", e_ctl_online, TakeNothing},
    {"watch", e_ctl_watch, TakeNothing},
    {"list", e_ctl_list, TakeNothing},
    {"sim", e_ctl_sim, TakeSim},
    {"help", e_ctl_help, TakeNothing},
    {"--help", e_ctl_help, TakeNothing},
    {"-h", e_ctl_help, TakeNothing},
    {"--version", e_ctl_version, TakeNothing},
};

}  // namespace

namespace ctlargs {

std::variant<T_CtlArgs, std::string> Parse(const std::vector<std::string>& args) {
  T_CtlArgs parsed;
  T_Words words = args;
  // What follows "sim" belongs to the bench, whatever it looks like.
  const auto sim = std::find(words.begin(), words.end(), "sim");
  const T_Words behind(sim, words.end());
  words.erase(sim, words.end());
  if (const T_Fault wrong = TakeOptions(words, parsed)) return *wrong;
  words.insert(words.end(), behind.begin(), behind.end());
  if (words.empty()) return std::string("no action: send, online, watch, list or sim (see --help)");
  for (const T_Action& row : kActions) {
    if (words[0] != row.name) continue;
    parsed.eAction = row.eAction;
    if (const T_Fault wrong = row.take(parsed, words)) return *wrong;
    return parsed;
  }
  return "unknown action " + words[0] + " (see --help)";
}

std::string Help() {
  return R"(halyardctl: the command core's side of halyard's links, from the shell.

usage: halyardctl ACTION [ARGUMENT...] [OPTION VALUE]...

  send NAME|TAG 'JSON'   sends one command to halyard; nothing comes back, the effect shows in the reports
  online                 tells halyard that the command core is there; only then it opens its text link
  watch                  prints halyard's reports as they come: time, kind, text
  list                   shows every command with its tag and a JSON that works
  sim COMMAND            makes something happen at halyard-sim (halyardctl sim help lists what)
  help                   this text

  --ip ADDRESS           where the peers are (127.0.0.1)
  --port N               halyard's command port (9991)
  --report-port N        where watch receives reports (9993)
  --control-port N       halyard-sim's control port (9970)
  --count N              watch: ends after N reports
  --seconds N            watch: ends after N seconds
  --kind KIND            watch: only video, rs232, ir, online, audio, monitor, alive or videowall
  --bytes                watch: each report's bytes too

A first session, with halyard-sim and halyard running:

  halyardctl watch &
  halyardctl online
  halyardctl send set-associations-video '{"streamSubscription":{"avpDeviceId":"0016c04e21e7"}}'
  halyardctl sim source 1920x1080p60

Exit status: 0 done, 1 it could not be done, 2 bad usage.
)";
}

}  // namespace ctlargs
