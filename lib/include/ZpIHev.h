// The epoll set of an instance, and the events registered in it per descriptor.
#pragma once

#include <fcntl.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>

#include "MyAssert.h"
#include "OSMutex.h"
#include "OSThread.h"
#include "OSTypes.h"

// Bits of readiness, as contexts ask for them and are told of them.
constexpr int kEventRead = 1;
constexpr int kEventWrite = 2;

// One registration request.
struct eventreq {
  int er_type = 0;             // always 1
  int er_handle = -1;          // the descriptor
  std::uintptr_t er_data = 0;  // the context's unique number
  int er_rcnt = 0;
  int er_wcnt = 0;
  int er_ecnt = 0;
  int er_eventbits = 0;
};

// All static; any thread, except that one thread alone waits. Nothing is destroyed at exit: the event thread still
// runs.
template <int T>
class ZpIHSelect {
 public:
  // Creates the epoll set, once. At start-up, before the event thread starts.
  static void select_startevents() EXCLUDES(sEpollMutex) {
    OSMutexLocker locker(sEpollMutex);
    if (epfd != 0) return;
    const int created = epoll_create1(EPOLL_CLOEXEC);
    ZP_ASSERT(created > 0);
    epfd = created;
  }

  // Registers the request's descriptor for bits, under the request's unique number.
  static int select_watchevent(const eventreq& req, int bits) { return select_modwatch(req, bits); }

  // Registers the descriptor, or changes its registration, for bits. The watch is edge-triggered. Waits for the epoll
  // set to be created. 0, or -1 with errno.
  static int select_modwatch(const eventreq& req, int bits) EXCLUDES(sEpollMutex) {
    WaitForSet();
    OSMutexLocker locker(sEpollMutex);
    if (req.er_handle < 0 || static_cast<std::size_t>(req.er_handle) >= events_list.size()) {
      errno = EBADF;
      std::perror("epoll_ctl()");
      return -1;
    }
    epoll_event event{};
    event.events = EPOLLET | EPOLLPRI | EPOLLERR | EPOLLHUP;
    if ((bits & kEventRead) != 0) event.events |= EPOLLIN;
    if ((bits & kEventWrite) != 0) event.events |= EPOLLOUT;
    event.data.u64 = req.er_data;
    UInt32& registered = events_list[static_cast<std::size_t>(req.er_handle)];
    const int operation = registered != 0 ? EPOLL_CTL_MOD : EPOLL_CTL_ADD;
    registered = event.events;
    const int result = epoll_ctl(epfd, operation, req.er_handle, &event);
    if (result != 0) std::perror("epoll_ctl()");
    return result;
  }

  // Waits without limit for one event. What epoll_wait returns.
  static int select_waitevent(epoll_event* event) EXCLUDES(sEpollMutex) {
    return epoll_wait(WaitForSet(), event, 1, -1);
  }

  // Forgets the descriptor's registration and closes it, which takes it out of the epoll set.
  static void select_removeevent(int fd) EXCLUDES(sEpollMutex) {
    OSMutexLocker locker(sEpollMutex);
    if (fd >= 0 && static_cast<std::size_t>(fd) < events_list.size()) events_list[static_cast<std::size_t>(fd)] = 0;
    close(fd);
  }

 private:
  // The epoll set's descriptor, once there is one. The lock is free between two looks: the one who creates the set
  // takes it as well.
  static int WaitForSet() EXCLUDES(sEpollMutex) {
    for (int set = CurrentSet();; set = CurrentSet()) {
      if (set != 0) return set;
      OSThread::ThreadYield();
    }
  }

  static int CurrentSet() EXCLUDES(sEpollMutex) {
    OSMutexLocker locker(sEpollMutex);
    return epfd;
  }

  inline static OSMutex& sEpollMutex = *new OSMutex;                              // never destroyed
  inline static int epfd GUARDED_BY(sEpollMutex) = 0;                             // 0 until created
  inline static std::array<UInt32, 65536> events_list GUARDED_BY(sEpollMutex){};  // mask per descriptor; 0: none
};
