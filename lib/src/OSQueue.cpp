#include "OSQueue.h"

#include "OSThread.h"

void OSQueueElem::Remove() {
  if (m_queue != nullptr) m_queue->Remove(this);
}

void OSQueue::EnQueue(OSQueueElem* elem) {
  if (elem->m_queue != nullptr) return;
  elem->m_queue = this;
  elem->m_prev = m_tail;
  elem->m_next = nullptr;
  if (m_tail == nullptr) {
    m_head = elem;
  } else {
    m_tail->m_next = elem;
  }
  m_tail = elem;
  ++m_length;
}

OSQueueElem* OSQueue::DeQueue() {
  OSQueueElem* elem = m_head;
  if (elem != nullptr) Remove(elem);
  return elem;
}

void OSQueue::Remove(OSQueueElem* elem) {
  if (elem->m_queue != this) return;
  if (elem->m_prev == nullptr) {
    m_head = elem->m_next;
  } else {
    elem->m_prev->m_next = elem->m_next;
  }
  if (elem->m_next == nullptr) {
    m_tail = elem->m_prev;
  } else {
    elem->m_next->m_prev = elem->m_prev;
  }
  elem->m_next = nullptr;
  elem->m_prev = nullptr;
  elem->m_queue = nullptr;
  --m_length;
}

OSQueue_Blocking::~OSQueue_Blocking() {
  while (m_wakers != 0) OSThread::ThreadYield();
}

// The wake-up comes after the lock was given up, or the thread that it wakes would run into the lock at once.
void OSQueue_Blocking::EnQueue(OSQueueElem* elem) {
  {
    OSMutexLocker locker(m_mutex);
    m_queue.EnQueue(elem);
    ++m_wakers;
  }
  m_cond.Signal();
  --m_wakers;
}

OSQueueElem* OSQueue_Blocking::DeQueue() {
  OSMutexLocker locker(m_mutex);
  return m_queue.DeQueue();
}

OSQueueElem* OSQueue_Blocking::DeQueueBlocking(const OSThread* thread, SInt64 ms) {
  OSMutexLocker locker(m_mutex);
  if (m_queue.GetHead() == nullptr && !thread->IsStopRequested()) m_cond.TimedWait(m_mutex, ms);
  return m_queue.DeQueue();
}

void OSQueue_Blocking::WakeAll() {
  OSMutexLocker locker(m_mutex);
  m_cond.Broadcast();
}
