#include "OSMutexRW.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "gate.h"

TEST(MutexRW, TwoReadersHoldItTogether) {
  OSMutexRW lock;
  CGate gate;
  const auto read = [&] {
    OSMutexReadLocker locker(lock);
    gate.Pass();
  };
  std::thread first(read);
  std::thread second(read);
  gate.WaitForArrivals(2);  // both are inside
  gate.Open();
  first.join();
  second.join();
}

TEST(MutexRW, AWriterIsAlone) {
  struct {
    OSMutexRW lock;
    int count GUARDED_BY(lock) = 0;
  } shared;
  const auto write = [&] {
    for (int i = 0; i < 1000; ++i) {
      OSMutexWriteLocker locker(shared.lock);
      ++shared.count;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(write);
  for (std::thread& thread : threads) thread.join();
  OSMutexReadLocker locker(shared.lock);
  EXPECT_EQ(shared.count, 4000);
}
