// An HTTP client for tests of servers on loopback. One thread.
#pragma once

#include <memory>
#include <string>

struct T_HttpResult {
  bool arrived = false;  // a whole answer came
  int status = 0;
  std::string body;
  std::string connection;  // the answer's Connection header
};

class CHttpClient {
 public:
  // keepAlive: all requests over one connection, for as long as the server keeps it.
  explicit CHttpClient(int port, bool keepAlive = false);
  ~CHttpClient();
  T_HttpResult Get(const std::string& path);
  T_HttpResult Post(const std::string& path, const std::string& body);
  T_HttpResult Delete(const std::string& path);

 private:
  class C_Impl;
  std::unique_ptr<C_Impl> m_pImpl;
};
