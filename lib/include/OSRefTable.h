// A table of objects under byte-string keys that keeps an object registered while somebody works with it.
//
// Resolve pins an entry, Release lets it go, and UnRegister waits until no other thread holds a pin; after it the
// object may be destroyed. The table locks itself.
#pragma once

#include <pthread.h>

#include <vector>

#include "OSCond.h"
#include "OSMutex.h"
#include "OSTypes.h"
#include "StrPtrLen.h"

class OSRefTable;

class OSRefTableUtils {
 public:
  static UInt32 HashString(const StrPtrLen& key);
};

// An object's entry. The key's bytes belong to the object and stay as they are while the entry is registered.
class OSRef {
 public:
  OSRef() = default;
  OSRef(const StrPtrLen& key, void* object) { Set(key, object); }
  OSRef(const OSRef&) = delete;
  OSRef& operator=(const OSRef&) = delete;

  // Only while the entry is not registered.
  void Set(const StrPtrLen& key, void* object) {
    m_key = key;
    m_object = object;
  }

  const StrPtrLen& GetString() const { return m_key; }
  void* GetObject() const { return m_object; }

 private:
  friend class OSRefTable;
  StrPtrLen m_key;
  void* m_object = nullptr;
  UInt32 m_hash = 0;
  bool m_registered = false;
  OSRef* m_next = nullptr;  // in its bucket
};

class OSRefTable {
 public:
  explicit OSRefTable(UInt32 buckets);
  OSRefTable(const OSRefTable&) = delete;
  OSRefTable& operator=(const OSRefTable&) = delete;

  // Enters ref. False when its key is in the table already.
  [[nodiscard]] bool Register(OSRef* ref) EXCLUDES(m_mutex);

  // Takes ref out, so that nobody can resolve it any more, and waits until every other thread has released it. Pins of
  // the calling thread itself end here; its Release of them later does nothing. Nothing happens if it is not entered.
  void UnRegister(OSRef* ref) EXCLUDES(m_mutex);

  // The entry under key, pinned for the calling thread; null when there is none.
  OSRef* Resolve(const StrPtrLen& key) EXCLUDES(m_mutex);

  // Ends one pin of the calling thread. ref itself is not looked into: it may be gone.
  void Release(const OSRef* ref) EXCLUDES(m_mutex);

  UInt32 Count() EXCLUDES(m_mutex);

 private:
  struct T_Pin {
    const OSRef* ref;
    pthread_t thread;
  };

  OSRef** FindLocked(const StrPtrLen& key, UInt32 hash) REQUIRES(m_mutex);
  bool PinnedElsewhereLocked(const OSRef* ref) REQUIRES(m_mutex);

  OSMutex m_mutex;
  OSCond m_released;
  std::vector<OSRef*> m_buckets GUARDED_BY(m_mutex);
  std::vector<T_Pin> m_pins GUARDED_BY(m_mutex);  // as many as threads are at work with an entry
  UInt32 m_count GUARDED_BY(m_mutex) = 0;
};
