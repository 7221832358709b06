#include "brntasynctask.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ZpIHIdleTask.h"
#include "brntcmdnotify.h"
#include "fakeplatform.h"
#include "logcapture.h"
#include "tcilink.h"
#include "udpcmdprocess.h"

namespace {

using std::string_literals::operator""s;

constexpr char kMac[] = "0016c04e21e7";

const std::vector<std::string> kCommonSetUp = {"require blueriver_api 3.0.0.0", "mode async on",
                                               "netstat ALL select all"};
constexpr char kRemoveAudio[] = "set all property streams[HDMI:0].configuration.remove_audio true";

std::string Notification(int eventId) {
  return R"({"status":"NOTIFICATION","request_id":null,"result":{"events":[{"device_id":"0016c04e21e7","event_id":)" +
         std::to_string(eventId) + R"(,"event_type":"UNHEARD_OF","timestamp":1,"request_id":1}]},"error":null})";
}

std::string Handled(int eventId) { return "Event_Type[UNHEARD_OF] Event_id[" + std::to_string(eventId) + "]"; }

// The server's end of one connection.
class CPeer {
 public:
  explicit CPeer(int fd) : m_fd(fd) {}
  ~CPeer() { Close(); }
  CPeer(const CPeer&) = delete;
  CPeer& operator=(const CPeer&) = delete;

  // The next line without its end; "(nothing)" when none comes.
  std::string ReadLine() {
    std::string::size_type end = 0;
    while ((end = m_received.find("\r\n")) == std::string::npos) {
      pollfd ready{m_fd, POLLIN, 0};
      char bytes[4096];
      const ssize_t got = poll(&ready, 1, 10000) == 1 ? recv(m_fd, bytes, sizeof bytes, 0) : -1;
      if (got <= 0) return "(nothing)";
      m_received.append(bytes, static_cast<std::size_t>(got));
    }
    const std::string line = m_received.substr(0, end);
    m_received.erase(0, end + 2);
    return line;
  }

  void Write(const std::string& bytes) const {
    EXPECT_EQ(send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }

  void Close() {
    if (m_fd != -1) close(m_fd);
    m_fd = -1;
  }

  // Ends the connection with a reset.
  void Reset() {
    const linger now{1, 0};
    setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    Close();
  }

 private:
  int m_fd;
  std::string m_received;
};

// A server that takes connections one by one, on a free port.
class CServer {
 public:
  explicit CServer(int backlog = 8) : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    listen(m_fd, backlog);
    socklen_t length = sizeof address;
    getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &length);
    m_port = ntohs(address.sin_port);
  }
  ~CServer() { Stop(); }
  CServer(const CServer&) = delete;
  CServer& operator=(const CServer&) = delete;

  UInt16 Port() const { return m_port; }

  // The port is closed from here on.
  void Stop() {
    if (m_fd != -1) close(m_fd);
    m_fd = -1;
  }

  // Null when nobody connects.
  std::unique_ptr<CPeer> Accept(int timeoutMs = 10000) const {
    pollfd ready{m_fd, POLLIN, 0};
    if (poll(&ready, 1, timeoutMs) != 1) return nullptr;
    return std::make_unique<CPeer>(accept4(m_fd, nullptr, nullptr, SOCK_CLOEXEC));
  }

  bool NobodyConnects() const { return Accept(0) == nullptr; }

 private:
  int m_fd;
  UInt16 m_port = 0;
};

// The link without the framework's threads: it counts as running all the time, so no thread ever takes it, and the test
// makes the runs.
class C_DrivenLink : public TcpForAvp {
 public:
  explicit C_DrivenLink(E_DEVICE_MODE mode) : TcpForAvp(mode) {
    const OSMutexLocker lock(m_AtomicMutex);
    events_or(kAlive);
  }

  SInt64 Run(EventFlags events) {
    Signal(events);
    return TcpForAvp::Run();
  }

  // Events that wait for the next run.
  EventFlags Pending() {
    const OSMutexLocker lock(m_AtomicMutex);
    return fEvents & kAliveOff;
  }
};

