// The HTTP server of the bench: takes requests, asks one handler for the reply, and can break the reply on its way.
//
// Threads: Start and Stop from any thread, one at a time; the handler runs on the server's threads, several at once.
// Keep-alive and "Connection: close" as the client asks. A reply leaves in one piece, without Nagle's delay.
#pragma once

#include <functional>
#include <memory>
#include <string>

enum E_HttpFault {
  e_http_whole = 0,   // the reply as it is
  e_http_hangup = 1,  // close without a byte
  e_http_half = 2,    // half of the reply's bytes, then close
  e_http_raw = 3,     // the body's bytes alone, without HTTP around them, then close
};

struct T_HttpReply {
  int status = 200;
  std::string body;
  E_HttpFault fault = e_http_whole;
};

class CHttpFront {
 public:
  using T_Handler =
      std::function<T_HttpReply(const std::string& method, const std::string& target, const std::string& body)>;

  explicit CHttpFront(T_Handler handler);
  ~CHttpFront();  // stops
  CHttpFront(const CHttpFront&) = delete;
  CHttpFront& operator=(const CHttpFront&) = delete;

  // Port 0: any free one. False when the port cannot be had; true at once when it already runs.
  bool Start(const std::string& ip, int port);
  // Closes the port and every connection, then waits for the handlers that still run. Their replies are lost.
  void Stop();
  int Port() const;  // of the last start; 0 before the first

 private:
  class C_Server;
  const T_Handler m_handler;
  std::unique_ptr<C_Server> m_pServer;  // null while stopped
  int m_iPort = 0;
};
