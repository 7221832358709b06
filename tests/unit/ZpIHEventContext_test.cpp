#include "ZpIHEventContext.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "eventfixture.h"
#include "gate.h"

namespace {

constexpr int kInstance = 941;
using Context = ZpIHEventContext<kInstance>;
using Task = ZpIHTask<kInstance>;

// One end of a connected pair as a context; the test holds the other end.
class CEnd : public Context {
 public:
  explicit CEnd(ZpIHTask<kInstance>* task = nullptr, int type = SOCK_DGRAM)
      : Context(kInvalidFileDesc, ZpIHSocket<kInstance>::GetEventThread()) {
    SetTask(task);
    Open(type);
  }
  ~CEnd() override {
    AutoCleanup();
    Hang();
  }

  void Open(int type = SOCK_DGRAM) {
    Hang();
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends), 0);
    ASSERT_EQ(InitNonBlocking(ends[0]), 0);
    m_peer = ends[1];
  }
  void Write() const { ASSERT_EQ(write(m_peer, "x", 1), 1); }
  void Hang() {
    if (m_peer != -1) close(m_peer);
    m_peer = -1;
  }
  void Drain() const {
    char byte;
    while (read(GetSocketFD(), &byte, 1) > 0) {
    }
  }

  std::uintptr_t UniqueID() const { return fUniqueID; }
  static void SetLastUniqueID(UInt32 id) { sUniqueID = id; }

 private:
  int m_peer = -1;
};

// Shows its events to the test instead of a task.
class COwnEnd : public CEnd {
 public:
  using OnEvent = std::function<void(COwnEnd& self, int bits)>;

  explicit COwnEnd(OnEvent onEvent = nullptr, int type = SOCK_DGRAM)
      : CEnd(nullptr, type), m_onEvent(std::move(onEvent)) {}
  ~COwnEnd() override { AutoCleanup(); }

  void ProcessEvent(int bits) override {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_events.push_back(bits);
    }
    if (m_onEvent) m_onEvent(*this, bits);
  }

  std::vector<int> Events() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
  }

 private:
  const OnEvent m_onEvent;
  mutable std::mutex m_mutex;
  std::vector<int> m_events;
};

class EventContext : public CEventFixture<kInstance> {
 protected:
  // Returns when all events that were pending before have been delivered: the event thread takes them in their order.
  static void LetEventsBeDelivered() {
    COwnEnd last;
    last.RequestEvent(kEventRead);
    last.Write();
    ASSERT_TRUE(WaitFor([&] { return !last.Events().empty(); }));
  }
};

}  // namespace

TEST_F(EventContext, SignalsItsTaskWhenTheDescriptorIsReadable) {
  CEnd end(&m_reader);
  end.RequestEvent(kEventRead);
  end.Write();
  ASSERT_TRUE(WaitFor([&] { return m_reader.HasRun(1); }));
  EXPECT_EQ(m_reader.Runs()[0], Task::kReadEvent);
}

TEST_F(EventContext, SignalsTheSameEventWhenTheDescriptorIsWritable) {
  CEnd end(&m_reader);
  end.RequestEvent(kEventWrite);
  ASSERT_TRUE(WaitFor([&] { return m_reader.HasRun(1); }));
  EXPECT_EQ(m_reader.Runs()[0], Task::kReadEvent);
}

TEST_F(EventContext, WithoutATaskAnEventIsDropped) {
  CEnd end;
  end.RequestEvent(kEventRead);
  end.Write();
  LetEventsBeDelivered();
}

TEST_F(EventContext, SignalsTheTaskThatWasSetLast) {
  CEnd end(&m_reader);
  end.SetTask(&m_other);
  end.RequestEvent(kEventRead);
  end.Write();
  ASSERT_TRUE(WaitFor([&] { return m_other.HasRun(1); }));
  EXPECT_TRUE(m_reader.Runs().empty());
}

