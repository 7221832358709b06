// Request ids and what became of the requests: open ones, and the answers of the last 256 settled ones. Of requests
// that are never settled the oldest are forgotten, so that there are never more than 4352 of both.
//
// Not locked: the owner keeps it to one thread at a time.
#pragma once

#include <deque>
#include <map>
#include <string>

class CRequestRegistry {
 public:
  // A new id for a request that is settled already; its answer is filled in by Settle.
  int Open();
  // The request is answered PROCESSING until it is settled by Settle, or by so many polls (-1: not by polls). The
  // answer is the final envelope, which carries the id.
  void Pend(int id, std::string answer, int polls);
  void Settle(int id);                      // with the answer given before; nothing when it is settled or unknown
  void Settle(int id, std::string answer);  // with this one

  struct T_Poll {
    std::string answer;       // the envelope to send
    bool settledNow = false;  // this poll settled the request
  };
  T_Poll Poll(int id);
  bool IsOpen(int id) const;

 private:
  struct T_Request {
    std::string answer;
    bool settled = false;
    int polls = -1;  // left until it settles; -1: not by polls
  };

  void Keep(int id);

  std::map<int, T_Request> m_requests;
  std::deque<int> m_settled;  // oldest first
  int m_lastId = 0;
};
