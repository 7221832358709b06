// A lock that many readers or one writer hold, and the two ways to hold it. Not recursive.
#pragma once

#include <pthread.h>

#include "OSThreadAnnotations.h"

class CAPABILITY("mutex") OSMutexRW {
 public:
  OSMutexRW();
  ~OSMutexRW();
  OSMutexRW(const OSMutexRW&) = delete;
  OSMutexRW& operator=(const OSMutexRW&) = delete;

  void LockRead() ACQUIRE_SHARED();
  void LockWrite() ACQUIRE();
  void Unlock() RELEASE_GENERIC();

 private:
  pthread_rwlock_t m_lock;
};

class SCOPED_CAPABILITY OSMutexReadLocker {
 public:
  explicit OSMutexReadLocker(OSMutexRW& lock) ACQUIRE_SHARED(lock) : m_pLock(&lock) { m_pLock->LockRead(); }
  ~OSMutexReadLocker() RELEASE_GENERIC() { m_pLock->Unlock(); }
  OSMutexReadLocker(const OSMutexReadLocker&) = delete;
  OSMutexReadLocker& operator=(const OSMutexReadLocker&) = delete;

 private:
  OSMutexRW* m_pLock;
};

class SCOPED_CAPABILITY OSMutexWriteLocker {
 public:
  explicit OSMutexWriteLocker(OSMutexRW& lock) ACQUIRE(lock) : m_pLock(&lock) { m_pLock->LockWrite(); }
  ~OSMutexWriteLocker() RELEASE() { m_pLock->Unlock(); }
  OSMutexWriteLocker(const OSMutexWriteLocker&) = delete;
  OSMutexWriteLocker& operator=(const OSMutexWriteLocker&) = delete;

 private:
  OSMutexRW* m_pLock;
};
