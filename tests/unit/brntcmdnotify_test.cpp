#include "brntcmdnotify.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "ZpIHIdleTask.h"
#include "ZpIHSecTimeoutTask.h"
#include "brntasynctask.h"
#include "brntproxy.h"
#include "fakeplatform.h"
#include "logcapture.h"

namespace {

constexpr char kDevice[] = "0016c04e21e7";

// An event of this type; its event id and its request id are the same.
std::string Event(const std::string& type, int id) {
  return R"({"device_id":")" + std::string(kDevice) + R"(","event_id":)" + std::to_string(id) + R"(,"event_type":")" +
         type + R"(","timestamp":1700000000,"request_id":)" + std::to_string(id) + "}";
}

std::string Notification(const std::string& events) {
  return R"({"status":"NOTIFICATION","request_id":null,"result":{"events":[)" + events + R"(]},"error":null})";
}

TEST(IsNotifyMsg, TakesAnObjectWhoseStatusIsNotification) {
  CLogCapture log;
  EXPECT_TRUE(CBrntCmdNotifyHandler::IsNotifyMsg(R"({"status":"NOTIFICATION"})"));
  EXPECT_FALSE(CBrntCmdNotifyHandler::IsNotifyMsg(R"({"status":"SUCCESS"})"));
  EXPECT_FALSE(CBrntCmdNotifyHandler::IsNotifyMsg(R"({"status":"notification"})"));
  EXPECT_THAT(log.Texts(), testing::IsEmpty());
}

TEST(IsNotifyMsg, NamesALineThatIsNoJson) {
  CLogCapture log;
  EXPECT_FALSE(CBrntCmdNotifyHandler::IsNotifyMsg("hello %s"));
  EXPECT_EQ(log.PriorityOf("Check Notify Error : [hello %s] Is not json data"), 300);
}

TEST(IsNotifyMsg, SaysThatThereIsNoStatus) {
  CLogCapture log;
  for (const char* line : {"{}", R"({"status":null})", R"({"status":7})", "[]", "7", R"("NOTIFICATION")"}) {
    log.Clear();
    EXPECT_FALSE(CBrntCmdNotifyHandler::IsNotifyMsg(line)) << line;
    EXPECT_EQ(log.PriorityOf("can't found [status]"), 600) << line;
  }
}

TEST(NotifyParseRsp, ReadsTheEventsInTheirOrder) {
  CBrntCmdNotifyHandler handler;
  EXPECT_TRUE(handler.ParseRsp(Notification(Event("I2C", 3) + "," + Event("CEC_RECEIVED", 2))));
  ASSERT_EQ(handler.Events().size(), 2u);
  const T_BrntEvent& first = handler.Events().front();
  EXPECT_EQ(first.strDevID, kDevice);
  EXPECT_EQ(first.s32EventID, 3);
  EXPECT_EQ(first.strEventType, "I2C");
  EXPECT_EQ(first.s32TimeStamp, 1700000000);
  EXPECT_EQ(first.s32ReqID, 3);
  EXPECT_EQ(handler.Events().back().strEventType, "CEC_RECEIVED");
}

TEST(NotifyParseRsp, LeavesAbsentMembersEmpty) {
  CBrntCmdNotifyHandler handler;
  EXPECT_TRUE(handler.ParseRsp(
      Notification(R"({"device_id":null,"event_id":"7","event_type":5,"timestamp":1e300,"request_id":0})")));
  ASSERT_EQ(handler.Events().size(), 1u);
  const T_BrntEvent& event = handler.Events().front();
  EXPECT_EQ(event.strDevID, "");
  EXPECT_EQ(event.s32EventID, 0);
  EXPECT_EQ(event.strEventType, "");
  EXPECT_EQ(event.s32TimeStamp, 0);
}

TEST(NotifyParseRsp, TakesAnEmptyList) {
  CBrntCmdNotifyHandler handler;
  EXPECT_TRUE(handler.ParseRsp(Notification("")));
  EXPECT_TRUE(handler.Events().empty());
}

