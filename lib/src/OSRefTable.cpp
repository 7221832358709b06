#include "OSRefTable.h"

#include <algorithm>

UInt32 OSRefTableUtils::HashString(const StrPtrLen& key) {
  UInt32 hash = 2166136261U;
  for (UInt32 i = 0; i < key.Len; ++i) hash = (hash ^ static_cast<UInt8>(key.Ptr[i])) * 16777619U;
  return hash;
}

OSRefTable::OSRefTable(UInt32 buckets) : m_buckets(std::max<UInt32>(buckets, 1), nullptr) { m_pins.reserve(16); }

bool OSRefTable::Register(OSRef* ref) {
  const UInt32 hash = OSRefTableUtils::HashString(ref->m_key);
  OSMutexLocker locker(m_mutex);
  OSRef** place = FindLocked(ref->m_key, hash);
  if (*place != nullptr) return false;
  ref->m_hash = hash;
  ref->m_next = nullptr;
  ref->m_registered = true;
  *place = ref;
  ++m_count;
  return true;
}

void OSRefTable::UnRegister(OSRef* ref) {
  OSMutexLocker locker(m_mutex);
  if (!ref->m_registered) return;
  *FindLocked(ref->m_key, ref->m_hash) = ref->m_next;
  ref->m_registered = false;
  --m_count;
  const pthread_t self = pthread_self();
  const auto mine = [&](const T_Pin& pin) { return pin.ref == ref && pthread_equal(pin.thread, self) != 0; };
  m_pins.erase(std::remove_if(m_pins.begin(), m_pins.end(), mine), m_pins.end());
  while (PinnedElsewhereLocked(ref)) m_released.TimedWait(m_mutex, 0);
}

OSRef* OSRefTable::Resolve(const StrPtrLen& key) {
  const UInt32 hash = OSRefTableUtils::HashString(key);
  OSMutexLocker locker(m_mutex);
  OSRef* ref = *FindLocked(key, hash);
  if (ref != nullptr) m_pins.push_back({ref, pthread_self()});
  return ref;
}

void OSRefTable::Release(const OSRef* ref) {
  OSMutexLocker locker(m_mutex);
  const pthread_t self = pthread_self();
  const auto mine = [&](const T_Pin& pin) { return pin.ref == ref && pthread_equal(pin.thread, self) != 0; };
  const auto pin = std::find_if(m_pins.begin(), m_pins.end(), mine);
  if (pin == m_pins.end()) return;
  m_pins.erase(pin);
  m_released.Broadcast();
}

UInt32 OSRefTable::Count() {
  OSMutexLocker locker(m_mutex);
  return m_count;
}

// The link that points to the entry under key: the entry itself is behind it, or null at the bucket's end.
OSRef** OSRefTable::FindLocked(const StrPtrLen& key, UInt32 hash) {
  OSRef** link = &m_buckets[hash % m_buckets.size()];
  while (*link != nullptr && !(*link)->m_key.Equal(key)) link = &(*link)->m_next;
  return link;
}

// After UnRegister has ended the caller's own pins, those that remain are other threads'.
bool OSRefTable::PinnedElsewhereLocked(const OSRef* ref) {
  return std::any_of(m_pins.begin(), m_pins.end(), [&](const T_Pin& pin) { return pin.ref == ref; });
}
