#include "key_list.h"

#include <new>

namespace {

key_list_node_t* FindNode(const key_list_t* list, key_t key, key_t mask) {
  for (key_list_node_t* node = list->header; node != nullptr; node = node->next) {
    if (((node->key ^ key) & mask) == 0) return node;
  }
  return nullptr;
}

constexpr key_t kEveryBit = -1;

}  // namespace

key_list_t* key_list_create(value_releaser releaser) { return new key_list_t{0, nullptr, nullptr, releaser}; }

int key_list_destroy(key_list_t* list) {
  if (list == nullptr) return 0;
  for (key_list_node_t* node = list->header; node != nullptr;) {
    key_list_node_t* next = node->next;
    if (list->releaser != nullptr) list->releaser(node->value);
    delete node;
    node = next;
  }
  delete list;
  return 0;
}

int key_list_count(const key_list_t* list) { return list->count; }

int key_list_add(key_list_t* list, key_t key, value_t value) {
  if (key_list_find_key(list, key) != 0) return -1;
  auto* node = new (std::nothrow) key_list_node_t{key, value, list->tail, nullptr};
  if (node == nullptr) return -1;
  if (list->tail == nullptr) {
    list->header = node;
  } else {
    list->tail->next = node;
  }
  list->tail = node;
  ++list->count;
  return 0;
}

int key_list_get(const key_list_t* list, key_t key, value_t* value) {
  return key_list_mask_get(list, key, kEveryBit, value);
}

int key_list_edit(key_list_t* list, key_t key, value_t value) {
  key_list_node_t* node = FindNode(list, key, kEveryBit);
  if (node == nullptr) return -1;
  node->value = value;
  return 0;
}

int key_list_find_key(const key_list_t* list, key_t key) { return FindNode(list, key, kEveryBit) != nullptr ? 1 : 0; }

int key_list_keyset(const key_list_t* list, key_t* keys, int max) {
  if (list->count > max) return -1;
  int written = 0;
  for (const key_list_node_t* node = list->header; node != nullptr; node = node->next) keys[written++] = node->key;
  return written;
}

int key_list_mask_get(const key_list_t* list, key_t key, key_t mask, value_t* value) {
  const key_list_node_t* node = FindNode(list, key, mask);
  if (node == nullptr) return -1;
  *value = node->value;
  return 0;
}
