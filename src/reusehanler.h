// What the commands of cmd_core have in common: each operation checks its JSON and queues the requests that carry it
// out (brntsendcmd.h).
//
// Master link's task, but for CheckVideoWallStatus, which belongs to the worker thread (brntcmdworker.h). No state but
// the statics below. The first argument is the local device's id; the local device exists. A JSON member that is null
// or of the wrong type counts as absent. The result tells the handler whether to log a failure; cmd_core gets no
// answer.
//
// reusehanler.cpp holds the associations, reusehanlerport.cpp serial, infrared and CEC, reusehanlervideo.cpp the video
// settings, reusehanlermaint.cpp properties, audio and maintenance, reusehanlermv.cpp multiview.
#pragma once

#include <json/value.h>

#include <string>

#include "OSTypes.h"
#include "brntglobalcache.h"

class ReuseHanler {  // (sic)
 public:
  // Where a receiver takes its traffic from.
  static bool SetAssociationsVideo(const std::string& id, const Json::Value& subscription);
  static bool SetAssociationsIR(const std::string& id, const Json::Value& subscription);
  static bool SetAssociationsSerial(const std::string& id, const Json::Value& subscription);
  static bool SetAssociationsUSB_HID(const std::string& id, const Json::Value& subscription);

  // Video in and out.
  static bool SetTXVideoInput(const std::string& id, const Json::Value& hdmiIn);
  static bool SetRXVideoInput(const std::string& id, const Json::Value& subscription);
  static bool SetTXVideoOutput(const std::string& id, const Json::Value& streamOut);
  static bool SetRXVideoOutput(const std::string& id, const Json::Value& hdmiOut);
  // Checks the whole layout before it queues the first request.
  static bool SendMultiviewCmd(const std::string& id, const Json::Value& multiview);

  // Serial, infrared, CEC.
  static bool SetSerialBaud(const std::string& id, const Json::Value& settings);
  static bool SetSerialRecvEventPower(const std::string& id, bool on);
  static bool SetIrRecvEventPower(const std::string& id, bool on);
  static bool SendSerialData2Avp(const std::string& id, const Json::Value& body);
  static bool SendIrData2Avp(const std::string& id, const Json::Value& body);
  static bool SendCECData2Avp(const std::string& id, const Json::Value& body);

  // Properties, audio, maintenance. SendHdmiOutAudSrc2Avp may hold its caller for 50 ms.
  static bool DoAvpReset(const std::string& id);
  static bool SendHdmiOutAudSrc2Avp(const std::string& id, const Json::Value& body);
  static bool SendPropertyCmd(const std::string& id, const Json::Value& body);
  static bool SendNetstatCmd(const std::string& id, const Json::Value& body);
  static bool SendEdidCmd(const std::string& id, const Json::Value& body);
  static bool CheckVideoWallStatus(const std::string& id, const Json::Value& body);

  static std::string& LastVWStretchType;  // of the last video wall command; master link's task only, never destroyed

 private:
  static int count;  // wall checks since the last summary line; worker thread only
};

// Who takes received serial data; only e_mode_to_api lets reception be switched off.
enum E_SerialRunMode { e_mode_to_api = 0, e_mode_to_device = 1, e_mode_default = 2 };

extern E_SerialRunMode g_serialmode;  // master link's task only

constexpr unsigned kMacTextRoom = 14;  // the least that GetMyMACID writes an address into

// Writes the hardware address of eth0 to buf as twelve lower-case hexadecimal digits, the empty text when it cannot be
// read or len is 2 to 13; len 0 and 1 leave buf alone. Returns buf, null for null.
char* GetMyMACID(char* buf, unsigned len);
