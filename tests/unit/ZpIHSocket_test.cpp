#include "ZpIHSocket.h"

#include <gtest/gtest.h>

#include "ZpIHUDPSocket.h"

TEST(SocketStates, HaveTheirBits) {
  using Socket = ZpIHSocket<971>;
  EXPECT_EQ(Socket::kNonBlockingSocketType, 1U);
  EXPECT_EQ(Socket::kBound, 4U);
  EXPECT_EQ(Socket::kConnected, 8U);
  EXPECT_EQ(Socket::kPortBufSizeInBytes, 8);
  EXPECT_EQ(Socket::kMaxIPAddrSizeInBytes, 20);
}

TEST(SocketEventThread, IsCreatedOnce) {
  using Socket = ZpIHSocket<972>;
  EXPECT_EQ(Socket::GetEventThread(), nullptr);
  ZpIHSelect<972>::select_startevents();
  Socket::Initialize();
  const OSThread* thread = Socket::GetEventThread();
  ASSERT_NE(thread, nullptr);
  Socket::StartThread();
  Socket::StartThread();
  EXPECT_EQ(Socket::GetEventThread(), thread);
}

TEST(SocketText, OfAFreshSocketIsZero) {
  ZpIHUDPSocket<973> socket(nullptr);
  EXPECT_STREQ(socket.GetLocalAddrStr()->Ptr, "0.0.0.0");
  EXPECT_STREQ(socket.GetLocalPortStr()->Ptr, "0");
}
