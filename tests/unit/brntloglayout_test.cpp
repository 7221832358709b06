#include "brntloglayout.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <log4cpp/PatternLayout.hh>
#include <string>
#include <vector>

#include "brntlog.h"
#include "testfiles.h"

namespace {

log4cpp::LoggingEvent Event(const std::string& message, int priority, unsigned seconds, unsigned microseconds) {
  log4cpp::LoggingEvent event("CATEGORY", message, "", priority);
  event.timeStamp = log4cpp::TimeStamp(seconds, microseconds);
  return event;
}

class LineLayout : public testing::Test {
 protected:
  LineLayout() { m_pattern.setConversionPattern(brntlog::kLinePattern); }

  void ExpectSameLine(const log4cpp::LoggingEvent& event) {
    EXPECT_EQ(m_layout.format(event), m_pattern.format(event));
  }

  brntlog::CLineLayout m_layout;
  log4cpp::PatternLayout m_pattern;
};

TEST_F(LineLayout, WritesWhatThePatternSays) {
  for (const int priority : {brntlog::kError, brntlog::kWarn, brntlog::kInfo}) {
    for (const std::string& message :
         {std::string(), std::string("a line"), std::string("%d %s %m%n [\n]\xff"), std::string(5000, 'x')}) {
      ExpectSameLine(Event(message, priority, 1'700'000'000, 123'456));
    }
  }
}

TEST_F(LineLayout, CarriesEveryMillisecondAndSecondInTurn) {
  for (const unsigned microseconds : {0u, 999u, 1'000u, 9'999u, 10'000u, 99'999u, 100'000u, 999'999u}) {
    for (const unsigned seconds : {0u, 1u, 1'700'000'000u, 1'700'000'001u, 1'700'000'000u, 4'000'000'000u}) {
      ExpectSameLine(Event("a line", brntlog::kInfo, seconds, microseconds));
    }
  }
}

TEST_F(LineLayout, IsLocalTimeAlsoAfterTheZoneHasChanged) {
  const char* before = std::getenv("TZ");
  const std::string zone = before == nullptr ? "" : before;
  setenv("TZ", "EAST-5", 1);
  EXPECT_EQ(m_layout.format(Event("east", brntlog::kInfo, 86'400, 0)), "1970-01-02 05:00:00.000 INFO east\n");
  setenv("TZ", "WEST+7", 1);
  EXPECT_EQ(m_layout.format(Event("west", brntlog::kInfo, 86'401, 0)), "1970-01-01 17:00:01.000 INFO west\n");
  before == nullptr ? unsetenv("TZ") : setenv("TZ", zone.c_str(), 1);
  tzset();
}

struct T_Configuration {
  const char* name;
  std::vector<std::string> lines;
  bool has;
};

class LinePattern : public testing::TestWithParam<T_Configuration> {};

TEST_P(LinePattern, IsFoundInTheConfiguration) {
  const std::string path = testing::TempDir() + "brntloglayout_" + GetParam().name + ".conf";
  std::string text;
  for (const std::string& line : GetParam().lines) text += line + "\n";
  WriteFile(path, text);
  EXPECT_EQ(brntlog::HasLinePattern(path.c_str(), "a"), GetParam().has);
}

const std::string kLayout = "log4cpp.appender.a.layout=PatternLayout";
const std::string kPattern = std::string("log4cpp.appender.a.layout.ConversionPattern=") + brntlog::kLinePattern;

INSTANTIATE_TEST_SUITE_P(
    Rows, LinePattern,
    testing::Values(T_Configuration{"Both", {"# words", kLayout, kPattern}, true},
                    T_Configuration{"Spaced", {" log4cpp.appender.a.layout = PatternLayout\r", kPattern + "\t"}, true},
                    T_Configuration{"Empty", {}, false}, T_Configuration{"NoPattern", {kLayout}, false},
                    T_Configuration{"NoLayout", {kPattern}, false},
                    T_Configuration{"OtherPattern", {kLayout, kPattern + " more"}, false},
                    T_Configuration{"OtherLayout", {"log4cpp.appender.a.layout=BasicLayout", kPattern}, false},
                    T_Configuration{
                        "OtherAppender",
                        {"log4cpp.appender.b.layout=PatternLayout",
                         std::string("log4cpp.appender.b.layout.ConversionPattern=") + brntlog::kLinePattern},
                        false},
                    T_Configuration{"CommentedOut", {kLayout, "#" + kPattern}, false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(LinePatternFile, OfThePackageHasItAndOneThatIsMissingHasNot) {
  EXPECT_TRUE(brntlog::HasLinePattern(HALYARD_SOURCE_DIR "/packaging/halyard.conf", "file"));
  EXPECT_FALSE(brntlog::HasLinePattern("/nowhere/log.conf", "file"));
}

}  // namespace
