// A library preloaded into a process under test, for tests only. It counts the process's file, spawn and network calls,
// ends the process with SIGKILL at a chosen one, keeps a journal of what has reached stable storage, and lets the
// process sleep faster than the clock.
//
// Counted: calls that change files or open and close them, that start a program, or that talk to a peer over IP. Calls
// that only look (read, stat, poll, waiting for a child) are not: nothing changes between them and the next one. Each
// call is a line of the journal, written before the call is made; journal.h describes the lines.
//
// Environment, read once and removed with LD_PRELOAD, so that programs the process starts are left alone:
//   HALYARD_POWERLOSS_JOURNAL     file that the journal is appended to; without it the library does nothing
//   HALYARD_POWERLOSS_KILL        "n before", "n during" or "n after": the call, numbered from 1, and the moment
//                                 ("during": a write has reached half of its bytes; other calls die before)
//   HALYARD_POWERLOSS_SECOND_US   microseconds that a second of sleeping takes; without it sleeps are real
//
// While sleeps are shortened the monotonic clocks of the process jump along, and timed waits on condition variables
// follow them: to the process it looks as if the time had passed. Only what is reached through the dynamic linker is
// seen, not what the C library calls inside itself (system(), reading a time zone); files opened with fopen are
// unbuffered, so that fwrite is the call that writes.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

// The function of this name that the process would have called without this library.
#define NEXT(name)                                                                         \
  ([] {                                                                                    \
    static const auto next = reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name)); \
    return next;                                                                           \
  }())

extern "C" {
// What the C library's headers turn some calls into; they declare these only while they do so.
int __open_2(const char* path, int flags);
int __open64_2(const char* path, int flags);
ssize_t __recv_chk(int fd, void* buffer, size_t length, size_t bufferLength, int flags);
}

namespace {

enum E_Moment { e_before, e_during, e_after };

constexpr size_t kLargestFile = 64 * 1024;  // that a test may sync; journaled in one piece
constexpr size_t kShownBytes = 400;         // of a message to a peer, in the journal

struct T_Shim {
  int journal = -1;  // -1: the library does nothing
  long killAt = 0;   // 0: never
  E_Moment moment = e_before;
  int64_t usPerSecond = 0;  // 0: sleeps are real
  std::atomic<long> calls{0};
  std::atomic<int64_t> skippedNs{0};  // by which the process's monotonic clocks are ahead
};

// --- settings -------------------------------------------------------------------------------------------------------

const char* Setting(const char* name) {
  const char* value = getenv(name);
  return value == nullptr ? "" : value;
}

T_Shim* ReadSettings() {
  auto* shim = new T_Shim;  // the process's threads use it to the end
  const std::string journal = Setting("HALYARD_POWERLOSS_JOURNAL");
  if (!journal.empty()) {
    shim->journal = static_cast<int>(
        syscall(SYS_openat, AT_FDCWD, journal.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
  }
  char moment[16] = "";
  if (sscanf(Setting("HALYARD_POWERLOSS_KILL"), "%ld %15s", &shim->killAt, moment) == 2) {
    shim->moment = strcmp(moment, "during") == 0 ? e_during : strcmp(moment, "after") == 0 ? e_after : e_before;
  }
  shim->usPerSecond = atol(Setting("HALYARD_POWERLOSS_SECOND_US"));
  for (const char* name :
       {"LD_PRELOAD", "HALYARD_POWERLOSS_JOURNAL", "HALYARD_POWERLOSS_KILL", "HALYARD_POWERLOSS_SECOND_US"}) {
    unsetenv(name);
  }
  return shim;
}

T_Shim& Shim() {
  static T_Shim* shim = ReadSettings();
  return *shim;
}

__attribute__((constructor)) void ReadSettingsEarly() { Shim(); }

// --- journal --------------------------------------------------------------------------------------------------------

// In one piece, so that threads do not mix their lines.
void Journal(const std::string& text) { syscall(SYS_write, Shim().journal, text.data(), text.size()); }

std::string PathOf(int fd) {
  char path[PATH_MAX];
  const ssize_t length = readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), path, sizeof path);
  return length > 0 ? std::string(path, static_cast<size_t>(length)) : "?";
}

std::string Printable(const void* data, size_t length) {
  std::string text(static_cast<const char*>(data), std::min(length, kShownBytes));
  for (char& c : text) c = c >= ' ' && c <= '~' ? c : '.';
  return text;
}

std::string Hex(const std::string& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    text += kDigits[static_cast<unsigned char>(c) >> 4];
    text += kDigits[static_cast<unsigned char>(c) & 15];
  }
  return text;
}

