// The master link: ticks, datagrams, and what becomes of the socket.
#include "brntudptask.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "brntcmdworker.h"
#include "commandfixture.h"
#include "reportframe.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kLoopback[] = "127.0.0.1";

T_Request Cec(const std::string& digits) {
  return CRequestCapture::Post(AVP_MSG_SEND_CEC_DATA, R"({"data_hex":")" + digits + R"(","op":"send:cec"})");
}

std::string CecCommand(const std::string& digits) {
  return reportframe::EncodeCommand(0x50302, R"({"data":")" + digits + R"("})");
}

// A valid command of exactly this many bytes.
std::string CecCommandOfSize(size_t bytes) {
  std::string json = R"({"data":"40"})";
  const size_t least = reportframe::EncodeCommand(0x50302, json).size();
  json += std::string(bytes - least, ' ');
  return reportframe::EncodeCommand(0x50302, json);
}

// A UDP socket on a free loopback port.
class CPeer {
 public:
  CPeer() : m_fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = Address(0);
    EXPECT_EQ(bind(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    timeval patience{20, 0};
    setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  }
  ~CPeer() { close(m_fd); }
  CPeer(const CPeer&) = delete;
  CPeer& operator=(const CPeer&) = delete;

  UInt16 Port() const {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
  }

  void Send(UInt16 port, const std::string& bytes) const {
    sockaddr_in address = Address(port);
    EXPECT_EQ(sendto(m_fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&address), sizeof address),
              static_cast<ssize_t>(bytes.size()));
  }

  std::string Receive() const {
    char buffer[256];
    const ssize_t length = recv(m_fd, buffer, sizeof buffer, 0);
    return length < 0 ? "(nothing)" : std::string(buffer, static_cast<size_t>(length));
  }

 private:
  static sockaddr_in Address(UInt16 port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
  }

  int m_fd;
};

// The link with its inside in reach.
class CTestedLink : public UdpForMaster {
 public:
  struct T_Check {
    SInt32 status;
    bool hasSocket;
  };

  UInt16 BoundPort() {
    OSMutexLocker locker(m_objMutex);
    return m_pUdpSock == nullptr ? UInt16{0} : m_pUdpSock->GetLocalPort();
  }
  int ReceiveBufferBytes() {
    OSMutexLocker locker(m_objMutex);
    int bytes = 0;
    socklen_t length = sizeof bytes;
    getsockopt(m_pUdpSock->GetSocketFD(), SOL_SOCKET, SO_RCVBUF, &bytes, &length);
    return bytes;
  }
  // What a status check makes of this status.
  T_Check CheckFrom(SInt32 status) {
    OSMutexLocker locker(m_objMutex);
    m_s32Status = status;
    CheckStatus();
    return {m_s32Status, m_pUdpSock != nullptr};
  }
  // Keeps the framework's clock from running the link.
  void StopTicks() { m_objTimeoutTask.SetTimeout(0); }
  void Timeout() { ProcessTimeoutEvent(); }
  std::string Mac() const { return m_macaddr; }
  UInt32 TimeoutCount() const { return m_s32TimeoutCount; }
};

