#include "controllink.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <vector>

#include "inetaddress.h"

namespace {

constexpr size_t kLargest = 65507;  // of a datagram

}  // namespace

CControlLink::~CControlLink() { Stop(); }

bool CControlLink::Start(const std::string& ip, int port) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  if (m_thread.joinable()) return true;
  m_fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = InetAddress(ip, port);
  socklen_t length = sizeof address;
  if (bind(m_fd, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
      getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    close(m_fd);
    return false;
  }
  m_iPort = ntohs(address.sin_port);
  m_fdStop = eventfd(0, EFD_CLOEXEC);
  m_thread = std::thread([this] { Serve(); });
  return true;
}

void CControlLink::Stop() {
  const std::lock_guard<std::mutex> guard(m_mutex);
  if (!m_thread.joinable()) return;
  eventfd_write(m_fdStop, 1);
  m_thread.join();
  close(m_fd);
  close(m_fdStop);
}

int CControlLink::Port() const {
  const std::lock_guard<std::mutex> guard(m_mutex);
  return m_iPort;
}

void CControlLink::Serve() {
  std::vector<char> buffer(kLargest);
  pollfd fds[2] = {{m_fd, POLLIN, 0}, {m_fdStop, POLLIN, 0}};
  for (;;) {
    if (poll(fds, 2, -1) < 0) continue;
    if (fds[1].revents != 0) return;
    sockaddr_in peer{};
    socklen_t length = sizeof peer;
    const ssize_t got =
        recvfrom(m_fd, buffer.data(), buffer.size(), MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&peer), &length);
    if (got < 0) continue;
    std::string answer = m_handler(std::string(buffer.data(), static_cast<size_t>(got)));
    answer.resize(std::min(answer.size(), kLargest));
    sendto(m_fd, answer.data(), answer.size(), MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&peer), length);
  }
}

std::optional<std::string> CControlLink::Ask(const std::string& ip, int port, const std::string& command,
                                             int timeoutMs) {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = InetAddress(ip, port);
  std::optional<std::string> answer;
  // A connected socket learns at once that nobody listens.
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
      send(fd, command.data(), command.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(command.size())) {
    pollfd readable{fd, POLLIN, 0};
    std::vector<char> buffer(kLargest);
    if (poll(&readable, 1, timeoutMs) > 0) {
      const ssize_t got = recv(fd, buffer.data(), buffer.size(), 0);
      if (got >= 0) answer = std::string(buffer.data(), static_cast<size_t>(got));
    }
  }
  close(fd);
  return answer;
}
