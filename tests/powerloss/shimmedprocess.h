// A program run to its end with the library of shim.cpp preloaded, perhaps killed at one of its calls.
//
// One thread. The program and everything it has started are gone when Run returns, as after a power loss. The caller
// becomes the parent of what its children leave behind, so nothing else of the test may start children meanwhile.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "journal.h"

enum E_KillMoment { e_kill_before, e_kill_during, e_kill_after };

struct T_ShimPlan {
  size_t killAt = 0;  // the call, numbered from 1; 0: none
  E_KillMoment moment = e_kill_before;
  int usPerSecond = 0;  // real microseconds for a second of sleeping; 0: real sleeps
  int timeoutMs = 60'000;
};

struct T_ShimResult {
  bool ended = false;  // by itself or killed by its plan; false: it took too long and was ended
  bool killed = false;
  int status = -1;  // of a program that ended by itself
  std::vector<T_JournalRecord> journal;
};

// Runs the program with these arguments, its output appended to the file.
T_ShimResult RunShimmed(const std::string& program, const std::vector<std::string>& arguments,
                        const std::string& outputPath, const T_ShimPlan& plan);
