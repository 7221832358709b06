// A small HTTP server whose answers are rows: each request gets the next row, and is kept for the test to look at.
//
// Listens on a free loopback port from construction to destruction, on a thread of its own, one connection at a time,
// which it keeps for as long as the client does. Any thread may use it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct T_ServerRow {
  enum E_Manner { kAnswer, kHangUp, kTruncate };

  std::string body;
  int httpStatus = 200;
  E_Manner manner = kAnswer;  // kTruncate promises one byte more than it sends
};

struct T_ServerRequest {
  std::string method;
  std::string path;
  std::string headers;  // all lines as they came, request line included
  std::string body;
  int connection = 0;  // 1 and up, in the order of arrival
};

class CRowServer {
 public:
  CRowServer();
  ~CRowServer();
  CRowServer(const CRowServer&) = delete;
  CRowServer& operator=(const CRowServer&) = delete;

  std::uint16_t Port() const { return m_port; }
  std::string BaseUrl() const;

  // Appends a row. The last row of all answers every request that comes after it, too.
  void Answer(std::string body, int httpStatus = 200);
  void HangUp();
  void Truncate(std::string body);

  // Asked for each request before the rows are; a row of status 0 means that the rows answer. Called on the server's
  // thread, with no lock held.
  void OnRequest(std::function<T_ServerRow(const T_ServerRequest& request)> onRequest);

  // Forgets rows, requests and OnRequest.
  void Reset();

  // The requests so far, in order; WaitForRequests waits up to 20 s until there are count of them, false if not.
  std::vector<T_ServerRequest> Requests() const;
  std::vector<std::string> Bodies() const;
  // "METHOD path" of each.
  std::vector<std::string> Lines() const;
  bool WaitForRequests(std::size_t count) const;

  // From now on requests are taken in and their answers held back, until Release.
  void Hold();
  void Release();

 private:
  void Serve();
  void ServeConnection(int connection, int number);
  bool ServeRequest(int connection, const T_ServerRequest& request);
  T_ServerRow RowFor(const T_ServerRequest& request);
  T_ServerRow NextRow();

  int m_listener = -1;
  std::uint16_t m_port = 0;
  mutable std::mutex m_mutex;
  mutable std::condition_variable m_changed;
  std::list<T_ServerRow> m_rows;
  std::function<T_ServerRow(const T_ServerRequest&)> m_onRequest;
  std::vector<T_ServerRequest> m_requests;
  bool m_held = false;
  bool m_stop = false;
  std::thread m_thread;
};
