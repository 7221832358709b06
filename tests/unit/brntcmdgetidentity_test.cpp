#include "brntcmdgetidentity.h"

#include <gtest/gtest.h>

#include <string>

#include "brntdevice.h"
#include "handlerrun.h"
#include "logcapture.h"
#include "testfiles.h"

namespace {

class GetIdentity : public testing::Test {
 protected:
  Bool16 Handle(const std::string& reply, E_Status status = e_status_SUCCESS) {
    Bool16 result = 99;
    HandleReply(AVP_MSG_GET_IDENTITY, "0016c0000201", reply, status, &result);
    return result;
  }
  static std::string VersionOf(const std::string& id) {
    CBrntDevice* device = CBrntDevice::GetBrntDevByID(id);
    OSMutexLocker lock(device->m_objMutex);
    return device->m_firmware_version;
  }

  CLogCapture m_log;
};

TEST_F(GetIdentity, TheBuildNameGoesToTheDevice) {
  EXPECT_EQ(Handle(FileText(HALYARD_SOURCE_DIR "/sim/samples/identity.json")), 1);
  EXPECT_EQ(VersionOf("0016c04e21e7"), "HLY-AVP-1420-20240311");
}

TEST_F(GetIdentity, EveryDeviceGetsItsOwn) {
  EXPECT_EQ(Handle(R"({"result":{"devices":[{"device_id":"0016c0000202","identity":{"firmware_comment":"A"}},
                                            {"device_id":"0016c0000203","identity":{"firmware_comment":"B"}}]}})"),
            1);
  EXPECT_EQ(VersionOf("0016c0000202"), "A");
  EXPECT_EQ(VersionOf("0016c0000203"), "B");
}

TEST_F(GetIdentity, WhatIsMissingLeavesTheOldOne) {
  Handle(R"({"result":{"devices":[{"device_id":"0016c0000204","identity":{"firmware_comment":"A"}}]}})");
  Handle(R"({"result":{"devices":[{"device_id":"0016c0000204","identity":{"firmware_comment":null}},
                                  {"device_id":"0016c0000204","identity":null},{"device_id":"0016c0000204"},
                                  {"identity":{"firmware_comment":"B"}},5,null,[]]}})");
  EXPECT_EQ(VersionOf("0016c0000204"), "A");
}

TEST_F(GetIdentity, ARefusalNamesItsReason) {
  EXPECT_EQ(Handle(R"({"status":"ERROR","error":{"reason":"INVALID_STATE","message":"m"}})", e_status_ERROR), 0);
  EXPECT_EQ(m_log.PriorityOf("refused by [0016c0000201] : reason[INVALID_STATE] message[m]"), 300);
}

TEST_F(GetIdentity, WhatIsNoJsonIsRejected) {
  EXPECT_EQ(Handle("garbage"), 0);
  EXPECT_EQ(m_log.PriorityOf("Get Identity's Rsp . Data Format is not json"), 300);
}

TEST_F(GetIdentity, AnAnswerWithoutDevicesSaysWhatIsMissing) {
  EXPECT_EQ(Handle(R"({"status":"SUCCESS","result":null})"), 0);
  EXPECT_EQ(m_log.PriorityOf("Not Found [result]"), 300);
}

TEST_F(GetIdentity, AReadLeftInProgressIsNoError) {
  EXPECT_EQ(Handle(R"({"status":"PROCESSING","result":null})", e_status_PROCESSING), 0);
  EXPECT_EQ(m_log.PriorityOf("Not Found"), 0);
}

}  // namespace
