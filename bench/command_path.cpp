// How long a command takes through the whole process, and how many a second it carries, beside a bare loop that does
// only what cannot be left out (bareloop.h), and beside that loop with the task framework's hand-overs between its
// steps (taskloop.h). All get the same datagrams and send to the same server, in turns.
//
//   halyard_bench_command_path [--quick] [--latency N] [--sustained N] [--growth N] [--idle SECONDS]
//
//   --quick       a tenth of everything; for trying the benchmark itself
//   --latency     commands sent one at a time (5000)
//   --sustained   commands sent as fast as they are carried (60000)
//   --growth      commands after which the memory is looked at again (100000)
//   --idle        how long the idle process is watched (10)
//
// Prints a table with the targets; exit status 0 unless something could not be measured. Runs itself in the sandbox.
#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "bareloop.h"
#include "benchserver.h"
#include "entersandbox.h"
#include "halyardprocess.h"
#include "msg_tags.h"
#include "taskloop.h"

namespace {

using Clock = CBenchServer::Clock;
using std::chrono::milliseconds;

constexpr std::uint16_t kHalyardPort = 9991;
constexpr std::uint16_t kBarePort = 9990;
constexpr std::uint16_t kTasksPort = 9989;
constexpr char kDeviceId[] = "0016c04e41b2";

// One command, one request; all send the same one.
constexpr std::uint32_t kCommandTag = 0x40402;
constexpr char kCommandText[] = R"({"streamSubscription":{"deviceID":"none"}})";
constexpr char kRequestBody[] = "{\"free\":true,\"op\":\"stop\",\"stream_index\":0,\"stream_type\":\"USB_HID\"}\n";
constexpr std::uint32_t kOnlineTag = 0x90503;

constexpr int kTurns = 10;                 // how often they change places
constexpr std::uint64_t kWindow = 64;      // commands under way at once in the sustained runs
constexpr auto kPause = milliseconds(3);   // after a single command: its exchange is over, all threads sleep again
constexpr auto kRefill = milliseconds(1);  // a window lasts longer than that
constexpr auto kPatience = std::chrono::seconds(20);
constexpr double kMedianTarget = 1.3;
constexpr double kRateTarget = 0.85;
constexpr long kResidentTargetKiB = 16 * 1024;

struct T_Plan {
  std::uint64_t latency = 5'000;  // commands one at a time
  // As fast as they are carried. More than there are ports for connections: from then on each connect looks for one
  // whose old connection is over, as it does on a process that has been busy for a while.
  std::uint64_t sustained = 60'000;
  std::uint64_t growth = 100'000;  // more of them, before the memory is looked at again
  int idleSeconds = 10;
};

// The peer that sends: cmd_core, as far as this needs it.
class CSender {
 public:
  CSender() : m_iSocket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
  ~CSender() { close(m_iSocket); }
  CSender(const CSender&) = delete;
  CSender& operator=(const CSender&) = delete;

  void Send(std::uint16_t port, const std::string& datagram) const {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sendto(m_iSocket, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr*>(&address), sizeof address);
  }

 private:
  const int m_iSocket;
};

std::string Word(std::uint32_t value) { return std::string(reinterpret_cast<const char*>(&value), sizeof value); }

std::string Record(std::uint32_t tag, const std::string& value) {
  return Word(tag) + Word(static_cast<std::uint32_t>(value.size())) + value;
}

std::string Datagram(std::uint32_t tag, const std::string& text) {
  return Record(kTlvEnvelopeTag, Record(tag, text + '\0'));
}

// Microseconds, as measured, in no order.
struct T_Times {
  std::vector<double> us;

  double Percentile(double share) {
    std::sort(us.begin(), us.end());
    return us.empty() ? 0 : us[static_cast<size_t>(share * static_cast<double>(us.size() - 1))];
  }
};

// One of those that are measured side by side.
struct T_Contender {
  std::uint16_t port;
  T_Times times;
  double seconds = 0;  // in the sustained runs
};

class CCommandPath {
 public:
  explicit CCommandPath(const T_Plan& plan)
      : m_plan(plan),
        m_bare(kBarePort, Url(), kRequestBody),
        m_tasks(kTasksPort, Url(), kRequestBody),
        m_strCommand(Datagram(kCommandTag, kCommandText)) {}

