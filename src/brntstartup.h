// What main does before and after the framework runs: command line, role of the endpoint, the two run modes.
//
// Main thread only.
#pragma once

#include "brnttypes.h"

// Filled by CheckInputParameters and DetectRole; constant once other threads run.
extern T_InitData Myinitdata;

// Reads the command line into Myinitdata. 1 when start-up may go on, else 0. May be called again.
int CheckInputParameters(int argc, char** argv);

// Prints the help text to standard output.
void HALYARD_HELP(const char* progName);

// Reads the model number from the board description and sets Myinitdata.s_mode. False when there is no role in it.
bool DetectRole(const char* boardFile);
