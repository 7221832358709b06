#include "requestcapture.h"

#include <chrono>
#include <ostream>
#include <thread>

#include "brntasynctask.h"
#include "brntcmd.h"
#include "brntproxy.h"
#include "brntsendcmd.h"
#include "rowserver.h"

namespace {

constexpr std::chrono::seconds kPatience(20);
constexpr std::chrono::milliseconds kPoll(5);

void InitFacadeOnce() {
  static CRowServer& server = *new CRowServer;  // the proxy's threads outlive every test
  static T_InitData& initData = *new T_InitData;
  static const bool done = [] {
    server.Answer(R"({"status":"ERROR","request_id":null,"result":null,"error":null})");
    initData.s_deviceid = "000000000000";
    return CBrntCmd::Init("127.0.0.1", server.Port(), &initData) == 1;
  }();
  if (done) CBrntProxy::InitProxy("127.0.0.1", server.Port(), &initData);  // an earlier test may have ended the proxy
}

}  // namespace

bool operator==(const T_Request& a, const T_Request& b) {
  return a.kind == b.kind && a.method == b.method && a.path == b.path && a.body == b.body;
}

std::ostream& operator<<(std::ostream& out, const T_Request& request) {
  constexpr const char* kMethods[] = {"GET", "POST", "DELETE"};
  return out << "\n  " << get_avp_msg_string(request.kind) << " " << kMethods[request.method] << " " << request.path
             << " " << request.body;
}

CRequestCapture::CRequestCapture() {
  InitFacadeOnce();
  CBrntProxy::ClearRetryCmd();
  Take();
}

std::vector<T_Request> CRequestCapture::Take() {
  std::vector<T_Request> requests;
  for (const T_ZpCmd& cmd : CBrntProxy::TakeQueuedCmds()) {
    requests.push_back({cmd.eMsgType, cmd.httpmethod, cmd.RestAPI, cmd.ReqBody});
  }
  return requests;
}

bool CRequestCapture::LeaveAFailedSubscription() {
  Take();
  AsyncTask::SetUpgradeMode(1);  // opens the queue without a text link
  SendCmd2AVP::SendSubscribeCmd(kDevice, "HDMI", 0, "235.0.0.1");
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!FailedSubscriptionWaits() && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(kPoll);
  AsyncTask::SetUpgradeMode(0);
  return FailedSubscriptionWaits();
}

bool CRequestCapture::FailedSubscriptionWaits() { return !CBrntProxy::RetryCmds().empty(); }

T_Request CRequestCapture::Post(AVP_MSG_E kind, const std::string& json) {
  return {kind, e_method_post, std::string("/api/device/") + kDevice, json + "\n"};
}

T_Request CRequestCapture::Any(AVP_MSG_E kind, E_Http_Method method, const std::string& path, const std::string& body) {
  return {kind, method, path, body};
}

T_Request CRequestCapture::Property(AVP_MSG_E kind, const std::string& key, const std::string& value) {
  return Post(kind, R"({"key":")" + key + R"(","op":"set:property","value":)" + value + "}");
}
