#include "brntparsersp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "brntdevice.h"
#include "brntjson.h"
#include "fakeplatform.h"
#include "logcapture.h"
#include "testfiles.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

Json::Value JsonOf(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(brntjson::Parse(text, value)) << text;
  return value;
}

// ---- the envelope

class ParseRsp : public testing::Test {
 protected:
  ParseRsp() { ForgetDisconnects(); }
  ~ParseRsp() override { ForgetDisconnects(); }

  static void ForgetDisconnects() {
    g_s32DisCount = 0;
    g_lFirstDiscon = 0;
  }

  T_BrntRsp Parse(const std::string& text) {
    T_BrntRsp rsp;
    EXPECT_TRUE(ParseJsonRsp::ParseRsp(text, &rsp)) << text;
    return rsp;
  }

  CFakePlatform m_platform;
  CLogCapture m_log;
};

struct T_StatusRow {
  const char* name;
  const char* text;
  E_Status status;
};
const T_StatusRow kStatusRows[] = {
    {"Success", R"({"status":"SUCCESS"})", e_status_SUCCESS},
    {"Error", R"({"status":"ERROR"})", e_status_ERROR},
    {"Processing", R"({"status":"PROCESSING"})", e_status_PROCESSING},
    {"Notification", R"({"status":"NOTIFICATION"})", e_status_NOTIFY},
    {"LowerCase", R"({"status":"success"})", e_status_UNDEFINED},
    {"LongerText", R"({"status":"SUCCESSFUL"})", e_status_UNDEFINED},
    {"Missing", R"({})", e_status_UNDEFINED},
    {"Null", R"({"status":null})", e_status_UNDEFINED},
    {"Number", R"({"status":1})", e_status_UNDEFINED},
    {"NoObject", R"([1,2])", e_status_UNDEFINED},
    {"OneNumber", R"(5)", e_status_UNDEFINED},
};

class ParseRspStatus : public ParseRsp, public testing::WithParamInterface<T_StatusRow> {};

TEST_P(ParseRspStatus, FollowsTheTable) { EXPECT_EQ(Parse(GetParam().text).eRspStatus, GetParam().status); }

