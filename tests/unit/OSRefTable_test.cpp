#include "OSRefTable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "gate.h"
#include "waitfor.h"

namespace {

class RefTable : public testing::Test {
 protected:
  static StrPtrLen Key(const char* text) { return StrPtrLen(text); }

  OSRefTable m_table{3};  // few buckets, so that entries share them
  int m_objects[4] = {};
};

}  // namespace

TEST_F(RefTable, ResolvesWhatWasRegistered) {
  OSRef one(Key("one"), &m_objects[0]);
  OSRef two(Key("two"), &m_objects[1]);
  ASSERT_TRUE(m_table.Register(&one));
  ASSERT_TRUE(m_table.Register(&two));
  EXPECT_EQ(m_table.Resolve(Key("two")), &two);
  EXPECT_EQ(m_table.Resolve(Key("one"))->GetObject(), &m_objects[0]);
  EXPECT_EQ(m_table.Resolve(Key("three")), nullptr);
  EXPECT_EQ(m_table.Count(), 2U);
}

TEST_F(RefTable, AKeyIsTakenOnlyOnce) {
  OSRef one(Key("same"), &m_objects[0]);
  OSRef two(Key("same"), &m_objects[1]);
  EXPECT_TRUE(m_table.Register(&one));
  EXPECT_FALSE(m_table.Register(&two));
  m_table.UnRegister(&one);
  EXPECT_TRUE(m_table.Register(&two));
}

TEST_F(RefTable, WhatWasUnregisteredIsFoundNoMore) {
  OSRef refs[4] = {
      {Key("a"), &m_objects[0]}, {Key("b"), &m_objects[1]}, {Key("c"), &m_objects[2]}, {Key("d"), &m_objects[3]}};
  for (OSRef& ref : refs) ASSERT_TRUE(m_table.Register(&ref));
  m_table.UnRegister(&refs[1]);
  EXPECT_EQ(m_table.Resolve(Key("b")), nullptr);
  for (const int i : {0, 2, 3}) EXPECT_EQ(m_table.Resolve(refs[i].GetString()), &refs[i]);
}

TEST_F(RefTable, UnregisteringAStrangerDoesNothing) {
  OSRef one(Key("one"), &m_objects[0]);
  OSRef loose(Key("one"), &m_objects[1]);
  ASSERT_TRUE(m_table.Register(&one));
  m_table.UnRegister(&loose);
  EXPECT_EQ(m_table.Count(), 1U);
}

TEST_F(RefTable, KeysMayHoldAnyBytes) {
  const std::string first("\0a", 2);
  const std::string second("\0b", 2);
  OSRef one(StrPtrLen(first.data(), 2), &m_objects[0]);
  OSRef two(StrPtrLen(second.data(), 2), &m_objects[1]);
  ASSERT_TRUE(m_table.Register(&one));
  ASSERT_TRUE(m_table.Register(&two));
  EXPECT_EQ(m_table.Resolve(StrPtrLen(second.data(), 2)), &two);
}

TEST_F(RefTable, UnregisterWaitsUntilAnotherThreadHasReleased) {
  OSRef one(Key("one"), &m_objects[0]);
  ASSERT_TRUE(m_table.Register(&one));
  CGate gate;
  std::atomic<bool> released{false};
  std::thread user([&] {
    OSRef* ref = m_table.Resolve(Key("one"));
    gate.Pass();
    released = true;
    m_table.Release(ref);
  });
  gate.WaitForArrivals(1);
  std::thread opener([&] {
    // Once the entry is out of the table, UnRegister has begun to wait.
    EXPECT_TRUE(WaitFor([&] { return m_table.Count() == 0; }));
    gate.Open();
  });
  m_table.UnRegister(&one);
  EXPECT_TRUE(released);
  user.join();
  opener.join();
}

TEST_F(RefTable, UnregisterDoesNotWaitForTheCallersOwnPins) {
  OSRef one(Key("one"), &m_objects[0]);
  ASSERT_TRUE(m_table.Register(&one));
  m_table.Resolve(Key("one"));
  m_table.Resolve(Key("one"));
  m_table.UnRegister(&one);
  EXPECT_EQ(m_table.Count(), 0U);
}

TEST_F(RefTable, ReleaseAfterTheObjectHasGoneDoesNotTouchIt) {
  auto ref = std::make_unique<OSRef>(Key("one"), &m_objects[0]);
  ASSERT_TRUE(m_table.Register(ref.get()));
  const OSRef* pinned = m_table.Resolve(Key("one"));
  m_table.UnRegister(ref.get());
  ref.reset();
  m_table.Release(pinned);
  EXPECT_EQ(m_table.Count(), 0U);
}

TEST_F(RefTable, EachPinNeedsItsOwnRelease) {
  OSRef one(Key("one"), &m_objects[0]);
  ASSERT_TRUE(m_table.Register(&one));
  CGate gate;
  std::atomic<int> releases{0};
  std::thread user([&] {
    OSRef* first = m_table.Resolve(Key("one"));
    OSRef* second = m_table.Resolve(Key("one"));
    m_table.Release(first);
    ++releases;
    gate.Pass();
    ++releases;
    m_table.Release(second);
  });
  gate.WaitForArrivals(1);
  std::thread opener([&] {
    EXPECT_TRUE(WaitFor([&] { return m_table.Count() == 0; }));
    gate.Open();
  });
  m_table.UnRegister(&one);
  EXPECT_EQ(releases, 2);
  user.join();
  opener.join();
}

TEST(RefTableUtils, TheHashDependsOnEveryByte) {
  const char base[] = "\1\0\0\0\0\0\0\0";
  const UInt32 hash = OSRefTableUtils::HashString(StrPtrLen(base, 8));
  for (int i = 0; i < 8; ++i) {
    char changed[8];
    std::memcpy(changed, base, sizeof changed);
    changed[i] = static_cast<char>(changed[i] ^ 0x40);
    EXPECT_NE(OSRefTableUtils::HashString(StrPtrLen(changed, 8)), hash) << "byte " << i;
  }
}

TEST(RefTableUtils, TheHashDependsOnTheLength) {
  const char zeros[8] = {};
  EXPECT_NE(OSRefTableUtils::HashString(StrPtrLen(zeros, 7)), OSRefTableUtils::HashString(StrPtrLen(zeros, 8)));
}
