// A TCP socket of the task framework.
#pragma once

#include "ZpIHSocket.h"

template <int T>
class ZpIHTCPSocket : public ZpIHSocket<T> {
 public:
  using Base = ZpIHSocket<T>;

  static constexpr int kIPAddrBufSize = 20;

  explicit ZpIHTCPSocket(ZpIHTask<T>* task, UInt32 socketType = Base::kNonBlockingSocketType)
      : ZpIHSocket<T>(task, socketType) {}
  ~ZpIHTCPSocket() override { this->AutoCleanup(); }

  int Open() { return Base::Open(SOCK_STREAM); }

  // Connects and marks the socket connected; so it is as well while a non-blocking connect goes on, whose failure shows
  // at the next read or send. On failure the remote address reads as 0:0.
  int Connect(UInt32 addr, UInt16 port) {
    fRemoteAddr = Base::MakeAddr(addr, port);
    if (::connect(this->fFileDesc, Base::AsGeneric(&fRemoteAddr), sizeof fRemoteAddr) == -1 && errno != EINPROGRESS) {
      fRemoteAddr.sin_port = 0;
      fRemoteAddr.sin_addr.s_addr = 0;
      return -1;
    }
    this->fState |= Base::kConnected;
    return 0;
  }

  // Takes over a connected descriptor, for instance an accepted one, whose peer is remote.
  void Set(int fd, const sockaddr_in& remote) {
    this->fFileDesc = fd;
    fRemoteAddr = remote;
    this->ReadLocalAddr();
    this->fState |= Base::kConnected | Base::kBound;
  }

  // Takes over everything of another socket of the instance, which is left without a descriptor.
  void SnarfSocket(ZpIHTCPSocket& from) {
    this->SnarfEventContext(from);
    this->fState = from.fState;
    this->fLocalAddr = from.fLocalAddr;
    fRemoteAddr = from.fRemoteAddr;
    from.fState &= ~(Base::kBound | Base::kConnected);
  }

  UInt32 GetRemoteAddr() const { return ntohl(fRemoteAddr.sin_addr.s_addr); }
  UInt16 GetRemotePort() const { return ntohs(fRemoteAddr.sin_port); }

  // The text lives until the next call, or the socket's end.
  const StrPtrLen* GetRemoteAddrStr() {
    Base::WriteAddr(fRemoteAddr, fRemoteBuffer, &fRemoteStr);
    return &fRemoteStr;
  }

 private:
  sockaddr_in fRemoteAddr{};
  char fRemoteBuffer[kIPAddrBufSize] = {};
  StrPtrLen fRemoteStr;
};
