#include "benchserver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace {

constexpr int kBacklog = 1024;

constexpr char kAnswer[] =
    "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 63\r\n\r\n"
    "{\"status\":\"SUCCESS\",\"request_id\":null,\"result\":{},\"error\":null}";
static_assert(std::string_view(kAnswer).size() - std::string_view(kAnswer).find("\r\n\r\n") - 4 == 63);

int Listen(int type, std::uint16_t port) {
  const int fd = socket(AF_INET, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      (type == SOCK_STREAM && listen(fd, kBacklog) != 0)) {
    close(fd);
    return -1;
  }
  return fd;
}

void Watch(int epoll, int fd) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = fd;
  epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event);
}

// True once the head and as much body as it announces are there.
bool IsWhole(const std::string& request) {
  const size_t headEnd = request.find("\r\n\r\n");
  if (headEnd == std::string::npos) return false;
  constexpr std::string_view kLength = "Content-Length: ";
  const size_t length = request.find(kLength);
  if (length == std::string::npos || length > headEnd) return true;
  return request.size() >= headEnd + 4 + std::strtoul(request.c_str() + length + kLength.size(), nullptr, 10);
}

}  // namespace

CBenchServer::~CBenchServer() {
  if (m_thread.joinable()) {
    const std::uint64_t one = 1;
    if (write(m_iStop, &one, sizeof one) == sizeof one) m_thread.join();
  }
  for (int fd : {m_iHttp, m_iText, m_iReports, m_iEpoll, m_iStop}) {
    if (fd >= 0) close(fd);
  }
}

bool CBenchServer::Start() {
  m_iHttp = Listen(SOCK_STREAM, 8080);
  m_iText = Listen(SOCK_STREAM, 6970);
  m_iReports = Listen(SOCK_DGRAM, 9993);
  m_iEpoll = epoll_create1(EPOLL_CLOEXEC);
  m_iStop = eventfd(0, EFD_CLOEXEC);
  if (m_iHttp < 0 || m_iText < 0 || m_iReports < 0 || m_iEpoll < 0 || m_iStop < 0) return false;
  for (int fd : {m_iHttp, m_iText, m_iReports, m_iStop}) Watch(m_iEpoll, fd);
  m_thread = std::thread([this] { Serve(); });
  return true;
}

void CBenchServer::Accept(int listener) {
  const int fd = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (fd < 0) return;
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  if (listener == m_iHttp) m_mapHttp[fd].clear();
  Watch(m_iEpoll, fd);
}

bool CBenchServer::ServeHttp(int fd) {
  char buffer[16384];
  const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
  if (got < 0) return errno == EAGAIN || errno == EINTR;
  if (got == 0) return false;
  std::string& request = m_mapHttp[fd];
  request.append(buffer, static_cast<size_t>(got));
  if (!IsWhole(request)) return true;
  if (request.rfind("POST", 0) == 0) {
    m_s64LastPost.store(Clock::now().time_since_epoch().count());
    m_u64Posts.fetch_add(1, std::memory_order_release);
  }
  request.clear();
  return send(fd, kAnswer, sizeof kAnswer - 1, MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof kAnswer - 1);
}

bool CBenchServer::ServeText(int fd) {
  char buffer[16384];
  const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
  return got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR));
}

void CBenchServer::Serve() {
  while (true) {
    epoll_event events[64];
    const int count = epoll_wait(m_iEpoll, events, 64, -1);
    for (int i = 0; i < count; ++i) {
      const int fd = events[i].data.fd;
      if (fd == m_iStop) return;
      if (fd == m_iHttp || fd == m_iText) {
        Accept(fd);
      } else if (fd == m_iReports) {
        char report[65536];
        while (recv(fd, report, sizeof report, 0) > 0) {
        }
      } else if (m_mapHttp.count(fd) != 0) {
        if (ServeHttp(fd)) continue;
        m_mapHttp.erase(fd);
        close(fd);
      } else if (!ServeText(fd)) {
        close(fd);
      }
    }
  }
}
