#include "brntclient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "brntdevice.h"
#include "facade.h"
#include "fakeplatform.h"
#include "gate.h"
#include "handproxy.h"
#include "logcapture.h"
#include "rowserver.h"
#include "waitfor.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kSuccess[] = R"({"status":"SUCCESS","request_id":null,"result":null,"error":null})";
constexpr char kError[] = R"({"status":"ERROR","result":null,"error":{"reason":"ILLEGAL_ARGUMENT","message":"no"}})";
constexpr char kProcessing[] = R"({"status":"PROCESSING","request_id":17,"result":null,"error":null})";
constexpr char kPath[] = "/api/device/0016c04e41b2";
constexpr char kBody[] = "{\"op\":\"stop\"}\n";

// The client with a server of rows. A test sends one command and looks at what came of it.
class ClientTest : public testing::Test {
 protected:
  using SendOperation = UInt16 (*)(T_ZpCmd* pCmd, std::string& rsp);

  ClientTest() {
    m_initData.s_mode = e_RX;
    m_initData.s_deviceid = "0016c04e41b2";
    CBrntClient::Init("127.0.0.1", m_server.Port(), &m_initData);
    m_log.Clear();
    m_cmd.ReqLine = m_server.BaseUrl();
    m_cmd.RestAPI = kPath;
    m_cmd.httpmethod = e_method_post;
    m_cmd.ReqBody = kBody;
  }
  ~ClientTest() override { RestoreClient(); }

  void Answers(const std::vector<std::string>& bodies) {
    for (const std::string& body : bodies) m_server.Answer(body);
  }
  void Send(SendOperation operation) { m_result = operation(&m_cmd, m_rsp); }
  std::string Url() const { return m_server.BaseUrl() + kPath; }
  std::string PollUrl() const { return m_server.BaseUrl() + "/api/request/17"; }

  CRowServer m_server;
  CFakePlatform m_platform;
  CLogCapture m_log;
  CHandProxy m_proxy;  // takes what Init queues
  T_InitData m_initData;
  T_ZpCmd m_cmd;
  std::string m_rsp = "untouched";
  UInt16 m_result = 99;
};

// ---- what all three sends have in common

struct T_SendRow {
  const char* name;
  UInt16 (*send)(T_ZpCmd* pCmd, std::string& rsp);
  const char* postSeparator;  // between URL and body in the failure line
};
const T_SendRow kSends[] = {
    {"SendReq", CBrntClient::SendReq, ""},
    {"SendSyncReq", CBrntClient::SendSyncReq, ""},
    {"SendEvReq", CBrntClient::SendEvReq, " "},
};

