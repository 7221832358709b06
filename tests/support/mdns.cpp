#include "mdns.h"

#include <avahi-client/client.h>
#include <avahi-common/simple-watch.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

extern char** environ;

namespace {

constexpr char kBusSocket[] = "/run/dbus/system_bus_socket";
constexpr char kDaemonSocket[] = "/run/avahi-daemon/socket";
constexpr char kBusConfig[] = "/tmp/mdns-bus.conf";
constexpr char kDaemonConfig[] = "/tmp/mdns-avahi.conf";
constexpr int kStartMs = 30'000;
constexpr int kGoodbyeMs = 1'500;

// The system's own configurations want users that the sandbox does not have.
constexpr char kBusConfigText[] = R"(<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
)";

constexpr char kDaemonConfigText[] = R"([server]
host-name=endpoint
use-ipv4=yes
use-ipv6=no
allow-interfaces=eth0
enable-dbus=yes
[wide-area]
enable-wide-area=no
[publish]
publish-workstation=no
[rlimits]
)";

pid_t Spawn(const std::vector<std::string>& words) {
  std::vector<std::string> copies = words;
  std::vector<char*> argv;
  for (std::string& word : copies) argv.push_back(word.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, 1, "/tmp/mdns.log", O_WRONLY | O_CREAT | O_APPEND, 0644);
  posix_spawn_file_actions_adddup2(&files, 1, 2);
  pid_t child = -1;
  const int error = posix_spawnp(&child, argv[0], &files, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  return error == 0 ? child : -1;
}

void End(pid_t* pChild) {
  if (*pChild <= 0) return;
  kill(*pChild, SIGKILL);
  waitpid(*pChild, nullptr, 0);
  *pChild = -1;
}

bool WaitForSocket(const char* path) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kStartMs);
  while (access(path, F_OK) != 0) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

// The daemon takes clients a little later than it opens its socket.
bool WaitForDaemon() {
  const std::unique_ptr<AvahiSimplePoll, void (*)(AvahiSimplePoll*)> poll(avahi_simple_poll_new(),
                                                                          avahi_simple_poll_free);
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kStartMs);
  while (std::chrono::steady_clock::now() < end) {
    AvahiClient* client = avahi_client_new(
        avahi_simple_poll_get(poll.get()), static_cast<AvahiClientFlags>(0),
        [](AvahiClient*, AvahiClientState, void*) {}, nullptr, nullptr);
    const bool running = client != nullptr && avahi_client_get_state(client) == AVAHI_CLIENT_S_RUNNING;
    if (client != nullptr) avahi_client_free(client);
    if (running) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

}  // namespace

CMdns::~CMdns() {
  for (auto& [name, child] : m_mapPublishers) End(&child);
  StopDaemon();
  End(&m_bus);
}

bool CMdns::Start() {
  std::ofstream(kBusConfig) << kBusConfigText;
  std::ofstream(kDaemonConfig) << kDaemonConfigText;
  mkdir("/run/dbus", 0755);
  mkdir("/run/avahi-daemon", 0755);
  unlink(kBusSocket);
  unlink(kDaemonSocket);
  if (std::system("ip address replace 10.77.0.1/24 dev eth0") != 0) return false;
  m_bus = Spawn({"dbus-daemon", std::string("--config-file=") + kBusConfig, "--nofork", "--nopidfile"});
  if (m_bus < 0 || !WaitForSocket(kBusSocket)) return false;
  m_daemon = Spawn({"avahi-daemon", "--file", kDaemonConfig, "--no-drop-root", "--no-chroot", "--no-rlimits"});
  return m_daemon > 0 && WaitForSocket(kDaemonSocket) && WaitForDaemon();
}

void CMdns::StopDaemon() { End(&m_daemon); }

void CMdns::Publish(const std::string& name, const std::string& txt) { Publish(name, std::vector<std::string>{txt}); }

void CMdns::Publish(const std::string& name, const std::vector<std::string>& txts) {
  if (m_mapPublishers.count(name) != 0) {
    Withdraw(name);
    // A withdrawn service is forgotten a second later; announced before that, it counts as one that never went.
    std::this_thread::sleep_for(std::chrono::milliseconds(kGoodbyeMs));
  }
  std::vector<std::string> words = {"avahi-publish", "--service", name, "_tmp._udp", "9"};
  words.insert(words.end(), txts.begin(), txts.end());
  m_mapPublishers[name] = Spawn(words);
}

void CMdns::PublishAvp(const std::string& deviceId, const std::string& ip) {
  Publish("avp-" + deviceId, R"({"deviceid":")" + deviceId + R"(","avpip":")" + ip + R"("})");
}

void CMdns::Withdraw(const std::string& name) {
  End(&m_mapPublishers[name]);
  m_mapPublishers.erase(name);
}
