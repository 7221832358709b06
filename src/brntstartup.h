// What main is made of: command line, role of the endpoint, framework start, the two run modes.
//
// Main thread only.
#pragma once

#include "brnttypes.h"

// Filled by CheckInputParameters and DetectRole; constant once other threads run.
extern T_InitData Myinitdata;

// Reads the command line into Myinitdata. 1 when start-up may go on, else 0. May be called again: ids append.
int CheckInputParameters(int argc, char** argv);

// Prints the help text to standard output.
void HALYARD_HELP(const char* progName);

// Reads the model number from the board description at path and sets Myinitdata.s_mode. False when it names no role.
bool DetectRole(const char* path);

// Configures the log, then starts the task framework and the proxy core.
void StartFramework(const char* progName, const char* logConfigPath);

// Starts the links and discovery, then announces the AVP to cmd_core for as long as the process lives.
[[noreturn]] void RunNormalMode();

// Upgrades the AVP's firmware, once. 0, the exit status, whether it succeeded or not.
int RunUpgradeMode();
