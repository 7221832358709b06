// How a test or benchmark program gets into the sandbox: it runs itself again through scripts/sandbox.
#pragma once

// True inside.
bool InSandbox();

// Replaces this program by itself inside the sandbox, with the same arguments. Returns only on failure, with the status
// to exit with and a line on standard error.
int EnterSandbox(int argc, char** argv);
