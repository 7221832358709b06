// The answer to a start request: logged, nothing is kept.
#pragma once

#include "brntcmdhandler.h"

class CBrntCmdStartHandler : public CZp2BrntCmdHandler {
 public:
  CBrntCmdStartHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) : CZp2BrntCmdHandler(cmd, pBatHandler) {}
};
