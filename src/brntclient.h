// The REST client: sends one request at a time to the API server and follows it until it is settled, or left to an
// event of the text link.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "OSCond.h"
#include "OSMutex.h"
#include "OSTypes.h"
#include "brnttypes.h"

// A growing byte buffer with a name for logs. Reserved for a socket reader.
class T_DynamicBuf {
 public:
  explicit T_DynamicBuf(const char* name = "");
  ~T_DynamicBuf();
  T_DynamicBuf(const T_DynamicBuf&) = delete;
  T_DynamicBuf& operator=(const T_DynamicBuf&) = delete;

  // Appends length bytes; false, with nothing added, when the buffer would pass kMaxBytes.
  bool AddData(const void* data, UInt32 length);
  // The bytes held, until the next change; null while there never were any.
  const UInt8* GetDataPtr() const { return pBuf; }
  UInt32 GetDataLen() const { return u32DataLen; }
  void ClearData() { u32DataLen = 0; }
  // Takes length bytes, or all there are, from the front.
  void RemoveData(UInt32 length);
  const char* GetName() const { return szBufName; }

  static constexpr UInt32 kMaxBytes = 1024 * 1024;

 private:
  char szBufName[128];
  UInt8* pBuf = nullptr;  // owned, by malloc
  UInt32 u32BufSize = 0;  // capacity
  UInt32 u32DataLen = 0;  // bytes held
};

// One server, one base URL. Any thread; every send holds m_objMutex from its first byte to its last poll, sleeps
// included, so exactly one exchange is in progress at a time and others wait behind it.
class CBrntClientAgent {
 public:
  CBrntClientAgent();
  ~CBrntClientAgent();
  CBrntClientAgent(const CBrntClientAgent&) = delete;
  CBrntClientAgent& operator=(const CBrntClientAgent&) = delete;

  // Sets the base URL, queues the reads that every start begins with (identity, device; in upgrade mode the firmware
  // listing too) and marks the local device with its role. The facade CBrntCmd must take commands already. 1.
  UInt16 Init(const std::string& ip, UInt16 port, const T_InitData* pInitData);

  // The sends, as in CBrntClient.
  UInt16 SendReq(T_ZpCmd* pCmd, std::string& rsp) EXCLUDES(m_objMutex);
  UInt16 SendSyncReq(T_ZpCmd* pCmd, std::string& rsp) EXCLUDES(m_objMutex);
  UInt16 SendEvReq(T_ZpCmd* pCmd, std::string& rsp) EXCLUDES(m_objMutex);
  // May be called with the lock held: the mutex is recursive.
  UInt16 SendGetRequestID(T_ZpCmd* pCmd, SInt32 reqId, std::string& rsp);
  UInt16 StillSendGetRequestID(T_ZpCmd* pCmd, SInt32 reqId, std::string& rsp);

  // Reserved: reads nothing.
  void RecvRsp(std::string& rsp, int timeout);

 private:
  struct T_SendKind;
  static const T_SendKind kSendReq;
  static const T_SendKind kSendSyncReq;
  static const T_SendKind kSendEvReq;

  UInt16 Send(const T_SendKind& kind, T_ZpCmd* pCmd, std::string& rsp);
  UInt16 PollAfterPause(T_ZpCmd* pCmd, SInt32 reqId, std::string& rsp);
  UInt16 StillPollAfterPause(T_ZpCmd* pCmd, SInt32 reqId, std::string& rsp);
  UInt16 LeaveProcessing(T_ZpCmd* pCmd, SInt32 reqId, std::string& rsp);

  OSMutex m_objMutex;
  SInt32 m_s32Status = 0;   // set by Init: 1 once the base URL is known
  UInt32 m_u32SrvIp = 0;    // host order, 0 when ip is no dotted address
  UInt16 m_u16SrvPort = 0;  // constant after Init, as the two above
  char m_requestline[100];  // "http://ip:port", cut to 99 characters; constant after Init
  OSMutex m_mutexOfList;
  OSCond m_condOfList;  // reserved for a socket reader, as all below
  std::list<std::string> m_listMsg GUARDED_BY(m_mutexOfList);
  [[maybe_unused]] UInt32 m_u32ReadLenInBuf = 0;
  T_DynamicBuf m_objDynamicBuf;
};

// The one agent of the process. Any thread; before Init and after UnInit nothing is sent and the result is 0.
//
// A send's URL is the command's ReqLine and RestAPI. It leaves the final status in RspStatus and the answer's text in
// rsp, which may be the command's own RspBody. 1 when the request was accepted (SUCCESS, or still in progress), else 0.
// When no answer came at all, both stay as they were.
class CBrntClient {
 public:
  // A new agent in place of the one there may be.
  static UInt16 Init(const std::string& ip, UInt16 port, const T_InitData* pInitData);
  static void UnInit();
  // Reserved: returns without reading.
  static void RecvRsp(std::string& rsp, int timeout);

  // Asynchronous commands: a request in progress is asked for six times, in about 4 s, and then left PROCESSING.
  static UInt16 SendReq(T_ZpCmd* pCmd, std::string& rsp);
  // Synchronous commands: a request in progress is asked for once a second until it is settled, however long.
  static UInt16 SendSyncReq(T_ZpCmd* pCmd, std::string& rsp);
  // The result that belongs to an event: a request in progress is left as it is.
  static UInt16 SendEvReq(T_ZpCmd* pCmd, std::string& rsp);
  // Asks for request reqId, six times at most.
  static UInt16 SendGetRequestID(T_ZpCmd* pCmd, int reqId, std::string& rsp);

 private:
  // Null without an agent; what is returned outlives a change of agents during a send.
  static std::shared_ptr<CBrntClientAgent> Agent();

  // Behind references, since threads outlive main.
  static OSMutex& s_objMutex;
  static std::shared_ptr<CBrntClientAgent>& s_pBrntClientAgent GUARDED_BY(s_objMutex);
};
