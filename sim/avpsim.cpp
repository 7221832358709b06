#include "avpsim.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "apiserver.h"
#include "escape.h"
#include "httpfront.h"
#include "propertykey.h"
#include "samples.h"
#include "simjson.h"
#include "simlog.h"
#include "tcilink.h"

namespace {

constexpr size_t kLinesKept = 65536;

Json::Value StartDocument(const T_AvpSimOptions& options) {
  Json::Value document = options.document.isNull() ? samples::Device(options.role) : options.document;
  if (document.isNull()) throw std::runtime_error("unknown role " + options.role + " (TX, RX or TRX)");
  return document;
}

bool IsMac(const std::string& text) {
  return text.size() == 12 && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

}  // namespace

class CAvpSim::C_Impl {
 public:
  explicit C_Impl(const T_AvpSimOptions& options)
      : m_options(options),
        m_log(options.log),
        m_api(options, [this](const std::string& line) { Notify(line); }),
        m_http(
            [this](const auto& method, const auto& target, const auto& body) { return Serve(method, target, body); }),
        m_tci([this](const std::string& line) { return TakeLine(line); }, [this] { TciChanged(); }) {
    std::string reason;
    if (!m_api.Load(StartDocument(options), reason)) throw std::runtime_error(reason);
    if (options.mac.empty()) return;
    if (!IsMac(options.mac)) throw std::runtime_error("a MAC is 12 hex digits, not " + options.mac);
    m_api.Rename(options.mac);
  }

  ~C_Impl() {
    m_api.Stop();
    StopHttp();
    m_tci.Stop();
  }

  // --- the links ---
  bool StartHttp() {
    const std::lock_guard<std::mutex> guard(m_mutexStart);
    {
      const std::lock_guard<std::mutex> state(m_mutex);
      m_bHttpStopping = false;
    }
    const int port = m_http.Port() > 0 ? m_http.Port() : m_options.httpPort;
    if (m_http.Start(m_options.ip, port)) {
      const std::lock_guard<std::mutex> state(m_mutex);
      m_iHttpPort = m_http.Port();
      return true;
    }
    m_log.Message("HTTP", "!!", "cannot listen on " + m_options.ip + ":" + std::to_string(port));
    return false;
  }

  void StopHttp() {
    const std::lock_guard<std::mutex> guard(m_mutexStart);
    {
      const std::lock_guard<std::mutex> state(m_mutex);
      m_bHttpStopping = true;
    }
    m_cond.notify_all();
    m_http.Stop();
  }

  bool StartTci() {
    const int port = m_tci.Port() > 0 ? m_tci.Port() : m_options.tciPort;
    if (m_tci.Start(m_options.ip, port)) return true;
    m_log.Message("TCI", "!!", "cannot listen on " + m_options.ip + ":" + std::to_string(port));
    return false;
  }

  int HttpPort() const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_iHttpPort;
  }

  CTciLink& Tci() { return m_tci; }
  CApiServer& Api() { return m_api; }

