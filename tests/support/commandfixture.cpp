#include "commandfixture.h"

#include <algorithm>
#include <tuple>

#include "brntcmdworker.h"
#include "brntdevice.h"
#include "brntjson.h"
#include "brntmanageavpip.h"
#include "reusehanler.h"

namespace {

constexpr int kErrorPriority = 300;

const char* RoleName(E_DEVICE_MODE role) {
  switch (role) {
    case e_TX:
      return "TX";
    case e_RX:
      return "RX";
    case e_TRX:
      return "TRX";
    default:
      return "NoRole";
  }
}

void ForgetAssociations() {
  CBrntDevice* local = CBrntDevice::GetBrntDevByID(CRequestCapture::kDevice);
  OSMutexLocker locker(local->m_objMutex);
  local->m_avpdeviceid.clear();
  local->m_RxHdcpMode.clear();
  local->m_RxScaler.clear();
  local->m_TxHdcpCapability.clear();
}

void EmptyWorkerQueues() {
  IR_CMD_T cmd;
  while (GetIrCmd(cmd) != 0) {
  }
  TIMER_EVENT_T event;
  while (GetTimerEvent(event) != 0) {
  }
}

}  // namespace

CommandFixture::CommandFixture() {
  threadCreated = true;  // what is queued for the worker stays there
  ForgetAssociations();
  EmptyWorkerQueues();
  ReuseHanler::LastVWStretchType = "STRETCH";
  AvpIpManage::UpdateFromTxtString(std::string(R"({"deviceid":")") + kTxA + R"(","avpip":")" + kIpA + R"("})");
  BecomeA(e_RX);
  m_log.Clear();
}

CommandFixture::~CommandFixture() { EmptyWorkerQueues(); }

void CommandFixture::BecomeA(E_DEVICE_MODE role) {
  CBrntDevice* local = CBrntDevice::GetBrntDevByID(kId);
  local->m_bTx = role == e_TX;
  local->m_bRx = role == e_RX;
  local->m_bTRx = role == e_TRX;
}

Json::Value CommandFixture::Json(const std::string& text) {
  Json::Value json;
  EXPECT_TRUE(brntjson::Parse(text, json)) << text;
  return json;
}

void CommandFixture::RunRow(const T_CommandRow& row, const T_RoleRule& rule, E_DEVICE_MODE role) {
  BecomeA(role);
  const bool allowed = std::find(rule.roles.begin(), rule.roles.end(), role) != rule.roles.end();
  EXPECT_EQ(Run(row.operation, row.json), allowed ? row.result : rule.result);
  EXPECT_EQ(Requests(), allowed ? row.requests : std::vector<T_Request>());
  if (allowed) return;
  EXPECT_EQ(Errors(), std::vector<std::string>{rule.refusal});
}

std::vector<std::string> CommandFixture::Errors() const {
  std::vector<std::string> errors;
  for (const T_LogLine& line : m_log.Lines()) {
    if (line.priority == kErrorPriority) errors.push_back(line.text);
  }
  return errors;
}

namespace request {

namespace {

std::string Index(int index) { return std::to_string(index); }

}  // namespace

T_Request Subscribe(const std::string& type, int index, const std::string& address) {
  return CRequestCapture::Post(AVP_MSG_SUBSCRIBE, R"({"op":"subscribe","source_address":")" + address +
                                                      R"(","subscription_index":)" + Index(index) +
                                                      R"(,"subscription_type":")" + type + R"("})");
}

T_Request Leave(const std::string& type, int index) {
  return CRequestCapture::Post(AVP_MSG_LEAVE, R"({"op":"leave","subscription_index":)" + Index(index) +
                                                  R"(,"subscription_type":")" + type + R"("})");
}

T_Request LeaveAll(const std::string& type) {
  return CRequestCapture::Post(AVP_MSG_LEAVE, R"({"op":"leave","subscription_type":")" + type + R"("})");
}

T_Request Start(const std::string& type, int index, const std::string& address) {
  return CRequestCapture::Post(AVP_MSG_START_AV, R"({"dest_address":")" + address +
                                                     R"(","op":"start","stream_index":)" + Index(index) +
                                                     R"(,"stream_type":")" + type + R"("})");
}

T_Request Stop(const std::string& type, int index) {
  return CRequestCapture::Post(AVP_MSG_STOP_AV, R"({"free":true,"op":"stop","stream_index":)" + Index(index) +
                                                    R"(,"stream_type":")" + type + R"("})");
}

T_Request SwitchAddress(const std::string& type, const std::string& address) {
  return CRequestCapture::Post(AVP_MSG_SWITCHADDR, R"({"dest_address":")" + address +
                                                       R"(","op":"switch:address","stream_index":0,"stream_type":")" +
                                                       type + R"("})");
}

T_Request ReceiveEvents(const std::string& type) {
  return CRequestCapture::Post(AVP_MSG_SERIAL_SWITCH,
                               R"({"op":"switch:api","stream_index":0,"stream_type":")" + type + R"("})");
}

}  // namespace request

std::string RowAndRoleName(const testing::TestParamInfo<std::tuple<T_CommandRow, E_DEVICE_MODE>>& info) {
  return std::get<0>(info.param).name + "_" + RoleName(std::get<1>(info.param));
}
