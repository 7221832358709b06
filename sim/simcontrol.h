// The text commands that make things happen while the bench runs: what a person types into halyard-sim, what
// `halyardctl sim` and scripts send it.
//
// Threads: Execute from any thread.
#pragma once

#include <string>
#include <vector>

#include "avpsim.h"

class CSimControl {
 public:
  explicit CSimControl(CAvpSim& sim) : m_sim(sim) {}

  // Carries one line out. The answer is "ok", or what was asked for, or one line that begins with "error: ".
  std::string Execute(const std::string& line);

  static std::string Help();
  static bool IsError(const std::string& answer);

 private:
  // A line and its words; the command's name is the first.
  struct T_Line {
    std::string text;
    std::vector<std::string> words;

    std::string Behind(size_t count) const;  // the text behind so many words
  };
  struct T_Command;
  static const std::vector<T_Command>& Commands();

  std::string Event(const T_Line& line);
  std::string Source(const T_Line& line);
  std::string Monitor(const T_Line& line);
  std::string Connect(const T_Line& line);
  std::string Disconnect(const T_Line& line);
  std::string Hang(const T_Line& line);
  std::string Wake(const T_Line& line);
  std::string Fault(const T_Line& line);
  std::string Processing(const T_Line& line);
  std::string Set(const T_Line& line);
  std::string Get(const T_Line& line);
  std::string Update(const T_Line& line);
  std::string Firmware(const T_Line& line);
  std::string Tci(const T_Line& line);
  std::string Http(const T_Line& line);
  std::string Show(const T_Line& line);
  std::string HelpText(const T_Line& line);

  CAvpSim& m_sim;
};
