// The quickest API server there is: one thread, one fixed answer, and the moment at which each POST arrived. The text
// link beside it takes every line and answers none; reports are received and thrown away.
//
// Any thread may ask; the server's own thread runs from Start to the destructor.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <unordered_map>

class CBenchServer {
 public:
  using Clock = std::chrono::steady_clock;

  CBenchServer() = default;
  ~CBenchServer();
  CBenchServer(const CBenchServer&) = delete;
  CBenchServer& operator=(const CBenchServer&) = delete;

  // HTTP on 127.0.0.1:8080, the text link on :6970, reports on UDP :9993. False when a port cannot be had.
  [[nodiscard]] bool Start();

  // POSTs that have arrived so far, and when the last of them was complete.
  std::uint64_t Posts() const { return m_u64Posts.load(std::memory_order_acquire); }
  Clock::time_point LastPost() const { return Clock::time_point(Clock::duration(m_s64LastPost.load())); }

 private:
  void Serve();
  void Accept(int listener);
  bool ServeHttp(int fd);  // false when the connection is over
  bool ServeText(int fd);  // likewise

  int m_iHttp = -1;
  int m_iText = -1;
  int m_iReports = -1;
  int m_iEpoll = -1;
  int m_iStop = -1;                                // eventfd
  std::unordered_map<int, std::string> m_mapHttp;  // server thread only; what has arrived of each connection's request
  std::thread m_thread;
  std::atomic<std::uint64_t> m_u64Posts{0};
  std::atomic<Clock::duration::rep> m_s64LastPost{0};
};
