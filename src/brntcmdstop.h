// The answer to a stop request: logged, nothing is kept.
#pragma once

#include "brntcmdhandler.h"

class CBrntCmdStopHandler : public CZp2BrntCmdHandler {
 public:
  CBrntCmdStopHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) : CZp2BrntCmdHandler(cmd, pBatHandler) {}
};