class TcpForAvpLink : public testing::Test {
 protected:
  static constexpr UInt32 kStart = TcpForAvp::kStartEvent;
  static constexpr UInt32 kRead = TcpForAvp::kReadEvent;
  static constexpr UInt32 kTimeout = TcpForAvp::kTimeoutEvent;

  void SetUp() override {
    ZpIHSelect<202>::select_startevents();
    ZpIHSocket<202>::Initialize();
    SetCmdCoreOnline(true);
  }

  void TearDown() override { SetCmdCoreOnline(false); }

  void Make(E_DEVICE_MODE mode = e_RX) { MakeTowards("127.0.0.1", m_server.Port(), mode); }

  void MakeTowards(const std::string& host, UInt16 port, E_DEVICE_MODE mode = e_RX) {
    m_link = std::make_unique<C_DrivenLink>(mode);
    m_link->Init(host, port, kMac);
  }

  // A link that has sent its set-up, and its peer, which has read it.
  void Connect() {
    Make();
    m_link->Run(kStart);
    m_peer = m_server.Accept();
    ASSERT_NE(m_peer, nullptr);
    RunUntil(kTimeout, [this] { return m_link->Status() == TcpForAvp::E_Status_Connected; });
    for (const std::string& line : kCommonSetUp) ASSERT_EQ(m_peer->ReadLine(), line);
    m_log.Clear();
  }

  // Runs until the condition holds: what the peer does may take a moment to arrive.
  void RunUntil(UInt32 events, const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition() && std::chrono::steady_clock::now() < end) {
      m_link->Run(events);
      std::this_thread::yield();
    }
    EXPECT_TRUE(condition());
  }

  void RunUntilLogged(const std::string& text, std::size_t count = 1) {
    RunUntil(kRead, [&] { return m_log.Count(text) >= count; });
  }

  CServer m_server;
  std::unique_ptr<CPeer> m_peer;
  CFakePlatform m_platform;
  CLogCapture m_log;
  std::unique_ptr<C_DrivenLink> m_link;
};

TEST_F(TcpForAvpLink, SaysWhereItConnectsTo) {
  MakeTowards("127.0.0.1", 6970);
  EXPECT_EQ(m_log.PriorityOf("TcpForAvp Init ServerIP<127.0.0.1:6970>  AvpMac<0016c04e21e7>"), 600);
  EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Init);
  EXPECT_EQ(m_link->Pending(), kStart);
}

TEST_F(TcpForAvpLink, TakesAMacOfAnyLength) {
  m_link = std::make_unique<C_DrivenLink>(e_RX);
  EXPECT_EQ(m_link->Init("127.0.0.1", 6970, std::string(500, 'a').c_str()), 1);
}

TEST_F(TcpForAvpLink, WaitsWhileCmdCoreIsNotOnline) {
  SetCmdCoreOnline(false);
  Make();
  EXPECT_EQ(m_link->Run(kStart), 300);
  EXPECT_EQ(m_link->Run(kTimeout), 300);
  EXPECT_EQ(m_log.Count("avp not online, tci wait"), 2u);
  EXPECT_EQ(m_log.PriorityOf("avp not online, tci wait"), 600);
  EXPECT_TRUE(m_server.NobodyConnects());
  SetCmdCoreOnline(true);
  EXPECT_EQ(m_link->Run(kStart), 0);
  EXPECT_NE(m_server.Accept(), nullptr);
}

TEST_F(TcpForAvpLink, EndsOnKillBeforeAnythingElse) {
  Make();
  EXPECT_EQ(m_link->Run(TcpForAvp::kKillEvent | kStart), -1);
  EXPECT_TRUE(m_server.NobodyConnects());
}

TEST_F(TcpForAvpLink, UnitAsksForTheEnd) {
  Make();
  m_link->Unit();
  EXPECT_EQ(m_link->Run(0), -1);
}

