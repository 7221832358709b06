// Receives what the process sends to cmd_core, in place of cmd_core's own port.
//
// Redirects the report socket to a free loopback port for as long as it lives; no other thread may send its first
// report meanwhile. A report that has been sent is there at once: loopback delivers before the sender goes on.
#pragma once

#include <netinet/in.h>

#include <vector>

#include "reportframe.h"

class CReportCapture {
 public:
  CReportCapture();
  ~CReportCapture();
  CReportCapture(const CReportCapture&) = delete;
  CReportCapture& operator=(const CReportCapture&) = delete;

  // The reports since the last call, decoded, in order.
  std::vector<T_Report> Take();

 private:
  int m_socket;
  sockaddr_in m_previous;
};
