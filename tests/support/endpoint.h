// An endpoint beside the test's own: a sandbox on a bridge of the test's network, with a shell in it that carries out
// what the test says.
//
// One thread. Everything inside ends with the object.
#pragma once

#include <sys/types.h>

#include <string>

class CEndpoint {
 public:
  CEndpoint() = default;
  ~CEndpoint();
  CEndpoint(const CEndpoint&) = delete;
  CEndpoint& operator=(const CEndpoint&) = delete;

  // Makes the network that endpoints share; once, before the first. False when the system has no bridges.
  [[nodiscard]] static bool CreateBridge();

  // model: of the board ("HLY-TX"); mac: of eth0, twelve hex digits; address: of eth0 ("10.77.0.1/24").
  [[nodiscard]] bool Start(const std::string& model, const std::string& mac, const std::string& address);

  // Carries out a shell command in the endpoint, in the project's folder, and waits for it; the exit status, -1 when
  // the shell is gone. Its output (both streams) goes to *pOutput.
  int Run(const std::string& command, std::string* pOutput = nullptr);

  // The output of a command, without the last line end.
  std::string Output(const std::string& command);

  // Runs the command again until its exit status is 0; false when that takes longer than a minute.
  [[nodiscard]] bool Until(const std::string& command);

 private:
  bool ReadLine(std::string& line);

  pid_t m_pid = -1;
  int m_fdIn = -1;   // the shell's standard input
  int m_fdOut = -1;  // its output
  std::string m_received;
};
