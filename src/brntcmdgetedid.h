// The answer to an EDID read: the EDIDs go to their files.
#pragma once

#include "brntcmdhandler.h"

class CBrntCmdGetEdidHandler : public CZp2BrntCmdHandler {
 public:
  CBrntCmdGetEdidHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler) : CZp2BrntCmdHandler(cmd, pBatHandler) {}

  Bool16 ProcessCmd(T_ZpCmd& cmd) override;
};
