// Multiview layouts, their windows, and the output that shows one.
#include "brntjson.h"
#include "brntlog.h"
#include "brntsendcmd.h"
#include "brntsendrequest.h"
#include "brntsendtiming.h"

namespace {

constexpr char kLayoutPath[] = "/api/multiview/layout";

std::string LayoutPath(const std::string& layout) { return std::string(kLayoutPath) + "/" + layout; }

std::string WindowPath(const std::string& layout, SInt32 window) {
  return LayoutPath(layout) + "/window/" + std::to_string(window);
}

}  // namespace

Bool16 SendCmd2AVP::GetMVLayout(const std::string& id) {
  return brntsend::Queue(id, kLayoutPath, e_method_get, "", AVP_MSG_GET_LAYOUT);
}

Bool16 SendCmd2AVP::CreateMVLayout(const std::string& id, const std::string& layout, SInt32 width, SInt32 height) {
  Json::Value body = brntsend::Operation("create");
  body["width"] = width;
  body["height"] = height;
  return brntsend::Queue(id, LayoutPath(layout), e_method_post, brntjson::Write(body), AVP_MSG_MV_CREATE_LAYOUT);
}

Bool16 SendCmd2AVP::DeleteMVLayout(const std::string& id, const std::string& layout) {
  return brntsend::Queue(id, LayoutPath(layout), e_method_delete, "", AVP_MSG_DELETE_LAYOUT);
}

Bool16 SendCmd2AVP::SetMVDisp(const std::string& id, const std::string& layout, const std::string& timing) {
  T_VideoTiming numbers;
  if (!ReadVideoTiming(timing, numbers)) {
    HLOG_ERROR("video timing[%s] parse error!!!", timing.c_str());
    return 0;
  }
  EndWallWatch();
  Json::Value body = brntsend::Operation("set:multiview");
  body["layout"] = layout;
  body["video"] = brntsend::TimingVideo(numbers);
  return brntsend::Post(id, body, AVP_MSG_MV_SET_DISP);
}

Bool16 SendCmd2AVP::CreateMVWin(const std::string& id, const std::string& layout, const T_MVWindow& window) {
  Json::Value body = brntsend::Operation("create");
  body["horizontal_position"] = window.s32HorizontalPosition;
  body["vertical_position"] = window.s32VerticalPosition;
  body["width"] = window.s32Width;
  body["height"] = window.s32Height;
  body["horizontal_offset"] = window.s32HorizontalOffset;
  body["vertical_offset"] = window.s32VerticalOffset;
  body["target_surface"] = window.s32TargetSurface;
  return brntsend::Queue(id, WindowPath(layout, window.s32Index), e_method_post, brntjson::Write(body),
                         AVP_MSG_MV_CREATE_WIN);
}

Bool16 SendCmd2AVP::DeleteMVWin(const std::string& id, const std::string& layout, SInt32 window) {
  return brntsend::Queue(id, WindowPath(layout, window), e_method_delete, "", AVP_MSG_MV_DELETE_WIN);
}

Bool16 SendCmd2AVP::ExistMVLayout(const std::string&, const std::string&) {
  HLOG_ERROR("ExistMVLayout TBD");  // Deliberate: a placeholder.
  return 0;
}