  bool Run() {
    if (!m_server.Start() || !m_bare.Start() || !m_tasks.Start()) return Fail("a port is taken");
    if (!StartHalyard()) return Fail("the process does not carry commands");
    MeasureIdle();
    const long residentBefore = m_halyard.StatusNumber("VmRSS").value_or(-1);
    if (!MeasureLatency() || !MeasureRate()) return Fail("commands were lost");
    const long residentWarm = m_halyard.StatusNumber("VmRSS").value_or(-1);
    if (!Carry(kHalyardPort, m_plan.growth)) return Fail("commands were lost");
    Print(residentBefore, residentWarm);
    m_halyard.Signal(SIGTERM);
    return m_halyard.WaitForEnd(5'000) == 0 || Fail("the process did not end in order");
  }

 private:
  static std::string Url() { return std::string("http://127.0.0.1:8080/api/device/") + kDeviceId; }

  static bool Fail(const char* why) {
    std::fprintf(stderr, "%s\n", why);
    return false;
  }

  bool WaitForPosts(std::uint64_t count) const {
    const auto end = Clock::now() + kPatience;
    while (m_server.Posts() < count) {
      if (Clock::now() > end) return false;
      std::this_thread::sleep_for(kPause);
    }
    return true;
  }

  bool StartHalyard() {
    std::ofstream("/misc/boardInfo.json") << "{\"modelNumber\":\"HLY-RX\"}\n";
    if (!m_halyard.Start({"-m", kDeviceId})) return false;
    const auto end = Clock::now() + kPatience;
    const std::string online = Datagram(kOnlineTag, "");
    // The first reads of the device show that its link to the server is set up; then the line has gone quiet.
    while (m_server.Posts() < 2) {
      if (Clock::now() > end) return false;
      m_sender.Send(kHalyardPort, online);
      std::this_thread::sleep_for(milliseconds(100));
    }
    std::this_thread::sleep_for(std::chrono::seconds(5));
    const std::uint64_t before = m_server.Posts();
    m_sender.Send(kHalyardPort, m_strCommand);
    return WaitForPosts(before + 1);
  }

  void MeasureIdle() {
    const long before = m_halyard.CpuMs().value_or(0);
    std::this_thread::sleep_for(std::chrono::seconds(m_plan.idleSeconds));
    const long used = m_halyard.CpuMs().value_or(0) - before;
    m_idlePercent = static_cast<double>(used) / (10.0 * m_plan.idleSeconds);
  }

  // One command at a time. A read of the process's own housekeeping that comes between would end the wait early; such a
  // command is measured again.
  bool MeasureOne(std::uint16_t port, T_Times* pTimes) {
    while (true) {
      const std::uint64_t before = m_server.Posts();
      const auto sent = Clock::now();
      m_sender.Send(port, m_strCommand);
      std::this_thread::sleep_for(kPause);  // nobody looks on meanwhile: there may be few processors
      if (!WaitForPosts(before + 1)) return false;
      const auto arrived = m_server.LastPost();
      if (m_server.Posts() != before + 1) continue;
      pTimes->us.push_back(std::chrono::duration<double, std::micro>(arrived - sent).count());
      return true;
    }
  }

  bool MeasureLatency() {
    for (int turn = 0; turn < kTurns; ++turn) {
      for (T_Contender* contender : Contenders()) {
        for (std::uint64_t i = 0; i < m_plan.latency / kTurns; ++i) {
          if (!MeasureOne(contender->port, &contender->times)) return false;
        }
      }
    }
    return true;
  }

  // Seconds for so many commands, never more than the window under way.
  std::optional<double> Carry(std::uint16_t port, std::uint64_t count) {
    const std::uint64_t first = m_server.Posts();
    const auto begin = Clock::now();
    auto lastStep = begin;
    std::uint64_t lastSeen = first;
    for (std::uint64_t sent = 0; m_server.Posts() < first + count;) {
      const std::uint64_t arrived = m_server.Posts();
      if (arrived != lastSeen) {
        lastSeen = arrived;
        lastStep = Clock::now();
      } else if (Clock::now() - lastStep > kPatience) {
        return std::nullopt;
      }
      if (sent < count && sent - std::min(sent, arrived - first) < kWindow) {
        m_sender.Send(port, m_strCommand);
        ++sent;
      } else {
        std::this_thread::sleep_for(kRefill);
      }
    }
    return std::chrono::duration<double>(m_server.LastPost() - begin).count();
  }

  bool MeasureRate() {
    const double bareCpuBefore = m_bare.CpuUs();
    for (int turn = 0; turn < kTurns; ++turn) {
      for (T_Contender* contender : Contenders()) {
        const long cpuBefore = m_halyard.CpuMs().value_or(0);
        const auto seconds = Carry(contender->port, m_plan.sustained / kTurns);
        if (!seconds) return false;
        contender->seconds += *seconds;
        if (contender == &m_whole) m_halyardCpuMs += m_halyard.CpuMs().value_or(0) - cpuBefore;
        std::this_thread::sleep_for(milliseconds(50));
      }
    }
    m_bareCpuUs = m_bare.CpuUs() - bareCpuBefore;
    return true;
  }

  std::array<T_Contender*, 3> Contenders() { return {&m_whole, &m_bareLoop, &m_taskLoop}; }

  double Rate(const T_Contender& contender) const { return static_cast<double>(m_plan.sustained) / contender.seconds; }

  static const char* Verdict(bool met) { return met ? "met" : "MISSED"; }

  void Print(long residentBefore, long residentWarm) {
    const double median = m_whole.times.Percentile(0.5);
    const double bareMedian = m_bareLoop.times.Percentile(0.5);
    const double tasksMedian = m_taskLoop.times.Percentile(0.5);
    const long residentAfter = m_halyard.StatusNumber("VmRSS").value_or(-1);
    std::printf("%-44s %10s %10s %7s  %s\n", "", "halyard", "bare loop", "ratio", "target");
    std::printf("%-44s %10.1f %10.1f %7.2f  at most %.2f: %s\n", "datagram to request, median (us)", median, bareMedian,
                median / bareMedian, kMedianTarget, Verdict(median <= kMedianTarget * bareMedian));
    std::printf("%-44s %10.1f %10.1f %7.2f\n", "datagram to request, 99th percentile (us)",
                m_whole.times.Percentile(0.99), m_bareLoop.times.Percentile(0.99),
                m_whole.times.Percentile(0.99) / m_bareLoop.times.Percentile(0.99));
    std::printf("%-44s %10.0f %10.0f %7.2f  at least %.2f: %s\n", "commands a second", Rate(m_whole), Rate(m_bareLoop),
                Rate(m_whole) / Rate(m_bareLoop), kRateTarget,
                Verdict(Rate(m_whole) >= kRateTarget * Rate(m_bareLoop)));
    std::printf("%-44s %10.1f %10.1f %7.2f\n", "the bare loop behind two tasks, median (us)", tasksMedian, bareMedian,
                tasksMedian / bareMedian);
    std::printf("%-44s %10.0f %10.0f %7.2f\n", "the bare loop behind two tasks, a second", Rate(m_taskLoop),
                Rate(m_bareLoop), Rate(m_taskLoop) / Rate(m_bareLoop));
    const double commands = static_cast<double>(m_plan.sustained);
    std::printf("%-44s %10.1f %10.1f %7.2f\n", "processor time for each of them (us)",
                1000.0 * static_cast<double>(m_halyardCpuMs) / commands, m_bareCpuUs / commands,
                1000.0 * static_cast<double>(m_halyardCpuMs) / m_bareCpuUs);
    std::printf("%-44s %10ld %28s%ld: %s\n", "resident memory after it all (KiB)", residentAfter, "below ",
                kResidentTargetKiB, Verdict(residentAfter < kResidentTargetKiB));
    std::printf("%-44s %10ld %10s before, %ld after %llu commands\n", "resident memory on the way (KiB)",
                residentBefore, "", residentWarm, static_cast<unsigned long long>(m_plan.latency + m_plan.sustained));
    std::printf("%-44s %10ld\n", "threads", m_halyard.StatusNumber("Threads").value_or(-1));
    std::printf("%-44s %9.2f%%\n", "processor when idle", m_idlePercent);
  }

  const T_Plan m_plan;
  CBenchServer m_server;
  CBareLoop m_bare;
  CTaskLoop m_tasks;
  CSender m_sender;
  CHalyardProcess m_halyard;
  const std::string m_strCommand;
  T_Contender m_whole{kHalyardPort, {}};
  T_Contender m_bareLoop{kBarePort, {}};
  T_Contender m_taskLoop{kTasksPort, {}};
  long m_halyardCpuMs = 0;  // during the sustained runs
  double m_bareCpuUs = 0;
  double m_idlePercent = 0;
};

// False when the arguments are not understood.
bool ReadPlan(int argc, char** argv, T_Plan* pPlan) {
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (option == "--quick") {
      *pPlan = {500, 2'000, 10'000, 1};
      continue;
    }
    if (i + 1 == argc) return false;
    char* end = nullptr;
    const std::uint64_t value = std::strtoull(argv[++i], &end, 10);
    if (*end != '\0') return false;
    if (option == "--latency") {
      pPlan->latency = value;
    } else if (option == "--sustained") {
      pPlan->sustained = value;
    } else if (option == "--growth") {
      pPlan->growth = value;
    } else if (option == "--idle") {
      pPlan->idleSeconds = static_cast<int>(value);
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  T_Plan plan;
  if (!ReadPlan(argc, argv, &plan)) {
    const bool asked = argc == 2 && std::strcmp(argv[1], "--help") == 0;
    std::fprintf(asked ? stdout : stderr,
                 "%s [--quick] [--latency N] [--sustained N] [--growth N] [--idle SECONDS]\n"
                 "Times the path of a command through the process, beside a bare loop.\n",
                 argv[0]);
    return asked ? 0 : 2;
  }
  if (!InSandbox()) return EnterSandbox(argc, argv);
  curl_global_init(CURL_GLOBAL_DEFAULT);
  CCommandPath path(plan);
  return path.Run() ? 0 : 1;
}
