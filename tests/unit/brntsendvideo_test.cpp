// The check that follows a video wall: what it sends and reports after which command and which document.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "brntdevice.h"
#include "brntsendcmd.h"
#include "brntsendtiming.h"
#include "cmdcore.h"
#include "logcapture.h"
#include "requestcapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kId = CRequestCapture::kDevice;

T_Request WallRequest(const std::string& displayMode) {
  return CRequestCapture::Post(
      AVP_MSG_SET_VIDEO_WALL,
      R"({"display_mode":")" + displayMode +
          R"(","op":"set:video","video":{"aspect_ratio_mode":"STRETCH","bezel_horiz":0,"bezel_vert":0,"fps":60,)"
          R"("grid_height":2,"grid_index_horiz":0,"grid_index_vert":1,"grid_width":2,"height":1080,"width":1920}})");
}

class WallCheck : public testing::Test {
 protected:
  WallCheck() {
    m_details.u32Width = 1920;
    m_details.u32Height = 1080;
    m_details.u32Fps = 60;
    m_details.bSourceStable = true;
    m_details.strDisplayMode = "FAST_SWITCHED";
    m_details.s32DisplayFps = 50;
    SendCmd2AVP::SendRxVideoResCmd(kId, "bypass", false, "genlock", true);
    Tick();  // from here on the check knows what the device shows
    Forget();
  }

  void SendWall(const std::string& mode, bool save = true, const std::string& timing = "1920x1080") {
    Video_Wall_Param param;
    param.i_videotiming = timing;
    param.i_maxRow = 2;
    param.i_maxColumn = 2;
    param.i_posRow = 1;
    param.i_stretchType = "STRETCH";
    param.i_wallMode = mode;
    SendCmd2AVP::SendRxVideoWallCmd(kId, &param, save);
  }

  // A wall command that has been sent and forgotten about.
  void AskForWall(const std::string& mode) {
    SendWall(mode);
    Forget();
  }

  bool Tick() { return SendCmd2AVP::CheckVideoWallStatus(kId, 0, m_details); }

  bool TickShowing(const std::string& displayMode) {
    m_details.strDisplayMode = displayMode;
    return Tick();
  }

  void Forget() {
    m_requests.Take();
    m_log.Clear();
  }

  std::vector<T_Request> Requests() { return m_requests.Take(); }

  size_t Reports() const { return m_log.Count("Send Msg To cmd_core"); }
  size_t Reports(const std::string& text) const {
    return m_log.Count("Send Msg To cmd_core : [video type] -- [" + text + "\n]");
  }

  T_VideoWallDetails m_details;
  CRequestCapture m_requests;
  CLogCapture m_log;
};

TEST_F(WallCheck, DoesNothingWithoutAWallCommand) {
  EXPECT_TRUE(TickShowing("WALL_GENLOCKED"));
  EXPECT_THAT(Requests(), IsEmpty());
  EXPECT_EQ(Reports(), 0u);
}

TEST_F(WallCheck, GenlocksAnAutomaticWallToAFittingSource) {
  AskForWall("auto");
  EXPECT_TRUE(Tick());
  EXPECT_THAT(Requests(), ElementsAre(WallRequest("WALL_GENLOCKED")));
  EXPECT_EQ(Reports(R"({"videoWall":{"displayFps":50,"displayMode":"WALL_GENLOCKED","sourceFps":60}})"), 1u);
}

TEST_F(WallCheck, TakesTheWallModeInAnyCase) {
  AskForWall("AUTO");
  Tick();
  EXPECT_THAT(Requests(), ElementsAre(WallRequest("WALL_GENLOCKED")));
}

TEST_F(WallCheck, SendsOneRequestPerChangeAndNeverOnePerTick) {
  AskForWall("auto");
  for (int tick = 0; tick < 5; ++tick) Tick();
  EXPECT_EQ(Requests().size(), 1u);
  m_details.bSourceStable = false;
  for (int tick = 0; tick < 5; ++tick) Tick();
  EXPECT_THAT(Requests(), ElementsAre(WallRequest("WALL_FAST_SWITCHED")));
  m_details.bSourceStable = true;
  for (int tick = 0; tick < 5; ++tick) Tick();
  EXPECT_THAT(Requests(), ElementsAre(WallRequest("WALL_GENLOCKED")));
  EXPECT_EQ(Reports(), 3u);
}

struct T_SourceRow {
  const char* name;
  UInt32 width;
  UInt32 height;
  UInt32 fps;
  bool stable;
};
class WallCheckSource : public WallCheck, public testing::WithParamInterface<T_SourceRow> {};

