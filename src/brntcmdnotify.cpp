#include "brntcmdnotify.h"

#include <utility>

#include "brntjson.h"
#include "brntlog.h"
#include "brntplatform.h"

std::list<T_BrntEventInfo> CBrntCmdNotifyHandler::s_listBrntEventsInfo;
Bool16 CBrntCmdNotifyHandler::s_b16HandleDisconEvent = 0;
SInt32 CBrntCmdNotifyHandler::s_s32EventID = 0;

bool CBrntCmdNotifyHandler::IsNotifyMsg(const std::string&) { return false; }
void CBrntCmdNotifyHandler::ProcessNotifyMsg(const std::string&) {}
void CBrntCmdNotifyHandler::PorcessConEvent() {}
bool CBrntCmdNotifyHandler::DoResponse(const std::string&, std::string&) { return false; }
bool CBrntCmdNotifyHandler::ParseRsp(const std::string&) { return false; }
void CBrntCmdNotifyHandler::ProcessEvent(T_BrntEvent&) {}
