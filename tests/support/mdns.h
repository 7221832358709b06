// Service discovery inside the sandbox: a system bus, an avahi-daemon on eth0, and published services, all of them
// scripts/mdns's.
//
// One thread. Everything started ends with the object (and, at the latest, with the sandbox).
#pragma once

#include <set>
#include <string>
#include <vector>

class CMdns {
 public:
  CMdns() = default;
  ~CMdns();
  CMdns(const CMdns&) = delete;
  CMdns& operator=(const CMdns&) = delete;

  // Starts both daemons, on eth0, which gets an address unless it has one. False when one does not come up. After
  // StopDaemon it starts that one anew.
  [[nodiscard]] bool Start();
  void StopDaemon();  // avahi-daemon alone
  void StopBus();     // the system bus alone

  // Announces a service of type "_tmp._udp" under this name with one TXT string or several, instead of an earlier one
  // of the name. No zero bytes in either.
  void Publish(const std::string& name, const std::string& txt);
  void Publish(const std::string& name, const std::vector<std::string>& txts);
  // The announcement of an AV processor; its name is the device id.
  void PublishAvp(const std::string& deviceId, const std::string& ip);
  void Withdraw(const std::string& name);

 private:
  std::set<std::string> m_setNames;  // published
};
