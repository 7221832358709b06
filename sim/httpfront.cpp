#include "httpfront.h"

#include <fcntl.h>
#include <httplib.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <mutex>
#include <set>
#include <thread>

namespace {

constexpr int kIdleMs = 60000;  // how long a kept connection may say nothing
constexpr size_t kThreads = 16;

// One connection: reads through a buffer, gathers the reply, sends it in one piece unless it is to be broken.
class CGatheringStream : public httplib::Stream {
 public:
  explicit CGatheringStream(int fd) : m_fd(fd) {}

  bool is_readable() const override { return true; }
  bool is_writable() const override { return true; }
  socket_t socket() const override { return m_fd; }
  void get_remote_ip_and_port(std::string& ip, int& port) const override { Address(getpeername, ip, port); }
  void get_local_ip_and_port(std::string& ip, int& port) const override { Address(getsockname, ip, port); }

  ssize_t read(char* data, size_t size) override {
    if (m_taken == m_input.size()) {
      if (!Flush()) return -1;  // what was written so far may be what the peer waits for ("100 Continue")
      m_input.resize(16384);
      m_taken = 0;
      ssize_t got = 0;
      do {
        got = recv(m_fd, m_input.data(), m_input.size(), 0);
      } while (got < 0 && errno == EINTR);
      m_input.resize(got > 0 ? static_cast<size_t>(got) : 0);
      if (got <= 0) return got;
    }
    const size_t count = std::min(size, m_input.size() - m_taken);
    std::copy_n(m_input.data() + m_taken, count, data);
    m_taken += count;
    return static_cast<ssize_t>(count);
  }

  ssize_t write(const char* data, size_t size) override {
    m_output.append(data, size);
    return static_cast<ssize_t>(size);
  }

  void Break(E_HttpFault fault, const std::string& body) {
    m_fault = fault;
    m_raw = body;
  }

  // Sends what the request left; false when the connection is to be closed.
  bool FinishReply() {
    switch (m_fault) {
      case e_http_whole:
        return Flush();
      case e_http_hangup:
        return false;
      case e_http_half:
        m_output.resize(m_output.size() / 2);
        break;
      case e_http_raw:
        m_output = m_raw;
        break;
    }
    Flush();
    return false;
  }

  bool HasInput() const { return m_taken < m_input.size(); }

 private:
  template <typename T>
  void Address(T function, std::string& ip, int& port) const {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    char text[INET_ADDRSTRLEN] = "";
    if (function(m_fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) return;
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    ip = text;
    port = ntohs(address.sin_port);
  }

  bool Flush() {
    size_t sent = 0;
    while (sent < m_output.size()) {
      const ssize_t n = send(m_fd, m_output.data() + sent, m_output.size() - sent, MSG_NOSIGNAL);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return false;
      sent += static_cast<size_t>(n);
    }
    m_output.clear();
    return true;
  }

  const int m_fd;
  std::string m_input;
  size_t m_taken = 0;
  std::string m_output;
  E_HttpFault m_fault = e_http_whole;
  std::string m_raw;
};

thread_local CGatheringStream* t_pStream = nullptr;  // the connection whose request this thread serves

void PrepareListener(int fd) {
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  fcntl(fd, F_SETFD, FD_CLOEXEC);
}

void PrepareConnection(int fd) {
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  const timeval none{};  // the server sets short time-outs of its own on each connection
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &none, sizeof none);
  fcntl(fd, F_SETFD, FD_CLOEXEC);
}

}  // namespace

// Serves each connection itself, to have the socket in hand: replies leave in one piece, can be broken half-way, and a
// stop does not wait for idle connections.
class CHttpFront::C_Server : public httplib::Server {
 public:
  explicit C_Server(const T_Handler& handler) {
    const auto serve = [&handler](const httplib::Request& request, httplib::Response& response) {
      const T_HttpReply reply = handler(request.method, request.target, request.body);
      response.status = reply.status;
      response.set_content(reply.body, "application/json");
      if (t_pStream != nullptr) t_pStream->Break(reply.fault, reply.body);
    };
    Get(".*", serve);
    Post(".*", serve);
    Put(".*", serve);
    Patch(".*", serve);
    Delete(".*", serve);
    Options(".*", serve);
    set_socket_options(PrepareListener);
    new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
  }

  ~C_Server() override { StopServer(); }

  bool StartServer(const std::string& ip, int port) {
    const int bound = port == 0 ? bind_to_any_port(ip) : (bind_to_port(ip, port) ? port : -1);
    if (bound <= 0) return false;
    m_iPort = bound;
    m_thread = std::thread([this] { listen_after_bind(); });
    while (!is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return true;
  }

  void StopServer() {
    if (!m_thread.joinable()) return;
    stop();
    {
      const std::lock_guard<std::mutex> guard(m_mutex);
      m_bStopping = true;
      for (const int fd : m_setOpen) shutdown(fd, SHUT_RDWR);
    }
    m_thread.join();
  }

  int BoundPort() const { return m_iPort; }

 private:
  bool process_and_close_socket(socket_t fd) override {
    if (Register(fd)) {
      PrepareConnection(fd);
      CGatheringStream stream(fd);
      t_pStream = &stream;
      bool closed = false;
      while (!closed && (stream.HasInput() || WaitReadable(fd))) {
        const bool served = process_request(stream, false, closed, nullptr);
        if (!stream.FinishReply() || !served) break;
      }
      t_pStream = nullptr;
      Unregister(fd);
    }
    shutdown(fd, SHUT_RDWR);
    close(fd);
    return true;
  }

  static bool WaitReadable(int fd) {
    pollfd readable{fd, POLLIN, 0};
    int ready = 0;
    do {
      ready = poll(&readable, 1, kIdleMs);
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
  }

  bool Register(int fd) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (!m_bStopping) m_setOpen.insert(fd);
    return !m_bStopping;
  }

  void Unregister(int fd) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_setOpen.erase(fd);
  }

  std::thread m_thread;
  int m_iPort = 0;
  std::mutex m_mutex;  // guards the two below
  std::set<int> m_setOpen;
  bool m_bStopping = false;
};

CHttpFront::CHttpFront(T_Handler handler) : m_handler(std::move(handler)) {}
CHttpFront::~CHttpFront() { Stop(); }

bool CHttpFront::Start(const std::string& ip, int port) {
  if (m_pServer) return true;
  auto server = std::make_unique<C_Server>(m_handler);
  if (!server->StartServer(ip, port)) return false;
  m_iPort = server->BoundPort();
  m_pServer = std::move(server);
  return true;
}

void CHttpFront::Stop() { m_pServer.reset(); }
int CHttpFront::Port() const { return m_iPort; }
