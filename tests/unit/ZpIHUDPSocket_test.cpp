#include "ZpIHUDPSocket.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "eventfixture.h"

namespace {

constexpr int kInstance = 951;
constexpr UInt32 kLoopback = 0x7f000001;

using Socket = ZpIHUDPSocket<kInstance>;

std::string Text(const StrPtrLen* text) { return {text->Ptr, text->Len}; }

class UdpSocket : public CEventFixture<kInstance> {
 protected:
  void SetUp() override {
    ASSERT_EQ(m_receiver.Open(), 0);
    ASSERT_EQ(m_receiver.Bind(kLoopback, 0), 0);
    ASSERT_EQ(m_sender.Open(), 0);
    ASSERT_EQ(m_sender.Bind(kLoopback, 0), 0);
  }
  void TearDown() override {
    m_receiver.Cleanup();
    CEventFixture::TearDown();
  }

  int Send(const std::string& text) {
    return m_sender.SendTo(kLoopback, m_receiver.GetLocalPort(), text.data(), static_cast<UInt32>(text.size()));
  }
  // The next datagram, or what the errno value says.
  std::string Receive(UInt32 room = 8192) {
    std::string text(room, '\0');
    UInt32 got = 0;
    const int error = m_receiver.RecvFrom(&m_fromAddr, &m_fromPort, text.data(), room, &got);
    if (error != 0) return "error " + std::to_string(error);
    text.resize(got);
    return text;
  }
  template <typename Value>
  Value Option(int level, int name) {
    Value value{};
    socklen_t length = sizeof value;
    EXPECT_EQ(getsockopt(m_receiver.GetSocketFD(), level, name, &value, &length), 0);
    return value;
  }

  Socket m_receiver{&m_reader};
  Socket m_sender{nullptr};
  UInt32 m_fromAddr = 0;
  UInt16 m_fromPort = 0;
};

}  // namespace

TEST_F(UdpSocket, CarriesADatagramAndItsSendersAddress) {
  EXPECT_EQ(Send("hello"), 0);
  EXPECT_EQ(Receive(), "hello");
  EXPECT_EQ(m_fromAddr, kLoopback);
  EXPECT_EQ(m_fromPort, m_sender.GetLocalPort());
}

TEST_F(UdpSocket, CarriesAnEmptyDatagram) {
  EXPECT_EQ(Send(""), 0);
  EXPECT_EQ(Receive(), "");
}

TEST_F(UdpSocket, CutsADatagramToTheRoom) {
  Send("hello");
  EXPECT_EQ(Receive(3), "hel");
  EXPECT_EQ(Receive(), "error " + std::to_string(EAGAIN));
}

TEST_F(UdpSocket, SaysWhenNoneWaitsAndLeavesTheAddressAlone) {
  m_fromAddr = 5;
  m_fromPort = 6;
  EXPECT_EQ(Receive(), "error " + std::to_string(EAGAIN));
  EXPECT_EQ(m_fromAddr, 5U);
  EXPECT_EQ(m_fromPort, 6U);
}

TEST_F(UdpSocket, SignalsItsTaskWhenADatagramArrives) {
  m_receiver.RequestEvent(kEventRead);
  Send("hello");
  ASSERT_TRUE(WaitFor([&] { return m_reader.HasRun(1); }));
  EXPECT_EQ(Receive(), "hello");
}

TEST_F(UdpSocket, KnowsWhereItIsBound) {
  EXPECT_TRUE(m_receiver.IsBound());
  EXPECT_EQ(m_receiver.GetLocalAddr(), kLoopback);
  EXPECT_NE(m_receiver.GetLocalPort(), 0);
  EXPECT_EQ(Text(m_receiver.GetLocalAddrStr()), "127.0.0.1");
  EXPECT_EQ(Text(m_receiver.GetLocalDNSStr()), "127.0.0.1");
  EXPECT_EQ(Text(m_receiver.GetLocalPortStr()), std::to_string(m_receiver.GetLocalPort()));
}

TEST_F(UdpSocket, ABindThatFailsLeavesNoAddress) {
  Socket third(nullptr);
  ASSERT_EQ(third.Open(), 0);
  EXPECT_EQ(third.Bind(kLoopback, m_receiver.GetLocalPort()), -1);
  EXPECT_EQ(errno, EADDRINUSE);
  EXPECT_FALSE(third.IsBound());
  EXPECT_EQ(third.GetLocalAddr(), 0U);
  EXPECT_EQ(third.GetLocalPort(), 0);
}

