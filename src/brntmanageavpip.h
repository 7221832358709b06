// The addresses of the AV processors on the network, learned through mDNS: each endpoint announces a service of type
// "_tmp._udp" whose TXT strings are JSON objects with "deviceid" and "avpip".
//
// One detached thread browses with the Avahi client library; it ends, and discovery with it, when the Avahi daemon goes
// away. What was learned stays. The course of the browsing goes to standard output, its failures to standard error.
#pragma once

#include <string>

class AvpIpManage {
 public:
  // Starts the discovery thread with a stack of stackSize bytes. A failure is reported on standard error.
  static void DoCollectAvpIp(int stackSize);

  // The address learned for a device id. False, with ip left alone and an ERROR line, when none is known. Any thread.
  static bool SearchAvpIpFromMap(std::string deviceId, std::string& ip);

  // Takes in one string of a TXT record; true when it named a device and its address. Any thread.
  static bool UpdateFromTxtString(const std::string& txt);
};
