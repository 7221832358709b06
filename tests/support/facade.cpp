#include "facade.h"

#include "brntclient.h"
#include "brntcmd.h"
#include "brntproxy.h"
#include "brnttypes.h"

namespace {

// Both outlive every test, as the proxy's threads do.
CRowServer& Server() {
  static CRowServer& server = *new CRowServer;
  return server;
}

T_InitData& InitData() {
  static T_InitData& initData = *new T_InitData;
  initData.s_deviceid = "000000000000";
  initData.s_mode = e_RX;
  return initData;
}

}  // namespace

CRowServer& FacadeServer() {
  static const int started = CBrntCmd::Init("127.0.0.1", Server().Port(), &InitData());
  static_cast<void>(started);
  CBrntProxy::InitProxy("127.0.0.1", Server().Port(), &InitData());  // a test may have ended the one there was
  CBrntProxy::TakeQueuedCmds();
  Server().Reset();
  return Server();
}

void RestoreClient() {
  FacadeServer();
  CBrntClient::Init("127.0.0.1", Server().Port(), &InitData());
  CBrntProxy::TakeQueuedCmds();
}
