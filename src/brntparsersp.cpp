#include "brntparsersp.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>

#include "OSMutex.h"
#include "brntdevice.h"
#include "brntjson.h"
#include "brntlog.h"
#include "brntplatform.h"

std::atomic<SInt32> g_s32DisCount{0};
std::atomic<SInt64> g_lFirstDiscon{0};

namespace {

constexpr char kDisconnected[] = "DEVICE_DISCONNECTED";
constexpr SInt64 kDisconnectedLimitSec = 60;

constexpr std::size_t kEdidBytes = 256;
constexpr std::size_t kEdidDigits = 2 * kEdidBytes;

// Board description and vendor metadata are a few hundred bytes; the latter comes out of a package.
constexpr std::size_t kMaxFileBytes = 1024 * 1024;

struct T_StatusName {
  const char* name;
  E_Status status;
};
constexpr T_StatusName kStatusNames[] = {
    {"SUCCESS", e_status_SUCCESS},
    {"ERROR", e_status_ERROR},
    {"PROCESSING", e_status_PROCESSING},
    {"NOTIFICATION", e_status_NOTIFY},
};

E_Status StatusOf(const Json::Value& answer) {
  const Json::Value* status = brntjson::Member(answer, "status");
  if (status == nullptr || !status->isString()) return e_status_UNDEFINED;
  for (const T_StatusName& row : kStatusNames) {
    if (*status == row.name) return row.status;
  }
  return e_status_UNDEFINED;
}

// Copies a text member; absent leaves out alone.
void CopyText(const Json::Value& object, const char* key, std::string& out) {
  static_cast<void>(brntjson::GetString(object, key, out));
}

void CountDisconnect() {
  const SInt32 count = ++g_s32DisCount;
  if (g_lFirstDiscon == 0) {
    g_lFirstDiscon = get_uptime();
    HLOG_INFO("get DEVICE_DISCONNECTED first time");
    return;
  }
  const SInt64 first = g_lFirstDiscon;
  // Deliberate: the number is the uptime of the first disconnect, not the count.
  HLOG_WARN("get disconnect %d", static_cast<int>(first));
  if (get_uptime() - first <= kDisconnectedLimitSec) return;
  HLOG_WARN("DEVICE_DISCONNECTED need reboot, receive DEVICE_DISCONNECTED count:%d", count);
  // Deliberate: nothing is reset here, so every later entry asks for the reboot again until it happens.
  CBrntPlatform::RunShell("sleep 10; reboot;");
}

void ResetDisconnects() {
  if (g_s32DisCount == 0 && g_lFirstDiscon == 0) return;
  HLOG_INFO("reset disconnect status, discount:%d", g_s32DisCount.load());
  g_s32DisCount = 0;
  g_lFirstDiscon = 0;
}

void ReadDeviceErrors(const Json::Value& errors, T_Error* error) {
  for (const Json::Value& entry : errors) {
    const Json::Value* reason = brntjson::Member(entry, "reason");
    if (reason == nullptr || !reason->isString() || *reason != kDisconnected) continue;
    error->strReason = kDisconnected;
    CopyText(entry, "message", error->strMsg);
    CountDisconnect();
  }
}

// The EDID's path goes into a shell command.
bool IsPlainPath(const char* path) {
  return *path != '\0' && *path != '-' && std::all_of(path, path + std::strlen(path), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || std::strchr("/._-", c) != nullptr;
  });
}

void RemoveEdidFiles(const char* path) {
  if (!IsPlainPath(path)) return;
  char command[255];
  std::snprintf(command, sizeof command, "rm -f %s", path);
  CBrntPlatform::RunShell(command);
  std::snprintf(command, sizeof command, "rm -f %s.bin", path);
  CBrntPlatform::RunShell(command);
}

