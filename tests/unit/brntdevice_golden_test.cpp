// The reports of whole device documents, to the byte; tests/golden/README.md says how the files read.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "brntdevice.h"
#include "devicedocs.h"
#include "reportcapture.h"

namespace {

using devicedocs::At;

struct T_GoldenRow {
  const char* name;    // tests/golden/report-<name>.txt
  const char* sample;  // sim/samples/<sample>.json
  std::function<void(Json::Value&)> edit;
};

std::string GoldenText(const std::string& name) {
  std::ifstream file(HALYARD_SOURCE_DIR "/tests/golden/report-" + name + ".txt");
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string TextOf(const std::vector<T_Report>& reports) {
  std::string text;
  for (const T_Report& report : reports) {
    text += report.name + " " + report.text;
    if (report.text.empty()) text += "\n";
  }
  return text;
}

void Nothing(Json::Value&) {}

void SetVideo(Json::Value& video, int width, int height, int fps, const char* scanMode) {
  video["width"] = width;
  video["height"] = height;
  video["frames_per_second"] = fps;
  video["scan_mode"] = scanMode;
}

void SetWall(Json::Value& document) {
  Json::Value& configuration = At(document, "nodes[FRAME_BUFFER:0].configuration");
  configuration["display_mode"] = "WALL_GENLOCKED";
  configuration["aspect_ratio_mode"] = "STRETCH";
  configuration["has_auto_wall_details"] = true;
  Json::Value& details = configuration["auto_wall_details"];
  details["grid_width"] = 3;
  details["grid_height"] = 2;
  details["grid_index_horiz"] = 2;
  details["grid_index_vert"] = 1;
  details["bezel_horiz"] = 8;
  details["bezel_vert"] = 6;
}

void SetFrameBufferTo720p(Json::Value& document) {
  Json::Value& configuration = At(document, "nodes[FRAME_BUFFER:0].configuration");
  configuration["width"] = 1280;
  configuration["height"] = 720;
  configuration["frames_per_second"] = 50;
  SetVideo(At(document, "nodes[HDMI_ENCODER:0].status.video"), 1280, 720, 50, "PROGRESSIVE");
}

void StartScaledStream(Json::Value& document) {
  At(document, "streams[HDMI:1].configuration.enable") = true;
  At(document, "streams[HDMI:1].status.state") = "STREAMING";
  At(document, "nodes[SCALER:0].configuration.width") = 1920;
  At(document, "nodes[SCALER:0].configuration.height") = 1080;
  At(document, "nodes[SCALER:0].inputs[main:0].configuration.source.value") = 1;
}

const std::vector<T_GoldenRow> kRows = {
    {"tx", "device-tx", Nothing},
    {"tx-nosignal", "device-tx-nosignal", Nothing},
    {"tx-unstable", "device-tx", [](Json::Value& d) { At(d, "nodes[HDMI_DECODER:0].status.source_stable") = false; }},
    {"tx-dolby-vision", "device-tx",
     [](Json::Value& d) { At(d, "nodes[HDMI_DECODER:0].status.video_details.hdr") = "DOLBY_VISION"; }},
    {"tx-sdr-flagged-hdr", "device-tx",
     [](Json::Value& d) { At(d, "nodes[HDMI_DECODER:0].status.video_details.hdr") = "SDR"; }},
    {"tx-interlaced", "device-tx",
     [](Json::Value& d) { SetVideo(At(d, "nodes[HDMI_DECODER:0].status.video"), 1920, 1080, 50, "INTERLACED"); }},
    {"tx-hdcp-1", "device-tx",
     [](Json::Value& d) {
       At(d, "nodes[HDMI_DECODER:0].status.hdcp_version") = "HDCP_1_4";
       At(d, "nodes[HDMI_DECODER:0].configuration.hdcp_22_support_disable") = true;
     }},
    {"tx-hdcp-none", "device-tx",
     [](Json::Value& d) {
       At(d, "nodes[HDMI_DECODER:0].status.hdcp_version") = "NONE";
       At(d, "nodes[HDMI_DECODER:0].configuration.hdcp_support_enable") = false;
     }},
    {"rx", "device-rx", Nothing},
    {"rx-unstable", "device-rx", [](Json::Value& d) { At(d, "nodes[HDMI_ENCODER:0].status.source_stable") = false; }},
    {"rx-no-monitor", "device-rx", [](Json::Value& d) { devicedocs::Remove(d, "nodes[HDMI_MONITOR:0]"); }},
    {"rx-monitor-unplugged", "device-rx",
     [](Json::Value& d) {
       At(d, "nodes[HDMI_MONITOR:0].status.connected") = false;
       At(d, "nodes[HDMI_MONITOR:0].status.edid") = Json::Value();
     }},
    {"rx-scaled-720p", "device-rx", SetFrameBufferTo720p},
    {"rx-wall", "device-rx", SetWall},
    {"rx-wall-without-details", "device-rx",
     [](Json::Value& d) { At(d, "nodes[FRAME_BUFFER:0].configuration.display_mode") = "WALL_FAST_SWITCHED"; }},
    {"rx-multiview", "device-rx",
     [](Json::Value& d) { At(d, "nodes[FRAME_BUFFER:0].configuration.display_mode") = "MULTIVIEW"; }},
    {"rx-genlocked", "device-rx",
     [](Json::Value& d) {
       At(d, "nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode") = "FOLLOW_SOURCE";
       At(d, "nodes[HDMI_ENCODER:0].inputs[main:0].configuration.source.value") = 0;
     }},
    {"trx", "device-trx", Nothing},
    {"trx-both-streams-scaled", "device-trx", StartScaledStream},
};

class DeviceReport : public testing::TestWithParam<T_GoldenRow> {};

TEST_P(DeviceReport, IsTheGoldenText) {
  CReportCapture capture;
  CBrntDevice* device = CBrntDevice::GetBrntDevByID(std::string("golden-") + GetParam().name);
  Json::Value document = devicedocs::Sample(GetParam().sample);
  GetParam().edit(document);
  ASSERT_EQ(device->ParseDevice(document, true), 1);
  const std::string text = TextOf(capture.Take());
  ASSERT_FALSE(text.empty());
  EXPECT_EQ(text, GoldenText(GetParam().name));
}

// One device that has seen all the other documents reports each as a fresh one does.
TEST_P(DeviceReport, IsTheGoldenTextAfterEveryOtherDocument) {
  CReportCapture capture;
  CBrntDevice* device = CBrntDevice::GetBrntDevByID("golden-used");
  for (const T_GoldenRow& row : kRows) {
    Json::Value document = devicedocs::Sample(row.sample);
    row.edit(document);
    ASSERT_EQ(device->ParseDevice(document, false), 1);
  }
  Json::Value document = devicedocs::Sample(GetParam().sample);
  GetParam().edit(document);
  ASSERT_EQ(device->ParseDevice(document, false), 1);
  device->ReportDevice();
  EXPECT_EQ(TextOf(capture.Take()), GoldenText(GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(All, DeviceReport, testing::ValuesIn(kRows), [](const auto& row) {
  std::string name = row.param.name;
  for (char& c : name) c = c == '-' ? '_' : c;
  return name;
});

}  // namespace
