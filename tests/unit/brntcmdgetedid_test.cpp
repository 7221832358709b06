#include "brntcmdgetedid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "fakeplatform.h"
#include "handlerrun.h"
#include "logcapture.h"
#include "testfiles.h"

namespace {

using testing::IsEmpty;

class GetEdid : public testing::Test {
 protected:
  ~GetEdid() override {
    for (const char* path : {"/tmp/dec.edid", "/tmp/dec.edid.bin", "/tmp/mon.edid", "/tmp/mon.edid.bin"}) unlink(path);
  }

  Bool16 Handle(const std::string& reply, E_Status status = e_status_SUCCESS) {
    Bool16 result = 99;
    HandleReply(AVP_MSG_GETEDID, "0016c04e41b2", reply, status, &result);
    return result;
  }

  CFakePlatform m_platform;
  CLogCapture m_log;
};

TEST_F(GetEdid, TheEdidsOfTheAnswerAreSaved) {
  const std::string sample = FileText(HALYARD_SOURCE_DIR "/sim/samples/edid.json");
  EXPECT_EQ(Handle(sample), 1);
  EXPECT_EQ(FileText("/tmp/dec.edid").substr(0, 24), "00ffffffffffff0021994201");
  EXPECT_EQ(FileText("/tmp/mon.edid").substr(0, 24), "00ffffffffffff0021990702");
  EXPECT_EQ(FileText("/tmp/dec.edid.bin").substr(0, 12),
            std::string("\0\xff\xff\xff\xff\xff\xff\0\x21\x99\x42\x01", 12));
  EXPECT_EQ(FileText("/tmp/mon.edid.bin").size(), 256U);
}

TEST_F(GetEdid, ARefusalIsLoggedAndSavesNothing) {
  EXPECT_EQ(Handle(R"({"status":"ERROR","error":{"reason":"INVALID_STATE","message":"no device"}})", e_status_ERROR),
            0);
  EXPECT_EQ(m_log.PriorityOf("refused by [0016c04e41b2] : reason[INVALID_STATE] message[no device]"), 300);
  EXPECT_THAT(m_platform.Commands(), IsEmpty());
}

TEST_F(GetEdid, WhatIsNoJsonIsRejected) {
  EXPECT_EQ(Handle("garbage"), 0);
  EXPECT_EQ(m_log.PriorityOf("Get Edid's Rsp . Data Format is not json"), 300);
}

TEST_F(GetEdid, AnAnswerWithoutDevicesSaysWhatIsMissing) {
  EXPECT_EQ(Handle(R"({"status":"SUCCESS","result":{}})"), 0);
  EXPECT_EQ(m_log.PriorityOf("Not Found [devices]"), 300);
}

TEST_F(GetEdid, AReadLeftInProgressSavesNothing) {
  EXPECT_EQ(Handle(R"({"status":"PROCESSING","result":null})", e_status_PROCESSING), 0);
  EXPECT_EQ(m_log.PriorityOf("Not Found"), 0);
}

}  // namespace
