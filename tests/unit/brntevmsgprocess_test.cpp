#include "brntevmsgprocess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <typeindex>
#include <vector>

#include "brntasynctask.h"
#include "brntdevice.h"
#include "cmdcore.h"
#include "fakeplatform.h"
#include "logcapture.h"

namespace {

constexpr char kDevice[] = "0016c04e21e7";

T_BrntEvent Event(const std::string& type, const std::string& deviceId = kDevice) {
  T_BrntEvent event;
  event.strDevID = deviceId;
  event.s32EventID = 11;
  event.strEventType = type;
  event.s32TimeStamp = 1700000000;
  event.s32ReqID = 12;
  return event;
}

struct T_TypeRow {
  const char* eventType;
  std::type_index handler;
};

class EventType : public testing::TestWithParam<T_TypeRow> {};

TEST_P(EventType, HasItsHandler) {
  const std::unique_ptr<CBrntEventHandler> handler = CreateEventHandler(GetParam().eventType);
  ASSERT_NE(handler, nullptr);
  const CBrntEventHandler& object = *handler;
  EXPECT_EQ(std::type_index(typeid(object)), GetParam().handler);
}

INSTANTIATE_TEST_SUITE_P(Rows, EventType,
                         testing::Values(T_TypeRow{"DEVICE_CONNECTED", typeid(CBrntEvDeviceConnHandler)},
                                         T_TypeRow{"DEVICE_DISCONNECTED", typeid(CBrntEvDeviceDisconnHandler)},
                                         T_TypeRow{"DEVICE_INFO_AVAILABLE", typeid(CBrntEvDevInfoAvailableHandler)},
                                         T_TypeRow{"FIRMWARE_UPDATE_START", typeid(CBrntEvFirUpdateStartHandler)},
                                         T_TypeRow{"FIRMWARE_UPDATE_PROGRESS", typeid(CBrntEvFirUpdateProcessHandler)},
                                         T_TypeRow{"FIRMWARE_UPDATE_COMPLETE", typeid(CBrntEvFirUpdateComoleteHandler)},
                                         T_TypeRow{"I2C", typeid(CBrntEvI2cHandler)},
                                         T_TypeRow{"INFRARED_RECEIVED", typeid(CBrntEvIrRecvHandler)},
                                         T_TypeRow{"REQUEST_COMPLETE", typeid(CBrntEvRequestCompleteHandler)},
                                         T_TypeRow{"RS232_RECEIVED", typeid(CBrntEvRs232RecvHandler)},
                                         T_TypeRow{"CEC_RECEIVED", typeid(CBrntEvCECRecvHandler)},
                                         T_TypeRow{"SETTINGS_CHANGED", typeid(CBrntEvSettingChangedHandler)}),
                         [](const auto& row) { return std::string(row.param.eventType); });

TEST(EventTypes, ThatNobodyKnowsHaveNoHandler) {
  EXPECT_EQ(CreateEventHandler("DEVICE_LOST"), nullptr);
  EXPECT_EQ(CreateEventHandler("device_connected"), nullptr);
  EXPECT_EQ(CreateEventHandler("I2C "), nullptr);
  EXPECT_EQ(CreateEventHandler(""), nullptr);
}

TEST(EventHandler, KeepsTheEventItWasMadeFor) {
  CBrntEventHandler handler;
  handler.Init(Event("I2C"));
  EXPECT_EQ(handler.GetDevId(), kDevice);
  EXPECT_EQ(handler.GetReqId(), 12);
}

class IdleHandler : public testing::TestWithParam<const char*> {};

TEST_P(IdleHandler, DoesNothingWithTheOutcome) {
  CFakePlatform platform;
  CLogCapture log;
  const std::unique_ptr<CBrntEventHandler> handler = CreateEventHandler(GetParam());
  handler->Init(Event(GetParam()));
  EXPECT_TRUE(handler->DoResponse("{\"result\":{}}", e_status_SUCCESS));
  EXPECT_TRUE(handler->DoResponse("garbage", e_status_ERROR));
  EXPECT_THAT(platform.Commands(), testing::IsEmpty());
  EXPECT_THAT(log.Texts(), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Rows, IdleHandler,
                         testing::Values("DEVICE_CONNECTED", "DEVICE_INFO_AVAILABLE", "FIRMWARE_UPDATE_START",
                                         "FIRMWARE_UPDATE_PROGRESS", "FIRMWARE_UPDATE_COMPLETE", "I2C",
                                         "REQUEST_COMPLETE", "CEC_RECEIVED"),
                         [](const auto& row) { return std::string(row.param); });

// The reset is done once per process, so it is tried in a process of its own; what happened comes on standard error.
TEST(DisconnectHandler, ResetsTheAvProcessorForTheFirstOfAProcessAloneWhateverTheStatus) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        CFakePlatform platform;
        CLogCapture log;
        CBrntEvDeviceDisconnHandler first;
        CBrntEvDeviceDisconnHandler second;
        const bool results = first.DoResponse("one", e_status_ERROR) && second.DoResponse("two", e_status_SUCCESS);
        for (const T_LogLine& line : log.Lines()) std::fprintf(stderr, "%d %s\n", line.priority, line.text.c_str());
        for (const std::string& command : platform.Commands()) std::fprintf(stderr, "run %s\n", command.c_str());
        _exit(results ? 0 : 1);
      },
      testing::ExitedWithCode(0),
      testing::Eq("600 Device Disconnected : i_status = [2] ; i_strResponse = [one]\n"
                  "400 Device Disconnected after upgrade, GLOBAL_RST to fix DEVICE_DISCONNECTED bug\n"
                  "600 Device Disconnected : i_status = [1] ; i_strResponse = [two]\n"
                  "run sleep 6; /customer/bin/gpio.py GLOBAL_RST r;\n"));
}

