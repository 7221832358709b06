#include "brntreportsocket.h"

std::atomic<int> g_reportsocket{-1};
sockaddr_in g_reportaddr{};

int ReportAsyncInit() { return 0; }
void ReportAsyncMsg(E_Event_Type, std::string) {}
