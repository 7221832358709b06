// A binary heap with the smallest 64-bit value on top. Intrusive and of fixed capacity: no operation allocates. No lock
// of its own.
#pragma once

#include <vector>

#include "OSTypes.h"

class OSHeap;

// The heap's handle in an object. It must be out of every heap when it is destroyed.
class OSHeapElem {
 public:
  explicit OSHeapElem(void* enclosingObject = nullptr) : m_enclosing(enclosingObject) {}
  OSHeapElem(const OSHeapElem&) = delete;
  OSHeapElem& operator=(const OSHeapElem&) = delete;

  void* GetEnclosingObject() const { return m_enclosing; }
  SInt64 GetValue() const { return m_value; }
  void SetValue(SInt64 value) { m_value = value; }  // only while it is in no heap
  bool IsMemberOfAnyHeap() const { return m_heap != nullptr; }

 private:
  friend class OSHeap;
  SInt64 m_value = 0;
  void* m_enclosing;
  OSHeap* m_heap = nullptr;
  UInt32 m_index = 0;  // place in the heap's array, while in it
};

class OSHeap {
 public:
  explicit OSHeap(UInt32 capacity);
  OSHeap(const OSHeap&) = delete;
  OSHeap& operator=(const OSHeap&) = delete;

  // False, and nothing happens, when the heap is full or elem is in a heap already.
  [[nodiscard]] bool Insert(OSHeapElem* elem);

  // The element of smallest value, left in its place or taken out; null when the heap is empty.
  OSHeapElem* PeekMin() const;
  OSHeapElem* Extract();

  // Takes elem out wherever it is; false when it is not in this heap.
  bool Remove(OSHeapElem* elem);

  UInt32 CurrentHeapSize() const { return static_cast<UInt32>(m_elems.size()); }
  UInt32 Capacity() const { return m_capacity; }

 private:
  void Place(UInt32 index, OSHeapElem* elem);
  void SiftUp(UInt32 index);
  void SiftDown(UInt32 index);

  const UInt32 m_capacity;
  std::vector<OSHeapElem*> m_elems;  // reserved to capacity at construction
};
