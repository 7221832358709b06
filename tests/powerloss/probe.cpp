// A small program that the tests of the preloaded library let run: one scene, named by its argument.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>
#include <thread>

extern char** environ;

namespace {

constexpr char kFolder[] = "/tmp/probe";
constexpr char kFile[] = "/tmp/probe/mark";

void Check(bool good, const char* what) {
  if (good) return;
  std::perror(what);
  std::exit(1);
}

void WriteMark(int flags) {
  const int fd = open(kFile, O_RDWR | O_CREAT | flags, 0700);
  Check(fd >= 0, "open");
  Check(write(fd, "avpupgrading", 12) == 12, "write");
  if (flags == 0) Check(fsync(fd) == 0, "fsync");
  Check(close(fd) == 0, "close");
}

void SyncFolder() {
  const int fd = open(kFolder, O_RDONLY | O_DIRECTORY);
  Check(fd >= 0, "open folder");
  Check(fsync(fd) == 0, "fsync folder");
  Check(close(fd) == 0, "close folder");
}

void MakeMark() {
  WriteMark(0);
  SyncFolder();
}

void MakeMarkSynchronously() {
  WriteMark(O_SYNC);
  SyncFolder();
}

void RemoveMark() {
  Check(unlink(kFile) == 0, "unlink");
  SyncFolder();
}

void WriteAsStream() { std::ofstream(std::string(kFolder) + "/stream") << "text"; }

void WriteAsCFile() {
  std::FILE* file = std::fopen(kFile, "w");
  Check(file != nullptr && std::fwrite("text", 1, 4, file) == 4 && std::fclose(file) == 0, "C file");
}

void RunCommand() {
  char shell[] = "sh";
  char option[] = "-c";
  char command[] = "echo ${LD_PRELOAD-none}${HALYARD_POWERLOSS_JOURNAL-none}; touch /tmp/probe/child";
  char* const argv[] = {shell, option, command, nullptr};
  pid_t child = -1;
  Check(posix_spawn(&child, "/bin/sh", nullptr, nullptr, argv, environ) == 0, "posix_spawn");
  int status = -1;
  Check(waitpid(child, &status, 0) == child && status == 0, "waitpid");
}

// Starts a command, says its process id and does not wait for it.
void LeaveCommandRunning() {
  char shell[] = "sh";
  char option[] = "-c";
  char command[] = "sleep 1000; true";
  char* const argv[] = {shell, option, command, nullptr};
  pid_t child = -1;
  Check(posix_spawn(&child, "/bin/sh", nullptr, nullptr, argv, environ) == 0, "posix_spawn");
  std::printf("%d\n", static_cast<int>(child));
}

void TalkToPeer() {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  Check(bind(listener, generic, size) == 0 && listen(listener, 1) == 0, "listen");
  Check(getsockname(listener, generic, &size) == 0, "getsockname");
  const int link = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  Check(connect(link, generic, size) == 0, "connect");
  Check(send(link, "hello\r\n", 7, MSG_NOSIGNAL) == 7, "send");
  Check(close(link) == 0 && close(listener) == 0, "close");
}

long MonotonicSeconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec;
}

void WaitOnCondition(long seconds) {
  pthread_condattr_t attributes;
  pthread_condattr_init(&attributes);
  pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  pthread_cond_t condition;
  pthread_cond_init(&condition, &attributes);
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  timespec deadline{};
  clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += seconds;
  pthread_mutex_lock(&mutex);
  while (pthread_cond_timedwait(&condition, &mutex, &deadline) == 0) {
  }
  pthread_mutex_unlock(&mutex);
}

// Every way to sleep, 20 s each, while another thread waits 50 s on a condition variable.
void Sleep() {
  const long begin = MonotonicSeconds();
  std::thread waiter([begin] {
    WaitOnCondition(50);
    std::printf("waited %ld\n", MonotonicSeconds() - begin >= 50 ? 50L : -1L);
  });
  const timespec time = {20, 0};
  nanosleep(&time, nullptr);
  clock_nanosleep(CLOCK_MONOTONIC, 0, &time, nullptr);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  sigtimedwait(&set, nullptr, &time);
  usleep(20'000'000);
  poll(nullptr, 0, 20'000);
  waiter.join();
  const long passed = MonotonicSeconds() - begin;
  std::printf("slept %ld\n", passed >= 100 && passed <= 102 ? 100L : passed);
}

struct T_Scene {
  const char* name;
  void (*play)();
};

constexpr T_Scene kScenes[] = {
    {"mark", MakeMark},
    {"sync-mark", MakeMarkSynchronously},
    {"unmark", RemoveMark},
    {"stream", WriteAsStream},
    {"c-file", WriteAsCFile},
    {"command", RunCommand},
    {"leave", LeaveCommandRunning},
    {"peer", TalkToPeer},
    {"sleep", Sleep},
};

}  // namespace

int main(int argc, char** argv) {
  for (const T_Scene& scene : kScenes) {
    if (argc != 2 || std::strcmp(argv[1], scene.name) != 0) continue;
    scene.play();
    return 0;
  }
  return 2;
}