std::string Content(int fd) {
  const std::string path = "/proc/self/fd/" + std::to_string(fd);
  const auto in = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string content(kLargestFile, '\0');
  const long length = in < 0 ? -1 : syscall(SYS_read, in, content.data(), content.size());
  if (in >= 0) syscall(SYS_close, in);
  content.resize(length > 0 ? static_cast<size_t>(length) : 0);
  return content;
}

void JournalFile(int fd, const struct stat& about) {
  char head[64];
  snprintf(head, sizeof head, "file %lu %o ", static_cast<unsigned long>(about.st_ino), about.st_mode & 07777);
  Journal(head + Hex(Content(fd)) + "\n");
}

void JournalFolder(int fd) {
  const std::string path = PathOf(fd);
  std::string text = "folder " + path + "\n";
  DIR* folder = opendir(path.c_str());
  while (const dirent* entry = folder == nullptr ? nullptr : readdir(folder)) {
    if (entry->d_type == DT_REG) text += "entry " + std::to_string(entry->d_ino) + " " + entry->d_name + "\n";
  }
  if (folder != nullptr) closedir(folder);
  Journal(text + "done\n");
}

// What stands in the file, or in the folder, is on stable storage now.
void JournalSynced(int fd) {
  struct stat about {};
  if (fstat(fd, &about) != 0) return;
  if (S_ISDIR(about.st_mode)) JournalFolder(fd);
  if (S_ISREG(about.st_mode)) JournalFile(fd, about);
}

// --- counting and killing -------------------------------------------------------------------------------------------

[[noreturn]] void Die() {
  syscall(SYS_kill, getpid(), SIGKILL);
  while (true) pause();
}

// Counts a call and makes it, unless the process dies before. A result of -1 keeps the errno of the call.
template <typename Perform>
auto Counted(const std::string& what, Perform perform) {
  T_Shim& shim = Shim();
  if (shim.journal < 0) return perform();
  static pthread_mutex_t order = PTHREAD_MUTEX_INITIALIZER;
  pthread_mutex_lock(&order);
  const long number = ++shim.calls;
  Journal("call " + what + "\n");
  pthread_mutex_unlock(&order);
  const bool last = number == shim.killAt;
  if (last && shim.moment != e_after) Die();
  const auto result = perform();
  if (last) Die();
  return result;
}

// True for the call that Counted counts next, when it is to be cut in half. With several threads writing at once the
// number may go to another call, which then dies before it is made.
bool CutsNextCall() {
  const T_Shim& shim = Shim();
  return shim.journal >= 0 && shim.moment == e_during && shim.calls + 1 == shim.killAt;
}

std::string Named(const char* call, const char* path) { return std::string(call) + " " + path; }

enum E_Kind { e_other, e_file, e_peer };  // of a descriptor

E_Kind KindOf(int fd) {
  if (Shim().journal < 0) return e_other;
  struct stat about {};
  if (fstat(fd, &about) != 0) return e_other;
  if (S_ISREG(about.st_mode) || S_ISDIR(about.st_mode)) return e_file;
  if (!S_ISSOCK(about.st_mode)) return e_other;
  int domain = 0;
  socklen_t size = sizeof domain;
  if (getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) != 0) return e_other;
  return domain == AF_INET || domain == AF_INET6 ? e_peer : e_other;
}

std::string Named(const char* call, int fd, E_Kind kind) {
  return std::string(call) + " " + (kind == e_peer ? "peer" : PathOf(fd));
}

template <typename Perform>
auto CountedOnFd(const char* call, int fd, Perform perform) {
  const E_Kind kind = KindOf(fd);
  return kind == e_other ? perform() : Counted(Named(call, fd, kind), perform);
}

template <typename Perform>
auto CountedMessage(const char* call, int fd, const void* data, size_t length, Perform perform) {
  if (KindOf(fd) != e_peer) return perform();
  return Counted(Named(call, fd, e_peer) + " " + Printable(data, length), perform);
}