TEST(NotifyParseRsp, DropsAnEventWithoutARequestIdWhateverItsType) {
  CLogCapture log;
  CBrntCmdNotifyHandler handler;
  EXPECT_TRUE(handler.ParseRsp(
      Notification(R"({"device_id":"0016c04e21e7","event_id":7,"event_type":"SETTINGS_CHANGED","timestamp":1},)"
                   R"({"event_type":"DEVICE_DISCONNECTED","request_id":null},{"event_type":"I2C","request_id":"1"},)" +
                   Event("I2C", 8))));
  ASSERT_EQ(handler.Events().size(), 1u);
  EXPECT_EQ(handler.Events().front().s32EventID, 8);
  EXPECT_EQ(
      log.PriorityOf("Recv DeviceID [0016c04e21e7] EventID [7] EventType [SETTINGS_CHANGED] ,But Not Found ReqID"),
      300);
  EXPECT_EQ(log.Count(",But Not Found ReqID"), 3u);
}

TEST(NotifyParseRsp, SkipsNullsWithoutAWord) {
  CLogCapture log;
  CBrntCmdNotifyHandler handler;
  EXPECT_TRUE(handler.ParseRsp(Notification("null," + Event("I2C", 8) + ",null")));
  EXPECT_EQ(handler.Events().size(), 1u);
  EXPECT_THAT(log.Texts(), testing::IsEmpty());
}

TEST(NotifyParseRsp, RefusesWhatIsNoJson) {
  CLogCapture log;
  CBrntCmdNotifyHandler handler;
  EXPECT_FALSE(handler.ParseRsp("{"));
  EXPECT_EQ(log.PriorityOf("Check Notify Error : Is not json data"), 300);
}

TEST(NotifyParseRsp, RefusesOtherStatusesWithoutAWord) {
  CLogCapture log;
  CBrntCmdNotifyHandler handler;
  EXPECT_FALSE(handler.ParseRsp(R"({"status":"SUCCESS","result":{"events":[]}})"));
  EXPECT_FALSE(handler.ParseRsp(R"({"result":{"events":[]}})"));
  EXPECT_THAT(log.Texts(), testing::IsEmpty());
}

TEST(NotifyParseRsp, NamesTheLevelThatIsMissing) {
  CLogCapture log;
  CBrntCmdNotifyHandler handler;
  for (const char* result : {"null", "7", "\"x\"", "[]"}) {
    log.Clear();
    EXPECT_FALSE(handler.ParseRsp(R"({"status":"NOTIFICATION","result":)" + std::string(result) + "}"));
    EXPECT_EQ(log.PriorityOf("can't found [result]"), 300) << result;
  }
  for (const char* events : {"null", "7", "{}", "\"x\""}) {
    log.Clear();
    EXPECT_FALSE(handler.ParseRsp(R"({"status":"NOTIFICATION","result":{"events":)" + std::string(events) + "}}"));
    EXPECT_EQ(log.PriorityOf("can't found [events]"), 300) << events;
  }
}

// Notifications with a real proxy behind them. It finds no server; what matters is which events it is given.
class Notify : public testing::Test {
 protected:
  void SetUp() override {
    AsyncTask::SetUpgradeMode(1);  // the proxy does not wait for the link
    ZpIHTaskThreadPool<200>::AddThreads(3);
    ZpIHIdleTask<200>::Initialize();
    ZpIHSecTimeoutTask<200>::Initialize();
    CBrntProxy::InitProxy("127.0.0.1", 1, &m_initData);
    Send(Event("DEVICE_CONNECTED", kMark - 1));  // from the connected state
    Fetched();
    ClearLog();
  }

  void TearDown() override {
    Fetched();
    CBrntProxy::UnitProxy();
    AsyncTask::SetUpgradeMode(0);
  }

  static void Send(const std::string& events) { CBrntCmdNotifyHandler::ProcessNotifyMsg(Notification(events)); }

  void PassSec(SInt64 seconds) { m_platform.AdvanceMs(seconds * 1000); }

  static void Check() { CBrntCmdNotifyHandler::PorcessConEvent(); }

  // The request ids of the events that the proxy has been given since the last call, in order. An event of its own
  // marks the end.
  std::vector<int> Fetched() {
    const std::string begin = "EvCmd id:";
    Send(Event("I2C", ++m_mark));
    EXPECT_TRUE(m_log.WaitFor(begin + std::to_string(m_mark)));
    std::vector<int> ids;
    for (const std::string& text : m_log.Texts()) {
      if (text.compare(0, begin.size(), begin) == 0) ids.push_back(std::stoi(text.substr(begin.size())));
    }
    ids.pop_back();
    ids.erase(ids.begin(), ids.begin() + static_cast<std::ptrdiff_t>(m_seen));
    m_seen += ids.size() + 1;
    return ids;
  }

  // Forgets the lines so far.
  void ClearLog() {
    m_log.Clear();
    m_seen = 0;
  }

