#include "ZpIHev.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cerrno>
#include <thread>

namespace {

constexpr int kInstance = 931;
using Select = ZpIHSelect<kInstance>;

// Waits on its own for events of one end of a datagram pair.
class SelectEvents : public testing::Test {
 protected:
  void SetUp() override {
    Select::select_startevents();
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, m_ends), 0);
    m_request.er_type = 1;
    m_request.er_handle = m_ends[0];
    m_request.er_data = 77;
  }
  void TearDown() override {
    Select::select_removeevent(m_ends[0]);
    close(m_ends[1]);
  }

  void Write() { ASSERT_EQ(write(m_ends[1], "x", 1), 1); }
  UInt32 NextMask() {
    epoll_event event{};
    EXPECT_EQ(Select::select_waitevent(&event), 1);
    EXPECT_EQ(event.data.u64, m_request.er_data);
    return event.events;
  }

  int m_ends[2] = {-1, -1};
  eventreq m_request;
};

}  // namespace

TEST_F(SelectEvents, ReportReadinessUnderTheRequestsNumber) {
  EXPECT_EQ(Select::select_watchevent(m_request, kEventRead), 0);
  Write();
  EXPECT_EQ(NextMask(), UInt32{EPOLLIN});
}

TEST_F(SelectEvents, OnlyOfTheKindAskedFor) {
  EXPECT_EQ(Select::select_modwatch(m_request, kEventWrite), 0);
  Write();
  EXPECT_EQ(NextMask(), UInt32{EPOLLOUT});
}

TEST_F(SelectEvents, OfBothKindsWhenBothAreAskedFor) {
  Write();
  EXPECT_EQ(Select::select_modwatch(m_request, kEventRead | kEventWrite), 0);
  EXPECT_EQ(NextMask(), UInt32{EPOLLIN | EPOLLOUT});
}

TEST_F(SelectEvents, ASecondRequestChangesTheRegistration) {
  EXPECT_EQ(Select::select_modwatch(m_request, kEventRead), 0);
  EXPECT_EQ(Select::select_modwatch(m_request, kEventWrite), 0);  // added again, it would be refused
  EXPECT_EQ(NextMask(), UInt32{EPOLLOUT});
}

TEST_F(SelectEvents, ARemovedDescriptorsNumberCanBeRegisteredAnew) {
  EXPECT_EQ(Select::select_modwatch(m_request, kEventRead), 0);
  Select::select_removeevent(m_ends[0]);
  int again[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, again), 0);
  ASSERT_EQ(again[0], m_ends[0]);  // the lowest free number
  EXPECT_EQ(Select::select_modwatch(m_request, kEventRead), 0);
  ASSERT_EQ(write(again[1], "x", 1), 1);
  EXPECT_EQ(NextMask(), UInt32{EPOLLIN});
  close(again[1]);
}

TEST_F(SelectEvents, ADescriptorThatCannotBeWatchedIsRefusedAndSaidSo) {
  for (const int descriptor : {-1, 65536}) {
    eventreq request = m_request;
    request.er_handle = descriptor;
    testing::internal::CaptureStderr();
    EXPECT_EQ(Select::select_modwatch(request, kEventRead), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "epoll_ctl(): Bad file descriptor\n");
  }
}

TEST_F(SelectEvents, StartingThemTwiceKeepsTheSet) {
  EXPECT_EQ(Select::select_modwatch(m_request, kEventWrite), 0);
  Select::select_startevents();
  EXPECT_EQ(NextMask(), UInt32{EPOLLOUT});
}

TEST(Select, ARequestWaitsForTheSetToBeCreated) {
  using Late = ZpIHSelect<932>;
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  eventreq request;
  request.er_handle = ends[0];
  int result = -1;
  std::thread early([&] { result = Late::select_modwatch(request, kEventRead); });
  Late::select_startevents();
  early.join();
  EXPECT_EQ(result, 0);
  Late::select_removeevent(ends[0]);
  close(ends[1]);
}

TEST(SelectDeathTest, AnEpollSetOfNumberZeroIsAFailedAssertion) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        close(STDIN_FILENO);
        ZpIHSelect<933>::select_startevents();
      },
      "^_Assert: .*lib/include/ZpIHev.h, [0-9]+");
}
