// The command line of halyard-sim.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "avpsim.h"

constexpr int kControlPort = 9970;  // where halyard-sim takes control commands, unless told otherwise

struct T_SimArgs {
  T_AvpSimOptions options;
  int controlPort = kControlPort;     // 0: any free port; -1: none
  std::vector<std::string> commands;  // control commands to carry out before the ports open
  bool help = false;
  bool version = false;
};

namespace simargs {
// What the arguments (without the program's name) say, or one line that tells what is wrong with them.
std::variant<T_SimArgs, std::string> Parse(const std::vector<std::string>& args);
std::string Help();
}  // namespace simargs
