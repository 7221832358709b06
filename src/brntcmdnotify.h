// Notification lines of the TCI link: from the line's text to one event handler per event in the proxy queue, and the
// debouncing of the AV processor's connection events.
//
// TCI task only, all of it; the state that outlives a line has no lock for that reason. A disconnect is acted on when
// no connect has followed it for 16 s.
#pragma once

#include <ctime>
#include <list>
#include <string>

#include "OSTypes.h"
#include "brntevmsgprocess.h"

// A disconnect that waits for its deadline.
struct T_BrntEventInfo {
  timespec tmSpec{};  // monotonic clock, when the disconnect arrived
  T_BrntEvent stEvent;
};

class CBrntCmdNotifyHandler {
 public:
  // True for a JSON object whose "status" is "NOTIFICATION"; says in the log why not.
  static bool IsNotifyMsg(const std::string& line);

  // Handles one notification line to its end.
  static void ProcessNotifyMsg(const std::string& line);

  // The deadline check (sic); called about once a second. Acts on a pending disconnect that is 16 s old.
  static void PorcessConEvent();

  // Reads the notification, judges its connection events and handles the rest. Nothing is written to response. False
  // when the text is no notification.
  bool DoResponse(const std::string& text, std::string& response);

  // Fills the list of events; false, with the list as far as it got, when the text is no notification.
  bool ParseRsp(const std::string& text);

  // Kept as a hook; it does nothing.
  void DoRequest() {}

  // Hands a handler for the event to the proxy, if its type has one.
  void ProcessEvent(T_BrntEvent& event);

  // The id of the event that ProcessEvent saw last, handled or not.
  static SInt32 LastEventId() { return s_s32EventID; }

  const std::list<T_BrntEvent>& Events() const { return m_listBrntEvents; }

 private:
  // Keeps, cancels or starts the wait of a disconnect, and takes from the list what is not to be handled now.
  void JudgeConnectionEvents();

  std::list<T_BrntEvent> m_listBrntEvents;  // in the order of the notification
  [[maybe_unused]] Bool16 m_b16SettingChanged = 0;

  static std::list<T_BrntEventInfo> s_listBrntEventsInfo;  // empty, or the pending disconnect
  static Bool16 s_b16HandleDisconEvent;                    // the last connection event was a disconnect
  static SInt32 s_s32EventID;
};
