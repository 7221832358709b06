// An IPv4 address and port as the socket calls take it.
#pragma once

#include <netinet/in.h>

#include <string>

// 0.0.0.0 for a text that is no address.
sockaddr_in InetAddress(const std::string& ip, int port);
