// Descriptors that tell their task when they are ready, and the thread that carries the news.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "OSRefTable.h"
#include "StrPtrLen.h"
#include "ZpIHTask.h"
#include "ZpIHev.h"

// The event thread of an instance: waits on the epoll set, one event at a time, and delivers each to its context.
template <int T>
class ZpIHEventThread : public OSThread {
 public:
  ZpIHEventThread() { SetThreadName(("event-" + std::to_string(T)).c_str()); }

  OSRefTable fRefTable{1193};  // locks itself; unique number to context

 protected:
  void Entry() override;

 private:
  static int EventBits(UInt32 mask);
  void Deliver(UInt64 uniqueID, int bits);
};

// Owns a descriptor and registers it under a unique number. Its operations belong to one thread at a time (the owner
// task's); ProcessEvent is called on the event thread. Cleanup, and so the destructor, waits until an event that is
// being delivered has been.
template <int T>
class ZpIHEventContext {
 public:
  static constexpr int kInvalidFileDesc = -1;

  ZpIHEventContext(int fileDesc, ZpIHEventThread<T>* eventThread) : fFileDesc(fileDesc), fEventThread(eventThread) {}
  virtual ~ZpIHEventContext() { AutoCleanup(); }
  ZpIHEventContext(const ZpIHEventContext&) = delete;
  ZpIHEventContext& operator=(const ZpIHEventContext&) = delete;

  // The descriptor is ready: signals kReadEvent to the task, if there is one, whatever the bits. Event thread.
  virtual void ProcessEvent(int eventBits);

  // Takes fd over and makes it non-blocking. 0, or -1 with errno.
  int InitNonBlocking(int fd);

  // Asks for readiness (1 read, 2 write). The first call registers the descriptor, later ones change the registration.
  // The watch is edge-triggered: an event is told of once, and owners read until the descriptor would block before they
  // ask again. (The system looks at the descriptor anew at every call, so what an owner left unread is told of once
  // more.)
  void RequestEvent(int bits);

  // Unregisters and closes the descriptor. Afterwards no event reaches the context, and it may be opened anew.
  void Cleanup();

  // Takes descriptor and registration over from another context of the instance, which is left without.
  void SnarfEventContext(ZpIHEventContext& from);

  // Whom to signal. Any thread.
  void SetTask(ZpIHTask<T>* task) { fTask = task; }

  // The destructor leaves descriptor and registration alone.
  void DontAutoCleanup() { fAutoCleanup = 0; }

  int GetSocketFD() const { return fFileDesc; }

 protected:
  // What every class that overrides ProcessEvent, or adds members that it uses, calls first in its destructor.
  void AutoCleanup() {
    if (fAutoCleanup) Cleanup();
  }

  static constexpr UInt32 kLastUniqueID = 10000000;

  int fFileDesc;
  std::uintptr_t fUniqueID = 0;                    // 0: none
  inline static std::atomic<UInt32> sUniqueID{0};  // the number given last; after kLastUniqueID comes 1

 private:
  static UInt32 NextUniqueID() {
    if (zp_compare_and_store(kLastUniqueID, 1, &sUniqueID)) return 1;
    return zp_atomic_add(&sUniqueID, 1);
  }

  void Register();

  eventreq fEventReq;
  OSRef fRef;
  const StrPtrLen fUniqueIDStr{reinterpret_cast<const char*>(&fUniqueID), sizeof fUniqueID};
  ZpIHEventThread<T>* const fEventThread;
  Bool16 fWatchEventCalled = 0;
  Bool16 fAutoCleanup = 1;
  std::atomic<ZpIHTask<T>*> fTask{nullptr};
};

template <int T>
void ZpIHEventContext<T>::ProcessEvent(int /*eventBits*/) {
  ZpIHTask<T>* task = fTask;
  if (task != nullptr) task->Signal(ZpIHTask<T>::kReadEvent);
}

template <int T>
int ZpIHEventContext<T>::InitNonBlocking(int fd) {
  fFileDesc = fd;
  const int flags = fcntl(fd, F_GETFL);
  return flags == -1 ? -1 : fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

template <int T>
void ZpIHEventContext<T>::RequestEvent(int bits) {
  if (!fWatchEventCalled) Register();
  fEventReq.er_eventbits = bits;
  ZpIHSelect<T>::select_modwatch(fEventReq, bits);
}

template <int T>
void ZpIHEventContext<T>::Register() {
  ZP_ASSERT(fEventThread != nullptr);
  // After the numbers have wrapped around, one of the first may still be in use.
  do {
    fUniqueID = NextUniqueID();
    fRef.Set(fUniqueIDStr, this);
  } while (!fEventThread->fRefTable.Register(&fRef));
  fEventReq = eventreq{};
  fEventReq.er_type = 1;
  fEventReq.er_handle = fFileDesc;
  fEventReq.er_data = fUniqueID;
  fWatchEventCalled = 1;
}

template <int T>
void ZpIHEventContext<T>::Cleanup() {
  if (fFileDesc != kInvalidFileDesc) {
    if (fWatchEventCalled) {
      fEventThread->fRefTable.UnRegister(&fRef);
      ZpIHSelect<T>::select_removeevent(fFileDesc);
    } else {
      close(fFileDesc);
    }
  }
  fFileDesc = kInvalidFileDesc;
  fUniqueID = 0;
  fWatchEventCalled = 0;
}

template <int T>
void ZpIHEventContext<T>::SnarfEventContext(ZpIHEventContext& from) {
  if (&from == this) return;
  Cleanup();
  fFileDesc = from.fFileDesc;
  const bool watched = from.fWatchEventCalled != 0;
  if (watched) from.fEventThread->fRefTable.UnRegister(&from.fRef);
  from.fFileDesc = kInvalidFileDesc;
  from.fUniqueID = 0;
  from.fWatchEventCalled = 0;
  if (watched) RequestEvent(from.fEventReq.er_eventbits);
}

template <int T>
void ZpIHEventThread<T>::Entry() {
  for (;;) {
    epoll_event event{};
    const int ret = ZpIHSelect<T>::select_waitevent(&event);
    if (ret == -1 && errno == EINTR) continue;
    ZP_ASSERT_V(ret != -1, errno);
    ZP_ASSERT(ret == 1);
    Deliver(event.data.u64, EventBits(event.events));
    ThreadYield();
  }
}

// An error or a hang-up alone counts as readable, so that the owner reads and sees it.
template <int T>
int ZpIHEventThread<T>::EventBits(UInt32 mask) {
  const bool writable = (mask & EPOLLOUT) != 0;
  if ((mask & EPOLLIN) != 0) return writable ? kEventRead | kEventWrite : kEventRead;
  return writable ? kEventWrite : kEventRead;
}

// A number that is no longer registered belongs to a context that was cleaned up meanwhile.
template <int T>
void ZpIHEventThread<T>::Deliver(UInt64 uniqueID, int bits) {
  const auto number = static_cast<std::uintptr_t>(uniqueID);
  const OSRef* ref = fRefTable.Resolve(StrPtrLen(reinterpret_cast<const char*>(&number), sizeof number));
  if (ref == nullptr) return;
  try {
    static_cast<ZpIHEventContext<T>*>(ref->GetObject())->ProcessEvent(bits);
  } catch (...) {
    ReportException("event thread");
  }
  fRefTable.Release(ref);
}
