// The multiview command: read and check the whole of it, then queue its requests.
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "brntdevice.h"
#include "brntjson.h"
#include "brntlog.h"
#include "brntsendcmd.h"
#include "brntsendtiming.h"
#include "brntstreamnames.h"
#include "reusehanler.h"
#include "stringprocess.h"

namespace {

constexpr SInt32 kNumberMax = 31;   // of a window or a subscription; the API server has 32 of each
constexpr size_t kIdLengthMin = 5;  // a shorter device id makes no address

// One picture source of a layout.
struct T_MVSource {
  std::string strType = kVideoStream;
  std::string strDevice;
  std::string strAddress;  // empty: the subscription is left
  SInt32 s32Subscription = 0;
};

// A whole multiview command, checked.
struct T_MVCommand {
  std::string strLayout;
  std::string strScaler;
  SInt32 s32Width = 0;
  SInt32 s32Height = 0;
  std::vector<T_MVWindow> windows;
  std::vector<T_MVSource> sources;
};

// place says where in the command the key stands: the layout itself, or "window" or "source" and its number in the
// order given.
bool Refuse(const char* key, const std::string& place, const char* why) {
  HLOG_ERROR("set multiview,but [%s] of %s %s", key, place.c_str(), why);
  return false;
}

constexpr char kLayout[] = "the layout";
std::string WindowPlace(size_t number) { return "window " + std::to_string(number); }
std::string SourcePlace(size_t number) { return "source " + std::to_string(number); }

constexpr char kIsMissing[] = "is missing";
constexpr char kIsOutOfRange[] = "is out of range";
constexpr char kIsTaken[] = "is taken already";
constexpr char kIsUnknown[] = "is unknown";

bool ReadNeededInt(const Json::Value& object, const char* key, const std::string& place, SInt32* pValue) {
  return brntjson::GetInt(object, key, *pValue) || Refuse(key, place, kIsMissing);
}

// The number of a window or a subscription.
bool ReadNumber(const Json::Value& object, const char* key, const std::string& place, SInt32* pValue) {
  if (!ReadNeededInt(object, key, place, pValue)) return false;
  return (*pValue >= 0 && *pValue <= kNumberMax) || Refuse(key, place, kIsOutOfRange);
}

// A width or a height.
bool ReadExtent(const Json::Value& object, const char* key, const std::string& place, SInt32* pValue) {
  if (!ReadNeededInt(object, key, place, pValue)) return false;
  return *pValue > 0 || Refuse(key, place, kIsOutOfRange);
}

// The name stands in a path, so nothing passes that means something there.
bool IsLayoutName(const std::string& name) {
  constexpr char kAllowed[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
  return !name.empty() && name.find_first_not_of(kAllowed) == std::string::npos && name != "." && name != "..";
}

bool ReadLayout(const Json::Value& multiview, T_MVCommand* pCommand) {
  if (!brntjson::GetString(multiview, "layout", pCommand->strLayout)) return Refuse("layout", kLayout, kIsMissing);
  if (!IsLayoutName(pCommand->strLayout)) return Refuse("layout", kLayout, "is no name for a layout");
  if (!brntjson::GetString(multiview, "scaler", pCommand->strScaler)) return Refuse("scaler", kLayout, kIsMissing);
  T_VideoTiming timing;
  if (!ReadVideoTiming(pCommand->strScaler, timing)) return Refuse("scaler", kLayout, kIsUnknown);
  if (!brntjson::GetInt(multiview, "width", pCommand->s32Width)) pCommand->s32Width = timing.s32Width;
  if (pCommand->s32Width <= 0) return Refuse("width", kLayout, kIsOutOfRange);
  if (!brntjson::GetInt(multiview, "height", pCommand->s32Height)) pCommand->s32Height = timing.s32Height;
  if (pCommand->s32Height <= 0) return Refuse("height", kLayout, kIsOutOfRange);
  return true;
}

struct T_OptionalNumber {
  const char* key;
  SInt32 T_MVWindow::*member;
};
constexpr T_OptionalNumber kOptionalNumbers[] = {
    {"horizontalOffset", &T_MVWindow::s32HorizontalOffset},
    {"verticalOffset", &T_MVWindow::s32VerticalOffset},
    {"targetSurface", &T_MVWindow::s32TargetSurface},
};

bool ReadWindow(const Json::Value& json, size_t index, T_MVWindow* pWindow) {
  const std::string place = WindowPlace(index);
  if (!ReadNumber(json, "index", place, &pWindow->s32Index)) return false;
  if (!ReadNeededInt(json, "horizontalPosition", place, &pWindow->s32HorizontalPosition)) return false;
  if (!ReadNeededInt(json, "verticalPosition", place, &pWindow->s32VerticalPosition)) return false;
  if (!ReadExtent(json, "width", place, &pWindow->s32Width)) return false;
  if (!ReadExtent(json, "height", place, &pWindow->s32Height)) return false;
  for (const T_OptionalNumber& row : kOptionalNumbers) {
    if (!brntjson::GetInt(json, row.key, pWindow->*row.member)) pWindow->*row.member = 0;
  }
  return true;
}

bool ReadWindows(const Json::Value& multiview, T_MVCommand* pCommand) {
  const Json::Value* windows = brntjson::Member(multiview, "windows");
  if (windows == nullptr || !windows->isArray() || windows->empty()) {
    return Refuse("windows", kLayout, kIsMissing);
  }
  std::set<SInt32> taken;
  for (const Json::Value& json : *windows) {
    T_MVWindow window;
    const size_t index = pCommand->windows.size();
    if (!ReadWindow(json, index, &window)) return false;
    if (!taken.insert(window.s32Index).second) return Refuse("index", WindowPlace(index), kIsTaken);
    pCommand->windows.push_back(window);
  }
  return true;
}

bool ReadSourceAddress(const std::string& place, SInt32 stream, T_MVSource* pSource) {
  if (pSource->strDevice.empty() || IsNoSourceName(pSource->strDevice)) return true;
  if (pSource->strDevice.size() < kIdLengthMin) return Refuse("sourceDevice", place, kIsOutOfRange);
  const int kind = stream == kFullStream ? kAddressOfVideo0 : kAddressOfVideo1;
  return CBrntDevice::GetMultyAddressFromStr(pSource->strDevice, pSource->strAddress, kind);
}

bool ReadSource(const Json::Value& json, size_t index, T_MVSource* pSource) {
  const std::string place = SourcePlace(index);
  if (!brntjson::GetString(json, "streamType", pSource->strType)) pSource->strType = kVideoStream;
  if (!brntjson::GetString(json, "sourceDevice", pSource->strDevice)) return Refuse("sourceDevice", place, kIsMissing);
  SInt32 stream = kScaledStream;
  if (!brntjson::GetInt(json, "streamIndex", stream)) stream = kScaledStream;
  if (stream != kFullStream && stream != kScaledStream) return Refuse("streamIndex", place, kIsOutOfRange);
  if (!ReadNumber(json, "subscriptionIndex", place, &pSource->s32Subscription)) return false;
  return ReadSourceAddress(place, stream, pSource);
}

bool ReadSources(const Json::Value& multiview, T_MVCommand* pCommand) {
  const Json::Value* sources = brntjson::Member(multiview, "sources");
  if (sources == nullptr || !sources->isArray()) return true;
  std::set<std::pair<std::string, SInt32>> taken;  // the server matches types without regard to case
  for (const Json::Value& json : *sources) {
    T_MVSource source;
    const size_t index = pCommand->sources.size();
    if (!ReadSource(json, index, &source)) return false;
    std::string type;
    StrProcess::Lowercase2Uppercase(source.strType, type);
    if (!taken.emplace(type, source.s32Subscription).second) {
      return Refuse("subscriptionIndex", SourcePlace(index), kIsTaken);
    }
    pCommand->sources.push_back(std::move(source));
  }
  return true;
}

Bool16 QueueSource(const std::string& id, const T_MVSource& source) {
  if (source.strAddress.empty()) return SendCmd2AVP::SendLeaveCmd(id, source.strType, source.s32Subscription);
  return SendCmd2AVP::SendSubscribeCmd(id, source.strType, source.s32Subscription, source.strAddress);
}

// Queues the requests of a checked command; false when the queue takes none.
bool QueueMultiview(const std::string& id, const T_MVCommand& command) {
  SendCmd2AVP::ClearSubscribeRetryCmd();
  bool queued = SendCmd2AVP::SendLeaveCmd(id, kVideoStream, kAllSubscriptions) != 0;
  queued = SendCmd2AVP::DeleteMVLayout(id, command.strLayout) && queued;
  queued = SendCmd2AVP::CreateMVLayout(id, command.strLayout, command.s32Width, command.s32Height) && queued;
  for (const T_MVWindow& window : command.windows) {
    queued = SendCmd2AVP::CreateMVWin(id, command.strLayout, window) && queued;
  }
  for (const T_MVSource& source : command.sources) queued = QueueSource(id, source) && queued;
  queued = SendCmd2AVP::SetMVDisp(id, command.strLayout, command.strScaler) && queued;
  return SendCmd2AVP::GetMVLayout(id) && queued;
}

void RememberSources(const std::string& id, const std::vector<T_MVSource>& sources) {
  std::map<std::string, std::string> receivers;
  for (const T_MVSource& source : sources) {
    if (!source.strAddress.empty()) receivers[source.strDevice] = id;
  }
  CBrntDevice::SetMVSources(std::move(receivers));
}

}  // namespace

bool ReuseHanler::SendMultiviewCmd(const std::string& id, const Json::Value& multiview) {
  T_MVCommand command;
  if (!ReadLayout(multiview, &command) || !ReadWindows(multiview, &command) || !ReadSources(multiview, &command)) {
    return false;
  }
  const bool queued = QueueMultiview(id, command);
  RememberSources(id, command.sources);
  return queued;
}
