#include "brntmanageavpip.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "logcapture.h"
#include "mdns.h"

namespace {

using std::string_literals::operator""s;

// The address known for an id, "" for none.
std::string AddressOf(const std::string& id) {
  std::string ip;
  return AvpIpManage::SearchAvpIpFromMap(id, ip) ? ip : "";
}

TEST(AvpIpMap, LearnsAnAddressFromATxtString) {
  CLogCapture log;
  EXPECT_TRUE(AvpIpManage::UpdateFromTxtString(R"({"deviceid":"learns-1","avpip":"10.1.2.3"})"));
  EXPECT_EQ(AddressOf("learns-1"), "10.1.2.3");
  EXPECT_EQ(log.PriorityOf("new avp device, deviceid[learns-1] avpip[10.1.2.3]"), 600);
}

TEST(AvpIpMap, AKnownDeviceTakesTheNewAddress) {
  AvpIpManage::UpdateFromTxtString(R"({"deviceid":"moves-1","avpip":"10.1.2.3"})");
  AvpIpManage::UpdateFromTxtString(R"({"deviceid":"moves-1","avpip":"10.1.2.4","more":[1,2]})");
  EXPECT_EQ(AddressOf("moves-1"), "10.1.2.4");
}

TEST(AvpIpMap, AnUnknownIdIsAnErrorLineAndLeavesTheAddressAlone) {
  CLogCapture log;
  std::string ip = "kept";
  EXPECT_FALSE(AvpIpManage::SearchAvpIpFromMap("nobody", ip));
  EXPECT_EQ(ip, "kept");
  EXPECT_EQ(log.PriorityOf("Not found Avp IP IN Map"), 300);
}

struct T_TxtRow {
  const char* name;
  std::string txt;
};

class TxtWithoutAnAddress : public testing::TestWithParam<T_TxtRow> {};

TEST_P(TxtWithoutAnAddress, ChangesNothing) {
  AvpIpManage::UpdateFromTxtString(R"({"deviceid":"same-1","avpip":"10.1.2.3"})");
  CLogCapture log;
  EXPECT_FALSE(AvpIpManage::UpdateFromTxtString(GetParam().txt));
  EXPECT_EQ(AddressOf("same-1"), "10.1.2.3");
  EXPECT_EQ(AddressOf(""), "");
  EXPECT_EQ(log.Count("new avp device"), 0u);
  EXPECT_EQ(log.Count("isn't Json Format"), 0u);
}

INSTANTIATE_TEST_SUITE_P(Rows, TxtWithoutAnAddress,
                         testing::Values(T_TxtRow{"EmptyAddress", R"({"deviceid":"same-1","avpip":""})"},
                                         T_TxtRow{"EmptyId", R"({"deviceid":"","avpip":"10.9.9.9"})"},
                                         T_TxtRow{"NoAddress", R"({"deviceid":"same-1"})"},
                                         T_TxtRow{"NoId", R"({"avpip":"10.9.9.9"})"},
                                         T_TxtRow{"NullAddress", R"({"deviceid":"same-1","avpip":null})"},
                                         T_TxtRow{"NumberForAnAddress", R"({"deviceid":"same-1","avpip":10})"},
                                         T_TxtRow{"ObjectForAnAddress", R"({"deviceid":"same-1","avpip":{"a":1}})"},
                                         T_TxtRow{"NumberForAnId", R"({"deviceid":1,"avpip":"10.9.9.9"})"},
                                         T_TxtRow{"OtherNames", R"({"DeviceId":"same-1","AvpIp":"10.9.9.9"})"},
                                         T_TxtRow{"Array", "[1]"}, T_TxtRow{"EmptyObject", "{}"}),
                         [](const auto& row) { return std::string(row.param.name); });

class TxtThatIsNoJson : public testing::TestWithParam<T_TxtRow> {};

TEST_P(TxtThatIsNoJson, IsAnErrorLine) {
  CLogCapture log;
  EXPECT_FALSE(AvpIpManage::UpdateFromTxtString(GetParam().txt));
  EXPECT_EQ(log.Count("Avahi Browse Data isn't Json Format"), 1u);
  EXPECT_EQ(log.PriorityOf("Avahi Browse Data isn't Json Format"), 300);
}

INSTANTIATE_TEST_SUITE_P(Rows, TxtThatIsNoJson,
                         testing::Values(T_TxtRow{"Empty", ""}, T_TxtRow{"KeyAndValue", "version=1"},
                                         T_TxtRow{"CutShort", R"({"deviceid":"same-1","avpip":"10.)"},
                                         T_TxtRow{"Zeros", std::string(8, '\0')},
                                         T_TxtRow{"Binary", "\xff\xfe\x00\x80{"s},
                                         T_TxtRow{"Deep", std::string(255, '[')}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(AvpIpMap, IsReadWhileItIsWritten) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      const std::string id = "busy-" + std::to_string(i % 2);
      for (int n = 0; n < 200; ++n) {
        AvpIpManage::UpdateFromTxtString(R"({"deviceid":")" + id + R"(","avpip":"10.0.0.)" + std::to_string(n) + "\"}");
        EXPECT_NE(AddressOf(id), "");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(AddressOf("busy-0"), "10.0.0.199");
}

// What fills the map, or ends discovery, is done in a process of its own. What it prints comes on standard error.
class AvpDiscovery : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  [[noreturn]] static void FillTheMap() {
    CLogCapture log;
    for (int i = 0; i < 4096; ++i) {
      AvpIpManage::UpdateFromTxtString(R"({"deviceid":"flood-)" + std::to_string(i) + R"(","avpip":"10.0.0.1"})");
    }
    const bool full = !AvpIpManage::UpdateFromTxtString(R"({"deviceid":"late","avpip":"10.0.0.2"})");
    const bool said = log.PriorityOf("too many avp devices, deviceid[late] avpip[10.0.0.2] dropped") == 300;
    const bool known = AvpIpManage::UpdateFromTxtString(R"({"deviceid":"flood-7","avpip":"10.0.0.3"})");
    _exit(full && said && known && AddressOf("late").empty() && AddressOf("flood-7") == "10.0.0.3" ? 0 : 1);
  }

  // Its output goes to a file, which is waited for, shown, and the end of the process.
  [[noreturn]] static void DiscoverUntilPrinted(const std::string& text, int stackSize = 1024 * 1024) {
    const std::string path = testing::TempDir() + "discovery.txt";
    const int shown = dup(STDERR_FILENO);
    Redirect(path);
    AvpIpManage::DoCollectAvpIp(stackSize);
    const std::string output = WaitFor(path, text);
    dprintf(shown, "%s", output.c_str());
    _exit(0);
  }

  // Standard output and standard error go to the file from here on.
  static void Redirect(const std::string& path) {
    std::fflush(stdout);
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0644);
    dup2(fd, STDOUT_FILENO);
    dup2(fd, STDERR_FILENO);
    close(fd);
  }