class EverySend : public ClientTest, public testing::WithParamInterface<T_SendRow> {
 protected:
  void Send() { ClientTest::Send(GetParam().send); }
  std::string Name() const { return GetParam().name; }
};
INSTANTIATE_TEST_SUITE_P(Sends, EverySend, testing::ValuesIn(kSends),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(EverySend, AnEmptyPathSendsNothing) {
  m_cmd.RestAPI.clear();
  Send();
  EXPECT_EQ(m_result, 0);
  EXPECT_EQ(m_cmd.RspStatus, e_status_UNDEFINED);
  EXPECT_THAT(m_server.Requests(), IsEmpty());
  EXPECT_EQ(m_log.PriorityOf("SendEvReq RestAPI is empty"), Name() == "SendEvReq" ? 300 : 0);
}

TEST_P(EverySend, AnUnknownMethodSendsNothing) {
  m_cmd.httpmethod = static_cast<E_Http_Method>(3);
  Send();
  EXPECT_EQ(m_result, 0);
  EXPECT_THAT(m_server.Requests(), IsEmpty());
  EXPECT_EQ(m_log.PriorityOf("error method"), 300);
}

TEST_P(EverySend, SuccessGivesTheAnswer) {
  Answers({kSuccess});
  Send();
  EXPECT_EQ(m_result, 1);
  EXPECT_EQ(m_cmd.RspStatus, e_status_SUCCESS);
  EXPECT_EQ(m_rsp, kSuccess);
  EXPECT_THAT(m_server.Lines(), ElementsAre(std::string("POST ") + kPath));
  EXPECT_THAT(m_server.Bodies(), ElementsAre(kBody));
}

TEST_P(EverySend, TheCommandsOwnTextMayTakeTheAnswer) {
  Answers({kSuccess});
  EXPECT_EQ(GetParam().send(&m_cmd, m_cmd.RspBody), 1);
  EXPECT_EQ(m_cmd.RspBody, kSuccess);
}

TEST_P(EverySend, ErrorGivesTheAnswerToo) {
  m_server.Answer(kError, 400);
  Send();
  EXPECT_EQ(m_result, 0);
  EXPECT_EQ(m_cmd.RspStatus, e_status_ERROR);
  EXPECT_EQ(m_rsp, kError);
}

TEST_P(EverySend, GarbageIsAnError) {
  Answers({"<html>oops</html>"});
  Send();
  EXPECT_EQ(m_result, 0);
  EXPECT_EQ(m_cmd.RspStatus, e_status_ERROR);
  EXPECT_EQ(m_rsp, "<html>oops</html>");
}

TEST_P(EverySend, AnyOtherStatusIsStoredAlone) {
  Answers({R"({"status":"NOTIFICATION"})", R"({"status":"MAYBE"})"});
  Send();
  EXPECT_EQ(m_result, 0);
  EXPECT_EQ(m_cmd.RspStatus, e_status_NOTIFY);
  Send();
  EXPECT_EQ(m_result, 0);
  EXPECT_EQ(m_cmd.RspStatus, e_status_UNDEFINED);
  EXPECT_EQ(m_rsp, "untouched");
}

TEST_P(EverySend, NoAnswerLeavesStatusAndTextAlone) {
  m_server.HangUp();
  m_cmd.RspStatus = e_status_NOTIFY;
  Send();
  EXPECT_EQ(m_result, 0);
  EXPECT_EQ(m_cmd.RspStatus, e_status_NOTIFY);
  EXPECT_EQ(m_rsp, "untouched");
}

TEST_P(EverySend, AFailedPostNamesItsBody) {
  m_server.HangUp();
  Send();
  EXPECT_EQ(m_log.PriorityOf(Name() + " [" + Url() + "]" + GetParam().postSeparator + "[" + kBody +
                             "] Error! Failed to post Empty reply from server"),
            300);
}

TEST_P(EverySend, AFailedGetNamesItsUrl) {
  m_server.HangUp();
  m_cmd.httpmethod = e_method_get;
  Send();
  EXPECT_EQ(m_log.PriorityOf(Name() + " [" + Url() + "] Error! Failed to get Empty reply from server"), 300);
}

TEST_P(EverySend, AFailedDeleteNamesItsUrl) {
  m_server.HangUp();
  m_cmd.httpmethod = e_method_delete;
  Send();
  EXPECT_EQ(m_log.PriorityOf(Name() + " [" + Url() + "] Error! Failed to delete Empty reply from server"), 300);
}

TEST_P(EverySend, APostLogsBodyAndAnswer) {
  Answers({kSuccess});
  Send();
  EXPECT_EQ(m_log.PriorityOf(Name() + " post avpinfo url[" + Url() + "] data[" + kBody + "] rsp[" + kSuccess + "]"),
            600);
}

TEST_P(EverySend, AGetLogsItsAnswer) {
  Answers({kSuccess});
  m_cmd.httpmethod = e_method_get;
  Send();
  EXPECT_THAT(m_server.Lines(), ElementsAre(std::string("GET ") + kPath));
  EXPECT_EQ(m_log.PriorityOf(Name() + " get avpinfo url[" + Url() + "] rsp[" + kSuccess + "]"), 600);
}

TEST_P(EverySend, ADeleteLogsItsAnswer) {
  Answers({kSuccess});
  m_cmd.httpmethod = e_method_delete;
  Send();
  EXPECT_THAT(m_server.Requests().front().body, IsEmpty());
  EXPECT_THAT(m_server.Lines(), ElementsAre(std::string("DELETE ") + kPath));
  EXPECT_EQ(m_log.PriorityOf(Name() + " delete avpinfo url[" + Url() + "] rsp[" + kSuccess + "]"), 600);
}

TEST_P(EverySend, NothingIsSentWithoutAnAgent) {
  CBrntClient::UnInit();
  Send();
  EXPECT_EQ(m_result, 0);
  EXPECT_THAT(m_server.Requests(), IsEmpty());
}

TEST_P(EverySend, HostileAnswersDoNoHarm) {
  for (const char* answer : {"", "null", "[]", "5", "{\"status\":{}}", "{\"status\":\"SUCCESS\",\"result\":[1]}",
                             "{\"status\":\"PROCESSING", "\xff\xfe", "{\"status\":\"ERROR\",\"error\":[]}",
                             "{\"status\":\"SUCCESS\",\"result\":{\"error\":{\"reason\":1}}}"}) {
    m_server.Reset();
    Answers({answer, kSuccess});
    Send();
    Send();
    EXPECT_EQ(m_result, 1) << answer;
    EXPECT_EQ(m_rsp, kSuccess) << answer;
  }
}

// ---- requests in progress: asynchronous commands

class Polling : public ClientTest {
 protected:
  void Send() { ClientTest::Send(CBrntClient::SendReq); }
};

TEST_F(Polling, SixPollsInAboutFourSecondsThenTheRequestIsLeftInProgress) {
  Answers({kProcessing});
  Send();
  EXPECT_EQ(m_result, 1);
  EXPECT_EQ(m_cmd.RspStatus, e_status_PROCESSING);
  EXPECT_EQ(m_rsp, kProcessing);
  EXPECT_THAT(m_platform.Sleeps(), ElementsAre(100, 200, 300, 600, 1100, 1800));
  const std::string poll = "GET /api/request/17";
  EXPECT_THAT(m_server.Lines(), ElementsAre(std::string("POST ") + kPath, poll, poll, poll, poll, poll, poll));
  EXPECT_EQ(m_log.PriorityOf("get url [" + PollUrl() + "] request id timeout"), 600);
}

TEST_F(Polling, SuccessOnTheThirdPollEndsIt) {
  const std::string settled = R"({"status":"SUCCESS","request_id":17,"result":{"error":[]}})";
  Answers({kProcessing, kProcessing, kProcessing, settled});
  Send();
  EXPECT_EQ(m_result, 1);
  EXPECT_EQ(m_cmd.RspStatus, e_status_SUCCESS);
  EXPECT_EQ(m_rsp, settled);
  EXPECT_THAT(m_platform.Sleeps(), ElementsAre(100, 200, 300));
}

TEST_F(Polling, AnErrorEndsIt) {
  Answers({kProcessing, kError});
  Send();
  EXPECT_EQ(m_result, 1);  // the request was accepted; how it went stands in the status
  EXPECT_EQ(m_cmd.RspStatus, e_status_ERROR);
  EXPECT_EQ(m_rsp, kError);
  EXPECT_EQ(m_log.PriorityOf("get request id ,response error"), 300);
}

TEST_F(Polling, GarbageEndsItWithATextOfItsOwn) {
  Answers({kProcessing, "garbage"});
  Send();
  EXPECT_EQ(m_cmd.RspStatus, e_status_ERROR);
  EXPECT_EQ(m_rsp, "Parse Json Error");
  EXPECT_EQ(m_log.PriorityOf("parse json error"), 300);
}

TEST_F(Polling, AFailedPollEndsIt) {
  Answers({kProcessing});
  m_server.HangUp();
  Send();
  EXPECT_EQ(m_cmd.RspStatus, e_status_ERROR);
  EXPECT_EQ(m_log.PriorityOf("SendGetRequestID [" + PollUrl() + "] Error! Failed to get Empty reply from server"), 300);
}

TEST_F(Polling, AnUnknownStatusCountsAsInProgress) {
  Answers({kProcessing, R"({"status":"MAYBE"})", kSuccess});
  Send();
  EXPECT_EQ(m_cmd.RspStatus, e_status_SUCCESS);
}

TEST_F(Polling, AnswersUpToTwoHundredFiftySixBytesAreLoggedInFull) {
  const std::string head = R"({"status":"SUCCESS","result":")";
  const std::string fits = head + std::string(256 - head.size() - 2, 'x') + "\"}";
  Answers({kProcessing, fits});
  Send();
  EXPECT_EQ(m_log.PriorityOf("SendGetRequestID get avpinfo url [" + PollUrl() + "] resp [" + fits + "]"), 600);
}

