// The answer to a firmware update: the device learns that it is done.
#pragma once

#include "brntcmdhandler.h"

class CBrntCmdUpdateHandler : public CZp2BrntCmdHandler {
 public:
  CBrntCmdUpdateHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) : CZp2BrntCmdHandler(cmd, pBatHandler) {}

  Bool16 ProcessCmd(T_ZpCmd& cmd) override;
};
