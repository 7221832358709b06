#include "brntstartup.h"

T_InitData Myinitdata;

int CheckInputParameters(int, char**) { return 0; }
void HALYARD_HELP(const char*) {}
bool DetectRole(const char*) { return false; }
