#include "tcppeer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace {

constexpr int kPatienceMs = 20000;

}  // namespace

CTcpPeer::CTcpPeer(int port) : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  m_bConnected = connect(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
}

CTcpPeer::~CTcpPeer() { close(m_fd); }

void CTcpPeer::Send(const std::string& bytes) { send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

bool CTcpPeer::ReadMore() {
  pollfd readable{m_fd, POLLIN, 0};
  if (poll(&readable, 1, kPatienceMs) <= 0) return false;
  char buffer[16384];
  const ssize_t got = recv(m_fd, buffer, sizeof buffer, 0);
  if (got <= 0) return false;
  m_input.append(buffer, static_cast<size_t>(got));
  return true;
}

std::optional<std::string> CTcpPeer::Line() {
  while (m_input.find("\r\n") == std::string::npos) {
    if (!ReadMore()) return std::nullopt;
  }
  const size_t end = m_input.find("\r\n");
  std::string line = m_input.substr(0, end);
  m_input.erase(0, end + 2);
  return line;
}

std::string CTcpPeer::Piece() {
  if (m_input.empty()) ReadMore();
  return std::exchange(m_input, "");
}

std::string CTcpPeer::Rest() {
  while (ReadMore()) {
  }
  return std::exchange(m_input, "");
}
