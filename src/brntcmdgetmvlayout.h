// The answer to a read of the multiview layouts: logged, nothing is kept.
#pragma once

#include "brntcmdhandler.h"

class CBrntCmdGetMVLayoutHandler : public CZp2BrntCmdHandler {
 public:
  CBrntCmdGetMVLayoutHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) : CZp2BrntCmdHandler(cmd, pBatHandler) {}
};
