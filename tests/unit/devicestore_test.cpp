#include "devicestore.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "samples.h"
#include "simjson.h"

namespace {

class DeviceStore : public testing::Test {
 protected:
  bool Load(const Json::Value& document) { return m_store.Load(document, m_reason); }

  std::string Resolved(const std::string& target) {
    std::string ids;
    for (const T_Device* device : m_store.Resolve(target)) ids += device->id + " ";
    return ids;
  }

  CDeviceStore m_store;
  std::string m_reason;
};

TEST_F(DeviceStore, TakesAnAnswerAListOrADevice) {
  EXPECT_TRUE(Load(samples::Document("device-rx")));
  EXPECT_TRUE(Load(samples::Document("device-tx")["result"]));
  EXPECT_TRUE(Load(samples::Document("device-trx")["result"]["devices"]));
  EXPECT_TRUE(Load(samples::Device("RX")));
  EXPECT_EQ(Resolved("all"), "0016c04e30a1 0016c04e21e7 0016c04e41b2 ");
}

TEST_F(DeviceStore, ADocumentWithAKnownIdReplacesTheOldOne) {
  Json::Value device = samples::Device("RX");
  Load(device);
  device["device_name"] = "Stage";
  Load(device);
  EXPECT_EQ(m_store.Find("")->document["device_name"], "Stage");
  EXPECT_EQ(m_store.Resolve("ALL").size(), 1u);
}

TEST_F(DeviceStore, FindsDevicesByRole) {
  for (const char* role : {"RX", "TX", "TRX"}) Load(samples::Device(role));
  EXPECT_EQ(Resolved("ALL_TX"), "0016c04e21e7 0016c04e41b2 ");
  EXPECT_EQ(Resolved("all_rx"), "0016c04e30a1 0016c04e41b2 ");
  EXPECT_EQ(Resolved("0016C04E21E7"), "0016c04e21e7 ");
  EXPECT_EQ(Resolved("ALL_OTHERS"), "");
}

TEST_F(DeviceStore, IsEmptyAtFirst) {
  EXPECT_EQ(m_store.FirstId(), "");
  EXPECT_EQ(m_store.Find(""), nullptr);
}

TEST_F(DeviceStore, RefusesWhatHoldsNoDevice) {
  for (const char* text : {"[]", "null", R"({"devices":[]})"}) {
    EXPECT_FALSE(Load(*simjson::Parse(text))) << text;
    EXPECT_EQ(m_reason, "the document holds no device") << text;
  }
}

TEST_F(DeviceStore, RefusesADeviceThatItCannotPlay) {
  for (const char* member : {"device_id", "streams", "subscriptions", "nodes"}) {
    Json::Value device = samples::Device("RX");
    device[member] = 7;
    EXPECT_FALSE(Load(device)) << member;
    EXPECT_NE(m_reason, "") << member;
  }
  Json::Value device = samples::Device("RX");
  device["nodes"][0].removeMember("type");
  EXPECT_FALSE(Load(device));
  EXPECT_FALSE(Load(*simjson::Parse("[7]")));
}

}  // namespace
