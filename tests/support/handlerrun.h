// Runs an answer through the handler of its kind, as the proxy does.
#pragma once

#include <memory>
#include <string>

#include "brntcmdhandler.h"
#include "brnttypes.h"

// Returns the command as the handler left it; result, when not null, gets what the handler
// said.
inline T_ZpCmd HandleReply(AVP_MSG_E kind, const std::string& deviceId, const std::string& reply,
                           E_Status status = e_status_SUCCESS, Bool16* result = nullptr) {
  T_ZpCmd cmd;
  cmd.eMsgType = kind;
  cmd.DeviceId = deviceId;
  cmd.RestAPI = "/api/device/" + deviceId;
  cmd.RspBody = reply;
  cmd.RspStatus = status;
  const std::unique_ptr<CZp2BrntCmdHandler> handler(CZp2BrntCmdHandler::CreateCmdHandler(cmd, nullptr));
  const Bool16 handled = handler->ProcessCmd(cmd);
  if (result != nullptr) *result = handled;
  return cmd;
}
