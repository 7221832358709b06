#include "brntproxy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "brntasynctask.h"
#include "brntclient.h"
#include "brntcmdhandler.h"
#include "brntevmsgprocess.h"
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

TEST(MsgNames, EachKindHasItsOwnName) {
#define AVP_MSG_EXPECT(name, value)              \
  EXPECT_STREQ(get_avp_msg_string(name), #name); \
  EXPECT_EQ(static_cast<int>(name), value);
  AVP_MSG_LIST(AVP_MSG_EXPECT)
#undef AVP_MSG_EXPECT
  EXPECT_STREQ(get_avp_msg_string(static_cast<AVP_MSG_E>(37)), "AVP_MSG_GET_PROPERTY_REMOVE_AUDIO");
}

TEST(MsgNames, AnyOtherValueIsUnknown) {
  EXPECT_STREQ(get_avp_msg_string(static_cast<AVP_MSG_E>(38)), "Unknown AVP_MSG_E value");
  EXPECT_STREQ(get_avp_msg_string(static_cast<AVP_MSG_E>(63)), "Unknown AVP_MSG_E value");
}

TEST(LocalIp, IsThatOfTheFirstInterfaceWhoseNameBeginsSo) {
  std::string address;
  GetLocalIP("lo", address);
  EXPECT_EQ(address, "127.0.0.1");
  GetLocalIP("l", address);
  EXPECT_EQ(address, "127.0.0.1");
}

TEST(LocalIp, IsZeroWithoutSuchAnInterface) {
  std::string address = "before";
  GetLocalIP("nosuch", address);
  EXPECT_EQ(address, "0.0.0.0");
}

// A proxy run by hand, with a server of rows. The link counts as ready unless a test says otherwise.
class Proxy : public testing::Test {
 protected:
  Proxy() { LinkReady(true); }
  ~Proxy() override { LinkReady(false); }

  static void LinkReady(bool ready) { AsyncTask::SetUpgradeMode(ready ? 1 : 0); }

  void Queue(AVP_MSG_E kind, UInt32 seq) { CBrntProxy::ProcessZpCmd(Cmd(kind, seq)); }
  void QueueSync(AVP_MSG_E kind, UInt32 seq) { CBrntProxy::ProcessSynchronizeCmd(Cmd(kind, seq)); }
  T_ZpCmd Cmd(AVP_MSG_E kind, UInt32 seq) const {
    T_ZpCmd cmd;
    cmd.httpmethod = e_method_post;
    cmd.ReqLine = m_server.BaseUrl();
    cmd.RestAPI = "/" + std::to_string(seq);
    cmd.ReqBody = "body " + std::to_string(seq);
    cmd.u32CmdSeq = seq;
    cmd.eMsgType = kind;
    return cmd;
  }
  SInt64 Run() { return m_proxy.Run(); }

  // Sequence numbers of the requests that reached the server.
  std::vector<UInt32> SentSeqs() const {
    std::vector<UInt32> seqs;
    for (const T_ServerRequest& request : m_server.Requests()) {
      seqs.push_back(static_cast<UInt32>(std::stoul(request.path.substr(1))));
    }
    return seqs;
  }
  static std::vector<UInt32> Seqs(const std::list<T_ZpCmd>& cmds) {
    std::vector<UInt32> seqs;
    for (const T_ZpCmd& cmd : cmds) seqs.push_back(cmd.u32CmdSeq);
    return seqs;
  }

  CRowServer& m_server = FacadeServer();
  CFakePlatform m_platform;
  CLogCapture m_log;
  CHandProxy m_proxy;
};

// ---- the queue

TEST_F(Proxy, SendsInOrderAndAllOfThem) {
  m_server.Answer(kSuccess);
  Queue(AVP_MSG_STOP_AV, 1);
  Queue(AVP_MSG_LEAVE, 2);
  Queue(AVP_MSG_START_AV, 3);
  EXPECT_EQ(Run(), 0);
  EXPECT_THAT(SentSeqs(), ElementsAre(1, 2, 3));
  EXPECT_TRUE(m_proxy.ZpCmdListEmpty());
}

TEST_F(Proxy, LogsWhatItTakesAndWhatIsLeft) {
  m_server.Answer(kSuccess);
  Queue(AVP_MSG_STOP_AV, 11);
  Queue(AVP_MSG_LEAVE, 12);
  Run();
  EXPECT_EQ(m_log.PriorityOf("cmd req:11 type:AVP_MSG_STOP_AV will be process, cmd size:1 in list"), 600);
  EXPECT_EQ(m_log.PriorityOf("cmd req:12 type:AVP_MSG_LEAVE will be process, cmd size:0 in list"), 600);
  EXPECT_FALSE(m_log.Contains("after merge"));
}

TEST_F(Proxy, AnUnknownKindIsSentAndLoggedLikeAnyOther) {
  m_server.Answer(kSuccess);
  Queue(static_cast<AVP_MSG_E>(50), 7);
  Run();
  EXPECT_TRUE(m_log.Contains("cmd req:7 type:Unknown AVP_MSG_E value will be process, cmd size:0 in list"));
  EXPECT_THAT(SentSeqs(), ElementsAre(7));
}

TEST_F(Proxy, LaterDeviceReadsFoldIntoTheLastOneAndOthersKeepTheirPlaces) {
  m_server.Answer(kSuccess);
  Queue(AVP_MSG_GET_DEVICE, 1);
  Queue(AVP_MSG_SUBSCRIBE, 2);
  Queue(AVP_MSG_GET_DEVICE, 3);
  Queue(AVP_MSG_GET_DEVICE, 4);
  Run();
  EXPECT_THAT(SentSeqs(), ElementsAre(4, 2));
  EXPECT_THAT(m_server.Bodies(), ElementsAre("body 4", "body 2"));
}

TEST_F(Proxy, FoldingIsLoggedStepByStep) {
  m_server.Answer(kSuccess);
  Queue(AVP_MSG_GET_DEVICE, 1);
  Queue(AVP_MSG_SUBSCRIBE, 2);
  Queue(AVP_MSG_GET_DEVICE, 3);
  m_log.Clear();
  Run();
  std::vector<std::string> lines;
  for (const std::string& text : m_log.Texts()) {
    if (text.rfind("cmd req:", 0) == 0) lines.push_back(text);
  }
  EXPECT_THAT(lines, ElementsAre("cmd req:1 type:AVP_MSG_GET_DEVICE will be process, cmd size:2 in list",
                                 "cmd req:3 type:AVP_MSG_GET_DEVICE will be merge",
                                 "cmd req:3 type:AVP_MSG_GET_DEVICE will be process, cmd size:1 in list after merge",
                                 "cmd req:2 type:AVP_MSG_SUBSCRIBE will be process, cmd size:0 in list"));
}

TEST_F(Proxy, OtherReadsDoNotFold) {
  m_server.Answer(kSuccess);
  Queue(AVP_MSG_GET_IDENTITY, 1);
  Queue(AVP_MSG_GET_IDENTITY, 2);
  Run();
  EXPECT_THAT(SentSeqs(), ElementsAre(1, 2));
}

TEST_F(Proxy, ACommandThatGetsNoAnswerDoesNotHoldUpTheNext) {
  m_server.HangUp();
  m_server.Answer(kSuccess);
  Queue(AVP_MSG_STOP_AV, 1);
  Queue(AVP_MSG_STOP_AV, 2);
  Run();
  EXPECT_THAT(SentSeqs(), ElementsAre(1, 2));
}

TEST_F(Proxy, NothingToDoIsNothingDone) {
  EXPECT_EQ(Run(), 0);
  EXPECT_THAT(m_server.Requests(), IsEmpty());
}

TEST_F(Proxy, TheHooksOnlyWakeTheTask) {
  CBrntProxy::HandleRspRecv();
  EXPECT_EQ(m_proxy.GetEvents(), CBrntProxy::kStartEvent);
  CBrntProxy::ProcessRspNotify();
  EXPECT_EQ(m_proxy.GetEvents(), CBrntProxy::kStartEvent);
  CBrntProxy::CheckPreview();
  EXPECT_EQ(m_proxy.GetEvents(), 256U);
}

TEST_F(Proxy, ThePreviewCheckDoesNothing) {
  CBrntProxy::CheckPreview();
  EXPECT_EQ(Run(), 0);
  EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(Proxy, RequestHooksRecordNothing) {
  CBrntProxy::AddReqCmd(1, nullptr);
  CBrntProxy::ProcessReqCmd(1, nullptr);
  EXPECT_EQ(m_proxy.GetEvents(), 0U);
}

TEST_F(Proxy, TheServerAddressIsNotKnown) { EXPECT_EQ(CBrntProxy::GetBrntSrvIp(), ""); }

TEST_F(Proxy, TheKillEventEndsTheTaskBeforeAnythingElse) {
  Queue(AVP_MSG_STOP_AV, 1);
  m_proxy.Signal(CBrntProxy::kKillEvent | CBrntProxy::kTimeoutEvent);
  EXPECT_EQ(Run(), -1);
  EXPECT_THAT(m_server.Requests(), IsEmpty());
}

TEST_F(Proxy, TakenCommandsAreGone) {
  Queue(AVP_MSG_STOP_AV, 1);
  EXPECT_THAT(Seqs(CBrntProxy::TakeQueuedCmds()), ElementsAre(1));
  EXPECT_THAT(CBrntProxy::QueuedCmds(), IsEmpty());
}

// ---- the gate

TEST_F(Proxy, WaitsForTheLinkAndLeavesTheQueuesUntouched) {
  LinkReady(false);
  Queue(AVP_MSG_GET_DEVICE, 1);
  Queue(AVP_MSG_GET_DEVICE, 2);
  EXPECT_EQ(Run(), 300);
  EXPECT_EQ(Run(), 300);
  EXPECT_THAT(Seqs(CBrntProxy::QueuedCmds()), ElementsAre(1, 2));
  EXPECT_THAT(m_server.Requests(), IsEmpty());
  EXPECT_EQ(m_log.PriorityOf("tci not init ok, cmd wait"), 600);
}

TEST_F(Proxy, GatedWorkStaysPendingUntilTheLinkIsReady) {
  LinkReady(false);
  m_server.Answer(kSuccess);
  Queue(AVP_MSG_STOP_AV, 1);
  QueueSync(AVP_MSG_SEND_REBOOT, 2);
  EXPECT_EQ(Run(), 300);
  EXPECT_THAT(Seqs(CBrntProxy::QueuedSyncCmds()), ElementsAre(2));
  LinkReady(true);
  EXPECT_EQ(Run(), 0);
  EXPECT_THAT(SentSeqs(), ElementsAre(1, 2));
}

TEST_F(Proxy, DeliberateSynchronousCommandsAlonePassTheGate) {
  LinkReady(false);
  m_server.Answer(kSuccess);
  QueueSync(AVP_MSG_SEND_REBOOT, 2);
  EXPECT_EQ(Run(), 0);
  EXPECT_THAT(SentSeqs(), ElementsAre(2));
}

// ---- synchronous commands

TEST_F(Proxy, SynchronousCommandsGoInOrderWithoutFolding) {
  m_server.Answer(kSuccess);
  QueueSync(AVP_MSG_GET_DEVICE, 1);
  QueueSync(AVP_MSG_GET_DEVICE, 2);
  Run();
  EXPECT_THAT(SentSeqs(), ElementsAre(1, 2));
  EXPECT_TRUE(m_log.Contains("cmd req:1 type:AVP_MSG_GET_DEVICE will be process, cmd size:1 in list"));
  EXPECT_TRUE(m_log.Contains("SendSyncReq post avpinfo"));
}

TEST_F(Proxy, ASynchronousSubscriptionIsNotRetried) {
  m_server.Answer(kError);
  QueueSync(AVP_MSG_SUBSCRIBE, 1);
  Run();
  EXPECT_THAT(CBrntProxy::RetryCmds(), IsEmpty());
}

TEST_F(Proxy, AsynchronousCommandsComeFirstThenSynchronousOnes) {
  m_server.Answer(kSuccess);
  QueueSync(AVP_MSG_SEND_REBOOT, 2);
  Queue(AVP_MSG_STOP_AV, 1);
  Run();
  EXPECT_THAT(SentSeqs(), ElementsAre(1, 2));
}

// ---- events

struct T_Outcome {
  std::string result;
  E_Status status = e_status_NOTIFY;
  int responses = 0;
  int deleted = 0;
  bool throws = false;
};

class CNotingHandler : public CBrntEventHandler {
 public:
  CNotingHandler(T_Outcome& outcome, SInt32 reqId) : m_outcome(outcome) {
    T_BrntEvent event;
    event.strDevID = "0016c04e41b2";
    event.s32ReqID = reqId;
    CBrntEventHandler::Init(event);
  }
  ~CNotingHandler() override { ++m_outcome.deleted; }

  bool DoResponse(const std::string& result, E_Status status) override {
    m_outcome.result = result;
    m_outcome.status = status;
    ++m_outcome.responses;
    if (m_outcome.throws) throw std::runtime_error("of no use");
    return true;
  }

 private:
  T_Outcome& m_outcome;
};

class ProxyEvents : public Proxy {
 protected:
  void Event(SInt32 reqId) { CBrntProxy::ProcessEvCmd(new CNotingHandler(m_outcome, reqId)); }

  T_Outcome m_outcome;
};

TEST_F(ProxyEvents, TheResultIsFetchedAndHandedOver) {
  m_server.Answer(kSuccess);
  Event(41);
  EXPECT_EQ(Run(), 0);
  EXPECT_THAT(m_server.Lines(), ElementsAre("GET /api/request/41"));
  EXPECT_EQ(m_outcome.result, kSuccess);
  EXPECT_EQ(m_outcome.status, e_status_SUCCESS);
  EXPECT_EQ(m_outcome.responses, 1);
  EXPECT_EQ(m_outcome.deleted, 1);
}

TEST_F(ProxyEvents, GoInOrderAndSayWhatIsLeft) {
  m_server.Answer(kSuccess);
  Event(41);
  Event(-1);
  Run();
  EXPECT_THAT(m_server.Lines(), ElementsAre("GET /api/request/41", "GET /api/request/-1"));
  EXPECT_EQ(m_log.PriorityOf("EvCmd id:41 will be process, listEvCmd size:1"), 600);
  EXPECT_EQ(m_log.PriorityOf("EvCmd id:-1 will be process, listEvCmd size:0"), 600);
}

TEST_F(ProxyEvents, AnErrorIsHandedOverAsOne) {
  m_server.Answer(kError);
  Event(41);
  Run();
  EXPECT_EQ(m_outcome.result, kError);
  EXPECT_EQ(m_outcome.status, e_status_ERROR);
}

TEST_F(ProxyEvents, AResultStillInProgressIsHandedOverAsItIs) {
  m_server.Answer(kProcessing);
  Event(41);
  Run();
  EXPECT_EQ(m_outcome.status, e_status_PROCESSING);
  EXPECT_THAT(m_server.Requests(), SizeIs(1));
}

TEST_F(ProxyEvents, NoAnswerIsHandedOverAsNothing) {
  m_server.HangUp();
  Event(41);
  Run();
  EXPECT_EQ(m_outcome.result, "");
  EXPECT_EQ(m_outcome.status, e_status_UNDEFINED);
  EXPECT_EQ(m_outcome.deleted, 1);
}

TEST_F(ProxyEvents, WhatAHandlerThrowsEndsWithIt) {
  m_server.Answer(kSuccess);
  m_outcome.throws = true;
  Event(41);
  Event(42);
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(m_outcome.responses, 2);
  EXPECT_EQ(m_outcome.deleted, 2);
  EXPECT_EQ(m_log.PriorityOf("event dropped: of no use"), 300);
}

TEST_F(ProxyEvents, WaitWithCommandsForTheLink) {
  LinkReady(false);
  m_server.Answer(kSuccess);
  Queue(AVP_MSG_STOP_AV, 1);
  Event(41);
  EXPECT_EQ(Run(), 300);
  EXPECT_EQ(m_outcome.responses, 0);
  LinkReady(true);
  Run();
  EXPECT_THAT(m_server.Lines(), ElementsAre("POST /1", "GET /api/request/41"));
}

TEST_F(ProxyEvents, DeliberateAProxyThatEndsKeepsTheHandlersItWasGiven) {
  auto handler = std::make_unique<CNotingHandler>(m_outcome, 41);
  {
    CHandProxy doomed;
    doomed.ProcessCmd(handler.get());
  }
  EXPECT_EQ(m_outcome.deleted, 0);
}

// ---- subscriptions that fail

class ProxyRetry : public Proxy {
 protected:
  void SubscribeAnswered(const char* answer, UInt32 seq = 1) {
    m_server.Reset();
    m_server.Answer(answer);
    Queue(AVP_MSG_SUBSCRIBE, seq);
    Run();
  }
};

TEST_F(ProxyRetry, ARefusedSubscriptionWaitsForAnotherTry) {
  SubscribeAnswered(kError);
  EXPECT_THAT(Seqs(CBrntProxy::RetryCmds()), ElementsAre(1));
  EXPECT_EQ(m_log.PriorityOf("add retry cmd req:1, reqbody:body 1"), 600);
}

TEST_F(ProxyRetry, OneAnsweredWithGarbageDoesToo) {
  SubscribeAnswered("garbage");
  EXPECT_THAT(Seqs(CBrntProxy::RetryCmds()), ElementsAre(1));
}

TEST_F(ProxyRetry, RefusedTwiceItWaitsOnce) {
  SubscribeAnswered(kError);
  SubscribeAnswered(kError);
  EXPECT_THAT(Seqs(CBrntProxy::RetryCmds()), ElementsAre(1));
  EXPECT_EQ(m_log.Count("add retry cmd req:1"), 1U);
}

TEST_F(ProxyRetry, SuccessEndsTheWait) {
  SubscribeAnswered(kError);
  SubscribeAnswered(kSuccess);
  EXPECT_THAT(CBrntProxy::RetryCmds(), IsEmpty());
  EXPECT_EQ(m_log.PriorityOf("clear retry cmd req:1 reqbody:body 1"), 600);
}

TEST_F(ProxyRetry, SoDoesARequestLeftInProgress) {
  SubscribeAnswered(kError);
  SubscribeAnswered(kProcessing);
  EXPECT_THAT(CBrntProxy::RetryCmds(), IsEmpty());
}

TEST_F(ProxyRetry, OthersAreNotRetried) {
  m_server.Answer(kError);
  Queue(AVP_MSG_START_AV, 1);
  Run();
  EXPECT_THAT(CBrntProxy::RetryCmds(), IsEmpty());
}

TEST_F(ProxyRetry, TenTicksAreNoRetryTheEleventhIsOne) {
  SubscribeAnswered(kError, 1);
  SubscribeAnswered(kError, 2);
  m_server.Reset();
  m_server.Answer(kError);
  m_proxy.Tick(10);
  EXPECT_THAT(m_server.Requests(), IsEmpty());
  m_proxy.Tick(1);
  EXPECT_THAT(CBrntProxy::QueuedCmds(), SizeIs(2));
  EXPECT_EQ(m_log.PriorityOf("retry cmd seq: 1, reqbody:body 1"), 600);
  EXPECT_EQ(m_log.PriorityOf("retry cmd seq: 2, reqbody:body 2"), 600);
  Run();
  EXPECT_THAT(SentSeqs(), ElementsAre(1, 2));
}

TEST_F(ProxyRetry, GoesOnEveryEleventhTickWithoutALimit) {
  SubscribeAnswered(kError);
  m_proxy.Tick(11 * 50);
  Run();
  EXPECT_EQ(SentSeqs(), std::vector<UInt32>(1 + 50, 1));
  EXPECT_THAT(Seqs(CBrntProxy::RetryCmds()), ElementsAre(1));
}

TEST_F(ProxyRetry, ARetryThatGetsNoAnswerKeepsItsPlace) {
  SubscribeAnswered(kError);
  m_server.Reset();
  m_server.HangUp();
  m_proxy.Tick(12);
  EXPECT_THAT(SentSeqs(), ElementsAre(1));
  EXPECT_THAT(Seqs(CBrntProxy::RetryCmds()), ElementsAre(1));
}

TEST_F(ProxyRetry, ClearingForgetsAll) {
  SubscribeAnswered(kError, 1);
  SubscribeAnswered(kError, 2);
  CBrntProxy::ClearRetryCmd();
  EXPECT_THAT(CBrntProxy::RetryCmds(), IsEmpty());
  EXPECT_EQ(m_log.PriorityOf("clear retry subscribe cmd"), 600);
  m_proxy.Tick(11);
  EXPECT_THAT(CBrntProxy::QueuedCmds(), IsEmpty());
}

TEST_F(ProxyRetry, ClearingNothingSaysNothing) {
  CBrntProxy::ClearRetryCmd();
  EXPECT_THAT(m_log.Texts(), IsEmpty());
}

// ---- without an instance, and the instance itself

class CAbsentProxy : public CBrntProxy {
 public:
  CAbsentProxy() : m_pReplaced(ReplaceInstance(nullptr)) {}
  ~CAbsentProxy() override { ReplaceInstance(m_pReplaced); }

 private:
  CBrntProxy* const m_pReplaced;
};

TEST(NoProxy, TakesNothing) {
  CAbsentProxy absent;
  T_Outcome outcome;
  EXPECT_EQ(CBrntProxy::ProcessZpCmd(T_ZpCmd()), 0);
  EXPECT_EQ(CBrntProxy::ProcessSynchronizeCmd(T_ZpCmd()), 0);
  EXPECT_EQ(CBrntProxy::ProcessEvCmd(new CNotingHandler(outcome, 1)), 0);
  EXPECT_EQ(outcome.deleted, 1);
  EXPECT_THAT(CBrntProxy::QueuedCmds(), IsEmpty());
  EXPECT_THAT(CBrntProxy::QueuedSyncCmds(), IsEmpty());
  EXPECT_THAT(CBrntProxy::RetryCmds(), IsEmpty());
  EXPECT_THAT(CBrntProxy::TakeQueuedCmds(), IsEmpty());
  EXPECT_EQ(CBrntProxy::GetBrntSrvIp(), "");
  CBrntProxy::HandleRspRecv();
  CBrntProxy::ProcessRspNotify();
  CBrntProxy::CheckPreview();
  CBrntProxy::ClearRetryCmd();
  CBrntProxy::AddReqCmd(1, nullptr);
  CBrntProxy::ProcessReqCmd(1, nullptr);
  CBrntProxy::UnitProxy();
}

TEST(ProxyInstance, IsMadeOnceAndEndsWithItsTask) {
  FacadeServer();  // starts the pool
  {
    CAbsentProxy absent;
    T_InitData initData;
    initData.s_deviceid = "0016c0000031";
    EXPECT_EQ(CBrntProxy::InitProxy("127.0.0.1", 1, &initData), 1);
    CBrntProxy::ProcessZpCmd(T_ZpCmd());
    const std::size_t queued = CBrntProxy::QueuedCmds().size();
    EXPECT_EQ(CBrntProxy::InitProxy("127.0.0.1", 1, &initData), 1);
    EXPECT_EQ(CBrntProxy::QueuedCmds().size(), queued);
    CBrntProxy::UnitProxy();
    EXPECT_EQ(CBrntProxy::ProcessZpCmd(T_ZpCmd()), 0);
  }
  RestoreClient();
}

// ---- the timer

class CParkedHandler : public CBrntCmdHandler {};

TEST_F(Proxy, ItsOwnTimerListFillsAndWakesTheTask) {
  CParkedHandler handler;
  EXPECT_TRUE(m_proxy.BrntCmdListEmpty());
  m_proxy.ProcessCmdTimer(&handler);
  EXPECT_FALSE(m_proxy.BrntCmdListEmpty());
  EXPECT_EQ(m_proxy.GetEvents(), CBrntProxy::kStartEvent);
  Run();
  EXPECT_FALSE(m_proxy.BrntCmdListEmpty());
}

class CHandTimer : public CTimerCmdHandler {
 public:
  CHandTimer() {
    OSMutexLocker lock(m_AtomicMutex);
    events_or(kAlive);
  }
};

TEST(TimerCmdHandler, RunsEveryFiftyMillisecondsUntilKilled) {
  CHandTimer timer;
  timer.Signal(CHandTimer::kStartEvent);
  EXPECT_EQ(timer.Run(), 50);
  EXPECT_EQ(timer.Run(), 50);
  timer.Signal(CHandTimer::kKillEvent);
  EXPECT_EQ(timer.Run(), -1);
}

TEST(TimerCmdHandler, DeliberateWhatIsParkedStaysParked) {
  CHandTimer timer;
  CParkedHandler handler;
  timer.ProcessCmdTimer(&handler);
  EXPECT_EQ(timer.GetEvents(), CHandTimer::kStartEvent);
  timer.Run();
  EXPECT_EQ(timer.ParkedCmds(), 1U);
}

TEST(TimerCmdHandler, TheOneOfTheProcessTakesWhatIsParked) {
  FacadeServer();  // makes it
  const std::size_t before = CBrntProxy::ParkedCmds();
  static CParkedHandler handler;  // parked for good
  CBrntProxy::ProcessBrntCmdTimer(&handler);
  EXPECT_EQ(CBrntProxy::ParkedCmds(), before + 1);
}

}  // namespace
