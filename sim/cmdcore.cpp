#include "cmdcore.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "inetaddress.h"
#include "simlog.h"

namespace {

constexpr size_t kReceiveRoom = 65536;
constexpr int kReceiveBuffer = 1 << 20;  // a burst of reports survives a slow reader
constexpr std::uint32_t kOnlineTag = 0x90503;

}  // namespace

class CCmdCore::C_Impl {
 public:
  explicit C_Impl(const T_CmdCoreOptions& options)
      : m_options(options), m_log(options.log), m_commandPort(options.commandPort) {
    m_fdSend = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  }

  ~C_Impl() {
    Stop();
    if (m_fdSend >= 0) close(m_fdSend);
  }

  bool Start() {
    const std::lock_guard<std::mutex> guard(m_mutexStart);
    if (m_thread.joinable()) return true;
    m_fdReceive = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    setsockopt(m_fdReceive, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
    const int port = ReportPort() > 0 ? ReportPort() : m_options.reportPort;
    sockaddr_in address = InetAddress(m_options.ip, port);
    socklen_t length = sizeof address;
    if (bind(m_fdReceive, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        getsockname(m_fdReceive, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
      m_log.Message("UDP", "!!", "cannot receive reports on port " + std::to_string(port));
      close(m_fdReceive);
      return false;
    }
    {
      const std::lock_guard<std::mutex> state(m_mutex);
      m_reportPort = ntohs(address.sin_port);
    }
    m_fdStop = eventfd(0, EFD_CLOEXEC);
    m_thread = std::thread([this] { Receive(); });
    return true;
  }

  void Stop() {
    const std::lock_guard<std::mutex> guard(m_mutexStart);
    if (!m_thread.joinable()) return;
    eventfd_write(m_fdStop, 1);
    m_thread.join();
    close(m_fdReceive);
    close(m_fdStop);
  }

  int ReportPort() const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_reportPort;
  }

  void SetCommandPort(int port) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_commandPort = port;
  }

  bool SendRaw(const std::string& bytes) {
    int port = 0;
    {
      const std::lock_guard<std::mutex> guard(m_mutex);
      port = m_commandPort;
    }
    const sockaddr_in address = InetAddress(m_options.ip, port);
    return sendto(m_fdSend, bytes.data(), bytes.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
                  sizeof address) == static_cast<ssize_t>(bytes.size());
  }

  bool Send(std::uint32_t tag, std::string_view name, const std::string& text) {
    m_log.Message("UDP", "->", std::string(name) + " " + text);
    return SendRaw(reportframe::EncodeCommand(tag, text));
  }

  std::vector<T_Report> Reports(const T_ReportMatcher& matcher) const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    std::vector<T_Report> found;
    std::copy_if(m_reports.begin(), m_reports.end(), std::back_inserter(found), matcher);
    return found;
  }

  void ClearReports() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_reports.clear();
  }

  std::vector<T_Report> TakeReports(int timeoutMs) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_condReports.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] { return !m_reports.empty(); });
    return std::exchange(m_reports, {});
  }

  bool WaitForReports(size_t count, const T_ReportMatcher& matcher, int timeoutMs) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_condReports.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
      return static_cast<size_t>(std::count_if(m_reports.begin(), m_reports.end(), matcher)) >= count;
    });
  }

 private:
  void Receive() {
    std::vector<char> buffer(kReceiveRoom);
    pollfd fds[2] = {{m_fdReceive, POLLIN, 0}, {m_fdStop, POLLIN, 0}};
    for (;;) {
      if (poll(fds, 2, -1) < 0) continue;
      if (fds[1].revents != 0) return;
      const ssize_t got = recv(m_fdReceive, buffer.data(), buffer.size(), MSG_DONTWAIT);
      if (got < 0) continue;
      Store(reportframe::Decode({buffer.data(), static_cast<size_t>(got)}));
    }
  }

  void Store(T_Report report) {
    m_log.Message("UDP", "<-", report.fault.empty() ? report.name + " " + report.text : "no report: " + report.fault);
    {
      const std::lock_guard<std::mutex> guard(m_mutex);
      m_reports.push_back(std::move(report));
    }
    m_condReports.notify_all();
  }

  const T_CmdCoreOptions m_options;
  CSimLog m_log;
  int m_fdSend = -1;  // constant after construction

  std::mutex m_mutexStart;  // Start and Stop; guards the four below, which the thread reads while it runs
  std::thread m_thread;
  int m_fdReceive = -1;
  int m_fdStop = -1;

  mutable std::mutex m_mutex;  // guards the rest
  mutable std::condition_variable m_condReports;
  std::vector<T_Report> m_reports;
  int m_commandPort;
  int m_reportPort = 0;
};

CCmdCore::CCmdCore(const T_CmdCoreOptions& options) : m_pImpl(std::make_unique<C_Impl>(options)) {}
CCmdCore::~CCmdCore() = default;

bool CCmdCore::Start() { return m_pImpl->Start(); }
void CCmdCore::Stop() { m_pImpl->Stop(); }
int CCmdCore::ReportPort() const { return m_pImpl->ReportPort(); }
void CCmdCore::SetCommandPort(int port) { m_pImpl->SetCommandPort(port); }

bool CCmdCore::Send(std::uint32_t tag, const std::string& text) {
  char name[16];
  std::snprintf(name, sizeof name, "0x%x", tag);
  return m_pImpl->Send(tag, name, text);
}

bool CCmdCore::Send(std::string_view name, const std::string& text) {
  const T_CommandTag* row = reportframe::FindCommand(name);
  return row != nullptr && m_pImpl->Send(row->tag, row->name, text);
}

bool CCmdCore::Online() { return m_pImpl->Send(kOnlineTag, "cmd-core-online", ""); }
bool CCmdCore::SendRaw(const std::string& bytes) { return m_pImpl->SendRaw(bytes); }

std::vector<T_Report> CCmdCore::Reports() const {
  return m_pImpl->Reports([](const T_Report&) { return true; });
}

std::vector<T_Report> CCmdCore::Reports(int kind) const {
  return m_pImpl->Reports([kind](const T_Report& report) { return report.kind == kind; });
}

void CCmdCore::ClearReports() { m_pImpl->ClearReports(); }

std::vector<T_Report> CCmdCore::TakeReports(int timeoutMs) { return m_pImpl->TakeReports(timeoutMs); }

std::optional<T_Report> CCmdCore::WaitForReport(const T_ReportMatcher& matcher, int timeoutMs) const {
  if (!m_pImpl->WaitForReports(1, matcher, timeoutMs)) return std::nullopt;
  const std::vector<T_Report> found = m_pImpl->Reports(matcher);
  if (found.empty()) return std::nullopt;
  return found.front();
}

std::optional<T_Report> CCmdCore::WaitForReport(int kind, int timeoutMs) const {
  return WaitForReport([kind](const T_Report& report) { return report.kind == kind; }, timeoutMs);
}

bool CCmdCore::WaitForReports(size_t count, int kind, int timeoutMs) const {
  return m_pImpl->WaitForReports(
      count, [kind](const T_Report& report) { return report.kind == kind; }, timeoutMs);
}
