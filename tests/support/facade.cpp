#include "facade.h"

#include "brntcmd.h"
#include "brntproxy.h"
#include "brnttypes.h"

CRowServer& FacadeServer() {
  static CRowServer& server = *new CRowServer;  // the proxy's threads outlive every test
  static T_InitData& initData = *new T_InitData;
  static const bool started = [] {
    initData.s_deviceid = "000000000000";
    initData.s_mode = e_RX;
    CBrntCmd::Init("127.0.0.1", server.Port(), &initData);
    CBrntProxy::TakeQueuedCmds();
    return true;
  }();
  static_cast<void>(started);
  server.Reset();
  return server;
}
