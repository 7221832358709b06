#include "brntcmdgetfirmwarefile.h"

#include <gtest/gtest.h>

#include <string>

#include "brntdevice.h"
#include "handlerrun.h"
#include "logcapture.h"
#include "testfiles.h"

namespace {

// A device that no other test knows.
std::string NewId() {
  static int s_count = 0;
  return "firmware-file-test-" + std::to_string(++s_count);
}

class GetFirmwareFile : public testing::Test {
 protected:
  Bool16 Handle(const std::string& reply, E_Status status = e_status_SUCCESS) {
    Bool16 result = 99;
    HandleReply(AVP_MSG_GET_FW, m_id, reply, status, &result);
    return result;
  }
  Bool16 HandleListing(const std::string& firmware) {
    return Handle(R"({"status":"SUCCESS","result":{"firmware":)" + firmware + R"(,"error":[]}})");
  }
  // "name yes", "name no", or "" when no package is known.
  std::string Package() {
    std::string name;
    bool supported = false;
    if (!CBrntDevice::GetBrntDevByID(m_id)->GetUpgradeFilenameAndCmdFlag(name, supported)) return "";
    return name + (supported ? " yes" : " no");
  }

  const std::string m_id = NewId();
  CLogCapture m_log;
};

TEST_F(GetFirmwareFile, TheSampleListingIsRead) {
  EXPECT_EQ(Handle(FileText(HALYARD_SOURCE_DIR "/sim/samples/firmware.json")), 1);
  EXPECT_EQ(Package(), "hly-avp-1430-20240902.apz yes");
}

struct T_ListingRow {
  const char* name;
  const char* firmware;
  const char* package;
};
const T_ListingRow kListings[] = {
    {"Array", R"([{"file_name":"a.apz","supports_production":true}])", "a.apz yes"},
    {"Object", R"({"file_name":"a.apz","supports_production":true})", "a.apz yes"},
    {"NotForProduction", R"([{"file_name":"a.apz","supports_production":false}])", "a.apz no"},
    {"WithoutTheFlag", R"([{"file_name":"a.apz"}])", "a.apz no"},
    {"ObjectWithoutTheFlag", R"({"file_name":"a.apz"})", "a.apz no"},
    {"FlagOfAnotherType", R"([{"file_name":"a.apz","supports_production":"true"}])", "a.apz no"},
    {"FirstThatHasAName",
     R"([{"supports_production":true},{"file_name":null},{"file_name":"b.apz"},{"file_name":"c.apz"}])", "b.apz no"},
    {"OddElements", R"([5,null,[],"x",{"file_name":"a.apz"}])", "a.apz no"},
    {"Empty", "[]", ""},
    {"NoName", R"([{"supports_production":true}])", ""},
    {"ObjectWithoutName", "{}", ""},
    {"Text", R"("a.apz")", ""},
    {"Number", "5", ""},
};

class FirmwareListing : public GetFirmwareFile, public testing::WithParamInterface<T_ListingRow> {};

TEST_P(FirmwareListing, GivesThePackage) {
  const bool known = *GetParam().package != '\0';
  EXPECT_EQ(HandleListing(GetParam().firmware), known ? 1 : 0);
  EXPECT_EQ(Package(), GetParam().package);
  EXPECT_EQ(m_log.PriorityOf("Not Found [file_name]"), known ? 0 : 300);
}

INSTANTIATE_TEST_SUITE_P(Rows, FirmwareListing, testing::ValuesIn(kListings),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(GetFirmwareFile, WhatIsMissingIsSaid) {
  EXPECT_EQ(Handle(R"({"status":"SUCCESS","result":null})"), 0);
  EXPECT_EQ(m_log.PriorityOf("Not Found [result]"), 300);
  EXPECT_EQ(Handle(R"({"status":"SUCCESS","result":{"firmware":null}})"), 0);
  EXPECT_EQ(m_log.PriorityOf("Not Found [firmware]"), 300);
}

TEST_F(GetFirmwareFile, ARefusalNamesItsReason) {
  EXPECT_EQ(Handle(R"({"status":"ERROR","error":{"reason":"CONFIGURATION","message":"off"}})", e_status_ERROR), 0);
  EXPECT_EQ(m_log.PriorityOf("refused by [" + m_id + "] : reason[CONFIGURATION] message[off]"), 300);
  EXPECT_EQ(Package(), "");
}

TEST_F(GetFirmwareFile, WhatIsNoJsonIsRejected) {
  EXPECT_EQ(Handle("garbage"), 0);
  EXPECT_EQ(m_log.PriorityOf("Get Firmware File's Rsp . Data Format is not json"), 300);
}

TEST_F(GetFirmwareFile, WithoutADeviceNothingIsKept) {
  Bool16 result = 99;
  HandleReply(AVP_MSG_GET_FW, "", R"({"result":{"firmware":{"file_name":"a.apz"}}})", e_status_SUCCESS, &result);
  EXPECT_EQ(result, 0);
}

}  // namespace
