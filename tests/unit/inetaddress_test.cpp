#include "inetaddress.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

namespace {

TEST(InetAddress, IsInNetworkByteOrder) {
  const sockaddr_in address = InetAddress("10.1.2.3", 9991);
  EXPECT_EQ(address.sin_family, AF_INET);
  EXPECT_EQ(ntohs(address.sin_port), 9991);
  EXPECT_EQ(ntohl(address.sin_addr.s_addr), 0x0a010203u);
}

TEST(InetAddress, OfWhatIsNoAddressIsAnyAddress) { EXPECT_EQ(InetAddress("here", 1).sin_addr.s_addr, INADDR_ANY); }

}  // namespace
