#include "requestregistry.h"

#include <utility>

#include "opargs.h"
#include "simjson.h"

namespace {

constexpr size_t kKept = 256;
constexpr size_t kOpen = 4096;
constexpr int kHighestId = 0x7ffffffe;

}  // namespace

int CRequestRegistry::Open() {
  m_lastId = m_lastId >= kHighestId ? 1 : m_lastId + 1;
  m_requests[m_lastId] = {};
  if (m_requests.size() > kOpen + kKept) m_requests.erase(m_requests.begin());
  return m_lastId;
}

void CRequestRegistry::Pend(int id, std::string answer, int polls) {
  m_requests[id] = {std::move(answer), false, polls};
}

void CRequestRegistry::Settle(int id) {
  const auto found = m_requests.find(id);
  if (found == m_requests.end() || found->second.settled) return;
  found->second.settled = true;
  Keep(id);
}

void CRequestRegistry::Settle(int id, std::string answer) {
  m_requests[id].answer = std::move(answer);
  Settle(id);
}

void CRequestRegistry::Keep(int id) {
  m_settled.push_back(id);
  while (m_settled.size() > kKept) {
    m_requests.erase(m_settled.front());
    m_settled.pop_front();
  }
}

bool CRequestRegistry::IsOpen(int id) const {
  const auto found = m_requests.find(id);
  return found != m_requests.end() && !found->second.settled;
}

CRequestRegistry::T_Poll CRequestRegistry::Poll(int id) {
  const auto found = m_requests.find(id);
  if (found == m_requests.end()) {
    const T_SimError error = IllegalArgument("Unknown request " + std::to_string(id));
    return {simjson::Envelope("ERROR", std::nullopt, Json::Value(), error), false};
  }
  T_Request& request = found->second;
  if (request.settled) return {request.answer, false};
  if (request.polls != 0) {
    if (request.polls > 0) --request.polls;
    return {simjson::Envelope("PROCESSING", id, Json::Value(), std::nullopt), false};
  }
  const std::string answer = request.answer;
  Settle(id);
  return {answer, true};
}