template <class Condition>
bool WaitUntil(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// A link that nobody runs: without a socket, its ticks made by the test.
class IdleLink : public CommandFixture {
 protected:
  IdleLink() {
    m_link.StopTicks();
    m_log.Clear();
  }

  std::vector<std::string> TimerEvents() {
    std::vector<std::string> events;
    TIMER_EVENT_T event;
    while (GetTimerEvent(event) != 0) events.push_back(std::to_string(event.eEvent));
    return events;
  }

  CTestedLink m_link;
};

TEST_F(IdleLink, ChecksTheWallOnEveryTickAndRefreshesOnEveryTenth) {
  const std::string check = std::to_string(E_TIMER_CHECK_VIDEOWALL_STATUS);
  const std::string refresh = std::to_string(E_TIMER_GET_NETSTAT_EDID);
  for (UInt32 tick = 1; tick <= 20; ++tick) {
    m_link.Timeout();
    EXPECT_EQ(TimerEvents(),
              tick % 10 == 0 ? (std::vector<std::string>{refresh, check}) : (std::vector<std::string>{check}));
    EXPECT_EQ(m_link.TimeoutCount(), tick % 10);
  }
}

TEST_F(IdleLink, PostsOneEventOfAKindAtATime) {
  for (int tick = 0; tick < 30; ++tick) m_link.Timeout();
  EXPECT_EQ(TimerEvents().size(), 2u);
}

TEST_F(IdleLink, AnswersATickWith1AndPostsForItsDevice) {
  Msg_Box tick;
  tick.eType = MSG_BOX_TIMER;
  tick.s32MsgId = 1;
  tick.s_deviceid = kId;
  EXPECT_EQ(m_link.Msg_Process(&tick), 1);
  TIMER_EVENT_T event;
  ASSERT_EQ(GetTimerEvent(event), 1);
  EXPECT_EQ(event.strDevice, kId);
}

TEST_F(IdleLink, CarriesOutADatagramHandedToIt) {
  std::string bytes = CecCommand("40");
  Msg_Box msg;
  msg.s_msg = bytes.data();
  msg.s_msg_len = static_cast<int>(bytes.size());
  msg.s_deviceid = kId;
  EXPECT_EQ(m_link.Msg_Process(&msg), 1);
  EXPECT_THAT(Requests(), ElementsAre(Cec("40")));
}

TEST_F(IdleLink, SendsNothingWithoutASocket) {
  char answer[] = "x";
  EXPECT_EQ(m_link.SendData2Remote(answer, 1), 0);
  EXPECT_EQ(m_log.PriorityOf("m_pUdpSock is NULL"), 300);
}

TEST_F(IdleLink, ThatIsConnectedWithoutASocketBeginsAnew) {
  EXPECT_EQ(m_link.CheckFrom(UdpForMaster::E_Status_Connected).status, UdpForMaster::E_Status_Init);
  EXPECT_EQ(m_log.PriorityOf("E_Status_Connected"), 600);
}

// A link on a free port, run by the framework from Init on.
class MasterLink : public CommandFixture {
 protected:
  MasterLink() : m_pLink(new CTestedLink) {
    m_pLink->Init(kLoopback, 0, kId);
    EXPECT_TRUE(WaitUntil([this] { return m_pLink->BoundPort() != 0; }));
    m_port = m_pLink->BoundPort();
  }
  ~MasterLink() override { Kill(); }

  // Ends the task, which deletes the link.
  void Kill() {
    if (m_pLink != nullptr) m_pLink->Signal(UdpForMaster::kKillEvent);
    m_pLink = nullptr;
  }

  void Send(const std::string& bytes) { m_peer.Send(m_port, bytes); }

  // Everything that was queued by what was sent so far: waits for a last command behind it.
  std::vector<T_Request> RequestsOfAll() {
    const std::string last = "eeee" + std::to_string(1000 + m_lasts++);
    Send(CecCommand(last));
    EXPECT_TRUE(m_log.WaitFor("reqbody[{\"data_hex\":\"" + last));
    std::vector<T_Request> requests;
    EXPECT_TRUE(WaitUntil([&] {
      for (const T_Request& request : Requests()) requests.push_back(request);
      return !requests.empty() && requests.back() == Cec(last);
    }));
    if (!requests.empty()) requests.pop_back();
    return requests;
  }

  CTestedLink* m_pLink;  // owned by the framework
  UInt16 m_port = 0;
  CPeer m_peer;
  int m_lasts = 0;
};

TEST_F(MasterLink, SaysWhereItListens) { EXPECT_EQ(m_log.PriorityOf("Udp Init ServerIP<127.0.0.1:0>"), 600); }

TEST_F(MasterLink, CarriesOutEveryDatagramInOrder) {
  std::vector<T_Request> expected;
  for (int i = 10; i < 60; ++i) {
    Send(CecCommand(std::to_string(i)));
    expected.push_back(Cec(std::to_string(i)));
  }
  EXPECT_EQ(RequestsOfAll(), expected);
}

TEST_F(MasterLink, AnswersGoToTheSenderOfTheLastDatagram) {
  Send(CecCommand("40"));
  RequestsOfAll();
  char answer[] = "pong";
  EXPECT_EQ(m_pLink->SendData2Remote(answer, 4), 1);
  EXPECT_EQ(m_peer.Receive(), "pong");
  EXPECT_EQ(m_log.PriorityOf("Send to == > [2130706433]  -----   [" + std::to_string(m_peer.Port()) + "]"), 600);
}

TEST_F(MasterLink, CannotAnswerWithMoreThanADatagramHolds) {
  RequestsOfAll();
  std::string answer(70000, 'x');
  EXPECT_EQ(m_pLink->SendData2Remote(answer.data(), static_cast<int>(answer.size())), 0);
}

TEST_F(MasterLink, CarriesOutADatagramOf8191Bytes) {
  Send(CecCommandOfSize(8191));
  EXPECT_THAT(RequestsOfAll(), ElementsAre(Cec("40")));
}

TEST_F(MasterLink, DropsADatagramOf8192BytesAndGoesOn) {
  Send(CecCommandOfSize(8192));
  Send(CecCommand("41"));
  EXPECT_THAT(RequestsOfAll(), ElementsAre(Cec("41")));
  EXPECT_EQ(m_log.PriorityOf("Udp recver buf full"), 400);
}

TEST_F(MasterLink, IgnoresDatagramsOf0And1ByteWithoutALine) {
  Send("");
  Send("x");
  EXPECT_THAT(RequestsOfAll(), IsEmpty());
  EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(MasterLink, DropsGarbageWithOneLineEach) {
  Send("garbage");
  Send(CecCommand("42"));
  EXPECT_THAT(RequestsOfAll(), ElementsAre(Cec("42")));
  EXPECT_THAT(Errors(), ElementsAre("tlv_box_get_object cmd failed !"));
}

TEST_F(MasterLink, AsksForAReceiveBufferThatABurstFitsInto) {
  int largest = 0;
  FILE* limit = std::fopen("/proc/sys/net/core/rmem_max", "r");
  if (limit != nullptr) {
    EXPECT_EQ(std::fscanf(limit, "%d", &largest), 1);
    std::fclose(limit);
  }
  // The system counts double, for its own book-keeping, and grants at most its limit; where a network namespace does
  // not show the limit, more than the default (212,992) tells that it was asked.
  const int bytes = m_pLink->ReceiveBufferBytes();
  if (largest > 0) {
    EXPECT_EQ(bytes, 2 * std::min(largest, 1 << 20));
  } else {
    EXPECT_GT(bytes, 212992);
  }
}

TEST_F(MasterLink, StaysDeliberatelyInConnectingOnceItsSocketIsOpen) {
  const CTestedLink::T_Check check = m_pLink->CheckFrom(UdpForMaster::E_Status_Connecting);
  EXPECT_EQ(check.status, UdpForMaster::E_Status_Connecting);
  EXPECT_TRUE(check.hasSocket);
  EXPECT_FALSE(m_log.Contains("E_Status"));
}

TEST_F(MasterLink, ThatIsConnectedKeepsItsSocket) {
  const CTestedLink::T_Check check = m_pLink->CheckFrom(UdpForMaster::E_Status_Connected);
  EXPECT_EQ(check.status, UdpForMaster::E_Status_Connected);
  EXPECT_TRUE(check.hasSocket);
}

TEST_F(MasterLink, WithAnErrorDropsItsSocketAndBeginsAnew) {
  const CTestedLink::T_Check check = m_pLink->CheckFrom(UdpForMaster::E_Status_Error);
  EXPECT_EQ(check.status, UdpForMaster::E_Status_Init);
  EXPECT_FALSE(check.hasSocket);
  EXPECT_EQ(m_log.PriorityOf("E_Status_Error"), 600);
  EXPECT_TRUE(m_pLink->CheckFrom(UdpForMaster::E_Status_Init).hasSocket);
}

TEST_F(MasterLink, LosesItsSocketOnRequest) {
  m_pLink->CloseSocket();
  EXPECT_EQ(m_pLink->BoundPort(), 0);
}

TEST_F(MasterLink, TriesAgainWhenItsPortIsTaken) {
  auto* second = new CTestedLink;
  const CPeer holder;
  second->Init(kLoopback, holder.Port(), kId);
  EXPECT_TRUE(m_log.WaitFor("bind socket failed: " + std::to_string(EADDRINUSE), 2)) << "at the latest with the tick";
  EXPECT_EQ(second->Status(), UdpForMaster::E_Status_Init);
  second->Signal(UdpForMaster::kKillEvent);
}

TEST_F(MasterLink, KeepsAtMost15CharactersOfTheMac) {
  auto* second = new CTestedLink;
  EXPECT_EQ(second->Init(kLoopback, 0, "0123456789abcdefgh"), 1);
  EXPECT_EQ(second->Mac(), "0123456789abcde");
  second->Signal(UdpForMaster::kKillEvent);
}

TEST_F(MasterLink, TicksAboutOnceASecond) {
  TIMER_EVENT_T event;
  EXPECT_TRUE(WaitUntil([&event] { return GetTimerEvent(event) == 1; }));
  EXPECT_EQ(event.eEvent, E_TIMER_CHECK_VIDEOWALL_STATUS);
  EXPECT_EQ(event.strDevice, kId);
}

TEST_F(MasterLink, EndsItsTaskWhenItIsKilled) {
  Kill();
  EXPECT_TRUE(m_log.WaitFor("kKillEvent"));
}

}  // namespace
