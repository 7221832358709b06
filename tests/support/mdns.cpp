#include "mdns.h"

#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace {

// True when scripts/mdns has done what these words say.
bool Mdns(std::vector<std::string> words) {
  std::string script = HALYARD_SOURCE_DIR "/scripts/mdns";
  std::vector<char*> argv = {script.data()};
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  pid_t child = -1;
  if (posix_spawn(&child, script.c_str(), nullptr, nullptr, argv.data(), environ) != 0) return false;
  int status = -1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

CMdns::~CMdns() {
  for (const std::string& name : m_setNames) Mdns({"withdraw", name});
  StopDaemon();
  StopBus();
}

bool CMdns::Start() { return Mdns({"start"}); }

void CMdns::StopDaemon() { Mdns({"stop", "daemon"}); }

void CMdns::StopBus() { Mdns({"stop", "bus"}); }

void CMdns::Publish(const std::string& name, const std::string& txt) { Publish(name, std::vector<std::string>{txt}); }

void CMdns::Publish(const std::string& name, const std::vector<std::string>& txts) {
  std::vector<std::string> words = {"publish", name};
  words.insert(words.end(), txts.begin(), txts.end());
  Mdns(words);
  m_setNames.insert(name);
}

void CMdns::PublishAvp(const std::string& deviceId, const std::string& ip) {
  Mdns({"announce", deviceId, ip});
  m_setNames.insert(deviceId);
}

void CMdns::Withdraw(const std::string& name) {
  Mdns({"withdraw", name});
  m_setNames.erase(name);
}
