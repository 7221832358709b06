// Two endpoints on one network: an encoder and a decoder, each with its own halyard, AV processor, command core, system
// bus and avahi-daemon.
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "endpoint.h"
#include "systemtest.h"

namespace {

const std::string kEncoderId = "0016c04e21e7";
const std::string kDecoderId = "0016c04e41b2";

// Where the AV processors are, by what the endpoints announce. Nothing listens there: only the bench's API servers hear
// of it.
constexpr char kEncoderAvp[] = "10.77.0.101";
constexpr char kEncoderAvpLater[] = "10.77.0.111";
constexpr char kDecoderAvp[] = "10.77.0.102";

// An endpoint with everything that belongs to it, reached through its own shell.
class CWholeEndpoint {
 public:
  explicit CWholeEndpoint(std::string id) : m_id(std::move(id)) {}

  [[nodiscard]] bool Start(const std::string& role, const std::string& name, const std::string& address) {
    m_programs = HALYARD_BINARY_DIR "/";
    return m_endpoint.Start("HLY-" + role, m_id, address) && Do("scripts/mdns start " + name) &&
           Do(m_programs + "halyard-sim --log-limit 0 --role " + role + " --mac " + m_id + " > /tmp/sim.log 2>&1 &") &&
           Do(m_programs + "halyardctl watch > /tmp/reports.log 2>&1 &") && StartHalyard();
  }

  [[nodiscard]] bool StartHalyard() {
    return Do(m_programs + "halyard -m " + m_id + " > /tmp/halyard.out 2>&1 & echo $! > /tmp/halyard.pid") &&
           Until(m_programs + "halyardctl online; grep -q 'Cmd Core Is Online' /var/log/halyard.log") &&
           Until("grep -q '\"subset\":\"device\"' /tmp/sim.log");
  }

  // The exit status after SIGTERM.
  int Stop() {
    m_endpoint.Run("kill -TERM $(cat /tmp/halyard.pid)");
    return m_endpoint.Run("wait $(cat /tmp/halyard.pid)");
  }

  void Announce(const std::string& address) { EXPECT_TRUE(Do("scripts/mdns announce " + m_id + " " + address)); }

  [[nodiscard]] bool Learns(const std::string& id, const std::string& address) {
    return Until("grep -qF 'new avp device, deviceid[" + id + "] avpip[" + address + "]' /var/log/halyard.log");
  }

  void Send(const std::string& command, const std::string& json) {
    EXPECT_TRUE(Do(m_programs + "halyardctl send " + command + " '" + json + "'"));
  }

  // The "switch:address" requests that the API server got since the last call. What is sent before is served before the
  // harmless command that marks the end.
  std::vector<std::string> TakeSwitches() {
    char data[16];
    std::snprintf(data, sizeof data, "5052%04x", ++m_probes);
    Send("send-cec-data", std::string(R"({"data":")") + data + R"("})");
    EXPECT_TRUE(Until(std::string("grep -q '\"data_hex\":\"") + data + "\"' /tmp/sim.log"));
    std::istringstream lines(m_endpoint.Output("grep -o 'HTTP <- .*switch:address.*' /tmp/sim.log"));
    std::vector<std::string> requests;
    for (std::string line; std::getline(lines, line);) requests.push_back(line.substr(8));
    requests.erase(requests.begin(), requests.begin() + static_cast<std::ptrdiff_t>(m_taken));
    m_taken += requests.size();
    return requests;
  }

  bool Running() { return Do("kill -0 $(cat /tmp/halyard.pid)"); }
  bool Do(const std::string& command) { return m_endpoint.Run(command) == 0; }
  [[nodiscard]] bool Until(const std::string& command) { return m_endpoint.Until(command); }
  std::string Output(const std::string& command) { return m_endpoint.Output(command); }

 private:
  const std::string m_id;
  std::string m_programs;
  CEndpoint m_endpoint;
  std::size_t m_taken = 0;
  int m_probes = 0;
};

class Pair : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(CEndpoint::CreateBridge());
    ASSERT_TRUE(m_encoder.Start("TX", "encoder", "10.77.0.1/24"));
    ASSERT_TRUE(m_decoder.Start("RX", "decoder", "10.77.0.2/24"));
  }

  void TearDown() override {
    for (CWholeEndpoint* endpoint : {&m_encoder, &m_decoder}) {
      EXPECT_TRUE(endpoint->Running());
      EXPECT_EQ(endpoint->Stop(), 0);
      EXPECT_EQ(endpoint->Output("grep -E 'Sanitizer|runtime error:' /tmp/halyard.out"), "");
    }
    if (!HasFailure()) return;
    for (CWholeEndpoint* endpoint : {&m_encoder, &m_decoder}) {
      std::printf("--- output of the process\n%s\n--- end of its log\n%s\n---\n",
                  endpoint->Output("cat /tmp/halyard.out /tmp/mdns.log").c_str(),
                  endpoint->Output("tail -n 60 /var/log/halyard.log").c_str());
    }
  }

