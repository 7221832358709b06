#include "shimmedprocess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include "entersandbox.h"

extern char** environ;

namespace {

constexpr char kJournalPath[] = "/sandbox/journal";
constexpr int kPollMs = 1;

const char* MomentName(E_KillMoment moment) {
  switch (moment) {
    case e_kill_before:
      return "before";
    case e_kill_during:
      return "during";
    default:
      return "after";
  }
}

std::vector<std::string> Environment(const T_ShimPlan& plan) {
  std::vector<std::string> variables = {
      "LD_PRELOAD=" + InSandboxProject(HALYARD_POWERLOSS_SHIM),
      std::string("HALYARD_POWERLOSS_JOURNAL=") + kJournalPath,
      "HALYARD_POWERLOSS_KILL=" + std::to_string(plan.killAt) + " " + MomentName(plan.moment),
      "HALYARD_POWERLOSS_SECOND_US=" + std::to_string(plan.usPerSecond),
  };
  for (char** variable = environ; *variable != nullptr; ++variable) variables.push_back(*variable);
  return variables;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// In a group of its own, with what it starts.
pid_t Start(const std::string& program, const std::vector<std::string>& arguments, const std::string& outputPath,
            const T_ShimPlan& plan) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, 1, outputPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
  posix_spawn_file_actions_adddup2(&files, 1, 2);
  posix_spawnattr_t how;
  posix_spawnattr_init(&how);
  posix_spawnattr_setpgroup(&how, 0);
  posix_spawnattr_setflags(&how, POSIX_SPAWN_SETPGROUP);

  std::vector<std::string> words = {program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = Environment(plan);
  pid_t child = -1;
  const int error =
      posix_spawn(&child, program.c_str(), &files, &how, Pointers(words).data(), Pointers(variables).data());
  posix_spawn_file_actions_destroy(&files);
  posix_spawnattr_destroy(&how);
  if (error != 0) throw std::runtime_error("cannot start " + program);
  return child;
}

std::optional<int> WaitFor(pid_t child, int timeoutMs) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (std::chrono::steady_clock::now() < end) {
    int status = 0;
    if (waitpid(child, &status, WNOHANG) == child) return status;
    std::this_thread::sleep_for(std::chrono::milliseconds(kPollMs));
  }
  return std::nullopt;
}

// Ends what is left of the program's group, and waits until all of it is gone.
void EndGroup(pid_t group) {
  kill(-group, SIGKILL);
  while (waitpid(-group, nullptr, 0) > 0 || errno == EINTR) {
  }
}

}  // namespace

T_ShimResult RunShimmed(const std::string& program, const std::vector<std::string>& arguments,
                        const std::string& outputPath, const T_ShimPlan& plan) {
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  std::remove(kJournalPath);
  const pid_t child = Start(program, arguments, outputPath, plan);
  const std::optional<int> status = WaitFor(child, plan.timeoutMs);
  EndGroup(child);

  T_ShimResult result;
  result.ended = status.has_value();
  result.killed = status && WIFSIGNALED(*status) && WTERMSIG(*status) == SIGKILL;
  if (status && WIFEXITED(*status)) result.status = WEXITSTATUS(*status);
  result.journal = ReadJournal(kJournalPath);
  return result;
}
