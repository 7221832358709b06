#include "controllink.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr int kPatienceMs = 20000;

class ControlLink : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_link.Start("127.0.0.1", 0)); }
  std::optional<std::string> Ask(const std::string& command) {
    return CControlLink::Ask("127.0.0.1", m_link.Port(), command, kPatienceMs);
  }

  CControlLink m_link{
      [](const std::string& command) { return command == "long" ? std::string(70000, 'x') : "<" + command + ">"; }};
};

TEST_F(ControlLink, AnswersEachCommand) {
  EXPECT_EQ(Ask("one"), "<one>");
  EXPECT_EQ(Ask("two words"), "<two words>");
}

TEST_F(ControlLink, CutsAnAnswerThatNoDatagramHolds) { EXPECT_EQ(Ask("long"), std::string(65507, 'x')); }

TEST_F(ControlLink, StopsAndStartsAgain) {
  const int port = m_link.Port();
  m_link.Stop();
  EXPECT_FALSE(Ask("one")) << "nobody listens";
  ASSERT_TRUE(m_link.Start("127.0.0.1", port));
  EXPECT_EQ(Ask("one"), "<one>");
}

TEST_F(ControlLink, APortThatIsTakenIsRefused) {
  CControlLink second([](const std::string&) { return std::string(); });
  EXPECT_FALSE(second.Start("127.0.0.1", m_link.Port()));
}

}  // namespace