  // --- requests ---
  std::vector<T_SimRequest> Requests(const T_RequestMatcher& matcher) const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    std::vector<T_SimRequest> found;
    std::copy_if(m_requests.begin(), m_requests.end(), std::back_inserter(found), matcher);
    return found;
  }

  size_t RequestCount() const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_requestCount;
  }

  void ClearRequests() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_requests.clear();
    m_requestCount = 0;
  }

  std::optional<T_SimRequest> WaitForRequest(const T_RequestMatcher& matcher, int timeoutMs) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    std::optional<T_SimRequest> found;
    m_cond.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
      const auto first = std::find_if(m_requests.begin(), m_requests.end(), matcher);
      if (first != m_requests.end()) found = *first;
      return found.has_value();
    });
    return found;
  }

  bool WaitForRequests(size_t count, int timeoutMs) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_cond.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] { return m_requestCount >= count; });
  }

  bool WaitForRequests(size_t count, const T_RequestMatcher& matcher, int timeoutMs) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_cond.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
      return static_cast<size_t>(std::count_if(m_requests.begin(), m_requests.end(), matcher)) >= count;
    });
  }

  void Script(const T_RequestMatcher& matcher, const T_SimAnswer& answer, int times) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_scripts.push_back({matcher, answer, times});
  }

  void ClearScripts() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_scripts.clear();
  }

  // --- TCI ---
  std::vector<std::string> TciLines() const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return {m_lines.begin(), m_lines.end()};
  }

  void ClearTciLines() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_lines.clear();
  }

  void DropTciAt(const std::string& prefix) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_dropAt = prefix;
  }

  std::optional<std::string> WaitForTciLine(const std::string& prefix, int timeoutMs) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    std::optional<std::string> found;
    m_cond.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
      for (const std::string& line : m_lines) {
        if (!found && line.rfind(prefix, 0) == 0) found = line;
      }
      return found.has_value();
    });
    return found;
  }

  // Sessions are counted by the link; its changes wake whoever waits here.
  bool WaitForTci(const std::function<bool()>& condition, int timeoutMs) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_cond.wait_for(lock, std::chrono::milliseconds(timeoutMs), condition);
  }

  void Push(const std::string& line) {
    LogLine("TCI", "->", line);
    m_tci.Push(line, false);
  }

  void PushRaw(const std::string& bytes) {
    LogLine("TCI", "->", bytes);
    m_tci.PushRaw(bytes);
  }

 private:
  struct T_Script {
    T_RequestMatcher matcher;
    T_SimAnswer answer;
    int times;  // left; 0: for ever
  };

  void LogLine(const char* link, const char* direction, const std::string& text) {
    const size_t limit = m_options.logLimit;
    if (limit == 0 || text.size() <= limit) return m_log.Message(link, direction, text);
    m_log.Message(link, direction, text.substr(0, limit) + "... (" + std::to_string(text.size()) + " bytes)");
  }

  void LogRequest(const T_SimRequest& request) {
    if (m_options.log) LogLine("HTTP", "<-", request.Line());
  }

  T_HttpReply Serve(const std::string& method, const std::string& target, const std::string& body) {
    T_SimRequest request{method, target, body, simjson::Parse(body).value_or(Json::Value()), T_SimClock::now()};
    LogRequest(request);
    const T_SimAnswer answer = Record(request);
    if (answer.iDelayMs > 0) Delay(answer.iDelayMs);
    T_HttpReply reply = Reply(request, answer);
    LogReply(reply);
    return reply;
  }

  // Records the request and takes the script for it, in one step: scripts follow the order of the record.
  T_SimAnswer Record(const T_SimRequest& request) {
    T_SimAnswer answer;
    {
      const std::lock_guard<std::mutex> guard(m_mutex);
      m_requests.push_back(request);
      ++m_requestCount;
      if (m_requests.size() > m_options.requestsKept) m_requests.pop_front();
      const auto script = std::find_if(m_scripts.begin(), m_scripts.end(),
                                       [&](const T_Script& candidate) { return candidate.matcher(request); });
      if (script != m_scripts.end()) {
        answer = script->answer;
        if (script->times > 0 && --script->times == 0) m_scripts.erase(script);
      }
    }
    m_cond.notify_all();
    return answer;
  }

  void Delay(int ms) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_cond.wait_for(lock, std::chrono::milliseconds(ms), [&] { return m_bHttpStopping; });
  }

  T_HttpReply Reply(const T_SimRequest& request, const T_SimAnswer& answer) {
    switch (answer.eKind) {
      case e_answer_body:
        return {answer.iHttpStatus, answer.strBody, e_http_whole};
      case e_answer_hangup:
        return {200, "", e_http_hangup};
      case e_answer_raw:
        return {200, answer.strBody, e_http_raw};
      default:
        break;
    }
    const CApiServer::T_Reply reply = m_api.Answer(request, answer);
    return {reply.status, reply.body, answer.eKind == e_answer_half ? e_http_half : e_http_whole};
  }

  void LogReply(const T_HttpReply& reply) {
    if (!m_options.log) return;
    const std::string status = reply.status == 200 ? "" : std::to_string(reply.status) + " ";
    switch (reply.fault) {
      case e_http_whole:
        return LogLine("HTTP", "->", status + reply.body);
      case e_http_hangup:
        return LogLine("HTTP", "->", "(hangs up)");
      case e_http_half:
        return LogLine("HTTP", "->", "(half of) " + status + reply.body);
      case e_http_raw:
        return LogLine("HTTP", "->", "(no HTTP) " + reply.body);
    }
  }

  CTciLink::T_Answer TakeLine(const std::string& line) {
    LogLine("TCI", "<-", line);
    bool drop = false;
    {
      const std::lock_guard<std::mutex> guard(m_mutex);
      m_lines.push_back(line);
      if (m_lines.size() > kLinesKept) m_lines.pop_front();
      drop = m_dropAt && line.rfind(*m_dropAt, 0) == 0;
      if (drop) m_dropAt.reset();
    }
    m_cond.notify_all();
    CTciLink::T_Answer answer;
    if (drop) {
      answer.bDrop = true;
      LogLine("TCI", "->", "(hangs up)");
    } else {
      answer = m_api.AnswerLine(line);
      LogLine("TCI", "->", answer.line);
    }
    return answer;
  }

  void TciChanged() {
    { const std::lock_guard<std::mutex> guard(m_mutex); }  // who is about to wait has looked already, or will look anew
    m_cond.notify_all();
  }

  void Notify(const std::string& line) {
    if (m_tci.Push(line, true) > 0) LogLine("TCI", "->", line);
  }

  const T_AvpSimOptions m_options;
  CSimLog m_log;

  std::mutex m_mutexStart;     // starts and stops of HTTP; guards what m_http says of itself
  mutable std::mutex m_mutex;  // guards the rest
  mutable std::condition_variable m_cond;
  std::deque<T_SimRequest> m_requests;
  size_t m_requestCount = 0;
  std::list<T_Script> m_scripts;
  std::deque<std::string> m_lines;
  std::optional<std::string> m_dropAt;
  bool m_bHttpStopping = false;
  int m_iHttpPort = 0;

  CApiServer m_api;  // the links come last: their threads use the others
  CHttpFront m_http;
  CTciLink m_tci;
};

