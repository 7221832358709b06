#include "brntmanageavpip.h"

void AvpIpManage::DoCollectAvpIp(int) {}
bool AvpIpManage::SearchAvpIpFromMap(std::string, std::string&) { return false; }
bool AvpIpManage::UpdateFromTxtString(const std::string&) { return false; }
