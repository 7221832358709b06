#include "brntcmdworker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "fakeplatform.h"
#include "logcapture.h"
#include "requestcapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kId = CRequestCapture::kDevice;

IR_CMD_T IrCmd(const std::string& data, SInt32 repeat = 1) {
  IR_CMD_T cmd;
  cmd.s32Repeat = repeat;
  cmd.strData = data;
  cmd.strDevice = kId;
  return cmd;
}

T_Request Infrared(const std::string& digits) {
  return CRequestCapture::Post(AVP_MSG_SEND_IR_DATA, R"({"data_hex":")" + digits + R"(","op":"send:infrared"})");
}

T_Request Netstat() { return CRequestCapture::Post(AVP_MSG_GET_NETSTAT, R"({"op":"netstat","option":"read"})"); }
T_Request ReadEdid() { return CRequestCapture::Post(AVP_MSG_GETEDID, R"({"op":"get","subset":"edid"})"); }

// The worker's passes, run by the test on a fake clock.
class Worker : public testing::Test {
 protected:
  Worker() {
    Empty();
    std::remove(kInputEdidFile);
    threadCreated = true;
  }
  ~Worker() override {
    Empty();
    std::remove(kInputEdidFile);
  }

  static void Empty() {
    IR_CMD_T cmd;
    while (GetIrCmd(cmd) != 0) {
    }
    TIMER_EVENT_T event;
    while (GetTimerEvent(event) != 0) {
    }
  }

  static void StoreEdid() { std::ofstream(kInputEdidFile) << "00"; }

  CFakePlatform m_platform;
  CRequestCapture m_requests;
};

TEST_F(Worker, TakesInfraredSendsInTheOrderInWhichTheyCame) {
  SetIrCmd(IrCmd("0001"));
  SetIrCmd(IrCmd("0002"));
  EXPECT_EQ(GetIrCmdSize(), 2);
  IR_CMD_T cmd;
  EXPECT_EQ(GetIrCmd(cmd), 1);
  EXPECT_EQ(cmd.strData, "0001");
  EXPECT_EQ(GetIrCmd(cmd), 1);
  EXPECT_EQ(cmd.strData, "0002");
  EXPECT_EQ(GetIrCmd(cmd), 0);
  EXPECT_EQ(cmd.strData, "0002") << "left alone";
}

TEST_F(Worker, DropsInfraredSendsBeyondTheLimitOfTheQueue) {
  const CLogCapture log;
  const std::string text(8000, '0');
  while (!log.Contains("ir queue is full")) EXPECT_EQ(SetIrCmd(IrCmd(text)), 0);
  EXPECT_EQ(log.PriorityOf("ir queue is full"), 300);
  EXPECT_LE(static_cast<size_t>(GetIrCmdSize()) * text.size(), kIrQueueBytes);
  EXPECT_GT(GetIrCmdSize(), 500);
  IR_CMD_T cmd;
  GetIrCmd(cmd);
  const int waiting = GetIrCmdSize();
  SetIrCmd(IrCmd(text));
  EXPECT_EQ(GetIrCmdSize(), waiting + 1) << "there is room again";
}

TEST_F(Worker, QueuesTheSameTimerEventOfADeviceOnce) {
  SetTimerEvent({kId, E_TIMER_GET_NETSTAT});
  SetTimerEvent({kId, E_TIMER_GET_EDID});
  EXPECT_EQ(SetTimerEvent({kId, E_TIMER_GET_NETSTAT}), 0);
  SetTimerEvent({"another", E_TIMER_GET_NETSTAT});
  std::vector<std::string> events;
  TIMER_EVENT_T event;
  while (GetTimerEvent(event) != 0) events.push_back(event.strDevice + " " + std::to_string(event.eEvent));
  EXPECT_THAT(events, ElementsAre(std::string(kId) + " 0", std::string(kId) + " 1", "another 0"));
}

