#include "brntreportsocket.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <memory>

#include "OSMutex.h"
#include "brntlog.h"
#include "msg_tags.h"
#include "tlv_box.h"

std::atomic<int> g_reportsocket{-1};
sockaddr_in g_reportaddr{};

namespace {

constexpr std::uint16_t kReportPort = 9993;

using BoxPtr = std::unique_ptr<tlv_box_t, int (*)(tlv_box_t*)>;

BoxPtr CreateBox() { return BoxPtr(tlv_box_create(), tlv_box_destroy); }

// Creates the socket once; false when the system has none to give.
bool CreateSocketOnce() {
  static OSMutex& s_objMutex = *new OSMutex;  // outlives every thread
  const OSMutexLocker lock(s_objMutex);
  if (g_reportsocket != -1) return true;
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd == -1) return false;
  g_reportaddr.sin_family = AF_INET;
  g_reportaddr.sin_port = htons(kReportPort);
  g_reportaddr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  g_reportsocket = fd;  // the address is complete for whoever sees it
  return true;
}

const T_ReportTag* FindTag(E_Event_Type type) {
  for (const T_ReportTag& tag : kReportTags) {
    if (tag.kind == type) return &tag;
  }
  return nullptr;
}

void SendDatagram(const unsigned char* bytes, int size) {
  ssize_t sent = 0;
  do {
    sent = sendto(g_reportsocket, bytes, static_cast<std::size_t>(size), MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr*>(&g_reportaddr), sizeof g_reportaddr);
  } while (sent == -1 && errno == EINTR);
  if (sent == -1) HLOG_ERROR("send report of %d bytes failed: %d", size, errno);
}

}  // namespace

int ReportAsyncInit() {
  if (g_reportsocket != -1 || CreateSocketOnce()) return 1;
  HLOG_ERROR("Creat Async Report Socket Error!!!");
  return 0;
}

void SendReportBox(tlv_box_t* inner) {
  if (tlv_box_serialize(inner) != 0) {
    SendDatagram(nullptr, 0);  // Deliberate: cmd_core is told of a report without contents.
    return;
  }
  const BoxPtr outer = CreateBox();
  tlv_box_put_object(outer.get(), kTlvEnvelopeTag, inner);
  tlv_box_serialize(outer.get());
  SendDatagram(tlv_box_get_buffer(outer.get()), tlv_box_get_size(outer.get()));
}

void ReportAsyncMsg(E_Event_Type type, std::string text) {
  if (ReportAsyncInit() == 0) return;
  const BoxPtr inner = CreateBox();
  if (const T_ReportTag* tag = FindTag(type)) {
    tlv_box_put_string(inner.get(), tag->tag, text.c_str());
    HLOG_INFO("Send Msg To cmd_core : [%s type] -- [%s]", tag->logName.data(), text.c_str());
  }
  SendReportBox(inner.get());
}
