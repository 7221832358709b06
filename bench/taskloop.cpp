#include "taskloop.h"

#include <netinet/in.h>

#include <atomic>
#include <utility>

#include "OSThread.h"
#include "ZpIHTask.h"
#include "ZpIHUDPSocket.h"
#include "bareloop.h"

namespace {

// As many pools and threads as the process has for the same two steps.
constexpr int kSendPool = 200;
constexpr int kReceivePool = 201;
constexpr UInt32 kThreadsPerPool = 3;
constexpr int kWatchRead = 1;

class CPostTask : public ZpIHTask<kSendPool> {
 public:
  CPostTask(std::string url, std::string body) : m_strUrl(std::move(url)), m_strBody(std::move(body)) {}

  void Queue() {
    ++m_queued;
    Signal(kStartEvent);
  }

  SInt64 Run() override {
    GetEvents();
    for (UInt32 count = m_queued.exchange(0); count > 0; --count) PostOnNewHandle(m_strUrl, m_strBody);
    return 0;
  }

 private:
  const std::string m_strUrl;
  const std::string m_strBody;
  std::atomic<UInt32> m_queued{0};
};

class CReceiveTask : public ZpIHTask<kReceivePool> {
 public:
  explicit CReceiveTask(CPostTask* pPost) : m_pPost(pPost) {}

  bool Open(std::uint16_t port) {
    if (m_socket.Open() != 0 || m_socket.Bind(INADDR_LOOPBACK, port) != 0) return false;
    m_socket.SetSocketRcvBufSize(kReceiveBuffer);
    m_socket.RequestEvent(kWatchRead);
    return true;
  }

  SInt64 Run() override {
    GetEvents();
    UInt32 address = 0;
    UInt16 port = 0;
    UInt32 got = 0;
    while (m_socket.RecvFrom(&address, &port, m_buffer, sizeof m_buffer, &got) == 0) m_pPost->Queue();
    m_socket.RequestEvent(kWatchRead);
    return 0;
  }

 private:
  CPostTask* const m_pPost;
  ZpIHUDPSocket<kReceivePool> m_socket{this};
  char m_buffer[8192];
};

}  // namespace

CTaskLoop::CTaskLoop(std::uint16_t port, std::string url, std::string body)
    : m_u16Port(port), m_strUrl(std::move(url)), m_strBody(std::move(body)) {}

bool CTaskLoop::Start() {
  OSThread::Initialize();
  ZpIHTaskThreadPool<kSendPool>::AddThreads(kThreadsPerPool);
  ZpIHTaskThreadPool<kReceivePool>::AddThreads(kThreadsPerPool);
  ZpIHSelect<kReceivePool>::select_startevents();
  ZpIHSocket<kReceivePool>::StartThread();
  auto* post = new CPostTask(m_strUrl, m_strBody);  // both belong to the framework
  auto* receive = new CReceiveTask(post);
  return receive->Open(m_u16Port);
}
