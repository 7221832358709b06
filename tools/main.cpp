// halyardctl: cmd_core's side of the links, from the shell.
#include <cstdio>
#include <exception>
#include <iostream>

#include "ctlrun.h"

int main(int argc, char** argv) {
  try {
    return CtlMain({argv + 1, argv + argc}, std::cout, std::cerr);
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "halyardctl: %s\n", fault.what());
    return 1;
  }
}