INSTANTIATE_TEST_SUITE_P(Rows, ParseRspStatus, testing::ValuesIn(kStatusRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ParseRsp, WhatIsNoJsonIsRefusedAndChangesNothing) {
  T_BrntRsp rsp;
  rsp.eRspStatus = e_status_PROCESSING;
  rsp.s32ReqID = 7;
  rsp.strResult = "kept";
  for (const char* text : {"", "garbage", "{\"status\":", "<html></html>"}) {
    EXPECT_FALSE(ParseJsonRsp::ParseRsp(text, &rsp)) << text;
  }
  EXPECT_EQ(rsp.eRspStatus, e_status_PROCESSING);
  EXPECT_EQ(rsp.s32ReqID, 7);
  EXPECT_EQ(rsp.strResult, "kept");
}

TEST_F(ParseRsp, NestingOfThousandsIsNoJson) {
  T_BrntRsp rsp;
  EXPECT_FALSE(ParseJsonRsp::ParseRsp(std::string(5000, '[') + std::string(5000, ']'), &rsp));
}

TEST_F(ParseRsp, TheRequestIdIsTaken) { EXPECT_EQ(Parse(R"({"request_id":17})").s32ReqID, 17); }

TEST_F(ParseRsp, WithoutARequestIdTheOldOneStays) {
  for (const char* text : {R"({})", R"({"request_id":null})", R"({"request_id":"5"})", R"({"request_id":1e12})"}) {
    T_BrntRsp rsp;
    rsp.s32ReqID = 41;
    EXPECT_TRUE(ParseJsonRsp::ParseRsp(text, &rsp));
    EXPECT_EQ(rsp.s32ReqID, 41) << text;
  }
}

TEST_F(ParseRsp, TheResultIsKeptAsTextAndAsJson) {
  const T_BrntRsp rsp = Parse(R"({"result": {"b": [1, 2], "a": "x"}})");
  EXPECT_EQ(rsp.strResult, "{\"a\":\"x\",\"b\":[1,2]}\n");
  EXPECT_EQ(rsp.objResultJson, JsonOf(R"({"a":"x","b":[1,2]})"));
}

TEST_F(ParseRsp, TheTopLevelErrorIsTaken) {
  const T_BrntRsp rsp = Parse(R"({"status":"ERROR","error":{"reason":"ILLEGAL_ARGUMENT","message":"no such op"}})");
  EXPECT_EQ(rsp.tErrorInfo.strReason, "ILLEGAL_ARGUMENT");
  EXPECT_EQ(rsp.tErrorInfo.strMsg, "no such op");
}

TEST_F(ParseRsp, ANullErrorIsNone) {
  const T_BrntRsp rsp = Parse(R"({"status":"SUCCESS","error":null})");
  EXPECT_EQ(rsp.tErrorInfo.strReason, "");
  EXPECT_EQ(rsp.tErrorInfo.strMsg, "");
}

TEST_F(ParseRsp, EachHalfOfTheErrorMayBeMissing) {
  EXPECT_EQ(Parse(R"({"error":{"reason":"A"}})").tErrorInfo.strMsg, "");
  EXPECT_EQ(Parse(R"({"error":{"message":"B"}})").tErrorInfo.strMsg, "B");
  EXPECT_EQ(Parse(R"({"error":"text"})").tErrorInfo.strReason, "");
}

// ---- the disconnect watchdog

constexpr char kOneDisconnect[] =
    R"({"status":"SUCCESS","result":{"devices":[],"error":[{"reason":"DEVICE_DISCONNECTED","message":"gone"}]}})";
constexpr char kNoErrorMember[] = R"({"status":"SUCCESS","result":{"devices":[]}})";

class Watchdog : public ParseRsp {
 protected:
  T_BrntRsp Disconnect() { return Parse(kOneDisconnect); }
  void PassSeconds(SInt64 seconds) { m_platform.AdvanceMs(seconds * 1000); }
};

TEST_F(Watchdog, TheFirstDisconnectIsOnlyRecorded) {
  const T_BrntRsp rsp = Disconnect();
  EXPECT_EQ(rsp.tResultErrorInfo.strReason, "DEVICE_DISCONNECTED");
  EXPECT_EQ(rsp.tResultErrorInfo.strMsg, "gone");
  EXPECT_EQ(g_s32DisCount, 1);
  EXPECT_EQ(g_lFirstDiscon, 1000);
  EXPECT_EQ(m_log.PriorityOf("get DEVICE_DISCONNECTED first time"), 600);
  EXPECT_THAT(m_platform.Commands(), IsEmpty());
}

TEST_F(Watchdog, AfterSixtySecondsNothingHappensYet) {
  Disconnect();
  PassSeconds(60);
  Disconnect();
  EXPECT_EQ(g_s32DisCount, 2);
  EXPECT_EQ(g_lFirstDiscon, 1000);
  EXPECT_THAT(m_platform.Commands(), IsEmpty());
}

TEST_F(Watchdog, DeliberateTheWarningTellsTheUptimeOfTheFirstNotTheCount) {
  Disconnect();
  PassSeconds(5);
  Disconnect();
  EXPECT_EQ(m_log.PriorityOf("get disconnect 1000"), 400);
}

TEST_F(Watchdog, AfterSixtyOneSecondsTheEndpointReboots) {
  Disconnect();
  PassSeconds(61);
  Disconnect();
  EXPECT_THAT(m_platform.Commands(), ElementsAre("sleep 10; reboot;"));
  EXPECT_EQ(m_log.PriorityOf("DEVICE_DISCONNECTED need reboot, receive DEVICE_DISCONNECTED count:2"), 400);
}

TEST_F(Watchdog, DeliberateEveryLaterDisconnectAsksForTheRebootAgain) {
  Disconnect();
  PassSeconds(61);
  Disconnect();
  Disconnect();
  EXPECT_THAT(m_platform.Commands(), ElementsAre("sleep 10; reboot;", "sleep 10; reboot;"));
}

TEST_F(Watchdog, EachEntryOfAnAnswerCounts) {
  Parse(R"({"result":{"error":[{"reason":"DEVICE_DISCONNECTED","message":"a"},
                               {"reason":"DEVICE_DISCONNECTED","message":"b"}]}})");
  EXPECT_EQ(g_s32DisCount, 2);
  EXPECT_TRUE(m_log.Contains("get disconnect 1000"));
}

