// The queue that puts every API request of the process in one line: commands, synchronous commands, and the results
// that belong to events.
#pragma once

#include <atomic>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "OSMutex.h"
#include "OSTypes.h"
#include "ZpIHSecTimeoutTask.h"
#include "ZpIHTask.h"
#include "brnttypes.h"

class CBrntCmdHandler;
class CBrntEventHandler;
class CTimerCmdHandler;

// The enumerator's own name, for log lines; "Unknown AVP_MSG_E value" for every value outside the list.
const char* get_avp_msg_string(const AVP_MSG_E& kind);

// The first IPv4 address of an interface whose name begins with name, dotted; "0.0.0.0" when there is none.
void GetLocalIP(const char* name, std::string& out);

// Producers: the master link's tasks, the TCI task, the command worker, the main thread. Consumer: Run(), on the
// threads of pool 200, never on two at once. No lock of this class is held while a request is on the wire.
//
// The queues have no upper limit, on purpose: they are filled from this endpoint alone, and a burst of commands that
// the server works off slowly must not lose one.
class CBrntProxy : public ZpIHTask<200> {
 public:
  static constexpr UInt32 kPreviewCheckEvent = 256;  // beside the framework's own bits; Run does nothing with it

  // Creates and starts the one instance, and the REST client towards ip and port; nothing when it exists. 1.
  static UInt16 InitProxy(const std::string& ip, UInt16 port, T_InitData* pInitData);
  // Ends the instance and the client; commands still queued are dropped, waiting callers get no answer.
  static void UnitProxy();

  // The entries of the queues; each wakes the task and returns without waiting for the network. Any thread. Without an
  // instance nothing is queued and the result is 0, else 1.
  static UInt16 ProcessZpCmd(const T_ZpCmd& cmd);
  static UInt16 ProcessZpCmd(T_ZpCmd&& cmd);
  static UInt16 ProcessSynchronizeCmd(const T_ZpCmd& cmd);
  // Takes the handler over, also when there is no instance.
  static UInt16 ProcessEvCmd(CBrntEventHandler* pHandler);
  // Parks the handler for good: nothing ever takes it from there.
  static void ProcessBrntCmdTimer(CBrntCmdHandler* pHandler);

  static void HandleRspRecv();
  static void ProcessRspNotify();
  static void CheckPreview();
  // Forgets the subscriptions that wait for another try.
  static void ClearRetryCmd();
  // Hooks that record nothing: requests are followed by the REST client.
  static void AddReqCmd(int reqId, CBrntCmdHandler* pHandler);
  static void ProcessReqCmd(int reqId, CBrntCmdHandler* pHandler);
  // Empty without an instance.
  static std::string GetBrntSrvIp();

  // Copies of what waits at the moment, front first.
  static std::list<T_ZpCmd> QueuedCmds();
  static std::list<T_ZpCmd> QueuedSyncCmds();
  static std::list<T_ZpCmd> RetryCmds();
  // How many handlers are parked on the timer.
  static std::size_t ParkedCmds();
  // Empties the queue of asynchronous commands and hands back what was in it.
  static std::list<T_ZpCmd> TakeQueuedCmds();

  CBrntProxy();
  ~CBrntProxy() override;

  // Serves the pending events. In milliseconds: > 0 run again then (the TCI link is not ready, the work stays pending),
  // 0 sleep until signalled, < 0 end the task.
  SInt64 Run() override;

  UInt16 ProcessCmd(const T_ZpCmd& cmd);
  UInt16 ProcessCmd(T_ZpCmd&& cmd);
  UInt16 ProcessCmd(CBrntEventHandler* pHandler);
  UInt16 ProcessSyncCmd(const T_ZpCmd& cmd);
  void ProcessCmdTimer(CBrntCmdHandler* pHandler);
  // Ends the task and the client, and leaves the instance's pointer as it is.
  void Unit();
  bool ZpCmdListEmpty();
  bool BrntCmdListEmpty();

  // Kept as hooks; they do nothing.
  void ProcessCmdInList() {}
  void ProcessCmdInBrntCmdList() {}
  void ProcessCmdInBrntCmdListAsync() {}
  void ProcessCmdInBrntCmdTimerListAsync() {}
  void ProcessRspForCmdlistSent() {}
  void ClearListReqSent() {}
  void StoreInfo2File() {}
  void ReadInfoFromFile() {}