  void AssociateAll() {
    for (const char* command : {"set-associations-ir", "set-associations-serial", "set-associations-usb-hid"}) {
      m_decoder.Send(command, R"({"streamSubscription":{"deviceID":")" + kEncoderId + R"("}})");
    }
  }

  // The requests at the decoder when all three associations go to this address.
  static std::vector<std::string> AllSwitchedTo(const std::string& address) {
    std::vector<std::string> requests;
    for (const char* type : {"INFRARED", "RS232", "USB_HID"}) {
      requests.push_back("POST /api/device/" + kDecoderId + R"( {"dest_address":")" + address +
                         R"(","op":"switch:address","stream_index":0,"stream_type":")" + type + R"("})");
    }
    return requests;
  }

  CWholeEndpoint m_encoder{kEncoderId};
  CWholeEndpoint m_decoder{kDecoderId};
};

TEST_F(Pair, TheDecoderSwitchesToTheAddressThatTheEncoderAnnounces) {
  m_encoder.Announce(kEncoderAvp);
  ASSERT_TRUE(m_decoder.Learns(kEncoderId, kEncoderAvp));
  AssociateAll();
  EXPECT_EQ(m_decoder.TakeSwitches(), AllSwitchedTo(kEncoderAvp));
  EXPECT_EQ(m_encoder.TakeSwitches(), std::vector<std::string>());
}

TEST_F(Pair, TheNextAssociationUsesAChangedAddress) {
  m_encoder.Announce(kEncoderAvp);
  ASSERT_TRUE(m_decoder.Learns(kEncoderId, kEncoderAvp));
  AssociateAll();
  EXPECT_EQ(m_decoder.TakeSwitches(), AllSwitchedTo(kEncoderAvp));
  m_encoder.Announce(kEncoderAvpLater);
  ASSERT_TRUE(m_decoder.Learns(kEncoderId, kEncoderAvpLater));
  AssociateAll();
  EXPECT_EQ(m_decoder.TakeSwitches(), AllSwitchedTo(kEncoderAvpLater));
}

TEST_F(Pair, EachLearnsOfBothAndOfWhatWasAnnouncedBeforeItCame) {
  m_encoder.Announce(kEncoderAvp);
  m_decoder.Announce(kDecoderAvp);
  EXPECT_TRUE(m_encoder.Learns(kDecoderId, kDecoderAvp));
  EXPECT_TRUE(m_encoder.Learns(kEncoderId, kEncoderAvp));
  EXPECT_TRUE(m_decoder.Learns(kEncoderId, kEncoderAvp));
  EXPECT_TRUE(m_decoder.Learns(kDecoderId, kDecoderAvp));
  EXPECT_EQ(m_decoder.Stop(), 0);
  ASSERT_TRUE(m_decoder.Do("rm /var/log/halyard.log"));
  ASSERT_TRUE(m_decoder.StartHalyard());
  EXPECT_TRUE(m_decoder.Learns(kEncoderId, kEncoderAvp));
}

TEST_F(Pair, TheRestGoesOnWhenTheDecodersDaemonDies) {
  m_encoder.Announce(kEncoderAvp);
  ASSERT_TRUE(m_decoder.Learns(kEncoderId, kEncoderAvp));
  ASSERT_TRUE(m_decoder.Do("scripts/mdns stop daemon"));
  EXPECT_TRUE(m_decoder.Until("grep -q '^Server connection failure: ' /tmp/halyard.out"));
  AssociateAll();
  EXPECT_EQ(m_decoder.TakeSwitches(), AllSwitchedTo(kEncoderAvp));
  ASSERT_TRUE(m_decoder.Do(HALYARD_BINARY_DIR "/halyardctl sim event rs232 'PWR=ON'"));
  EXPECT_TRUE(m_decoder.Until(R"(grep -q ' rs232 {"rs232_data":"PWR=ON"}' /tmp/reports.log)"));
}

TEST_F(Pair, AnEncoderThatVanishesKeepsItsAddress) {
  m_encoder.Announce(kEncoderAvp);
  ASSERT_TRUE(m_decoder.Learns(kEncoderId, kEncoderAvp));
  ASSERT_TRUE(m_encoder.Do("ip link set eth0 down"));
  AssociateAll();
  EXPECT_EQ(m_decoder.TakeSwitches(), AllSwitchedTo(kEncoderAvp));
}

}  // namespace
