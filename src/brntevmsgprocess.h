// What the process does when the API server announces an event: one handler class per event type.
//
// A handler is made on the TCI task for each event, handed to the proxy queue, and used there once: the proxy fetches
// the outcome of the event's request, calls DoResponse on its own task and deletes the handler. Most handlers have
// nothing to do with the outcome; making one is still what gets it fetched and logged.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "OSTypes.h"
#include "brnttypes.h"

// One event of a notification. Members that the notification leaves out are empty or 0.
struct T_BrntEvent {
  std::string strDevID;
  SInt32 s32EventID = 0;
  std::string strEventType;
  SInt32 s32TimeStamp = 0;  // Unix seconds
  SInt32 s32ReqID = 0;      // the request whose outcome tells more, "/api/request/<id>"
};

// Base of the event handlers. One owner at a time: the TCI task, then the proxy.
class CBrntEventHandler {
 public:
  virtual ~CBrntEventHandler() = default;

  // Takes over the event's members.
  virtual void Init(T_BrntEvent event);

  // Acts on the outcome of the event's request: its JSON text and status. The result tells whether everything that was
  // to be done has been done; nobody retries on false.
  virtual bool DoResponse(const std::string& result, E_Status status);

  std::string GetDevId() const { return m_DevID; }
  SInt32 GetReqId() const { return m_ReqID; }

 protected:
  std::string m_DevID;
  SInt32 m_EventID = 0;
  std::string m_EventType;
  SInt32 m_TimeStamp = 0;
  SInt32 m_ReqID = 0;
};

// Events whose outcome is fetched and not used.
class CBrntEvDeviceConnHandler : public CBrntEventHandler {};
class CBrntEvDevInfoAvailableHandler : public CBrntEventHandler {};
class CBrntEvFirUpdateStartHandler : public CBrntEventHandler {};
class CBrntEvFirUpdateProcessHandler : public CBrntEventHandler {};
class CBrntEvFirUpdateComoleteHandler : public CBrntEventHandler {};  // (sic)
class CBrntEvI2cHandler : public CBrntEventHandler {};
class CBrntEvRequestCompleteHandler : public CBrntEventHandler {};
class CBrntEvCECRecvHandler : public CBrntEventHandler {};

// Resets the AV processor through its reset line, once per process. Blocks the proxy task for the 6 s and more that
// the command takes.
class CBrntEvDeviceDisconnHandler : public CBrntEventHandler {
 public:
  bool DoResponse(const std::string& result, E_Status status) override;
};

// Forwards received serial data to cmd_core; true when a report was sent.
class CBrntEvRs232RecvHandler : public CBrntEventHandler {
 public:
  bool DoResponse(const std::string& result, E_Status status) override;
};

// Forwards received infrared data to cmd_core; true when a report was sent.
class CBrntEvIrRecvHandler : public CBrntEventHandler {
 public:
  bool DoResponse(const std::string& result, E_Status status) override;
};

// Keeps the outcome in /tmp/avpinfo.json and reads the device documents in it into the devices that are known.
class CBrntEvSettingChangedHandler : public CBrntEventHandler {
 public:
  bool DoResponse(const std::string& result, E_Status status) override;
};

// The handler for an event type; null for a type that nobody handles. Any thread.
std::unique_ptr<CBrntEventHandler> CreateEventHandler(std::string_view eventType);
