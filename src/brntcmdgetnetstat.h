// The answer to a read of the network statistics: logged, nothing is kept.
#pragma once

#include "brntcmdhandler.h"

class CBrntCmdGetNetstatHandler : public CZp2BrntCmdHandler {
 public:
  CBrntCmdGetNetstatHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) : CZp2BrntCmdHandler(cmd, pBatHandler) {}
};
