#include "OSHeap.h"

OSHeap::OSHeap(UInt32 capacity) : m_capacity(capacity) { m_elems.reserve(capacity); }

bool OSHeap::Insert(OSHeapElem* elem) {
  if (elem->m_heap != nullptr || CurrentHeapSize() == m_capacity) return false;
  elem->m_heap = this;
  elem->m_index = CurrentHeapSize();
  m_elems.push_back(elem);
  SiftUp(elem->m_index);
  return true;
}

OSHeapElem* OSHeap::PeekMin() const { return m_elems.empty() ? nullptr : m_elems.front(); }

OSHeapElem* OSHeap::Extract() {
  OSHeapElem* smallest = PeekMin();
  if (smallest != nullptr) Remove(smallest);
  return smallest;
}

bool OSHeap::Remove(OSHeapElem* elem) {
  if (elem->m_heap != this) return false;
  OSHeapElem* last = m_elems.back();
  m_elems.pop_back();
  elem->m_heap = nullptr;
  if (last == elem) return true;
  Place(elem->m_index, last);
  SiftUp(last->m_index);
  SiftDown(last->m_index);
  return true;
}

void OSHeap::Place(UInt32 index, OSHeapElem* elem) {
  m_elems[index] = elem;
  elem->m_index = index;
}

void OSHeap::SiftUp(UInt32 index) {
  OSHeapElem* elem = m_elems[index];
  while (index > 0) {
    const UInt32 parent = (index - 1) / 2;
    if (m_elems[parent]->m_value <= elem->m_value) break;
    Place(index, m_elems[parent]);
    index = parent;
  }
  Place(index, elem);
}

void OSHeap::SiftDown(UInt32 index) {
  OSHeapElem* elem = m_elems[index];
  for (;;) {
    UInt32 child = 2 * index + 1;
    if (child >= CurrentHeapSize()) break;
    if (child + 1 < CurrentHeapSize() && m_elems[child + 1]->m_value < m_elems[child]->m_value) ++child;
    if (elem->m_value <= m_elems[child]->m_value) break;
    Place(index, m_elems[child]);
    index = child;
  }
  Place(index, elem);
}
