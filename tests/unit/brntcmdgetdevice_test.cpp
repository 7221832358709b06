#include "brntcmdgetdevice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "brntdevice.h"
#include "brntjson.h"
#include "devicedocs.h"
#include "fakeplatform.h"
#include "handlerrun.h"
#include "logcapture.h"
#include "reportcapture.h"
#include "testfiles.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class GetDevice : public testing::Test {
 protected:
  ~GetDevice() override {
    for (const char* path : {"/tmp/dec.edid", "/tmp/dec.edid.bin", "/tmp/mon.edid", "/tmp/mon.edid.bin"}) unlink(path);
  }

  static std::string Reply(const Json::Value& devices) {
    Json::Value reply(Json::objectValue);
    reply["status"] = "SUCCESS";
    reply["request_id"] = 42;
    reply["result"]["devices"] = devices;
    reply["result"]["error"] = Json::Value(Json::arrayValue);
    reply["error"] = Json::Value();
    return brntjson::Write(reply);
  }
  // The sample's document under another id.
  static Json::Value Document(const std::string& sample, const std::string& id) {
    Json::Value document = devicedocs::Sample(sample);
    document["device_id"] = id;
    return document;
  }
  static Json::Value List(const std::vector<Json::Value>& documents) {
    Json::Value list(Json::arrayValue);
    for (const Json::Value& document : documents) list.append(document);
    return list;
  }

  Bool16 Handle(const std::string& id, const std::string& reply, E_Status status = e_status_SUCCESS) {
    Bool16 result = 99;
    HandleReply(AVP_MSG_GET_DEVICE, id, reply, status, &result);
    return result;
  }
  std::vector<std::string> Reported() {
    std::vector<std::string> names;
    for (const T_Report& report : m_reports.Take()) names.push_back(report.name);
    return names;
  }
  static std::string NameOf(const std::string& id) {
    CBrntDevice* device = CBrntDevice::FindBrntDevByID(id);
    if (device == nullptr) return "unknown device";
    OSMutexLocker lock(device->m_objMutex);
    return device->m_strDevName;
  }

  CFakePlatform m_platform;
  CReportCapture m_reports;
  CLogCapture m_log;
};

TEST_F(GetDevice, TheAnswerIsLoggedBetweenStars) {
  Handle("0016c0000101", R"({"status":"SUCCESS"})");
  EXPECT_EQ(m_log.PriorityOf("************\nAvp Rest Api Response : [/api/device/0016c0000101] -- "
                             "[{\"status\":\"SUCCESS\"}]\n************"),
            600);
}

TEST_F(GetDevice, TheDeviceIsParsedAndReportedOnce) {
  EXPECT_EQ(Handle("0016c0000102", Reply(List({Document("device-tx", "0016c0000102")}))), 1);
  EXPECT_EQ(NameOf("0016c0000102"), "Lobby-Enc");
  EXPECT_THAT(Reported(), ElementsAre("video", "audio", "monitor"));
}

TEST_F(GetDevice, EveryDeviceOfTheAnswerIs) {
  EXPECT_EQ(Handle("0016c0000103",
                   Reply(List({Document("device-tx", "0016c0000103"), Document("device-rx", "0016c0000104")}))),
            1);
  EXPECT_EQ(NameOf("0016c0000104"), "Room2-Dec");
  EXPECT_THAT(Reported(), ElementsAre("video", "audio", "monitor", "video", "audio", "monitor"));
}

TEST_F(GetDevice, ADeviceWithoutIdentityIsNotReported) {
  Json::Value gone = Document("device-tx", "0016c0000105");
  gone.removeMember("identity");
  testing::internal::CaptureStderr();
  EXPECT_EQ(Handle("0016c0000105", Reply(List({gone, Document("device-rx", "0016c0000106")}))), 1);
  testing::internal::GetCapturedStderr();
  EXPECT_THAT(Reported(), ElementsAre("video", "audio", "monitor"));
  EXPECT_EQ(NameOf("0016c0000105"), "");
}

TEST_F(GetDevice, TheEdidsOfTheDeviceAskedForAreSaved) {
  Handle("0016c0000107", Reply(List({Document("device-trx", "0016c0000107")})));
  EXPECT_TRUE(Exists("/tmp/dec.edid"));
  EXPECT_TRUE(Exists("/tmp/dec.edid.bin"));
  EXPECT_TRUE(Exists("/tmp/mon.edid"));
  EXPECT_TRUE(Exists("/tmp/mon.edid.bin"));
}

TEST_F(GetDevice, ElementsThatAreNoDevicesAreSkipped) {
  EXPECT_EQ(Handle("0016c0000108", R"({"result":{"devices":[null,5,[],{},{"device_id":7},{"device_id":""}]}})"), 1);
  EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(GetDevice, WhatIsNoJsonIsRejected) {
  for (const char* reply : {"", "garbage", "Parse Json Error"}) {
    m_log.Clear();
    EXPECT_EQ(Handle("0016c0000109", reply, e_status_ERROR), 0);
    EXPECT_EQ(m_log.PriorityOf("Get Device's Rsp . Data Format is not json"), 300) << reply;
  }
  EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(GetDevice, ARefusalNamesItsReason) {
  EXPECT_EQ(Handle("0016c0000110", R"({"status":"ERROR","result":null,"error":{"reason":"VERSION","message":"m"}})",
                   e_status_ERROR),
            0);
  EXPECT_EQ(m_log.PriorityOf("refused by [0016c0000110] : reason[VERSION] message[m]"), 300);
}

TEST_F(GetDevice, AReadLeftInProgressIsNoError) {
  EXPECT_EQ(Handle("0016c0000111", R"({"status":"PROCESSING","request_id":1,"result":null})", e_status_PROCESSING), 0);
  EXPECT_EQ(m_log.PriorityOf("Not Found"), 0);
}

TEST_F(GetDevice, AnAnswerWithoutDevicesSaysWhatIsMissing) {
  EXPECT_EQ(Handle("0016c0000112", R"({"status":"SUCCESS","result":null})"), 0);
  EXPECT_EQ(m_log.PriorityOf("Not Found [result]"), 300);
  EXPECT_EQ(Handle("0016c0000112", R"({"status":"SUCCESS","result":{"devices":{}}})"), 0);
  EXPECT_EQ(m_log.PriorityOf("Not Found [devices]"), 300);
  EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
