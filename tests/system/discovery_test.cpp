// Discovery of AVP addresses with a real system bus and avahi-daemon: what the process prints, what it withstands, and
// that the rest of it does not depend on any of this.
#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "brnttypes.h"
#include "mdns.h"
#include "systemtest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ServiceDiscovery : public SystemTest {
 protected:
  void StartDaemons() { ASSERT_TRUE(m_mdns.Start()); }

  bool WaitForOutput(const std::string& text) {
    return WaitUntil([&] { return Halyard().Output().find(text) != std::string::npos; });
  }

  bool Learns(const std::string& id, const std::string& ip) const {
    return WaitForLogLine("INFO new avp device, deviceid[" + id + "] avpip[" + ip + "]");
  }

  // The requests that an infrared association with this device makes.
  std::vector<std::string> Associate(const std::string& id) {
    Core().Send("set-associations-ir", R"({"streamSubscription":{"deviceID":")" + id + R"("}})");
    return TakeRequests();
  }

  static std::string SwitchTo(const std::string& address) {
    return "POST /api/device/" + kLocalId + R"( {"dest_address":")" + address +
           R"(","op":"switch:address","stream_index":0,"stream_type":"INFRARED"})";
  }

  // Everything that does not need discovery still works, in both directions, and nothing turns in circles.
  void ExpectTheRestGoesOn() {
    ExpectNextCommandWorks();
    Core().ClearReports();
    Avp().ReceiveRs232("PWR=ON");
    EXPECT_TRUE(Core().WaitForReport(e_event_rs232, kPatienceMs));
    EXPECT_TRUE(Core().WaitForReport(e_event_alive, kPatienceMs));
    const long before = Halyard().CpuMs().value_or(0);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    EXPECT_LT(Halyard().CpuMs().value_or(1'000'000) - before, kSanitized ? 500 : 200);
  }

  CMdns m_mdns;
};

TEST_F(ServiceDiscovery, PrintsEachServiceAndItsRecord) {
  StartDaemons();
  BringUp();
  m_mdns.PublishAvp(kEncoderA, "10.77.0.9");
  ASSERT_TRUE(Learns(kEncoderA, "10.77.0.9"));
  EXPECT_TRUE(WaitForOutput("(Browser) ALL_FOR_NOW\n"));
  EXPECT_TRUE(WaitForOutput("(Browser) CACHE_EXHAUSTED\n"));
  const std::string output = Halyard().Output();
  EXPECT_THAT(output, HasSubstr("(Browser) NEW: service '" + kEncoderA + "' of type '_tmp._udp' in domain 'local'\n"));
  EXPECT_THAT(output, HasSubstr("Service '" + kEncoderA +
                                "' of type '_tmp._udp' in domain 'local':\n"
                                "\tendpoint.local:9 (10.77.0.1)\n"
                                "\tTXT=\"{\\\"deviceid\\\":\\\"" +
                                kEncoderA + "\\\",\\\"avpip\\\":\\\"10.77.0.9\\\"}\"\n\tcookie is 0\n"));
}

TEST_F(ServiceDiscovery, WithoutABusTheRestWorks) {
  BringUp();
  EXPECT_TRUE(WaitForOutput("Failed to create client: "));
  EXPECT_THAT(Associate(kEncoderA), IsEmpty());
  ExpectTheRestGoesOn();
}

TEST_F(ServiceDiscovery, WithoutADaemonTheRestWorks) {
  StartDaemons();
  m_mdns.StopDaemon();
  BringUp();
  EXPECT_TRUE(WaitForOutput("Failed to create client: Daemon not running\n"));
  ExpectTheRestGoesOn();
}

TEST_F(ServiceDiscovery, TheDeathOfTheDaemonEndsDiscoveryAlone) {
  StartDaemons();
  BringUp();
  m_mdns.PublishAvp(kEncoderA, "10.77.0.9");
  ASSERT_TRUE(Learns(kEncoderA, "10.77.0.9"));
  ASSERT_TRUE(WaitForLogLine("Thread ID: "));  // of the command worker, the last thread to start
  const long threads = Halyard().StatusNumber("Threads").value_or(0);
  m_mdns.StopDaemon();
  EXPECT_TRUE(WaitForOutput("Server connection failure: Daemon connection failed\n"));
  EXPECT_TRUE(WaitUntil([&] { return Halyard().StatusNumber("Threads") == threads - 1; }));
  EXPECT_THAT(Associate(kEncoderA), ElementsAre(SwitchTo("10.77.0.9")));
  ExpectTheRestGoesOn();
}