TEST_F(Worker, SendsEveryInfraredCodeThatWaits) {
  SetIrCmd(IrCmd("0000 006d"));
  SetIrCmd(IrCmd("0001"));
  WorkOnce();
  EXPECT_THAT(m_requests.Take(), ElementsAre(Infrared("0000006d"), Infrared("0001")));
  EXPECT_EQ(GetIrCmdSize(), 0);
}

TEST_F(Worker, RepeatsACodeBeforeItSendsIt) {
  SetIrCmd(IrCmd("0000 006d 0000 0001 000a 000b", 2));
  WorkOnce();
  EXPECT_THAT(m_requests.Take(), ElementsAre(Infrared("0000006d00000002000a000b000a000b")));
}

TEST_F(Worker, SendsACodeThatCannotBeRepeatedAsItIs) {
  SetIrCmd(IrCmd("5000 0000", 2));
  WorkOnce();
  EXPECT_THAT(m_requests.Take(), ElementsAre(Infrared("50000000")));
}

TEST_F(Worker, WaitsIntervalAndDelayAfterASend) {
  IR_CMD_T cmd = IrCmd("0001");
  cmd.s32Interval = 100;
  cmd.s32Delay = 50;
  SetIrCmd(cmd);
  std::vector<size_t> sentBeforeSleep;
  m_platform.OnSleep([&](SInt64) { sentBeforeSleep.push_back(m_requests.Take().size()); });
  WorkOnce();
  EXPECT_THAT(m_platform.Sleeps(), ElementsAre(100, 50));
  EXPECT_THAT(sentBeforeSleep, ElementsAre(1u, 0u));
}

TEST_F(Worker, HoldsTheNextSendBackFor150Ms) {
  IR_CMD_T cmd = IrCmd("0001");
  cmd.s32Interval = 100;
  cmd.s32Delay = 50;
  SetIrCmd(cmd);
  SetIrCmd(IrCmd("0002"));
  const SInt64 start = m_platform.NowMs();
  std::vector<T_Request> early;
  m_platform.OnSleep([&](SInt64) {
    if (m_platform.NowMs() - start < 150) early = m_requests.Take();
  });
  WorkOnce();
  EXPECT_THAT(early, ElementsAre(Infrared("0001")));
  EXPECT_THAT(m_requests.Take(), ElementsAre(Infrared("0002")));
  EXPECT_EQ(m_platform.NowMs() - start, 150);
}

TEST_F(Worker, DoesNotSleepWithoutPauses) {
  IR_CMD_T cmd = IrCmd("0001");
  cmd.s32Interval = -1;
  SetIrCmd(cmd);
  WorkOnce();
  EXPECT_THAT(m_platform.Sleeps(), IsEmpty());
}

TEST_F(Worker, LogsEverySend) {
  const CLogCapture log;
  SetIrCmd(IrCmd("0001", 0));
  WorkOnce();
  EXPECT_EQ(log.PriorityOf("IR cmd: repeat=0, interval=0, delay=0, data=0001 device=0016c04e41b2"), 600);
  EXPECT_EQ(log.PriorityOf("SendIrDataCmd count:1"), 600);
}

TEST_F(Worker, LogsAFailedSendAndGoesOn) {
  const CLogCapture log;
  SetIrCmd(IrCmd(std::string(2065, '0')));
  SetIrCmd(IrCmd("0001"));
  WorkOnce();
  EXPECT_EQ(log.PriorityOf("SendIrDataCmd:" + std::string(2065, '0') + " failed"), 300);
  EXPECT_THAT(m_requests.Take(), ElementsAre(Infrared("0001")));
}

struct T_EventRow {
  const char* name;
  E_TIMER_EVENT event;
  bool edidStored;
  std::vector<T_Request> requests;
};
class WorkerEvent : public Worker, public testing::WithParamInterface<T_EventRow> {};

