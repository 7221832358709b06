#include "brntasynctask.h"

int AsyncTask::Init(const std::string&, UInt16, const char*, E_DEVICE_MODE) { return 1; }
void AsyncTask::UnInit() {}
Bool16 AsyncTask::SendReq(const std::string&) { return 0; }
int AsyncTask::GetTciInitStatus() { return 0; }
void AsyncTask::SetUpgradeMode(int) {}
int AsyncTask::GetUpgradeMode() { return 0; }
int StartDoAsyncMsg(const char*, E_DEVICE_MODE) { return 1; }
