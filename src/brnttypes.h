// Types shared by several parts of the process: requests, replies, roles, report kinds.
#pragma once

#include <json/value.h>

#include <string>

#include "OSTypes.h"

// The role of the endpoint, from the board description.
enum E_DEVICE_MODE { e_unknow = 0, e_TX = 1, e_RX = 2, e_TRX = 3 };

// Start-up settings; filled by the command line and the board description, constant afterwards.
struct T_InitData {
  E_DEVICE_MODE s_mode = e_unknow;
  std::string s_deviceid;  // the local AVP's MAC as given: meant to be twelve lower-case hex digits, not checked
  bool g_upgradeflag = false;
  int s32ForceUpgrade = 0;
};

enum E_Http_Method { e_method_get = 0, e_method_post = 1, e_method_delete = 2 };

// The "status" member of an API answer.
enum E_Status {
  e_status_UNDEFINED = 0,
  e_status_SUCCESS = 1,
  e_status_ERROR = 2,
  e_status_PROCESSING = 3,
  e_status_NOTIFY = 4,
};

// Report kinds of ReportAsyncMsg.
enum E_Event_Type : SInt32 {
  e_event_video = 0,
  e_event_rs232 = 1,
  e_event_ir = 2,
  e_event_online = 3,
  e_event_audio = 4,
  e_event_monitor = 5,
  e_event_alive = 6,
  e_event_videowall = 7,
};

// The request kinds, value and name from one list.
#define AVP_MSG_LIST(X)                    \
  X(AVP_MSG_GET_VERSION, 0)                \
  X(AVP_MSG_STOP_AV, 1)                    \
  X(AVP_MSG_START_AV, 2)                   \
  X(AVP_MSG_SUBSCRIBE, 3)                  \
  X(AVP_MSG_LEAVE, 4)                      \
  X(AVP_MSG_SWITCHADDR, 5)                 \
  X(AVP_MSG_SETTXEDID, 6)                  \
  X(AVP_MSG_GETEDID, 7)                    \
  X(AVP_MSG_SETTXSCALE, 8)                 \
  X(AVP_MSG_HDCPSUPPORT, 9)                \
  X(AVP_MSG_HDCPNOTSUPPORT, 10)            \
  X(AVP_MSG_HDCPMODE, 11)                  \
  X(AVP_MSG_SET_DISP_MODE, 12)             \
  X(AVP_MSG_SET_VIDEO_WALL, 13)            \
  X(AVP_MSG_SET_SERIAL_ATTR, 14)           \
  X(AVP_MSG_SERIAL_SWITCH, 15)             \
  X(AVP_MSG_SEND_SERIAL_DATA, 16)          \
  X(AVP_MSG_SEND_IR_DATA, 17)              \
  X(AVP_MSG_SEND_CEC_DATA, 18)             \
  X(AVP_MSG_FRAME_HALF, 19)                \
  X(AVP_MSG_GET_FW, 20)                    \
  X(AVP_MSG_GET_IDENTITY, 21)              \
  X(AVP_MSG_SEND_UPDATE, 22)               \
  X(AVP_MSG_SEND_REBOOT, 23)               \
  X(AVP_MSG_GET_DEVICE, 24)                \
  X(AVP_MSG_SEND_FACTORY, 25)              \
  X(AVP_MSG_HDMIOUT_AUD_SRC, 26)           \
  X(AVP_MSG_MV_CREATE_LAYOUT, 27)          \
  X(AVP_MSG_DELETE_LAYOUT, 28)             \
  X(AVP_MSG_GET_LAYOUT, 29)                \
  X(AVP_MSG_MV_CREATE_WIN, 30)             \
  X(AVP_MSG_MV_DELETE_WIN, 31)             \
  X(AVP_MSG_MV_SET_DISP, 32)               \
  X(AVP_MSG_GET_NETSTAT, 33)               \
  X(AVP_MSG_SET_PROPERTY_DEVICE_MODE, 34)  \
  X(AVP_MSG_GET_PROPERTY_DEVICE_MODE, 35)  \
  X(AVP_MSG_SET_PROPERTY_REMOVE_AUDIO, 36) \
  X(AVP_MSG_GET_PROPERTY_REMOVE_AUDIO, 37)

#define AVP_MSG_ENUMERATOR(name, value) name = (value),
enum AVP_MSG_E { AVP_MSG_LIST(AVP_MSG_ENUMERATOR) };
#undef AVP_MSG_ENUMERATOR

// One BlueRiver request on its way through the proxy queue, and its answer once sent.
struct T_ZpCmd {
  E_Http_Method httpmethod = e_method_get;
  UInt32 u32CmdSeq = 0;  // 1 and up; 0 only in requests that never were queued
  std::string DeviceId;
  std::string ReqLine;  // "http://host:port"
  std::string RestAPI;  // path, begins with '/'
  std::string ReqBody;
  std::string RspBody;
  E_Status RspStatus = e_status_UNDEFINED;
  AVP_MSG_E eMsgType = AVP_MSG_GET_VERSION;
};

// Reason and message of an API error; both empty when there is none.
struct T_Error {
  std::string strReason;
  std::string strMsg;
};

// One parsed API answer.
struct T_BrntRsp {
  E_Status eRspStatus = e_status_UNDEFINED;
  SInt32 s32ReqID = 0;
  std::string strResult;      // "result" written compactly, with a newline at the end
  T_Error tErrorInfo;         // the top-level "error"
  Json::Value objResultJson;  // a copy of "result"
  T_Error tResultErrorInfo;   // the last DEVICE_DISCONNECTED entry of "result"."error"
};
