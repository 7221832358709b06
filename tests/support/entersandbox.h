// How a test or benchmark program gets into the sandbox: it runs itself again through scripts/sandbox.
#pragma once

#include <string>

// True inside.
bool InSandbox();

// Replaces this program by itself inside the sandbox, with the same arguments. Returns only on failure, with the status
// to exit with and a line on standard error.
int EnterSandbox(int argc, char** argv);

// The sandbox's own way to a file of the project, given by its usual path: it stays when something is mounted over a
// folder above the checkout.
std::string InSandboxProject(const std::string& path);
