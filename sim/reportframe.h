// The framing of both UDP links, as a peer sees it: written here a second time, apart from the process's own library,
// and read strictly, so that the bench notices when the bytes are wrong.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "msg_tags.h"
#include "simtypes.h"

// One datagram as received from the process.
struct T_Report {
  int kind = -1;          // the kind's number (kReportTags); -1 for a datagram that is no report
  std::string name;       // "video", "rs232", ...; "" for a datagram that is no report
  std::uint32_t tag = 0;  // of the inner record
  std::string text;       // without its terminating zero
  Json::Value json;       // the text parsed; null when it is no JSON
  std::string raw;        // the whole datagram
  std::string fault;      // why it is no report; empty for a good one
  T_SimClock::time_point time;
};

namespace reportframe {
// The datagram that carries this command.
std::string EncodeCommand(std::uint32_t tag, std::string_view text);
// One record: tag, length, value.
std::string EncodeRecord(std::uint32_t tag, std::string_view value);
// Exactly one outer record that holds exactly one inner record, a zero-terminated text under a known tag.
T_Report Decode(std::string_view datagram);

// The row of a command by name, or by tag in decimal or hexadecimal text; null when there is none.
const T_CommandTag* FindCommand(std::string_view nameOrTag);
}  // namespace reportframe
