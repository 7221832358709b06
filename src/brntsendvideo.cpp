// Video of decoder and encoder: output timing, wall and its check, scaler, frame rate.
#include <cstdio>

#include "brntasynctask.h"
#include "brntdevice.h"
#include "brntjson.h"
#include "brntlog.h"
#include "brntsendcmd.h"
#include "brntsendrequest.h"
#include "brntsendtiming.h"
#include "brntstreamnames.h"
#include "stringprocess.h"

OSMutex& SendCmd2AVP::s_objWallMutex = *new OSMutex;
Video_Wall_Param& SendCmd2AVP::s_video_wall_param = *new Video_Wall_Param;
Single_Param& SendCmd2AVP::s_single_param = *new Single_Param;
SendCmd2AVP::T_WallWatch& SendCmd2AVP::s_tWallWatch = *new T_WallWatch;

namespace {

constexpr SInt32 kDefaultFps = 60;
constexpr char kBypass[] = "bypass";

constexpr char kFastSwitched[] = "FAST_SWITCHED";
constexpr char kGenlocked[] = "GENLOCKED";
constexpr char kWallFastSwitched[] = "WALL_FAST_SWITCHED";
constexpr char kWallGenlocked[] = "WALL_GENLOCKED";

constexpr char kFollowSource[] = "auto";

struct T_WallMode {
  const char* name;         // as cmd_core writes it, case ignored
  const char* displayMode;  // as the server does
};
constexpr T_WallMode kWallModes[] = {
    {"fastSwitch", kWallFastSwitched},
    {kFollowSource, kWallFastSwitched},  // until the wall check finds the source fit for genlock
    {"genlock", kWallGenlocked},
};

constexpr char kScaledStreamRateKey[] = "nodes[SCALER:0].inputs[main:0].configuration.source.value";
constexpr char kStreamRateKey[] = "streams[HDMI:%d].configuration.source.value";
constexpr size_t kStreamRateKeySize = 256;

const char* WallDisplayMode(const std::string& wallMode) {
  for (const T_WallMode& row : kWallModes) {
    if (StrProcess::EqualsNoCase(wallMode, row.name)) return row.displayMode;
  }
  HLOG_INFO("set video wall default mode fastSwitch");
  return kWallFastSwitched;
}

// {"op": "set:video", "display_mode": mode}
Json::Value SetVideo(const char* displayMode) {
  Json::Value body = brntsend::Operation("set:video");
  body["display_mode"] = displayMode;
  return body;
}

Bool16 PostWall(const std::string& id, const Video_Wall_Param& param, const T_VideoTiming& timing,
                const std::string& displayMode) {
  Json::Value body = SetVideo(displayMode.c_str());
  Json::Value& video = body["video"] = brntsend::TimingVideo(timing);
  video["aspect_ratio_mode"] = param.i_stretchType;
  // Deliberate: columns make the grid's width and the horizontal index, rows its height and the vertical index.
  video["grid_width"] = param.i_maxColumn;
  video["grid_height"] = param.i_maxRow;
  video["grid_index_horiz"] = param.i_posColumn;
  video["grid_index_vert"] = param.i_posRow;
  video["bezel_vert"] = param.bezelVert;
  video["bezel_horiz"] = param.bezelHoriz;
  return brntsend::Post(id, body, AVP_MSG_SET_VIDEO_WALL);
}

bool SourceHasTiming(const T_VideoWallDetails& details, const T_VideoTiming& timing) {
  return details.u32Width == static_cast<UInt32>(timing.s32Width) &&
         details.u32Height == static_cast<UInt32>(timing.s32Height) &&
         details.u32Fps == static_cast<UInt32>(timing.s32Fps);
}

void ReportWall(const std::string& displayMode, const T_VideoWallDetails& details) {
  Json::Value report;
  Json::Value& wall = report["videoWall"];
  wall["displayMode"] = displayMode;
  wall["sourceFps"] = details.u32Fps;
  wall["displayFps"] = details.s32DisplayFps;
  ReportAsyncMsg(e_event_videowall, brntjson::Write(report));
}

}  // namespace

bool ReadVideoTiming(const std::string& text, T_VideoTiming& out) {
  int height = 0;
  int width = 0;
  int fps = 0;
  if (!CBrntDevice::GetVideoTimimgRes(text, &height, &width, &fps)) return false;
  out.s32Width = width;
  out.s32Height = height;
  out.s32Fps = fps == 0 ? kDefaultFps : fps;
  return true;
}

Json::Value brntsend::TimingVideo(const T_VideoTiming& timing) {
  Json::Value video;
  video["height"] = timing.s32Height;
  video["width"] = timing.s32Width;
  video["fps"] = timing.s32Fps;
  return video;
}

