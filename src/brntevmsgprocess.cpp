#include "brntevmsgprocess.h"

#include <cstdio>
#include <utility>

#include "brntasynctask.h"
#include "brntdevice.h"
#include "brntjson.h"
#include "brntlog.h"
#include "brntplatform.h"

namespace {

constexpr char kAvpInfoFile[] = "/tmp/avpinfo.json";

// How received data of one kind is found in the outcome and forwarded.
struct T_RecvKind {
  const char* eventName;  // in "Don't Process %s_Recv_Event"
  const char* logName;    // in "Get %s RECV EVENT 's Rsp"
  const char* arrayKey;
  const char* dataKey;  // in the outcome and in the report
  const char* dataName;
  E_Event_Type report;
};

constexpr T_RecvKind kRs232Recv = {"Rs232", "RS232", "rs232", "rs232_data", "serial_data", e_event_rs232};
constexpr T_RecvKind kIrRecv = {"IR", "IR", "infrared", "infrared_data", "ir_data", e_event_ir};

// The array at result[outer][inner]; null, with an ERROR line that names the missing key, when it is not there.
const Json::Value* FindArray(const Json::Value& response, const char* inner) {
  const Json::Value* result = brntjson::Member(response, "result");
  if (result == nullptr || !result->isObject()) {
    HLOG_ERROR("Not Found [%s]", "result");
    return nullptr;
  }
  const Json::Value* array = brntjson::Member(*result, inner);
  if (array == nullptr || !array->isArray()) {
    HLOG_ERROR("Not Found [%s]", inner);
    return nullptr;
  }
  return array;
}

// The data of the first element that has some and belongs to the device. An element without a device id belongs to
// the device without one.
bool FindData(const Json::Value& array, const T_RecvKind& kind, const std::string& deviceId, std::string& data) {
  for (const Json::Value& element : array) {
    std::string elementId;
    std::string elementData;
    if (!brntjson::GetString(element, kind.dataKey, elementData)) continue;
    if (!brntjson::GetString(element, "device_id", elementId)) elementId.clear();
    if (elementId != deviceId) continue;
    data = std::move(elementData);
    return true;
  }
  return false;
}

bool ForwardReceived(const T_RecvKind& kind, const std::string& deviceId, const std::string& result, E_Status status) {
  if (status != e_status_SUCCESS) {
    HLOG_ERROR("Don't Process %s_Recv_Event,because i_status is [%d]", kind.eventName, status);
    return false;
  }
  Json::Value response;
  if (!brntjson::Parse(result, response)) {
    HLOG_ERROR("Get %s RECV EVENT 's Rsp . Data Format is not json", kind.logName);
    return false;
  }
  const Json::Value* array = FindArray(response, kind.arrayKey);
  if (array == nullptr) return false;
  std::string data;
  if (!FindData(*array, kind, deviceId, data)) return false;

  Json::Value report;
  report[kind.dataKey] = data;
  const std::string text = brntjson::Write(report);
  ReportAsyncMsg(kind.report, text);
  HLOG_INFO("Get %s RECV EVENT 's Rsp .device_id[%s] %s[%s]", kind.logName, deviceId.c_str(), kind.dataName,
            text.c_str());
  return true;
}

void SaveAvpInfo(const std::string& text) {
  std::FILE* file = std::fopen(kAvpInfoFile, "we");
  if (file == nullptr) {
    std::perror("fopen error :");
    return;
  }
  std::fwrite(text.data(), 1, text.size(), file);
  std::fflush(file);
  std::fclose(file);
  CBrntPlatform::RunShell("sync");
}

template <typename Handler>
std::unique_ptr<CBrntEventHandler> Make() {
  return std::make_unique<Handler>();
}

struct T_HandlerRow {
  std::string_view eventType;
  std::unique_ptr<CBrntEventHandler> (*make)();
};

constexpr T_HandlerRow kHandlers[] = {
    {"DEVICE_CONNECTED", Make<CBrntEvDeviceConnHandler>},
    {"DEVICE_DISCONNECTED", Make<CBrntEvDeviceDisconnHandler>},
    {"DEVICE_INFO_AVAILABLE", Make<CBrntEvDevInfoAvailableHandler>},
    {"FIRMWARE_UPDATE_START", Make<CBrntEvFirUpdateStartHandler>},
    {"FIRMWARE_UPDATE_PROGRESS", Make<CBrntEvFirUpdateProcessHandler>},
    {"FIRMWARE_UPDATE_COMPLETE", Make<CBrntEvFirUpdateComoleteHandler>},
    {"I2C", Make<CBrntEvI2cHandler>},
    {"INFRARED_RECEIVED", Make<CBrntEvIrRecvHandler>},
    {"REQUEST_COMPLETE", Make<CBrntEvRequestCompleteHandler>},
    {"RS232_RECEIVED", Make<CBrntEvRs232RecvHandler>},
    {"CEC_RECEIVED", Make<CBrntEvCECRecvHandler>},
    {"SETTINGS_CHANGED", Make<CBrntEvSettingChangedHandler>},
};

}  // namespace