TEST_F(TcpForAvpLink, SendsOneSetUpCommandPerRunAndIsThenConnected) {
  Make();
  EXPECT_EQ(m_link->Run(kStart), 0);
  EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Connecting);
  m_peer = m_server.Accept();
  ASSERT_NE(m_peer, nullptr);
  EXPECT_EQ(m_log.Count("send to tci server"), 0u);
  for (std::size_t i = 0; i < kCommonSetUp.size(); ++i) {
    m_link->Run(kTimeout);
    EXPECT_EQ(m_log.Count("send to tci server"), i + 1);
    EXPECT_EQ(m_peer->ReadLine(), kCommonSetUp[i]);
    EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Connecting);
  }
  EXPECT_EQ(m_log.Count("m_bTciInit ok"), 0u);
  m_link->Run(kTimeout);
  EXPECT_EQ(m_log.PriorityOf("m_bTciInit ok"), 600);
  EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Connected);
  EXPECT_EQ(m_log.PriorityOf("send to tci server [mode async on\r\n]"), 600);
}

struct T_SetUpRow {
  const char* name;
  E_DEVICE_MODE mode;
  bool removesAudio;
};

class LinkSetUp : public TcpForAvpLink, public testing::WithParamInterface<T_SetUpRow> {};

TEST_P(LinkSetUp, DependOnTheRole) {
  Make(GetParam().mode);
  m_link->Run(kStart);
  m_peer = m_server.Accept();
  ASSERT_NE(m_peer, nullptr);
  RunUntil(kTimeout, [this] { return m_link->Status() == TcpForAvp::E_Status_Connected; });
  std::vector<std::string> expected = kCommonSetUp;
  if (GetParam().removesAudio) expected.emplace_back(kRemoveAudio);
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < expected.size(); ++i) lines.push_back(m_peer->ReadLine());
  EXPECT_EQ(lines, expected);
  EXPECT_EQ(m_log.Count("send to tci server"), expected.size());
}

