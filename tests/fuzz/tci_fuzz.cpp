// Bytes from the text link: split into lines as the link does, each a notification or not; then the deadline check.
#include <algorithm>
#include <cstdint>
#include <string>

#include "brntcmdnotify.h"
#include "fuzzworld.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzzworld::Enter(*argc, *argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find("\r\n", begin), text.size());
    const std::string line = text.substr(begin, end - begin);
    if (CBrntCmdNotifyHandler::IsNotifyMsg(line)) CBrntCmdNotifyHandler::ProcessNotifyMsg(line);
    begin = end + 2;
  }
  CBrntCmdNotifyHandler::PorcessConEvent();
  return 0;
}