CAvpSim::CAvpSim(const T_AvpSimOptions& options) : m_pImpl(std::make_unique<C_Impl>(options)) {}
CAvpSim::~CAvpSim() = default;

bool CAvpSim::Start() {
  const bool http = StartHttp();
  const bool tci = StartTci();
  return http && tci;
}

void CAvpSim::Stop() {
  StopHttp();
  StopTci();
}

bool CAvpSim::StartHttp() { return m_pImpl->StartHttp(); }
void CAvpSim::StopHttp() { m_pImpl->StopHttp(); }
bool CAvpSim::StartTci() { return m_pImpl->StartTci(); }
void CAvpSim::StopTci() { m_pImpl->Tci().Stop(); }
int CAvpSim::HttpPort() const { return m_pImpl->HttpPort(); }
int CAvpSim::TciPort() const { return m_pImpl->Tci().Port(); }

std::vector<T_SimRequest> CAvpSim::Requests() const { return m_pImpl->Requests(simmatch::Any()); }
std::vector<T_SimRequest> CAvpSim::Requests(const T_RequestMatcher& matcher) const {
  return m_pImpl->Requests(matcher);
}
size_t CAvpSim::RequestCount() const { return m_pImpl->RequestCount(); }
void CAvpSim::ClearRequests() { m_pImpl->ClearRequests(); }

std::optional<T_SimRequest> CAvpSim::WaitForRequest(const T_RequestMatcher& matcher, int timeoutMs) const {
  return m_pImpl->WaitForRequest(matcher, timeoutMs);
}

bool CAvpSim::WaitForRequests(size_t count, int timeoutMs) const { return m_pImpl->WaitForRequests(count, timeoutMs); }

bool CAvpSim::WaitForRequests(size_t count, const T_RequestMatcher& matcher, int timeoutMs) const {
  return m_pImpl->WaitForRequests(count, matcher, timeoutMs);
}

void CAvpSim::Script(const T_RequestMatcher& matcher, const T_SimAnswer& answer, int times) {
  m_pImpl->Script(matcher, answer, times);
}

void CAvpSim::ClearScripts() { m_pImpl->ClearScripts(); }

std::vector<std::string> CAvpSim::TciLines() const { return m_pImpl->TciLines(); }
void CAvpSim::ClearTciLines() { m_pImpl->ClearTciLines(); }

std::optional<std::string> CAvpSim::WaitForTciLine(const std::string& prefix, int timeoutMs) const {
  return m_pImpl->WaitForTciLine(prefix, timeoutMs);
}

bool CAvpSim::WaitForTciSessions(size_t count, int timeoutMs) const {
  return m_pImpl->WaitForTci([&] { return m_pImpl->Tci().Sessions() == count; }, timeoutMs);
}

bool CAvpSim::WaitForAsync(int timeoutMs) const {
  return m_pImpl->WaitForTci([&] { return m_pImpl->Tci().AsyncSessions() > 0; }, timeoutMs);
}

void CAvpSim::PushLine(const std::string& line) { m_pImpl->Push(line); }
void CAvpSim::PushRaw(const std::string& bytes) { m_pImpl->PushRaw(bytes); }
void CAvpSim::SetTciSplitMs(int ms) { m_pImpl->Tci().SetSplitMs(ms); }
void CAvpSim::DropTci() { m_pImpl->Tci().DropAll(); }
void CAvpSim::DropTciAt(const std::string& prefix) { m_pImpl->DropTciAt(prefix); }
void CAvpSim::SetTciRefuse(bool refuse) { m_pImpl->Tci().SetRefuse(refuse); }

