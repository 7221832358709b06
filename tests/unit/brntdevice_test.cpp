#include "brntdevice.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "brntmanageavpip.h"
#include "logcapture.h"

namespace {

// A device that no other test knows.
CBrntDevice* NewDevice() {
  static int s_count = 0;
  return CBrntDevice::GetBrntDevByID("device-test-" + std::to_string(++s_count));
}

// ---- registry ----

TEST(DeviceRegistry, KnowsNoDeviceWithoutAnId) {
  EXPECT_EQ(CBrntDevice::GetBrntDevByID(""), nullptr);
  EXPECT_EQ(CBrntDevice::FindBrntDevByID(""), nullptr);
}

TEST(DeviceRegistry, GivesTheSameDeviceForTheSameId) {
  CBrntDevice* device = CBrntDevice::GetBrntDevByID("0016c04e0001");
  ASSERT_NE(device, nullptr);
  EXPECT_EQ(device->m_strDevID, "0016c04e0001");
  EXPECT_EQ(CBrntDevice::GetBrntDevByID("0016c04e0001"), device);
  EXPECT_NE(CBrntDevice::GetBrntDevByID("0016c04e0002"), device);
}

TEST(DeviceRegistry, FindingMakesNoDevice) {
  EXPECT_EQ(CBrntDevice::FindBrntDevByID("0016c04e0003"), nullptr);
  EXPECT_EQ(CBrntDevice::FindBrntDevByID("0016c04e0003"), nullptr);
  CBrntDevice* device = CBrntDevice::GetBrntDevByID("0016c04e0003");
  EXPECT_EQ(CBrntDevice::FindBrntDevByID("0016c04e0003"), device);
}

TEST(DeviceRegistry, HoldsTheSourcesOfTheMultiviewLayout) {
  CBrntDevice::SetMVSources({{"0016c04e21e7", "0016c04e30a1"}, {"0016c04e41b2", "0016c04e30a1"}});
  CBrntDevice::SetMVSources({{"0016c04e41b2", "0016c04e30a1"}});
  EXPECT_EQ(CBrntDevice::GetMVSources(), (std::map<std::string, std::string>{{"0016c04e41b2", "0016c04e30a1"}}));
  CBrntDevice::SetMVSources({});
  EXPECT_TRUE(CBrntDevice::GetMVSources().empty());
}

TEST(Device, StartsWithoutRoleAndWithHdmiSources) {
  CBrntDevice* device = NewDevice();
  EXPECT_EQ(device->m_bTx, 0);
  EXPECT_EQ(device->m_bRx, 0);
  EXPECT_EQ(device->m_bTRx, 0);
  OSMutexLocker lock(device->m_objMutex);
  EXPECT_EQ(device->m_eSrcType, E_SRC_HDMI);
  EXPECT_EQ(device->m_eAudioSrcType, E_A_SRC_HDMI);
}

// ---- addresses on the network ----

TEST(AddressOfMac, IsTheOneThatDiscoveryLearned) {
  ASSERT_TRUE(AvpIpManage::UpdateFromTxtString(R"({"deviceid":"0016c04edd01","avpip":"10.31.4.77"})"));
  std::string ip = "kept";
  EXPECT_TRUE(CBrntDevice::GetIPfromMac("0016C04EDD01", ip));
  EXPECT_EQ(ip, "10.31.4.77");
}

TEST(AddressOfMac, StaysAsItWasForAnUnknownOne) {
  std::string ip = "kept";
  EXPECT_FALSE(CBrntDevice::GetIPfromMac("0016c04edd02", ip));
  EXPECT_FALSE(CBrntDevice::GetIPfromMac("", ip));
  EXPECT_EQ(ip, "kept");
}

struct T_MultyRow {
  const char* name;
  const char* id;
  int kind;
  const char* address;
};

class MulticastAddress : public testing::TestWithParam<T_MultyRow> {};

TEST_P(MulticastAddress, ComesFromTheLastFiveCharacters) {
  CLogCapture log;
  std::string address;
  EXPECT_TRUE(CBrntDevice::GetMultyAddressFromStr(GetParam().id, address, GetParam().kind));
  EXPECT_EQ(address, GetParam().address);
  EXPECT_EQ(log.PriorityOf("get multy ip [" + address + "]"), 600);
}

INSTANTIATE_TEST_SUITE_P(All, MulticastAddress,
                         testing::Values(T_MultyRow{"FirstVideo", "0016c04e21e7", 1, "235.14.33.231"},
                                         T_MultyRow{"SecondVideo", "0016c04e21e7", 2, "235.22.33.231"},
                                         T_MultyRow{"Audio", "0016c04e21e7", 4, "235.38.33.231"},
                                         T_MultyRow{"UpperCase", "0016C04E21E7", 1, "235.14.33.231"},
                                         T_MultyRow{"FiveCharactersOnly", "e21e7", 1, "235.14.33.231"},
                                         T_MultyRow{"OnlyThreeBitsOfTheFirst", "0016c0f0000", 1, "235.15.0.0"},
                                         T_MultyRow{"OnlyFourBitsOfTheKind", "0016c000000", 17, "235.8.0.0"},
                                         T_MultyRow{"Largest", "fffff", 15, "235.127.255.255"},
                                         T_MultyRow{"NoHexCountsAsZero", "zzzzzzzz", 1, "235.8.0.0"},
                                         T_MultyRow{"OneDigitBeforeTheRest", "00x1y2z", 1, "235.8.1.2"},
                                         T_MultyRow{"StaysAnOctet", "0-1-1", 1, "235.8.255.255"}),
                         [](const auto& row) { return std::string(row.param.name); });

struct T_NoMultyRow {
  const char* name;
  const char* id;
  const char* line;
};

class NoMulticastAddress : public testing::TestWithParam<T_NoMultyRow> {};

TEST_P(NoMulticastAddress, IsAnErrorLineAndLeavesTheAddress) {
  CLogCapture log;
  std::string address = "kept";
  EXPECT_FALSE(CBrntDevice::GetMultyAddressFromStr(GetParam().id, address, 1));
  EXPECT_EQ(address, "kept");
  EXPECT_EQ(log.PriorityOf(GetParam().line), 300);
  EXPECT_EQ(log.Lines().size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(All, NoMulticastAddress,
                         testing::Values(T_NoMultyRow{"EmptyId", "", "Multy Str is NULL"},
                                         T_NoMultyRow{"FourCharacters", "21e7", "can't get tail 5 str"}),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- output timings ----

struct T_TimingRow {
  const char* timing;
  int height;
  int width;
  int fps;
};

class OutputTiming : public testing::TestWithParam<T_TimingRow> {};

TEST_P(OutputTiming, GivesDeliberatelyTheHeightFirst) {
  int height = 0;
  int width = 0;
  int fps = -1;
  EXPECT_TRUE(CBrntDevice::GetVideoTimimgRes(GetParam().timing, &height, &width, &fps));
  EXPECT_EQ(height, GetParam().height);
  EXPECT_EQ(width, GetParam().width);
  EXPECT_EQ(fps, GetParam().fps);
}

const std::vector<T_TimingRow> kTimings = {
    {"1280x720", 720, 1280, 0},        {"1920x1080", 1080, 1920, 0},      {"3840x2160", 2160, 3840, 0},
    {"1280x720p@24", 720, 1280, 24},   {"1280x720p@25", 720, 1280, 25},   {"1280x720p@30", 720, 1280, 30},
    {"1280x720p@50", 720, 1280, 50},   {"1280x720p@60", 720, 1280, 60},   {"1920x1080p@24", 1080, 1920, 24},
    {"1920x1080p@25", 1080, 1920, 25}, {"1920x1080p@30", 1080, 1920, 30}, {"1920x1080p@50", 1080, 1920, 50},
    {"1920x1080p@60", 1080, 1920, 60}, {"3840x2160p@24", 2160, 3840, 24}, {"3840x2160p@25", 2160, 3840, 25},
    {"3840x2160p@30", 2160, 3840, 30}, {"3840x2160p@50", 2160, 3840, 50}, {"3840x2160p@60", 2160, 3840, 60},
};

INSTANTIATE_TEST_SUITE_P(All, OutputTiming, testing::ValuesIn(kTimings), [](const auto& row) {
  std::string name = row.param.timing;
  for (char& c : name) c = c == '@' ? '_' : c;
  return name;
});

TEST(OutputTimings, HoldsTheseRowsAndNoOther) {
  ASSERT_EQ(CBrntDevice::s_timingMap.size(), kTimings.size());
  for (size_t i = 0; i < kTimings.size(); ++i) EXPECT_EQ(CBrntDevice::s_timingMap[i].m_strTiming, kTimings[i].timing);
}

class NoOutputTiming : public testing::TestWithParam<const char*> {};

TEST_P(NoOutputTiming, LeavesTheNumbers) {
  int height = 1;
  int width = 2;
  int fps = 3;
  EXPECT_FALSE(CBrntDevice::GetVideoTimimgRes(GetParam(), &height, &width, &fps));
  EXPECT_EQ(height, 1);
  EXPECT_EQ(width, 2);
  EXPECT_EQ(fps, 3);
}

INSTANTIATE_TEST_SUITE_P(All, NoOutputTiming,
                         testing::Values("720p", "", "1920x1080P@60", "1920x1080p@", "1920x1080p@60 ", "bypass"));

// ---- what the device subscribes to ----

class Subscriptions : public testing::Test {
 protected:
  void SetUp() override {
    OSMutexLocker lock(m_device->m_objMutex);
    m_device->m_avpdeviceid = "0016c04e21e7";
    m_device->m_h264deviceid = "h264";
    m_device->m_RxIRDeviceid = "ir";
    m_device->m_RxSerialDeviceid = "serial";
    m_device->m_RxHIDDeviceid = "hid";
    m_device->m_TxHdcpCapability = "HDCP 2.x";
    m_device->m_strEDID = "00ff";
  }

  CBrntDevice* m_device = NewDevice();
};

TEST_F(Subscriptions, VideoNamesBothSources) {
  EXPECT_EQ(m_device->GetStreamSubscription(),
            "{\"streamSubscription\":{\"avpDeviceId\":\"0016c04e21e7\",\"h264DeviceId\":\"h264\"}}\n");
}

TEST_F(Subscriptions, DataNameTheirDevice) {
  EXPECT_EQ(m_device->GetStreamSubscriptionIR(), "{\"streamSubscription\":{\"deviceID\":\"ir\"}}\n");
  EXPECT_EQ(m_device->GetStreamSubscriptionSerial(), "{\"streamSubscription\":{\"deviceID\":\"serial\"}}\n");
  EXPECT_EQ(m_device->GetStreamSubscriptionHID(), "{\"streamSubscription\":{\"deviceID\":\"hid\"}}\n");
}

TEST_F(Subscriptions, AllNamesEveryKind) {
  EXPECT_EQ(m_device->GetStreamSubscriptionALL(),
            "{\"streamSubscription\":{\"hid\":{\"deviceID\":\"hid\"},\"ir\":{\"deviceID\":\"ir\"},"
            "\"serial\":{\"deviceID\":\"serial\"},"
            "\"video\":{\"avpDeviceId\":\"0016c04e21e7\",\"h264DeviceId\":\"h264\"}}}\n");
}

TEST_F(Subscriptions, VideoInputNamesHdcpAndEdidToo) {
  EXPECT_EQ(m_device->GetVideoInputInfo(),
            "{\"hdmiIn\":{\"hdcpCapability\":\"HDCP 2.x\",\"hdmiInEDID\":\"00ff\"},"
            "\"streamSubscription\":{\"avpDeviceId\":\"0016c04e21e7\",\"h264DeviceId\":\"h264\"}}\n");
}

TEST(Subscription, OfANewDeviceIsEmptyText) {
  EXPECT_EQ(NewDevice()->GetStreamSubscription(),
            "{\"streamSubscription\":{\"avpDeviceId\":\"\",\"h264DeviceId\":\"\"}}\n");
}

// ---- firmware ----

TEST(Firmware, PackageIsUnknownUntilItsNameIsSet) {
  CBrntDevice* device = NewDevice();
  std::string name = "kept";
  bool production = true;
  EXPECT_FALSE(device->GetUpgradeFilenameAndCmdFlag(name, production));
  EXPECT_EQ(name, "kept");
  EXPECT_TRUE(production);
  device->SetUpgradeFilenameAndCmdFlag("fw.apz", false);
  EXPECT_TRUE(device->GetUpgradeFilenameAndCmdFlag(name, production));
  EXPECT_EQ(name, "fw.apz");
  EXPECT_FALSE(production);
}

TEST(Firmware, FinishFlagIsRemembered) {
  CBrntDevice* device = NewDevice();
  EXPECT_FALSE(device->GetUpgradeFinishFlag());
  device->SetUpgradeFinishFlag(true);
  EXPECT_TRUE(device->GetUpgradeFinishFlag());
}

TEST(Firmware, BootStatusIsTheDevicesOwn) {
  CBrntDevice* device = NewDevice();
  EXPECT_EQ(device->GetBootStatus(), "");
  OSMutexLocker lock(device->m_objMutex);
  device->m_strBootStatus = "GOLDEN";
  EXPECT_EQ(device->GetBootStatus(), "GOLDEN");
}

TEST(LineOrder, IsWhatTheSerialSettingsSaid) {
  CBrntDevice* device = NewDevice();
  device->SetLineOrder("DTE");
  EXPECT_EQ(device->GetUartInfo().m_strLineOrder, "DTE");
}

}  // namespace
