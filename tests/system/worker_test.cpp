// What runs beside the commands: infrared bursts with their pauses, the periodic checks and reads, and a video wall
// that follows its source.
#include <gmock/gmock.h>

#include "systemtest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kVideo = 0;
constexpr int kVideoWall = 7;
constexpr char kCheckSummary[] = "INFO source[w:";  // every tenth check writes one
constexpr char kDecoderEdidFile[] = "/tmp/dec.edid";

class InfraredBurst : public SystemTest {};

TEST_F(InfraredBurst, PausesTheNextOneAndNothingElse) {
  BringUp();
  const auto begin = Clock::now();
  for (const char* data : {"0000", "0001", "0002"}) {
    ASSERT_TRUE(
        Core().Send("send-ir-data", std::string(R"({"format":"pronto","delay":1000,"data":")") + data + R"("})"));
  }
  ASSERT_TRUE(Core().Send("send-serial-data", R"({"mode":"ascii","data":"PWR?"})"));
  const auto infrared = simmatch::Op("send:infrared");
  ASSERT_TRUE(Avp().WaitForRequests(3, infrared, kPatienceMs));
  const auto bursts = Avp().Requests(infrared);
  std::vector<std::string> data;
  for (const T_SimRequest& burst : bursts) data.push_back(burst.Field("data_hex"));
  EXPECT_THAT(data, ElementsAre("0000", "0001", "0002"));
  EXPECT_GE(MsBetween(begin, bursts[1].time), 1000);
  EXPECT_GE(MsBetween(begin, bursts[2].time), 2000);
  const auto serial = Avp().Requests(simmatch::Op("send:rs232"));
  ASSERT_EQ(serial.size(), 1u);
  EXPECT_LT(serial[0].time, bursts[2].time);
}

TEST_F(InfraredBurst, WithoutADelayLeavesAtOnceAfterTheOneBefore) {
  BringUp();
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(Core().Send("send-ir-data", R"({"format":"pronto","interval":1000,"data":"0000"})"));
  }
  ASSERT_TRUE(Avp().WaitForRequests(3, simmatch::Op("send:infrared"), kPatienceMs));
  // Deliberate: the interval is checked and then dropped.
  const std::string accepted = "INFO SendIrDataCmd count:0, interval:0, delay:0";  // written beside the worker
  ASSERT_TRUE(WaitForLogLine(accepted, 3));
  EXPECT_EQ(LogCount(accepted), 3u);
}

class Maintenance : public SystemTest {
 protected:
  static T_RequestMatcher Netstat() { return simmatch::Op("netstat"); }
  static T_RequestMatcher Edid() { return simmatch::Subset("edid"); }
};

