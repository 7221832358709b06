#include "tcilink.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <list>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "inetaddress.h"

namespace {

constexpr size_t kLongestLine = 1 << 20;  // a peer that never ends its line is dropped
constexpr int kBacklog = 16;

struct T_Session {
  int fd = -1;
  std::string input;
  bool async = false;
  bool gone = false;  // shut down; the reading thread closes it
};

void SendAll(int fd, const std::string& bytes) {
  size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t n = send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;  // the reading thread sees the end of the connection
    sent += static_cast<size_t>(n);
  }
}

}  // namespace

class CTciLink::C_Impl {
 public:
  C_Impl(T_Handler handler, T_Changed changed) : m_handler(std::move(handler)), m_changed(std::move(changed)) {}
  ~C_Impl() { Stop(); }

  bool Start(const std::string& ip, int port) {
    const std::lock_guard<std::mutex> guard(m_mutexStart);
    if (m_thread.joinable()) return true;
    m_fdListen = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(m_fdListen, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address = InetAddress(ip, port);
    socklen_t length = sizeof address;
    if (bind(m_fdListen, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(m_fdListen, kBacklog) != 0 ||
        getsockname(m_fdListen, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
      close(m_fdListen);
      return false;
    }
    {
      const std::lock_guard<std::mutex> state(m_mutex);
      m_iPort = ntohs(address.sin_port);
    }
    m_fdWake = eventfd(0, EFD_CLOEXEC);
    m_thread = std::thread([this] { Serve(); });
    return true;
  }

  void Stop() {
    const std::lock_guard<std::mutex> guard(m_mutexStart);
    if (!m_thread.joinable()) return;
    eventfd_write(m_fdWake, 1);
    m_thread.join();
    close(m_fdListen);
    close(m_fdWake);
  }

  int Port() const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_iPort;
  }

  size_t Count(bool asyncOnly) const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return static_cast<size_t>(std::count_if(m_sessions.begin(), m_sessions.end(), [&](const T_Session& session) {
      return !session.gone && (session.async || !asyncOnly);
    }));
  }

  // Sends under the lock, so that lines of several threads never mix.
  size_t Push(const std::string& text, const std::string& end, bool asyncOnly) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    size_t count = 0;
    for (const T_Session& session : m_sessions) {
      if (session.gone || (asyncOnly && !session.async)) continue;
      SendLocked(session.fd, text, end);
      ++count;
    }
    return count;
  }