TEST_F(EventContext, ReadableAloneIsBit1) {
  COwnEnd end;
  end.RequestEvent(kEventRead);
  end.Write();
  ASSERT_TRUE(WaitFor([&] { return !end.Events().empty(); }));
  EXPECT_EQ(end.Events(), std::vector<int>{1});
}

TEST_F(EventContext, WritableAloneIsBit2) {
  COwnEnd end;
  end.RequestEvent(kEventWrite);
  ASSERT_TRUE(WaitFor([&] { return !end.Events().empty(); }));
  EXPECT_EQ(end.Events(), std::vector<int>{2});
}

TEST_F(EventContext, ReadableAndWritableAreBits3) {
  COwnEnd end;
  end.Write();
  end.RequestEvent(kEventRead | kEventWrite);
  ASSERT_TRUE(WaitFor([&] { return !end.Events().empty(); }));
  EXPECT_EQ(end.Events(), std::vector<int>{3});
}

TEST_F(EventContext, AHangUpAloneCountsAsReadable) {
  COwnEnd end(nullptr, SOCK_STREAM);
  end.Hang();
  end.RequestEvent(0);
  ASSERT_TRUE(WaitFor([&] { return !end.Events().empty(); }));
  EXPECT_EQ(end.Events(), std::vector<int>{1});
}

TEST_F(EventContext, ASecondRequestChangesTheFirst) {
  COwnEnd end;
  end.RequestEvent(kEventRead);
  testing::internal::CaptureStderr();
  end.RequestEvent(kEventWrite);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");  // added again, it would be refused with a message
  ASSERT_TRUE(WaitFor([&] { return !end.Events().empty(); }));
  EXPECT_EQ(end.Events(), std::vector<int>{2});
}

TEST_F(EventContext, KeepsItsNumberFromRequestToRequest) {
  CEnd end;
  EXPECT_EQ(end.UniqueID(), 0U);
  end.RequestEvent(kEventRead);
  const std::uintptr_t number = end.UniqueID();
  EXPECT_NE(number, 0U);
  end.RequestEvent(kEventRead);
  EXPECT_EQ(end.UniqueID(), number);
}

TEST_F(EventContext, UnreadDataIsToldOfOnceUntilMoreArrives) {
  COwnEnd end;
  end.RequestEvent(kEventRead);
  end.Write();
  ASSERT_TRUE(WaitFor([&] { return end.Events().size() == 1; }));
  LetEventsBeDelivered();
  EXPECT_EQ(end.Events().size(), 1U);
  end.Write();
  EXPECT_TRUE(WaitFor([&] { return end.Events().size() == 2; }));
}

TEST_F(EventContext, ADrainedDescriptorIsNotToldOfWhenAskedForAgain) {
  COwnEnd end;
  end.RequestEvent(kEventRead);
  end.Write();
  ASSERT_TRUE(WaitFor([&] { return end.Events().size() == 1; }));
  end.Drain();
  end.RequestEvent(kEventRead);
  LetEventsBeDelivered();
  EXPECT_EQ(end.Events().size(), 1U);
}

// A reader that takes only a part of what is there depends on it.
TEST_F(EventContext, WhatWasLeftUnreadIsToldOfOnceMoreWhenAskedForAgain) {
  COwnEnd end;
  end.RequestEvent(kEventRead);
  end.Write();
  ASSERT_TRUE(WaitFor([&] { return end.Events().size() == 1; }));
  end.RequestEvent(kEventRead);
  EXPECT_TRUE(WaitFor([&] { return end.Events().size() == 2; }));
}

TEST_F(EventContext, CleanupDropsAnEventThatIsPending) {
  CGate gate;
  COwnEnd first([&](COwnEnd&, int) { gate.Pass(); });
  first.RequestEvent(kEventRead);
  first.Write();
  gate.WaitForArrivals(1);  // the event thread is busy
  CEnd second(&m_reader);
  second.RequestEvent(kEventRead);
  second.Write();
  second.Cleanup();
  gate.Open();
  LetEventsBeDelivered();
  EXPECT_TRUE(m_reader.Runs().empty());
}

