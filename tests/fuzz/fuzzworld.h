// What the fuzz targets have in place of the world: shell commands that are not run, clocks that stand still, sleeps
// that take no time, and a local device with its id.
#pragma once

#include <string>

namespace fuzzworld {

constexpr char kLocalDevice[] = "0016c04e41b2";

// Puts the process into the sandbox, if it is not there, and the stand-ins into their places. Called once, before the
// first input; does not return when the sandbox cannot be entered.
void Enter(int argc, char** argv);

}  // namespace fuzzworld
