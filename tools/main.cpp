// halyardctl: cmd_core's side of the links, from the shell.
#include <iostream>

#include "ctlrun.h"

int main(int argc, char** argv) { return CtlMain({argv + 1, argv + argc}, std::cout, std::cerr); }
