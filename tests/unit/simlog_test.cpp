#include "simlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(SimLog, WritesTimeLinkDirectionAndText) {
  std::vector<std::string> lines;
  CSimLog log([&lines](const std::string& line) { lines.push_back(line); });
  log.Message("TCI", "->", "mode\r\n\xe4");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_THAT(lines[0], testing::MatchesRegex("[0-9]+:[0-9]+:[0-9]+\\.[0-9]+ TCI -> mode\\\\x0d\\\\x0a\\\\xe4"));
}

TEST(SimLog, MayHaveNoSink) {
  CSimLog log(nullptr);
  EXPECT_NO_THROW(log.Message("TCI", "->", "mode"));
}

TEST(SimLog, ToldTimesLieApartAsTheyDid) {
  const auto now = T_SimClock::now();
  EXPECT_THAT(TimeOfDay(now), testing::MatchesRegex("[0-9]+:[0-9]+:[0-9]+\\.[0-9]+"));
  EXPECT_EQ(TimeOfDay(now).size(), 12u);
  EXPECT_NE(TimeOfDay(now), TimeOfDay(now - std::chrono::seconds(7)));
}

}  // namespace
