// The answers of all request kinds without a handler of their own: logged, nothing is kept.
#pragma once

#include "brntcmdhandler.h"

class CZpUnknowCmdHandler : public CZp2BrntCmdHandler {
 public:
  CZpUnknowCmdHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) : CZp2BrntCmdHandler(cmd, pBatHandler) {}
};