INSTANTIATE_TEST_SUITE_P(Rows, LinkSetUp,
                         testing::Values(T_SetUpRow{"Unknown", e_unknow, false}, T_SetUpRow{"TX", e_TX, true},
                                         T_SetUpRow{"RX", e_RX, false}, T_SetUpRow{"TRX", e_TRX, true}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(TcpForAvpLink, IsInitialisedOnceTheFirstCommandHasBeenTriedAndForGood) {
  Make();
  m_link->Run(kStart);
  EXPECT_FALSE(m_link->IsTciInit());
  m_link->Run(kTimeout);
  EXPECT_TRUE(m_link->IsTciInit());
  m_peer = m_server.Accept();
  m_peer->Close();
  RunUntil(kRead, [this] { return m_link->Status() == TcpForAvp::E_Status_Init; });
  EXPECT_TRUE(m_link->IsTciInit());
}

// A listener with a full queue answers no further connection; this one's stays under way.
TEST_F(TcpForAvpLink, ACommandBeforeTheConnectionIsThereIsKeptAndTriedAgain) {
  const CServer full(0);
  std::list<int> queued;
  for (int i = 0; i < 3; ++i) {
    queued.push_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(full.Port());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connect(queued.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  }
  MakeTowards("127.0.0.1", full.Port());
  m_link->Run(kStart);
  EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Connecting);
  m_link->Run(kTimeout);
  EXPECT_EQ(m_log.PriorityOf("send [require blueriver_api 3.0.0.0\r\n] fail!!!"), 300);
  EXPECT_TRUE(m_link->IsTciInit());
  EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Connecting);

  for (const int fd : queued) close(fd);
  std::vector<std::unique_ptr<CPeer>> peers;  // those of the queue come first
  RunUntil(kTimeout, [&] {
    while (std::unique_ptr<CPeer> peer = full.Accept(0)) peers.push_back(std::move(peer));
    return m_link->Status() == TcpForAvp::E_Status_Connected;
  });
  while (std::unique_ptr<CPeer> peer = full.Accept(0)) peers.push_back(std::move(peer));
  for (const std::string& line : kCommonSetUp) EXPECT_EQ(peers.back()->ReadLine(), line);
}

TEST_F(TcpForAvpLink, HandlesEachNotificationLine) {
  Connect();
  m_peer->Write(Notification(1) + "\r\n" + Notification(2) + "\r\n");
  RunUntilLogged(Handled(2));
  EXPECT_EQ(m_log.Count(Handled(1)), 1u);
}

TEST_F(TcpForAvpLink, LogsWhatItReads) {
  Connect();
  m_peer->Write("{}\r\n");
  RunUntilLogged("read avp tci msg [4-{}\r\n] ");
  EXPECT_EQ(m_log.PriorityOf("read avp tci msg"), 600);
}

TEST_F(TcpForAvpLink, IgnoresAnswersToItsCommands) {
  Connect();
  m_peer->Write(R"({"status":"SUCCESS","request_id":null,"result":null,"error":null})"
                "\r\n" +
                Notification(3) + "\r\n");
  RunUntilLogged(Handled(3));
  for (const T_LogLine& line : m_log.Lines()) EXPECT_GT(line.priority, 300) << line.text;
}

TEST_F(TcpForAvpLink, ALineSplitAcrossTwoReadsIsLost) {
  Connect();
  const std::string line = Notification(4) + "\r\n";
  m_peer->Write(line.substr(0, 40));
  RunUntilLogged("read avp tci msg", 1);
  m_peer->Write(line.substr(40));
  RunUntilLogged("read avp tci msg", 2);
  EXPECT_EQ(m_log.Count("Is not json data"), 2u);
  EXPECT_EQ(m_log.Count(Handled(4)), 0u);
}

TEST_F(TcpForAvpLink, ALineWhoseEndComesLaterCounts) {
  Connect();
  m_peer->Write(Notification(5));
  RunUntilLogged(Handled(5));
  m_peer->Write("\r\n");
  RunUntilLogged("Check Notify Error : [] Is not json data");
  EXPECT_EQ(m_log.Count("Is not json data"), 1u);
  EXPECT_EQ(m_log.Count(Handled(5)), 1u);
}

TEST_F(TcpForAvpLink, ReadsUpTo4096BytesAtOnce) {
  Connect();
  const std::string filler(5000, ' ');
  m_peer->Write(filler);
  RunUntilLogged("read avp tci msg", 2);
  EXPECT_EQ(m_log.Count("read avp tci msg [4096-" + filler.substr(0, 4096) + "] "), 1u);
  EXPECT_EQ(m_log.Count("read avp tci msg [904-" + filler.substr(0, 904) + "] "), 1u);
}

struct T_GarbageRow {
  const char* name;
  std::string bytes;
};

class GarbageOnTheLink : public TcpForAvpLink, public testing::WithParamInterface<T_GarbageRow> {};

TEST_P(GarbageOnTheLink, HarmsNothing) {
  Connect();
  m_peer->Write(GetParam().bytes);
  // Everything is read before the next line leaves, so that it begins a read of its own.
  std::size_t reads = (GetParam().bytes.size() + 4095) / 4096;
  RunUntilLogged("read avp tci msg", reads);
  m_peer->Write(Notification(6) + "\r\n");
  RunUntilLogged(Handled(6));
  EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Connected);
}

