#include "OSHeap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace {

class Heap : public testing::Test {
 protected:
  OSHeapElem* Add(SInt64 value) {
    m_elems.push_back(std::make_unique<OSHeapElem>(nullptr));
    m_elems.back()->SetValue(value);
    EXPECT_TRUE(m_heap.Insert(m_elems.back().get()));
    return m_elems.back().get();
  }

  std::vector<SInt64> Drain() {
    std::vector<SInt64> values;
    while (const OSHeapElem* elem = m_heap.Extract()) values.push_back(elem->GetValue());
    return values;
  }

  std::vector<std::unique_ptr<OSHeapElem>> m_elems;
  OSHeap m_heap{1024};
};

}  // namespace

TEST_F(Heap, GivesTheSmallestValueFirst) {
  for (const SInt64 value : {5, 1, 4, -2, 3}) Add(value);
  EXPECT_EQ(m_heap.PeekMin()->GetValue(), -2);
  EXPECT_EQ(Drain(), (std::vector<SInt64>{-2, 1, 3, 4, 5}));
}

TEST_F(Heap, IsEmptyAtFirstAndAtLast) {
  EXPECT_EQ(m_heap.PeekMin(), nullptr);
  EXPECT_EQ(m_heap.Extract(), nullptr);
  Add(1);
  EXPECT_EQ(m_heap.CurrentHeapSize(), 1U);
  Drain();
  EXPECT_EQ(m_heap.CurrentHeapSize(), 0U);
}

TEST_F(Heap, ComparesAll64Bits) {
  Add(SInt64{1} << 40);
  Add(-(SInt64{1} << 40));
  Add(0);
  EXPECT_EQ(Drain(), (std::vector<SInt64>{-(SInt64{1} << 40), 0, SInt64{1} << 40}));
}

TEST_F(Heap, RefusesWhatGoesOverItsCapacity) {
  OSHeap small(2);
  OSHeapElem elems[3];
  EXPECT_TRUE(small.Insert(&elems[0]));
  EXPECT_TRUE(small.Insert(&elems[1]));
  EXPECT_FALSE(small.Insert(&elems[2]));
  EXPECT_EQ(small.CurrentHeapSize(), 2U);
  EXPECT_FALSE(elems[2].IsMemberOfAnyHeap());
  EXPECT_EQ(small.Capacity(), 2U);
}

TEST_F(Heap, RefusesAnElementThatIsInAHeapAlready) {
  OSHeap other(4);
  OSHeapElem* elem = Add(1);
  EXPECT_FALSE(m_heap.Insert(elem));
  EXPECT_FALSE(other.Insert(elem));
  EXPECT_FALSE(other.Remove(elem));
  EXPECT_EQ(m_heap.CurrentHeapSize(), 1U);
}

TEST_F(Heap, AnElementLeavesItAndMayComeBackWithAnotherValue) {
  OSHeapElem* elem = Add(1);
  Add(2);
  EXPECT_TRUE(m_heap.Remove(elem));
  EXPECT_FALSE(elem->IsMemberOfAnyHeap());
  EXPECT_FALSE(m_heap.Remove(elem));
  elem->SetValue(3);
  EXPECT_TRUE(m_heap.Insert(elem));
  EXPECT_EQ(Drain(), (std::vector<SInt64>{2, 3}));
}

TEST_F(Heap, StaysInOrderThroughAnyInsertsAndRemovals) {
  std::mt19937 random(7);
  std::vector<SInt64> expected;
  for (int round = 0; round < 1000; ++round) {
    Add(static_cast<SInt64>(random() % 500));
    if (round % 3 != 0) continue;
    OSHeapElem* victim = m_elems[random() % m_elems.size()].get();
    m_heap.Remove(victim);
  }
  for (const auto& elem : m_elems) {
    if (elem->IsMemberOfAnyHeap()) expected.push_back(elem->GetValue());
  }
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(Drain(), expected);
}
