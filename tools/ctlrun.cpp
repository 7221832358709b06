#include "ctlrun.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <variant>

#include "cmdcore.h"
#include "controllink.h"
#include "escape.h"
#include "msg_tags.h"
#include "simcontrol.h"
#include "simlog.h"

namespace {

constexpr int kAnswerMs = 5000;
constexpr int kPauseMs = 200;

std::string Hex(const std::string& bytes) {
  std::string text;
  char pair[4];
  for (const char c : bytes) {
    std::snprintf(pair, sizeof pair, "%02x", static_cast<unsigned char>(c));
    text += (text.empty() ? "" : " ") + std::string(pair);
  }
  return text;
}

void PrintReport(const T_Report& report, bool bytes, std::ostream& out) {
  out << TimeOfDay(report.time) << ' ';
  if (report.fault.empty()) {
    std::string text = report.text;
    while (!text.empty() && text.back() == '\n') text.pop_back();
    out << report.name << ' ' << escape::Escape(text) << '\n';
  } else {
    out << "no report (" << report.fault << ")\n";
  }
  if (bytes) out << "  " << Hex(report.raw) << '\n';
  out.flush();
}

T_CmdCoreOptions CoreOptions(const T_CtlArgs& args) {
  T_CmdCoreOptions options;
  options.ip = args.ip;
  options.commandPort = args.commandPort;
  options.reportPort = args.reportPort;
  return options;
}

int Send(const T_CtlArgs& args, std::ostream&, std::ostream& err) {
  CCmdCore core(CoreOptions(args));
  const bool sent = args.eAction == e_ctl_online ? core.Online() : core.Send(args.tag, args.text);
  if (!sent) err << "halyardctl: the datagram could not be sent\n";
  return sent ? 0 : 1;
}

int Watch(const T_CtlArgs& args, std::ostream& out, std::ostream& err) {
  CCmdCore core(CoreOptions(args));
  if (!core.Start()) {
    err << "halyardctl: port " << args.reportPort << " cannot be had (is another watch running?)\n";
    return 1;
  }
  const auto end = T_SimClock::now() + std::chrono::seconds(args.seconds);
  const T_ReportMatcher wanted = [&](const T_Report& report) { return args.kind < 0 || report.kind == args.kind; };
  int printed = 0;
  while (args.seconds == 0 || T_SimClock::now() < end) {
    for (const T_Report& report : core.TakeReports(kPauseMs)) {
      if (!wanted(report)) continue;
      PrintReport(report, args.bytes, out);
      if (++printed == args.count) return 0;
    }
  }
  return 0;
}

int List(const T_CtlArgs&, std::ostream& out, std::ostream&) {
  for (const T_CommandTag& row : kCommandTags) {
    char tag[16];
    std::snprintf(tag, sizeof tag, "0x%x", row.tag);
    out << row.name << " (" << tag << ")\n  halyardctl send " << row.name;
    if (!row.example.empty()) out << " '" << row.example << "'";
    out << '\n';
  }
  return 0;
}

int AskSim(const T_CtlArgs& args, std::ostream& out, std::ostream& err) {
  const std::optional<std::string> answer = CControlLink::Ask(args.ip, args.controlPort, args.text, kAnswerMs);
  if (!answer) {
    err << "halyardctl: no halyard-sim answers on port " << args.controlPort << '\n';
    return 1;
  }
  (CSimControl::IsError(*answer) ? err : out) << *answer << '\n';
  return CSimControl::IsError(*answer) ? 1 : 0;
}

int Help(const T_CtlArgs&, std::ostream& out, std::ostream&) {
  out << ctlargs::Help();
  return 0;
}

int Version(const T_CtlArgs&, std::ostream& out, std::ostream&) {
  out << "halyardctl " HALYARD_VERSION "\n";
  return 0;
}

struct T_Runner {
  E_CtlAction eAction;
  int (*run)(const T_CtlArgs& args, std::ostream& out, std::ostream& err);
};

constexpr T_Runner kRunners[] = {
    {e_ctl_help, Help},   {e_ctl_version, Version}, {e_ctl_send, Send},  {e_ctl_online, Send},
    {e_ctl_watch, Watch}, {e_ctl_list, List},       {e_ctl_sim, AskSim},
};

}  // namespace

int RunCtl(const T_CtlArgs& args, std::ostream& out, std::ostream& err) {
  for (const T_Runner& row : kRunners) {
    if (row.eAction == args.eAction) return row.run(args, out, err);
  }
  return 1;
}

int CtlMain(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  const auto parsed = ctlargs::Parse(args);
  if (const auto* fault = std::get_if<std::string>(&parsed)) {
    err << "halyardctl: " << *fault << '\n';
    return 2;
  }
  return RunCtl(std::get<T_CtlArgs>(parsed), out, err);
}
