// The ground on which commands are tested: a local device in a role, a platform without the world, and what the
// commands queued and logged.
//
// The local device is CRequestCapture::kDevice, whose id is also the hardware address of the sandbox's eth0.
#pragma once

#include <gtest/gtest.h>
#include <json/value.h>

#include <string>
#include <vector>

#include "brnttypes.h"
#include "fakeplatform.h"
#include "logcapture.h"
#include "requestcapture.h"

using CommandOperation = bool (*)(const std::string& id, const Json::Value& json);

// One command and what it must come to in the roles that may give it.
struct T_CommandRow {
  std::string name;
  CommandOperation operation;
  std::string json;
  std::vector<T_Request> requests;
  bool result = true;
};

// Who may give a command, and what becomes of it otherwise.
struct T_RoleRule {
  std::vector<E_DEVICE_MODE> roles;
  std::string refusal;  // the ERROR line
  bool result = false;
};

class CommandFixture : public testing::Test {
 protected:
  static constexpr const char* kId = CRequestCapture::kDevice;

  // Addresses of the streams of the local device, and of the transmitters kTxA and kTxB.
  static constexpr const char* kTxA = "0016c04e21e7";
  static constexpr const char* kTxB = "0016c04e21e8";
  static constexpr const char* kIpA = "192.168.7.31";

  CommandFixture();
  ~CommandFixture() override;

  static void BecomeA(E_DEVICE_MODE role);

  static Json::Value Json(const std::string& text);

  bool Run(CommandOperation operation, const std::string& json) { return operation(kId, Json(json)); }

  // Runs the row in the role and holds it against what it must come to.
  void RunRow(const T_CommandRow& row, const T_RoleRule& rule, E_DEVICE_MODE role);

  std::vector<T_Request> Requests() { return m_requests.Take(); }

  // Everything logged as ERROR.
  std::vector<std::string> Errors() const;

  CFakePlatform m_platform;
  CRequestCapture m_requests;
  CLogCapture m_log;
};

// Requests of the local device that many commands share.
namespace request {

T_Request Subscribe(const std::string& type, int index, const std::string& address);
T_Request Leave(const std::string& type, int index);
T_Request LeaveAll(const std::string& type);
T_Request Start(const std::string& type, int index, const std::string& address);
T_Request Stop(const std::string& type, int index);
T_Request SwitchAddress(const std::string& type, const std::string& address);
T_Request ReceiveEvents(const std::string& type);

}  // namespace request

// "<row>_<role>" for a test over rows and roles.
std::string RowAndRoleName(const testing::TestParamInfo<std::tuple<T_CommandRow, E_DEVICE_MODE>>& info);
