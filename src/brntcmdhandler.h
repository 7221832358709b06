// What happens to the answer of an API request: one handler class per request kind, made by one table.
//
// A handler is created, used and deleted by the proxy task; the request's answer is in its RspBody and RspStatus.
#pragma once

#include <json/value.h>

#include <string>

#include "OSTypes.h"
#include "brnttypes.h"

class CBrntCmdHandler {
 public:
  virtual ~CBrntCmdHandler() = default;
};

class CZp2BrntCmdHandler : public CBrntCmdHandler {
 public:
  // The handler for cmd's kind; the caller owns it. pBatHandler, which may be null, is kept and never owned.
  static CZp2BrntCmdHandler* CreateCmdHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler);

  // The name of a command: the "op" of its body; "unknown command" for a body without one. Without a body
  // "/api/firmware" for that path and what is below it, else "NoBody".
  static std::string ParseCmdToGetCmdType(const T_ZpCmd& cmd);

  // Does with the answer what its kind asks for; here: logs it. 1 when the answer could be used, else 0.
  virtual Bool16 ProcessCmd(T_ZpCmd& cmd);

 protected:
  CZp2BrntCmdHandler(const T_ZpCmd& cmd, CBrntCmdHandler* pBatHandler);

  // Logs the answer on one line: at ERROR with the server's reason and message when the request was refused, else at
  // INFO; nothing when no answer came. 1 unless it was refused or there is none.
  static Bool16 LogReply(const T_ZpCmd& cmd);

  // The "devices" array of a reply's result; null, with an ERROR line, when there is none. It lives as long as reply.
  static const Json::Value* FindDevices(const Json::Value& reply);

  const std::string& m_strCmd;  // the answer's text, in the command that the handler was made for
  CBrntCmdHandler* m_pBatHandler;
  Bool16 m_bNeedPostProcess = 0;
  Bool16 m_bNeedSendJoinMsg2BrntSrv = 0;
  Bool16 m_bNeedSyncSystemConfFile = 0;
};
