#include "key_list.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<int>& Released() {
  static std::vector<int> released;
  return released;
}

class KeyList : public testing::Test {
 protected:
  void SetUp() override { Released().clear(); }
  void TearDown() override { key_list_destroy(m_list); }

  int Add(key_t key, int index) { return key_list_add(m_list, key, &m_values[index]); }
  // The value under a key, -1 when there is none.
  int Get(key_t key) {
    value_t value = nullptr;
    return key_list_get(m_list, key, &value) == 0 ? *static_cast<int*>(value) : -1;
  }
  int MaskGet(key_t key, key_t mask) {
    value_t value = nullptr;
    return key_list_mask_get(m_list, key, mask, &value) == 0 ? *static_cast<int*>(value) : -1;
  }
  std::vector<key_t> Keys() {
    std::vector<key_t> keys(8);
    keys.resize(static_cast<size_t>(key_list_keyset(m_list, keys.data(), 8)));
    return keys;
  }

  int m_values[3] = {100, 200, 300};
  key_list_t* m_list = key_list_create(nullptr);
};

}  // namespace

TEST_F(KeyList, IsEmptyAtFirst) {
  EXPECT_EQ(key_list_count(m_list), 0);
  EXPECT_EQ(m_list->header, nullptr);
  EXPECT_EQ(m_list->tail, nullptr);
  EXPECT_EQ(Get(1), -1);
}

TEST_F(KeyList, GivesEachValueUnderItsKey) {
  EXPECT_EQ(Add(1, 0), 0);
  EXPECT_EQ(Add(2, 1), 0);
  EXPECT_EQ(Get(1), 100);
  EXPECT_EQ(Get(2), 200);
  EXPECT_EQ(Get(3), -1);
  EXPECT_EQ(key_list_count(m_list), 2);
}

TEST_F(KeyList, AKeyIsAddedOnlyOnce) {
  Add(1, 0);
  EXPECT_EQ(Add(1, 1), -1);
  EXPECT_EQ(Get(1), 100);
  EXPECT_EQ(key_list_count(m_list), 1);
}

TEST_F(KeyList, KeepsTheOrderOfInsertion) {
  Add(7, 0);
  Add(-3, 1);
  Add(5, 2);
  EXPECT_EQ(Keys(), (std::vector<key_t>{7, -3, 5}));
}

TEST_F(KeyList, ItsNodesAreLinkedBothWays) {
  Add(1, 0);
  Add(2, 1);
  EXPECT_EQ(m_list->header->next, m_list->tail);
  EXPECT_EQ(m_list->tail->prev, m_list->header);
  EXPECT_EQ(m_list->header->prev, nullptr);
  EXPECT_EQ(m_list->tail->next, nullptr);
}

TEST_F(KeyList, TheKeysetMustFit) {
  Add(1, 0);
  Add(2, 1);
  key_t keys[2] = {-9, -9};
  EXPECT_EQ(key_list_keyset(m_list, keys, 1), -1);
  EXPECT_EQ(keys[0], -9);
  EXPECT_EQ(key_list_keyset(m_list, keys, 2), 2);
  EXPECT_EQ(keys[1], 2);
}

TEST_F(KeyList, EditReplacesAValueThatIsThere) {
  Add(1, 0);
  EXPECT_EQ(key_list_edit(m_list, 1, &m_values[2]), 0);
  EXPECT_EQ(Get(1), 300);
  EXPECT_EQ(key_list_edit(m_list, 2, &m_values[2]), -1);
  EXPECT_EQ(key_list_count(m_list), 1);
}

TEST_F(KeyList, FindKeyTellsWhetherAKeyIsThere) {
  Add(1, 0);
  EXPECT_EQ(key_list_find_key(m_list, 1), 1);
  EXPECT_EQ(key_list_find_key(m_list, 2), 0);
}

TEST_F(KeyList, MaskGetFindsTheFirstKeyThatAgreesOnTheMask) {
  Add(0x10402, 0);
  Add(0x20402, 1);
  EXPECT_EQ(MaskGet(0x00402, 0x0ffff), 100);
  EXPECT_EQ(MaskGet(0x20000, 0xf0000), 200);
  EXPECT_EQ(MaskGet(0x30000, 0xf0000), -1);
  EXPECT_EQ(MaskGet(0x77777, 0), 100);
}

TEST_F(KeyList, ALookUpThatFailsLeavesTheValueAlone) {
  value_t value = &m_values[1];
  EXPECT_EQ(key_list_get(m_list, 1, &value), -1);
  EXPECT_EQ(key_list_mask_get(m_list, 1, 1, &value), -1);
  EXPECT_EQ(value, &m_values[1]);
}

TEST_F(KeyList, DestroyReleasesEveryValueInOrder) {
  key_list_t* list = key_list_create([](value_t value) { Released().push_back(*static_cast<int*>(value)); });
  key_list_add(list, 1, &m_values[1]);
  key_list_add(list, 2, &m_values[0]);
  EXPECT_EQ(key_list_destroy(list), 0);
  EXPECT_EQ(Released(), (std::vector<int>{200, 100}));
}

TEST_F(KeyList, DestroyTakesNoListAtAll) { EXPECT_EQ(key_list_destroy(nullptr), 0); }
