// Notifications on the text link and the reports that they cause at cmd_core.
#include <gmock/gmock.h>

#include "systemtest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kRs232 = 1;
constexpr int kInfrared = 2;

class Notification : public SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    BringUp();
    ASSERT_TRUE(Avp().WaitForAsync(kPatienceMs));
  }

  static Json::Value Received(const char* list, const std::string& deviceId, const char* member,
                              const std::string& data) {
    Json::Value entry;
    entry["device_id"] = deviceId;
    entry[member] = data;
    entry["stream_idx"] = 0;
    Json::Value result;
    result[list].append(entry);
    return result;
  }

  // Waits until a later event has been through, so that a report of an earlier one would have been seen.
  void ExpectNextEventWorks() {
    Avp().ReceiveRs232("probe");
    ASSERT_TRUE(Core().WaitForReport(
        [](const T_Report& report) { return report.text == "{\"rs232_data\":\"probe\"}\n"; }, kPatienceMs));
  }

  std::vector<std::string> ReportTexts(int kind) {
    ExpectNextEventWorks();
    std::vector<std::string> texts;
    for (const T_Report& report : Core().Reports(kind)) {
      if (report.text != "{\"rs232_data\":\"probe\"}\n") texts.push_back(report.text);
    }
    return texts;
  }
};

TEST_F(Notification, OfSerialDataBecomesAReport) {
  const int id = Avp().ReceiveRs232("PWR=ON\r");
  const auto report = Core().WaitForReport(kRs232, kPatienceMs);
  ASSERT_TRUE(report.has_value());
  EXPECT_EQ(report->text, "{\"rs232_data\":\"PWR=ON\\\\x0d\"}\n");
  const auto fetch = Avp().Requests(simmatch::Path("/api/request/" + std::to_string(id)));
  ASSERT_EQ(fetch.size(), 1u);
  EXPECT_EQ(fetch[0].method, "GET");
  EXPECT_TRUE(WaitForLogLine("INFO Get RS232 RECV EVENT 's Rsp .device_id[" + kLocalId + "] serial_data["));
}

TEST_F(Notification, OfSerialDataIsReportedInTheseBytes) {
  Avp().ReceiveRs232("AB");
  const auto report = Core().WaitForReport(kRs232, kPatienceMs);
  ASSERT_TRUE(report.has_value());
  const std::string expected(
      "\x03\x00\x00\x00\x1d\x00\x00\x00"
      "\x03\x05\x02\x00\x15\x00\x00\x00"
      "{\"rs232_data\":\"AB\"}\n\x00",
      37);
  EXPECT_EQ(report->raw, expected);
}

TEST_F(Notification, OfInfraredDataBecomesAReport) {
  Avp().ReceiveInfrared("0000006d00010002");
  const auto report = Core().WaitForReport(kInfrared, kPatienceMs);
  ASSERT_TRUE(report.has_value());
  EXPECT_EQ(report->tag, 0x30503u);
  EXPECT_EQ(report->text, "{\"infrared_data\":\"0000006d00010002\"}\n");
}

TEST_F(Notification, OfSerialDataReportsOnlyTheFirstEntryOfItsDevice) {
  Json::Value result = Received("rs232", kEncoderA, "rs232_data", "other");
  Json::Value noData;
  noData["device_id"] = kLocalId;
  result["rs232"].append(noData);
  result["rs232"].append(Received("rs232", kLocalId, "rs232_data", "first")["rs232"][0]);
  result["rs232"].append(Received("rs232", kLocalId, "rs232_data", "second")["rs232"][0]);
  Avp().PushEvent("RS232_RECEIVED", kLocalId, result);
  EXPECT_THAT(ReportTexts(kRs232), ElementsAre("{\"rs232_data\":\"first\"}\n"));
}

TEST_F(Notification, OfSerialDataOfAnotherDeviceReportsNothing) {
  Avp().PushEvent("RS232_RECEIVED", kEncoderA, Received("rs232", kLocalId, "rs232_data", "x"));
  EXPECT_THAT(ReportTexts(kRs232), IsEmpty());
}

