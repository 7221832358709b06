// The answer to an identity read: the build name of the running firmware goes to each device.
#pragma once

#include "brntcmdhandler.h"

class CBrntCmdGetIdentityHandler : public CZp2BrntCmdHandler {
 public:
  CBrntCmdGetIdentityHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) : CZp2BrntCmdHandler(cmd, pBatHandler) {}

  Bool16 ProcessCmd(T_ZpCmd& cmd) override;
};