// Writes with the first `length` bytes, or half of them as the last thing the process does.
template <typename Perform>
ssize_t CountedWrite(const char* call, int fd, size_t length, Perform perform) {
  const E_Kind kind = KindOf(fd);
  if (kind == e_other) return perform(length);
  const auto synced = [&](size_t bytes) {
    const ssize_t written = perform(bytes);
    const int error = errno;
    if (kind == e_file && (fcntl(fd, F_GETFL) & O_DSYNC) != 0) JournalSynced(fd);
    errno = error;
    return written;
  };
  if (kind == e_file && CutsNextCall()) {
    synced(length / 2);
    Journal("call " + Named(call, fd, kind) + "\n");
    Die();
  }
  return Counted(Named(call, fd, kind), [&] { return synced(length); });
}

template <typename Perform>
int CountedSync(const char* call, int fd, Perform perform) {
  return CountedOnFd(call, fd, [&] {
    const int result = perform();
    if (result == 0 && Shim().journal >= 0) JournalSynced(fd);
    return result;
  });
}

template <typename Perform>
auto CountedOpen(const char* call, const char* path, Perform perform) {
  return Counted(Named(call, path), perform);
}

mode_t CreationMode(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

// --- what the other threads do --------------------------------------------------------------------------------------

constexpr size_t kWatchedFds = 1024;
std::array<std::atomic<pid_t>, kWatchedFds> g_connectedBy;  // the thread that connected the descriptor to a peer, or 0

void NoteConnected(int fd, pid_t thread) {
  if (fd >= 0 && static_cast<size_t>(fd) < kWatchedFds) g_connectedBy[static_cast<size_t>(fd)] = thread;
}

bool OtherThreadExchanges() {
  const pid_t self = gettid();
  return std::any_of(g_connectedBy.begin(), g_connectedBy.end(), [self](const std::atomic<pid_t>& thread) {
    const pid_t owner = thread;
    return owner != 0 && owner != self;
  });
}

// Running, or waiting for a processor.
bool OtherThreadRuns() {
  DIR* threads = opendir("/proc/self/task");
  if (threads == nullptr) return false;
  bool runs = false;
  while (const dirent* entry = runs ? nullptr : readdir(threads)) {
    if (entry->d_name[0] == '.' || atol(entry->d_name) == gettid()) continue;
    const std::string path = std::string("/proc/self/task/") + entry->d_name + "/stat";
    const auto in = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path.c_str(), O_RDONLY | O_CLOEXEC));
    char text[128] = "";
    if (in >= 0 && syscall(SYS_read, in, text, sizeof text - 1) > 0) {
      const char* nameEnd = strrchr(text, ')');
      runs = nameEnd != nullptr && strncmp(nameEnd, ") R", 3) == 0;
    }
    if (in >= 0) syscall(SYS_close, in);
  }
  closedir(threads);
  return runs;
}

// --- time -----------------------------------------------------------------------------------------------------------

constexpr int64_t kNs = 1000 * 1000 * 1000;
constexpr int64_t kSliceNs = 5 * 1000 * 1000;         // real; how often a sleeper moves the clock on
constexpr int64_t kWaiterSliceNs = 20 * 1000 * 1000;  // real; how often a waiter looks at the clock
constexpr int64_t kBusySliceNs = 500 * 1000;          // real; how often a sleeper looks at the other threads
constexpr int64_t kBusyLimitNs = 100 * 1000 * 1000;   // real
// Monotonic time of this and more is the time of day: a deadline's clock is told by its size.
constexpr time_t kTimeOfDay = 1000 * 1000 * 1000;

int64_t InNs(const timespec& time) { return time.tv_sec * kNs + time.tv_nsec; }
timespec FromNs(int64_t ns) { return {static_cast<time_t>(ns / kNs), static_cast<long>(ns % kNs)}; }

bool Shortens() { return Shim().journal >= 0 && Shim().usPerSecond > 0; }

int64_t RealNs() {
  timespec now{};
  NEXT(clock_gettime)(CLOCK_MONOTONIC, &now);
  return InNs(now);
}

int64_t ProcessNs() { return RealNs() + Shim().skippedNs; }

void MoveClockTo(int64_t ns) {
  std::atomic<int64_t>& skipped = Shim().skippedNs;
  const int64_t wanted = ns - RealNs();
  int64_t current = skipped;
  while (current < wanted && !skipped.compare_exchange_weak(current, wanted)) {
  }
}

void RealSleep(int64_t ns) {
  const timespec time = FromNs(ns);
  NEXT(nanosleep)(&time, nullptr);
}

