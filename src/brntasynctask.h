// The text link to the AV processor's API server (TCP 127.0.0.1:6970) and what others ask of it.
//
// The link sends a few set-up commands and receives notification lines, which go to CBrntCmdNotifyHandler. It waits for
// cmd_core to be online before it connects, and reconnects for as long as the process lives. The report socket's names
// (ReportAsyncMsg and its kin) come with this header, too.
#pragma once

#include <string>

#include "OSTypes.h"
#include "brntreportsocket.h"
#include "brnttypes.h"

// The one link of the process, for everybody else. All static; any thread.
class AsyncTask {
 public:
  // Creates the link and starts it. 1.
  static int Init(const std::string& host, UInt16 port, const char* mac, E_DEVICE_MODE mode);

  // Ends the link, if there is one; nobody does in the running process.
  static void UnInit();

  // Sends one line, "\r\n" added unless it is there. 1 when it was sent whole, else 0 with an ERROR line.
  static Bool16 SendReq(const std::string& text);

  // 1 when API requests may be sent: the link's set-up has been tried, or the process runs in upgrade mode, which does
  // without the link. Else 0.
  static int GetTciInitStatus();

  static void SetUpgradeMode(int mode);
  static int GetUpgradeMode();
};

// Creates and starts the link to 127.0.0.1:6970. 1.
int StartDoAsyncMsg(const char* mac, E_DEVICE_MODE mode);
