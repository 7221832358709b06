#include "httpclient.h"

#include <httplib.h>

class CHttpClient::C_Impl {
 public:
  explicit C_Impl(int port) : client("127.0.0.1", port) {}
  httplib::Client client;
};

namespace {

T_HttpResult Taken(const httplib::Result& result) {
  T_HttpResult taken;
  if (!result) return taken;
  taken.arrived = true;
  taken.status = result->status;
  taken.body = result->body;
  taken.connection = result->get_header_value("Connection");
  return taken;
}

}  // namespace

CHttpClient::CHttpClient(int port, bool keepAlive) : m_pImpl(std::make_unique<C_Impl>(port)) {
  m_pImpl->client.set_keep_alive(keepAlive);
  m_pImpl->client.set_tcp_nodelay(true);
  m_pImpl->client.set_read_timeout(20);
}

CHttpClient::~CHttpClient() = default;

T_HttpResult CHttpClient::Get(const std::string& path) { return Taken(m_pImpl->client.Get(path)); }

T_HttpResult CHttpClient::Post(const std::string& path, const std::string& body) {
  return Taken(m_pImpl->client.Post(path, body, "application/json"));
}

T_HttpResult CHttpClient::Delete(const std::string& path) { return Taken(m_pImpl->client.Delete(path)); }
