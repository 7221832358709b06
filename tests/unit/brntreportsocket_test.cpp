#include "brntreportsocket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "logcapture.h"

namespace {

using std::string_literals::operator""s;

// cmd_core's port, and the datagrams that arrive there.
class ReportSocket : public testing::Test {
 protected:
  void SetUp() override {
    m_receiver = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(9993);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(m_receiver, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }

  void TearDown() override { close(m_receiver); }

  std::string Receive() const {
    pollfd ready{m_receiver, POLLIN, 0};
    if (poll(&ready, 1, 10000) != 1) return "(nothing)";
    std::string bytes(70000, '\0');
    const ssize_t got = recv(m_receiver, bytes.data(), bytes.size(), 0);
    bytes.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
    return bytes;
  }

  bool NothingWaits() const {
    pollfd ready{m_receiver, POLLIN, 0};
    return poll(&ready, 1, 0) == 0;
  }

  int m_receiver = -1;
  CLogCapture m_log;
};

TEST_F(ReportSocket, FramesAReportToTheByte) {
  ReportAsyncMsg(e_event_alive, "avp alive");
  EXPECT_EQ(Receive(),
            "\x03\0\0\0\x12\0\0\0"      // the envelope: 18 bytes
            "\x03\x05\x0b\0\x0a\0\0\0"  // tag 0xB0503: 10 bytes
            "avp alive\0"s);
}

struct T_KindRow {
  const char* name;
  E_Event_Type kind;
  std::string tag;  // as it is on the wire
  const char* line;
};

class KindOfReport : public ReportSocket, public testing::WithParamInterface<T_KindRow> {};

TEST_P(KindOfReport, HasItsTagAndItsLogLine) {
  ReportAsyncMsg(GetParam().kind, "ab");
  EXPECT_EQ(Receive(), "\x03\0\0\0\x0b\0\0\0"s + GetParam().tag + "\x03\0\0\0ab\0"s);
  EXPECT_EQ(m_log.Texts(), (std::vector<std::string>{GetParam().line}));
  EXPECT_EQ(m_log.PriorityOf("Send Msg"), 600);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, KindOfReport,
    testing::Values(
        T_KindRow{"Video", e_event_video, "\x03\x05\x01\0"s, "Send Msg To cmd_core : [video type] -- [ab]"},
        T_KindRow{"Rs232", e_event_rs232, "\x03\x05\x02\0"s, "Send Msg To cmd_core : [rs232 type] -- [ab]"},
        T_KindRow{"Ir", e_event_ir, "\x03\x05\x03\0"s, "Send Msg To cmd_core : [ir type] -- [ab]"},
        T_KindRow{"Online", e_event_online, "\x03\x05\x09\0"s, "Send Msg To cmd_core : [online type] -- [ab]"},
        T_KindRow{"Audio", e_event_audio, "\x03\x05\x04\0"s, "Send Msg To cmd_core : [audio type] -- [ab]"},
        T_KindRow{"Monitor", e_event_monitor, "\x03\x05\x0a\0"s, "Send Msg To cmd_core : [monitor type] -- [ab]"},
        T_KindRow{"Alive", e_event_alive, "\x03\x05\x0b\0"s, "Send Msg To cmd_core : [alive type] -- [ab]"},
        T_KindRow{"VideowallIsLoggedWithTheVideoWording", e_event_videowall, "\x03\x05\x0c\0"s,
                  "Send Msg To cmd_core : [video type] -- [ab]"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ReportSocket, AnUnknownKindLeavesAsAnEmptyBoxWithoutALine) {
  ReportAsyncMsg(static_cast<E_Event_Type>(8), "ab");
  EXPECT_EQ(Receive(), "\x03\0\0\0\0\0\0\0"s);
  EXPECT_THAT(m_log.Texts(), testing::IsEmpty());
}

TEST_F(ReportSocket, AnEmptyTextIsAReport) {
  ReportAsyncMsg(e_event_monitor, "");
  EXPECT_EQ(Receive(), "\x03\0\0\0\x09\0\0\0\x03\x05\x0a\0\x01\0\0\0\0"s);
}

TEST_F(ReportSocket, ABoxThatCannotBeSerialisedLeavesAsAnEmptyDatagram) {
  ASSERT_EQ(ReportAsyncInit(), 1);
  const std::unique_ptr<tlv_box_t, int (*)(tlv_box_t*)> box(tlv_box_create(), tlv_box_destroy);
  ASSERT_EQ(tlv_box_serialize(box.get()), 0);  // a second time is refused
  SendReportBox(box.get());
  EXPECT_EQ(Receive(), "");
}

TEST_F(ReportSocket, TheLargestReportIsWhatOneDatagramHolds) {
  const std::string largest(65507 - 17, 'x');  // two record headers and the closing zero beside it
  ReportAsyncMsg(e_event_video, largest);
  const std::string datagram = Receive();
  EXPECT_EQ(datagram.size(), 65507u);
  EXPECT_EQ(datagram.substr(16), largest + '\0');
}

TEST_F(ReportSocket, ALargerReportIsOneErrorLineAndTheNextArrives) {
  ReportAsyncMsg(e_event_video, std::string(65507 - 16, 'x'));
  EXPECT_EQ(m_log.Count("send report of 65508 bytes failed: 90"), 1u);
  EXPECT_EQ(m_log.PriorityOf("send report of 65508 bytes failed: 90"), 300);
  ReportAsyncMsg(e_event_alive, "next");
  EXPECT_THAT(Receive(), testing::HasSubstr("next"));
  EXPECT_TRUE(NothingWaits());
}

TEST_F(ReportSocket, NobodyAtThePortIsNoFailure) {
  close(m_receiver);
  ReportAsyncMsg(e_event_alive, "one");
  ReportAsyncMsg(e_event_alive, "two");
  SetUp();
  ReportAsyncMsg(e_event_alive, "three");
  EXPECT_THAT(Receive(), testing::HasSubstr("three"));
  EXPECT_EQ(m_log.Count("failed"), 0u);
}

TEST_F(ReportSocket, IsCreatedOnceAndClosedInCommands) {
  ASSERT_EQ(ReportAsyncInit(), 1);
  const int first = g_reportsocket;
  EXPECT_EQ(ReportAsyncInit(), 1);
  ReportAsyncMsg(e_event_alive, "x");
  EXPECT_EQ(g_reportsocket, first);
  EXPECT_NE(fcntl(first, F_GETFD) & FD_CLOEXEC, 0);
  EXPECT_EQ(ntohs(g_reportaddr.sin_port), 9993);
  EXPECT_EQ(ntohl(g_reportaddr.sin_addr.s_addr), INADDR_LOOPBACK);
}

TEST_F(ReportSocket, ReportsOfSeveralThreadsArriveWhole) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      for (int n = 0; n < 10; ++n) ReportAsyncMsg(e_event_video, std::string(1000, static_cast<char>('a' + i)));
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::vector<std::string> texts;
  for (int n = 0; n < 40; ++n) texts.push_back(Receive().substr(16, 1000));
  for (const char letter : {'a', 'b', 'c', 'd'}) {
    EXPECT_EQ(std::count(texts.begin(), texts.end(), std::string(1000, letter)), 10) << letter;
  }
}

// In a process of its own, where the first report finds no descriptor free.
TEST(ReportSocketCreation, ThatFailsIsAnErrorLineAndIsTriedAgain) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        CLogCapture log;
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit none = before;
        none.rlim_cur = 3;
        setrlimit(RLIMIT_NOFILE, &none);
        std::vector<int> taken;
        for (int fd = dup(2); fd != -1; fd = dup(2)) taken.push_back(fd);
        ReportAsyncMsg(e_event_alive, "lost");
        const int during = ReportAsyncInit();
        setrlimit(RLIMIT_NOFILE, &before);
        const int after = ReportAsyncInit();
        for (const T_LogLine& line : log.Lines()) std::fprintf(stderr, "%d %s\n", line.priority, line.text.c_str());
        std::fprintf(stderr, "%d %d\n", during, after);
        _exit(0);
      },
      testing::ExitedWithCode(0),
      testing::Eq("300 Creat Async Report Socket Error!!!\n300 Creat Async Report Socket Error!!!\n0 1\n"));
}

}  // namespace
