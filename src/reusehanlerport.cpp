// Serial port, infrared and CEC: settings, reception on and off, data to send.
#include "brntcmdworker.h"
#include "brntdevice.h"
#include "brntjson.h"
#include "brntlog.h"
#include "brntplatform.h"
#include "brntsendcmd.h"
#include "brntstreamnames.h"
#include "reusehanler.h"
#include "stringprocess.h"

E_SerialRunMode g_serialmode = e_mode_default;

namespace {

constexpr char kGlobalCache[] = "globalcache";
constexpr int kProntoRoom = 2048;

struct T_LineOrder {
  const char* name;
  const char* command;
};
constexpr T_LineOrder kLineOrders[] = {{"DCE", "gpio.py RS232_Mode 0"}, {"DTE", "gpio.py RS232_Mode 1"}};

struct T_SerialMode {
  const char* name;
  E_RS232_DATA_MODE mode;
};
constexpr T_SerialMode kSerialModes[] = {{"hex", e_rs232_mode_hex}, {"ascii", e_rs232_mode_ascii}};

void SwitchLineOrder(const std::string& id, const std::string& lineOrder) {
  for (const T_LineOrder& row : kLineOrders) {
    if (lineOrder != row.name) continue;
    CBrntPlatform::RunShell(row.command);
    CBrntDevice* local = CBrntDevice::GetBrntDevByID(id);
    if (local != nullptr) local->SetLineOrder(lineOrder);
    return;
  }
  HLOG_ERROR("Unknow [%s]", lineOrder.c_str());
}

SInt32 IntOr0(const Json::Value& object, const char* key) {
  SInt32 value = 0;
  return brntjson::GetInt(object, key, value) ? value : 0;
}

// A text that a command cannot do without.
bool GetNeeded(const Json::Value& body, const char* key, std::string& out) {
  if (brntjson::GetString(body, key, out)) return true;
  HLOG_ERROR("Not found %s", key);
  return false;
}

}  // namespace

bool ReuseHanler::SetSerialBaud(const std::string& id, const Json::Value& settings) {
  std::string lineOrder;
  if (brntjson::GetString(settings, "lineOrder", lineOrder)) SwitchLineOrder(id, lineOrder);
  std::string parity;
  if (!brntjson::GetString(settings, "parity", parity)) parity.clear();
  SendCmd2AVP::SendSetSreialBaudCmd(id, IntOr0(settings, "baudRate"), IntOr0(settings, "databits"),
                                    IntOr0(settings, "stopbits"), parity);
  return true;
}

bool ReuseHanler::SetSerialRecvEventPower(const std::string& id, bool on) {
  if (on) {
    HLOG_INFO("Set Serial Recv Data On");
    SendCmd2AVP::SendSetSreialEecvEventCmd(id, kSerialStream, 0);
  } else if (g_serialmode != e_mode_to_api) {
    HLOG_ERROR("Can't Set Serial Recv Data Off,Because RunMode is Error [%d]", static_cast<int>(g_serialmode));
  } else {
    HLOG_INFO("Set Serial Recv Data Off");
    SendCmd2AVP::SendStopCmd(id, kSerialStream, 0, true);
  }
  return true;
}

bool ReuseHanler::SetIrRecvEventPower(const std::string& id, bool on) {
  if (on) {
    HLOG_INFO("Set Ir Recv Data On");
    SendCmd2AVP::SendSetSreialEecvEventCmd(id, kInfraredStream, 0);
  } else {
    HLOG_INFO("Set Ir Recv Data Off");
    SendCmd2AVP::SendStopCmd(id, kInfraredStream, 0, true);
  }
  return true;
}

bool ReuseHanler::SendSerialData2Avp(const std::string& id, const Json::Value& body) {
  std::string mode;
  if (!GetNeeded(body, "mode", mode)) return false;
  std::string terminator;
  if (!brntjson::GetString(body, "terminator", terminator)) HLOG_WARN("Not found %s", "terminator");
  std::string data;
  if (!GetNeeded(body, "data", data)) return false;
  for (const T_SerialMode& row : kSerialModes) {
    if (mode == row.name) return SendCmd2AVP::SendRs232DataCmd(id, 0, row.mode, data, terminator) != 0;
  }
  HLOG_ERROR("Unknow mode : [%s]", mode.c_str());
  return false;
}

bool ReuseHanler::SendIrData2Avp(const std::string& id, const Json::Value& body) {
  std::string format;
  if (!GetNeeded(body, "format", format)) return false;
  IR_CMD_T cmd;
  if (!GetNeeded(body, "data", cmd.strData)) return false;
  cmd.s32Repeat = IntOr0(body, "repeatTimes");
  if (cmd.s32Repeat < 0 || cmd.s32Repeat > 255) {
    HLOG_ERROR("s32RepeatTimes:%d err, valid [0,255], set default 0", cmd.s32Repeat);
    cmd.s32Repeat = 0;
  }
  const SInt32 interval = IntOr0(body, "interval");
  if (interval < 0 || interval > 1000) HLOG_ERROR("s32Interval:%d err, valid [0,1000], set default 0", interval);
  // Deliberate: the interval is checked and then always 0; only the delay spaces out sends.
  cmd.s32Interval = 0;
  cmd.s32Delay = IntOr0(body, "delay");
  if (cmd.s32Delay < 0 || cmd.s32Delay > 1000) {
    HLOG_ERROR("s32Delay:%d err, valid [0,1000], set default 0", cmd.s32Delay);
    cmd.s32Delay = 0;
  }
  if (StrProcess::HasPrefixNoCase(format, kGlobalCache)) {
    char pronto[kProntoRoom] = {};
    // Deliberate: a list that cannot be converted is queued as empty data, which the builder then refuses.
    App_GlobalCache_To_Pronto(cmd.strData.c_str(), pronto, kProntoRoom);
    cmd.strData = pronto;
  }
  cmd.strDevice = id;
  CreateThread();
  SetIrCmd(cmd);
  HLOG_INFO("SendIrDataCmd count:%d, interval:%d, delay:%d", cmd.s32Repeat, cmd.s32Interval, cmd.s32Delay);
  return true;
}

bool ReuseHanler::SendCECData2Avp(const std::string& id, const Json::Value& body) {
  std::string data;
  if (!GetNeeded(body, "data", data)) return false;
  return SendCmd2AVP::SendCECDataCmd(id, data) != 0;
}
