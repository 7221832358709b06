#include "OSQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

#include "OS.h"
#include "OSThread.h"
#include "waitfor.h"

namespace {

struct T_Item {
  explicit T_Item(int n) : number(n) {}
  int number;
  OSQueueElem link{this};
};

int NumberOf(const OSQueueElem* elem) { return static_cast<const T_Item*>(elem->GetEnclosingObject())->number; }

std::vector<int> Numbers(const OSQueue& queue) {
  std::vector<int> numbers;
  for (OSQueueIter iter(queue); !iter.IsDone(); iter.Next()) numbers.push_back(NumberOf(iter.GetCurrent()));
  return numbers;
}

class Queue : public testing::Test {
 protected:
  void SetUp() override {
    for (T_Item* item : {&m_one, &m_two, &m_three}) m_queue.EnQueue(&item->link);
  }

  T_Item m_one{1};
  T_Item m_two{2};
  T_Item m_three{3};
  OSQueue m_queue;
};

// Lends its stop flag to DeQueueBlocking.
class CIdleThread : public OSThread {
 protected:
  void Entry() override {}
};

}  // namespace

TEST_F(Queue, KeepsTheOrderOfArrival) {
  EXPECT_EQ(Numbers(m_queue), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(NumberOf(m_queue.DeQueue()), 1);
  EXPECT_EQ(NumberOf(m_queue.DeQueue()), 2);
  EXPECT_EQ(NumberOf(m_queue.DeQueue()), 3);
  EXPECT_EQ(m_queue.DeQueue(), nullptr);
}

TEST_F(Queue, KnowsItsEndsAndLength) {
  EXPECT_EQ(NumberOf(m_queue.GetHead()), 1);
  EXPECT_EQ(NumberOf(m_queue.GetTail()), 3);
  EXPECT_EQ(m_queue.GetLength(), 3U);
}

TEST_F(Queue, AnElementCanBeTakenFromTheMiddleAndBothEnds) {
  m_queue.Remove(&m_two.link);
  EXPECT_EQ(Numbers(m_queue), (std::vector<int>{1, 3}));
  m_queue.Remove(&m_one.link);
  EXPECT_EQ(Numbers(m_queue), (std::vector<int>{3}));
  m_three.link.Remove();
  EXPECT_EQ(m_queue.GetLength(), 0U);
  EXPECT_EQ(m_queue.GetHead(), nullptr);
  EXPECT_EQ(m_queue.GetTail(), nullptr);
}

TEST_F(Queue, AnElementKnowsItsQueueAndNeighbours) {
  OSQueue other;
  EXPECT_TRUE(m_two.link.IsMember(m_queue));
  EXPECT_FALSE(m_two.link.IsMember(other));
  EXPECT_EQ(m_two.link.Prev(), &m_one.link);
  EXPECT_EQ(m_two.link.Next(), &m_three.link);
  m_two.link.Remove();
  EXPECT_FALSE(m_two.link.IsMemberOfAnyQueue());
}

TEST_F(Queue, AQueuedElementIsNotQueuedAgain) {
  OSQueue other;
  m_queue.EnQueue(&m_one.link);
  other.EnQueue(&m_one.link);
  EXPECT_EQ(Numbers(m_queue), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(other.GetLength(), 0U);
}

TEST_F(Queue, RemovingAStrangerDoesNothing) {
  OSQueue other;
  other.Remove(&m_one.link);
  T_Item loose(4);
  m_queue.Remove(&loose.link);
  loose.link.Remove();
  EXPECT_EQ(m_queue.GetLength(), 3U);
}

TEST_F(Queue, TheCurrentElementMayBeRemovedOnceTheIteratorHasMovedOn) {
  for (OSQueueIter iter(m_queue); !iter.IsDone();) {
    OSQueueElem* elem = iter.GetCurrent();
    iter.Next();
    m_queue.Remove(elem);
  }
  EXPECT_EQ(m_queue.GetLength(), 0U);
}

TEST_F(Queue, AnEnclosingObjectCanBeSetLater) {
  OSQueueElem elem;
  EXPECT_EQ(elem.GetEnclosingObject(), nullptr);
  elem.SetEnclosingObject(&m_one);
  EXPECT_EQ(NumberOf(&elem), 1);
}

TEST(BlockingQueue, GivesWhatIsThereWithoutWaiting) {
  OSQueue_Blocking queue;
  CIdleThread thread;
  T_Item one(1);
  T_Item two(2);
  queue.EnQueue(&one.link);
  queue.EnQueue(&two.link);
  EXPECT_EQ(queue.DeQueueBlocking(&thread, 0), &one.link);
  EXPECT_EQ(queue.DeQueue(), &two.link);
  EXPECT_EQ(queue.DeQueue(), nullptr);
}

TEST(BlockingQueue, WakesTheThreadThatWaits) {
  OSQueue_Blocking queue;
  CIdleThread thread;
  T_Item one(1);
  OSQueueElem* got = nullptr;
  std::thread waiter([&] {
    while (got == nullptr) got = queue.DeQueueBlocking(&thread, 0);
  });
  queue.EnQueue(&one.link);
  waiter.join();
  EXPECT_EQ(got, &one.link);
}

TEST(BlockingQueue, GivesNothingWhenTheTimeIsOver) {
  OSQueue_Blocking queue;
  CIdleThread thread;
  EXPECT_EQ(queue.DeQueueBlocking(&thread, 5), nullptr);
}

TEST(BlockingQueue, DoesNotWaitForAThreadThatWasAskedToStop) {
  OSQueue_Blocking queue;
  CIdleThread thread;
  thread.SendStopRequest();
  EXPECT_EQ(queue.DeQueueBlocking(&thread, 0), nullptr);
}

TEST(BlockingQueue, WakeAllEndsAWaitWithoutAnElement) {
  OSQueue_Blocking queue;
  CIdleThread thread;
  std::atomic<bool> ended{false};
  std::thread waiter([&] {
    while (!thread.IsStopRequested()) queue.DeQueueBlocking(&thread, 0);
    ended = true;
  });
  thread.SendStopRequest();
  EXPECT_TRUE(WaitFor([&] {
    queue.WakeAll();
    return ended.load();
  }));
  waiter.join();
}

TEST(BlockingQueue, LosesNothingBetweenThreads) {
  OSQueue_Blocking queue;
  CIdleThread thread;
  std::deque<T_Item> items;
  for (int i = 0; i < 400; ++i) items.emplace_back(i);
  std::vector<std::thread> producers;
  for (size_t p = 0; p < 4; ++p) {
    producers.emplace_back([&, p] {
      for (size_t i = p; i < items.size(); i += 4) queue.EnQueue(&items[i].link);
    });
  }
  std::vector<int> times(items.size(), 0);
  for (size_t i = 0; i < items.size();) {
    const OSQueueElem* elem = queue.DeQueueBlocking(&thread, 0);
    if (elem == nullptr) continue;
    ++times[static_cast<size_t>(NumberOf(elem))];
    ++i;
  }
  for (std::thread& producer : producers) producer.join();
  EXPECT_EQ(times, std::vector<int>(items.size(), 1));
}

TEST(BlockingQueue, MayBeDestroyedByWhoeverTookTheElement) {
  CIdleThread thread;
  for (int round = 0; round < 2'000; ++round) {
    auto queue = std::make_unique<OSQueue_Blocking>();
    T_Item one(1);
    std::thread sender([&one, pQueue = queue.get()] { pQueue->EnQueue(&one.link); });
    while (queue->DeQueueBlocking(&thread, 1'000) == nullptr) {
    }
    queue.reset();  // the sender may still be about to wake someone
    sender.join();
  }
}