TEST_F(ServiceDiscovery, TheDeathOfTheBusEndsDiscoveryAlone) {
  StartDaemons();
  BringUp();
  m_mdns.PublishAvp(kEncoderA, "10.77.0.9");
  ASSERT_TRUE(Learns(kEncoderA, "10.77.0.9"));
  m_mdns.StopBus();
  EXPECT_TRUE(WaitForOutput("Server connection failure: "));
  EXPECT_THAT(Associate(kEncoderA), ElementsAre(SwitchTo("10.77.0.9")));
  ExpectTheRestGoesOn();
}

TEST_F(ServiceDiscovery, DoesNotComeBackWithTheDaemon) {
  StartDaemons();
  BringUp();
  m_mdns.StopDaemon();
  ASSERT_TRUE(WaitForOutput("Server connection failure: "));
  StartDaemons();
  m_mdns.PublishAvp(kEncoderA, "10.77.0.9");
  // Another browser sees it, so this process could have.
  EXPECT_TRUE(WaitUntil([] {
    return std::system(("avahi-browse --parsable --terminate _tmp._udp | grep -q " + kEncoderA).c_str()) == 0;
  }));
  EXPECT_THAT(Associate(kEncoderA), IsEmpty());
  EXPECT_EQ(LogCount("ERROR Not found Avp IP IN Map"), 1u);
  EXPECT_EQ(LogCount("new avp device"), 0u);
}

struct T_HostileTxt {
  const char* name;
  std::vector<std::string> txts;
};

class HostileAnnouncement : public ServiceDiscovery, public testing::WithParamInterface<T_HostileTxt> {};

TEST_P(HostileAnnouncement, IsPassedOverAndTheNextOneCounts) {
  StartDaemons();
  BringUp();
  m_mdns.Publish("hostile", GetParam().txts);
  EXPECT_TRUE(WaitForOutput("Service 'hostile' of type '_tmp._udp' in domain 'local':\n"));
  m_mdns.PublishAvp(kEncoderA, "10.77.0.9");
  ASSERT_TRUE(Learns(kEncoderA, "10.77.0.9"));
  EXPECT_EQ(LogCount("new avp device"), 1u);
  EXPECT_THAT(Associate(kEncoderA), ElementsAre(SwitchTo("10.77.0.9")));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, HostileAnnouncement,
    testing::Values(T_HostileTxt{"NoStrings", {}}, T_HostileTxt{"KeyAndValue", {"version=1", "%s%n%s"}},
                    T_HostileTxt{"Binary", {"\xff\xfe\x01\x80{\"deviceid\":"}},
                    T_HostileTxt{"DeepNesting", {std::string(255, '[')}},
                    T_HostileTxt{"WrongTypes",
                                 {R"({"deviceid":"0016c04e21e7","avpip":17})", R"({"deviceid":null,"avpip":{}})", "[]",
                                  "7", "null", "\"text\"", R"({"deviceid":["0016c04e21e7"],"avpip":"10.0.0.1"})"}},
                    T_HostileTxt{"CutShort", {R"({"deviceid":"0016c04e21e7","avpip":"10.)"}},
                    T_HostileTxt{"HugeNumbers", {R"({"deviceid":1e999,"avpip":123456789012345678901234567890})"}}),
    T_RowName());

TEST_F(ServiceDiscovery, ARecordWithOneGoodStringAmongBadOnesCounts) {
  StartDaemons();
  BringUp();
  m_mdns.Publish("mixed", {"version=1", R"({"deviceid":")" + kEncoderA + R"(","avpip":"10.77.0.9"})", "{"});
  ASSERT_TRUE(Learns(kEncoderA, "10.77.0.9"));
  EXPECT_TRUE(WaitForLogLine("ERROR Avahi Browse Data isn't Json Format", 2));
}

}  // namespace
