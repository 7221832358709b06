#include "httpfront.h"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <string>

#include "httpclient.h"
#include "tcppeer.h"

namespace {

class HttpFront : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_front.Start("127.0.0.1", 0)); }

  // The reply to what comes from now on; an empty body stands for the request itself.
  void ReplyWith(const T_HttpReply& reply) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_reply = reply;
  }

  std::mutex m_mutex;
  T_HttpReply m_reply{200, "the reply", e_http_whole};  // guarded by m_mutex
  CHttpFront m_front{[this](const std::string& method, const std::string& target, const std::string& body) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    T_HttpReply reply = m_reply;
    if (reply.body.empty()) reply.body = method + " " + target + " " + body;
    return reply;
  }};
};

TEST_F(HttpFront, HandsTheRequestToTheHandler) {
  ReplyWith({200, "", e_http_whole});
  CHttpClient client(m_front.Port());
  EXPECT_EQ(client.Get("/api/device/ALL?x=1").body, "GET /api/device/ALL?x=1 ");
  EXPECT_EQ(client.Post("/api/device/1", R"({"op":"stop"})").body, R"(POST /api/device/1 {"op":"stop"})");
  EXPECT_EQ(client.Delete("/api/multiview/layout/x").body, "DELETE /api/multiview/layout/x ");
}

TEST_F(HttpFront, GivesTheHandlersStatus) {
  ReplyWith({404, "the reply", e_http_whole});
  const T_HttpResult result = CHttpClient(m_front.Port()).Get("/");
  EXPECT_EQ(result.status, 404);
  EXPECT_EQ(result.body, "the reply");
}

TEST_F(HttpFront, KeepsAConnectionForManyRequestsWithoutDelay) {
  CHttpClient client(m_front.Port(), true);
  client.Get("/");
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(client.Post("/", "x").arrived);
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_LT(took, std::chrono::seconds(3)) << "an answer that waits for an acknowledgement takes 40 ms";
}

TEST_F(HttpFront, ServesSeveralRequestsOfOneConnection) {
  CTcpPeer peer(m_front.Port());
  for (int i = 0; i < 3; ++i) {
    peer.Send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(peer.Line(), "HTTP/1.1 200 OK");
    while (peer.Line().value_or("") != "") {
    }
    EXPECT_EQ(peer.Piece(), "the reply");
  }
}

TEST_F(HttpFront, ServesRequestsThatCameTogether) {
  CTcpPeer peer(m_front.Port());
  peer.Send("GET / HTTP/1.1\r\nHost: x\r\n\r\nGET / HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
  const std::string all = peer.Rest();
  EXPECT_NE(all.find("the reply", all.find("the reply") + 1), std::string::npos) << all;
}

TEST_F(HttpFront, ClosesWhenTheClientAsksForIt) {
  CTcpPeer peer(m_front.Port());
  peer.Send("GET / HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
  const std::string all = peer.Rest();
  EXPECT_NE(all.find("Connection: close\r\n"), std::string::npos);
  EXPECT_EQ(all.substr(all.find("\r\n\r\n") + 4), "the reply");
}

TEST_F(HttpFront, TellsAWaitingClientToGoOn) {
  CTcpPeer peer(m_front.Port());
  peer.Send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 1\r\nExpect: 100-continue\r\n\r\n");
  EXPECT_EQ(peer.Line(), "HTTP/1.1 100 Continue");
  peer.Send("x");
  EXPECT_EQ(peer.Line(), "");
  EXPECT_EQ(peer.Line(), "HTTP/1.1 200 OK");
}

TEST_F(HttpFront, CanHangUp) {
  ReplyWith({200, "", e_http_hangup});
  CTcpPeer peer(m_front.Port());
  peer.Send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ(peer.Rest(), "");
}

TEST_F(HttpFront, CanSendHalfAnAnswer) {
  ReplyWith({200, std::string(1000, 'x'), e_http_half});
  CTcpPeer peer(m_front.Port());
  peer.Send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
  const std::string all = peer.Rest();
  EXPECT_NE(all.find("Content-Length: 1000"), std::string::npos);
  EXPECT_LT(all.size(), 1000u);
  EXPECT_FALSE(CHttpClient(m_front.Port()).Get("/").arrived);
}

TEST_F(HttpFront, CanSendWhatIsNoHttp) {
  ReplyWith({200, "\x16\x03 no http", e_http_raw});
  CTcpPeer peer(m_front.Port());
  peer.Send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ(peer.Rest(), "\x16\x03 no http");
}

TEST_F(HttpFront, AFaultConcernsOneAnswerOnly) {
  CHttpClient client(m_front.Port(), true);
  ReplyWith({200, "", e_http_hangup});
  EXPECT_FALSE(client.Get("/").arrived);
  ReplyWith({200, "the reply", e_http_whole});
  EXPECT_EQ(client.Get("/").body, "the reply");
}

TEST_F(HttpFront, StopClosesIdleConnectionsAtOnce) {
  CTcpPeer peer(m_front.Port());
  peer.Send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ(peer.Line(), "HTTP/1.1 200 OK");
  const auto start = std::chrono::steady_clock::now();
  m_front.Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  peer.Rest();
  EXPECT_FALSE(CTcpPeer(m_front.Port()).Connected());
}

TEST_F(HttpFront, StartsAgainOnItsPort) {
  const int port = m_front.Port();
  m_front.Stop();
  EXPECT_EQ(m_front.Port(), port);
  ASSERT_TRUE(m_front.Start("127.0.0.1", port));
  EXPECT_EQ(CHttpClient(port).Get("/").body, "the reply");
}

TEST_F(HttpFront, APortThatIsTakenIsRefused) {
  CHttpFront second([](const std::string&, const std::string&, const std::string&) { return T_HttpReply{}; });
  EXPECT_FALSE(second.Start("127.0.0.1", m_front.Port()));
}

TEST_F(HttpFront, GarbageFromAClientIsNoCrash) {
  CTcpPeer peer(m_front.Port());
  peer.Send(std::string("\x00\xff\r\n\r\n no http \r\n\r\n", 18));
  EXPECT_EQ(peer.Line(), "HTTP/1.1 400 Bad Request");
  EXPECT_EQ(CHttpClient(m_front.Port()).Get("/").body, "the reply");
}

}  // namespace
