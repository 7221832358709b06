// The main function of every test program: runs itself again inside the sandbox, so that a test never sees the
// machine's own paths, ports and addresses. Listing the tests needs no sandbox.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

bool OnlyLists(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--gtest_list_tests") == 0) return true;
  }
  return false;
}

int EnterSandbox(int argc, char** argv) {
  std::string launcher = HALYARD_SOURCE_DIR "/scripts/sandbox";
  std::string separator = "--";
  char self[4096];
  const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) return 1;
  self[length] = '\0';
  std::vector<char*> args = {launcher.data(), separator.data(), self};
  for (int i = 1; i < argc; ++i) args.push_back(argv[i]);
  args.push_back(nullptr);
  execv(launcher.c_str(), args.data());
  std::perror(launcher.c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (std::getenv("HALYARD_SANDBOX") == nullptr && !OnlyLists(argc, argv)) return EnterSandbox(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
