#include "ZpIHTCPSocket.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <string>

#include "eventfixture.h"

namespace {

constexpr int kInstance = 961;
constexpr UInt32 kLoopback = 0x7f000001;

using Socket = ZpIHTCPSocket<kInstance>;

// A plain listener on a free port, and the connection it accepted.
class CListener {
 public:
  CListener() {
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(kLoopback);
    EXPECT_EQ(bind(m_listening, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    EXPECT_EQ(listen(m_listening, 4), 0);
    socklen_t length = sizeof addr;
    EXPECT_EQ(getsockname(m_listening, reinterpret_cast<sockaddr*>(&addr), &length), 0);
    m_port = ntohs(addr.sin_port);
  }
  ~CListener() {
    CloseListening();
    CloseAccepted();
  }

  UInt16 Port() const { return m_port; }
  void Accept() {
    m_accepted = accept4(m_listening, nullptr, nullptr, SOCK_CLOEXEC);
    ASSERT_NE(m_accepted, -1);
  }
  int TakeAccepted() {
    const int fd = m_accepted;
    m_accepted = -1;
    return fd;
  }
  void Write(const std::string& text) const {
    ASSERT_EQ(write(m_accepted, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  std::string Read(size_t bytes) const {
    std::string text(bytes, '\0');
    EXPECT_EQ(recv(m_accepted, text.data(), bytes, MSG_WAITALL), static_cast<ssize_t>(bytes));
    return text;
  }
  void CloseAccepted() {
    if (m_accepted != -1) close(m_accepted);
    m_accepted = -1;
  }
  void CloseListening() {
    if (m_listening != -1) close(m_listening);
    m_listening = -1;
  }

 private:
  int m_listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  int m_accepted = -1;
  UInt16 m_port = 0;
};

class TcpSocket : public CEventFixture<kInstance> {
 protected:
  void SetUp() override {
    ASSERT_EQ(m_socket.Open(), 0);
    ASSERT_EQ(m_socket.Connect(kLoopback, m_listener.Port()), 0);
    m_listener.Accept();
    Await(POLLOUT);
  }
  void TearDown() override {
    m_socket.Cleanup();
    CEventFixture::TearDown();
  }

  // Waits for the descriptor to be ready, so that a non-blocking operation has its outcome.
  void Await(short events) {
    pollfd entry{m_socket.GetSocketFD(), events, 0};
    ASSERT_EQ(poll(&entry, 1, 20000), 1);
  }
  int Send(const std::string& text) { return m_socket.Send(text.data(), static_cast<UInt32>(text.size()), &m_count); }
  int Read(std::string* text) {
    text->assign(4096, '\0');
    const int error = m_socket.Read(text->data(), 4096, &m_count);
    text->resize(m_count);
    return error;
  }

  CListener m_listener;
  Socket m_socket{&m_reader};
  UInt32 m_count = 99;
  std::string m_text;
};

}  // namespace

TEST_F(TcpSocket, CarriesBytesBothWays) {
  EXPECT_EQ(Send("hello"), 0);
  EXPECT_EQ(m_count, 5U);
  EXPECT_EQ(m_listener.Read(5), "hello");
  m_listener.Write("world");
  Await(POLLIN);
  EXPECT_EQ(Read(&m_text), 0);
  EXPECT_EQ(m_text, "world");
}

TEST_F(TcpSocket, SendsSeveralPiecesAsOne) {
  char first[] = "ab";
  char second[] = "cde";
  const iovec pieces[] = {{first, 2}, {second, 3}};
  EXPECT_EQ(m_socket.WriteV(pieces, 2, &m_count), 0);
  EXPECT_EQ(m_count, 5U);
  EXPECT_EQ(m_listener.Read(5), "abcde");
}

TEST_F(TcpSocket, SaysWhenNothingIsThereYetAndStaysConnected) {
  EXPECT_EQ(Read(&m_text), EAGAIN);
  EXPECT_EQ(m_count, 0U);
  EXPECT_TRUE(m_socket.IsConnected());
}

TEST_F(TcpSocket, APeerThatClosesEndsTheConnectedState) {
  m_listener.CloseAccepted();
  Await(POLLIN);
  EXPECT_EQ(Read(&m_text), ENOTCONN);
  EXPECT_EQ(m_count, 0U);
  EXPECT_FALSE(m_socket.IsConnected());
}

TEST_F(TcpSocket, WhatAPeerSentBeforeItClosedIsReadFirst) {
  m_listener.Write("bye");
  m_listener.CloseAccepted();
  Await(POLLIN);
  EXPECT_EQ(Read(&m_text), 0);
  EXPECT_EQ(m_text, "bye");
  EXPECT_EQ(Read(&m_text), ENOTCONN);
}

TEST_F(TcpSocket, ASendToAPeerThatHasGoneIsAnErrorAndEndsTheConnectedState) {
  m_listener.CloseAccepted();
  Await(POLLIN);
  int error = 0;
  // The first goes out; the peer's refusal of it makes a later one fail.
  ASSERT_TRUE(WaitFor([&] { return (error = Send("x")) != 0; }));
  EXPECT_TRUE(error == EPIPE || error == ECONNRESET) << error;
  EXPECT_FALSE(m_socket.IsConnected());
  EXPECT_EQ(Send("x"), ENOTCONN);
  EXPECT_EQ(m_count, 0U);
}

TEST_F(TcpSocket, AFullSendBufferIsNoFailureOfTheConnection) {
  const std::string block(1 << 16, 'x');
  int error = 0;
  for (int i = 0; i < 10000 && error == 0; ++i) error = Send(block);
  EXPECT_EQ(error, EAGAIN);
  EXPECT_TRUE(m_socket.IsConnected());
}

TEST_F(TcpSocket, SignalsItsTaskWhenDataArrives) {
  m_socket.RequestEvent(kEventRead);
  m_listener.Write("hello");
  EXPECT_TRUE(WaitFor([&] { return m_reader.HasRun(1); }));
}

TEST_F(TcpSocket, SignalsItsTaskWhenThePeerCloses) {
  m_socket.RequestEvent(kEventRead);
  m_listener.CloseAccepted();
  EXPECT_TRUE(WaitFor([&] { return m_reader.HasRun(1); }));
}

TEST_F(TcpSocket, KnowsItsPeer) {
  EXPECT_TRUE(m_socket.IsConnected());
  EXPECT_EQ(m_socket.GetRemoteAddr(), kLoopback);
  EXPECT_EQ(m_socket.GetRemotePort(), m_listener.Port());
  const StrPtrLen* text = m_socket.GetRemoteAddrStr();
  EXPECT_EQ(std::string(text->Ptr, text->Len), "127.0.0.1");
}

TEST_F(TcpSocket, AConnectionThatIsRefusedLeavesNoPeer) {
  m_listener.CloseListening();
  Socket socket(nullptr, 0);
  ASSERT_EQ(socket.Open(), 0);
  EXPECT_EQ(socket.Connect(kLoopback, m_listener.Port()), -1);
  EXPECT_EQ(errno, ECONNREFUSED);
  EXPECT_FALSE(socket.IsConnected());
  EXPECT_EQ(socket.GetRemoteAddr(), 0U);
  EXPECT_EQ(socket.GetRemotePort(), 0);
}

TEST_F(TcpSocket, ANonBlockingConnectionThatIsRefusedEndsAtTheNextRead) {
  m_listener.CloseListening();
  Socket socket(&m_other);
  ASSERT_EQ(socket.Open(), 0);
  EXPECT_EQ(socket.Connect(kLoopback, m_listener.Port()), 0);
  EXPECT_TRUE(socket.IsConnected());
  socket.RequestEvent(kEventRead | kEventWrite);
  ASSERT_TRUE(WaitFor([&] { return m_other.HasRun(1); }));
  char byte;
  EXPECT_EQ(socket.Read(&byte, 1, &m_count), ECONNREFUSED);
  EXPECT_FALSE(socket.IsConnected());
}

TEST_F(TcpSocket, WithoutAConnectionNothingIsSentOrRead) {
  Socket socket(nullptr);
  ASSERT_EQ(socket.Open(), 0);
  char byte;
  EXPECT_EQ(socket.Send("x", 1, &m_count), ENOTCONN);
  EXPECT_EQ(socket.WriteV(nullptr, 0, &m_count), ENOTCONN);
  EXPECT_EQ(socket.Read(&byte, 1, &m_count), ENOTCONN);
}

TEST_F(TcpSocket, TakesItsOptions) {
  EXPECT_EQ(m_socket.NoDelay(), 0);
  EXPECT_EQ(m_socket.KeepAlive(), 0);
  EXPECT_EQ(m_socket.Linger(3), 0);
  const auto option = [&](int level, int name) {
    int value = 0;
    socklen_t length = sizeof value;
    EXPECT_EQ(getsockopt(m_socket.GetSocketFD(), level, name, &value, &length), 0);
    return value;
  };
  EXPECT_EQ(option(IPPROTO_TCP, TCP_NODELAY), 1);
  EXPECT_EQ(option(SOL_SOCKET, SO_KEEPALIVE), 1);
  linger lingering{};
  socklen_t length = sizeof lingering;
  EXPECT_EQ(getsockopt(m_socket.GetSocketFD(), SOL_SOCKET, SO_LINGER, &lingering, &length), 0);
  EXPECT_EQ(lingering.l_onoff, 1);
  EXPECT_EQ(lingering.l_linger, 3);
}

TEST_F(TcpSocket, TakesOverAnAcceptedDescriptor) {
  Socket accepted(nullptr);
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(4242);
  peer.sin_addr.s_addr = htonl(kLoopback);
  accepted.Set(m_listener.TakeAccepted(), peer);
  EXPECT_TRUE(accepted.IsConnected());
  EXPECT_EQ(accepted.GetLocalPort(), m_listener.Port());
  EXPECT_EQ(accepted.GetRemotePort(), 4242);
  EXPECT_EQ(accepted.Send("hi", 2, &m_count), 0);
  Await(POLLIN);
  EXPECT_EQ(Read(&m_text), 0);
  EXPECT_EQ(m_text, "hi");
}

TEST_F(TcpSocket, SnarfsAnotherWithItsConnectionAndEvents) {
  m_socket.RequestEvent(kEventRead);
  Socket taker(&m_other);
  taker.SnarfSocket(m_socket);
  EXPECT_FALSE(m_socket.IsConnected());
  EXPECT_EQ(m_socket.GetSocketFD(), -1);
  EXPECT_TRUE(taker.IsConnected());
  EXPECT_EQ(taker.GetRemotePort(), m_listener.Port());
  m_listener.Write("hello");
  EXPECT_TRUE(WaitFor([&] { return m_other.HasRun(1); }));
}

TEST_F(TcpSocket, IsNotHandedOnToOtherPrograms) {
  EXPECT_EQ(fcntl(m_socket.GetSocketFD(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}
