// Intrusive first-in-first-out queues: the link is a member of the queued object, so queueing never allocates.
//
// OSQueue has no lock of its own. OSQueue_Blocking locks itself and lets a thread wait for an element.
#pragma once

#include <atomic>

#include "OSCond.h"
#include "OSMutex.h"
#include "OSTypes.h"

class OSQueue;
class OSThread;

// The link. It must be out of every queue when it is destroyed.
class OSQueueElem {
 public:
  explicit OSQueueElem(void* enclosingObject = nullptr) : m_enclosing(enclosingObject) {}
  OSQueueElem(const OSQueueElem&) = delete;
  OSQueueElem& operator=(const OSQueueElem&) = delete;

  void* GetEnclosingObject() const { return m_enclosing; }
  void SetEnclosingObject(void* object) { m_enclosing = object; }
  bool IsMember(const OSQueue& queue) const { return m_queue == &queue; }
  bool IsMemberOfAnyQueue() const { return m_queue != nullptr; }
  OSQueueElem* Next() const { return m_next; }  // null at the tail
  OSQueueElem* Prev() const { return m_prev; }  // null at the head

  // Takes itself out of the queue it is in, if any.
  void Remove();

 private:
  friend class OSQueue;
  OSQueueElem* m_next = nullptr;
  OSQueueElem* m_prev = nullptr;
  OSQueue* m_queue = nullptr;
  void* m_enclosing;
};

class OSQueue {
 public:
  OSQueue() = default;
  OSQueue(const OSQueue&) = delete;
  OSQueue& operator=(const OSQueue&) = delete;

  // Appends elem; nothing happens if it is in a queue already.
  void EnQueue(OSQueueElem* elem);

  // Takes the head out; null when the queue is empty.
  OSQueueElem* DeQueue();

  // Takes elem out; nothing happens if it is not in this queue.
  void Remove(OSQueueElem* elem);

  OSQueueElem* GetHead() const { return m_head; }
  OSQueueElem* GetTail() const { return m_tail; }
  UInt32 GetLength() const { return m_length; }

 private:
  OSQueueElem* m_head = nullptr;
  OSQueueElem* m_tail = nullptr;
  UInt32 m_length = 0;
};

// Walks a queue from its head. The element that GetCurrent gave may be removed after Next was called.
class OSQueueIter {
 public:
  explicit OSQueueIter(const OSQueue& queue) : m_current(queue.GetHead()) {}

  OSQueueElem* GetCurrent() const { return m_current; }
  bool IsDone() const { return m_current == nullptr; }
  void Next() {
    if (m_current != nullptr) m_current = m_current->Next();
  }

 private:
  OSQueueElem* m_current;
};

class OSQueue_Blocking {
 public:
  OSQueue_Blocking() = default;
  // Waits until every EnQueue that is under way has returned: whoever takes an element may destroy the queue.
  ~OSQueue_Blocking();
  OSQueue_Blocking(const OSQueue_Blocking&) = delete;
  OSQueue_Blocking& operator=(const OSQueue_Blocking&) = delete;

  // Appends elem and wakes a waiting thread. Any thread.
  void EnQueue(OSQueueElem* elem) EXCLUDES(m_mutex);

  // Takes the head out without waiting; null when the queue is empty.
  OSQueueElem* DeQueue() EXCLUDES(m_mutex);

  // Takes the head out; waits at most ms milliseconds (0: no limit) for one. Null when none came, when the wait ended
  // without a cause, and, without waiting, when thread was asked to stop.
  OSQueueElem* DeQueueBlocking(const OSThread* thread, SInt64 ms) EXCLUDES(m_mutex);

  // Ends every wait on the queue.
  void WakeAll() EXCLUDES(m_mutex);

 private:
  OSMutex m_mutex;
  OSCond m_cond;
  OSQueue m_queue GUARDED_BY(m_mutex);
  std::atomic<UInt32> m_wakers{0};  // threads in EnQueue that have yet to wake someone
};