Bool16 SendCmd2AVP::SendRxVideoResCmd(const std::string& id, const std::string& timing, bool videoWall,
                                      const std::string& wallMode, bool save) {
  HLOG_INFO("Set RX Res [%s] videoMode:%d save:%d", timing.c_str(), videoWall, save);
  if (save) {
    OSMutexLocker locker(s_objWallMutex);
    s_single_param = {timing, videoWall, wallMode};
  }
  if (StrProcess::HasPrefixNoCase(timing, kBypass)) {
    if (save) EndWallWatch();
    return brntsend::Post(id, SetVideo(kGenlocked), AVP_MSG_SET_DISP_MODE);
  }
  T_VideoTiming numbers;
  if (!ReadVideoTiming(timing, numbers)) {
    HLOG_ERROR("video timing parse error!!!");
    return 0;
  }
  if (save) EndWallWatch();
  Json::Value body = SetVideo(kFastSwitched);
  body["video"] = brntsend::TimingVideo(numbers);
  return brntsend::Post(id, body, AVP_MSG_SET_DISP_MODE);
}

Bool16 SendCmd2AVP::SendRxVideoWallCmd(const std::string& id, const Video_Wall_Param* param, bool save) {
  T_VideoTiming timing;
  if (!ReadVideoTiming(param->i_videotiming, timing)) {
    HLOG_ERROR("video timing[%s] parse error!!!", param->i_videotiming.c_str());
    return 0;
  }
  if (param->i_maxRow < 1 || param->i_maxColumn < 1) {
    HLOG_ERROR("set video wall param error i_maxRow : [%d],i_maxColumn : [%d]", param->i_maxRow, param->i_maxColumn);
    return 0;
  }
  const std::string displayMode = WallDisplayMode(param->i_wallMode);
  OSMutexLocker locker(s_objWallMutex);
  if (save) {
    s_video_wall_param = *param;
    s_tWallWatch.bActive = true;
    s_tWallWatch.strSentMode = displayMode;
  }
  return PostWall(id, *param, timing, displayMode);
}

void SendCmd2AVP::EndWallWatch() {
  OSMutexLocker locker(s_objWallMutex);
  s_tWallWatch.bActive = false;
}

bool SendCmd2AVP::CheckVideoWallStatus(const std::string& id, SInt32 index, const T_VideoWallDetails& details) {
  std::string changedMode;
  Bool16 done = 1;
  {
    OSMutexLocker locker(s_objWallMutex);
    const bool changed = !details.strDisplayMode.empty() && details.strDisplayMode != s_tWallWatch.strShownMode;
    if (changed) s_tWallWatch.strShownMode = details.strDisplayMode;
    if (!s_tWallWatch.bActive) return true;
    if (StrProcess::EqualsNoCase(s_video_wall_param.i_wallMode, kFollowSource)) {
      done = SwitchAutoWallLocked(id, details, &changedMode);
    } else if (changed) {
      changedMode = details.strDisplayMode;
    }
  }
  if (changedMode.empty()) return done != 0;
  HLOG_INFO("video wall of frame buffer %d : [%s]", index, changedMode.c_str());
  ReportWall(changedMode, details);
  return true;
}

// Follows the source of a wall in mode "auto": *pMode gets the new display mode when a request for it was queued, and
// stays empty when the last one sent still fits. 0 when the request was refused.
Bool16 SendCmd2AVP::SwitchAutoWallLocked(const std::string& id, const T_VideoWallDetails& details, std::string* pMode) {
  T_VideoTiming timing;
  if (!ReadVideoTiming(s_video_wall_param.i_videotiming, timing)) return 0;
  const bool fit = details.bSourceStable && SourceHasTiming(details, timing);
  const char* wanted = fit ? kWallGenlocked : kWallFastSwitched;
  if (s_tWallWatch.strSentMode == wanted) return 1;
  if (PostWall(id, s_video_wall_param, timing, wanted) == 0) return 0;
  s_tWallWatch.strSentMode = wanted;
  *pMode = wanted;
  return 1;
}

Video_Wall_Param SendCmd2AVP::SavedVideoWall() {
  OSMutexLocker locker(s_objWallMutex);
  return s_video_wall_param;
}

Single_Param SendCmd2AVP::SavedSingle() {
  OSMutexLocker locker(s_objWallMutex);
  return s_single_param;
}

Bool16 SendCmd2AVP::SendSetTXScaleCmd(const std::string& id, SInt32 width, SInt32 height) {
  Json::Value body = brntsend::Operation("set:scaler");
  body["width"] = width;
  body["height"] = height;
  return brntsend::Post(id, body, AVP_MSG_SETTXSCALE);
}

Bool16 SendCmd2AVP::SendFrameRateHalvedCmd(const std::string& id, SInt32 index, bool halved) {
  const SInt32 value = halved ? 1 : 0;
  if (index == kScaledStream) return brntsend::SetProperty(id, {kScaledStreamRateKey, AVP_MSG_FRAME_HALF}, value);
  char key[kStreamRateKeySize];
  std::snprintf(key, sizeof key, kStreamRateKey, index);
  return brntsend::SetProperty(id, {key, AVP_MSG_FRAME_HALF}, value);
}