// Counted, not timed: ten checks, of which the tenth writes its summary, go to one refresh.
TEST_F(Maintenance, ChecksEachSecondAndRefreshesEachTenth) {
  BringUp();
  ASSERT_TRUE(WaitForLogLine(kCheckSummary, 1));
  const auto begin = Clock::now();
  const size_t refreshes = Avp().Requests(Netstat()).size();
  ASSERT_TRUE(WaitForLogLine(kCheckSummary, 3));  // twenty checks later
  EXPECT_GE(MsBetween(begin, Clock::now()), 18'000);
  const size_t later = Avp().Requests(Netstat()).size();
  EXPECT_GE(later - refreshes, 1u);
  EXPECT_LE(later - refreshes, 3u);
}

TEST_F(Maintenance, ReadsTheNetworkAndThenTheEdidWhileItIsUnknown) {
  BringUp();  // of a decoder, whose document tells no input EDID
  ASSERT_TRUE(Avp().WaitForRequests(2, Netstat(), kPatienceMs));
  const auto netstat = Avp().Requests(Netstat());
  EXPECT_EQ(netstat[0].path, "/api/device/" + kLocalId);
  EXPECT_EQ(netstat[0].body, "{\"op\":\"netstat\",\"option\":\"read\"}\n");
  EXPECT_GE(MsBetween(netstat[0].time, netstat[1].time), 9'000);
  const auto edid = Avp().WaitForRequest(Edid(), kPatienceMs);
  ASSERT_TRUE(edid.has_value());
  EXPECT_EQ(edid->path, "/api/device/" + kLocalId);
  EXPECT_EQ(edid->body, "{\"op\":\"get\",\"subset\":\"edid\"}\n");
  EXPECT_GE(edid->time, netstat[0].time);
  EXPECT_LT(edid->time, netstat[1].time);
}

TEST_F(Maintenance, ReadsNoEdidThatIsInItsFile) {
  BringUp();
  ASSERT_TRUE(Avp().WaitForRequests(1, Edid(), kPatienceMs));
  WriteFile(kDecoderEdidFile, "known");
  Avp().ClearRequests();
  ASSERT_TRUE(Avp().WaitForRequests(2, Netstat(), kPatienceMs));
  EXPECT_THAT(Avp().Requests(Edid()), IsEmpty());
}

TEST_F(Maintenance, OfAnEncoderReadsTheNetworkAndChecksNoWall) {
  BringUp("TX");
  ASSERT_TRUE(Avp().WaitForRequests(2, Netstat(), kPatienceMs));
  EXPECT_EQ(LogCount(kCheckSummary), 0u);
}

class AutoWall : public SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    BringUp();
    ASSERT_TRUE(Avp().WaitForAsync(kPatienceMs));
    ASSERT_TRUE(Core().WaitForReport(kVideo, kPatienceMs));
  }

  void StartWall() {
    ASSERT_TRUE(Core().Send(
        "set-video", R"({"output":{"hdmiOut":{"displayMode":"videoWall","videoWallLayout":{"scaler":"1920x1080p@60",)"
                     R"("maxRow":2,"maxColumn":2,"posRow":1,"posColumn":0,"wallMode":"auto"}}}})"));
  }

  // Display modes that were asked for, in order.
  std::vector<std::string> Modes() {
    std::vector<std::string> modes;
    for (const T_SimRequest& request : Avp().Requests(simmatch::Op("set:video"))) {
      modes.push_back(request.Field("display_mode"));
    }
    return modes;
  }

  bool WaitForMode(const std::string& mode) {
    return WaitUntil([&] { return !Modes().empty() && Modes().back() == mode; });
  }

  std::vector<std::string> WallReports() {
    std::vector<std::string> texts;
    for (const T_Report& report : Core().Reports(kVideoWall)) texts.push_back(report.text);
    return texts;
  }

  // At least ten more checks.
  void WaitForChecks() { ASSERT_TRUE(WaitForLogLine(kCheckSummary, LogCount(kCheckSummary) + 2)); }

  static std::string WallReport(const std::string& mode) {
    return R"({"videoWall":{"displayFps":60,"displayMode":")" + mode + "\",\"sourceFps\":60}}\n";
  }
};

TEST_F(AutoWall, FollowsItsSourceWithOneRequestAndOneReportEachTime) {
  // The device receives 3840x2160p60, which is not the wall's timing.
  StartWall();
  ASSERT_TRUE(WaitForMode("WALL_FAST_SWITCHED"));
  ASSERT_TRUE(Avp().SetSource("1920x1080p60"));
  ASSERT_TRUE(WaitForMode("WALL_GENLOCKED"));
  WaitForChecks();
  EXPECT_THAT(Modes(), ElementsAre("WALL_FAST_SWITCHED", "WALL_GENLOCKED"));
  EXPECT_THAT(WallReports(), ElementsAre(WallReport("WALL_GENLOCKED")));
  ASSERT_TRUE(Avp().SetSource("3840x2160p60"));
  ASSERT_TRUE(Core().WaitForReports(2, kVideoWall, kPatienceMs));
  WaitForChecks();
  EXPECT_THAT(Modes(), ElementsAre("WALL_FAST_SWITCHED", "WALL_GENLOCKED", "WALL_FAST_SWITCHED"));
  EXPECT_THAT(WallReports(), ElementsAre(WallReport("WALL_GENLOCKED"), WallReport("WALL_FAST_SWITCHED")));
  const auto requests = Avp().Requests(simmatch::Op("set:video"));
  for (const T_SimRequest& request : requests) EXPECT_EQ(request.json["video"], requests[0].json["video"]);
}

TEST_F(AutoWall, EndsWithASinglePicture) {
  StartWall();
  ASSERT_TRUE(WaitForMode("WALL_FAST_SWITCHED"));
  Core().Send("set-video",
              R"({"output":{"hdmiOut":{"displayMode":"single","singleLayout":{"scaler":"1920x1080p@60"}}}})");
  ASSERT_TRUE(WaitForMode("FAST_SWITCHED"));
  ASSERT_TRUE(Avp().SetSource("1920x1080p60"));
  WaitForChecks();
  EXPECT_THAT(Modes(), ElementsAre("WALL_FAST_SWITCHED", "FAST_SWITCHED"));
}

}  // namespace
