// The process entry. Everything it does is in brntstartup.
#include <csignal>

#include "brntstartup.h"
#include "brntstop.h"

int main(int argc, char** argv) {
  CBrntStop::TakeSignalsHere();
  std::signal(SIGPIPE, SIG_IGN);  // a peer that goes away is an error code at the socket
  if (CheckInputParameters(argc, argv) != 1) return -1;
  if (!DetectRole("/misc/boardInfo.json")) return -1;

  StartFramework(argv[0], "/config/logconf/halyard.conf");
  if (!Myinitdata.g_upgradeflag) RunNormalMode();
  CBrntStop::LeaveProcess(RunUpgradeMode());  // with the framework's threads running, main must not return
}