TEST_F(EventContext, AnEventOfANumberThatHasGoneIsIgnored) {
  COwnEnd end;
  end.RequestEvent(kEventRead);
  const int copy = dup(end.GetSocketFD());  // keeps the registration in the epoll set beyond the close
  end.Cleanup();
  end.Write();
  LetEventsBeDelivered();
  EXPECT_TRUE(end.Events().empty());
  close(copy);
}

TEST_F(EventContext, CleanupWaitsForAnEventThatIsBeingDelivered) {
  CGate gate;
  std::atomic<bool> delivered{false};
  COwnEnd end([&](COwnEnd&, int) {
    gate.Pass();
    delivered = true;
  });
  end.RequestEvent(kEventRead);
  end.Write();
  gate.WaitForArrivals(1);
  std::thread opener([&] { gate.Open(); });
  end.Cleanup();
  EXPECT_TRUE(delivered);
  opener.join();
}

TEST_F(EventContext, MayCleanItselfUpWhileItsEventIsDelivered) {
  COwnEnd end([](COwnEnd& self, int) { self.Cleanup(); });
  end.RequestEvent(kEventRead);
  end.Write();
  ASSERT_TRUE(WaitFor([&] { return !end.Events().empty(); }));
  LetEventsBeDelivered();
  EXPECT_EQ(end.GetSocketFD(), -1);
}

TEST_F(EventContext, MayEndWhileItsEventIsDelivered) {
  class CMortalEnd : public CEnd {
   public:
    explicit CMortalEnd(std::atomic<bool>& gone) : m_gone(gone) {}
    ~CMortalEnd() override { AutoCleanup(); }
    void ProcessEvent(int /*bits*/) override {
      std::atomic<bool>& gone = m_gone;
      delete this;
      gone = true;
    }

   private:
    std::atomic<bool>& m_gone;
  };
  std::atomic<bool> gone{false};
  (new CMortalEnd(gone))->RequestEvent(kEventWrite);
  ASSERT_TRUE(WaitFor([&] { return gone.load(); }));
  LetEventsBeDelivered();
}

TEST_F(EventContext, CleanupLeavesNeitherDescriptorNorNumber) {
  CEnd end;
  const int descriptor = end.GetSocketFD();
  end.RequestEvent(kEventRead);
  end.Cleanup();
  EXPECT_EQ(end.GetSocketFD(), -1);
  EXPECT_EQ(end.UniqueID(), 0U);
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
  end.Cleanup();
  EXPECT_EQ(end.GetSocketFD(), -1);
}

