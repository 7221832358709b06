// The answer to a firmware listing: the package's name and whether it suits a production update go to the device.
#pragma once

#include "brntcmdhandler.h"

class CBrntCmdGetFirmwareFileHandler : public CZp2BrntCmdHandler {
 public:
  CBrntCmdGetFirmwareFileHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler)
      : CZp2BrntCmdHandler(cmd, pBatHandler) {}

  Bool16 ProcessCmd(T_ZpCmd& cmd) override;
};
