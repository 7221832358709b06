// Datagrams from cmd_core, carried out as the master link does, and what they queue for the command worker. The first
// byte chooses a command whose text the others are, so that texts change freely inside sound frames; a byte beyond the
// commands makes the others a datagram as they stand.
#include <cstdint>
#include <string>

#include "brntdevice.h"
#include "fuzzworld.h"
#include "tlv_box.h"
#include "udpcmdprocess.h"

namespace {

constexpr std::size_t kLongestDatagram = 8191;

void TakeRole(std::size_t number) {
  CBrntDevice* device = CBrntDevice::GetBrntDevByID(fuzzworld::kLocalDevice);
  device->m_bTx = number % 3 == 0 ? 1 : 0;
  device->m_bRx = number % 3 == 1 ? 1 : 0;
  device->m_bTRx = number % 3 == 2 ? 1 : 0;
}

std::string Datagram(const std::uint8_t* data, std::size_t size) {
  std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
  if (data[0] >= kCommandTags.size()) return rest;
  std::string datagram;
  tlv_packet(kTlvEnvelopeTag, kCommandTags[data[0]].tag, reinterpret_cast<const unsigned char*>(rest.c_str()),
             static_cast<int>(rest.size() + 1),
             [&](const unsigned char* bytes, int count) { datagram.assign(bytes, bytes + count); });
  return datagram;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  fuzzworld::Enter(*argc, *argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return -1;
  std::string datagram = Datagram(data, size);
  if (datagram.size() > kLongestDatagram) return -1;
  TakeRole(size);
  Msg_Box box;
  box.s_msg = datagram.data();
  box.s_msg_len = static_cast<int>(datagram.size());
  box.s_deviceid = fuzzworld::kLocalDevice;
  DispatchTlv(TlvTaskLists.data(), TlvTaskLists.size(), &box);
  WorkOnce();
  return 0;
}
