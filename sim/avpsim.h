// The AV processor and its API server, played: HTTP and the TCI link in front of device documents that change as
// requests ask. Scriptable from one test process: recorded requests, injected answers and faults, pushed events.
//
// Threads: every operation may be called from any thread; HTTP and TCI run on threads of their own from Start to Stop.
// Destroy it only when no other thread is inside one of its operations.
// Times are milliseconds. Ports: 0 in the options means any free port, which stays the same over Stop and Start.
#pragma once

#include <json/value.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simtypes.h"

struct T_AvpSimOptions {
  std::string ip = "127.0.0.1";
  int httpPort = 8080;
  int tciPort = 6970;
  std::string role = "RX";  // "TX", "RX" or "TRX": which built-in document, when no document is given
  std::string mac;          // replaces the document's device id when not empty; 12 hex digits
  Json::Value document;     // an answer, a device or a list of devices; null: the built-in one of the role
  T_SimLogSink log;         // may be empty

  bool autoEvents = true;        // REQUEST_COMPLETE and SETTINGS_CHANGED by themselves
  int settingsChangedMs = 100;   // from a change to its event; several changes in that time give one event
  int infoAvailableMs = 500;     // from DEVICE_CONNECTED to DEVICE_INFO_AVAILABLE
  int connectSettingsMs = 5000;  // from DEVICE_CONNECTED to SETTINGS_CHANGED
  int rebootMs = 5000;           // how long a reboot or factory reset takes
  int updateMs = 10000;          // how long a firmware update takes
  int processingPolls = -1;      // >= 0: requests that may be answered either way are PROCESSING for so many polls
  int processingMs = -1;         // >= 0: ... or for this time
  size_t logLimit = 400;         // longer messages are cut in the log; 0: never
  size_t requestsKept = 131072;  // recorded requests beyond this are forgotten, the oldest first
};

// What becomes of the next firmware updates.
enum E_UpdateOutcome { e_update_succeeds = 0, e_update_fails = 1, e_update_never_settles = 2 };

class CAvpSim {
 public:
  // Reads the options; starts nothing. Throws std::runtime_error when the document cannot be used.
  explicit CAvpSim(const T_AvpSimOptions& options = T_AvpSimOptions());
  ~CAvpSim();
  CAvpSim(const CAvpSim&) = delete;
  CAvpSim& operator=(const CAvpSim&) = delete;

  // HTTP and TCI together, or each alone. False (and a log line) when the port cannot be had.
  bool Start();
  void Stop();
  bool StartHttp();
  void StopHttp();  // open connections are closed, waiting answers are dropped
  bool StartTci();
  void StopTci();        // connections to the port are refused, open ones closed
  int HttpPort() const;  // 0 before the first start
  int TciPort() const;

  // --- requests ---
  std::vector<T_SimRequest> Requests() const;  // since the last ClearRequests, in order of arrival
  std::vector<T_SimRequest> Requests(const T_RequestMatcher& matcher) const;
  size_t RequestCount() const;  // since the last ClearRequests
  void ClearRequests();
  // The first recorded request that matches, waiting for it if need be; nothing when the time runs out.
  std::optional<T_SimRequest> WaitForRequest(const T_RequestMatcher& matcher, int timeoutMs = 5000) const;
  // Until so many requests (that match) are recorded.
  bool WaitForRequests(size_t count, int timeoutMs = 5000) const;
  bool WaitForRequests(size_t count, const T_RequestMatcher& matcher, int timeoutMs = 5000) const;

  // Answers the next `times` matching requests so (0: all). The first script that matches is used.
  void Script(const T_RequestMatcher& matcher, const T_SimAnswer& answer, int times = 1);
  void ClearScripts();

  // --- TCI link ---
  std::vector<std::string> TciLines() const;  // received since the last ClearTciLines, without their ends
  void ClearTciLines();
  // The first received line that begins so.
  std::optional<std::string> WaitForTciLine(const std::string& prefix, int timeoutMs = 5000) const;
  bool WaitForTciSessions(size_t count, int timeoutMs = 5000) const;  // exactly so many connections are open
  bool WaitForAsync(int timeoutMs = 5000) const;                      // a connection has switched asynchronous mode on
  void PushLine(const std::string& line);                             // to every connection; CR LF is added
  void PushRaw(const std::string& bytes);                             // to every connection, as it is, in one piece
  // Answers and pushed lines leave in two pieces, the CR LF that long after the rest. 0: in one piece.
  void SetTciSplitMs(int ms);
  void DropTci();  // closes the open connections; new ones are taken
  // The next line that begins so is recorded, and its connection closed in the place of an answer.
  void DropTciAt(const std::string& prefix);
  void SetTciRefuse(bool refuse);  // new connections are accepted and closed at once

  // --- events ---
  // Registers a request with this result (the whole "result" member; its "error" member where the kind has one) and
  // pushes the notification to every connection in asynchronous mode. Returns the request id. An empty device id is
  // sent as null.
  int PushEvent(const std::string& type, const std::string& deviceId, const Json::Value& result);
  // The answer that asking for this request gives; for events whose request failed.
  int PushEventWithAnswer(const std::string& type, const std::string& deviceId, const T_SimAnswer& answer);
  // Data as received by the device; text is raw bytes, hex is hex digits. Pushes the event with its request.
  int ReceiveRs232(const std::string& bytes, const std::string& deviceId = "");
  int ReceiveInfrared(const std::string& hex, const std::string& deviceId = "");
  int ReceiveCec(const std::string& hex, const std::string& deviceId = "");
  int PushSettingsChanged(const std::string& deviceId = "");

  // --- the device ---
  // An empty device id means the first device.
  std::string DeviceId() const;
  Json::Value Device(const std::string& deviceId = "") const;  // a copy of the document; null when unknown
  bool AddDevice(const Json::Value& document);  // or replaces the one with its id; false when it cannot be used
  // Sets any member, by the keys that set:property takes; no checks beyond the path. Pushes SETTINGS_CHANGED.
  bool Set(const std::string& key, const Json::Value& value, const std::string& deviceId = "");
  std::optional<Json::Value> Get(const std::string& key, const std::string& deviceId = "") const;
  // Until the member has this value; a recorded request may not have had its effect yet.
  bool WaitForValue(const std::string& key, const Json::Value& value, int timeoutMs = 5000,
                    const std::string& deviceId = "") const;
  // "3840x2160p60", "1920x1080i50", "none": the input signal of an encoder, or what a decoder receives.
  bool SetSource(const std::string& timing, const std::string& deviceId = "");
  bool SetMonitor(bool connected, const std::string& deviceId = "");  // false without such a node
  void Disconnect(const std::string& deviceId = "");                  // with its event
  void Connect(const std::string& deviceId = "");                     // with its events
  void SetHung(bool hung);  // the AV processor answers nothing: no identity, no document
  // How requests that may be answered either way are answered from now on: T_SimAnswer::Default() or a Processing one.
  void SetProcessing(const T_SimAnswer& way);
  void SetUpdateOutcome(E_UpdateOutcome outcome);
  void SetFirmware(const Json::Value& packages);  // the array of the firmware listing
  std::vector<T_SentData> SentData() const;       // in order; the last 65536
  bool WaitForSentData(size_t count, int timeoutMs = 5000) const;

 private:
  class C_Impl;
  std::unique_ptr<C_Impl> m_pImpl;
};
