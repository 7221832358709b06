#include "OSMutexRW.h"

OSMutexRW::OSMutexRW() { pthread_rwlock_init(&m_lock, nullptr); }

OSMutexRW::~OSMutexRW() { pthread_rwlock_destroy(&m_lock); }

void OSMutexRW::LockRead() { pthread_rwlock_rdlock(&m_lock); }

void OSMutexRW::LockWrite() { pthread_rwlock_wrlock(&m_lock); }

void OSMutexRW::Unlock() { pthread_rwlock_unlock(&m_lock); }
