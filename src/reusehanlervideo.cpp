// Video: input of an encoder, streams of an encoder, output of a decoder with single picture and wall.
#include "brntdevice.h"
#include "brntjson.h"
#include "brntlog.h"
#include "brntparsersp.h"
#include "brntsendcmd.h"
#include "brntstreamnames.h"
#include "reusehanler.h"
#include "stringprocess.h"

std::string& ReuseHanler::LastVWStretchType = *new std::string("STRETCH");

namespace {

constexpr char kDefaultSingleWallMode[] = "genlock";
constexpr char kDefaultWallMode[] = "genlock";

struct T_HdcpMethod {
  const char* name;
  E_HDCP_MODE mode;
};
constexpr T_HdcpMethod kHdcpMethods[] = {{"Follow Sink", e_hdcp_mode_follow_sink_1},
                                         {"Follow Source", e_hdcp_mode_follow_sourse}};

struct T_StretchType {
  const char* name;  // as cmd_core writes it, case ignored
  const char* mode;  // as the server does
};
constexpr T_StretchType kStretchTypes[] = {{"Stretch", "STRETCH"}, {"Fit", "KEEP"}, {"Fill", "CROP"}};
constexpr char kUnknownStretch[] = "CROP";

constexpr const char* kWallModes[] = {"fastSwitch", "genlock", "auto"};

// What an encoder's HDMI input takes: HDCP at all, and not version 2.2.
struct T_HdcpCapability {
  const char* name;
  bool support;
  bool not22;
};
constexpr T_HdcpCapability kHdcpCapabilities[] = {
    {"HDCP 2.x", true, false}, {"HDCP 1.x", true, true}, {"Unsupport", false, false}};

struct T_WallNumber {
  const char* key;
  SInt32 Video_Wall_Param::*member;
};
constexpr T_WallNumber kWallNumbers[] = {
    {"maxRow", &Video_Wall_Param::i_maxRow},
    {"maxColumn", &Video_Wall_Param::i_maxColumn},
    {"posRow", &Video_Wall_Param::i_posRow},
    {"posColumn", &Video_Wall_Param::i_posColumn},
};
constexpr T_WallNumber kWallBezels[] = {{"bezelHoriz", &Video_Wall_Param::bezelHoriz},
                                        {"bezelVert", &Video_Wall_Param::bezelVert}};

// The members of an object; of anything else, and of a missing one, an empty object has none.
const Json::Value& Object(const Json::Value& parent, const char* key) {
  static const Json::Value& kNone = *new Json::Value(Json::objectValue);
  const Json::Value* member = brntjson::Member(parent, key);
  return member != nullptr && member->isObject() ? *member : kNone;
}

bool HasObject(const Json::Value& parent, const char* key) {
  const Json::Value* member = brntjson::Member(parent, key);
  return member != nullptr && member->isObject();
}

bool BoolOrFalse(const Json::Value& object, const char* key) {
  bool value = false;
  return brntjson::GetBool(object, key, value) && value;
}

E_HDCP_MODE HdcpModeOf(const std::string& method) {
  for (const T_HdcpMethod& row : kHdcpMethods) {
    if (method == row.name) return row.mode;
  }
  return e_hdcp_mode_none;
}

void SetSingle(const std::string& id, const Json::Value& hdmiOut) {
  const Json::Value& layout = Object(hdmiOut, "singleLayout");
  std::string scaler;
  if (!brntjson::GetString(layout, "scaler", scaler)) return;
  std::string wallMode;
  if (!brntjson::GetString(layout, "wallMode", wallMode)) wallMode = kDefaultSingleWallMode;
  if (SendCmd2AVP::SendRxVideoResCmd(id, scaler, BoolOrFalse(layout, "videoWall"), wallMode, true) == 0) return;
  Json::Value record;
  record["scaler"] = scaler;
  const Json::Value* method = brntjson::Member(hdmiOut, "hdcpMethod");
  if (method != nullptr) record["hdcpMethod"] = *method;
  ParseJsonRsp::StoreRXInfo2device(id, record);
}

// The stretch type that a wall command names, or the last one used; it becomes the last one.
const std::string& StretchTypeOf(const Json::Value& layout) {
  std::string name;
  std::string& last = ReuseHanler::LastVWStretchType;
  if (!brntjson::GetString(layout, "stretchType", name)) {
    HLOG_INFO("set video wall,but can't found [%s] , so used default value [%s]", "stretchType", last.c_str());
    return last;
  }
  for (const T_StretchType& row : kStretchTypes) {
    if (StrProcess::EqualsNoCase(name, row.name)) return last = row.mode;
  }
  HLOG_ERROR("set video wall,but param [%s] unknow", name.c_str());
  return last = kUnknownStretch;
}

std::string WallModeOf(const Json::Value& layout) {
  std::string mode;
  if (!brntjson::GetString(layout, "wallMode", mode)) {
    mode = kDefaultWallMode;
    HLOG_INFO("video default wall mode :%s", mode.c_str());
    return mode;
  }
  bool known = false;
  for (const char* name : kWallModes) known = known || StrProcess::EqualsNoCase(mode, name);
  if (!known) {
    // Deliberate: the line names fastswitch, the mode becomes genlock.
    HLOG_ERROR("set video wall,but param [%s] err, use default fastswitch", mode.c_str());
    mode = kDefaultWallMode;
  }
  HLOG_INFO("video wall mode :%s", mode.c_str());
  return mode;
}

bool ReadWall(const Json::Value& layout, Video_Wall_Param* pParam) {
  constexpr char kMissing[] = "set video wall,but can't found [%s]";
  if (!brntjson::GetString(layout, "scaler", pParam->i_videotiming)) {
    HLOG_ERROR(kMissing, "scaler");
    return false;
  }
  for (const T_WallNumber& row : kWallNumbers) {
    if (brntjson::GetInt(layout, row.key, pParam->*row.member)) continue;
    HLOG_ERROR(kMissing, row.key);
    return false;
  }
  pParam->i_stretchType = StretchTypeOf(layout);
  for (const T_WallNumber& row : kWallBezels) {
    if (!brntjson::GetInt(layout, row.key, pParam->*row.member)) pParam->*row.member = 0;
  }
  pParam->i_wallMode = WallModeOf(layout);
  return true;
}

void SetWall(const std::string& id, const Json::Value& hdmiOut) {
  Video_Wall_Param param;
  if (ReadWall(Object(hdmiOut, "videoWallLayout"), &param)) SendCmd2AVP::SendRxVideoWallCmd(id, &param, true);
}

void SetMultiview(const std::string& id, const Json::Value& hdmiOut) {
  const Json::Value* layout = brntjson::Member(hdmiOut, "multiviewLayout");
  if (layout != nullptr) ReuseHanler::SendMultiviewCmd(id, *layout);
}

// Compared by prefix, case ignored.
struct T_DisplayMode {
  const char* prefix;
  void (*set)(const std::string& id, const Json::Value& hdmiOut);
};
constexpr T_DisplayMode kDisplayModes[] = {{"single", SetSingle}, {"videoWall", SetWall}, {"multiview", SetMultiview}};

// The multicast address of one of the local device's own streams.
std::string OwnAddress(const std::string& mac, int kind) {
  std::string address;
  CBrntDevice::GetMultyAddressFromStr(mac, address, kind);
  return address;
}

// Deliberate: the lines about streams keep their double blanks.
void SetStream0(const std::string& id, const std::string& mac, const Json::Value& stream) {
  if (BoolOrFalse(stream, "enable")) {
    const std::string address = OwnAddress(mac, kAddressOfVideo0);
    SendCmd2AVP::SendStartCmd(id, kVideoStreamToStart, 0, address);
    HLOG_INFO("Start stream 0 HDMI : [%s -- %s]", mac.c_str(), address.c_str());
  } else {
    SendCmd2AVP::SendStopCmd(id, kVideoStream, 0, true);
  }
  if (BoolOrFalse(stream, "enableAudio")) {
    SendCmd2AVP::SendRemoveAudioCmd(id, false);
    const std::string address = OwnAddress(mac, kAddressOfAudio);
    SendCmd2AVP::SendStartCmd(id, kAudioStream, 0, address);
    HLOG_INFO("Start stream 0  HDMI_AUDIO : [%s -- %s]", mac.c_str(), address.c_str());
  } else {
    SendCmd2AVP::SendStopCmd(id, kAudioStream, 0, true);
    HLOG_INFO("Start stream 0  HDMI_AUDIO stop");
    SendCmd2AVP::SendRemoveAudioCmd(id, true);
  }
  bool halved = false;
  if (brntjson::GetBool(stream, "halfFrameRate", halved)) SendCmd2AVP::SendFrameRateHalvedCmd(id, 0, halved);
}

void SetStream1(const std::string& id, const std::string& mac, const Json::Value& stream) {
  bool enable = false;
  if (brntjson::GetBool(stream, "enable", enable)) {
    if (enable) {
      const std::string address = OwnAddress(mac, kAddressOfVideo1);
      SendCmd2AVP::SendStartCmd(id, kVideoStreamToStart, 1, address);
      HLOG_INFO("Start stream 1  HDMI : [%s -- %s]", mac.c_str(), address.c_str());
    } else {
      SendCmd2AVP::SendStopCmd(id, kVideoStream, 1, true);
      SendCmd2AVP::SendStopCmd(id, kAudioStream, 1, true);
    }
  }
  SInt32 width = 0;
  SInt32 height = 0;
  if (brntjson::GetInt(stream, "height", height) && brntjson::GetInt(stream, "width", width)) {
    SendCmd2AVP::SendSetTXScaleCmd(id, width, height);
  }
  bool halved = false;
  if (brntjson::GetBool(stream, "halfRefreshRate", halved)) SendCmd2AVP::SendFrameRateHalvedCmd(id, 1, halved);
}

}  // namespace

