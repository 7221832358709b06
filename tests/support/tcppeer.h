// A plain TCP connection to a server on loopback, for tests that look at lines and bytes. One thread.
#pragma once

#include <optional>
#include <string>

class CTcpPeer {
 public:
  explicit CTcpPeer(int port);
  ~CTcpPeer();
  CTcpPeer(const CTcpPeer&) = delete;
  CTcpPeer& operator=(const CTcpPeer&) = delete;

  bool Connected() const { return m_bConnected; }
  void Send(const std::string& bytes);
  // The next line without its CR LF; nothing when the connection ends (or 20 s pass) before it is complete.
  std::optional<std::string> Line();
  // What one read gives; "" at the end of the connection.
  std::string Piece();
  // Everything up to the end of the connection.
  std::string Rest();

 private:
  bool ReadMore();

  int m_fd = -1;
  bool m_bConnected = false;
  std::string m_input;
};
