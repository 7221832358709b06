// The main function of every test program: runs itself again inside the sandbox, so that a test never sees the
// machine's own paths, ports and addresses. Listing the tests needs no sandbox.
#include <gtest/gtest.h>

#include <cstring>

#include "brntstop.h"
#include "entersandbox.h"

namespace {

bool OnlyLists(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--gtest_list_tests") == 0) return true;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  if (!InSandbox() && !OnlyLists(argc, argv)) return EnterSandbox(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  CBrntStop::LeaveProcess(RUN_ALL_TESTS());  // with the framework's threads running, main must not return
}