  static constexpr int kMark = 100000;

  T_InitData m_initData;
  CFakePlatform m_platform;
  CLogCapture m_log;
  int m_mark = kMark;
  std::size_t m_seen = 0;
};

using Ids = std::vector<int>;

TEST_F(Notify, HandsEachEventToTheProxyInOrder) {
  ClearLog();
  Send(Event("RS232_RECEIVED", 5) + "," + Event("SETTINGS_CHANGED", 4) + "," + Event("REQUEST_COMPLETE", 6));
  EXPECT_EQ(Fetched(), (Ids{5, 4, 6}));
  EXPECT_EQ(m_log.PriorityOf("New Event Info : Devide_id[0016c04e21e7] Event_Type[RS232_RECEIVED] Event_id[5] "
                             "Request_id[5]"),
            600);
}

TEST_F(Notify, IgnoresAnUnknownTypeButKeepsItsId) {
  ClearLog();
  Send(Event("DEVICE_LOST", 77));
  EXPECT_EQ(CBrntCmdNotifyHandler::LastEventId(), 77);
  EXPECT_EQ(m_log.PriorityOf("ProcessEvent Event[DEVICE_LOST] ignored,do no thing"), 400);
  EXPECT_EQ(Fetched(), Ids{});
}

TEST_F(Notify, HandlesAConnect) {
  ClearLog();
  Send(Event("DEVICE_CONNECTED", 5));
  EXPECT_EQ(Fetched(), Ids{5});
  EXPECT_EQ(m_log.PriorityOf("get connect event after disconnect"), 600);
}

TEST_F(Notify, OtherEventsLeaveTheConnectionStateAlone) {
  Send(Event("DEVICE_DISCONNECTED", 5));
  ClearLog();
  Send(Event("RS232_RECEIVED", 6));
  PassSec(16);
  Check();
  EXPECT_EQ(Fetched(), (Ids{6, 5}));
}

TEST_F(Notify, ADisconnectWaitsForItsDeadline) {
  ClearLog();
  Send(Event("DEVICE_DISCONNECTED", 5));
  EXPECT_EQ(m_log.PriorityOf("need handle disconnect event if no con event is received in 16 seconds"), 400);
  PassSec(5);
  Check();
  EXPECT_EQ(m_log.PriorityOf("recv disconnect event has past 5 seconds"), 600);
  PassSec(10);
  Check();
  EXPECT_TRUE(m_log.Contains("recv disconnect event has past 15 seconds"));
  EXPECT_EQ(Fetched(), Ids{});
  PassSec(1);
  Check();
  EXPECT_EQ(Fetched(), Ids{5});
  EXPECT_EQ(m_log.PriorityOf("Need handle event DEVICE_DISCONNECTED"), 400);
  EXPECT_EQ(m_log.PriorityOf("handle disconnect event, avp will be reset"), 400);
}

TEST_F(Notify, ADisconnectIsHandledOnce) {
  Send(Event("DEVICE_DISCONNECTED", 5));
  PassSec(40);
  Check();
  EXPECT_EQ(Fetched(), Ids{5});
  ClearLog();
  PassSec(40);
  Check();
  EXPECT_THAT(m_log.Texts(), testing::IsEmpty());
  EXPECT_EQ(Fetched(), Ids{});
}

TEST_F(Notify, ANewDisconnectAfterAHandledOneWaitsAgain) {
  Send(Event("DEVICE_DISCONNECTED", 5));
  PassSec(16);
  Check();
  EXPECT_EQ(Fetched(), Ids{5});
  ClearLog();
  Send(Event("DEVICE_DISCONNECTED", 6));
  PassSec(15);
  Check();
  EXPECT_EQ(Fetched(), Ids{});
  PassSec(1);
  Check();
  EXPECT_EQ(Fetched(), Ids{6});
}

TEST_F(Notify, FractionsOfASecondDoNotCount) {
  m_platform.AdvanceMs(1000 - m_platform.NowMs() % 1000 + 999);
  ClearLog();
  Send(Event("DEVICE_DISCONNECTED", 5));  // at x.999
  m_platform.AdvanceMs(15001);            // 15.001 s later the seconds differ by 16
  Check();
  EXPECT_EQ(Fetched(), Ids{5});
}

