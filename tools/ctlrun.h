// Carries out what halyardctl was asked for.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "ctlargs.h"

// The exit status: 0 done, 1 it could not be done (one line on err says why).
int RunCtl(const T_CtlArgs& args, std::ostream& out, std::ostream& err);

// The whole program: parses, complains about bad usage in one line with status 2, runs.
int CtlMain(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