// The serial and the infrared handler do the same with other names.
struct T_RecvRow {
  const char* name;
  const char* eventType;
  const char* arrayKey;
  const char* dataKey;
  int reportKind;
  const char* statusText;
  const char* notJsonText;
  const char* successText;
};

class Received : public testing::TestWithParam<T_RecvRow> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_cmdCore.Start());
    m_handler = CreateEventHandler(GetParam().eventType);
    ASSERT_NE(m_handler, nullptr);
    m_handler->Init(Event(GetParam().eventType));
  }

  bool Respond(const std::string& text, E_Status status = e_status_SUCCESS) {
    return m_handler->DoResponse(text, status);
  }

  // An outcome with these elements; in them ARRAY and DATA stand for the keys of the kind.
  bool RespondWith(std::string elements) {
    return Respond(Keyed(R"({"status":"SUCCESS","result":{"ARRAY":[)" + elements + "]}}"));
  }

  static std::string Keyed(std::string text) {
    const auto replace = [&text](const std::string& from, const std::string& to) {
      for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
      }
    };
    replace("ARRAY", GetParam().arrayKey);
    replace("DATA", GetParam().dataKey);
    return text;
  }

  // The texts of the reports so far. The last one marks the end: reports arrive in their order.
  std::vector<std::string> Reports() {
    ReportAsyncMsg(e_event_alive, "end");
    EXPECT_TRUE(m_cmdCore.WaitForReport(e_event_alive));
    std::vector<std::string> texts;
    for (const T_Report& report : m_cmdCore.Reports()) {
      if (report.kind == e_event_alive) continue;
      EXPECT_EQ(report.kind, GetParam().reportKind);
      EXPECT_EQ(report.fault, "");
      texts.push_back(report.text);
    }
    return texts;
  }

  CCmdCore m_cmdCore;
  CLogCapture m_log;
  std::unique_ptr<CBrntEventHandler> m_handler;
};

TEST_P(Received, DataGoesToCmdCoreAsTheOneMemberOfTheReport) {
  EXPECT_TRUE(RespondWith(R"({"device_id":"0016c04e21e7","DATA":"PWR\\x0d","stream_idx":0})"));
  const std::string report = Keyed("{\"DATA\":\"PWR\\\\x0d\"}\n");
  EXPECT_EQ(Reports(), (std::vector<std::string>{report}));
  const std::string line = GetParam().successText + std::string("[") + report + "]";
  EXPECT_EQ(m_log.PriorityOf(line), 600) << line;
}

TEST_P(Received, OnlyTheFirstEntryOfTheEventsDeviceIsForwarded) {
  EXPECT_TRUE(RespondWith(R"({"device_id":"0016c04e0001","DATA":"other"},{"device_id":"0016c04e21e7","DATA":"first"},)"
                          R"({"device_id":"0016c04e21e7","DATA":"second"})"));
  EXPECT_EQ(Reports(), (std::vector<std::string>{Keyed("{\"DATA\":\"first\"}\n")}));
}

TEST_P(Received, AnEntryWithoutDataIsSkipped) {
  EXPECT_TRUE(RespondWith(R"({"device_id":"0016c04e21e7"},{"device_id":"0016c04e21e7","DATA":null},)"
                          R"({"device_id":"0016c04e21e7","DATA":7},{"device_id":"0016c04e21e7","DATA":"x"})"));
  EXPECT_EQ(Reports(), (std::vector<std::string>{Keyed("{\"DATA\":\"x\"}\n")}));
}

