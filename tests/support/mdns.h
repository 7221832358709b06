// Service discovery inside the sandbox: a system bus, an avahi-daemon on eth0, and published services.
//
// One thread. Everything started ends with the object (and, at the latest, with the sandbox).
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

class CMdns {
 public:
  CMdns() = default;
  ~CMdns();
  CMdns(const CMdns&) = delete;
  CMdns& operator=(const CMdns&) = delete;

  // Gives eth0 an address and starts both daemons. False when one of them does not come up.
  [[nodiscard]] bool Start();
  void StopDaemon();  // avahi-daemon alone

  // Announces a service of type "_tmp._udp" under this name with one TXT string or several, instead of an earlier one
  // of the name.
  void Publish(const std::string& name, const std::string& txt);
  void Publish(const std::string& name, const std::vector<std::string>& txts);
  // The announcement of an AV processor.
  void PublishAvp(const std::string& deviceId, const std::string& ip);
  void Withdraw(const std::string& name);

 private:
  pid_t m_bus = -1;
  pid_t m_daemon = -1;
  std::map<std::string, pid_t> m_mapPublishers;
};
