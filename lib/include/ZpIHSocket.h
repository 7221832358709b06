// Sockets of the task framework: what UDP and TCP sockets have in common.
//
// Addresses and ports are in host byte order everywhere in these interfaces. Operations that return int without saying
// more return 0, or -1 with errno. All descriptors are close-on-exec, and no send raises SIGPIPE.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

#include "ZpIHEventContext.h"

template <int T>
class ZpIHSocket : public ZpIHEventContext<T> {
 public:
  static constexpr UInt32 kNonBlockingSocketType = 1;
  static constexpr UInt32 kBound = 4;
  static constexpr UInt32 kConnected = 8;
  static constexpr int kPortBufSizeInBytes = 8;
  static constexpr int kMaxIPAddrSizeInBytes = 20;

  // Create the instance's event thread and start it, once each; StartThread does both. At start-up, after
  // ZpIHSelect<T>::select_startevents and before the first socket.
  static void Initialize() {
    if (sEventThread == nullptr) sEventThread = new ZpIHEventThread<T>;  // lives as long as the process
  }
  static void StartThread() {
    Initialize();
    if (sThreadStarted.exchange(true)) return;
    const bool started = sEventThread.load()->Start();
    ZP_ASSERT(started);
  }
  static ZpIHEventThread<T>* GetEventThread() { return sEventThread; }

  ~ZpIHSocket() override { this->AutoCleanup(); }

  // Creates the descriptor (SOCK_DGRAM or SOCK_STREAM); non-blocking if the socket was constructed so.
  int Open(int type) {
    this->fFileDesc = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
    if (this->fFileDesc == -1) return -1;
    if ((fState & kNonBlockingSocketType) == 0) return 0;
    return this->InitNonBlocking(this->fFileDesc);
  }

  // On failure the local address reads as 0:0.
  int Bind(UInt32 addr, UInt16 port) {
    fLocalAddr = MakeAddr(addr, port);
    if (::bind(this->fFileDesc, AsGeneric(&fLocalAddr), sizeof fLocalAddr) == -1) {
      Unbind();
      return -1;
    }
    ReadLocalAddr();
    fState |= kBound;
    return 0;
  }

  // Forgets the local address; the descriptor stays bound.
  void Unbind() {
    fLocalAddr.sin_port = 0;
    fLocalAddr.sin_addr.s_addr = 0;
    fState &= ~kBound;
  }

  int ReuseAddr() { return SetOption(SOL_SOCKET, SO_REUSEADDR, 1); }
  int NoDelay() { return SetOption(IPPROTO_TCP, TCP_NODELAY, 1); }
  int KeepAlive() { return SetOption(SOL_SOCKET, SO_KEEPALIVE, 1); }

  // How long a close waits for unsent data; 0 drops it.
  int Linger(int seconds) {
    const linger option{1, seconds};
    return ::setsockopt(this->fFileDesc, SOL_SOCKET, SO_LINGER, &option, sizeof option);
  }

  // Sizes of the send and the receive buffer; the system may grant less.
  int SetSocketBufSize(UInt32 bytes) { return SetOption(SOL_SOCKET, SO_SNDBUF, static_cast<int>(bytes)); }
  int SetSocketRcvBufSize(UInt32 bytes) { return SetOption(SOL_SOCKET, SO_RCVBUF, static_cast<int>(bytes)); }

  // On a connected socket. *sent is the number of bytes taken, maybe fewer than len. Result: 0, or an errno value; any
  // but EAGAIN also ends the connected state. ENOTCONN when there is none.
  int Send(const char* data, UInt32 len, UInt32* sent) {
    *sent = 0;
    if (!IsConnected()) return ENOTCONN;
    return Finish(Retry([&] { return ::send(this->fFileDesc, data, len, MSG_NOSIGNAL); }), sent);
  }

  // The same with several pieces of data.
  int WriteV(const iovec* pieces, UInt32 count, UInt32* sent) {
    *sent = 0;
    if (!IsConnected()) return ENOTCONN;
    msghdr message{};
    message.msg_iov = const_cast<iovec*>(pieces);
    message.msg_iovlen = count;
    return Finish(Retry([&] { return ::sendmsg(this->fFileDesc, &message, MSG_NOSIGNAL); }), sent);
  }

