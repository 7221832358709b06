#include "rowserver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace {

constexpr char kEndOfHead[] = "\r\n\r\n";

std::size_t ContentLength(const std::string& head) {
  const std::string name = "\r\nContent-Length: ";
  const std::size_t at = head.find(name);
  return at == std::string::npos ? 0 : std::strtoul(head.c_str() + at + name.size(), nullptr, 10);
}

bool ReadMore(int connection, std::string& text) {
  char buffer[65536];
  const ssize_t got = recv(connection, buffer, sizeof buffer, 0);
  if (got <= 0) return false;
  text.append(buffer, static_cast<std::size_t>(got));
  return true;
}

bool ReadRequest(int connection, T_ServerRequest& request) {
  std::string text;
  std::size_t headEnd = std::string::npos;
  while ((headEnd = text.find(kEndOfHead)) == std::string::npos) {
    if (!ReadMore(connection, text)) return false;
  }
  request.headers = text.substr(0, headEnd + 2);
  request.body = text.substr(headEnd + 4);
  while (request.body.size() < ContentLength(request.headers)) {
    if (!ReadMore(connection, request.body)) return false;
  }
  const std::size_t methodEnd = text.find(' ');
  request.method = text.substr(0, methodEnd);
  request.path = text.substr(methodEnd + 1, text.find(' ', methodEnd + 1) - methodEnd - 1);
  return true;
}

void SendAll(int connection, const std::string& text) {
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t now = send(connection, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (now <= 0) return;
    sent += static_cast<std::size_t>(now);
  }
}

}  // namespace

CRowServer::CRowServer() {
  m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (m_listener < 0 || bind(m_listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
      listen(m_listener, 64) != 0 || getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("no port to listen on");
  }
  m_port = ntohs(address.sin_port);
  m_thread = std::thread(&CRowServer::Serve, this);
}

CRowServer::~CRowServer() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stop = true;
  }
  m_changed.notify_all();
  shutdown(m_listener, SHUT_RDWR);
  m_thread.join();
  close(m_listener);
}

std::string CRowServer::BaseUrl() const { return "http://127.0.0.1:" + std::to_string(m_port); }

void CRowServer::Answer(std::string body, int httpStatus) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_rows.push_back({std::move(body), httpStatus, T_ServerRow::kAnswer});
}

void CRowServer::HangUp() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_rows.push_back({"", 0, T_ServerRow::kHangUp});
}

void CRowServer::Truncate(std::string body) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_rows.push_back({std::move(body), 200, T_ServerRow::kTruncate});
}

void CRowServer::OnRequest(std::function<T_ServerRow(const T_ServerRequest&)> onRequest) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_onRequest = std::move(onRequest);
}

void CRowServer::Reset() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_onRequest = nullptr;
  m_rows.clear();
  m_requests.clear();
}

std::vector<T_ServerRequest> CRowServer::Requests() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_requests;
}

std::vector<std::string> CRowServer::Bodies() const {
  std::vector<std::string> bodies;
  for (const T_ServerRequest& request : Requests()) bodies.push_back(request.body);
  return bodies;
}

std::vector<std::string> CRowServer::Lines() const {
  std::vector<std::string> lines;
  for (const T_ServerRequest& request : Requests()) lines.push_back(request.method + " " + request.path);
  return lines;
}

bool CRowServer::WaitForRequests(std::size_t count) const {
  std::unique_lock<std::mutex> lock(m_mutex);
  return m_changed.wait_for(lock, std::chrono::seconds(20), [&] { return m_requests.size() >= count; });
}

void CRowServer::Hold() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_held = true;
}

void CRowServer::Release() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_held = false;
  }
  m_changed.notify_all();
}

void CRowServer::Serve() {
  for (int number = 1;; ++number) {
    const int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) return;
    const int on = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ServeConnection(connection, number);
    close(connection);
  }
}

void CRowServer::ServeConnection(int connection, int number) {
  T_ServerRequest request;
  do {
    request = T_ServerRequest{};
    request.connection = number;
  } while (ReadRequest(connection, request) && ServeRequest(connection, request));
}

bool CRowServer::ServeRequest(int connection, const T_ServerRequest& request) {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_requests.push_back(request);
  m_changed.notify_all();
  m_changed.wait(lock, [this] { return !m_held || m_stop; });
  if (m_stop) return false;
  lock.unlock();

  const T_ServerRow row = RowFor(request);
  if (row.manner == T_ServerRow::kHangUp) return false;
  const std::size_t promised = row.body.size() + (row.manner == T_ServerRow::kTruncate ? 1 : 0);
  SendAll(connection, "HTTP/1.1 " + std::to_string(row.httpStatus) +
                          " Row\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(promised) +
                          "\r\nLocation: /elsewhere\r\n\r\n" + row.body);
  return row.manner == T_ServerRow::kAnswer;
}

T_ServerRow CRowServer::RowFor(const T_ServerRequest& request) {
  std::unique_lock<std::mutex> lock(m_mutex);
  const auto onRequest = m_onRequest;
  lock.unlock();
  const T_ServerRow row = onRequest ? onRequest(request) : T_ServerRow{"", 0, T_ServerRow::kAnswer};
  return row.httpStatus == 0 && row.manner == T_ServerRow::kAnswer ? NextRow() : row;
}

T_ServerRow CRowServer::NextRow() {
  std::lock_guard<std::mutex> lock(m_mutex);
  if (m_rows.empty()) return {"no row", 500, T_ServerRow::kAnswer};
  const T_ServerRow row = m_rows.front();
  if (m_rows.size() > 1) m_rows.pop_front();
  return row;
}
