#include "brntcmdnotify.h"

#include <utility>

#include "brntjson.h"
#include "brntlog.h"
#include "brntplatform.h"
#include "brntproxy.h"

namespace {

constexpr char kConnected[] = "DEVICE_CONNECTED";
constexpr char kDisconnected[] = "DEVICE_DISCONNECTED";

// A disconnect is acted on once more than this many seconds have passed.
constexpr SInt32 kDisconnectGraceSec = 15;

bool IsConnectionEvent(const T_BrntEvent& event) {
  return event.strEventType == kConnected || event.strEventType == kDisconnected;
}

bool IsNotification(const Json::Value& message) {
  std::string status;
  return brntjson::GetString(message, "status", status) && status == "NOTIFICATION";
}

// The array of events; null, with an ERROR line that names the missing key, when it is not there.
const Json::Value* FindEvents(const Json::Value& message) {
  const Json::Value* result = brntjson::Member(message, "result");
  if (result == nullptr || !result->isObject()) {
    HLOG_ERROR("can't found [%s]", "result");
    return nullptr;
  }
  const Json::Value* events = brntjson::Member(*result, "events");
  if (events == nullptr || !events->isArray()) {
    HLOG_ERROR("can't found [%s]", "events");
    return nullptr;
  }
  return events;
}

// False, with an ERROR line, for an event without a request id. Its other members may be absent.
bool ReadEvent(const Json::Value& element, T_BrntEvent& event) {
  if (!brntjson::GetString(element, "device_id", event.strDevID)) event.strDevID.clear();
  if (!brntjson::GetInt(element, "event_id", event.s32EventID)) event.s32EventID = 0;
  if (!brntjson::GetString(element, "event_type", event.strEventType)) event.strEventType.clear();
  if (!brntjson::GetInt(element, "timestamp", event.s32TimeStamp)) event.s32TimeStamp = 0;
  if (brntjson::GetInt(element, "request_id", event.s32ReqID)) return true;
  HLOG_ERROR("Recv DeviceID [%s] EventID [%d] EventType [%s] ,But Not Found ReqID", event.strDevID.c_str(),
             event.s32EventID, event.strEventType.c_str());
  return false;
}

timespec MonotonicNow() {
  const SInt64 ms = CBrntPlatform::MonotonicMs();
  timespec now{};
  now.tv_sec = static_cast<time_t>(ms / 1000);
  now.tv_nsec = static_cast<long>(ms % 1000) * 1000000L;
  return now;
}

}  // namespace

std::list<T_BrntEventInfo> CBrntCmdNotifyHandler::s_listBrntEventsInfo;
Bool16 CBrntCmdNotifyHandler::s_b16HandleDisconEvent = 0;
SInt32 CBrntCmdNotifyHandler::s_s32EventID = 0;

bool CBrntCmdNotifyHandler::IsNotifyMsg(const std::string& line) {
  Json::Value message;
  if (!brntjson::Parse(line, message)) {
    HLOG_ERROR("Check Notify Error : [%s] Is not json data", line.c_str());
    return false;
  }
  std::string status;
  if (!brntjson::GetString(message, "status", status)) {
    HLOG_INFO("can't found [%s]", "status");
    return false;
  }
  return status == "NOTIFICATION";
}

void CBrntCmdNotifyHandler::ProcessNotifyMsg(const std::string& line) {
  CBrntCmdNotifyHandler handler;
  std::string response;
  handler.DoResponse(line, response);
}

bool CBrntCmdNotifyHandler::ParseRsp(const std::string& text) {
  Json::Value message;
  if (!brntjson::Parse(text, message)) {
    HLOG_ERROR("Check Notify Error : Is not json data");
    return false;
  }
  if (!IsNotification(message)) return false;
  const Json::Value* events = FindEvents(message);
  if (events == nullptr) return false;

  for (const Json::Value& element : *events) {
    if (element.isNull()) continue;
    T_BrntEvent event;
    if (ReadEvent(element, event)) m_listBrntEvents.push_back(std::move(event));
  }
  return true;
}

bool CBrntCmdNotifyHandler::DoResponse(const std::string& text, std::string& /*response*/) {
  if (!ParseRsp(text)) return false;
  JudgeConnectionEvents();
  while (!m_listBrntEvents.empty()) {
    ProcessEvent(m_listBrntEvents.front());
    m_listBrntEvents.pop_front();
  }
  return true;
}

void CBrntCmdNotifyHandler::JudgeConnectionEvents() {
  bool seen = false;
  T_BrntEvent disconnect;
  for (const T_BrntEvent& event : m_listBrntEvents) {
    if (!IsConnectionEvent(event)) continue;
    seen = true;
    s_b16HandleDisconEvent = event.strEventType == kDisconnected ? 1 : 0;
    if (s_b16HandleDisconEvent != 0) disconnect = event;
  }
  if (!seen) return;

  if (s_b16HandleDisconEvent == 0) {
    // The disconnects that stay in the list are ignored by ProcessEvent, as the last event was a connect.
    s_listBrntEventsInfo.clear();
    HLOG_INFO("get connect event after disconnect");
    return;
  }
  if (s_listBrntEventsInfo.empty()) {
    s_listBrntEventsInfo.push_back({MonotonicNow(), disconnect});
    HLOG_WARN("need handle disconnect event if no con event is received in 16 seconds");
  }
  m_listBrntEvents.remove_if(IsConnectionEvent);
}

void CBrntCmdNotifyHandler::PorcessConEvent() {
  if (s_listBrntEventsInfo.empty()) return;
  if (s_b16HandleDisconEvent == 0) {
    s_listBrntEventsInfo.clear();
    return;
  }
  const T_BrntEventInfo& pending = s_listBrntEventsInfo.front();
  const auto elapsedSec = static_cast<SInt32>(MonotonicNow().tv_sec - pending.tmSpec.tv_sec);
  if (elapsedSec <= kDisconnectGraceSec) {
    HLOG_INFO("recv disconnect event has past %d seconds", elapsedSec);
    return;
  }
  T_BrntEvent event = pending.stEvent;
  CBrntCmdNotifyHandler().ProcessEvent(event);
  s_listBrntEventsInfo.clear();
  s_b16HandleDisconEvent = 0;
  HLOG_WARN("handle disconnect event, avp will be reset");
}

void CBrntCmdNotifyHandler::ProcessEvent(T_BrntEvent& event) {
  HLOG_INFO("New Event Info : Devide_id[%s] Event_Type[%s] Event_id[%d] Request_id[%d]", event.strDevID.c_str(),
            event.strEventType.c_str(), event.s32EventID, event.s32ReqID);
  s_s32EventID = event.s32EventID;
  if (event.strEventType == kDisconnected && s_b16HandleDisconEvent == 0) {
    HLOG_WARN("Donot handle event DEVICE_DISCONNECTED");
    return;
  }
  if (event.strEventType == kDisconnected) HLOG_WARN("Need handle event DEVICE_DISCONNECTED");

  std::unique_ptr<CBrntEventHandler> handler = CreateEventHandler(event.strEventType);
  if (handler == nullptr) {
    HLOG_WARN("ProcessEvent Event[%s] ignored,do no thing", event.strEventType.c_str());
    return;
  }
  handler->Init(event);
  CBrntProxy::ProcessEvCmd(handler.release());  // the proxy owns it from here
}
