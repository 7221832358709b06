#include "endpoint.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

extern char** environ;

namespace {

constexpr char kBridge[] = "br0";
constexpr char kMark[] = "== done ";  // begins the line that follows a command's output, with its status
constexpr int kPatienceMs = 60'000;
constexpr int kPollMs = 50;

void Close(int& fd) {
  if (fd != -1) close(fd);
  fd = -1;
}

}  // namespace

CEndpoint::~CEndpoint() {
  Close(m_fdIn);
  if (m_pid > 0) {
    kill(m_pid, SIGKILL);  // and everything inside
    waitpid(m_pid, nullptr, 0);
  }
  Close(m_fdOut);
}

bool CEndpoint::CreateBridge() {
  return std::system("ip link show br0 > /dev/null 2>&1 || { ip link add br0 type bridge && ip link set br0 up; }") ==
         0;
}

bool CEndpoint::Start(const std::string& model, const std::string& mac, const std::string& address) {
  int in[2];
  int out[2];
  if (pipe2(in, O_CLOEXEC) != 0) return false;
  if (pipe2(out, O_CLOEXEC) != 0) return false;
  m_fdIn = in[1];
  m_fdOut = out[0];

  std::vector<std::string> words = {HALYARD_SOURCE_DIR "/scripts/sandbox",
                                    "--bridge",
                                    kBridge,
                                    "--model",
                                    model,
                                    "--mac",
                                    mac,
                                    "--ip",
                                    address,
                                    "--",
                                    "bash"};
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, in[0], 0);
  posix_spawn_file_actions_adddup2(&files, out[1], 1);
  posix_spawn_file_actions_adddup2(&files, out[1], 2);
  const int error = posix_spawn(&m_pid, argv[0], &files, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  Close(in[0]);
  Close(out[1]);
  if (error != 0) m_pid = -1;
  return error == 0 && Run("cd " HALYARD_SOURCE_DIR) == 0;
}

int CEndpoint::Run(const std::string& command, std::string* pOutput) {
  const std::string text = "{ " + command + "\n} < /dev/null; printf '\\n%s%d\\n' '" + kMark + "' $?\n";
  if (write(m_fdIn, text.data(), text.size()) != static_cast<ssize_t>(text.size())) return -1;
  std::string output;
  for (std::string line; ReadLine(line); output += line + "\n") {
    if (line.rfind(kMark, 0) != 0) continue;
    if (!output.empty()) output.pop_back();  // the line end in front of the mark
    if (pOutput != nullptr) *pOutput = output;
    return std::atoi(line.c_str() + sizeof kMark - 1);
  }
  return -1;
}

std::string CEndpoint::Output(const std::string& command) {
  std::string output;
  Run(command, &output);
  if (!output.empty() && output.back() == '\n') output.pop_back();
  return output;
}

bool CEndpoint::Until(const std::string& command) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
  while (Run(command) != 0) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(kPollMs));
  }
  return true;
}

bool CEndpoint::ReadLine(std::string& line) {
  std::string::size_type end = 0;
  while ((end = m_received.find('\n')) == std::string::npos) {
    char bytes[4096];
    const ssize_t got = read(m_fdOut, bytes, sizeof bytes);
    if (got <= 0) return false;
    m_received.append(bytes, static_cast<std::size_t>(got));
  }
  line = m_received.substr(0, end);
  m_received.erase(0, end + 1);
  return true;
}
