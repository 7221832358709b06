#include "brntcmdhandler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <typeinfo>

#include "brntcmdgetdevice.h"
#include "brntcmdgetedid.h"
#include "brntcmdgetfirmwarefile.h"
#include "brntcmdgetidentity.h"
#include "brntcmdgetmvlayout.h"
#include "brntcmdgetnetstat.h"
#include "brntcmdstart.h"
#include "brntcmdstop.h"
#include "brntcmdsubscribe.h"
#include "brntcmdunknow.h"
#include "brntcmdupdate.h"
#include "logcapture.h"

namespace {

using testing::IsEmpty;

// ---- which handler

const std::type_info& HandlerOf(AVP_MSG_E kind) {
  T_ZpCmd cmd;
  cmd.eMsgType = kind;
  const std::unique_ptr<CZp2BrntCmdHandler> handler(CZp2BrntCmdHandler::CreateCmdHandler(cmd, nullptr));
  const CZp2BrntCmdHandler& made = *handler;
  return typeid(made);
}

struct T_OwnHandler {
  AVP_MSG_E kind;
  const std::type_info& handler;
};
const T_OwnHandler kOwnHandlers[] = {
    {AVP_MSG_STOP_AV, typeid(CBrntCmdStopHandler)},
    {AVP_MSG_START_AV, typeid(CBrntCmdStartHandler)},
    {AVP_MSG_SUBSCRIBE, typeid(CBrntCmdSubscribeHandler)},
    {AVP_MSG_GETEDID, typeid(CBrntCmdGetEdidHandler)},
    {AVP_MSG_GET_FW, typeid(CBrntCmdGetFirmwareFileHandler)},
    {AVP_MSG_GET_IDENTITY, typeid(CBrntCmdGetIdentityHandler)},
    {AVP_MSG_SEND_UPDATE, typeid(CBrntCmdUpdateHandler)},
    {AVP_MSG_GET_DEVICE, typeid(CBrntCmdGetDeviceHandler)},
    {AVP_MSG_GET_LAYOUT, typeid(CBrntCmdGetMVLayoutHandler)},
    {AVP_MSG_GET_NETSTAT, typeid(CBrntCmdGetNetstatHandler)},
};

class HandlerChoice : public testing::TestWithParam<int> {};

TEST_P(HandlerChoice, FollowsTheTableAndIsUnknownForAllOthers) {
  const auto kind = static_cast<AVP_MSG_E>(GetParam());
  for (const T_OwnHandler& row : kOwnHandlers) {
    if (row.kind != kind) continue;
    EXPECT_EQ(HandlerOf(kind), row.handler);
    return;
  }
  EXPECT_EQ(HandlerOf(kind), typeid(CZpUnknowCmdHandler));
}

INSTANTIATE_TEST_SUITE_P(Kinds, HandlerChoice, testing::Range(0, 39));

// ---- what a command is called

struct T_TypeRow {
  const char* name;
  const char* path;
  const char* body;
  const char* type;
};
const T_TypeRow kTypeRows[] = {
    {"Op", "/api/device/x", "{\"op\":\"stop\"}\n", "stop"},
    {"OpOfFirmwarePath", "/api/firmware", "{\"op\":\"get\"}", "get"},
    {"NoOp", "/api/device/x", "{\"subset\":\"device\"}", "unknown command"},
    {"OpOfAnotherType", "/api/device/x", "{\"op\":5}", "unknown command"},
    {"NullOp", "/api/device/x", "{\"op\":null}", "unknown command"},
    {"NoObject", "/api/device/x", "[1]", "unknown command"},
    {"NoJson", "/api/device/x", "op=stop", "unknown command"},
    {"NoBody", "/api/device/x", "", "NoBody"},
    {"Firmware", "/api/firmware", "", "/api/firmware"},
    {"BelowFirmware", "/api/firmware/x", "", "/api/firmware"},
    {"ShorterPath", "/api/firm", "", "NoBody"},
    {"FirmwareElsewhere", "/x/api/firmware", "", "NoBody"},
    {"NoPath", "", "", "NoBody"},
};

class CmdType : public testing::TestWithParam<T_TypeRow> {};

TEST_P(CmdType, IsReadFromBodyAndPath) {
  CLogCapture log;
  T_ZpCmd cmd;
  cmd.RestAPI = GetParam().path;
  cmd.ReqBody = GetParam().body;
  EXPECT_EQ(CZp2BrntCmdHandler::ParseCmdToGetCmdType(cmd), GetParam().type);
  EXPECT_EQ(log.PriorityOf("Parse Cmd for Type Error: Json Error"), std::string(GetParam().name) == "NoJson" ? 300 : 0);
}

INSTANTIATE_TEST_SUITE_P(Rows, CmdType, testing::ValuesIn(kTypeRows),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- answers that are only logged

class LoggedReply : public testing::TestWithParam<AVP_MSG_E> {
 protected:
  Bool16 Handle(E_Status status, const std::string& reply) {
    m_cmd.eMsgType = GetParam();
    m_cmd.DeviceId = "0016c04e41b2";
    m_cmd.ReqBody = "{\"op\":\"stop\"}\n";
    m_cmd.RspStatus = status;
    m_cmd.RspBody = reply;
    const std::unique_ptr<CZp2BrntCmdHandler> handler(CZp2BrntCmdHandler::CreateCmdHandler(m_cmd, nullptr));
    return handler->ProcessCmd(m_cmd);
  }

  T_ZpCmd m_cmd;
  CLogCapture m_log;
};

TEST_P(LoggedReply, SuccessIsLoggedAsItCame) {
  EXPECT_EQ(Handle(e_status_SUCCESS, R"({"status":"SUCCESS"})"), 1);
  EXPECT_EQ(m_log.PriorityOf(R"( reply from [0016c04e41b2] : [{"status":"SUCCESS"}])"), 600);
}

TEST_P(LoggedReply, ARequestInProgressToo) {
  EXPECT_EQ(Handle(e_status_PROCESSING, R"({"status":"PROCESSING"})"), 1);
  EXPECT_EQ(m_log.PriorityOf(R"( reply from [0016c04e41b2] : [{"status":"PROCESSING"}])"), 600);
}

TEST_P(LoggedReply, ARefusalIsAnErrorWithReasonAndMessage) {
  EXPECT_EQ(Handle(e_status_ERROR, R"({"status":"ERROR","error":{"reason":"VERSION","message":"too old"}})"), 0);
  EXPECT_EQ(m_log.PriorityOf(" [stop] refused by [0016c04e41b2] : reason[VERSION] message[too old]"), 300);
  EXPECT_FALSE(m_log.Contains("reply from"));
}

TEST_P(LoggedReply, ARefusalWithoutWordsIsOneStill) {
  for (const char* reply : {R"({"status":"ERROR","error":null})", "garbage", "Parse Json Error", ""}) {
    m_log.Clear();
    EXPECT_EQ(Handle(e_status_ERROR, reply), 0);
    EXPECT_EQ(m_log.PriorityOf("refused by [0016c04e41b2] : reason[] message[]"), 300) << reply;
  }
}

TEST_P(LoggedReply, NoAnswerIsNotLoggedAgain) {
  EXPECT_EQ(Handle(e_status_UNDEFINED, ""), 0);
  EXPECT_THAT(m_log.Texts(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Kinds, LoggedReply,
                         testing::Values(AVP_MSG_STOP_AV, AVP_MSG_START_AV, AVP_MSG_SUBSCRIBE, AVP_MSG_GET_LAYOUT,
                                         AVP_MSG_GET_NETSTAT, AVP_MSG_LEAVE, AVP_MSG_GET_VERSION));

}  // namespace