TEST_F(Polling, LongerAnswersAreLoggedByTheirSize) {
  const std::string head = R"({"status":"SUCCESS","result":")";
  Answers({kProcessing, head + std::string(257 - head.size() - 2, 'x') + "\"}"});
  Send();
  EXPECT_EQ(m_log.PriorityOf("SendGetRequestID get avpinfo url [" + PollUrl() + "] resp size [257]"), 600);
  EXPECT_FALSE(m_log.Contains("xxx"));
}

TEST_F(Polling, AMissingRequestIdAsksForZero) {
  Answers({R"({"status":"PROCESSING","request_id":null})", kSuccess});
  Send();
  EXPECT_EQ(m_server.Lines().back(), "GET /api/request/0");
}

TEST_F(Polling, TheFacadePollsOnItsOwn) {
  Answers({kSuccess});
  EXPECT_EQ(CBrntClient::SendGetRequestID(&m_cmd, 17, m_rsp), 1);
  EXPECT_EQ(m_cmd.RspStatus, e_status_SUCCESS);
  EXPECT_THAT(m_server.Lines(), ElementsAre("GET /api/request/17"));
  m_server.Reset();
  Answers({kError});
  EXPECT_EQ(CBrntClient::SendGetRequestID(&m_cmd, -1, m_rsp), 0);
  EXPECT_THAT(m_server.Lines(), ElementsAre("GET /api/request/-1"));
}

