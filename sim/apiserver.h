// The API server behind both links: routes requests to the devices, keeps request ids, makes events.
//
// Threads: every operation from any thread; one lock guards all state. Notification lines leave through the hook, on
// the scheduler's thread, one at a time and in order, under no lock.
#pragma once

#include <json/value.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "avpsim.h"
#include "deviceops.h"
#include "devicestore.h"
#include "multiview.h"
#include "requestregistry.h"
#include "simscheduler.h"
#include "simtypes.h"
#include "tcilink.h"

class CApiServer {
 public:
  using T_Notify = std::function<void(const std::string& line)>;

  CApiServer(const T_AvpSimOptions& options, T_Notify notify);
  ~CApiServer();
  CApiServer(const CApiServer&) = delete;
  CApiServer& operator=(const CApiServer&) = delete;
  void Stop();  // no notification leaves after it

  struct T_Reply {
    int status = 200;
    std::string body;
  };
  // way: e_answer_default, e_answer_processing or e_answer_disconnected.
  T_Reply Answer(const T_SimRequest& request, const T_SimAnswer& way);
  CTciLink::T_Answer AnswerLine(const std::string& line);

  // Registers a request and announces it. The result is the request id.
  int PushEvent(const std::string& type, const std::string& deviceId, const Json::Value& result);
  int PushEventWithAnswer(const std::string& type, const std::string& deviceId, const T_SimAnswer& answer);
  int PushSettingsChanged(const std::string& deviceId);

  std::string FirstId() const;
  std::string KnownId(const std::string& deviceId) const;  // as the document writes it; the text itself when unknown
  Json::Value Device(const std::string& deviceId) const;
  std::optional<Json::Value> Get(const std::string& key, const std::string& deviceId) const;
  bool WaitForValue(const std::string& key, const Json::Value& value, const std::string& deviceId, int timeoutMs) const;
  bool Load(const Json::Value& document, std::string& reason);
  void Rename(const std::string& mac);  // gives the first device this id
  // Changes a device's document from outside; SETTINGS_CHANGED follows when the function returns true.
  bool Change(const std::string& deviceId, const std::function<bool(T_Device&)>& change);
  void Disconnect(const std::string& deviceId);
  void Connect(const std::string& deviceId);
  void SetHung(bool hung);
  void SetUpdateOutcome(E_UpdateOutcome outcome);
  void SetFirmware(const Json::Value& packages);
  void SetWay(const T_SimAnswer& way);  // of requests that may be answered either way

  std::vector<T_SentData> SentData() const;
  bool WaitForSentData(size_t count, int timeoutMs) const;

 private:
  // What a request comes to, before it is put into an envelope.
  struct T_Outcome {
    Json::Value result;
    std::optional<T_SimError> error;
    int status = 200;
    E_ReplyWay eWay = e_reply_at_once;
    std::vector<T_Device*> changed;       // devices whose settings the request changed
    std::function<void(int id)> begin;    // slow requests: goes on from here with the request id
    std::optional<std::string> envelope;  // a whole answer, instead of all above
  };
  using T_Targets = std::vector<T_Device*>;
  using T_PathHandler = T_Outcome (CApiServer::*)(const T_SimRequest&, const std::vector<std::string>&);
  using T_OpHandler = T_Outcome (CApiServer::*)(const T_Targets&, const Json::Value&);
  // Serves one device: its entry in the result's list, or why not.
  using T_Serve = std::function<std::optional<T_SimError>(T_Device&, Json::Value& entry)>;

  // All ...Locked functions want m_mutex held.
  T_Outcome RouteLocked(const T_SimRequest& request);
  T_Outcome VersionLocked(const T_SimRequest& request, const std::vector<std::string>& path);
  T_Outcome DeviceLocked(const T_SimRequest& request, const std::vector<std::string>& path);
  T_Outcome RequestLocked(const T_SimRequest& request, const std::vector<std::string>& path);
  T_Outcome FirmwareLocked(const T_SimRequest& request, const std::vector<std::string>& path);
  T_Outcome MultiviewLocked(const T_SimRequest& request, const std::vector<std::string>& path);

  T_Outcome ListLocked(const T_Targets& targets);
  T_Outcome PostLocked(const T_Targets& targets, const T_SimRequest& request);
  T_Outcome GetLocked(const T_Targets& targets, const Json::Value& body);
  T_Outcome NetstatLocked(const T_Targets& targets, const Json::Value& body);
  T_Outcome SetMultiviewLocked(const T_Targets& targets, const Json::Value& body);
  T_Outcome UpdateLocked(const T_Targets& targets, const Json::Value& body);
  T_Outcome RebootLocked(const T_Targets& targets, const Json::Value& body);
  T_Outcome FactoryLocked(const T_Targets& targets, const Json::Value& body);
  T_Outcome DeviceOpLocked(const T_Targets& targets, const T_DeviceOp& row, const Json::Value& body);
  std::optional<T_SimError> SubscribeSourcesLocked(T_Device& device, const Json::Value& sources);
  void KeepSentLocked();
  T_Outcome ForEachLocked(const T_Targets& targets, const std::string& key, E_ReplyWay way, const T_Serve& serve);
  std::optional<T_SimError> HungLocked() const;  // the refusal while the device answers nothing
  T_Outcome DisconnectedLocked(const T_SimRequest& request);

  std::string SelectStatistics(const std::string& target);
  std::string SetFromLine(const std::string& target, const std::string& key, const Json::Value& value);

  T_Reply FinishLocked(const T_Outcome& outcome, const T_SimAnswer& way);
  T_Reply PendLocked(int id, const std::string& final, const T_SimAnswer& way);
  void SettleLaterLocked(int id, int ms);
  void SettleLocked(int id, const std::string& envelope);
  void CompleteLocked(int id);  // REQUEST_COMPLETE
  void ChangedLocked(T_Device& device);
  int EventLocked(const std::string& type, const Json::Value& deviceId, const Json::Value& result);
  void AnnounceLocked(const std::string& type, const Json::Value& deviceId, int requestId);
  int SettingsEventLocked(T_Device& device);

  void LeaveLocked(T_Device& device);  // disconnected, with its event
  void ReturnLocked(T_Device& device);
  void LaterLocked(T_Device& device, int ms, const std::function<void(T_Device&)>& action);
  void BeginUpdateLocked(T_Device& device, const Json::Value& package, int id);
  void BeginBootLocked(const T_Targets& targets, const std::string& key, bool factory, int id);
  void BootLocked(T_Device& device, bool factory);

  const T_AvpSimOptions m_options;
  const T_Notify m_notify;

  mutable std::mutex m_mutex;                     // guards all below but the scheduler
  mutable std::condition_variable m_condChanged;  // documents or sent data
  CDeviceStore m_devices;
  CMultiviewStore m_multiview;
  CRequestRegistry m_requests;
  Json::Value m_firmware;
  T_SimAnswer m_way;
  bool m_bHung = false;
  E_UpdateOutcome m_eUpdate = e_update_succeeds;
  int m_lastEvent = 0;
  T_OpContext m_context;
  std::deque<T_SentData> m_sent;
  size_t m_sentCount = 0;

  CSimScheduler m_scheduler;  // last: its actions use the others
};