TEST_F(Notify, AConnectWithinTheDeadlineCancels) {
  ClearLog();
  Send(Event("DEVICE_DISCONNECTED", 5));
  PassSec(10);
  Send(Event("DEVICE_CONNECTED", 6));
  EXPECT_TRUE(m_log.Contains("get connect event after disconnect"));
  PassSec(60);
  Check();
  EXPECT_EQ(Fetched(), Ids{6});
  EXPECT_FALSE(m_log.Contains("avp will be reset"));
}

TEST_F(Notify, TheDeadlineCountsFromTheFirstDisconnect) {
  ClearLog();
  Send(Event("DEVICE_DISCONNECTED", 5));
  PassSec(10);
  Send(Event("DEVICE_DISCONNECTED", 6));
  EXPECT_EQ(m_log.Count("need handle disconnect event"), 1u);
  PassSec(6);
  Check();
  EXPECT_EQ(Fetched(), Ids{5});
}

TEST_F(Notify, ConnectThenDisconnectInOneNotificationIsPendingAndNeitherIsHandled) {
  ClearLog();
  Send(Event("DEVICE_CONNECTED", 5) + "," + Event("I2C", 6) + "," + Event("DEVICE_DISCONNECTED", 7));
  EXPECT_EQ(Fetched(), Ids{6});
  EXPECT_TRUE(m_log.Contains("need handle disconnect event"));
  PassSec(16);
  Check();
  EXPECT_EQ(Fetched(), Ids{7});
}

TEST_F(Notify, DisconnectThenConnectInOneNotificationHandlesTheConnectAlone) {
  ClearLog();
  Send(Event("DEVICE_DISCONNECTED", 5) + "," + Event("DEVICE_CONNECTED", 6));
  EXPECT_EQ(Fetched(), Ids{6});
  EXPECT_EQ(m_log.PriorityOf("Donot handle event DEVICE_DISCONNECTED"), 400);
  EXPECT_TRUE(m_log.Contains("get connect event after disconnect"));
  ClearLog();
  PassSec(16);
  Check();
  EXPECT_THAT(m_log.Texts(), testing::IsEmpty());
}

TEST_F(Notify, OfSeveralDisconnectsInOneNotificationTheLastIsKept) {
  ClearLog();
  Send(Event("DEVICE_DISCONNECTED", 5) + "," + Event("DEVICE_DISCONNECTED", 6));
  PassSec(16);
  Check();
  EXPECT_EQ(Fetched(), Ids{6});
}

TEST_F(Notify, ADisconnectWithoutARequestIdDoesNotCount) {
  ClearLog();
  Send(R"({"device_id":"0016c04e21e7","event_id":5,"event_type":"DEVICE_DISCONNECTED","timestamp":1})");
  PassSec(60);
  Check();
  EXPECT_EQ(Fetched(), Ids{});
  EXPECT_FALSE(m_log.Contains("need handle disconnect event"));
}

TEST_F(Notify, ACheckWithNothingPendingSaysNothing) {
  ClearLog();
  Check();
  EXPECT_THAT(m_log.Texts(), testing::IsEmpty());
}

TEST_F(Notify, TellsWhetherTheTextWasANotification) {
  CBrntCmdNotifyHandler handler;
  std::string response = "kept";
  EXPECT_TRUE(handler.DoResponse(Notification(Event("UNHEARD_OF", 1)), response));
  EXPECT_TRUE(handler.Events().empty());
  EXPECT_TRUE(handler.DoResponse(Notification(""), response));
  EXPECT_FALSE(handler.DoResponse("{}", response));
  EXPECT_EQ(response, "kept");
}

class NotifiedType : public Notify, public testing::WithParamInterface<const char*> {};

TEST_P(NotifiedType, ReachesTheProxy) {
  ClearLog();
  Send(Event(GetParam(), 5));
  EXPECT_EQ(Fetched(), Ids{5});
  EXPECT_EQ(CBrntCmdNotifyHandler::LastEventId(), m_mark);
}

INSTANTIATE_TEST_SUITE_P(Rows, NotifiedType,
                         testing::Values("DEVICE_CONNECTED", "DEVICE_INFO_AVAILABLE", "FIRMWARE_UPDATE_START",
                                         "FIRMWARE_UPDATE_PROGRESS", "FIRMWARE_UPDATE_COMPLETE", "I2C",
                                         "INFRARED_RECEIVED", "REQUEST_COMPLETE", "RS232_RECEIVED", "CEC_RECEIVED",
                                         "SETTINGS_CHANGED"),
                         [](const auto& row) { return std::string(row.param); });

}  // namespace