// ---- requests in progress: synchronous commands

class SyncPolling : public ClientTest {
 protected:
  void Send() { ClientTest::Send(CBrntClient::SendSyncReq); }
};

TEST_F(SyncPolling, GoesOnOnceASecondUntilTheRequestIsSettled) {
  for (int i = 0; i < 201; ++i) m_server.Answer(kProcessing);
  m_server.Answer(kSuccess);
  Send();
  EXPECT_EQ(m_result, 1);
  EXPECT_EQ(m_cmd.RspStatus, e_status_SUCCESS);
  EXPECT_EQ(m_rsp, kSuccess);
  std::vector<SInt64> sleeps = m_platform.Sleeps();
  ASSERT_EQ(sleeps.size(), 201U);
  EXPECT_EQ(sleeps.front(), 100);
  sleeps.erase(sleeps.begin());
  EXPECT_THAT(sleeps, Each(1000));
  EXPECT_EQ(m_log.Count("Processing ..."), 200U);
  EXPECT_EQ(m_log.PriorityOf("StillSendGetRequestID get avpinfo url[" + PollUrl() + "] resp[" + kSuccess + "]"), 600);
}

TEST_F(SyncPolling, AnErrorEndsIt) {
  Answers({kProcessing, kError});
  Send();
  EXPECT_EQ(m_cmd.RspStatus, e_status_ERROR);
  EXPECT_EQ(m_rsp, kError);
}

TEST_F(SyncPolling, GarbageEndsIt) {
  Answers({kProcessing, "garbage"});
  Send();
  EXPECT_EQ(m_cmd.RspStatus, e_status_ERROR);
  EXPECT_EQ(m_rsp, "untouched");
  EXPECT_EQ(m_log.PriorityOf("parse json error"), 300);
}

TEST_F(SyncPolling, DeliberateAFailedPollUsesTheWordsOfSendReq) {
  Answers({kProcessing});
  m_server.HangUp();
  Send();
  EXPECT_EQ(m_cmd.RspStatus, e_status_ERROR);
  EXPECT_EQ(m_log.PriorityOf("SendReq [" + PollUrl() + "] Error! Failed to get Empty reply from server"), 300);
}

