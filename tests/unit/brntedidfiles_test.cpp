#include "brntedidfiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "brntjson.h"
#include "fakeplatform.h"
#include "logcapture.h"
#include "testfiles.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kDevice[] = "0016c04e41b2";
constexpr char kNoDecoder[] = "Get DECORDER's edid Not Found [";
constexpr char kNoMonitor[] = "Get MONITOR's edid Not Found [";

std::string Decoder(const std::string& configuration) {
  return R"({"type":"HDMI_DECODER","index":0,"configuration":)" + configuration + R"(,"status":{}})";
}
std::string Monitor(const std::string& status) {
  return R"({"type":"HDMI_MONITOR","index":0,"configuration":{},"status":)" + status + "}";
}
std::string Edid(char digit) { return std::string(512, digit); }
std::string Member(const std::string& edid) { return "{\"edid\":\"" + edid + "\"}"; }

class EdidFiles : public testing::Test {
 protected:
  ~EdidFiles() override {
    for (const char* path : {"/tmp/dec.edid", "/tmp/dec.edid.bin", "/tmp/mon.edid", "/tmp/mon.edid.bin"}) unlink(path);
  }

  void SaveDevices(const std::string& text) {
    Json::Value devices;
    ASSERT_TRUE(brntjson::Parse(text, devices)) << text;
    SaveEdidFiles(devices, kDevice);
  }
  void SaveNodes(const std::string& nodes) {
    SaveDevices("[{\"device_id\":\"0016c04e41b2\",\"nodes\":[" + nodes + "]}]");
  }

  CFakePlatform m_platform;
  CLogCapture m_log;
};

TEST_F(EdidFiles, BothEdidsGoToTheirFiles) {
  SaveNodes(Decoder(Member(Edid('1'))) + "," + Monitor(Member(Edid('2'))));
  EXPECT_EQ(FileText("/tmp/dec.edid"), Edid('1'));
  EXPECT_EQ(FileText("/tmp/dec.edid.bin"), std::string(256, '\x11'));
  EXPECT_EQ(FileText("/tmp/mon.edid"), Edid('2'));
  EXPECT_EQ(FileText("/tmp/mon.edid.bin"), std::string(256, '\x22'));
  EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(EdidFiles, AnEncoderHasNoMonitor) {
  SaveNodes(Decoder(Member(Edid('1'))));
  EXPECT_EQ(FileText("/tmp/dec.edid"), Edid('1'));
  EXPECT_EQ(m_log.PriorityOf("Get MONITOR's edid Not Found [status]"), 300);
  EXPECT_FALSE(m_log.Contains(kNoDecoder));
}

TEST_F(EdidFiles, ADecoderHasNoHdmiInput) {
  SaveNodes(Monitor(R"({"connected":true,"edid":")" + Edid('2') + "\"}"));
  EXPECT_EQ(FileText("/tmp/mon.edid"), Edid('2'));
  EXPECT_EQ(m_log.PriorityOf("Get DECORDER's edid Not Found [configuration]"), 300);
  EXPECT_FALSE(m_log.Contains(kNoMonitor));
}

TEST_F(EdidFiles, AMissingTextIsSaidAndTouchesNoFile) {
  SaveNodes(Decoder(Member(Edid('1'))) + "," + Monitor(Member(Edid('2'))));
  SaveNodes(Decoder(R"({"edid":null})") + "," + Monitor(R"({"edid":5})"));
  EXPECT_EQ(m_log.PriorityOf("Get DECORDER's edid Not Found [edid]"), 300);
  EXPECT_EQ(m_log.PriorityOf("Get MONITOR's edid Not Found [edid]"), 300);
  EXPECT_EQ(FileText("/tmp/dec.edid"), Edid('1'));
  EXPECT_EQ(FileText("/tmp/mon.edid"), Edid('2'));
}

TEST_F(EdidFiles, AnEmptyTextRemovesTheFiles) {
  SaveNodes(Decoder(Member("")) + "," + Monitor(Member("")));
  EXPECT_THAT(m_platform.Commands(), ElementsAre("rm -f /tmp/dec.edid", "rm -f /tmp/dec.edid.bin",
                                                 "rm -f /tmp/mon.edid", "rm -f /tmp/mon.edid.bin"));
}

TEST_F(EdidFiles, AMonitorThatIsNotConnectedHasNoEdid) {
  SaveNodes(Decoder(Member(Edid('1'))) + "," + Monitor(R"({"connected":false,"edid":")" + Edid('2') + "\"}"));
  EXPECT_THAT(m_platform.Commands(), ElementsAre("rm -f /tmp/mon.edid", "rm -f /tmp/mon.edid.bin"));
}

TEST_F(EdidFiles, TheFirstNodeOfATypeCounts) {
  SaveNodes(Decoder(Member(Edid('1'))) + "," + Decoder(Member(Edid('3'))) + "," + Monitor(Member(Edid('2'))));
  EXPECT_EQ(FileText("/tmp/dec.edid"), Edid('1'));
}

TEST_F(EdidFiles, OnlyTheDeviceItselfCounts) {
  SaveDevices(R"([{"device_id":"0016c0000000","nodes":[)" + Decoder(Member(Edid('9'))) +
              R"(]},{"device_id":"0016c04e41b2","nodes":[)" + Decoder(Member(Edid('1'))) + "]}]");
  EXPECT_EQ(FileText("/tmp/dec.edid"), Edid('1'));
}

TEST_F(EdidFiles, DocumentsWithoutTheNodesAreSaid) {
  for (const char* text : {"[]", R"([{"device_id":"0016c04e41b2"}])", R"([{"device_id":"0016c04e41b2","nodes":null}])",
                           R"([{"device_id":"other","nodes":[]}])", "[5,null]"}) {
    m_log.Clear();
    SaveDevices(text);
    EXPECT_EQ(m_log.PriorityOf("Get DECORDER's edid Not Found [nodes]"), 300) << text;
    EXPECT_EQ(m_log.PriorityOf("Get MONITOR's edid Not Found [nodes]"), 300) << text;
  }
  EXPECT_THAT(m_platform.Commands(), IsEmpty());
}

TEST_F(EdidFiles, NodesOfTheWrongShapeDoNoHarm) {
  SaveDevices(R"([{"device_id":"0016c04e41b2","nodes":{"type":"HDMI_DECODER"}}])");
  SaveNodes(R"(5,null,[],{"type":"HDMI_DECODER","configuration":[]},{"type":"HDMI_MONITOR","status":"edid"})");
  EXPECT_THAT(m_platform.Commands(), IsEmpty());
  EXPECT_EQ(m_log.Count(kNoDecoder), 2U);
  EXPECT_EQ(m_log.Count(kNoMonitor), 2U);
}

}  // namespace