TEST_F(Notification, WhoseRequestFailedReportsNothing) {
  Avp().PushEventWithAnswer("RS232_RECEIVED", kLocalId, T_SimAnswer::Error("INVALID_STATE", "gone"));
  Avp().PushEventWithAnswer("INFRARED_RECEIVED", kLocalId, T_SimAnswer::Error("INVALID_STATE", "gone"));
  EXPECT_THAT(ReportTexts(kRs232), IsEmpty());
  EXPECT_THAT(Core().Reports(kInfrared), IsEmpty());
  EXPECT_EQ(LogCount("ERROR Don't Process Rs232_Recv_Event,because i_status is [2]"), 1u);
  EXPECT_EQ(LogCount("ERROR Don't Process IR_Recv_Event,because i_status is [2]"), 1u);
}

TEST_F(Notification, WhoseRequestIsStillOpenReportsNothing) {
  Avp().PushEventWithAnswer("RS232_RECEIVED", kLocalId, T_SimAnswer::NeverSettles());
  EXPECT_THAT(ReportTexts(kRs232), IsEmpty());
  EXPECT_EQ(LogCount("Get Event Msg,but Blueriver Server return processing ???"), 1u);
}

TEST_F(Notification, WithoutARequestIdIsDropped) {
  Avp().PushLine(
      R"({"status":"NOTIFICATION","request_id":null,"result":{"events":[{"device_id":"0016c04e41b2","event_id":901,)"
      R"("event_type":"RS232_RECEIVED","timestamp":1700000000,"request_id":null}]},"error":null})");
  EXPECT_THAT(ReportTexts(kRs232), IsEmpty());
  EXPECT_EQ(
      LogCount("ERROR Recv DeviceID [0016c04e41b2] EventID [901] EventType [RS232_RECEIVED] ,But Not Found ReqID"), 1u);
}

TEST_F(Notification, OfAnUnknownTypeIsIgnored) {
  const int id = Avp().PushEvent("LAMP_FAILED", kLocalId, Json::Value(Json::objectValue));
  ExpectNextEventWorks();
  EXPECT_EQ(LogCount("WARN ProcessEvent Event[LAMP_FAILED] ignored,do no thing"), 1u);
  EXPECT_THAT(Avp().Requests(simmatch::Path("/api/request/" + std::to_string(id))), IsEmpty());
}

TEST_F(Notification, WithoutADeviceStillFetchesItsRequest) {
  const int id = Avp().PushEvent("REQUEST_COMPLETE", "", Json::Value(Json::objectValue));
  ASSERT_TRUE(Avp().WaitForRequest(simmatch::Path("/api/request/" + std::to_string(id)), kPatienceMs));
  EXPECT_EQ(LogCount("New Event Info : Devide_id[] Event_Type[REQUEST_COMPLETE]"),
            LogCount("Event_Type[REQUEST_COMPLETE]"));
}

TEST_F(Notification, SeveralInOneReadAreServedInOrder) {
  std::string lines;
  for (int i = 0; i < 3; ++i) {
    lines += R"({"status":"NOTIFICATION","result":{"events":[{"device_id":"0016c04e41b2","event_id":)" +
             std::to_string(i) + R"(,"event_type":"UNHEARD_)" + std::to_string(i) +
             R"(","timestamp":1,"request_id":1}]}})" + "\r\n";
  }
  Avp().PushRaw(lines);
  ASSERT_TRUE(WaitForLogLine("Event[UNHEARD_2] ignored"));
  EXPECT_EQ(LogCount("Event[UNHEARD_0] ignored"), 1u);
  EXPECT_EQ(LogCount("Event[UNHEARD_1] ignored"), 1u);
}

// Deliberate: reads are not joined, so what a line loses between two of them is lost.
TEST_F(Notification, SplitAcrossTwoReadsIsLost) {
  Avp().PushRaw(R"({"status":"NOTIFICATION","result":{"events":[{"device_id":"0016c04e41b2",)");
  ASSERT_TRUE(WaitForLogLine("ERROR Check Notify Error : [{\"status\":\"NOTIFICATION\""));
  Avp().PushRaw("\"event_id\":1,\"event_type\":\"HALVED\",\"timestamp\":1,\"request_id\":1}]}}\r\n");
  ExpectNextEventWorks();
  EXPECT_EQ(LogCount("Event[HALVED]"), 0u);
}

TEST_F(Notification, OfChangedSettingsIsKeptInAFile) {
  Avp().PushSettingsChanged();
  ASSERT_TRUE(WaitForLogLine("INFO Process Setting Changed ..."));
  EXPECT_TRUE(WaitUntil([] { return ReadFile("/tmp/avpinfo.json").find(kLocalId) != std::string::npos; }));
  EXPECT_TRUE(WaitForRecorded("sync"));
}

}  // namespace
