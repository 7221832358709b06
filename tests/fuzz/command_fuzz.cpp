// Datagrams from cmd_core, carried out as the master link does, and what they queue for the command worker.
#include <cstdint>
#include <string>

#include "brntdevice.h"
#include "fuzzworld.h"
#include "udpcmdprocess.h"

namespace {

constexpr std::size_t kLongestDatagram = 8191;

void TakeRole(std::size_t number) {
  CBrntDevice* device = CBrntDevice::GetBrntDevByID(fuzzworld::kLocalDevice);
  device->m_bTx = number % 3 == 0 ? 1 : 0;
  device->m_bRx = number % 3 == 1 ? 1 : 0;
  device->m_bTRx = number % 3 == 2 ? 1 : 0;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzzworld::Enter(*argc, *argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLongestDatagram) return -1;
  TakeRole(size);
  std::string datagram(reinterpret_cast<const char*>(data), size);
  Msg_Box box;
  box.s_msg = datagram.data();
  box.s_msg_len = static_cast<int>(size);
  box.s_deviceid = fuzzworld::kLocalDevice;
  DispatchTlv(TlvTaskLists.data(), TlvTaskLists.size(), &box);
  WorkOnce();
  return 0;
}