INSTANTIATE_TEST_SUITE_P(Rows, GarbageOnTheLink,
                         testing::Values(T_GarbageRow{"Binary", "\x00\x01\xff\xfe\r\x00\n\x80"s},
                                         T_GarbageRow{"OnlyLineEnds", "\r\n\r\n\r\n"},
                                         T_GarbageRow{"APageOfLineEnds",
                                                      [] {
                                                        std::string ends;
                                                        while (ends.size() < 4096) ends += "\r\n";
                                                        return ends;
                                                      }()},
                                         T_GarbageRow{"LoneCarriageReturn", "{\r"},
                                         T_GarbageRow{"LongLine", std::string(4096, 'x')},
                                         T_GarbageRow{"DeepNesting", std::string(4094, '[') + "\r\n"},
                                         T_GarbageRow{"PercentSigns", "%s%n%s%n\r\n"},
                                         T_GarbageRow{"Scalars", "null\r\n7\r\n\"x\"\r\n[]\r\n"},
                                         T_GarbageRow{"WrongTypes",
                                                      R"({"status":7})"
                                                      "\r\n"
                                                      R"({"status":"NOTIFICATION","result":[]})"
                                                      "\r\n"
                                                      R"({"status":"NOTIFICATION","result":{"events":[7,null,"x",{}]}})"
                                                      "\r\n"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(TcpForAvpLink, TheTimeoutChecksThePendingDisconnect) {
  Connect();
  m_peer->Write(R"({"status":"NOTIFICATION","result":{"events":[{"device_id":"0016c04e21e7","event_id":1,)"
                R"("event_type":"DEVICE_DISCONNECTED","timestamp":1,"request_id":1}]}})"
                "\r\n");
  RunUntilLogged("need handle disconnect event");
  m_platform.AdvanceMs(5000);
  m_link->Run(kStart);
  EXPECT_EQ(m_log.Count("has past"), 0u);
  m_link->Run(kTimeout);
  EXPECT_TRUE(m_log.Contains("recv disconnect event has past 5 seconds"));
  SetCmdCoreOnline(false);
  m_link->Run(kTimeout);
  EXPECT_EQ(m_log.Count("has past"), 2u);
  CBrntCmdNotifyHandler::ProcessNotifyMsg(
      R"({"status":"NOTIFICATION","result":{"events":[{"event_type":"DEVICE_CONNECTED","request_id":1}]}})");
}

TEST_F(TcpForAvpLink, AConnectionThatTheServerClosesIsMadeAgainAtOnceWithTheWholeSetUp) {
  Connect();
  m_platform.AdvanceMs(1000);
  m_peer->Close();
  RunUntil(kRead, [this] { return m_link->Status() == TcpForAvp::E_Status_Init; });
  EXPECT_EQ(m_link->Pending() & kStart, kStart) << "the next run must come by itself";
  m_link->Run(0);
  m_peer = m_server.Accept();
  ASSERT_NE(m_peer, nullptr);
  RunUntil(kTimeout, [this] { return m_link->Status() == TcpForAvp::E_Status_Connected; });
  for (const std::string& line : kCommonSetUp) EXPECT_EQ(m_peer->ReadLine(), line);
}

TEST_F(TcpForAvpLink, AConnectionThatIsLostDuringTheSetUpBeginsItAnew) {
  Make();
  m_link->Run(kStart);
  m_peer = m_server.Accept();
  m_link->Run(kTimeout);
  m_link->Run(kTimeout);
  EXPECT_EQ(m_peer->ReadLine(), kCommonSetUp[0]);
  EXPECT_EQ(m_peer->ReadLine(), kCommonSetUp[1]);
  m_peer->Reset();
  RunUntil(kRead, [this] { return m_link->Status() == TcpForAvp::E_Status_Init; });
  m_platform.AdvanceMs(1000);
  m_link->Run(kTimeout);
  m_peer = m_server.Accept();
  ASSERT_NE(m_peer, nullptr);
  m_link->Run(kTimeout);
  EXPECT_EQ(m_peer->ReadLine(), kCommonSetUp[0]);
}

TEST_F(TcpForAvpLink, AServerThatClosesEveryConnectionIsTriedOnceASecond) {
  Make();
  m_link->Run(kStart);
  for (int second = 0; second < 3; ++second) {
    m_peer = m_server.Accept();
    ASSERT_NE(m_peer, nullptr);
    m_peer->Close();
    RunUntil(kRead, [this] { return m_link->Status() == TcpForAvp::E_Status_Init; });
    m_platform.AdvanceMs(999);
    m_link->Run(kStart);
    EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Init);
    EXPECT_TRUE(m_server.NobodyConnects());
    m_platform.AdvanceMs(1);
    m_link->Run(kStart);
  }
}

TEST_F(TcpForAvpLink, AClosedPortIsTriedOnceASecond) {
  Make();
  m_server.Stop();
  int attempts = 0;
  for (int i = 0; i < 300; ++i) {  // 3 s, a hundred runs in each
    const SInt32 before = m_link->Status();
    m_link->Run(kStart);
    if (before == TcpForAvp::E_Status_Init && m_link->Status() == TcpForAvp::E_Status_Connecting) ++attempts;
    RunUntil(kRead, [this] { return m_link->Status() == TcpForAvp::E_Status_Init; });
    m_platform.AdvanceMs(10);
  }
  EXPECT_EQ(attempts + static_cast<int>(m_log.Count("connect to server failed: 111")), 3);
}

TEST_F(TcpForAvpLink, AConnectionThatTheSystemRefusesIsAnErrorLine) {
  MakeTowards("192.0.2.1", 6970);  // the sandbox has no way there
  m_link->Run(kStart);
  EXPECT_EQ(m_log.PriorityOf("connect to server failed: 101"), 300);
  EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Init);
}

TEST_F(TcpForAvpLink, ASocketThatTheSystemRefusesIsAnErrorLineAndTriedAgain) {
  Make();
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  rlimit none = before;
  none.rlim_cur = 0;
  setrlimit(RLIMIT_NOFILE, &none);
  m_link->Run(kStart);
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(m_log.PriorityOf("Open socket failed: 24"), 300);
  EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Init);
  m_platform.AdvanceMs(1000);
  m_link->Run(kTimeout);
  EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Connecting);
}

