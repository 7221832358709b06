#include "simscheduler.h"

#include <gtest/gtest.h>

#include <future>
#include <mutex>
#include <vector>

namespace {

TEST(SimScheduler, RunsActionsInTheOrderOfTheirTimes) {
  CSimScheduler scheduler;
  std::promise<void> done;
  std::vector<int> order;  // the scheduler's thread only, until done
  scheduler.After(40, [&] {
    order.push_back(3);
    done.set_value();
  });
  scheduler.After(20, [&] { order.push_back(2); });
  scheduler.After(0, [&] { order.push_back(1); });
  done.get_future().wait();
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(SimScheduler, ActionsMayScheduleMore) {
  CSimScheduler scheduler;
  std::promise<void> done;
  scheduler.After(0, [&] { scheduler.After(0, [&] { done.set_value(); }); });
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

TEST(SimScheduler, StopDropsWhatWaits) {
  bool ran = false;
  {
    CSimScheduler scheduler;
    scheduler.After(3600000, [&] { ran = true; });
    scheduler.Stop();
    scheduler.After(0, [&] { ran = true; });
  }
  EXPECT_FALSE(ran);
}

}  // namespace
