#include "brntlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "logcapture.h"
#include "testfiles.h"

namespace {

const std::string kPlace = std::string(__FILE__) + ":";

TEST(LogLine, EndsWithFileAndLine) {
  CLogCapture log;
  HLOG_INFO("hello %d", 5);
  ASSERT_EQ(log.Lines().size(), 1u);
  EXPECT_EQ(log.Lines()[0].text, "hello 5");
  EXPECT_EQ(log.Lines()[0].place, kPlace + std::to_string(__LINE__ - 3));
}

TEST(LogLine, CarriesThePriorityOfItsMacro) {
  CLogCapture log;
  HLOG_ERROR("one");
  HLOG_WARN("two");
  HLOG_INFO("three");
  EXPECT_EQ(log.PriorityOf("one"), 300);
  EXPECT_EQ(log.PriorityOf("two"), 400);
  EXPECT_EQ(log.PriorityOf("three"), 600);
}

TEST(LogLine, KeepsTextOfAnyLengthWhole) {
  CLogCapture log;
  for (const std::size_t length : {1023u, 1024u, 1025u, 70000u}) {
    const std::string text(length, 'x');
    HLOG_INFO("%s", text.c_str());
    EXPECT_EQ(log.Lines().back().text, text);
  }
}

TEST(LogLine, KeepsAPlaceOfAnyLengthWhole) {
  CLogCapture log;
  const std::string file(3000, 'f');
  brntlog::Write(brntlog::kInfo, file.c_str(), 4'000'000'000, "%s", "far away");
  ASSERT_EQ(log.Lines().size(), 1u);
  EXPECT_EQ(log.Lines()[0].text, "far away");
  EXPECT_EQ(log.Lines()[0].place, file + ":4000000000");
}

TEST(LogLine, TakesPercentSignsFromOutsideAsText) {
  CLogCapture log;
  HLOG_INFO("[%s]", "100%s %n");
  EXPECT_EQ(log.Lines()[0].text, "[100%s %n]");
}

// Configure changes the log of the whole program, so each of these runs in a child process, which writes one ERROR line
// after it and ends.
class LogConfiguration : public testing::Test {
 protected:
  void SetUp() override {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    m_dir = testing::TempDir() + "brntlog_test";  // the same in the child
    mkdir(m_dir.c_str(), 0755);
  }

  std::string Config(const std::vector<std::string>& lines) const {
    const std::string path = m_dir + "/log.conf";
    std::ofstream file(path);
    for (const std::string& line : lines) file << line << '\n';
    return path;
  }

  std::string LogFile() const { return m_dir + "/halyard.log"; }

  [[noreturn]] static void ConfigureAndLog(const std::string& path) {
    dup2(STDERR_FILENO, STDOUT_FILENO);  // the console appender's lines, where the test reads
    brntlog::Configure(path.c_str());
    HLOG_INFO("a line");
    _exit(0);  // nothing is flushed here
  }

  std::string m_dir;
};

TEST_F(LogConfiguration, TheOneOfThePackageWritesTimePriorityAndText) {
  std::ifstream packaged(HALYARD_SOURCE_DIR "/packaging/halyard.conf");
  std::stringstream text;
  text << packaged.rdbuf();
  std::string config = text.str();
  const std::string name = "/var/log/halyard.log";
  ASSERT_NE(config.find(name), std::string::npos);
  config.replace(config.find(name), name.size(), LogFile());
  EXPECT_EXIT(ConfigureAndLog(Config({config})), testing::ExitedWithCode(0), "^$");

  std::ifstream log(LogFile());
  std::string line;
  std::getline(log, line);
  EXPECT_THAT(line, testing::ContainsRegex(
                        "^[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} INFO a line --\\[.*\\]$"));
}

TEST_F(LogConfiguration, MayGiveTheLinesAnotherPattern) {
  const std::string path =
      Config({"log4cpp.rootCategory=INFO, a", "log4cpp.appender.a=FileAppender",
              "log4cpp.appender.a.fileName=" + LogFile(), "log4cpp.appender.a.append=false",
              "log4cpp.appender.a.layout=PatternLayout", "log4cpp.appender.a.layout.ConversionPattern=<%p %m>%n"});
  EXPECT_EXIT(ConfigureAndLog(path), testing::ExitedWithCode(0), "^$");
  EXPECT_THAT(FileText(LogFile()), testing::MatchesRegex("<INFO a line --\\[.*\\]>\n"));
}

struct T_BadConfig {
  const char* name;
  std::vector<std::string> lines;
};

class BadLogConfiguration : public LogConfiguration, public testing::WithParamInterface<T_BadConfig> {};

TEST_P(BadLogConfiguration, IsReportedAndTheLogGoesToTheConsole) {
  const std::string path = Config(GetParam().lines);
  EXPECT_EXIT(ConfigureAndLog(path), testing::ExitedWithCode(0),
              "^log configuration " + path + ": .*; logging to the console\n.* INFO a line --\\[.*\\]\n$");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BadLogConfiguration,
    testing::Values(T_BadConfig{"Empty", {}}, T_BadConfig{"Garbage", {"garbage", "\xff\x01==", "==="}},
                    T_BadConfig{"UnknownPriority", {"log4cpp.rootCategory=NOSUCH"}},
                    T_BadConfig{"UnknownAppenderType",
                                {"log4cpp.rootCategory=INFO", "log4cpp.category.CATEGORY=INFO, a",
                                 "log4cpp.additivity.CATEGORY=false", "log4cpp.appender.a=NoSuchAppender"}},
                    T_BadConfig{"AppenderNotDefined",
                                {"log4cpp.rootCategory=INFO", "log4cpp.category.CATEGORY=ERROR, a",
                                 "log4cpp.additivity.CATEGORY=false"}},
                    T_BadConfig{"NoAppenderAtAll", {"log4cpp.rootCategory=INFO"}},
                    T_BadConfig{
                        "FileThatCannotBeOpened",
                        {"log4cpp.rootCategory=INFO", "log4cpp.category.CATEGORY=INFO, a",
                         "log4cpp.additivity.CATEGORY=false", "log4cpp.appender.a=FileAppender",
                         "log4cpp.appender.a.fileName=/nowhere/halyard.log", "log4cpp.appender.a.layout=BasicLayout"}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(LogConfiguration, AMissingFileIsReportedAndTheLogGoesToTheConsole) {
  EXPECT_EXIT(ConfigureAndLog("/nowhere/log.conf"), testing::ExitedWithCode(0),
              "^log configuration /nowhere/log.conf: .*\n.* INFO a line --");
}

}  // namespace