TEST_F(TcpForAvpLink, AReadEventWithoutASocketIsNothing) {
  Make();
  SetCmdCoreOnline(false);
  EXPECT_EQ(m_link->Run(kRead), 300);
  EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Init);
}

TEST_F(TcpForAvpLink, RefusesToSendWithoutASocket) {
  Make();
  EXPECT_EQ(m_link->SendReq("hello"), 0);
  EXPECT_EQ(m_log.PriorityOf("m_pTcpSock is null, str[hello]"), 300);
}

TEST_F(TcpForAvpLink, AddsTheLineEndUnlessTheTextHasIt) {
  Connect();
  EXPECT_EQ(m_link->SendReq("one"), 1);
  EXPECT_EQ(m_link->SendReq("two\r\n"), 1);
  EXPECT_EQ(m_link->SendReq("three\r\nfour"), 1);
  EXPECT_EQ(m_link->SendReq("\r\n"), 1);
  EXPECT_EQ(m_peer->ReadLine(), "one");
  EXPECT_EQ(m_peer->ReadLine(), "two");
  EXPECT_EQ(m_peer->ReadLine(), "three");
  EXPECT_EQ(m_peer->ReadLine(), "four");
}

TEST_F(TcpForAvpLink, ALineThatCannotBeSentIsAnErrorLineAndTheConnectionIsMadeAgain) {
  Connect();
  m_peer->Reset();
  RunUntil(0, [this] { return m_link->SendReq("hello") == 0; });
  EXPECT_EQ(m_log.PriorityOf("send [hello\r\n] fail!!!"), 300);
  m_platform.AdvanceMs(1000);
  RunUntil(0, [this] { return m_link->Status() == TcpForAvp::E_Status_Connecting; });
  EXPECT_NE(m_server.Accept(), nullptr);
}

TEST_F(TcpForAvpLink, ALineThatOnlyFitsInPartEndsTheConnection) {
  Connect();
  EXPECT_EQ(m_link->SendReq(std::string(64 * 1024 * 1024, 'x')), 0);
  EXPECT_TRUE(m_log.Contains("fail!!!"));
  m_link->Run(0);
  EXPECT_EQ(m_link->Status(), TcpForAvp::E_Status_Init);
}

// The whole way: the framework's threads, a server that answers.
class RunningTcpForAvp : public testing::Test {
 protected:
  void SetUp() override {
    ZpIHTaskThreadPool<202>::AddThreads(3);
    ZpIHIdleTask<202>::Initialize();
    ZpIHSecTimeoutTask<202>::Initialize();
    ZpIHSelect<202>::select_startevents();
    ZpIHSocket<202>::StartThread();
    ASSERT_TRUE(m_server.Start("127.0.0.1", 0));
    SetCmdCoreOnline(true);
  }

  // The link is gone when its connection is.
  void TearDown() override {
    AsyncTask::UnInit();
    EXPECT_TRUE(WaitUntil([this] { return m_server.Sessions() == 0; }));
    SetCmdCoreOnline(false);
  }