struct T_FileClose {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, T_FileClose>;

// False when the file cannot be opened; a write that falls short is only logged.
bool WriteEdidFile(const std::string& path, const void* data, std::size_t length) {
  File file(std::fopen(path.c_str(), "we"));
  if (file == nullptr) {
    HLOG_ERROR("fopen fname<%s> failed", path.c_str());
    return false;
  }
  // What does not fit the disk shows at the latest when the buffer is flushed.
  const bool written = std::fwrite(data, 1, length, file.get()) == length && std::fflush(file.get()) == 0;
  if (!written) HLOG_ERROR("fwrite fname<%s> failed", path.c_str());
  return true;
}

std::optional<std::string> ReadSmallFile(const char* path) {
  const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  const File file(fdopen(fd, "rb"));
  struct stat info {};
  if (file == nullptr || fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    if (file == nullptr) close(fd);
    return std::nullopt;
  }
  std::string text(std::min(static_cast<std::size_t>(info.st_size), kMaxFileBytes), '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  return text;
}

bool GetTextFromJsonFile(const char* path, const char* key, std::string& out) {
  const std::optional<std::string> text = ReadSmallFile(path);
  if (!text.has_value()) {
    std::cout << "open json file " << path << "failed." << std::endl;  // Deliberate: path and word run together.
    return false;
  }
  Json::Value root;
  if (!brntjson::Parse(*text, root)) {
    std::cout << "can't parse json data" << std::endl;
    return false;
  }
  if (brntjson::IsMissingOrEmpty(root, key) || !brntjson::GetString(root, key, out)) {
    std::cout << "can't find " << key << std::endl;
    return false;
  }
  return true;
}

}  // namespace

SInt64 get_uptime() { return CBrntPlatform::UptimeSec(); }

bool ParseJsonRsp::ParseRsp(const std::string& text, T_BrntRsp* rsp) {
  Json::Value root;
  if (!brntjson::Parse(text, root)) return false;
  rsp->eRspStatus = StatusOf(root);
  GetJsonInfo(root, "request_id", e_int, &rsp->s32ReqID);
  if (const Json::Value* error = brntjson::Member(root, "error")) {
    CopyText(*error, "reason", rsp->tErrorInfo.strReason);
    CopyText(*error, "message", rsp->tErrorInfo.strMsg);
  }
  if (const Json::Value* result = brntjson::Member(root, "result")) {
    rsp->strResult = brntjson::Write(*result);
    const Json::Value* errors = brntjson::Member(*result, "error");
    if (errors != nullptr && errors->isArray()) {
      ReadDeviceErrors(*errors, &rsp->tResultErrorInfo);
    } else {
      ResetDisconnects();
    }
    rsp->objResultJson = std::move(root["result"]);
  }
  return true;
}

bool ParseJsonRsp::GetJsonInfo(const Json::Value& obj, const char* key, E_Json_Type type, void* out) {
  switch (type) {
    case e_int:
      return brntjson::GetInt(obj, key, *static_cast<SInt32*>(out));
    case e_string:
      return brntjson::GetString(obj, key, *static_cast<std::string*>(out));
    case e_bool:
      return brntjson::GetBool(obj, key, *static_cast<bool*>(out));
  }
  return false;
}

bool ParseJsonRsp::GetNextJsonObject(const char* key, Json::Value& value) {
  if (brntjson::Member(value, key) == nullptr) return false;
  Json::Value next = std::move(value[key]);
  value = std::move(next);
  return true;
}

const Json::Value* ParseJsonRsp::FindInJsonArray(const char* wantedKey, const Json::Value& array, const char* matchKey,
                                                 std::string_view matchText) {
  if (array.isArray()) {
    for (const Json::Value& element : array) {
      std::string text;
      CopyText(element, matchKey, text);
      if (text == matchText) return brntjson::Member(element, wantedKey);
    }
  }
  HLOG_ERROR("Parse Array Error");
  return nullptr;
}

bool ParseJsonRsp::GetNextJsonObjectArray(const char* wantedKey, Json::Value& array, const char* matchKey,
                                          const char* matchText) {
  const Json::Value* found = FindInJsonArray(wantedKey, array, matchKey, matchText);
  if (found == nullptr) return false;
  Json::Value next = *found;
  array = std::move(next);
  return true;
}

void ParseJsonRsp::SaveEdid(const char* path, const char* hexText) {
  const std::size_t length = std::strlen(hexText);
  if (length < kEdidDigits) {
    HLOG_ERROR("delete fname<%s>, invalid edid<%s> len<%u>", path, hexText, static_cast<unsigned>(length));
    RemoveEdidFiles(path);
    return;
  }
  if (!WriteEdidFile(path, hexText, length)) return;

  UInt8 bytes[kEdidBytes] = {};
  for (std::size_t i = 0; i < kEdidBytes; ++i) {
    const char pair[] = {hexText[2 * i], hexText[2 * i + 1], '\0'};
    bytes[i] = static_cast<UInt8>(std::strtoul(pair, nullptr, 16) & 0xFFU);
  }
  WriteEdidFile(std::string(path) + ".bin", bytes, sizeof bytes);
}

bool ParseJsonRsp::GetModeFromJsonFile(const char* path, std::string& out) {
  return GetTextFromJsonFile(path, "modelNumber", out);
}

bool ParseJsonRsp::GetVersionFromJsonFile(const char* path, std::string& out) {
  return GetTextFromJsonFile(path, "comment", out);
}

bool ParseJsonRsp::ParseJsonInfo(const std::string& devId, const Json::Value& object) {
  CBrntDevice* device = CBrntDevice::GetBrntDevByID(devId);
  if (device == nullptr) return true;
  OSMutexLocker lock(device->m_objMutex);
  CopyText(object, "firmware_comment", device->m_firmware_version);
  CopyText(object, "avpDeviceId", device->m_avpdeviceid);
  CopyText(object, "h264DeviceId", device->m_h264deviceid);
  CopyText(object, "deviceID", device->m_RxIRDeviceid);
  CopyText(object, "edid", device->m_strEDID);
  CopyText(object, "hdcpCapability", device->m_TxHdcpCapability);
  return true;
}

bool ParseJsonRsp::StoreSerialInfo2device(const std::string& devId, const Json::Value& object) {
  CBrntDevice* device = CBrntDevice::GetBrntDevByID(devId);
  if (device == nullptr) return true;
  OSMutexLocker lock(device->m_objMutex);
  CopyText(object, "deviceID", device->m_RxSerialDeviceid);
  return true;
}

bool ParseJsonRsp::StoreHIDInfo2device(const std::string& devId, const Json::Value& object) {
  CBrntDevice* device = CBrntDevice::GetBrntDevByID(devId);
  if (device == nullptr) return true;
  OSMutexLocker lock(device->m_objMutex);
  CopyText(object, "deviceID", device->m_RxHIDDeviceid);
  return true;
}

bool ParseJsonRsp::StoreTXInfo2device(const std::string& devId) {
  const CBrntDevice* device = CBrntDevice::GetBrntDevByID(devId);
  return device != nullptr && device->m_bTx != 0;
}

bool ParseJsonRsp::StoreRXInfo2device(const std::string& devId, const Json::Value& object) {
  CBrntDevice* device = CBrntDevice::GetBrntDevByID(devId);
  if (device == nullptr || device->m_bRx == 0) return false;
  OSMutexLocker lock(device->m_objMutex);
  CopyText(object, "hdcpMethod", device->m_RxHdcpMode);
  CopyText(object, "scaler", device->m_RxScaler);
  return true;
}

bool ParseJsonRsp::StoreRXInfo2device(const std::string& devId, const std::string& hdcpMode,
                                      const std::string& scaler) {
  CBrntDevice* device = CBrntDevice::GetBrntDevByID(devId);
  if (device == nullptr || device->m_bRx == 0) return false;
  OSMutexLocker lock(device->m_objMutex);
  device->m_RxHdcpMode = hdcpMode;
  device->m_RxScaler = scaler;
  return true;
}