// Sleeps so long of the process's time. rest waits so many real nanoseconds and tells whether the sleep is over; the
// result is the last it told. A sleep ends only when the other threads have nothing left to do: on a busy machine too
// the process gets as much done in a second as it usually would.
template <typename Rest>
bool SleepShortened(int64_t ns, Rest rest) {
  const int64_t start = ProcessNs();
  const int64_t real = ns * Shim().usPerSecond / 1000000;
  for (int64_t spent = 0; spent < real && ProcessNs() < start + ns;) {
    const int64_t slice = std::min(kSliceNs, real - spent);
    if (rest(slice)) return true;
    spent += slice;
    MoveClockTo(start + ns / real * spent);
  }
  const auto busy = [] { return OtherThreadExchanges() || OtherThreadRuns(); };
  for (const int64_t from = RealNs(); busy() && RealNs() - from < kBusyLimitNs;) {
    if (rest(kBusySliceNs)) return true;
  }
  MoveClockTo(start + ns);
  return false;
}

void SleepShortened(int64_t ns) {
  SleepShortened(ns, [](int64_t slice) {
    RealSleep(slice);
    return false;
  });
}

// Waits until the process's clock shows this time, which sleepers move.
int WaitShortened(pthread_cond_t* condition, pthread_mutex_t* mutex, int64_t deadlineNs) {
  while (true) {
    const int64_t left = deadlineNs - ProcessNs();
    if (left <= 0) return ETIMEDOUT;
    const timespec until = FromNs(RealNs() + std::min(left, kWaiterSliceNs));
    const int result = NEXT(pthread_cond_clockwait)(condition, mutex, CLOCK_MONOTONIC, &until);
    if (result != ETIMEDOUT) return result;
  }
}

bool IsMonotonic(clockid_t clock) {
  return clock == CLOCK_MONOTONIC || clock == CLOCK_MONOTONIC_RAW || clock == CLOCK_MONOTONIC_COARSE ||
         clock == CLOCK_BOOTTIME;
}

}  // namespace

