#include "apiserver.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <chrono>

#include "netstat.h"
#include "opargs.h"
#include "propertykey.h"
#include "samples.h"
#include "simjson.h"

namespace {

constexpr size_t kSentKept = 65536;
const T_SimError kDisconnected{"DEVICE_DISCONNECTED", "Device is not connected"};

T_SimError UnknownCommand(const std::string& what) { return {"PROTOCOL_NOT_FOUND", "Unknown command " + what}; }

// "/api/device/ALL?x" -> {"api", "device", "ALL"}
std::vector<std::string> SplitPath(const std::string& target) {
  const std::string path = target.substr(0, target.find('?'));
  std::vector<std::string> parts;
  for (size_t start = 1; start <= path.size();) {
    const size_t end = std::min(path.find('/', start), path.size());
    if (end > start) parts.push_back(path.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

int ParseNumber(const std::string& text) {
  int number = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : -1;
}

// The request that a poll asks for; nothing when the path is another one.
std::optional<int> PolledId(const std::string& target) {
  const std::vector<std::string> path = SplitPath(target);
  if (path.size() != 3 || path[0] != "api" || path[1] != "request") return std::nullopt;
  return ParseNumber(path[2]);
}

Json::Value IdEntry(const T_Device& device) {
  Json::Value entry;
  entry["device_id"] = device.id;
  return entry;
}

// "device_name" where the document has one.
void CopyName(const T_Device& device, Json::Value& entry) {
  if (device.document.isMember("device_name")) entry["device_name"] = device.document["device_name"];
}

Json::Value ListEntry(const T_Device& device, bool active) {
  Json::Value entry = IdEntry(device);
  CopyName(device, entry);
  entry["status"]["active"] = active;
  return entry;
}

Json::Value ErrorEntry(const T_Device& device, const T_SimError& error) {
  Json::Value entry = IdEntry(device);
  CopyName(device, entry);
  entry["reason"] = error.reason;
  entry["message"] = error.message;
  return entry;
}

Json::Value IdentityEntry(const T_Device& device) {
  Json::Value entry = ListEntry(device, true);
  entry["identity"] = device.document["identity"];
  return entry;
}

// The nodes that hold an EDID, without what else they show.
Json::Value EdidEntry(const T_Device& device) {
  Json::Value entry = IdEntry(device);
  CopyName(device, entry);
  entry["nodes"] = Json::arrayValue;
  for (const Json::Value& node : device.document["nodes"]) {
    Json::Value reduced;
    reduced["type"] = node["type"];
    reduced["index"] = node["index"];
    reduced["configuration"] = reduced["status"] = Json::objectValue;
    reduced["inputs"] = Json::arrayValue;
    if (node["type"] == "HDMI_DECODER") {
      reduced["configuration"]["edid"] = node["configuration"]["edid"];
    } else if (node["type"] == "HDMI_MONITOR") {
      for (const char* key : {"connected", "edid"}) reduced["status"][key] = node["status"][key];
    } else {
      continue;
    }
    entry["nodes"].append(reduced);
  }
  return entry;
}

}  // namespace

CApiServer::CApiServer(const T_AvpSimOptions& options, T_Notify notify)
    : m_options(options), m_notify(std::move(notify)) {
  m_firmware = samples::Document("firmware")["result"]["firmware"];
  m_context.serverAddress = options.ip;
  if (options.processingPolls >= 0) m_way = T_SimAnswer::ProcessingPolls(options.processingPolls);
  if (options.processingMs >= 0) m_way = T_SimAnswer::ProcessingMs(options.processingMs);
}

CApiServer::~CApiServer() { Stop(); }

void CApiServer::Stop() { m_scheduler.Stop(); }

// --- answers ---

CApiServer::T_Reply CApiServer::Answer(const T_SimRequest& request, const T_SimAnswer& way) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  if (const std::optional<int> polled = PolledId(request.path); polled && way.eKind == e_answer_processing) {
    return {200, simjson::Envelope("PROCESSING", *polled, Json::Value(), std::nullopt)};
  }
  T_Outcome outcome;
  const bool settledOtherwise = way.eKind == e_answer_processing && way.pSettled != nullptr;
  try {
    if (way.eKind == e_answer_disconnected) {
      outcome = DisconnectedLocked(request);
    } else if (!settledOtherwise) {
      outcome = RouteLocked(request);
    }
  } catch (const Json::Exception& fault) {  // a document of a shape that nobody thought of
    outcome = {};
    outcome.error = T_SimError{"INTERNAL", fault.what()};
  }
  return FinishLocked(outcome, way);
}

CApiServer::T_Reply CApiServer::FinishLocked(const T_Outcome& outcome, const T_SimAnswer& way) {
  for (T_Device* device : outcome.changed) ChangedLocked(*device);
  if (way.eKind == e_answer_processing) {
    const int id = m_requests.Open();
    std::string final = simjson::Envelope(outcome.error ? "ERROR" : "SUCCESS", id, outcome.result, outcome.error);
    if (way.pSettled != nullptr) final = simjson::WithRequestId(way.pSettled->strBody, id);
    if (outcome.envelope) final = *outcome.envelope;
    return PendLocked(id, final, way);
  }
  if (outcome.envelope) return {outcome.status, *outcome.envelope};
  if (outcome.error) {
    return {outcome.status, simjson::Envelope("ERROR", std::nullopt, Json::Value(), outcome.error)};
  }
  if (outcome.begin) {
    const int id = m_requests.Open();
    m_requests.Pend(id, "", -1);
    outcome.begin(id);
    return {200, m_requests.Poll(id).answer};
  }
  if (outcome.eWay == e_reply_at_once) {
    return {200, simjson::Envelope("SUCCESS", std::nullopt, outcome.result, std::nullopt)};
  }
  const int id = m_requests.Open();
  const std::string final = simjson::Success(id, outcome.result);
  if (way.eKind == e_answer_default && m_way.eKind == e_answer_processing) return PendLocked(id, final, m_way);
  SettleLocked(id, final);
  return {200, final};
}

CApiServer::T_Reply CApiServer::PendLocked(int id, const std::string& final, const T_SimAnswer& way) {
  m_requests.Pend(id, final, way.iPolls);
  if (way.iSettleMs >= 0) SettleLaterLocked(id, way.iSettleMs);
  return {200, simjson::Envelope("PROCESSING", id, Json::Value(), std::nullopt)};
}

void CApiServer::SettleLaterLocked(int id, int ms) {
  m_scheduler.After(ms, [this, id] {
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (!m_requests.IsOpen(id)) return;
    m_requests.Settle(id);
    CompleteLocked(id);
  });
}

void CApiServer::SettleLocked(int id, const std::string& envelope) {
  m_requests.Settle(id, envelope);
  CompleteLocked(id);
}

CApiServer::T_Outcome CApiServer::DisconnectedLocked(const T_SimRequest& request) {
  const std::vector<std::string> path = SplitPath(request.path);
  const T_Device* device = m_devices.Find(path.size() > 2 ? path[2] : "");
  if (device == nullptr) device = m_devices.Find("");
  T_Outcome outcome;
  outcome.eWay = e_reply_either;
  outcome.result["devices"] = outcome.result["error"] = Json::arrayValue;
  if (device != nullptr) outcome.result["error"].append(ErrorEntry(*device, kDisconnected));
  return outcome;
}

// --- routes ---

CApiServer::T_Outcome CApiServer::RouteLocked(const T_SimRequest& request) {
  struct T_Route {
    const char* second;  // the path's part after "api"
    T_PathHandler handler;
  };
  static constexpr T_Route kRoutes[] = {
      {"", &CApiServer::VersionLocked},
      {"device", &CApiServer::DeviceLocked},
      {"request", &CApiServer::RequestLocked},
      {"firmware", &CApiServer::FirmwareLocked},
      {"multiview", &CApiServer::MultiviewLocked},
  };
  const std::vector<std::string> path = SplitPath(request.path);
  for (const T_Route& route : kRoutes) {
    if (!path.empty() && path[0] == "api" && (path.size() > 1 ? path[1] : "") == route.second) {
      return (this->*route.handler)(request, path);
    }
  }
  T_Outcome outcome;
  outcome.error = UnknownCommand(request.method + " " + request.path);
  outcome.status = 404;
  return outcome;
}

namespace {

template <typename T>
T Refused(const T_SimError& error, int status = 200) {
  T outcome;
  outcome.error = error;
  outcome.status = status;
  return outcome;
}

}  // namespace

CApiServer::T_Outcome CApiServer::VersionLocked(const T_SimRequest& request, const std::vector<std::string>&) {
  if (request.method != "GET") return Refused<T_Outcome>(UnknownCommand(request.method), 405);
  T_Outcome outcome;
  outcome.result["server"] = "halyard-sim";
  outcome.result["vendor"] = "halyard";
  outcome.result["version"] = "3.5.0.0";
  outcome.result["build"] = HALYARD_VERSION;
  Json::Value module;
  module["name"] = "blueriver_api";
  module["version"] = "3.5.0.0";
  outcome.result["modules"].append(module);
  return outcome;
}

CApiServer::T_Outcome CApiServer::DeviceLocked(const T_SimRequest& request, const std::vector<std::string>& path) {
  const std::string target = path.size() > 2 ? path[2] : "";
  if (path.size() > 3) return Refused<T_Outcome>(UnknownCommand(request.path), 404);
  const T_Targets targets = m_devices.Resolve(target);
  const bool group = strncasecmp(target.c_str(), "ALL", 3) == 0;
  if (targets.empty() && !group) return Refused<T_Outcome>(IllegalArgument("Unknown device " + target));
  if (request.method == "GET") return ListLocked(targets);
  if (request.method == "POST") return PostLocked(targets, request);
  return Refused<T_Outcome>(UnknownCommand(request.method), 405);
}

CApiServer::T_Outcome CApiServer::RequestLocked(const T_SimRequest& request, const std::vector<std::string>&) {
  if (request.method != "GET") return Refused<T_Outcome>(UnknownCommand(request.method), 405);
  const int id = PolledId(request.path).value_or(-1);
  const CRequestRegistry::T_Poll poll = m_requests.Poll(id);
  if (poll.settledNow) CompleteLocked(id);
  T_Outcome outcome;
  outcome.envelope = poll.answer;
  return outcome;
}

CApiServer::T_Outcome CApiServer::FirmwareLocked(const T_SimRequest& request, const std::vector<std::string>&) {
  if (request.method != "GET") return Refused<T_Outcome>(UnknownCommand(request.method), 405);
  T_Outcome outcome;
  outcome.result["firmware"] = m_firmware;
  outcome.result["error"] = Json::arrayValue;
  return outcome;
}

CApiServer::T_Outcome CApiServer::MultiviewLocked(const T_SimRequest& request, const std::vector<std::string>& path) {
  const auto unknown = [&] { return Refused<T_Outcome>(UnknownCommand(request.method + " " + request.path), 404); };
  const bool get = request.method == "GET";
  const bool create = request.method == "POST";
  const bool remove = request.method == "DELETE";
  if (path.size() < 3 || path[2] != "layout" || !(get || create || remove)) return unknown();
  T_Outcome outcome;
  if (path.size() == 3) {
    if (!get) return unknown();
    outcome.result = m_multiview.List();
    return outcome;
  }
  if (create && request.Op() != "create") return Refused<T_Outcome>(UnknownCommand(request.Op()));
  const std::string& layout = path[3];
  if (path.size() == 4) {
    outcome.error = get      ? m_multiview.Describe(layout, outcome.result)
                    : create ? m_multiview.Create(layout, request.json)
                             : m_multiview.Delete(layout);
    return outcome;
  }
  const std::string& part = path[4];
  if (path.size() != 6 || (part != "window" && part != "surface")) return unknown();
  const int index = ParseNumber(path[5]);
  outcome.error = get      ? m_multiview.DescribePart(layout, part, index, outcome.result)
                  : create ? m_multiview.CreatePart(layout, part, index, request.json)
                           : m_multiview.DeletePart(layout, part, index);
  return outcome;
}

// --- devices ---

CApiServer::T_Outcome CApiServer::ListLocked(const T_Targets& targets) {
  T_Outcome outcome;
  outcome.result["devices"] = outcome.result["error"] = Json::arrayValue;
  for (const T_Device* device : targets) {
    outcome.result["devices"].append(ListEntry(*device, device->connected && !m_bHung));
  }
  return outcome;
}

CApiServer::T_Outcome CApiServer::PostLocked(const T_Targets& targets, const T_SimRequest& request) {
  struct T_OpRow {
    const char* op;
    T_OpHandler handler;
  };
  static constexpr T_OpRow kOps[] = {
      {"get", &CApiServer::GetLocked},
      {"netstat", &CApiServer::NetstatLocked},
      {"set:multiview", &CApiServer::SetMultiviewLocked},
      {"update", &CApiServer::UpdateLocked},
      {"reboot", &CApiServer::RebootLocked},
      {"factory", &CApiServer::FactoryLocked},
  };
  if (!request.json.isObject()) return Refused<T_Outcome>(IllegalArgument("The body is no JSON object"), 400);
  COpArgs args(request.json);
  const std::string op = args.Text("op");
  if (args.Error()) return Refused<T_Outcome>(*args.Error(), 400);
  for (const T_OpRow& row : kOps) {
    if (op == row.op) return (this->*row.handler)(targets, request.json);
  }
  const T_DeviceOp* row = deviceops::Find(op);
  if (row == nullptr) return Refused<T_Outcome>(UnknownCommand(op));
  return DeviceOpLocked(targets, *row, request.json);
}

// Devices that did it stand in the list, the others in "error". With a single device its refusal is the command's, but
// for a device that is lost: that is always an entry in "error".
CApiServer::T_Outcome CApiServer::ForEachLocked(const T_Targets& targets, const std::string& key, E_ReplyWay way,
                                                const T_Serve& serve) {
  T_Outcome outcome;
  outcome.eWay = way;
  Json::Value& done = outcome.result[key] = Json::arrayValue;
  Json::Value& errors = outcome.result["error"] = Json::arrayValue;
  for (T_Device* device : targets) {
    Json::Value entry = IdEntry(*device);
    std::optional<T_SimError> refusal;
    if (!device->connected) {
      refusal = kDisconnected;
      outcome.eWay = e_reply_either;
    } else {
      refusal = serve(*device, entry);
      if (refusal && targets.size() == 1) return Refused<T_Outcome>(*refusal);
    }
    if (refusal) {
      errors.append(ErrorEntry(*device, *refusal));
    } else {
      done.append(entry);
    }
  }
  return outcome;
}

std::optional<T_SimError> CApiServer::HungLocked() const {
  if (!m_bHung) return std::nullopt;
  return T_SimError{"INVALID_STATE", "Device does not answer"};
}

CApiServer::T_Outcome CApiServer::GetLocked(const T_Targets& targets, const Json::Value& body) {
  struct T_Subset {
    const char* name;
    E_ReplyWay eWay;
    Json::Value (*entry)(const T_Device&);
  };
  static constexpr T_Subset kSubsets[] = {
      {"device", e_reply_either, [](const T_Device& device) { return device.document; }},
      {"identity", e_reply_at_once, IdentityEntry},
      {"edid", e_reply_either, EdidEntry},
  };
  COpArgs args(body);
  const std::string name = args.Text("subset");
  if (args.Error()) return Refused<T_Outcome>(*args.Error());
  for (const T_Subset& subset : kSubsets) {
    if (name != subset.name) continue;
    return ForEachLocked(targets, "devices", subset.eWay, [&](T_Device& device, Json::Value& entry) {
      entry = m_bHung ? ListEntry(device, false) : subset.entry(device);
      return std::optional<T_SimError>();
    });
  }
  return Refused<T_Outcome>(IllegalArgument("Unknown subset " + name));
}

CApiServer::T_Outcome CApiServer::NetstatLocked(const T_Targets& targets, const Json::Value& body) {
  COpArgs args(body);
  const std::string option = args.Text("option");
  if (!args.Error() && option != "read") args.Refuse(IllegalArgument("Unknown option " + option));
  if (args.Error()) return Refused<T_Outcome>(*args.Error());
  return ForEachLocked(targets, "statistics", e_reply_either, [&](T_Device& device, Json::Value& entry) {
    if (m_bHung) return HungLocked();
    const auto up = std::chrono::duration_cast<std::chrono::seconds>(T_SimClock::now() - device.up);
    entry = netstat::Statistics(device.document, up.count(), body["filter"]);
    return std::optional<T_SimError>();
  });
}

CApiServer::T_Outcome CApiServer::DeviceOpLocked(const T_Targets& targets, const T_DeviceOp& row,
                                                 const Json::Value& body) {
  T_Targets changed;
  T_Outcome outcome = ForEachLocked(targets, std::string(row.resultKey), row.eWay, [&](T_Device& device, Json::Value&) {
    if (m_bHung) return HungLocked();
    std::optional<T_SimError> refusal = row.run(device.document, body, m_context);
    if (!refusal && row.bChangesSettings) changed.push_back(&device);
    return refusal;
  });
  outcome.changed = changed;
  KeepSentLocked();
  return outcome;
}

// Takes over what the operation sent.
void CApiServer::KeepSentLocked() {
  if (m_context.sent.empty()) return;
  m_sentCount += m_context.sent.size();
  m_sent.insert(m_sent.end(), m_context.sent.begin(), m_context.sent.end());
  m_context.sent.clear();
  while (m_sent.size() > kSentKept) m_sent.pop_front();
  m_condChanged.notify_all();
}

// set:multiview may name its sources, by device. A refusal may leave some of them subscribed to.
std::optional<T_SimError> CApiServer::SubscribeSourcesLocked(T_Device& device, const Json::Value& sources) {
  for (const Json::Value& source : sources) {
    COpArgs args(source);
    const std::string id = args.Text("source_device");
    const int stream = args.Int("stream_index", 0, 1);
    Json::Value request;
    request["op"] = "subscribe";
    request["subscription_type"] = "HDMI";
    request["subscription_index"] = args.Int("subscription_index", 0, 31);
    T_Device* sender = id.empty() ? nullptr : m_devices.Find(id);
    Json::Value* found =
        sender != nullptr ? propertykey::FindElement(sender->document["streams"], "HDMI", stream) : nullptr;
    if (found == nullptr) args.Refuse(IllegalArgument("Unknown source " + id));
    if (args.Error()) return args.Error();
    request["source_address"] = (*found)["configuration"]["address"];
    std::optional<T_SimError> refusal = deviceops::Find("subscribe")->run(device.document, request, m_context);
    if (refusal) return refusal;
  }
  return std::nullopt;
}

CApiServer::T_Outcome CApiServer::SetMultiviewLocked(const T_Targets& targets, const Json::Value& body) {
  COpArgs args(body);
  const std::string layout = args.Text("layout");
  if (!args.Error() && !m_multiview.Has(layout)) args.Refuse(IllegalArgument("Unknown layout " + layout));
  if (args.Error()) return Refused<T_Outcome>(*args.Error());
  T_Targets changed;
  T_Outcome outcome = ForEachLocked(targets, "devices", e_reply_either, [&](T_Device& device, Json::Value&) {
    if (m_bHung) return HungLocked();
    const Json::Value before = device.document;
    std::optional<T_SimError> refusal = SubscribeSourcesLocked(device, body["subscriptions"]);
    if (!refusal) refusal = deviceops::ShowMultiview(device.document, body);
    if (refusal) {
      device.document = before;
    } else {
      changed.push_back(&device);
    }
    return refusal;
  });
  outcome.changed = changed;
  return outcome;
}
