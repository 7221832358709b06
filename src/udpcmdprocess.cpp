#include "udpcmdprocess.h"

#include <atomic>

namespace {

std::atomic<bool> g_cmdcoreonlineflag{false};

}  // namespace

bool IfCmdCoreOnline() { return g_cmdcoreonlineflag; }

void SetCmdCoreOnline(bool online) { g_cmdcoreonlineflag = online; }
