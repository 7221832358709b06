// The answer to a subscription: logged, nothing is kept. The proxy looks after the ones that were refused.
#pragma once

#include "brntcmdhandler.h"

class CBrntCmdSubscribeHandler : public CZp2BrntCmdHandler {
 public:
  CBrntCmdSubscribeHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) : CZp2BrntCmdHandler(cmd, pBatHandler) {}
};
