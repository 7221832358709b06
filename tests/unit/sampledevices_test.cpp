#include <gtest/gtest.h>

#include "deviceops.h"
#include "propertykey.h"
#include "samples.h"

namespace {

TEST(Samples, HaveADeviceForEachRole) {
  EXPECT_EQ(deviceops::DeviceId(samples::Device("TX")), "0016c04e21e7");
  EXPECT_EQ(deviceops::DeviceId(samples::Device("rx")), "0016c04e30a1");
  EXPECT_EQ(deviceops::DeviceId(samples::Device("TRX")), "0016c04e41b2");
  EXPECT_TRUE(samples::Device("TOASTER").isNull());
}

TEST(Samples, AreKnownByTheirNames) {
  EXPECT_EQ(samples::Document("processing")["status"], "PROCESSING");
  EXPECT_EQ(samples::Document("netstat")["status"], "SUCCESS");
  EXPECT_TRUE(samples::Text("none").empty());
  EXPECT_TRUE(samples::Document("none").isNull());
}

TEST(Samples, AnotherIdChangesAddressesThatBelongToIt) {
  Json::Value device = samples::Device("TX");
  samples::SetMac(device, "0016c04e0afe");
  EXPECT_EQ(deviceops::DeviceId(device), "0016c04e0afe");
  EXPECT_EQ(*propertykey::Find(device, "nodes[NETWORK_INTERFACE:0].status.mac_address"), "0016c04e0afe");
  EXPECT_EQ(*propertykey::Find(device, "streams[HDMI:0].configuration.address"), "235.14.10.254");
  EXPECT_EQ(*propertykey::Find(device, "streams[HDMI_AUDIO:0].configuration.address"), "235.38.10.254");
  EXPECT_EQ(*propertykey::Find(device, "streams[RS232:0].configuration.address"), "0.0.0.0");
}

TEST(Samples, AnotherIdLeavesSubscriptionsAlone) {
  Json::Value device = samples::Device("RX");
  samples::SetMac(device, "0016c04e0afe");
  EXPECT_EQ(*propertykey::Find(device, "subscriptions[HDMI:0].configuration.address"), "235.14.33.231");
}

}  // namespace
