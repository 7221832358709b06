#include "netstat.h"

#include <gtest/gtest.h>

#include "samples.h"
#include "simjson.h"

namespace {

const Json::Value& Path(const Json::Value& statistics, const char* type) {
  static const Json::Value none;
  for (const Json::Value& path : statistics["data_paths"]) {
    if (path["type"] == type) return path;
  }
  return none;
}

// The same members at every level, whatever their values.
bool SameShape(const Json::Value& a, const Json::Value& b) {
  if (a.isObject() != b.isObject() || a.isArray() != b.isArray()) return false;
  if (!a.isObject()) return a.isArray() ? a.size() == b.size() : a.isBool() == b.isBool();
  if (a.getMemberNames() != b.getMemberNames()) return false;
  for (const std::string& name : a.getMemberNames()) {
    if (!SameShape(a[name], b[name])) return false;
  }
  return true;
}

TEST(Netstat, AnEncoderHasTheShapeOfTheSample) {
  const Json::Value sample = samples::Document("netstat")["result"]["statistics"][0];
  const Json::Value statistics = netstat::Statistics(samples::Device("TX"), 86512, Json::Value());
  EXPECT_TRUE(SameShape(statistics, sample)) << simjson::Write(statistics);
  for (const char* type : {"10G_TRANSMITTER_EGRESS", "10G_TRANSMITTER_INGRESS"}) {
    EXPECT_TRUE(SameShape(Path(statistics, type), Path(sample, type))) << type;
  }
  EXPECT_EQ(statistics["device_id"], "0016c04e21e7");
  EXPECT_EQ(statistics["device_name"], "Lobby-Enc");
  EXPECT_EQ(statistics["device_up_time"], 86512);
}

TEST(Netstat, StreamsThatRunTakeBandwidth) {
  Json::Value device = samples::Device("TX");
  const Json::Value running = Path(netstat::Statistics(device, 0, Json::Value()), "10G_TRANSMITTER_EGRESS");
  EXPECT_EQ(running["bandwidth"]["usage"]["hdmi_stream_0"], 5719326720);
  EXPECT_EQ(running["bandwidth"]["usage"]["stereo_audio"], 0);
  device["streams"][0]["status"]["state"] = "STOPPED";
  const Json::Value stopped = Path(netstat::Statistics(device, 0, Json::Value()), "10G_TRANSMITTER_EGRESS");
  EXPECT_EQ(stopped["bandwidth"]["usage"]["hdmi_stream_0"], 0);
  EXPECT_EQ(running["bandwidth"]["usage"]["total"].asInt64() - stopped["bandwidth"]["usage"]["total"].asInt64(),
            5719326720);
}

TEST(Netstat, ADecoderReceives) {
  const Json::Value statistics = netstat::Statistics(samples::Device("RX"), 0, Json::Value());
  ASSERT_EQ(statistics["data_paths"].size(), 2u);
  EXPECT_TRUE(Path(statistics, "10G_RECEIVER_EGRESS")["dropped_frames"].isObject());
  EXPECT_GT(Path(statistics, "10G_RECEIVER_INGRESS")["bandwidth"]["usage"]["total"].asInt64(), 5719326720);
}

TEST(Netstat, ATransceiverHasBothDirections) {
  EXPECT_EQ(netstat::Statistics(samples::Device("TRX"), 0, Json::Value())["data_paths"].size(), 4u);
}

TEST(Netstat, AFilterEmptiesTheOtherGroups) {
  const Json::Value filter = *simjson::Parse(R"(["counters"])");
  const Json::Value path = Path(netstat::Statistics(samples::Device("TX"), 0, filter), "10G_TRANSMITTER_EGRESS");
  EXPECT_EQ(simjson::Write(path), R"({"type":"10G_TRANSMITTER_EGRESS","index":0,"bandwidth":{},)"
                                  R"("counters":{"ethernet_flow_control_frames":0},"dropped_frames":{}})");
}

TEST(Netstat, AFilterMayBeOneName) {
  const Json::Value path = Path(netstat::Statistics(samples::Device("RX"), 0, "errors"), "10G_RECEIVER_INGRESS");
  EXPECT_FALSE(path["errors"].empty());
  EXPECT_TRUE(path["counters"].empty());
}

}  // namespace
