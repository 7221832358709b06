#include "halyardprocess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "entersandbox.h"

extern char** environ;

namespace {

constexpr char kOutputPath[] = "/sandbox/halyard.output";
constexpr int kPollMs = 10;

constexpr const char* kSanitizerMarks[] = {"AddressSanitizer", "LeakSanitizer", "ThreadSanitizer", "runtime error:"};

// A report of a sanitizer ends the process; scripts/test may say more.
void SetSanitizerDefaults() {
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS"}) setenv(name, "halt_on_error=1", 0);
  const std::string suppressions = InSandboxProject(HALYARD_SOURCE_DIR "/tests/tsan.supp");
  setenv("TSAN_OPTIONS", ("halt_on_error=1:suppressions='" + suppressions + "'").c_str(), 0);
}

std::string ReadWhole(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

CHalyardProcess::~CHalyardProcess() {
  if (!Running()) return;
  Signal(SIGKILL);
  Reap(true);
}

bool CHalyardProcess::Start(const std::vector<std::string>& arguments) {
  if (Running()) return false;
  m_status.reset();
  SetSanitizerDefaults();

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, 1, kOutputPath, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0644);
  posix_spawn_file_actions_adddup2(&files, 1, 2);

  std::string path = Path();
  std::vector<std::string> copies = arguments;
  std::vector<char*> argv = {path.data()};
  for (std::string& argument : copies) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const int error = posix_spawn(&m_pid, path.c_str(), &files, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) m_pid = -1;
  return error == 0;
}

bool CHalyardProcess::Reap(bool wait) {
  if (m_pid < 0) return true;
  int status = 0;
  if (waitpid(m_pid, &status, wait ? 0 : WNOHANG) != m_pid) return false;
  m_pid = -1;
  m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return true;
}

bool CHalyardProcess::Running() { return !Reap(false); }

void CHalyardProcess::Signal(int signalNumber) {
  if (m_pid > 0) kill(m_pid, signalNumber);
}

std::optional<int> CHalyardProcess::WaitForEnd(int timeoutMs) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (Running() && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(kPollMs));
  }
  return m_status;
}

std::string CHalyardProcess::Output() const { return ReadWhole(kOutputPath); }

bool CHalyardProcess::HasSanitizerReport() const {
  const std::string output = Output();
  for (const char* mark : kSanitizerMarks) {
    if (output.find(mark) != std::string::npos) return true;
  }
  return false;
}

std::optional<long> CHalyardProcess::StatusNumber(const std::string& field) const {
  std::ifstream in("/proc/" + std::to_string(m_pid) + "/status");
  for (std::string line; std::getline(in, line);) {
    if (line.rfind(field + ":", 0) == 0) return std::atol(line.c_str() + field.size() + 1);
  }
  return std::nullopt;
}

std::optional<size_t> CHalyardProcess::DescriptorCount() const {
  std::error_code error;
  const std::filesystem::directory_iterator all("/proc/" + std::to_string(m_pid) + "/fd", error);
  if (error) return std::nullopt;
  return static_cast<size_t>(std::distance(begin(all), end(all)));
}

std::optional<long> CHalyardProcess::CpuMs() const {
  const std::string text = ReadWhole("/proc/" + std::to_string(m_pid) + "/stat");
  const size_t nameEnd = text.rfind(')');
  if (nameEnd == std::string::npos) return std::nullopt;
  std::istringstream fields(text.substr(nameEnd + 1));
  std::string skipped;
  for (int i = 0; i < 11; ++i) fields >> skipped;  // state to cmajflt
  long user = 0;
  long system = 0;
  if (!(fields >> user >> system)) return std::nullopt;
  return (user + system) * 1000 / sysconf(_SC_CLK_TCK);
}

std::string CHalyardProcess::Path() { return InSandboxProject(HALYARD_BINARY_DIR "/halyard"); }