int CAvpSim::PushEvent(const std::string& type, const std::string& deviceId, const Json::Value& result) {
  return m_pImpl->Api().PushEvent(type, deviceId, result);
}

int CAvpSim::PushEventWithAnswer(const std::string& type, const std::string& deviceId, const T_SimAnswer& answer) {
  return m_pImpl->Api().PushEventWithAnswer(type, deviceId, answer);
}

int CAvpSim::ReceiveRs232(const std::string& bytes, const std::string& deviceId) {
  const std::string id = m_pImpl->Api().KnownId(deviceId);
  Json::Value entry;
  entry["device_id"] = id;
  entry["rs232_data"] = escape::Escape(bytes);
  entry["stream_idx"] = 0;
  Json::Value result;
  result["rs232"].append(entry);
  return PushEvent("RS232_RECEIVED", id, result);
}

int CAvpSim::ReceiveInfrared(const std::string& hex, const std::string& deviceId) {
  const std::string id = m_pImpl->Api().KnownId(deviceId);
  Json::Value entry;
  entry["device_id"] = id;
  entry["infrared_data"] = hex;
  entry["stream_idx"] = 0;
  Json::Value result;
  result["infrared"].append(entry);
  return PushEvent("INFRARED_RECEIVED", id, result);
}

int CAvpSim::ReceiveCec(const std::string& hex, const std::string& deviceId) {
  const std::string id = m_pImpl->Api().KnownId(deviceId);
  Json::Value entry;
  entry["device_id"] = id;
  entry["cec_data"] = hex;
  Json::Value result;
  result["cec"].append(entry);
  return PushEvent("CEC_RECEIVED", id, result);
}

int CAvpSim::PushSettingsChanged(const std::string& deviceId) { return m_pImpl->Api().PushSettingsChanged(deviceId); }

std::string CAvpSim::DeviceId() const { return m_pImpl->Api().FirstId(); }
Json::Value CAvpSim::Device(const std::string& deviceId) const { return m_pImpl->Api().Device(deviceId); }

bool CAvpSim::AddDevice(const Json::Value& document) {
  std::string reason;
  return m_pImpl->Api().Load(document, reason);
}

bool CAvpSim::Set(const std::string& key, const Json::Value& value, const std::string& deviceId) {
  return m_pImpl->Api().Change(deviceId, [&](T_Device& device) {
    Json::Value* member = propertykey::Find(device.document, key);
    if (member != nullptr) *member = value;
    return member != nullptr;
  });
}

std::optional<Json::Value> CAvpSim::Get(const std::string& key, const std::string& deviceId) const {
  return m_pImpl->Api().Get(key, deviceId);
}

bool CAvpSim::WaitForValue(const std::string& key, const Json::Value& value, int timeoutMs,
                           const std::string& deviceId) const {
  return m_pImpl->Api().WaitForValue(key, value, deviceId, timeoutMs);
}

bool CAvpSim::SetSource(const std::string& timing, const std::string& deviceId) {
  return m_pImpl->Api().Change(
      deviceId, [&](T_Device& device) { return signals::SetSource(device.document, device.defaults, timing); });
}

bool CAvpSim::SetMonitor(bool connected, const std::string& deviceId) {
  return m_pImpl->Api().Change(
      deviceId, [&](T_Device& device) { return signals::SetMonitor(device.document, device.defaults, connected); });
}

void CAvpSim::Disconnect(const std::string& deviceId) { m_pImpl->Api().Disconnect(deviceId); }
void CAvpSim::Connect(const std::string& deviceId) { m_pImpl->Api().Connect(deviceId); }
void CAvpSim::SetHung(bool hung) { m_pImpl->Api().SetHung(hung); }
void CAvpSim::SetUpdateOutcome(E_UpdateOutcome outcome) { m_pImpl->Api().SetUpdateOutcome(outcome); }
void CAvpSim::SetFirmware(const Json::Value& packages) { m_pImpl->Api().SetFirmware(packages); }
void CAvpSim::SetProcessing(const T_SimAnswer& way) { m_pImpl->Api().SetWay(way); }
std::vector<T_SentData> CAvpSim::SentData() const { return m_pImpl->Api().SentData(); }

bool CAvpSim::WaitForSentData(size_t count, int timeoutMs) const {
  return m_pImpl->Api().WaitForSentData(count, timeoutMs);
}
