// cmd_core's side of the two UDP links: sends commands to the process, receives and decodes its reports.
//
// Threads: every operation may be called from any thread; reports are received on a thread of the object's own from
// Start to Stop. Times are milliseconds.
#pragma once

#include <json/value.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "reportframe.h"
#include "simtypes.h"

struct T_CmdCoreOptions {
  std::string ip = "127.0.0.1";
  int commandPort = 9991;  // where the process listens
  int reportPort = 9993;   // where reports are received; 0: any free port
  T_SimLogSink log;        // may be empty
};

using T_ReportMatcher = std::function<bool(const T_Report&)>;

class CCmdCore {
 public:
  explicit CCmdCore(const T_CmdCoreOptions& options = T_CmdCoreOptions());
  ~CCmdCore();
  CCmdCore(const CCmdCore&) = delete;
  CCmdCore& operator=(const CCmdCore&) = delete;

  bool Start();  // begins to receive; false when the port cannot be had
  void Stop();
  int ReportPort() const;  // 0 before the first start
  void SetCommandPort(int port);

  // One datagram to the process. False when it cannot be sent, or the name is no command's.
  bool Send(std::uint32_t tag, const std::string& text);
  bool Send(std::string_view name, const std::string& text);  // as kCommandTags names it
  bool Online();                                              // the announcement that opens the TCI link
  bool SendRaw(const std::string& bytes);

  std::vector<T_Report> Reports() const;  // since the last ClearReports, in order of arrival
  std::vector<T_Report> Reports(int kind) const;
  void ClearReports();
  // Takes out what has been received, waiting for the first if there is none yet.
  std::vector<T_Report> TakeReports(int timeoutMs);
  // The first report that matches, or is of the kind (E_Event_Type's number), waiting for it if need be.
  std::optional<T_Report> WaitForReport(const T_ReportMatcher& matcher, int timeoutMs = 5000) const;
  std::optional<T_Report> WaitForReport(int kind, int timeoutMs = 5000) const;
  bool WaitForReports(size_t count, int kind, int timeoutMs = 5000) const;

 private:
  class C_Impl;
  std::unique_ptr<C_Impl> m_pImpl;
};
