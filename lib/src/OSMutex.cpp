#include "OSMutex.h"

OSMutex::OSMutex() {
  pthread_mutexattr_t attr;
  pthread_mutexattr_init(&attr);
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&m_mutex, &attr);
  pthread_mutexattr_destroy(&attr);
}

OSMutex::~OSMutex() { pthread_mutex_destroy(&m_mutex); }

void OSMutex::RecursiveLock() { pthread_mutex_lock(&m_mutex); }

void OSMutex::RecursiveUnlock() { pthread_mutex_unlock(&m_mutex); }