TEST_F(Watchdog, TheLastEntryGivesTheMessage) {
  const T_BrntRsp rsp = Parse(R"({"result":{"error":[{"reason":"DEVICE_DISCONNECTED","message":"a"},
                                                     {"reason":"DEVICE_DISCONNECTED"}]}})");
  EXPECT_EQ(rsp.tResultErrorInfo.strMsg, "a");
}

TEST_F(Watchdog, AResultWithoutErrorsClearsIt) {
  Disconnect();
  Parse(kNoErrorMember);
  EXPECT_EQ(g_s32DisCount, 0);
  EXPECT_EQ(g_lFirstDiscon, 0);
  EXPECT_EQ(m_log.PriorityOf("reset disconnect status, discount:1"), 600);
}

TEST_F(Watchdog, ClearingLogsOnlyWhenSomethingWasSet) {
  Parse(kNoErrorMember);
  Disconnect();
  Parse(kNoErrorMember);
  Parse(kNoErrorMember);
  EXPECT_EQ(m_log.Count("reset disconnect status"), 1U);
}

struct T_QuietRow {
  const char* name;
  const char* text;
};
const T_QuietRow kQuietRows[] = {
    {"NoResult", R"({"status":"SUCCESS"})"},
    {"NullResult", R"({"status":"PROCESSING","request_id":41,"result":null,"error":null})"},
    {"EmptyErrors", R"({"status":"SUCCESS","result":{"error":[]}})"},
    {"OtherReasons", R"({"result":{"error":[{"reason":"INVALID_STATE","message":"m"},{"reason":"VERSION"}]}})"},
    {"NoReason", R"({"result":{"error":[{"message":"DEVICE_DISCONNECTED"},null,5,"DEVICE_DISCONNECTED",{}]}})"},
    {"OtherCase", R"({"result":{"error":[{"reason":"device_disconnected"},{"reason":5}]}})"},
};

class WatchdogQuiet : public Watchdog, public testing::WithParamInterface<T_QuietRow> {};

TEST_P(WatchdogQuiet, NeitherAdvancesNorClears) {
  Disconnect();
  const T_BrntRsp rsp = Parse(GetParam().text);
  EXPECT_EQ(g_s32DisCount, 1);
  EXPECT_EQ(g_lFirstDiscon, 1000);
  EXPECT_EQ(rsp.tResultErrorInfo.strReason, "");
  EXPECT_EQ(rsp.tResultErrorInfo.strMsg, "");
}