TEST_P(Received, EmptyDataIsData) {
  EXPECT_TRUE(RespondWith(R"({"device_id":"0016c04e21e7","DATA":""})"));
  EXPECT_EQ(Reports(), (std::vector<std::string>{Keyed("{\"DATA\":\"\"}\n")}));
}

TEST_P(Received, NothingOfTheEventsDeviceIsNothingToReport) {
  EXPECT_FALSE(RespondWith(R"({"device_id":"0016c04e0001","DATA":"x"},{"DATA":"no id"},{"device_id":5,"DATA":"y"})"));
  EXPECT_THAT(Reports(), testing::IsEmpty());
}

TEST_P(Received, AnEntryWithoutADeviceBelongsToAnEventWithoutOne) {
  m_handler->Init(Event(GetParam().eventType, ""));
  EXPECT_TRUE(RespondWith(R"({"DATA":"no id"})"));
  EXPECT_EQ(Reports(), (std::vector<std::string>{Keyed("{\"DATA\":\"no id\"}\n")}));
}

TEST_P(Received, EveryStatusButSuccessIsRefused) {
  const std::string good = Keyed(R"({"result":{"ARRAY":[{"device_id":"0016c04e21e7","DATA":"x"}]}})");
  for (const E_Status status : {e_status_UNDEFINED, e_status_ERROR, e_status_PROCESSING, e_status_NOTIFY}) {
    EXPECT_FALSE(Respond(good, status));
    EXPECT_EQ(m_log.PriorityOf(GetParam().statusText + ("[" + std::to_string(status) + "]")), 300);
  }
  EXPECT_THAT(Reports(), testing::IsEmpty());
}

TEST_P(Received, WhatIsNoJsonIsRefused) {
  EXPECT_FALSE(Respond("{\"result\":"));
  EXPECT_EQ(m_log.PriorityOf(GetParam().notJsonText), 300);
  EXPECT_FALSE(Respond(std::string(5000, '[')));
  EXPECT_EQ(m_log.Count(GetParam().notJsonText), 2u);
  EXPECT_THAT(Reports(), testing::IsEmpty());
}

TEST_P(Received, AMissingLevelIsNamed) {
  for (const char* text : {"{}", R"({"result":null})", R"({"result":"x"})", "[]", "7"}) {
    m_log.Clear();
    EXPECT_FALSE(Respond(text)) << text;
    EXPECT_EQ(m_log.PriorityOf("Not Found [result]"), 300) << text;
  }
  for (const char* text : {R"({"result":{}})", R"({"result":{"ARRAY":null}})", R"({"result":{"ARRAY":{"a":1}}})"}) {
    m_log.Clear();
    EXPECT_FALSE(Respond(Keyed(text))) << text;
    EXPECT_EQ(m_log.PriorityOf(Keyed("Not Found [ARRAY]")), 300) << text;
  }
  EXPECT_THAT(Reports(), testing::IsEmpty());
}

TEST_P(Received, ElementsThatAreNoObjectsAreSkipped) {
  EXPECT_TRUE(RespondWith(R"(null,7,"text",[],{"device_id":"0016c04e21e7","DATA":"x"})"));
  EXPECT_EQ(Reports(), (std::vector<std::string>{Keyed("{\"DATA\":\"x\"}\n")}));
}

INSTANTIATE_TEST_SUITE_P(Rows, Received,
                         testing::Values(T_RecvRow{"Rs232", "RS232_RECEIVED", "rs232", "rs232_data", 1,
                                                   "Don't Process Rs232_Recv_Event,because i_status is ",
                                                   "Get RS232 RECV EVENT 's Rsp . Data Format is not json",
                                                   "Get RS232 RECV EVENT 's Rsp .device_id[0016c04e21e7] serial_data"},
                                         T_RecvRow{"Infrared", "INFRARED_RECEIVED", "infrared", "infrared_data", 2,
                                                   "Don't Process IR_Recv_Event,because i_status is ",
                                                   "Get IR RECV EVENT 's Rsp . Data Format is not json",
                                                   "Get IR RECV EVENT 's Rsp .device_id[0016c04e21e7] ir_data"}),
                         [](const auto& row) { return std::string(row.param.name); });

class SettingsChanged : public testing::Test {
 protected:
  static constexpr char kAvpInfo[] = "/tmp/avpinfo.json";

  void SetUp() override { rmdir(kAvpInfo); }
  void TearDown() override { rmdir(kAvpInfo); }

  bool Respond(const std::string& text, E_Status status = e_status_SUCCESS) {
    CBrntEvSettingChangedHandler handler;
    handler.Init(Event("SETTINGS_CHANGED"));
    return handler.DoResponse(text, status);
  }

