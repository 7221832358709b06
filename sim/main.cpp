// halyard-sim: the AV processor, played until a signal ends it. Control commands come from standard input and by UDP.
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "avpsim.h"
#include "controllink.h"
#include "simargs.h"
#include "simcontrol.h"

namespace {

constexpr size_t kRequestsKept = 1000;  // it may run for days

void Print(const std::string& line) {
  std::fputs((line + "\n").c_str(), stdout);
  std::fflush(stdout);
}

int Complain(const std::string& text, int status) {
  std::fprintf(stderr, "halyard-sim: %s\n", text.c_str());
  return status;
}

// The signals that end the program, as a descriptor. To be called before the first thread starts.
int StopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  return signalfd(-1, &signals, SFD_CLOEXEC);
}

// Carries out the whole lines that have arrived and leaves the rest.
void TakeCommands(CSimControl& control, std::string& input) {
  for (size_t end = input.find('\n'); end != std::string::npos; end = input.find('\n')) {
    const std::string line = input.substr(0, end);
    input.erase(0, end + 1);
    if (!line.empty()) Print(control.Execute(line));
  }
}

// Until a signal comes. The end of standard input ends only its own reading.
void ServeInput(CSimControl& control, int fdSignals) {
  std::string input;
  pollfd fds[2] = {{fdSignals, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
  for (;;) {
    if (poll(fds, 2, -1) < 0) continue;
    if (fds[0].revents != 0) return;
    if (fds[1].revents == 0) continue;
    char buffer[4096];
    const ssize_t got = read(STDIN_FILENO, buffer, sizeof buffer);
    if (got <= 0) {
      fds[1].fd = -1;
      continue;
    }
    input.append(buffer, static_cast<size_t>(got));
    TakeCommands(control, input);
  }
}

int Play(T_SimArgs args, int fdSignals) {
  args.options.log = Print;
  args.options.requestsKept = kRequestsKept;
  const auto sim = std::make_unique<CAvpSim>(args.options);
  CSimControl control(*sim);
  for (const std::string& command : args.commands) {
    const std::string answer = control.Execute(command);
    if (CSimControl::IsError(answer)) return Complain(command + ": " + answer.substr(7), 2);
  }
  CControlLink link([&control](const std::string& command) { return control.Execute(command); });
  if (!sim->Start()) return Complain("a port cannot be had", 1);
  if (args.controlPort >= 0 && !link.Start(args.options.ip, args.controlPort)) {
    return Complain("the control port cannot be had", 1);
  }
  Print("ready: device " + sim->DeviceId() + " http " + std::to_string(sim->HttpPort()) + " tci " +
        std::to_string(sim->TciPort()) + " control " + std::to_string(link.Port()));
  ServeInput(control, fdSignals);
  return 0;
}

int Run(const std::vector<std::string>& words) {
  const auto parsed = simargs::Parse(words);
  if (const auto* fault = std::get_if<std::string>(&parsed)) return Complain(*fault, 2);
  const T_SimArgs& args = std::get<T_SimArgs>(parsed);
  if (args.help) {
    std::fputs(simargs::Help().c_str(), stdout);
    return 0;
  }
  if (args.version) {
    std::puts("halyard-sim " HALYARD_VERSION);
    return 0;
  }
  return Play(args, StopSignals());
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run({argv + 1, argv + argc});
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "halyard-sim: %s\n", fault.what());
    return 2;
  }
}