extern "C" {

// --- files ----------------------------------------------------------------------------------------------------------

#define OPEN_CALL(name, next)                                                        \
  int name(const char* path, int flags, ...) {                                       \
    va_list arguments;                                                               \
    va_start(arguments, flags);                                                      \
    const mode_t mode = CreationMode(flags, arguments);                              \
    va_end(arguments);                                                               \
    return CountedOpen("open", path, [&] { return NEXT(next)(path, flags, mode); }); \
  }
OPEN_CALL(open, open)
OPEN_CALL(open64, open64)
#undef OPEN_CALL

#define OPENAT_CALL(name)                                                                    \
  int name(int folder, const char* path, int flags, ...) {                                   \
    va_list arguments;                                                                       \
    va_start(arguments, flags);                                                              \
    const mode_t mode = CreationMode(flags, arguments);                                      \
    va_end(arguments);                                                                       \
    return CountedOpen("open", path, [&] { return NEXT(name)(folder, path, flags, mode); }); \
  }
OPENAT_CALL(openat)
OPENAT_CALL(openat64)
#undef OPENAT_CALL

int __open_2(const char* path, int flags) { return open(path, flags); }
int __open64_2(const char* path, int flags) { return open64(path, flags); }

int creat(const char* path, mode_t mode) { return open(path, O_CREAT | O_WRONLY | O_TRUNC, mode); }
int creat64(const char* path, mode_t mode) { return open64(path, O_CREAT | O_WRONLY | O_TRUNC, mode); }

static FILE* Unbuffered(FILE* file) {
  if (file != nullptr && Shim().journal >= 0) setvbuf(file, nullptr, _IONBF, 0);
  return file;
}

FILE* fopen(const char* path, const char* mode) {
  return CountedOpen("fopen", path, [&] { return Unbuffered(NEXT(fopen)(path, mode)); });
}

FILE* fopen64(const char* path, const char* mode) {
  return CountedOpen("fopen", path, [&] { return Unbuffered(NEXT(fopen64)(path, mode)); });
}

size_t fwrite(const void* data, size_t size, size_t count, FILE* file) {
  return CountedOnFd("fwrite", fileno(file), [&] { return NEXT(fwrite)(data, size, count, file); });
}

int fclose(FILE* file) {
  return CountedOnFd("fclose", fileno(file), [&] { return NEXT(fclose)(file); });
}

ssize_t write(int fd, const void* data, size_t length) {
  return CountedWrite("write", fd, length, [&](size_t bytes) { return NEXT(write)(fd, data, bytes); });
}

ssize_t pwrite(int fd, const void* data, size_t length, off_t at) {
  return CountedWrite("pwrite", fd, length, [&](size_t bytes) { return NEXT(pwrite)(fd, data, bytes, at); });
}

ssize_t pwrite64(int fd, const void* data, size_t length, off64_t at) {
  return CountedWrite("pwrite", fd, length, [&](size_t bytes) { return NEXT(pwrite64)(fd, data, bytes, at); });
}

ssize_t writev(int fd, const iovec* parts, int count) {
  return CountedWrite("writev", fd, static_cast<size_t>(count),
                      [&](size_t some) { return NEXT(writev)(fd, parts, static_cast<int>(some)); });
}

int ftruncate(int fd, off_t length) noexcept {
  return CountedOnFd("ftruncate", fd, [&] { return NEXT(ftruncate)(fd, length); });
}

int ftruncate64(int fd, off64_t length) noexcept {
  return CountedOnFd("ftruncate", fd, [&] { return NEXT(ftruncate64)(fd, length); });
}

int truncate(const char* path, off_t length) noexcept {
  return Counted(Named("truncate", path), [&] { return NEXT(truncate)(path, length); });
}

int fsync(int fd) {
  return CountedSync("fsync", fd, [&] { return NEXT(fsync)(fd); });
}

int fdatasync(int fd) {
  return CountedSync("fdatasync", fd, [&] { return NEXT(fdatasync)(fd); });
}

int close(int fd) {
  NoteConnected(fd, 0);
  return CountedOnFd("close", fd, [&] { return NEXT(close)(fd); });
}

int unlink(const char* path) noexcept {
  return Counted(Named("unlink", path), [&] { return NEXT(unlink)(path); });
}

int unlinkat(int folder, const char* path, int flags) noexcept {
  return Counted(Named("unlink", path), [&] { return NEXT(unlinkat)(folder, path, flags); });
}

int remove(const char* path) noexcept {
  return Counted(Named("remove", path), [&] { return NEXT(remove)(path); });
}

int rename(const char* from, const char* to) noexcept {
  return Counted(Named("rename", from) + " " + to, [&] { return NEXT(rename)(from, to); });
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
  return Counted(Named("rename", from) + " " + to, [&] { return NEXT(renameat)(fromFolder, from, toFolder, to); });
}

int link(const char* from, const char* to) noexcept {
  return Counted(Named("link", from) + " " + to, [&] { return NEXT(link)(from, to); });
}

int symlink(const char* from, const char* to) noexcept {
  return Counted(Named("symlink", from) + " " + to, [&] { return NEXT(symlink)(from, to); });
}

int mkdir(const char* path, mode_t mode) noexcept {
  return Counted(Named("mkdir", path), [&] { return NEXT(mkdir)(path, mode); });
}

int rmdir(const char* path) noexcept {
  return Counted(Named("rmdir", path), [&] { return NEXT(rmdir)(path); });
}

// --- programs -------------------------------------------------------------------------------------------------------

// The last argument says most: it is the command when the program is a shell.
static std::string LastArgument(char* const argv[]) {
  const char* last = "";
  for (; *argv != nullptr; ++argv) last = *argv;
  return Printable(last, strlen(last));
}

int posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* files, const posix_spawnattr_t* how,
                char* const argv[], char* const envp[]) {
  return Counted("spawn " + LastArgument(argv), [&] { return NEXT(posix_spawn)(child, path, files, how, argv, envp); });
}

int posix_spawnp(pid_t* child, const char* file, const posix_spawn_file_actions_t* files, const posix_spawnattr_t* how,
                 char* const argv[], char* const envp[]) {
  return Counted("spawn " + LastArgument(argv),
                 [&] { return NEXT(posix_spawnp)(child, file, files, how, argv, envp); });
}

// --- peers ----------------------------------------------------------------------------------------------------------

int socket(int domain, int type, int protocol) noexcept {
  const auto make = [&] { return NEXT(socket)(domain, type, protocol); };
  return domain == AF_INET || domain == AF_INET6 ? Counted("socket peer", make) : make();
}