TEST_P(WorkerEvent, SendsItsRequests) {
  if (GetParam().edidStored) StoreEdid();
  SetTimerEvent({kId, GetParam().event});
  WorkOnce();
  EXPECT_EQ(m_requests.Take(), GetParam().requests);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, WorkerEvent,
    testing::Values(T_EventRow{"Netstat", E_TIMER_GET_NETSTAT, false, {Netstat()}},
                    T_EventRow{"Edid", E_TIMER_GET_EDID, false, {ReadEdid()}},
                    T_EventRow{"EdidThatIsStored", E_TIMER_GET_EDID, true, {}},
                    T_EventRow{"NetstatAndEdid", E_TIMER_GET_NETSTAT_EDID, false, {Netstat(), ReadEdid()}},
                    T_EventRow{"NetstatAndEdidThatIsStored", E_TIMER_GET_NETSTAT_EDID, true, {Netstat()}},
                    T_EventRow{"WallCheckWithoutAWall", E_TIMER_CHECK_VIDEOWALL_STATUS, false, {}},
                    T_EventRow{"Default", E_TIMER_DEFAULT, false, {}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Worker, TakesOneTimerEventPerPass) {
  SetTimerEvent({kId, E_TIMER_GET_NETSTAT});
  SetTimerEvent({kId, E_TIMER_GET_EDID});
  WorkOnce();
  EXPECT_THAT(m_requests.Take(), ElementsAre(Netstat()));
  WorkOnce();
  EXPECT_THAT(m_requests.Take(), ElementsAre(ReadEdid()));
  WorkOnce();
  EXPECT_THAT(m_requests.Take(), IsEmpty());
}

TEST_F(Worker, SendsInfraredBeforeItTakesTheTimerEvent) {
  SetTimerEvent({kId, E_TIMER_GET_NETSTAT});
  SetIrCmd(IrCmd("0001"));
  WorkOnce();
  EXPECT_THAT(m_requests.Take(), ElementsAre(Infrared("0001"), Netstat()));
}

TEST_F(Worker, ChecksTheVideoWallOfItsDevice) {
  const CLogCapture log;
  for (int check = 0; check < 10; ++check) {
    SetTimerEvent({kId, E_TIMER_CHECK_VIDEOWALL_STATUS});
    WorkOnce();
  }
  EXPECT_EQ(log.Count("source[w:"), 1u);
}

// The real thread never ends, so each of these lives in a process of its own.
class WorkerThread : public testing::Test {
 protected:
  WorkerThread() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  // Exits with 0 when every line came, else with 1.
  [[noreturn]] static void ExitWhenLogged(const std::vector<std::pair<std::string, size_t>>& lines,
                                          const CLogCapture& log) {
    for (const auto& [text, count] : lines) {
      if (!log.WaitFor(text, count)) std::_Exit(1);
    }
    std::_Exit(0);
  }
};

TEST_F(WorkerThread, StartsOnceAndSendsWhatWaits) {
  EXPECT_EXIT(
      {
        CRequestCapture requests;
        const CLogCapture log;
        SetIrCmd(IrCmd("0001"));
        CreateThread();
        CreateThread();
        if (!threadCreated || !log.WaitFor("SendIrDataCmd count:1") || log.Count("Thread ID: ") != 1) std::_Exit(1);
        SetTimerEvent({kId, E_TIMER_GET_NETSTAT});
        ExitWhenLogged({{"netstat", 1}}, log);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(WorkerThread, Rests400MsBeforeEachPass) {
  EXPECT_EXIT(
      {
        CFakePlatform platform;
        CRequestCapture requests;
        const CLogCapture log;
        int passes = 0;
        platform.OnSleep([&](SInt64 ms) {
          if (ms != 400) std::_Exit(1);
          if (++passes == 1) SetIrCmd(IrCmd("0001"));
          if (passes == 2) std::_Exit(log.Contains("SendIrDataCmd count:1") ? 0 : 1);
        });
        ThreadFunction(nullptr);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
