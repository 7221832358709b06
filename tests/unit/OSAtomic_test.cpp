#include "OSAtomic.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(Atomic, AddReturnsTheSum) {
  std::atomic<UInt32> counter{5};
  EXPECT_EQ(zp_atomic_add(&counter, 1), 6U);
  EXPECT_EQ(counter.load(), 6U);
}

TEST(Atomic, AddWrapsAround) {
  std::atomic<UInt32> counter{0xffffffff};
  EXPECT_EQ(zp_atomic_add(&counter, 1), 0U);
}

TEST(Atomic, AddLosesNothingBetweenThreads) {
  std::atomic<UInt32> counter{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < 1000; ++n) zp_atomic_add(&counter, 1);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter.load(), 4000U);
}

TEST(Atomic, CompareAndStoreStoresWhenTheOldValueIsThere) {
  std::atomic<UInt32> area{7};
  EXPECT_TRUE(zp_compare_and_store(7, 1, &area));
  EXPECT_EQ(area.load(), 1U);
}

TEST(Atomic, CompareAndStoreLeavesAnotherValueAlone) {
  std::atomic<UInt32> area{8};
  EXPECT_FALSE(zp_compare_and_store(7, 1, &area));
  EXPECT_EQ(area.load(), 8U);
}