  // The file's contents once the text is in it, or the time is over.
  static std::string WaitFor(const std::string& path, const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (true) {
      std::stringstream contents;
      contents << std::ifstream(path).rdbuf();
      const bool over = std::chrono::steady_clock::now() >= end;
      if (contents.str().find(text) != std::string::npos || over) return contents.str();
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }

  static void LeaveNoMemory() {
    rlimit limit{};
    getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = 512UL * 1024 * 1024;
    setrlimit(RLIMIT_AS, &limit);
  }
};

TEST_F(AvpDiscovery, AFloodOfDevicesIsBoundedAndTheKnownOnesStillMove) {
  EXPECT_EXIT(FillTheMap(), testing::ExitedWithCode(0), "");
}

TEST_F(AvpDiscovery, WithoutADaemonSaysSoAndEnds) {
  EXPECT_EXIT(DiscoverUntilPrinted("\n"), testing::ExitedWithCode(0),
              testing::Eq("Failed to create client: Daemon not running\n"));
}

TEST_F(AvpDiscovery, AThreadThatCannotBeStartedIsReported) {
  EXPECT_EXIT(DiscoverUntilPrinted("\n", 1), testing::ExitedWithCode(0),
              testing::StartsWith("pthread_create Receiver read thread error:: Invalid argument"));
  EXPECT_EXIT(DiscoverUntilPrinted("\n", -1), testing::ExitedWithCode(0),
              testing::StartsWith("pthread_create Receiver read thread error:: Invalid argument"));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(AvpDiscovery, AThreadWithoutMemoryIsReported) {  // the sanitizers map more than any limit
  EXPECT_EXIT(
      {
        LeaveNoMemory();
        DiscoverUntilPrinted("\n", 1024 * 1024 * 1024);
      },
      testing::ExitedWithCode(0), testing::StartsWith("pthread_create Receiver read thread error:: "));
}
#endif

// A real avahi-daemon, and the discovery thread in this process. What it prints goes to a file.
class MdnsDiscovery : public AvpDiscovery {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_mdns.Start());
    std::fflush(stdout);
    m_stdout = dup(STDOUT_FILENO);
    m_stderr = dup(STDERR_FILENO);
    Redirect("/dev/null");
  }