  // On a connected socket. *got is the number of bytes read, 1 or more when the result is 0. Otherwise an errno value:
  // EAGAIN when nothing is there yet; any other ends the connected state. ENOTCONN when there is none, and when the
  // peer has closed.
  int Read(void* buffer, UInt32 len, UInt32* got) {
    *got = 0;
    if (!IsConnected()) return ENOTCONN;
    const ssize_t result = Retry([&] { return ::recv(this->fFileDesc, buffer, len, 0); });
    if (result == 0) {
      fState &= ~kConnected;
      return ENOTCONN;
    }
    return Finish(result, got);
  }

  bool IsConnected() const { return (fState & kConnected) != 0; }
  bool IsBound() const { return (fState & kBound) != 0; }

  UInt32 GetLocalAddr() const { return ntohl(fLocalAddr.sin_addr.s_addr); }
  UInt16 GetLocalPort() const { return ntohs(fLocalAddr.sin_port); }

  // Texts of the same; they live until the next call, or the socket's end. The DNS text is the address as well: a task
  // must not wait for a name server.
  const StrPtrLen* GetLocalAddrStr() {
    WriteAddr(fLocalAddr, fLocalAddrBuffer, &fLocalAddrStrPtr);
    return &fLocalAddrStrPtr;
  }
  const StrPtrLen* GetLocalDNSStr() {
    fLocalDNSStrPtr = *GetLocalAddrStr();
    return &fLocalDNSStrPtr;
  }
  const StrPtrLen* GetLocalPortStr() {
    const int length = std::snprintf(fPortBuffer, sizeof fPortBuffer, "%u", static_cast<unsigned>(GetLocalPort()));
    fPortStr.Set(fPortBuffer, static_cast<UInt32>(length));
    return &fPortStr;
  }

 protected:
  // task: whom events go to, may be null. socketType: kNonBlockingSocketType or 0.
  ZpIHSocket(ZpIHTask<T>* task, UInt32 socketType)
      : ZpIHEventContext<T>(ZpIHEventContext<T>::kInvalidFileDesc, sEventThread), fState(socketType) {
    this->SetTask(task);
  }

  static sockaddr_in MakeAddr(UInt32 addr, UInt16 port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    result.sin_addr.s_addr = htonl(addr);
    return result;
  }
  static sockaddr* AsGeneric(sockaddr_in* addr) { return reinterpret_cast<sockaddr*>(addr); }
  static void WriteAddr(const sockaddr_in& addr, char (&buffer)[kMaxIPAddrSizeInBytes], StrPtrLen* text) {
    ::inet_ntop(AF_INET, &addr.sin_addr, buffer, sizeof buffer);
    *text = StrPtrLen(buffer);
  }

  int SetOption(int level, int name, int value) {
    return ::setsockopt(this->fFileDesc, level, name, &value, sizeof value);
  }

  void ReadLocalAddr() {
    socklen_t length = sizeof fLocalAddr;
    ::getsockname(this->fFileDesc, AsGeneric(&fLocalAddr), &length);
  }

  // Calls operation again as long as a signal interrupts it.
  template <typename Operation>
  static ssize_t Retry(Operation operation) {
    for (;;) {
      const ssize_t result = operation();
      if (result != -1 || errno != EINTR) return result;
    }
  }

  // The caller's result for that of a system call on a connected socket.
  int Finish(ssize_t result, UInt32* bytes) {
    if (result >= 0) {
      *bytes = static_cast<UInt32>(result);
      return 0;
    }
    const int error = errno;
    if (error != EAGAIN) fState &= ~kConnected;
    return error;
  }

  UInt32 fState;  // kNonBlockingSocketType, kBound, kConnected
  sockaddr_in fLocalAddr{};
  sockaddr_in fDestAddr{};  // where the last datagram went

 private:
  char fLocalAddrBuffer[kMaxIPAddrSizeInBytes] = {};
  StrPtrLen fLocalAddrStrPtr;
  StrPtrLen fLocalDNSStrPtr;
  char fPortBuffer[kPortBufSizeInBytes] = {};
  StrPtrLen fPortStr;
  inline static std::atomic<ZpIHEventThread<T>*> sEventThread{nullptr};
  inline static std::atomic<bool> sThreadStarted{false};
};
