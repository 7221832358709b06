#include "OSMutex.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

struct T_Counter {
  OSMutex mutex;
  int count GUARDED_BY(mutex) = 0;
};

void CountTo(T_Counter& counter, int times) {
  for (int i = 0; i < times; ++i) {
    OSMutexLocker locker(counter.mutex);
    ++counter.count;
  }
}

int Count(T_Counter& counter) {
  OSMutexLocker locker(counter.mutex);
  return counter.count;
}

}  // namespace

TEST(Mutex, OneThreadAtATimeHoldsIt) {
  T_Counter counter;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back([&] { CountTo(counter, 1000); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(Count(counter), 4000);
}

TEST(Mutex, ItsHolderMayLockItAgain) NO_THREAD_SAFETY_ANALYSIS {
  OSMutex mutex;
  mutex.RecursiveLock();
  mutex.RecursiveLock();
  mutex.RecursiveUnlock();
  mutex.RecursiveUnlock();
  bool locked = false;
  std::thread other([&]() NO_THREAD_SAFETY_ANALYSIS {
    mutex.RecursiveLock();
    locked = true;
    mutex.RecursiveUnlock();
  });
  other.join();
  EXPECT_TRUE(locked);
}
