// The command line of halyardctl.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

enum E_CtlAction {
  e_ctl_help = 0,
  e_ctl_version = 1,
  e_ctl_send = 2,
  e_ctl_online = 3,
  e_ctl_watch = 4,
  e_ctl_list = 5,
  e_ctl_sim = 6,
};

struct T_CtlArgs {
  E_CtlAction eAction = e_ctl_help;
  std::string ip = "127.0.0.1";
  int commandPort = 9991;
  int reportPort = 9993;
  int controlPort = 9970;
  std::string name;       // send: the command as its row names it
  std::uint32_t tag = 0;  // send
  std::string text;       // send: the JSON; sim: the control command
  int count = 0;          // watch: ends after so many reports; 0: never
  int seconds = 0;        // watch: ends after this time; 0: never
  int kind = -1;          // watch: only this kind; -1: all
  bool bytes = false;     // watch: shows each datagram's bytes too
};

namespace ctlargs {
// What the arguments (without the program's name) say, or one line that tells what is wrong with them.
std::variant<T_CtlArgs, std::string> Parse(const std::vector<std::string>& args);
std::string Help();
}  // namespace ctlargs
