#include "bareloop.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <utility>

namespace {

size_t Append(char* data, size_t size, size_t count, void* text) {
  static_cast<std::string*>(text)->append(data, size * count);
  return size * count;
}

}  // namespace

void PostOnNewHandle(const std::string& url, const std::string& body) {
  CURL* handle = curl_easy_init();
  if (handle == nullptr) return;
  std::string answer;
  curl_slist* headers = curl_slist_append(nullptr, "Content-Type: application/json");
  curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_PROXY, "");
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(handle, CURLOPT_POST, 1L);
  curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.c_str());
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, Append);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &answer);
  curl_easy_perform(handle);
  curl_slist_free_all(headers);
  curl_easy_cleanup(handle);
}

CBareLoop::CBareLoop(std::uint16_t port, std::string url, std::string body)
    : m_u16Port(port), m_strUrl(std::move(url)), m_strBody(std::move(body)) {}

CBareLoop::~CBareLoop() {
  m_bStop = true;
  if (m_thread.joinable()) m_thread.join();
  if (m_iSocket >= 0) close(m_iSocket);
}

bool CBareLoop::Start() {
  m_iSocket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  setsockopt(m_iSocket, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
  const timeval patience{0, 100'000};  // to see the stop
  setsockopt(m_iSocket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(m_u16Port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(m_iSocket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return false;
  m_thread = std::thread([this] { Run(); });
  return true;
}

double CBareLoop::CpuUs() {
  clockid_t clock{};
  timespec used{};
  if (pthread_getcpuclockid(m_thread.native_handle(), &clock) != 0 || clock_gettime(clock, &used) != 0) return 0;
  return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

void CBareLoop::Run() {
  char buffer[8192];
  while (!m_bStop) {
    if (recvfrom(m_iSocket, buffer, sizeof buffer, 0, nullptr, nullptr) > 0) PostOnNewHandle(m_strUrl, m_strBody);
  }
}
