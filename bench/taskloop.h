// The bare loop behind the hand-overs that every command takes in the task framework: the event thread tells the task
// that owns the socket, and that task tells the one that sends the POST. Nothing else happens, so this is about the
// best that the process itself could reach.
//
// Threads of the framework's own, from Start until the program ends.
#pragma once

#include <cstdint>
#include <string>

class CTaskLoop {
 public:
  CTaskLoop(std::uint16_t port, std::string url, std::string body);

  // Once in a program. False when the port cannot be had.
  [[nodiscard]] bool Start();

 private:
  const std::uint16_t m_u16Port;
  const std::string m_strUrl;
  const std::string m_strBody;
};