  static std::string Saved() {
    std::ifstream file(kAvpInfo);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
  }

  // A document that gives the device this name.
  static std::string Document(const std::string& id, const std::string& name) {
    return R"({"device_id":")" + id + R"(","identity":{"firmware_version":"1"},"configuration":{"device_name":")" +
           name + R"("}})";
  }

  static std::string Outcome(const std::string& elements) { return R"({"result":{"devices":[)" + elements + "]}}"; }

  static std::string NameOf(const std::string& id) {
    CBrntDevice* device = CBrntDevice::FindBrntDevByID(id);
    if (device == nullptr) return "(unknown)";
    const OSMutexLocker lock(device->m_objMutex);
    return device->m_strDevName;
  }

  CFakePlatform m_platform;
  CLogCapture m_log;
};

TEST_F(SettingsChanged, TheDocumentsAreReadIntoTheDevices) {
  CBrntDevice::GetBrntDevByID("0016c04e0001");
  CBrntDevice::GetBrntDevByID("0016c04e0002");
  EXPECT_TRUE(Respond(Outcome(Document("0016c04e0001", "one") + "," + Document("0016c04e0002", "two"))));
  EXPECT_EQ(NameOf("0016c04e0001"), "one");
  EXPECT_EQ(NameOf("0016c04e0002"), "two");
  EXPECT_EQ(m_log.PriorityOf("Process Setting Changed ..."), 600);
}

TEST_F(SettingsChanged, TheDevicesAreReported) {
  CCmdCore cmdCore;
  ASSERT_TRUE(cmdCore.Start());
  CBrntDevice::GetBrntDevByID("0016c04e0001");
  EXPECT_TRUE(Respond(Outcome(Document("0016c04e0001", "one"))));
  EXPECT_TRUE(cmdCore.WaitForReport(e_event_video));
  EXPECT_TRUE(cmdCore.WaitForReport(e_event_monitor));
}

TEST_F(SettingsChanged, ADeviceThatNobodyKnowsIsIgnoredAndStaysUnknown) {
  EXPECT_TRUE(Respond(Outcome(Document("0016c04e0009", "nine"))));
  EXPECT_EQ(NameOf("0016c04e0009"), "(unknown)");
}

TEST_F(SettingsChanged, ElementsWithoutADeviceIdAreIgnored) {
  CBrntDevice::GetBrntDevByID("0016c04e0001");
  EXPECT_TRUE(Respond(Outcome(R"(null,7,{},{"device_id":null},{"device_id":5},)" + Document("0016c04e0001", "x"))));
  EXPECT_EQ(NameOf("0016c04e0001"), "x");
}

TEST_F(SettingsChanged, TheOutcomeIsKeptInAFileWhatever) {
  Respond("first, which is longer than the next");
  EXPECT_FALSE(Respond("{\"status\":\"ERROR\"}\n", e_status_ERROR));
  EXPECT_EQ(Saved(), "{\"status\":\"ERROR\"}\n");
  EXPECT_EQ(m_platform.Commands(), (std::vector<std::string>{"sync", "sync"}));
  EXPECT_EQ(m_log.PriorityOf("Get Setting Changed 's Rsp . status is not success [2]  "), 300);
}

TEST_F(SettingsChanged, AFileThatCannotBeWrittenIsReportedAndTheRestIsDone) {
  unlink(kAvpInfo);
  ASSERT_EQ(mkdir(kAvpInfo, 0755), 0);
  CBrntDevice::GetBrntDevByID("0016c04e0001");
  testing::internal::CaptureStderr();
  EXPECT_TRUE(Respond(Outcome(Document("0016c04e0001", "still"))));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "fopen error :: Is a directory\n");
  EXPECT_THAT(m_platform.Commands(), testing::IsEmpty());
  EXPECT_EQ(NameOf("0016c04e0001"), "still");
}

TEST_F(SettingsChanged, WhatIsNoJsonIsRefused) {
  EXPECT_FALSE(Respond("no json"));
  EXPECT_EQ(m_log.PriorityOf("Get Setting Changed 's Rsp . Data Format is not json"), 300);
}

TEST_F(SettingsChanged, AMissingLevelIsNamed) {
  EXPECT_FALSE(Respond("{}"));
  EXPECT_EQ(m_log.PriorityOf("Not Found [result]"), 300);
  EXPECT_FALSE(Respond(R"({"result":{"devices":"none"}})"));
  EXPECT_EQ(m_log.PriorityOf("Not Found [devices]"), 300);
}

}  // namespace
