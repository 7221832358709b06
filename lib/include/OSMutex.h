// The recursive mutex of the OS utility library and the one way to hold it.
#pragma once

#include <pthread.h>

#include "OSThreadAnnotations.h"

class OSCond;

// A recursive mutex: a thread may lock it again while it holds it, and unlocks it as often.
class CAPABILITY("mutex") OSMutex {
 public:
  OSMutex();
  ~OSMutex();
  OSMutex(const OSMutex&) = delete;
  OSMutex& operator=(const OSMutex&) = delete;

  void RecursiveLock() ACQUIRE();
  void RecursiveUnlock() RELEASE();

 private:
  friend class OSCond;
  pthread_mutex_t m_mutex;
};

// Holds an OSMutex from its construction to the end of its scope.
class SCOPED_CAPABILITY OSMutexLocker {
 public:
  explicit OSMutexLocker(OSMutex& mutex) ACQUIRE(mutex) : m_pMutex(&mutex) { m_pMutex->RecursiveLock(); }
  ~OSMutexLocker() RELEASE() { m_pMutex->RecursiveUnlock(); }
  OSMutexLocker(const OSMutexLocker&) = delete;
  OSMutexLocker& operator=(const OSMutexLocker&) = delete;

 private:
  OSMutex* m_pMutex;
};
