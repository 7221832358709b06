// Answers of the API server, as the answer to a request of every kind and as the outcome of an event of every type. The
// first byte chooses which.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "brntcmdhandler.h"
#include "brntevmsgprocess.h"
#include "brntparsersp.h"
#include "fuzzworld.h"

namespace {

#define AVP_MSG_COUNT(name, value) +1
constexpr unsigned kRequestKinds = 0 AVP_MSG_LIST(AVP_MSG_COUNT);
#undef AVP_MSG_COUNT

constexpr std::array<std::string_view, 4> kEventTypes = {"RS232_RECEIVED", "INFRARED_RECEIVED", "SETTINGS_CHANGED",
                                                         "DEVICE_DISCONNECTED"};

void AnswerRequest(AVP_MSG_E kind, const std::string& text) {
  T_ZpCmd cmd;
  cmd.eMsgType = kind;
  cmd.u32CmdSeq = 1;
  cmd.DeviceId = fuzzworld::kLocalDevice;
  cmd.RspBody = text;
  T_BrntRsp rsp;
  cmd.RspStatus = ParseJsonRsp::ParseRsp(text, &rsp) ? rsp.eRspStatus : e_status_ERROR;
  const std::unique_ptr<CZp2BrntCmdHandler> handler(CZp2BrntCmdHandler::CreateCmdHandler(cmd, nullptr));
  if (handler != nullptr) handler->ProcessCmd(cmd);
}

void EndEvent(std::string_view type, const std::string& text) {
  const std::unique_ptr<CBrntEventHandler> handler = CreateEventHandler(type);
  if (handler == nullptr) std::abort();
  T_BrntEvent event;
  event.strDevID = fuzzworld::kLocalDevice;
  event.strEventType = type;
  event.s32ReqID = 1;
  handler->Init(event);
  handler->DoResponse(text, e_status_SUCCESS);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzzworld::Enter(*argc, *argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return -1;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  const unsigned which = data[0] % (kRequestKinds + kEventTypes.size());
  if (which < kRequestKinds) {
    AnswerRequest(static_cast<AVP_MSG_E>(which), text);
  } else {
    EndEvent(kEventTypes[which - kRequestKinds], text);
  }
  return 0;
}
