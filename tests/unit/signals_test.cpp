// What changes at a device from outside: sim/signals.cpp.
#include <gtest/gtest.h>

#include <string>

#include "devicestore.h"
#include "propertykey.h"
#include "samples.h"
#include "simjson.h"

namespace {

class Signals : public testing::Test {
 protected:
  void Use(const Json::Value& device) { m_device = m_defaults = device; }
  bool Source(const std::string& timing) { return signals::SetSource(m_device, m_defaults, timing); }
  bool Monitor(bool connected) { return signals::SetMonitor(m_device, m_defaults, connected); }

  std::string Value(const std::string& key) const {
    const Json::Value* member = propertykey::Find(m_device, key);
    return member != nullptr ? simjson::Write(*member) : "absent";
  }

  static Json::Value NoSignal() { return samples::Document("device-tx-nosignal")["result"]["devices"][0]; }

  Json::Value m_device;
  Json::Value m_defaults;
};

const char kInput[] = "nodes[HDMI_DECODER:0].status";
const char kInputVideo[] = "nodes[HDMI_DECODER:0].status.video";

TEST_F(Signals, AnEncodersInputTakesTheTiming) {
  Use(samples::Device("TX"));
  EXPECT_TRUE(Source("1280x720p50"));
  EXPECT_EQ(Value(kInputVideo), R"({"width":1280,"height":720,"frames_per_second":50,"color_space":"YCBCR_444",)"
                                R"("bits_per_pixel":8,"scan_mode":"PROGRESSIVE"})");
  EXPECT_EQ(Value("nodes[HDMI_DECODER:0].status.source_stable"), "true");
  EXPECT_EQ(Value("nodes[SCALER:0].status.video.frames_per_second"), "25") << "the scaler runs at half the rate";
}

TEST_F(Signals, AnInterlacedSignalShowsIt) {
  Use(samples::Device("TX"));
  EXPECT_TRUE(Source("1920x1080i50"));
  EXPECT_EQ(Value("nodes[HDMI_DECODER:0].status.video.scan_mode"), R"("INTERLACED")");
}

TEST_F(Signals, WithoutASignalPlaceholdersStay) {
  Use(samples::Device("TX"));
  EXPECT_TRUE(Source("none"));
  EXPECT_EQ(m_device, NoSignal());
}

TEST_F(Signals, TheSignalComesBackAsItWas) {
  Use(samples::Device("TX"));
  Source("none");
  EXPECT_TRUE(Source("3840x2160p60"));
  EXPECT_EQ(Value(kInput), simjson::Write(*propertykey::Find(m_defaults, kInput)));
}

TEST_F(Signals, ADeviceLoadedWithoutASignalCanHaveOne) {
  Use(NoSignal());
  EXPECT_TRUE(Source("1920x1080p60"));
  EXPECT_EQ(Value("nodes[HDMI_DECODER:0].status.source_stable"), "true");
  EXPECT_EQ(Value("nodes[HDMI_DECODER:0].status.video.width"), "1920");
}

TEST_F(Signals, ADecoderReceivesTheTiming) {
  Use(samples::Device("RX"));
  EXPECT_TRUE(Source("1280x720p50"));
  EXPECT_EQ(Value("nodes[FRAME_BUFFER:0].status.source_video.width"), "1280");
  EXPECT_EQ(Value("nodes[HDMI_ENCODER:0].status.video.width"), "1920") << "the frame buffer keeps its own timing";
}

TEST_F(Signals, RefusesWhatIsNoTiming) {
  Use(samples::Device("TX"));
  const Json::Value before = m_device;
  for (const char* text : {"", "1080p", "1920x1080", "1920x1080q60", "1920x1080p60x", "0x1080p60", "-2x1080p60"}) {
    EXPECT_FALSE(Source(text)) << text;
  }
  EXPECT_EQ(m_device, before);
}

TEST_F(Signals, AMonitorThatGoesTakesItsEdidAlong) {
  Use(samples::Device("RX"));
  const std::string edid = Value("nodes[HDMI_MONITOR:0].status.edid");
  EXPECT_TRUE(Monitor(false));
  EXPECT_EQ(Value("nodes[HDMI_MONITOR:0].status"), R"({"connected":false,"edid":""})");
  EXPECT_TRUE(Monitor(true));
  EXPECT_EQ(Value("nodes[HDMI_MONITOR:0].status.connected"), "true");
  EXPECT_EQ(Value("nodes[HDMI_MONITOR:0].status.edid"), edid);
}

TEST_F(Signals, AnEncoderHasNoMonitor) {
  Use(samples::Device("TX"));
  EXPECT_FALSE(Monitor(true));
}

}  // namespace