void CBrntEventHandler::Init(T_BrntEvent event) {
  m_DevID = std::move(event.strDevID);
  m_EventID = event.s32EventID;
  m_EventType = std::move(event.strEventType);
  m_TimeStamp = event.s32TimeStamp;
  m_ReqID = event.s32ReqID;
}

bool CBrntEventHandler::DoResponse(const std::string& /*result*/, E_Status /*status*/) { return true; }

bool CBrntEvDeviceDisconnHandler::DoResponse(const std::string& result, E_Status status) {
  static SInt32 s_s32ResetDone = 0;  // proxy task only

  HLOG_INFO("Device Disconnected : i_status = [%d] ; i_strResponse = [%s]", status, result.c_str());
  if (s_s32ResetDone != 0) return true;
  HLOG_WARN("Device Disconnected after upgrade, GLOBAL_RST to fix DEVICE_DISCONNECTED bug");
  CBrntPlatform::RunShell("sleep 6; /customer/bin/gpio.py GLOBAL_RST r;");
  s_s32ResetDone = 1;
  return true;
}

bool CBrntEvRs232RecvHandler::DoResponse(const std::string& result, E_Status status) {
  return ForwardReceived(kRs232Recv, m_DevID, result, status);
}

bool CBrntEvIrRecvHandler::DoResponse(const std::string& result, E_Status status) {
  return ForwardReceived(kIrRecv, m_DevID, result, status);
}

bool CBrntEvSettingChangedHandler::DoResponse(const std::string& result, E_Status status) {
  // Deliberate: what the API server said is kept for people to look at, whatever it was.
  SaveAvpInfo(result);
  if (status != e_status_SUCCESS) {
    HLOG_ERROR("Get Setting Changed 's Rsp . status is not success [%d]  ", status);
    return false;
  }
  HLOG_INFO("Process Setting Changed ...");
  Json::Value response;
  if (!brntjson::Parse(result, response)) {
    HLOG_ERROR("Get Setting Changed 's Rsp . Data Format is not json");
    return false;
  }
  const Json::Value* devices = FindArray(response, "devices");
  if (devices == nullptr) return false;
  for (const Json::Value& element : *devices) {
    std::string id;
    if (!brntjson::GetString(element, "device_id", id)) continue;
    CBrntDevice* device = CBrntDevice::FindBrntDevByID(id);
    if (device != nullptr) device->ParseDevice(element, true);
  }
  return true;
}

std::unique_ptr<CBrntEventHandler> CreateEventHandler(std::string_view eventType) {
  for (const T_HandlerRow& row : kHandlers) {
    if (row.eventType == eventType) return row.make();
  }
  return nullptr;
}
