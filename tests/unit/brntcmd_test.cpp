#include "brntcmd.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include "ZpIHTask.h"
#include "brntasynctask.h"
#include "facade.h"
#include "fakeplatform.h"
#include "handproxy.h"
#include "logcapture.h"
#include "waitfor.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kSuccess[] = R"({"status":"SUCCESS","request_id":null,"result":null,"error":null})";
constexpr char kError[] = R"({"status":"ERROR","result":null,"error":{"reason":"INVALID_STATE","message":"no"}})";
constexpr char kProcessing[] = R"({"status":"PROCESSING","request_id":5,"result":null,"error":null})";

TEST(CmdSequence, BeginsWithOneAndSkipsZero) {
  EXPECT_EQ(CBrntCmd::SeqAfter(0), 1U);
  EXPECT_EQ(CBrntCmd::SeqAfter(1), 2U);
  EXPECT_EQ(CBrntCmd::SeqAfter(UINT32_MAX - 1), UINT32_MAX);
  EXPECT_EQ(CBrntCmd::SeqAfter(UINT32_MAX), 1U);
}

// The facade as it is before Init, which a process has only once.
TEST(CmdDeathTest, DoesNothingBeforeInit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        CLogCapture log;
        std::string rsp = "untouched";
        const bool refused = CBrntCmd::DoCmd("id", "/api", e_method_get, "", rsp) == 0 &&
                             CBrntCmd::DoCmd2("id", "/api", e_method_get, "", rsp, AVP_MSG_GET_DEVICE) == 0 &&
                             CBrntCmd::DoSynchronizeCmd("id", "/api", e_method_get, "", rsp) == 0 &&
                             CBrntCmd::DoSynchronizeCmd2("id", "/api", e_method_get, "", rsp, AVP_MSG_GET_FW) == 0;
        const bool said = log.Count("don't Init , return") == 4;
        const bool first = CBrntCmd::RequestLine().empty();
        _exit(refused && said && first && rsp == "untouched" ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

// Queues through the facade into a proxy run by hand.
class Cmd : public testing::Test {
 protected:
  UInt16 Do(E_Http_Method method, const std::string& path, const std::string& body, AVP_MSG_E kind) {
    return CBrntCmd::DoCmd2("0016c04e41b2", path, method, body, m_rsp, kind);
  }

  CRowServer& m_server = FacadeServer();
  CFakePlatform m_platform;
  CLogCapture m_log;
  CHandProxy m_proxy;
  std::string m_rsp = "untouched";
};

TEST_F(Cmd, QueuesWhatItIsGiven) {
  EXPECT_EQ(Do(e_method_post, "/api/device/x", "{}\n", AVP_MSG_LEAVE), 1);
  const std::list<T_ZpCmd> queued = CBrntProxy::QueuedCmds();
  ASSERT_THAT(queued, SizeIs(1));
  const T_ZpCmd& cmd = queued.front();
  EXPECT_EQ(cmd.DeviceId, "0016c04e41b2");
  EXPECT_EQ(cmd.ReqLine, m_server.BaseUrl());
  EXPECT_EQ(cmd.RestAPI, "/api/device/x");
  EXPECT_EQ(cmd.httpmethod, e_method_post);
  EXPECT_EQ(cmd.ReqBody, "{}\n");
  EXPECT_EQ(cmd.RspBody, "");
  EXPECT_EQ(cmd.RspStatus, e_status_UNDEFINED);
  EXPECT_EQ(cmd.eMsgType, AVP_MSG_LEAVE);
  EXPECT_EQ(m_rsp, "untouched");
  EXPECT_THAT(m_server.Requests(), IsEmpty());
}

TEST_F(Cmd, WithoutAKindItIsAVersionRead) {
  EXPECT_EQ(CBrntCmd::DoCmd("id", "/api", e_method_get, "", m_rsp), 1);
  EXPECT_EQ(CBrntProxy::QueuedCmds().front().eMsgType, AVP_MSG_GET_VERSION);
}

TEST_F(Cmd, NumbersCommandsInARow) {
  Do(e_method_get, "/1", "", AVP_MSG_GET_VERSION);
  Do(e_method_get, "/2", "", AVP_MSG_GET_VERSION);
  const std::list<T_ZpCmd> queued = CBrntProxy::QueuedCmds();
  EXPECT_GE(queued.front().u32CmdSeq, 1U);
  EXPECT_EQ(queued.back().u32CmdSeq, queued.front().u32CmdSeq + 1);
}

TEST_F(Cmd, LogsEachMethodInItsOwnWords) {
  Do(e_method_get, "/g", "", AVP_MSG_GET_VERSION);
  Do(e_method_post, "/p", "{\"op\":\"stop\"}\n", AVP_MSG_STOP_AV);
  Do(e_method_delete, "/d", "", AVP_MSG_DELETE_LAYOUT);
  const std::string url = m_server.BaseUrl();
  EXPECT_EQ(m_log.PriorityOf("do cmd url get [" + url + "/g] reqbody[]"), 600);
  EXPECT_EQ(m_log.PriorityOf("do cmd url post [" + url + "/p] reqbody[{\"op\":\"stop\"}\n]"), 600);
  EXPECT_EQ(m_log.PriorityOf("do cmd url delete [" + url + "/d] reqbody[]"), 600);
}

TEST_F(Cmd, KnowsItsServer) { EXPECT_EQ(CBrntCmd::RequestLine(), m_server.BaseUrl()); }

TEST_F(Cmd, ASecondInitChangesNothing) {
  T_InitData other;
  EXPECT_EQ(CBrntCmd::Init("192.0.2.1", 80, &other), 1);
  EXPECT_EQ(CBrntCmd::RequestLine(), m_server.BaseUrl());
  EXPECT_EQ(ZpIHTaskThreadPool<200>::GetNumThreads(), 3U);
  EXPECT_EQ(ZpIHTaskThreadPool<201>::GetNumThreads(), 3U);
  EXPECT_EQ(ZpIHTaskThreadPool<202>::GetNumThreads(), 3U);
}

TEST_F(Cmd, ManyThreadsGetDifferentNumbers) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      std::string rsp;
      for (int n = 0; n < 50; ++n) CBrntCmd::DoCmd("id", "/api", e_method_get, "", rsp);
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::vector<UInt32> seqs;
  for (const T_ZpCmd& cmd : CBrntProxy::QueuedCmds()) seqs.push_back(cmd.u32CmdSeq);
  std::sort(seqs.begin(), seqs.end());
  ASSERT_THAT(seqs, SizeIs(200));
  EXPECT_EQ(seqs.back() - seqs.front(), 199U);
  EXPECT_EQ(std::unique(seqs.begin(), seqs.end()), seqs.end());
}

// ---- synchronous commands

// A caller on a thread of its own; the test runs the proxy.
class SyncCmd : public Cmd {
 protected:
  ~SyncCmd() override {
    if (m_caller.joinable()) m_caller.join();
  }

  void Call() {
    m_caller = std::thread([this] {
      m_result = CBrntCmd::DoSynchronizeCmd2("0016c04e41b2", "/api/device/x", e_method_post, "{}\n", m_rsp,
                                             AVP_MSG_SEND_REBOOT);
      m_returned = true;
    });
    EXPECT_TRUE(WaitFor([] { return !CBrntProxy::QueuedSyncCmds().empty(); }));
  }
  UInt16 Result() {
    m_caller.join();
    return m_result;
  }

  std::thread m_caller;
  std::atomic<bool> m_returned{false};
  UInt16 m_result = 99;
};

TEST_F(SyncCmd, SuccessIsOneWithTheAnswer) {
  m_server.Answer(kSuccess);
  Call();
  m_proxy.Run();
  EXPECT_EQ(Result(), 1);
  EXPECT_EQ(m_rsp, kSuccess);
  EXPECT_THAT(m_server.Lines(), ElementsAre("POST /api/device/x"));
}

TEST_F(SyncCmd, AnErrorIsZeroWithTheAnswer) {
  m_server.Answer(kError);
  Call();
  m_proxy.Run();
  EXPECT_EQ(Result(), 0);
  EXPECT_EQ(m_rsp, kError);
}

TEST_F(SyncCmd, NoAnswerIsZeroWithAnEmptyText) {
  m_server.HangUp();
  Call();
  m_proxy.Run();
  EXPECT_EQ(Result(), 0);
  EXPECT_EQ(m_rsp, "");
}

TEST_F(SyncCmd, ARequestInProgressKeepsTheCallerWaiting) {
  for (int i = 0; i < 31; ++i) m_server.Answer(kProcessing);
  m_server.Answer(kSuccess);
  Call();
  EXPECT_FALSE(m_returned);
  m_proxy.Run();
  EXPECT_EQ(Result(), 1);
  EXPECT_EQ(m_platform.SleptMs(), 100 + 30 * 1000);
}

TEST_F(SyncCmd, WaitersAreSettledEachWithItsOwnAnswer) {
  m_server.Answer(kError);
  m_server.Answer(kSuccess);
  Call();
  UInt16 otherResult = 99;
  std::string otherRsp;
  std::thread other([&] { otherResult = CBrntCmd::DoSynchronizeCmd("id", "/api/other", e_method_get, "", otherRsp); });
  ASSERT_TRUE(WaitFor([] { return CBrntProxy::QueuedSyncCmds().size() == 2; }));
  m_proxy.Run();
  other.join();
  EXPECT_EQ(Result(), 0);
  EXPECT_EQ(m_rsp, kError);
  EXPECT_EQ(otherResult, 1);
  EXPECT_EQ(otherRsp, kSuccess);
}

TEST_F(SyncCmd, TheLaterOfTwoWaitersMayBeSettledFirst) {
  Call();
  UInt16 otherResult = 99;
  std::string otherRsp;
  std::thread other([&] { otherResult = CBrntCmd::DoSynchronizeCmd("id", "/other", e_method_get, "", otherRsp); });
  ASSERT_TRUE(WaitFor([] { return CBrntProxy::QueuedSyncCmds().size() == 2; }));
  std::list<T_ZpCmd> queued = CBrntProxy::QueuedSyncCmds();
  queued.back().RspStatus = e_status_SUCCESS;
  queued.back().RspBody = "later";
  CBrntCmd::SettleSynchronizeCmd(queued.back());
  other.join();
  EXPECT_EQ(otherResult, 1);
  EXPECT_EQ(otherRsp, "later");
  EXPECT_FALSE(m_returned);
  CBrntCmd::SettleSynchronizeCmd(queued.front());
  EXPECT_EQ(Result(), 0);
}

TEST_F(SyncCmd, AnAnswerThatNobodyWaitsForIsDropped) {
  T_ZpCmd cmd;
  cmd.u32CmdSeq = 4000000000U;
  CBrntCmd::SettleSynchronizeCmd(cmd);
  m_server.Answer(kSuccess);
  Call();
  CBrntCmd::SettleSynchronizeCmd(cmd);
  m_proxy.Run();
  EXPECT_EQ(Result(), 1);
}

TEST_F(SyncCmd, WithoutAProxyTheCallerDoesNotWait) {
  class CNoProxy : public CBrntProxy {
   public:
    CNoProxy() : m_pReplaced(ReplaceInstance(nullptr)) {}
    ~CNoProxy() override { ReplaceInstance(m_pReplaced); }

   private:
    CBrntProxy* m_pReplaced;
  } none;
  EXPECT_EQ(CBrntCmd::DoSynchronizeCmd("id", "/api", e_method_get, "", m_rsp), 0);
  EXPECT_EQ(CBrntCmd::DoCmd("id", "/api", e_method_get, "", m_rsp), 0);
}

TEST_F(SyncCmd, AProxyThatGoesAwayLetsItsCallersGo) {
  {
    CHandProxy doomed;
    Call();
  }
  EXPECT_EQ(Result(), 0);
}

// Waiting for oneself is an assertion.
class CSyncCaller : public ZpIHTask<200> {
 public:
  SInt64 Run() override {
    std::string rsp;
    CBrntCmd::DoSynchronizeCmd("id", "/api", e_method_get, "", rsp);
    return 0;
  }
};

TEST(CmdDeathTest, ASynchronousCommandOnAProxyThreadIsAnAssertion) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        FacadeServer();
        auto* caller = new CSyncCaller;
        caller->Signal(CSyncCaller::kStartEvent);
        static_cast<void>(WaitFor([] { return false; }));
      },
      "_Assert: .*brntcmd.cpp");
}

// ---- the whole chain, on the framework's own threads

TEST(CmdChain, ACommandReachesTheServerOnceTheLinkIsReady) {
  CRowServer& server = FacadeServer();
  server.Answer(kSuccess);
  std::string rsp;
  CBrntCmd::DoCmd2("id", "/api/device/id", e_method_post, "{}\n", rsp, AVP_MSG_LEAVE);
  EXPECT_FALSE(WaitFor([&] { return !server.Requests().empty(); }, std::chrono::milliseconds(50)));
  AsyncTask::SetUpgradeMode(1);
  EXPECT_TRUE(server.WaitForRequests(1));
  EXPECT_EQ(CBrntCmd::DoSynchronizeCmd("id", "/api/sync", e_method_get, "", rsp), 1);
  AsyncTask::SetUpgradeMode(0);
  EXPECT_EQ(rsp, kSuccess);
  EXPECT_THAT(server.Lines(), ElementsAre("POST /api/device/id", "GET /api/sync"));
}

}  // namespace