TEST_P(WallCheckSource, ThatDoesNotFitLeavesTheAutomaticWallFastSwitched) {
  m_details.u32Width = GetParam().width;
  m_details.u32Height = GetParam().height;
  m_details.u32Fps = GetParam().fps;
  m_details.bSourceStable = GetParam().stable;
  AskForWall("auto");
  EXPECT_TRUE(Tick());
  EXPECT_THAT(Requests(), IsEmpty());
  EXPECT_EQ(Reports(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Rows, WallCheckSource,
                         testing::Values(T_SourceRow{"OtherWidth", 1280, 1080, 60, true},
                                         T_SourceRow{"OtherHeight", 1920, 720, 60, true},
                                         T_SourceRow{"OtherRate", 1920, 1080, 59, true},
                                         T_SourceRow{"NoRate", 1920, 1080, 0, true},
                                         T_SourceRow{"NotStable", 1920, 1080, 60, false}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(WallCheck, DoesNotReportWhatTheDeviceShowsOfAnAutomaticWall) {
  m_details.bSourceStable = false;
  AskForWall("auto");
  TickShowing("WALL_FAST_SWITCHED");
  EXPECT_EQ(Reports(), 0u);
}

TEST_F(WallCheck, SendsNothingForOtherWallModes) {
  AskForWall("genlock");
  Tick();
  AskForWall("fastSwitch");
  Tick();
  EXPECT_THAT(Requests(), IsEmpty());
  EXPECT_EQ(Reports(), 0u);
}

TEST_F(WallCheck, ReportsAChangeOfTheShownModeOnce) {
  AskForWall("genlock");
  for (int tick = 0; tick < 3; ++tick) TickShowing("WALL_GENLOCKED");
  EXPECT_EQ(Reports(R"({"videoWall":{"displayFps":50,"displayMode":"WALL_GENLOCKED","sourceFps":60}})"), 1u);
  for (int tick = 0; tick < 3; ++tick) TickShowing("FAST_SWITCHED");
  EXPECT_EQ(Reports(R"({"videoWall":{"displayFps":50,"displayMode":"FAST_SWITCHED","sourceFps":60}})"), 1u);
  EXPECT_EQ(Reports(), 2u);
}

TEST_F(WallCheck, ReportsAModeThatTheDeviceTookBetweenCommandAndFirstTick) {
  AskForWall("genlock");
  TickShowing("WALL_GENLOCKED");
  EXPECT_EQ(Reports(), 1u);
}

TEST_F(WallCheck, CountsADeviceThatShowsNothingAsUnchanged) {
  AskForWall("genlock");
  TickShowing("");
  TickShowing("FAST_SWITCHED");
  EXPECT_EQ(Reports(), 0u);
}

TEST_F(WallCheck, StartsAfreshWithANewWallCommand) {
  AskForWall("auto");
  Tick();
  EXPECT_EQ(Requests().size(), 1u);
  SendWall("auto");
  Tick();
  EXPECT_THAT(Requests(), ElementsAre(WallRequest("WALL_FAST_SWITCHED"), WallRequest("WALL_GENLOCKED")));
}

TEST_F(WallCheck, EndsWithASingleCommand) {
  AskForWall("auto");
  SendCmd2AVP::SendRxVideoResCmd(kId, "1920x1080", false, "genlock", true);
  Forget();
  Tick();
  EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(WallCheck, EndsWithAMultiviewOutput) {
  AskForWall("auto");
  SendCmd2AVP::SetMVDisp(kId, "quad", "1920x1080");
  Forget();
  Tick();
  EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(WallCheck, GoesOnAfterCommandsThatAreNotSavedOrRefused) {
  AskForWall("auto");
  SendWall("genlock", false);
  SendCmd2AVP::SendRxVideoResCmd(kId, "bypass", false, "genlock", false);
  SendCmd2AVP::SendRxVideoResCmd(kId, "720p", false, "genlock", true);
  SendWall("genlock", true, "720p");
  Forget();
  Tick();
  EXPECT_THAT(Requests(), ElementsAre(WallRequest("WALL_GENLOCKED")));
}

TEST_F(WallCheck, ReportsToCmdCoreAsAVideoWallReport) {
  CCmdCore cmdCore;
  ASSERT_TRUE(cmdCore.Start());
  AskForWall("auto");
  Tick();
  const auto report = cmdCore.WaitForReport(e_event_videowall);
  ASSERT_TRUE(report.has_value());
  EXPECT_EQ(report->text, "{\"videoWall\":{\"displayFps\":50,\"displayMode\":\"WALL_GENLOCKED\",\"sourceFps\":60}}\n");
}

TEST(VideoTiming, ReadsWidthHeightAndRate) {
  T_VideoTiming timing;
  ASSERT_TRUE(ReadVideoTiming("1920x1080p@50", timing));
  EXPECT_EQ(timing.s32Width, 1920);
  EXPECT_EQ(timing.s32Height, 1080);
  EXPECT_EQ(timing.s32Fps, 50);
}

TEST(VideoTiming, WithoutARateRunsAt60) {
  T_VideoTiming timing;
  ASSERT_TRUE(ReadVideoTiming("1280x720", timing));
  EXPECT_EQ(timing.s32Fps, 60);
}

TEST(VideoTiming, OfAnUnknownTextLeavesTheNumbersAlone) {
  T_VideoTiming timing;
  timing.s32Width = 7;
  EXPECT_FALSE(ReadVideoTiming("bypass", timing));
  EXPECT_EQ(timing.s32Width, 7);
}

}  // namespace
