// The answer to a device read: every device in it is parsed and reported, the EDIDs go to their files.
#pragma once

#include "brntcmdhandler.h"

class CBrntCmdGetDeviceHandler : public CZp2BrntCmdHandler {
 public:
  CBrntCmdGetDeviceHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) : CZp2BrntCmdHandler(cmd, pBatHandler) {}

  Bool16 ProcessCmd(T_ZpCmd& cmd) override;
};