  void DropAll() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    for (T_Session& session : m_sessions) Drop(session);
  }

  void SetRefuse(bool refuse) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_bRefuse = refuse;
  }

  void SetSplitMs(int ms) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_iSplitMs = ms;
  }

 private:
  static void Drop(T_Session& session) {
    shutdown(session.fd, SHUT_RDWR);
    session.gone = true;
  }

  void SendLocked(int fd, const std::string& text, const std::string& end) {
    if (m_iSplitMs == 0 || end.empty()) return SendAll(fd, text + end);
    SendAll(fd, text);
    std::this_thread::sleep_for(std::chrono::milliseconds(m_iSplitMs));
    SendAll(fd, end);
  }

  void Serve() {
    for (;;) {
      std::vector<pollfd> fds = {{m_fdWake, POLLIN, 0}, {m_fdListen, POLLIN, 0}};
      {
        const std::lock_guard<std::mutex> guard(m_mutex);
        for (const T_Session& session : m_sessions) fds.push_back({session.fd, POLLIN, 0});
      }
      if (poll(fds.data(), fds.size(), -1) < 0) continue;
      if (fds[0].revents != 0) break;
      for (size_t i = 2; i < fds.size(); ++i) {
        if (fds[i].revents != 0) Read(fds[i].fd);
      }
      if (fds[1].revents != 0) Accept();
    }
    {
      const std::lock_guard<std::mutex> guard(m_mutex);
      for (const T_Session& session : m_sessions) close(session.fd);
      m_sessions.clear();
    }
    m_changed();
  }

  void Accept() {
    const int fd = accept4(m_fdListen, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) return;
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const timeval patience{2, 0};  // a peer that does not read costs a push two seconds, not for ever
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    {
      const std::lock_guard<std::mutex> guard(m_mutex);
      if (m_bRefuse) {
        close(fd);
        return;
      }
      m_sessions.push_back({fd, "", false, false});
    }
    m_changed();
  }

  // Only this thread closes sessions and touches their input; the descriptor cannot be another one meanwhile.
  void Read(int fd) {
    char buffer[16384];
    const ssize_t got = recv(fd, buffer, sizeof buffer, MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    std::vector<std::string> lines;
    {
      const std::lock_guard<std::mutex> guard(m_mutex);
      const auto session = std::find_if(m_sessions.begin(), m_sessions.end(),
                                        [fd](const T_Session& candidate) { return candidate.fd == fd; });
      if (session == m_sessions.end()) return;
      if (got > 0 && session->gone) return;  // what came before it was shut down is still there to be read
      if (got > 0) session->input.append(buffer, static_cast<size_t>(got));
      if (got <= 0 || session->input.size() > kLongestLine) {
        close(fd);
        m_sessions.erase(session);
      } else {
        lines = TakeLines(session->input);
      }
    }
    for (const std::string& line : lines) {
      if (!Answer(fd, line)) break;
    }
    m_changed();
  }

  static std::vector<std::string> TakeLines(std::string& input) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end = input.find('\n'); end != std::string::npos; end = input.find('\n', start)) {
      std::string line = input.substr(start, end - start);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      lines.push_back(std::move(line));
      start = end + 1;
    }
    input.erase(0, start);
    return lines;
  }

  // False when nothing more of the connection is taken.
  bool Answer(int fd, const std::string& line) {
    const T_Answer answer = m_handler(line);
    const std::lock_guard<std::mutex> guard(m_mutex);
    for (T_Session& session : m_sessions) {
      if (session.fd != fd) continue;
      if (answer.bDrop) {
        Drop(session);
        return false;
      }
      if (answer.eAsync != T_Answer::e_keep) session.async = answer.eAsync == T_Answer::e_on;
      SendLocked(fd, answer.line, "\r\n");
    }
    return true;
  }

  const T_Handler m_handler;
  const T_Changed m_changed;

  std::mutex m_mutexStart;  // Start and Stop; guards the three below, which the thread reads while it runs
  std::thread m_thread;
  int m_fdListen = -1;
  int m_fdWake = -1;

  mutable std::mutex m_mutex;  // guards the rest; held while lines are sent
  std::list<T_Session> m_sessions;
  int m_iPort = 0;
  bool m_bRefuse = false;
  int m_iSplitMs = 0;
};

CTciLink::CTciLink(T_Handler handler, T_Changed changed)
    : m_pImpl(std::make_unique<C_Impl>(std::move(handler), std::move(changed))) {}
CTciLink::~CTciLink() = default;

bool CTciLink::Start(const std::string& ip, int port) { return m_pImpl->Start(ip, port); }
void CTciLink::Stop() { m_pImpl->Stop(); }
int CTciLink::Port() const { return m_pImpl->Port(); }
size_t CTciLink::Sessions() const { return m_pImpl->Count(false); }
size_t CTciLink::AsyncSessions() const { return m_pImpl->Count(true); }
size_t CTciLink::Push(const std::string& line, bool asyncOnly) { return m_pImpl->Push(line, "\r\n", asyncOnly); }
size_t CTciLink::PushRaw(const std::string& bytes) { return m_pImpl->Push(bytes, "", false); }
void CTciLink::DropAll() { m_pImpl->DropAll(); }
void CTciLink::SetRefuse(bool refuse) { m_pImpl->SetRefuse(refuse); }
void CTciLink::SetSplitMs(int ms) { m_pImpl->SetSplitMs(ms); }
