#include "brntcmdupdate.h"

#include <gtest/gtest.h>

#include <string>

#include "brntdevice.h"
#include "handlerrun.h"
#include "logcapture.h"

namespace {

constexpr char kDone[] =
    R"({"status":"SUCCESS","request_id":9,"result":{"update":[{"device_id":"0016c0000301"}],"error":[]},"error":null})";
constexpr char kFailed[] =
    R"({"status":"SUCCESS","request_id":9,"result":{"update":[],"error":[{"device_id":"0016c0000301",
       "reason":"INVALID_STATE","message":"not now"}]},"error":null})";
constexpr char kOtherFailed[] =
    R"({"status":"SUCCESS","request_id":9,"result":{"update":[{"device_id":"0016c0000301"}],"error":[5,
       {"device_id":"0016c0000999","reason":"INVALID_STATE","message":"not now"}]},"error":null})";

class Update : public testing::Test {
 protected:
  Update() { m_device->SetUpgradeFinishFlag(false); }

  T_ZpCmd Handle(const std::string& reply, E_Status status) {
    return HandleReply(AVP_MSG_SEND_UPDATE, "0016c0000301", reply, status, &m_result);
  }

  CBrntDevice* m_device = CBrntDevice::GetBrntDevByID("0016c0000301");
  Bool16 m_result = 99;
  CLogCapture m_log;
};

TEST_F(Update, SuccessTellsTheDeviceThatItIsDone) {
  EXPECT_EQ(Handle(kDone, e_status_SUCCESS).RspStatus, e_status_SUCCESS);
  EXPECT_EQ(m_result, 1);
  EXPECT_TRUE(m_device->GetUpgradeFinishFlag());
}

TEST_F(Update, ARefusalDoesNot) {
  Handle(R"({"status":"ERROR","error":{"reason":"ILLEGAL_ARGUMENT","message":"no such file"}})", e_status_ERROR);
  EXPECT_EQ(m_result, 0);
  EXPECT_FALSE(m_device->GetUpgradeFinishFlag());
  EXPECT_EQ(m_log.PriorityOf("refused by [0016c0000301] : reason[ILLEGAL_ARGUMENT] message[no such file]"), 300);
}

TEST_F(Update, NeitherDoesARequestInProgressNorNoAnswer) {
  Handle(R"({"status":"PROCESSING"})", e_status_PROCESSING);
  Handle("", e_status_UNDEFINED);
  EXPECT_FALSE(m_device->GetUpgradeFinishFlag());
}

TEST_F(Update, SuccessThatLeavesTheDeviceOutIsAFailure) {
  EXPECT_EQ(Handle(kFailed, e_status_SUCCESS).RspStatus, e_status_ERROR);
  EXPECT_EQ(m_result, 0);
  EXPECT_FALSE(m_device->GetUpgradeFinishFlag());
  EXPECT_EQ(m_log.PriorityOf("update of [0016c0000301] failed : reason[INVALID_STATE] message[not now]"), 300);
}

TEST_F(Update, AnotherDevicesFailureDoesNotMatter) {
  EXPECT_EQ(Handle(kOtherFailed, e_status_SUCCESS).RspStatus, e_status_SUCCESS);
  EXPECT_TRUE(m_device->GetUpgradeFinishFlag());
}

}  // namespace