INSTANTIATE_TEST_SUITE_P(Rows, WatchdogQuiet, testing::ValuesIn(kQuietRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Watchdog, MixedTrafficWithRequestsInProgressStillReboots) {
  Disconnect();
  PassSeconds(61);
  Parse(R"({"status":"PROCESSING","request_id":41,"result":null,"error":null})");
  Disconnect();
  EXPECT_THAT(m_platform.Commands(), ElementsAre("sleep 10; reboot;"));
}

TEST_F(Watchdog, UptimeIsThatOfThePlatform) { EXPECT_EQ(get_uptime(), 1000); }

// ---- the walkers

TEST(GetJsonInfo, ReadsEachKnownType) {
  const Json::Value object = JsonOf(R"({"n":-3,"t":"x","f":true})");
  SInt32 number = 0;
  std::string text;
  bool flag = false;
  EXPECT_TRUE(ParseJsonRsp::GetJsonInfo(object, "n", e_int, &number));
  EXPECT_TRUE(ParseJsonRsp::GetJsonInfo(object, "t", e_string, &text));
  EXPECT_TRUE(ParseJsonRsp::GetJsonInfo(object, "f", e_bool, &flag));
  EXPECT_EQ(number, -3);
  EXPECT_EQ(text, "x");
  EXPECT_TRUE(flag);
}

TEST(GetJsonInfo, LeavesTheTargetAloneWhenAbsent) {
  SInt32 number = 9;
  EXPECT_FALSE(ParseJsonRsp::GetJsonInfo(JsonOf("{}"), "n", e_int, &number));
  EXPECT_FALSE(ParseJsonRsp::GetJsonInfo(JsonOf(R"({"n":null})"), "n", e_int, &number));
  EXPECT_FALSE(ParseJsonRsp::GetJsonInfo(JsonOf(R"({"n":"3"})"), "n", e_int, &number));
  EXPECT_FALSE(ParseJsonRsp::GetJsonInfo(JsonOf("[3]"), "n", e_int, &number));
  EXPECT_EQ(number, 9);
}

TEST(GetJsonInfo, RefusesAnyOtherType) {
  SInt32 number = 9;
  EXPECT_FALSE(ParseJsonRsp::GetJsonInfo(JsonOf(R"({"n":3})"), "n", static_cast<E_Json_Type>(3), &number));
  EXPECT_EQ(number, 9);
}

TEST(GetNextJsonObject, StepsOneLevelDown) {
  Json::Value value = JsonOf(R"({"result":{"devices":[1]}})");
  EXPECT_TRUE(ParseJsonRsp::GetNextJsonObject("result", value));
  EXPECT_TRUE(ParseJsonRsp::GetNextJsonObject("devices", value));
  EXPECT_EQ(value, JsonOf("[1]"));
}

TEST(GetNextJsonObject, LeavesTheValueWhenThereIsNoSuchMember) {
  for (const char* text : {R"({"a":1})", R"({"result":null})", "[]", "5", "\"text\"", "null"}) {
    Json::Value value = JsonOf(text);
    EXPECT_FALSE(ParseJsonRsp::GetNextJsonObject("result", value)) << text;
    EXPECT_EQ(value, JsonOf(text));
  }
}

class ArrayWalker : public testing::Test {
 protected:
  bool Walk(const std::string& text, const char* matchText) {
    m_value = JsonOf(text);
    return ParseJsonRsp::GetNextJsonObjectArray("nodes", m_value, "device_id", matchText);
  }

  Json::Value m_value;
  CLogCapture m_log;
};

TEST_F(ArrayWalker, FindsTheElementThatMatches) {
  EXPECT_TRUE(Walk(R"([{"device_id":"a","nodes":[1]},{"device_id":"b","nodes":[2]}])", "b"));
  EXPECT_EQ(m_value, JsonOf("[2]"));
}

TEST_F(ArrayWalker, TakesTheFirstOfTwoThatMatch) {
  EXPECT_TRUE(Walk(R"([{"device_id":"a","nodes":[1]},{"device_id":"a","nodes":[2]}])", "a"));
  EXPECT_EQ(m_value, JsonOf("[1]"));
}

TEST_F(ArrayWalker, DoesNotLookPastAMatchWithoutTheMember) {
  const char* text = R"([{"device_id":"a"},{"device_id":"a","nodes":[2]}])";
  EXPECT_FALSE(Walk(text, "a"));
  EXPECT_EQ(m_value, JsonOf(text));
  EXPECT_FALSE(m_log.Contains("Parse Array Error"));
}

TEST_F(ArrayWalker, AnAbsentMatchKeyIsAnEmptyText) {
  EXPECT_TRUE(Walk(R"([{"device_id":"a","nodes":[1]},{"nodes":[2]}])", ""));
  EXPECT_EQ(m_value, JsonOf("[2]"));
}

TEST_F(ArrayWalker, TextsMatchWhole) {
  EXPECT_FALSE(Walk(R"([{"device_id":"ab","nodes":[1]}])", "a"));
  EXPECT_FALSE(Walk(R"([{"device_id":"a","nodes":[1]}])", "ab"));
}

TEST_F(ArrayWalker, NoMatchIsAnError) {
  for (const char* text : {"[]", R"([{"device_id":"b","nodes":[]}])", "[1,null,\"x\",[]]", "{}", "null"}) {
    m_log.Clear();
    EXPECT_FALSE(Walk(text, "a")) << text;
    EXPECT_EQ(m_value, JsonOf(text));
    EXPECT_EQ(m_log.PriorityOf("Parse Array Error"), 300) << text;
  }
}

// ---- EDID files

class SaveEdid : public testing::Test {
 protected:
  void RunCommandsForReal() {
    m_platform.OnShell([](const std::string& command) { return system(command.c_str()); });
  }
  ~SaveEdid() override {
    unlink("/tmp/t.edid");
    unlink("/tmp/t.edid.bin");
  }
  static void Save(const std::string& text) { ParseJsonRsp::SaveEdid("/tmp/t.edid", text.c_str()); }

  CFakePlatform m_platform;
  CLogCapture m_log;
};

TEST_F(SaveEdid, WritesTheTextAndItsBytes) {
  Save("00ffAB12" + std::string(504, '7'));
  EXPECT_EQ(FileText("/tmp/t.edid"), "00ffAB12" + std::string(504, '7'));
  EXPECT_EQ(FileText("/tmp/t.edid.bin"), std::string("\0\xff\xab\x12", 4) + std::string(252, '\x77'));
  EXPECT_THAT(m_platform.Commands(), IsEmpty());
}

TEST_F(SaveEdid, FiveHundredAndElevenDigitsRemoveBothFiles) {
  RunCommandsForReal();
  WriteFile("/tmp/t.edid", "old");
  WriteFile("/tmp/t.edid.bin", "old");
  const std::string text(511, 'a');
  Save(text);
  EXPECT_THAT(m_platform.Commands(), ElementsAre("rm -f /tmp/t.edid", "rm -f /tmp/t.edid.bin"));
  EXPECT_FALSE(Exists("/tmp/t.edid"));
  EXPECT_FALSE(Exists("/tmp/t.edid.bin"));
  EXPECT_EQ(m_log.PriorityOf("delete fname</tmp/t.edid>, invalid edid<" + text + "> len<511>"), 300);
}

TEST_F(SaveEdid, AnEmptyTextRemovesBothFilesToo) {
  Save("");
  EXPECT_TRUE(m_log.Contains("delete fname</tmp/t.edid>, invalid edid<> len<0>"));
  EXPECT_THAT(m_platform.Commands(), ElementsAre("rm -f /tmp/t.edid", "rm -f /tmp/t.edid.bin"));
}

TEST_F(SaveEdid, SixHundredDigitsGoWholeIntoTheTextAndTheFirstBytesIntoTheTwin) {
  const std::string text = std::string(512, '1') + std::string(88, '2');
  Save(text);
  EXPECT_EQ(FileText("/tmp/t.edid"), text);
  EXPECT_EQ(FileText("/tmp/t.edid.bin"), std::string(256, '\x11'));
}

TEST_F(SaveEdid, PairsThatAreNoHexGiveZeroOrTheirBeginning) {
  Save("zz5z" + std::string(508, '0'));
  EXPECT_EQ(FileText("/tmp/t.edid.bin"), std::string("\0\x05", 2) + std::string(254, '\0'));
}

TEST_F(SaveEdid, AnOldFileIsReplaced) {
  WriteFile("/tmp/t.edid", std::string(1000, 'x'));
  Save(std::string(512, '0'));
  EXPECT_EQ(FileText("/tmp/t.edid").size(), 512U);
}

TEST_F(SaveEdid, AFileThatCannotBeOpenedIsAnError) {
  ParseJsonRsp::SaveEdid("/tmp/no/t.edid", std::string(512, '0').c_str());
  EXPECT_EQ(m_log.PriorityOf("fopen fname</tmp/no/t.edid> failed"), 300);
  EXPECT_EQ(m_log.Count("failed"), 1U);
}

TEST_F(SaveEdid, ATwinThatCannotBeOpenedIsAnErrorAndTheTextStays) {
  mkdir("/tmp/t.edid.bin", 0700);
  Save(std::string(512, '0'));
  EXPECT_EQ(m_log.PriorityOf("fopen fname</tmp/t.edid.bin> failed"), 300);
  EXPECT_EQ(FileText("/tmp/t.edid").size(), 512U);
  rmdir("/tmp/t.edid.bin");
}

TEST_F(SaveEdid, AFullDiskIsAnErrorAndTheTwinIsStillWritten) {
  ASSERT_EQ(symlink("/dev/full", "/tmp/t.edid"), 0);
  Save(std::string(512, '1'));
  EXPECT_EQ(m_log.PriorityOf("fwrite fname</tmp/t.edid> failed"), 300);
  EXPECT_EQ(FileText("/tmp/t.edid.bin"), std::string(256, '\x11'));
}

TEST_F(SaveEdid, APathThatTheShellWouldReadOtherwiseReachesNoShell) {
  ParseJsonRsp::SaveEdid("/tmp/a;reboot", "short");
  ParseJsonRsp::SaveEdid("-rf", "short");
  EXPECT_THAT(m_platform.Commands(), IsEmpty());
}

// ---- the two small files

struct T_FileKind {
  const char* name;
  bool (*read)(const char* path, std::string& out);
  const char* key;
};
const T_FileKind kFileKinds[] = {
    {"Mode", ParseJsonRsp::GetModeFromJsonFile, "modelNumber"},
    {"Version", ParseJsonRsp::GetVersionFromJsonFile, "comment"},
};

class SmallFile : public testing::TestWithParam<T_FileKind> {
 protected:
  ~SmallFile() override { unlink(kPath); }

  bool Read(const std::string& content) {
    WriteFile(kPath, content);
    return ReadPath(kPath);
  }
  bool ReadPath(const char* path) {
    CaptureStdout();
    const bool result = GetParam().read(path, m_out);
    m_printed = GetCapturedStdout();
    return result;
  }
  std::string Quoted(const std::string& value) { return "{\"" + std::string(GetParam().key) + "\":" + value + "}"; }

  static constexpr char kPath[] = "/tmp/small.json";
  std::string m_out = "kept";
  std::string m_printed;
};

TEST_P(SmallFile, GivesTheText) {
  EXPECT_TRUE(Read("// a comment\n" + Quoted("\"HLY-RX\"")));
  EXPECT_EQ(m_out, "HLY-RX");
  EXPECT_EQ(m_printed, "");
}

TEST_P(SmallFile, DeliberateTheMessageRunsPathAndWordTogether) {
  EXPECT_FALSE(ReadPath("/tmp/no such file"));
  EXPECT_EQ(m_printed, "open json file /tmp/no such filefailed.\n");
  EXPECT_EQ(m_out, "kept");
}

TEST_P(SmallFile, AFolderIsNoFile) {
  EXPECT_FALSE(ReadPath("/tmp"));
  EXPECT_EQ(m_printed, "open json file /tmpfailed.\n");
}

TEST_P(SmallFile, AnEndlessDeviceIsNoFile) { EXPECT_FALSE(ReadPath("/dev/zero")); }

TEST_P(SmallFile, WhatIsNoJsonIsSaid) {
  for (const char* content : {"", "modelNumber=1", "{"}) {
    EXPECT_FALSE(Read(content));
    EXPECT_EQ(m_printed, "can't parse json data\n") << content;
  }
  EXPECT_EQ(m_out, "kept");
}

TEST_P(SmallFile, AMissingTextIsSaid) {
  for (const std::string& content :
       {std::string("{}"), std::string("[]"), Quoted("null"), Quoted("\"\""), Quoted("5"), Quoted("{\"a\":1}")}) {
    EXPECT_FALSE(Read(content)) << content;
    EXPECT_EQ(m_printed, "can't find " + std::string(GetParam().key) + "\n") << content;
  }
  EXPECT_EQ(m_out, "kept");
}

INSTANTIATE_TEST_SUITE_P(Kinds, SmallFile, testing::ValuesIn(kFileKinds),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- what cmd_core says about a device

struct T_StoreRow {
  const char* name;
  bool (*store)(const std::string& devId, const Json::Value& object);
  const char* key;
  std::string CBrntDevice::*member;
};
bool StoreRx(const std::string& devId, const Json::Value& object) {
  return ParseJsonRsp::StoreRXInfo2device(devId, object);
}
const T_StoreRow kStoreRows[] = {
    {"Firmware", ParseJsonRsp::ParseJsonInfo, "firmware_comment", &CBrntDevice::m_firmware_version},
    {"AvpDevice", ParseJsonRsp::ParseJsonInfo, "avpDeviceId", &CBrntDevice::m_avpdeviceid},
    {"H264Device", ParseJsonRsp::ParseJsonInfo, "h264DeviceId", &CBrntDevice::m_h264deviceid},
    {"Infrared", ParseJsonRsp::ParseJsonInfo, "deviceID", &CBrntDevice::m_RxIRDeviceid},
    {"Edid", ParseJsonRsp::ParseJsonInfo, "edid", &CBrntDevice::m_strEDID},
    {"HdcpCapability", ParseJsonRsp::ParseJsonInfo, "hdcpCapability", &CBrntDevice::m_TxHdcpCapability},
    {"Serial", ParseJsonRsp::StoreSerialInfo2device, "deviceID", &CBrntDevice::m_RxSerialDeviceid},
    {"Hid", ParseJsonRsp::StoreHIDInfo2device, "deviceID", &CBrntDevice::m_RxHIDDeviceid},
    {"HdcpMethod", StoreRx, "hdcpMethod", &CBrntDevice::m_RxHdcpMode},
    {"Scaler", StoreRx, "scaler", &CBrntDevice::m_RxScaler},
};

class StoreInfo : public testing::TestWithParam<T_StoreRow> {
 protected:
  StoreInfo() : m_device(CBrntDevice::GetBrntDevByID("0016c0000001")) {
    m_device->m_bRx = 1;
    SetMember("");
  }
  ~StoreInfo() override {
    SetMember("");
    m_device->m_bRx = 0;
  }

  bool Store(const std::string& value) {
    return GetParam().store("0016c0000001", JsonOf("{\"" + std::string(GetParam().key) + "\":" + value + "}"));
  }
  void SetMember(const std::string& text) {
    OSMutexLocker lock(m_device->m_objMutex);
    m_device->*GetParam().member = text;
  }
  std::string Member() {
    OSMutexLocker lock(m_device->m_objMutex);
    return m_device->*GetParam().member;
  }

  CBrntDevice* m_device;
};

TEST_P(StoreInfo, CopiesTheText) {
  EXPECT_TRUE(Store("\"stored\""));
  EXPECT_EQ(Member(), "stored");
}

TEST_P(StoreInfo, AnEmptyTextIsATextToo) {
  SetMember("before");
  EXPECT_TRUE(Store("\"\""));
  EXPECT_EQ(Member(), "");
}

TEST_P(StoreInfo, AnAbsentTextChangesNothing) {
  SetMember("before");
  EXPECT_TRUE(Store("null"));
  EXPECT_TRUE(Store("5"));
  EXPECT_TRUE(GetParam().store("0016c0000001", JsonOf("{}")));
  EXPECT_TRUE(GetParam().store("0016c0000001", JsonOf("[]")));
  EXPECT_EQ(Member(), "before");
}

INSTANTIATE_TEST_SUITE_P(Rows, StoreInfo, testing::ValuesIn(kStoreRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(StoreRole, OnlyATransmitterIsOne) {
  CBrntDevice* device = CBrntDevice::GetBrntDevByID("0016c0000002");
  EXPECT_FALSE(ParseJsonRsp::StoreTXInfo2device("0016c0000002"));
  device->m_bTx = 1;
  EXPECT_TRUE(ParseJsonRsp::StoreTXInfo2device("0016c0000002"));
}

TEST(StoreRole, WhatIsNoReceiverStoresNothing) {
  CBrntDevice* device = CBrntDevice::GetBrntDevByID("0016c0000003");
  EXPECT_FALSE(ParseJsonRsp::StoreRXInfo2device("0016c0000003", JsonOf(R"({"scaler":"bypass"})")));
  EXPECT_FALSE(ParseJsonRsp::StoreRXInfo2device("0016c0000003", "Follow Sink", "bypass"));
  OSMutexLocker lock(device->m_objMutex);
  EXPECT_EQ(device->m_RxScaler, "");
  EXPECT_EQ(device->m_RxHdcpMode, "");
}

TEST(StoreRole, PlainTextsAreStoredAsTheyAre) {
  CBrntDevice* device = CBrntDevice::GetBrntDevByID("0016c0000004");
  device->m_bRx = 1;
  EXPECT_TRUE(ParseJsonRsp::StoreRXInfo2device("0016c0000004", "Follow Sink", "bypass"));
  EXPECT_TRUE(ParseJsonRsp::StoreRXInfo2device("0016c0000004", "", "1920x1080p@60"));
  OSMutexLocker lock(device->m_objMutex);
  EXPECT_EQ(device->m_RxHdcpMode, "");
  EXPECT_EQ(device->m_RxScaler, "1920x1080p@60");
}

TEST(StoreRole, AnEmptyIdIsNoDevice) {
  EXPECT_TRUE(ParseJsonRsp::ParseJsonInfo("", JsonOf("{}")));
  EXPECT_TRUE(ParseJsonRsp::StoreSerialInfo2device("", JsonOf("{}")));
  EXPECT_TRUE(ParseJsonRsp::StoreHIDInfo2device("", JsonOf("{}")));
  EXPECT_FALSE(ParseJsonRsp::StoreTXInfo2device(""));
  EXPECT_FALSE(ParseJsonRsp::StoreRXInfo2device("", JsonOf("{}")));
  EXPECT_FALSE(ParseJsonRsp::StoreRXInfo2device("", "a", "b"));
}

}  // namespace