int bind(int fd, const sockaddr* address, socklen_t size) noexcept {
  return CountedOnFd("bind", fd, [&] { return NEXT(bind)(fd, address, size); });
}

int connect(int fd, const sockaddr* address, socklen_t size) {
  if (KindOf(fd) == e_peer) NoteConnected(fd, gettid());
  return CountedOnFd("connect", fd, [&] { return NEXT(connect)(fd, address, size); });
}

ssize_t send(int fd, const void* data, size_t length, int flags) {
  return CountedMessage("send", fd, data, length, [&] { return NEXT(send)(fd, data, length, flags); });
}

ssize_t sendto(int fd, const void* data, size_t length, int flags, const sockaddr* address, socklen_t size) {
  return CountedMessage("send", fd, data, length, [&] { return NEXT(sendto)(fd, data, length, flags, address, size); });
}

ssize_t sendmsg(int fd, const msghdr* message, int flags) {
  return CountedOnFd("sendmsg", fd, [&] { return NEXT(sendmsg)(fd, message, flags); });
}

ssize_t recv(int fd, void* buffer, size_t length, int flags) {
  return CountedOnFd("recv", fd, [&] { return NEXT(recv)(fd, buffer, length, flags); });
}

ssize_t __recv_chk(int fd, void* buffer, size_t length, size_t, int flags) { return recv(fd, buffer, length, flags); }

ssize_t recvfrom(int fd, void* buffer, size_t length, int flags, sockaddr* address, socklen_t* size) {
  return CountedOnFd("recv", fd, [&] { return NEXT(recvfrom)(fd, buffer, length, flags, address, size); });
}

int shutdown(int fd, int how) noexcept {
  return CountedOnFd("shutdown", fd, [&] { return NEXT(shutdown)(fd, how); });
}

// --- time -----------------------------------------------------------------------------------------------------------

int clock_gettime(clockid_t clock, timespec* now) noexcept {
  const int result = NEXT(clock_gettime)(clock, now);
  if (result == 0 && IsMonotonic(clock) && Shortens()) *now = FromNs(InNs(*now) + Shim().skippedNs);
  return result;
}

int nanosleep(const timespec* time, timespec* left) {
  if (!Shortens()) return NEXT(nanosleep)(time, left);
  SleepShortened(InNs(*time));
  return 0;
}

int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* left) {
  if (!Shortens()) return NEXT(clock_nanosleep)(clock, flags, time, left);
  timespec now{};
  if ((flags & TIMER_ABSTIME) != 0) clock_gettime(clock, &now);
  SleepShortened(InNs(*time) - InNs(now));
  return 0;
}

int usleep(useconds_t us) {
  if (!Shortens()) return NEXT(usleep)(us);
  SleepShortened(static_cast<int64_t>(us) * 1000);
  return 0;
}

unsigned sleep(unsigned seconds) {
  if (!Shortens()) return NEXT(sleep)(seconds);
  SleepShortened(seconds * kNs);
  return 0;
}

int poll(pollfd* fds, nfds_t count, int ms) {
  if (!Shortens() || count != 0 || ms <= 0) return NEXT(poll)(fds, count, ms);
  SleepShortened(int64_t{ms} * 1000000);
  return 0;
}

int sigtimedwait(const sigset_t* set, siginfo_t* info, const timespec* time) {
  if (!Shortens() || time == nullptr) return NEXT(sigtimedwait)(set, info, time);
  int taken = -1;
  const bool arrived = SleepShortened(InNs(*time), [&](int64_t slice) {
    const timespec rest = FromNs(slice);
    taken = NEXT(sigtimedwait)(set, info, &rest);
    return taken > 0;
  });
  if (arrived) return taken;
  errno = EAGAIN;
  return -1;
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline) {
  if (deadline->tv_sec >= kTimeOfDay) return NEXT(pthread_cond_clockwait)(condition, mutex, CLOCK_REALTIME, deadline);
  if (!Shortens()) return NEXT(pthread_cond_clockwait)(condition, mutex, CLOCK_MONOTONIC, deadline);
  return WaitShortened(condition, mutex, InNs(*deadline));
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                           const timespec* deadline) {
  if (!Shortens() || clock != CLOCK_MONOTONIC) return NEXT(pthread_cond_clockwait)(condition, mutex, clock, deadline);
  return WaitShortened(condition, mutex, InNs(*deadline));
}

}  // extern "C"
