// The text link of the bench: takes connections, hands each received line to one handler, sends its answer, and pushes
// lines to every connection.
//
// Threads: every operation from any thread. Lines are read on one thread of the link's own; the handler runs there, and
// no lock of this class is held meanwhile.
#pragma once

#include <functional>
#include <memory>
#include <string>

class CTciLink {
 public:
  // What a received line asks for.
  struct T_Answer {
    std::string line;  // sent back with CR LF
    enum E_Async { e_keep = 0, e_on = 1, e_off = 2 } eAsync = e_keep;
    bool bDrop = false;  // its connection is closed instead
  };
  using T_Handler = std::function<T_Answer(const std::string& line)>;
  using T_Changed = std::function<void()>;  // a connection came, went or changed its mode

  CTciLink(T_Handler handler, T_Changed changed);
  ~CTciLink();  // stops
  CTciLink(const CTciLink&) = delete;
  CTciLink& operator=(const CTciLink&) = delete;

  bool Start(const std::string& ip, int port);  // port 0: any free one
  void Stop();
  int Port() const;  // of the last start; 0 before the first

  size_t Sessions() const;
  size_t AsyncSessions() const;
  // Both return how many connections were given the text.
  size_t Push(const std::string& line, bool asyncOnly);  // CR LF is added
  size_t PushRaw(const std::string& bytes);
  void DropAll();
  void SetRefuse(bool refuse);
  void SetSplitMs(int ms);  // CR LF that long after the rest of its line; 0: together

 private:
  class C_Impl;
  std::unique_ptr<C_Impl> m_pImpl;
};