 protected:
  // Puts another instance, or none, in place and hands back the one that was there.
  static CBrntProxy* ReplaceInstance(CBrntProxy* pProxy) { return s_pBrntProxy.exchange(pProxy); }

 private:
  // Send what waits, one at a time, until the queue is empty.
  void ProcessCmdInZpCmdList();
  void ProcessSyncCmdInZpCmdList();
  void ProcessEvCmdInCmdList();

  // Take the next one out, false or null when none waits. TakeCmd folds later device reads into the one it takes; their
  // sequence numbers come back from the fold.
  bool TakeCmd(T_ZpCmd* pCmd) EXCLUDES(m_objListMutex);
  std::vector<UInt32> MergeDeviceReadsLocked(T_ZpCmd* pCmd) REQUIRES(m_objListMutex);
  bool TakeSyncCmd(T_ZpCmd* pCmd) EXCLUDES(m_objListMutex);
  CBrntEventHandler* TakeEvCmd() EXCLUDES(m_objListMutex);

  void SettleSubscription(const T_ZpCmd& cmd);
  void AddRetryCmd(const T_ZpCmd& cmd) EXCLUDES(m_objListMutex);
  void ClearCmd(const T_ZpCmd& cmd) EXCLUDES(m_objListMutex);
  void ClearCmd() EXCLUDES(m_objListMutex);
  // One tick of 1 s. Queues while it holds the list lock, which is recursive.
  void DoTimeout();

  // The one instance, or null; it deletes itself once Run has ended the task.
  static std::atomic<CBrntProxy*> s_pBrntProxy;
  static std::atomic<CTimerCmdHandler*> s_pTimerCmdHandler;  // the one, created with the first instance

  ZpIHSecTimeoutTask<200> m_objTimeoutTask;                   // 1000 ms
  std::list<T_ZpCmd> m_listZpCmd GUARDED_BY(m_objListMutex);  // first in, first out, as the two below
  std::list<T_ZpCmd> m_listSyncCmd GUARDED_BY(m_objListMutex);
  std::list<CBrntEventHandler*> m_listEvCmd GUARDED_BY(m_objListMutex);  // each ours from here until it was served
  std::list<CBrntCmdHandler*> m_listBrntCmdOnTimer GUARDED_BY(m_objListMutex);  // filled, never drained
  std::list<CBrntCmdHandler*> m_listBrntCmdSent GUARDED_BY(m_objListMutex);     // unused
  OSMutex m_objListMutex;      // recursive: DoTimeout queues while holding it
  UInt32 m_u32TimeoutCnt = 0;  // Run only; ticks of 1 s since the last pass over the retry list
  std::string m_strLocalIp;    // constant: nothing fills it yet
  std::map<int, CBrntCmdHandler*> m_mapEventID2ReqCmd GUARDED_BY(m_objMapMutex);  // unused
  OSMutex m_objMapMutex;
  [[maybe_unused]] SInt64 m_s64LastReqCmd = 0;
  [[maybe_unused]] SInt64 m_s64SyncFileTime = 0;
  std::map<int, long> m_mapEventID2ReqCmdComplite GUARDED_BY(m_objMapMutex);  // (sic) unused
  std::list<T_ZpCmd> m_listZpCmdRetry
      GUARDED_BY(m_objListMutex);  // unique by u32CmdSeq; no limit on tries (deliberate)
};

// Keeps handlers that were parked on a timer, for ever, and runs every 50 ms once the first one was.
class CTimerCmdHandler : public ZpIHTask<200> {
 public:
  CTimerCmdHandler();

  // 50: run again then; -1 ends the task.
  SInt64 Run() override;

  // Any thread. The handler is not owned.
  void ProcessCmdTimer(CBrntCmdHandler* pHandler);
  std::size_t ParkedCmds();

 private:
  void ProcessCmdInList() {}

  OSMutex m_objListMutex;
  std::list<CBrntCmdHandler*> m_listBrntCmdOnTimer GUARDED_BY(m_objListMutex);
};
