#include "fuzzworld.h"

#include <cstdlib>

#include "brntcmdworker.h"
#include "brntplatform.h"
#include "entersandbox.h"

namespace fuzzworld {

void Enter(int argc, char** argv) {
  if (!InSandbox()) std::exit(EnterSandbox(argc, argv));
  T_PlatformHooks hooks;
  hooks.runShell = [](const std::string&) { return 0; };
  hooks.monotonicMs = [] { return SInt64{1000000}; };
  hooks.uptimeSec = [] { return SInt64{1000}; };  // a server that reports a lost device does so for 0 s: no reboot
  hooks.sleepMs = [](SInt64) {};
  static const auto* const installed = new CScopedPlatform(hooks);
  static_cast<void>(installed);
  threadCreated = true;  // the targets do the command worker's work themselves
}

}  // namespace fuzzworld