  static bool WaitUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) return false;
      std::this_thread::yield();
    }
    return true;
  }

  std::vector<std::string> Lines() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
  }

  CTciLink::T_Answer Answer(const std::string& line) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.push_back(line);
    CTciLink::T_Answer answer;
    answer.line = R"({"status":"SUCCESS","request_id":null,"result":null,"error":null})";
    return answer;
  }

  void StartLink() { AsyncTask::Init("127.0.0.1", static_cast<UInt16>(m_server.Port()), kMac, e_TX); }

  std::mutex m_mutex;
  std::vector<std::string> m_lines;
  CLogCapture m_log;
  CTciLink m_server{[this](const std::string& line) { return Answer(line); }, [] {}};
};

TEST_F(RunningTcpForAvp, SetsItselfUpAndReceives) {
  StartLink();
  EXPECT_TRUE(m_log.WaitFor("m_bTciInit ok"));
  EXPECT_EQ(Lines(), (std::vector<std::string>{kCommonSetUp[0], kCommonSetUp[1], kCommonSetUp[2], kRemoveAudio}));
  EXPECT_EQ(AsyncTask::GetTciInitStatus(), 1);
  m_server.Push(Notification(7), false);
  EXPECT_TRUE(m_log.WaitFor(Handled(7)));
  EXPECT_EQ(AsyncTask::SendReq("more"), 1);
  EXPECT_TRUE(WaitUntil([this] { return Lines().size() == 5 && Lines().back() == "more"; }));
}

TEST_F(RunningTcpForAvp, ReadsABurstToItsEnd) {
  StartLink();
  ASSERT_TRUE(m_log.WaitFor("m_bTciInit ok"));
  std::string burst(40000, ' ');
  burst.replace(burst.size() - 2, 2, "\r\n");
  m_server.PushRaw(burst);
  EXPECT_TRUE(WaitUntil([this] {
    std::size_t got = 0;
    for (const std::string& text : m_log.Texts()) {
      if (text.rfind("read avp tci msg [", 0) == 0) got += std::stoul(text.substr(18));
    }
    return got >= 40000;
  }));
}

TEST_F(RunningTcpForAvp, ComesBackAfterALoss) {
  StartLink();
  ASSERT_TRUE(m_log.WaitFor("m_bTciInit ok"));
  m_server.DropAll();
  EXPECT_TRUE(m_log.WaitFor("m_bTciInit ok", 2));
  EXPECT_EQ(Lines().size(), 8u);
  EXPECT_EQ(Lines()[4], kCommonSetUp[0]);
}

TEST(AsyncTaskFacade, WithoutALinkIsNotInitialised) {
  CLogCapture log;
  EXPECT_EQ(AsyncTask::GetTciInitStatus(), 0);
  EXPECT_EQ(log.PriorityOf("s_pBrntClientAgent is NULL"), 400);
  EXPECT_EQ(AsyncTask::SendReq("x"), 0);
  AsyncTask::UnInit();
}

TEST(AsyncTaskFacade, InUpgradeModeCountsAsInitialisedAndSaysSoEachTime) {
  CLogCapture log;
  AsyncTask::SetUpgradeMode(1);
  EXPECT_EQ(AsyncTask::GetUpgradeMode(), 1);
  EXPECT_EQ(AsyncTask::GetTciInitStatus(), 1);
  EXPECT_EQ(AsyncTask::GetTciInitStatus(), 1);
  EXPECT_EQ(log.Count("halyard is in upgrade mode"), 2u);
  EXPECT_EQ(log.PriorityOf("halyard is in upgrade mode"), 600);
  AsyncTask::SetUpgradeMode(0);
}

TEST_F(RunningTcpForAvp, StartsTowardsTheServersFixedPort) {
  SetCmdCoreOnline(false);
  EXPECT_EQ(StartDoAsyncMsg(kMac, e_RX), 1);
  EXPECT_TRUE(m_log.WaitFor("avp not online, tci wait", 2));
  EXPECT_TRUE(m_log.Contains("TcpForAvp Init ServerIP<127.0.0.1:6970>  AvpMac<0016c04e21e7>"));
  EXPECT_EQ(AsyncTask::GetTciInitStatus(), 0);
}

}  // namespace