  void TearDown() override {
    m_mdns.StopDaemon();
    EXPECT_TRUE(Printed("Server connection failure: Daemon connection failed\n"));
    std::fflush(stdout);
    dup2(m_stdout, STDOUT_FILENO);
    dup2(m_stderr, STDERR_FILENO);
    close(m_stdout);
    close(m_stderr);
    if (HasFailure()) std::printf("%s\n", WaitFor(m_path, "").c_str());  // with what the test itself had to say
  }

  void Start() {
    Redirect(m_path);
    AvpIpManage::DoCollectAvpIp(1024 * 1024);
  }

  bool Printed(const std::string& text) const {
    m_output = WaitFor(m_path, text);
    return m_output.find(text) != std::string::npos;
  }

  bool Learns(const std::string& id, const std::string& ip) const {
    return m_log.WaitFor("new avp device, deviceid[" + id + "] avpip[" + ip + "]", 1, 60000);
  }

  const std::string m_path = testing::TempDir() + "mdns_discovery.txt";
  mutable std::string m_output;
  int m_stdout = -1;
  int m_stderr = -1;
  CLogCapture m_log;
  CMdns m_mdns;
};

TEST_F(MdnsDiscovery, LearnsWhatIsAnnouncedBeforeAndAfterItsStart) {
  m_mdns.PublishAvp("0016c04e0001", "10.7.0.1");
  Start();
  EXPECT_TRUE(Learns("0016c04e0001", "10.7.0.1"));
  m_mdns.PublishAvp("0016c04e0002", "10.7.0.2");
  EXPECT_TRUE(Learns("0016c04e0002", "10.7.0.2"));
  EXPECT_EQ(AddressOf("0016c04e0001"), "10.7.0.1");
  EXPECT_EQ(AddressOf("0016c04e0002"), "10.7.0.2");
}

TEST_F(MdnsDiscovery, PrintsTheCourse) {
  m_mdns.PublishAvp("0016c04e0001", "10.7.0.1");
  Start();
  EXPECT_TRUE(Learns("0016c04e0001", "10.7.0.1"));
  EXPECT_TRUE(Printed("(Browser) ALL_FOR_NOW\n"));
  EXPECT_TRUE(Printed("(Browser) CACHE_EXHAUSTED\n"));
  EXPECT_THAT(m_output,
              testing::HasSubstr("(Browser) NEW: service '0016c04e0001' of type '_tmp._udp' in domain 'local'\n"));
  EXPECT_THAT(m_output,
              testing::HasSubstr("Service '0016c04e0001' of type '_tmp._udp' in domain 'local':\n"
                                 "\tendpoint.local:9 (10.77.0.1)\n"
                                 "\tTXT=\"{\\\"deviceid\\\":\\\"0016c04e0001\\\",\\\"avpip\\\":\\\"10.7.0.1\\\"}\"\n"
                                 "\tcookie is 0\n\tis_local: 1\n\tour_own: 0\n\twide_area: 0\n\tmulticast: 1\n"
                                 "\tcached: 1\n"))
      << m_output;
}

TEST_F(MdnsDiscovery, UsesTheOtherStringsOfARecordWithABadOne) {
  m_mdns.Publish("mixed", {"version=1", R"({"deviceid":"0016c04e0003","avpip":""})",
                           R"({"deviceid":"0016c04e0004","avpip":"10.7.0.4"})"});
  Start();
  EXPECT_TRUE(Learns("0016c04e0004", "10.7.0.4"));
  EXPECT_TRUE(m_log.WaitFor("Avahi Browse Data isn't Json Format"));
  EXPECT_EQ(AddressOf("0016c04e0003"), "");
}

TEST_F(MdnsDiscovery, TakesTheNewAddressOfADeviceThatIsAnnouncedAgain) {
  m_mdns.PublishAvp("0016c04e0005", "10.7.0.5");
  Start();
  ASSERT_TRUE(Learns("0016c04e0005", "10.7.0.5"));
  m_mdns.PublishAvp("0016c04e0005", "10.7.0.55");
  EXPECT_TRUE(Learns("0016c04e0005", "10.7.0.55"));
  EXPECT_EQ(AddressOf("0016c04e0005"), "10.7.0.55");
}

TEST_F(MdnsDiscovery, KeepsWhatItLearnedWhenTheServiceAndTheDaemonGo) {
  m_mdns.PublishAvp("0016c04e0006", "10.7.0.6");
  Start();
  ASSERT_TRUE(Learns("0016c04e0006", "10.7.0.6"));
  m_mdns.StopDaemon();
  EXPECT_TRUE(Printed("Server connection failure: Daemon connection failed\n"));
  EXPECT_EQ(AddressOf("0016c04e0006"), "10.7.0.6");
}

}  // namespace