TEST_F(EventContext, CleanupClosesADescriptorThatWasNeverRegistered) {
  CEnd end;
  const int descriptor = end.GetSocketFD();
  end.Cleanup();
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST_F(EventContext, CanBeOpenedAnewAfterCleanup) {
  CEnd end(&m_reader);
  end.RequestEvent(kEventRead);
  end.Cleanup();
  end.Open();
  end.RequestEvent(kEventRead);
  end.Write();
  EXPECT_TRUE(WaitFor([&] { return m_reader.HasRun(1); }));
}

TEST_F(EventContext, TheDestructorCleansUp) {
  auto end = std::make_unique<CEnd>();
  const int descriptor = end->GetSocketFD();
  end->RequestEvent(kEventRead);
  end.reset();
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST_F(EventContext, TheDestructorLeavesTheDescriptorWhenToldSo) {
  int descriptor = -1;
  {
    CEnd end;
    descriptor = end.GetSocketFD();
    end.DontAutoCleanup();
  }
  EXPECT_NE(fcntl(descriptor, F_GETFD), -1);
  close(descriptor);
}

TEST_F(EventContext, NumbersStartAgainAt1AfterTenMillion) {
  CEnd::SetLastUniqueID(9999999);
  CEnd last;
  last.RequestEvent(kEventRead);
  EXPECT_EQ(last.UniqueID(), 10000000U);
  CEnd first;
  first.RequestEvent(kEventRead);
  EXPECT_EQ(first.UniqueID(), 1U);
  CEnd second;
  second.RequestEvent(kEventRead);
  EXPECT_EQ(second.UniqueID(), 2U);
}

TEST_F(EventContext, ANumberThatIsStillInUseIsPassedOver) {
  CEnd::SetLastUniqueID(10000000);
  CEnd old(&m_reader);
  old.RequestEvent(kEventRead);
  CEnd::SetLastUniqueID(10000000);
  CEnd young(&m_other);
  young.RequestEvent(kEventRead);
  EXPECT_EQ(young.UniqueID(), 2U);
  young.Write();
  ASSERT_TRUE(WaitFor([&] { return m_other.HasRun(1); }));
  EXPECT_TRUE(m_reader.Runs().empty());
}

TEST_F(EventContext, SnarfedDescriptorAndRegistrationBelongToTheNewContext) {
  CEnd from(&m_reader);
  from.RequestEvent(kEventRead);
  const int descriptor = from.GetSocketFD();
  CEnd to(&m_other);
  to.SnarfEventContext(from);
  EXPECT_EQ(from.GetSocketFD(), -1);
  EXPECT_EQ(to.GetSocketFD(), descriptor);
  from.Write();
  ASSERT_TRUE(WaitFor([&] { return m_other.HasRun(1); }));
  EXPECT_TRUE(m_reader.Runs().empty());
}

TEST_F(EventContext, SnarfingItselfChangesNothing) {
  CEnd end;
  const int descriptor = end.GetSocketFD();
  end.SnarfEventContext(end);
  EXPECT_EQ(end.GetSocketFD(), descriptor);
}

TEST_F(EventContext, AnExceptionInTheDeliveryIsReportedAndTheThreadGoesOn) {
  static std::atomic<int> reported{0};
  OSThread::SetExceptionHook([](const char* line) {
    if (std::string(line) == "event thread: uncaught exception: bad") ++reported;
  });
  COwnEnd end([](COwnEnd&, int) { throw std::runtime_error("bad"); });
  end.RequestEvent(kEventRead);
  end.Write();
  EXPECT_TRUE(WaitFor([&] { return reported == 1; }));
  OSThread::SetExceptionHook(nullptr);
  LetEventsBeDelivered();
}

TEST_F(EventContext, AnInterruptedWaitGoesOn) {
  static std::atomic<int> interrupted{0};
  struct sigaction action {};
  action.sa_handler = [](int) { ++interrupted; };
  struct sigaction before {};
  sigaction(SIGUSR1, &action, &before);
  std::atomic<pid_t> thread{0};
  COwnEnd end([&](COwnEnd&, int) { thread = gettid(); });
  end.RequestEvent(kEventRead);
  end.Write();
  ASSERT_TRUE(WaitFor([&] { return thread != 0; }));
  syscall(SYS_tgkill, getpid(), thread.load(), SIGUSR1);
  EXPECT_TRUE(WaitFor([&] { return interrupted == 1; }));
  LetEventsBeDelivered();
  sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(EventContext, ManyOpenedAndClosedWhileDataArrivesReachOnlyTheirOwnTask) {
  for (int round = 0; round < 200; ++round) {
    CEnd end(&m_reader);
    end.RequestEvent(kEventRead | kEventWrite);
    end.Write();
  }
  CEnd end(&m_other);
  end.RequestEvent(kEventRead);
  LetEventsBeDelivered();
  EXPECT_TRUE(m_other.Runs().empty());
}

TEST(EventContextDeathTest, NeedsTheEventThreadToRegister) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        ZpIHEventContext<942> context(STDIN_FILENO, nullptr);
        context.RequestEvent(kEventRead);
      },
      "^_Assert: .*lib/include/ZpIHEventContext.h, [0-9]+");
}
