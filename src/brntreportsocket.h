// The socket through which every report leaves for cmd_core, UDP to 127.0.0.1:9993, and the framing of a report.
//
// Any thread: the socket is created once, under a lock of its own, and lives as long as the process. Each report is one
// datagram, so reports of several threads do not mix.
#pragma once

#include <netinet/in.h>

#include <atomic>
#include <string>

#include "brnttypes.h"
#include "tlv_box.h"

extern std::atomic<int> g_reportsocket;  // -1 until created
extern sockaddr_in g_reportaddr;         // constant once g_reportsocket is set

// Creates the report socket unless it exists. 1, or 0 with an ERROR line.
int ReportAsyncInit();

// Sends text as a report of the given kind. A report that cannot be sent is one ERROR line. A kind outside
// E_Event_Type leaves as an empty box.
void ReportAsyncMsg(E_Event_Type type, std::string text);

// Sends the box as the contents of a report, which serialises it. Of a box that cannot be serialised (once more) an
// empty datagram is sent. Once ReportAsyncInit has succeeded.
void SendReportBox(tlv_box_t* inner);
