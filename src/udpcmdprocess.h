// The commands of cmd_core: one message of the master link, the table that finds its handler by tag, the handlers.
//
// Everything here runs on the master link's task, one message at a time; nothing is answered to cmd_core.
#pragma once

#include <json/value.h>

#include <array>
#include <cstddef>
#include <string>

#include "OSTypes.h"
#include "brntcmdworker.h"
#include "msg_tags.h"
#include "reusehanler.h"

enum MSG_BOX_E { MSG_BOX_JSON = 0, MSG_BOX_TIMER = 1 };

// One datagram from cmd_core, or one tick of the master link's timer.
struct Msg_Box {
  char* s_msg = nullptr;  // the datagram; borrowed for the time of the call
  int s_msg_len = 0;
  int s_remoteport = 0;
  int s_remoteip = 0;
  std::string s_deviceid;    // the local device
  std::string s_rsp;         // what a "get" handler leaves
  Json::Value s_bodyobject;  // the JSON that the handler works on
  MSG_BOX_E eType = MSG_BOX_JSON;
  int s32MsgId = 0;  // 1 for the tick
};

// Takes the texts of the row's tags (the slot of an absent further tag is null), the row's user data and the message.
// The low 8 bits of the result count: not 0 is handled.
using ProcessTlvDataHandler = int (*)(char** args, void* userdata, Msg_Box* msg);

constexpr int kMaxTagsPerRow = 5;

// One row of the command table.
struct Tlv_Parse_List {
  int s_tag_num;              // tags read, 1 to 5
  int s_tag[kMaxTagsPerRow];  // the first selects the row
  void* s_userdata;
  ProcessTlvDataHandler s_processhandler;
};

// Searched in order; the first row whose tag a message holds takes it. The tags are those of msg_tags.h.
extern const std::array<Tlv_Parse_List, kCommandTags.size()> TlvTaskLists;

class ApiHandler {
 public:
  // One per row of the table.
  static int GetAssociationsVideoHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetAssociationsVideoHandler(char** args, void* userdata, Msg_Box* msg);
  static int GetAssociationsSerialHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetAssociationsSerialHandler(char** args, void* userdata, Msg_Box* msg);
  static int GetAssociationsIRHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetAssociationsIRHandler(char** args, void* userdata, Msg_Box* msg);
  static int GetAssociationsUSB_HIDHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetAssociationsUSB_HIDHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetVideoHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetSerialHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetIRHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetHidHandler(char** args, void* userdata, Msg_Box* msg);
  static int SendSerialData(char** args, void* userdata, Msg_Box* msg);
  static int SendIrData(char** args, void* userdata, Msg_Box* msg);
  static int SendCECData(char** args, void* userdata, Msg_Box* msg);
  static int ResetDevice(char** args, void* userdata, Msg_Box* msg);
  static int CmdCoreOnlineHanler(char** args, void* userdata, Msg_Box* msg);  // (sic)
  static int SetHdmiOutAudioSrc(char** args, void* userdata, Msg_Box* msg);
  static int SetMultiviewHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetPropertyHandler(char** args, void* userdata, Msg_Box* msg);

  // In no row of the table: cmd_core does not reach these.
  static int GetAssociationsAllHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetAssociationsAllHandler(char** args, void* userdata, Msg_Box* msg);
  static int GetVideoInputHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetVideoInputHandler(char** args, void* userdata, Msg_Box* msg);
  static int GetVideoOutputHandler(char** args, void* userdata, Msg_Box* msg);
  static int GetVideoHandler(char** args, void* userdata, Msg_Box* msg);
  static int SetVideoOutputHandler(char** args, void* userdata, Msg_Box* msg);

  // For the tick. The last two only post to the worker.
  static int GetNetstatHandler(Msg_Box* msg);
  static int GetEdidHandler(Msg_Box* msg);
  static int GetNetstatAndEdidHandler(Msg_Box* msg);
  static int CheckVideoWallStatus(Msg_Box* msg);
};

// Finds the row whose first tag the command box of the datagram holds and calls its handler; a row with no tags or no
// handler is passed over. The low 8 bits of the handler's result; 0, with the reason in the log, when the datagram
// holds no command. An exception that leaves the handler drops the message.
int DispatchTlv(const Tlv_Parse_List* rows, size_t rowCount, Msg_Box* msg);

// Whether cmd_core has announced itself. Any thread.
bool IfCmdCoreOnline();
void SetCmdCoreOnline(bool online);