bool ReuseHanler::SetTXVideoInput(const std::string& id, const Json::Value& hdmiIn) {
  const CBrntDevice* local = CBrntDevice::GetBrntDevByID(id);
  if (local == nullptr || (local->m_bTx == 0 && local->m_bTRx == 0)) {
    HLOG_ERROR("It's not a TX device,can't do this command [set video input EDID and HDCP]");
    return false;
  }
  std::string edid;
  if (brntjson::GetString(hdmiIn, "hdmiInEDID", edid) && !edid.empty()) SendCmd2AVP::SendSetTxEdidCmd(id, edid);
  std::string capability;
  if (!brntjson::GetString(hdmiIn, "hdcpCapability", capability) || capability.empty()) return true;
  for (const T_HdcpCapability& row : kHdcpCapabilities) {
    if (capability != row.name) continue;
    SendCmd2AVP::SendHdcpSupportCmd(id, row.support);
    if (row.support) SendCmd2AVP::SendHdcpNotSupport22Cmd(id, row.not22);
    ParseJsonRsp::ParseJsonInfo(id, hdmiIn);
    return true;
  }
  HLOG_ERROR("[%s] Unkown", capability.c_str());
  return false;
}

bool ReuseHanler::SetRXVideoOutput(const std::string& id, const Json::Value& hdmiOut) {
  const CBrntDevice* local = CBrntDevice::GetBrntDevByID(id);
  if (local == nullptr || (local->m_bRx == 0 && local->m_bTRx == 0)) {
    // Deliberate: two blanks, and the command counts as done.
    HLOG_ERROR("It's  a TX device,can't do this command [set video output hdmiout]");
    return true;
  }
  std::string method;
  if (brntjson::GetString(hdmiOut, "hdcpMethod", method)) SendCmd2AVP::SendHdcpSetModeCmd(id, HdcpModeOf(method));
  std::string mode;
  if (!brntjson::GetString(hdmiOut, "displayMode", mode)) return true;
  for (const T_DisplayMode& row : kDisplayModes) {
    if (!StrProcess::HasPrefixNoCase(mode, row.prefix)) continue;
    row.set(id, hdmiOut);
    break;
  }
  return true;
}

bool ReuseHanler::SetTXVideoOutput(const std::string& id, const Json::Value& streamOut) {
  const CBrntDevice* local = CBrntDevice::GetBrntDevByID(id);
  if (local == nullptr) return false;
  if (local->m_bRx != 0) {
    HLOG_ERROR("RX device Can't Set %s", "streams");
    return false;
  }
  const Json::Value& streams = Object(streamOut, "streams");
  if (streams.empty()) {
    HLOG_ERROR("Can't found [%s]", "streams");
    return false;
  }
  char mac[kMacTextRoom];
  GetMyMACID(mac, sizeof mac);
  if (HasObject(streams, "avpStream0")) SetStream0(id, mac, Object(streams, "avpStream0"));
  if (HasObject(streams, "avpStream1")) SetStream1(id, mac, Object(streams, "avpStream1"));
  return true;
}
