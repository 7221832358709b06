#include "tcilink.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "tcppeer.h"

namespace {

class TciLink : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_link.Start("127.0.0.1", 0)); }

  // Until the link's state is so; its changes wake the test.
  bool Wait(const std::function<bool()>& condition) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_cond.wait_for(lock, std::chrono::seconds(20), condition);
  }

  bool WaitForSessions(size_t count) {
    return Wait([&] { return m_link.Sessions() == count; });
  }

  std::mutex m_mutex;
  std::condition_variable m_cond;
  CTciLink m_link{[](const std::string& line) {
                    const bool on = line == "mode async on";
                    const bool off = line == "mode async off";
                    return CTciLink::T_Answer{"<" + line + ">", on    ? CTciLink::T_Answer::e_on
                                                                : off ? CTciLink::T_Answer::e_off
                                                                      : CTciLink::T_Answer::e_keep};
                  },
                  [this] {
                    { const std::lock_guard<std::mutex> guard(m_mutex); }
                    m_cond.notify_all();
                  }};
};

TEST_F(TciLink, AnswersEachLineWithOneLine) {
  CTcpPeer peer(m_link.Port());
  peer.Send("one\r\ntwo\r\n");
  EXPECT_EQ(peer.Line(), "<one>");
  EXPECT_EQ(peer.Line(), "<two>");
}

TEST_F(TciLink, SaysNothingFirst) {
  CTcpPeer peer(m_link.Port());
  ASSERT_TRUE(WaitForSessions(1));
  m_link.DropAll();
  EXPECT_EQ(peer.Rest(), "");
}

TEST_F(TciLink, JoinsALineThatComesInPieces) {
  CTcpPeer peer(m_link.Port());
  peer.Send("o");
  ASSERT_TRUE(WaitForSessions(1));
  peer.Send("ne\r");
  peer.Send("\n");
  EXPECT_EQ(peer.Line(), "<one>");
}

TEST_F(TciLink, TakesALineFeedAlone) {
  CTcpPeer peer(m_link.Port());
  peer.Send("one\n");
  EXPECT_EQ(peer.Line(), "<one>");
}

TEST_F(TciLink, PushesToEveryConnection) {
  CTcpPeer first(m_link.Port());
  CTcpPeer second(m_link.Port());
  ASSERT_TRUE(WaitForSessions(2));
  EXPECT_EQ(m_link.Push("news", false), 2u);
  EXPECT_EQ(first.Line(), "news");
  EXPECT_EQ(second.Line(), "news");
}

TEST_F(TciLink, AsynchronousModeBelongsToTheConnection) {
  CTcpPeer first(m_link.Port());
  CTcpPeer second(m_link.Port());
  first.Send("mode async on\r\n");
  EXPECT_EQ(first.Line(), "<mode async on>");
  ASSERT_TRUE(WaitForSessions(2));
  EXPECT_EQ(m_link.AsyncSessions(), 1u);
  EXPECT_EQ(m_link.Push("news", true), 1u);
  EXPECT_EQ(first.Line(), "news");
  first.Send("mode async off\r\n");
  EXPECT_EQ(first.Line(), "<mode async off>");
  EXPECT_EQ(m_link.Push("news", true), 0u);
}

TEST_F(TciLink, PushesBytesAsTheyAre) {
  CTcpPeer peer(m_link.Port());
  ASSERT_TRUE(WaitForSessions(1));
  EXPECT_EQ(m_link.PushRaw("half a li"), 1u);
  EXPECT_EQ(peer.Piece(), "half a li");
}

TEST_F(TciLink, CanSplitALineFromItsEnd) {
  CTcpPeer peer(m_link.Port());
  ASSERT_TRUE(WaitForSessions(1));
  m_link.SetSplitMs(300);
  std::thread pusher([this] { m_link.Push("news", false); });
  EXPECT_EQ(peer.Piece(), "news");
  EXPECT_EQ(peer.Piece(), "\r\n");
  pusher.join();
}

TEST_F(TciLink, DropsConnectionsAndTakesNewOnes) {
  CTcpPeer first(m_link.Port());
  ASSERT_TRUE(WaitForSessions(1));
  m_link.DropAll();
  EXPECT_EQ(first.Rest(), "");
  ASSERT_TRUE(WaitForSessions(0));
  CTcpPeer second(m_link.Port());
  second.Send("one\r\n");
  EXPECT_EQ(second.Line(), "<one>");
}

TEST_F(TciLink, CanRefuseConnections) {
  m_link.SetRefuse(true);
  CTcpPeer refused(m_link.Port());
  EXPECT_EQ(refused.Rest(), "");
  m_link.SetRefuse(false);
  CTcpPeer taken(m_link.Port());
  taken.Send("one\r\n");
  EXPECT_EQ(taken.Line(), "<one>");
}

TEST_F(TciLink, NoticesThatAPeerWentAway) {
  {
    CTcpPeer peer(m_link.Port());
    ASSERT_TRUE(WaitForSessions(1));
  }
  EXPECT_TRUE(WaitForSessions(0));
  EXPECT_EQ(m_link.Push("news", false), 0u);
}

TEST_F(TciLink, StopsAndStartsAgainOnItsPort) {
  const int port = m_link.Port();
  CTcpPeer before(port);
  ASSERT_TRUE(WaitForSessions(1));
  m_link.Stop();
  EXPECT_EQ(before.Rest(), "");
  EXPECT_EQ(m_link.Sessions(), 0u);
  EXPECT_FALSE(CTcpPeer(port).Connected());
  ASSERT_TRUE(m_link.Start("127.0.0.1", port));
  CTcpPeer after(port);
  after.Send("one\r\n");
  EXPECT_EQ(after.Line(), "<one>");
}

TEST_F(TciLink, APortThatIsTakenIsRefused) {
  CTciLink second([](const std::string&) { return CTciLink::T_Answer{}; }, [] {});
  EXPECT_FALSE(second.Start("127.0.0.1", m_link.Port()));
}

TEST_F(TciLink, APeerThatNeverEndsItsLineIsDropped) {
  CTcpPeer peer(m_link.Port());
  for (int i = 0; i < 40; ++i) peer.Send(std::string(32768, 'x'));
  EXPECT_EQ(peer.Rest(), "");
}

}  // namespace
