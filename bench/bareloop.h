// The least that any process would have to do for a command: receive the datagram, send one POST on a new libcurl
// handle, read the answer. No parsing, no queue, no log: what the process itself is measured against.
//
// One thread of its own from Start to the destructor.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

constexpr int kReceiveBuffer = 1 << 20;  // bytes; what the process asks for

// One POST, its answer read and forgotten. One thread at a time.
void PostOnNewHandle(const std::string& url, const std::string& body);

class CBareLoop {
 public:
  CBareLoop(std::uint16_t port, std::string url, std::string body);
  ~CBareLoop();
  CBareLoop(const CBareLoop&) = delete;
  CBareLoop& operator=(const CBareLoop&) = delete;

  [[nodiscard]] bool Start();

  // Processor time that its thread has used so far, user and system.
  double CpuUs();

 private:
  void Run();

  const std::uint16_t m_u16Port;
  const std::string m_strUrl;
  const std::string m_strBody;
  int m_iSocket = -1;
  std::atomic<bool> m_bStop{false};
  std::thread m_thread;
};
