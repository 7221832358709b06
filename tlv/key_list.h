// An ordered list of values under unique 32-bit keys: plain functions over plain structures, 0 for success and -1 for
// failure. A list belongs to one thread at a time.
#pragma once

#include <sys/types.h>  // key_t

using value_t = void*;
using value_releaser = void (*)(value_t value);

struct key_list_node_t {
  key_t key;
  value_t value;
  key_list_node_t* prev;
  key_list_node_t* next;
};

struct key_list_t {
  int count;
  key_list_node_t* header;
  key_list_node_t* tail;
  value_releaser releaser;  // called on each value when the list is destroyed; may be null
};

key_list_t* key_list_create(value_releaser releaser);

// Releases every value, frees the list. Null is allowed.
int key_list_destroy(key_list_t* list);

int key_list_count(const key_list_t* list);

// Appends. -1 if the key is there already or memory is short; the value then stays the caller's.
int key_list_add(key_list_t* list, key_t key, value_t value);

// -1 if the key is absent; *value is then left alone.
int key_list_get(const key_list_t* list, key_t key, value_t* value);

// Replaces a value; the old one is not released. -1 if the key is absent.
int key_list_edit(key_list_t* list, key_t key, value_t value);

// 1 if the key is present, else 0.
int key_list_find_key(const key_list_t* list, key_t key);

// Writes the keys in their order and returns how many; -1, and nothing is written, if there are more than max.
int key_list_keyset(const key_list_t* list, key_t* keys, int max);

// The value of the first node whose key agrees with key in every bit of mask; -1 if none does.
int key_list_mask_get(const key_list_t* list, key_t key, key_t mask, value_t* value);