TEST_F(SyncPolling, AnAnswerThatIsNeitherSettledNorInProgressEndsIt) {
  Answers({kProcessing, R"({"status":"MAYBE"})"});
  Send();
  EXPECT_EQ(m_cmd.RspStatus, e_status_UNDEFINED);
  EXPECT_EQ(m_rsp, R"({"status":"MAYBE"})");
}

// ---- requests in progress: events

TEST_F(ClientTest, AnEventsRequestInProgressIsNotFollowed) {
  Answers({kProcessing});
  Send(CBrntClient::SendEvReq);
  EXPECT_EQ(m_result, 1);
  EXPECT_EQ(m_cmd.RspStatus, e_status_PROCESSING);
  EXPECT_EQ(m_rsp, "untouched");
  EXPECT_EQ(m_server.Requests().size(), 1U);
  EXPECT_THAT(m_platform.Sleeps(), IsEmpty());
  EXPECT_TRUE(m_log.Contains("Get Event Msg,but Blueriver Server return processing ???"));
}

TEST_F(ClientTest, AnEventsLongAnswerIsLoggedByItsSize) {
  const std::string head = R"({"status":"SUCCESS","result":")";
  Answers({head + std::string(257 - head.size() - 2, 'x') + "\"}"});
  m_cmd.httpmethod = e_method_get;
  Send(CBrntClient::SendEvReq);
  EXPECT_EQ(m_log.PriorityOf("SendEvReq get avpinfo url[" + Url() + "] rsp size[257]"), 600);
  EXPECT_FALSE(m_log.Contains("xxx"));
}

TEST_F(ClientTest, ACommandsLongAnswerIsLoggedInFull) {
  const std::string answer = R"({"status":"SUCCESS","result":")" + std::string(5000, 'x') + "\"}";
  Answers({answer});
  Send(CBrntClient::SendReq);
  EXPECT_TRUE(m_log.Contains("rsp[" + answer + "]"));
}

// ---- one exchange at a time

TEST_F(ClientTest, ASendWaitsBehindTheOneInProgressItsPollsIncluded) {
  Answers({kProcessing, kSuccess});
  CGate gate;
  m_platform.OnSleep([&gate](SInt64) { gate.Pass(); });
  std::thread first([this] { Send(CBrntClient::SendReq); });
  gate.WaitForArrivals(1);  // the first waits before its first poll
  T_ZpCmd second = m_cmd;
  second.RestAPI = "/api/second";
  std::string secondRsp;
  std::thread other([&] { CBrntClient::SendEvReq(&second, secondRsp); });
  EXPECT_FALSE(WaitFor([this] { return m_server.Requests().size() > 1; }, std::chrono::milliseconds(50)));
  gate.Open();
  first.join();
  other.join();
  EXPECT_THAT(m_server.Lines(), ElementsAre(std::string("POST ") + kPath, "GET /api/request/17", "POST /api/second"));
  EXPECT_EQ(secondRsp, kSuccess);
}

TEST_F(ClientTest, AnAgentThatIsReplacedDuringASendFinishesIt) {
  Answers({kSuccess});
  m_server.Hold();
  std::thread sender([this] { Send(CBrntClient::SendReq); });
  ASSERT_TRUE(m_server.WaitForRequests(1));
  CBrntClient::Init("127.0.0.1", m_server.Port(), &m_initData);
  m_server.Release();
  sender.join();
  EXPECT_EQ(m_result, 1);
  EXPECT_EQ(m_rsp, kSuccess);
}

TEST_F(ClientTest, TheReservedReaderReadsNothing) {
  CBrntClient::RecvRsp(m_rsp, 100);
  EXPECT_EQ(m_rsp, "untouched");
}

// ---- the start

struct T_RoleRow {
  const char* name;
  E_DEVICE_MODE mode;
  Bool16 tx, rx, trx;
};
const T_RoleRow kRoles[] = {
    {"Encoder", e_TX, 1, 0, 0},
    {"Decoder", e_RX, 0, 1, 0},
    {"Transceiver", e_TRX, 0, 0, 1},
    {"Unknown", e_unknow, 0, 0, 0},
};

class ClientStart : public testing::TestWithParam<T_RoleRow> {
 protected:
  ClientStart() { FacadeServer(); }
  ~ClientStart() override { RestoreClient(); }

