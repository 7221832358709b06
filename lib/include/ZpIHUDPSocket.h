// A UDP socket of the task framework.
#pragma once

#include "ZpIHSocket.h"

template <int T>
class ZpIHUDPSocket : public ZpIHSocket<T> {
 public:
  using Base = ZpIHSocket<T>;

  static constexpr UInt32 kWantsDemuxer = 256;  // socket type; no demuxer exists in this process

  explicit ZpIHUDPSocket(ZpIHTask<T>* task, UInt32 socketType = Base::kNonBlockingSocketType)
      : ZpIHSocket<T>(task, socketType) {}
  ~ZpIHUDPSocket() override { this->AutoCleanup(); }

  int Open() { return Base::Open(SOCK_DGRAM); }

  // One datagram. 0, or an errno value.
  int SendTo(UInt32 addr, UInt16 port, const void* data, UInt32 len) {
    this->fDestAddr = Base::MakeAddr(addr, port);
    const ssize_t sent = Base::Retry([&] {
      return ::sendto(this->fFileDesc, data, len, MSG_NOSIGNAL, Base::AsGeneric(&this->fDestAddr),
                      sizeof this->fDestAddr);
    });
    return sent == -1 ? errno : 0;
  }

  // One datagram, cut to len bytes, and its sender. 0, or an errno value (EAGAIN: none waits), which leaves addr and
  // port alone.
  int RecvFrom(UInt32* addr, UInt16* port, void* buffer, UInt32 len, UInt32* got) {
    *got = 0;
    const ssize_t result = Base::Retry([&] {
      socklen_t length = sizeof fMsgAddr;
      return ::recvfrom(this->fFileDesc, buffer, len, 0, Base::AsGeneric(&fMsgAddr), &length);
    });
    if (result == -1) return errno;
    *addr = ntohl(fMsgAddr.sin_addr.s_addr);
    *port = ntohs(fMsgAddr.sin_port);
    *got = static_cast<UInt32>(result);
    return 0;
  }

  // Joins or leaves a group on the interface with the local address that the socket is bound to.
  int JoinMulticast(UInt32 group) { return ChangeMembership(IP_ADD_MEMBERSHIP, group); }
  int LeaveMulticast(UInt32 group) { return ChangeMembership(IP_DROP_MEMBERSHIP, group); }

  // How far multicast datagrams go, and through which interface (its address) they leave.
  int SetTtl(UInt16 ttl) { return this->SetOption(IPPROTO_IP, IP_MULTICAST_TTL, ttl); }
  int SetMulticastInterface(UInt32 addr) {
    const in_addr option{htonl(addr)};
    return ::setsockopt(this->fFileDesc, IPPROTO_IP, IP_MULTICAST_IF, &option, sizeof option);
  }

  int SetBroadcastMode(bool on) { return this->SetOption(SOL_SOCKET, SO_BROADCAST, on ? 1 : 0); }

  void* GetDemuxer() const { return fDemuxer; }

 private:
  int ChangeMembership(int option, UInt32 group) {
    ip_mreq request{};
    request.imr_multiaddr.s_addr = htonl(group);
    request.imr_interface.s_addr = this->fLocalAddr.sin_addr.s_addr;
    return ::setsockopt(this->fFileDesc, IPPROTO_IP, option, &request, sizeof request);
  }

  void* const fDemuxer = nullptr;
  sockaddr_in fMsgAddr{};  // source of the last datagram
};
