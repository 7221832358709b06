// The facade through which every API request of the process is queued, and what starts the machinery behind it.
#pragma once

#include <atomic>
#include <map>
#include <string>

#include "OSMutex.h"
#include "OSTypes.h"
#include "brnttypes.h"

class CBrntProxy;
class OSCond;

// Any thread, but where said. No lock of this class is held while another thread's work is waited for.
class CBrntCmd {
 public:
  // Starts the task framework (pool 200 for the proxy, 202 for the TCI link, 201 for the master link) and the proxy
  // core towards host and port. Once per process, later calls change nothing. Main thread. 1.
  static int Init(const std::string& host, unsigned short port, T_InitData* pInitData);

  // Queues one request for device devId; its answer goes to the handler of its kind. 1 when queued, 0 before Init.
  // rsp stays as it is: there is no answer yet.
  static UInt16 DoCmd(const std::string& devId, const std::string& restApi, E_Http_Method method,
                      const std::string& reqBody, std::string& rsp);
  static UInt16 DoCmd2(const std::string& devId, const std::string& restApi, E_Http_Method method,
                       const std::string& reqBody, std::string& rsp, AVP_MSG_E kind);

  // The same, and waits, without a limit, until the server has settled the request. 1 for SUCCESS, else 0; rsp gets the
  // text of the answer, empty when none came. On the thread that takes stop signals a stop still ends the process.
  // Never on a thread of pool 200, which would wait for itself: that is an assertion.
  static UInt16 DoSynchronizeCmd(const std::string& devId, const std::string& restApi, E_Http_Method method,
                                 const std::string& reqBody, std::string& rsp);
  static UInt16 DoSynchronizeCmd2(const std::string& devId, const std::string& restApi, E_Http_Method method,
                                  const std::string& reqBody, std::string& rsp, AVP_MSG_E kind);

  // Forgets the failed subscriptions that wait for another try.
  static void ClearRetrySubscribeCmd();

  // Wakes the caller that waits for this command's sequence number, and hands it the answer; nothing when nobody waits.
  // Proxy task.
  static void SettleSynchronizeCmd(const T_ZpCmd& cmd);

  // "http://host:port", at most 99 characters; empty before Init.
  static std::string RequestLine();

  // The sequence number that follows seq: numbers begin with 1, and 1 follows the largest.
  static constexpr UInt32 SeqAfter(UInt32 seq) { return seq == UINT32_MAX ? 1 : seq + 1; }

 private:
  struct T_SyncAnswer {
    bool settled = false;
    E_Status status = e_status_UNDEFINED;
    std::string rspBody;
  };

  // Fills a command with the next sequence number; false before Init.
  static bool MakeCmd(const std::string& devId, const std::string& restApi, E_Http_Method method,
                      const std::string& reqBody, AVP_MSG_E kind, T_ZpCmd* pCmd) EXCLUDES(s_objMutex);
  static UInt32 NextSeq() EXCLUDES(s_objMutex);
  static UInt16 WaitForAnswer(UInt32 seq, std::string& rsp) EXCLUDES(s_objMutex);
  // Waits a while; true once the answer is there, which is then forgotten.
  static bool TakeAnswer(UInt32 seq, T_SyncAnswer* pAnswer) EXCLUDES(s_objMutex);

  // The objects behind references live until the process is gone: threads outlive main.
  static UInt32 s_u32CurCmdSeq GUARDED_BY(s_objMutex);
  static OSMutex& s_objMutex;
  static OSCond& s_condOfList;  // signalled whenever an entry of the map below is settled
  static std::map<UInt32, T_SyncAnswer>& s_mapSeq2CmdRsp GUARDED_BY(s_objMutex);  // one entry per waiting caller
  static CBrntProxy* s_pBrntProxy;       // unused: the proxy is reached through its own static operations
  static std::atomic<Bool16> s_b16Init;  // set once the queue takes commands
  static char m_requestline[100];        // written before s_b16Init is set
};