  std::vector<AVP_MSG_E> QueuedByInit(const std::string& id, bool upgrade) {
    CHandProxy proxy;
    T_InitData initData;
    initData.s_mode = GetParam().mode;
    initData.s_deviceid = id;
    initData.g_upgradeflag = upgrade;
    EXPECT_EQ(CBrntClient::Init("127.0.0.1", 1, &initData), 1);
    std::vector<AVP_MSG_E> kinds;
    for (const T_ZpCmd& cmd : CBrntProxy::QueuedCmds()) {
      EXPECT_EQ(cmd.DeviceId, id);
      kinds.push_back(cmd.eMsgType);
    }
    return kinds;
  }

  CLogCapture m_log;
};

TEST_P(ClientStart, MarksTheLocalDeviceWithItsRole) {
  const std::string id = std::string("0016c00001") + GetParam().name;
  QueuedByInit(id, false);
  const CBrntDevice* device = CBrntDevice::FindBrntDevByID(id);
  ASSERT_NE(device, nullptr);
  EXPECT_EQ(device->m_bTx, GetParam().tx);
  EXPECT_EQ(device->m_bRx, GetParam().rx);
  EXPECT_EQ(device->m_bTRx, GetParam().trx);
  EXPECT_EQ(m_log.PriorityOf("Unknow Device model"), GetParam().mode == e_unknow ? 300 : 0);
}

TEST_P(ClientStart, ReadsIdentityAndDevice) {
  EXPECT_THAT(QueuedByInit("0016c0000020", false), ElementsAre(AVP_MSG_GET_IDENTITY, AVP_MSG_GET_DEVICE));
  EXPECT_FALSE(m_log.Contains("Init do : get firmware file"));
}

TEST_P(ClientStart, ReadsTheFirmwareListingTooInUpgradeMode) {
  EXPECT_THAT(QueuedByInit("0016c0000020", true),
              ElementsAre(AVP_MSG_GET_IDENTITY, AVP_MSG_GET_DEVICE, AVP_MSG_GET_FW));
  EXPECT_EQ(m_log.PriorityOf("Init do : get firmware file"), 600);
}

INSTANTIATE_TEST_SUITE_P(Roles, ClientStart, testing::ValuesIn(kRoles),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- the reserved buffer

TEST(DynamicBuf, TakesDataAtTheEndAndGivesItFromTheFront) {
  T_DynamicBuf buffer("name");
  EXPECT_STREQ(buffer.GetName(), "name");
  EXPECT_EQ(buffer.GetDataPtr(), nullptr);
  EXPECT_TRUE(buffer.AddData("abc", 3));
  EXPECT_TRUE(buffer.AddData("def", 3));
  buffer.RemoveData(2);
  ASSERT_EQ(buffer.GetDataLen(), 4U);
  EXPECT_EQ(std::memcmp(buffer.GetDataPtr(), "cdef", 4), 0);
  buffer.RemoveData(100);
  EXPECT_EQ(buffer.GetDataLen(), 0U);
}

TEST(DynamicBuf, ClearKeepsNothing) {
  T_DynamicBuf buffer;
  EXPECT_TRUE(buffer.AddData("abc", 3));
  buffer.ClearData();
  EXPECT_EQ(buffer.GetDataLen(), 0U);
}

TEST(DynamicBuf, RefusesWhatWouldPassItsLimit) {
  T_DynamicBuf buffer;
  const std::string most(T_DynamicBuf::kMaxBytes, 'x');
  EXPECT_TRUE(buffer.AddData(most.data(), T_DynamicBuf::kMaxBytes));
  EXPECT_FALSE(buffer.AddData("y", 1));
  EXPECT_FALSE(buffer.AddData("y", 0xFFFFFFFFU));
  EXPECT_EQ(buffer.GetDataLen(), T_DynamicBuf::kMaxBytes);
}

TEST(DynamicBuf, ALongNameIsCut) {
  EXPECT_EQ(std::strlen(T_DynamicBuf(std::string(200, 'n').c_str()).GetName()), 127U);
}

}  // namespace
