#include "reportcapture.h"

#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "brntreportsocket.h"

CReportCapture::CReportCapture() : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (ReportAsyncInit() != 1 || m_socket < 0 || bind(m_socket, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("no socket to receive reports on");
  }
  const int room = 8 * 1024 * 1024;
  setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
  m_previous = g_reportaddr;
  g_reportaddr = address;
}

CReportCapture::~CReportCapture() {
  g_reportaddr = m_previous;
  close(m_socket);
}

std::vector<T_Report> CReportCapture::Take() {
  std::vector<T_Report> reports;
  std::string datagram(65536, '\0');
  for (;;) {
    const ssize_t size = recv(m_socket, datagram.data(), datagram.size(), MSG_DONTWAIT);
    if (size < 0) return reports;
    reports.push_back(reportframe::Decode(std::string_view(datagram).substr(0, static_cast<size_t>(size))));
  }
}
