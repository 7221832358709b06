// What the process says of itself to cmd_core: "avp on line" until cmd_core has spoken, "avp alive" from then on.
#include "systemtest.h"

namespace {

constexpr int kOnline = 3;
constexpr int kAlive = 6;

class Announcement : public SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    StartCmdCore();
    StartHalyard();
  }
};

TEST_F(Announcement, ComesOnceASecondUntilCmdCoreIsOnline) {
  ASSERT_TRUE(Core().WaitForReports(4, kOnline, kPatienceMs));
  const auto reports = Core().Reports(kOnline);
  EXPECT_EQ(reports[0].text, "avp on line");
  EXPECT_GE(MsBetween(reports[0].time, reports[3].time), 2900);
  EXPECT_GE(LogCount("INFO Tell Cmd Core ,Avp Is Online"), 4u);
  EXPECT_TRUE(Core().Reports(kAlive).empty());
}

TEST_F(Announcement, IsFramedAsARecordInsideARecord) {
  const auto report = Core().WaitForReport(kOnline, kPatienceMs);
  ASSERT_TRUE(report.has_value());
  const std::string expected(
      "\x03\x00\x00\x00\x14\x00\x00\x00"
      "\x03\x05\x09\x00\x0c\x00\x00\x00"
      "avp on line\x00",
      28);
  EXPECT_EQ(report->raw, expected);
}

TEST_F(Announcement, GivesWayToTheKeepAliveEveryFiveSeconds) {
  AnnounceCmdCore();
  const auto heard = Clock::now();
  ASSERT_TRUE(Core().WaitForReports(2, kAlive, kPatienceMs));
  const auto alive = Core().Reports(kAlive);
  EXPECT_EQ(alive[0].text, "avp alive");
  EXPECT_GE(MsBetween(heard, alive[0].time), 4800);  // the process may have been heard a moment late
  EXPECT_GE(MsBetween(alive[0].time, alive[1].time), 4900);
  for (const T_Report& report : Core().Reports(kOnline)) EXPECT_LE(MsBetween(heard, report.time), 1000);
}

TEST_F(Announcement, DoesNotStartAgainWhenCmdCoreGoesAway) {
  AnnounceCmdCore();
  ASSERT_TRUE(Core().WaitForReport(kAlive, kPatienceMs));
  Core().Stop();
  Core().ClearReports();
  ASSERT_TRUE(WaitForLogLine("[alive type]", 2));
  ASSERT_TRUE(Core().Start());
  ASSERT_TRUE(Core().WaitForReport(kAlive, kPatienceMs));
  EXPECT_TRUE(Core().Reports(kOnline).empty());
}

TEST_F(Announcement, IsLoggedWithItsKind) {
  AnnounceCmdCore();
  EXPECT_TRUE(WaitForLogLine("INFO Send Msg To cmd_core : [online type] -- [avp on line] --["));
  EXPECT_TRUE(WaitForLogLine("INFO Send Msg To cmd_core : [alive type] -- [avp alive] --["));
}

}  // namespace
