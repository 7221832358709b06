// The bench's control channel: a UDP socket that takes one command per datagram and answers with one datagram.
//
// Threads: Start and Stop from any thread; the handler runs on a thread of the link's own.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

class CControlLink {
 public:
  using T_Handler = std::function<std::string(const std::string& command)>;

  explicit CControlLink(T_Handler handler) : m_handler(std::move(handler)) {}
  ~CControlLink();  // stops
  CControlLink(const CControlLink&) = delete;
  CControlLink& operator=(const CControlLink&) = delete;

  bool Start(const std::string& ip, int port);  // port 0: any free one
  void Stop();
  int Port() const;  // 0 before the first start

  // The other end: sends one command and waits for its answer; nothing when none comes.
  static std::optional<std::string> Ask(const std::string& ip, int port, const std::string& command, int timeoutMs);

 private:
  void Serve();

  const T_Handler m_handler;
  mutable std::mutex m_mutex;  // guards the rest; the thread reads its descriptors while it runs
  std::thread m_thread;
  int m_fd = -1;
  int m_fdStop = -1;
  int m_iPort = 0;
};
