// The API server's answers: their envelope, the walkers through their JSON, EDID files, and the disconnect watchdog.
//
// Nothing here throws. A null, a missing member and one of the wrong type are the same: absent.
#pragma once

#include <json/value.h>

#include <atomic>
#include <string>
#include <string_view>

#include "OSTypes.h"
#include "brnttypes.h"

// What GetJsonInfo reads: into an SInt32, a std::string, a bool.
enum E_Json_Type { e_int = 0, e_string = 1, e_bool = 2 };

// The disconnect watchdog: entries counted since the last reset, and the uptime in seconds of the first of them, 0 for
// none. Written by ParseRsp alone.
extern std::atomic<SInt32> g_s32DisCount;
extern std::atomic<SInt64> g_lFirstDiscon;

// Seconds since boot.
SInt64 get_uptime();

// Any thread.
class ParseJsonRsp {
 public:
  // Fills rsp from the text of an answer; what the answer does not say stays as it was. False, with rsp untouched, when
  // the text is not JSON. Feeds the disconnect watchdog: when the server has answered DEVICE_DISCONNECTED for more than
  // 60 s of uptime, the endpoint reboots, and this call lasts until then.
  static bool ParseRsp(const std::string& text, T_BrntRsp* rsp);

  // obj's member under key into out, an SInt32*, std::string* or bool* as type says. False, with out left alone, when
  // absent, and for any other type.
  static bool GetJsonInfo(const Json::Value& obj, const char* key, E_Json_Type type, void* out);

  // Replaces value by its member under key; false, with value unchanged, when there is none.
  static bool GetNextJsonObject(const char* key, Json::Value& value);

  // Finds the first element of array whose text under matchKey (empty when absent) equals matchText, and replaces array
  // by that element's member under wantedKey. False when nothing matches (an ERROR line says so) or the element has no
  // such member; array is unchanged then.
  static bool GetNextJsonObjectArray(const char* wantedKey, Json::Value& array, const char* matchKey,
                                     const char* matchText);

  // The same search without taking the value apart: the member, or null. It lives as long as array.
  static const Json::Value* FindInJsonArray(const char* wantedKey, const Json::Value& array, const char* matchKey,
                                            std::string_view matchText);

  // Writes an EDID in hex digits to the file at path, as it is, and its first 256 bytes to path + ".bin". A text of
  // less than 512 digits is no EDID: both files are removed.
  static void SaveEdid(const char* path, const char* hexText);

  // One text out of a small JSON file: "modelNumber" of the board description, "comment" of the AV processor's vendor
  // metadata. False when there is none; standard output says why (this runs before there is a log).
  static bool GetModeFromJsonFile(const char* path, std::string& out);
  static bool GetVersionFromJsonFile(const char* path, std::string& out);

  // Copies from object into the device devId, each text only when present: "firmware_comment", "avpDeviceId",
  // "h264DeviceId", "deviceID" (the infrared source), "edid", "hdcpCapability". Always true.
  static bool ParseJsonInfo(const std::string& devId, const Json::Value& object);

  // "deviceID" as the serial, or the USB/HID, source of device devId. Always true.
  static bool StoreSerialInfo2device(const std::string& devId, const Json::Value& object);
  static bool StoreHIDInfo2device(const std::string& devId, const Json::Value& object);

  // Stores nothing; whether devId is a transmitter.
  static bool StoreTXInfo2device(const std::string& devId);

  // HDCP mode and scaler of a receiver: "hdcpMethod" and "scaler" when present, or the texts as they are. False, with
  // nothing stored, when devId is no receiver.
  static bool StoreRXInfo2device(const std::string& devId, const Json::Value& object);
  static bool StoreRXInfo2device(const std::string& devId, const std::string& hdcpMode, const std::string& scaler);
};