TEST_F(UdpSocket, UnbindForgetsTheAddress) {
  m_receiver.Unbind();
  EXPECT_FALSE(m_receiver.IsBound());
  EXPECT_EQ(m_receiver.GetLocalPort(), 0);
}

TEST_F(UdpSocket, SharesAnAddressThatMayBeReused) {
  Socket first(nullptr);
  Socket second(nullptr);
  ASSERT_EQ(first.Open(), 0);
  ASSERT_EQ(second.Open(), 0);
  EXPECT_EQ(first.ReuseAddr(), 0);
  EXPECT_EQ(second.ReuseAddr(), 0);
  ASSERT_EQ(first.Bind(kLoopback, 0), 0);
  EXPECT_EQ(second.Bind(kLoopback, first.GetLocalPort()), 0);
}

TEST_F(UdpSocket, IsNonBlockingUnlessAskedOtherwise) {
  Socket blocking(nullptr, 0);
  ASSERT_EQ(blocking.Open(), 0);
  EXPECT_EQ(fcntl(blocking.GetSocketFD(), F_GETFL) & O_NONBLOCK, 0);
  EXPECT_EQ(fcntl(m_receiver.GetSocketFD(), F_GETFL) & O_NONBLOCK, O_NONBLOCK);
}

TEST_F(UdpSocket, IsNotHandedOnToOtherPrograms) {
  EXPECT_EQ(fcntl(m_receiver.GetSocketFD(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(UdpSocket, TellsWhyASendFailed) {
  const std::string tooLong(70000, 'x');
  EXPECT_EQ(Send(tooLong), EMSGSIZE);
  EXPECT_EQ(m_sender.SendTo(0xffffffff, 9, "x", 1), EACCES);  // broadcast mode is off
}

TEST_F(UdpSocket, TakesBufferSizes) {
  EXPECT_EQ(m_receiver.SetSocketRcvBufSize(64 * 1024), 0);
  EXPECT_GE(Option<int>(SOL_SOCKET, SO_RCVBUF), 64 * 1024);
  EXPECT_EQ(m_receiver.SetSocketBufSize(32 * 1024), 0);
  EXPECT_GE(Option<int>(SOL_SOCKET, SO_SNDBUF), 32 * 1024);
}

TEST_F(UdpSocket, TakesBroadcastMode) {
  EXPECT_EQ(m_receiver.SetBroadcastMode(true), 0);
  EXPECT_EQ(Option<int>(SOL_SOCKET, SO_BROADCAST), 1);
  EXPECT_EQ(m_receiver.SetBroadcastMode(false), 0);
  EXPECT_EQ(Option<int>(SOL_SOCKET, SO_BROADCAST), 0);
}

TEST_F(UdpSocket, TakesMulticastTtlAndInterface) {
  EXPECT_EQ(m_receiver.SetTtl(7), 0);
  EXPECT_EQ(Option<int>(IPPROTO_IP, IP_MULTICAST_TTL), 7);
  EXPECT_EQ(m_receiver.SetMulticastInterface(kLoopback), 0);
  EXPECT_EQ(Option<in_addr>(IPPROTO_IP, IP_MULTICAST_IF).s_addr, htonl(kLoopback));
}

TEST_F(UdpSocket, JoinsAGroupAndLeavesIt) {
  constexpr UInt32 kGroup = 0xefff0001;
  EXPECT_EQ(m_receiver.JoinMulticast(kGroup), 0);
  EXPECT_EQ(m_receiver.LeaveMulticast(kGroup), 0);
  EXPECT_EQ(m_receiver.LeaveMulticast(kGroup), -1);
}

TEST_F(UdpSocket, HasNoDemuxer) {
  EXPECT_EQ(m_receiver.GetDemuxer(), nullptr);
  EXPECT_EQ(Socket::kWantsDemuxer, 256U);
}

TEST_F(UdpSocket, WithoutADescriptorNothingWorks) {
  Socket closed(nullptr);
  EXPECT_EQ(closed.Bind(kLoopback, 0), -1);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(closed.SendTo(kLoopback, 9, "x", 1), EBADF);
  UInt32 got = 9;
  char byte;
  EXPECT_EQ(closed.RecvFrom(&m_fromAddr, &m_fromPort, &byte, 1, &got), EBADF);
  EXPECT_EQ(got, 0U);
}
