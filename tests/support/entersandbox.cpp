#include "entersandbox.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

bool InSandbox() { return std::getenv("HALYARD_SANDBOX") != nullptr; }

int EnterSandbox(int argc, char** argv) {
  std::string launcher = HALYARD_SOURCE_DIR "/scripts/sandbox";
  std::string separator = "--";
  char self[4096];
  const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) {
    std::perror("/proc/self/exe");
    return 1;
  }
  self[length] = '\0';
  std::vector<char*> args = {launcher.data(), separator.data(), self};
  for (int i = 1; i < argc; ++i) args.push_back(argv[i]);
  args.push_back(nullptr);
  execv(launcher.c_str(), args.data());
  std::perror(launcher.c_str());
  return 1;
}

std::string InSandboxProject(const std::string& path) {
  return "/sandbox/project" + path.substr(std::string(HALYARD_SOURCE_DIR).size());
}
