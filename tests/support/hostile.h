// Hostile messages, one table for the system tests and the fuzz corpus alike: each row is something that a peer could
// send and that must cost the process nothing but an ERROR line. A regression adds its row here.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace hostile {

struct T_Row {
  std::string name;
  std::string bytes;
};

// Datagrams for the master link that are wrong as datagrams: framing, lengths, tags, sizes.
std::vector<T_Row> Datagrams();

// Texts where JSON is expected: a command's text, an API answer, a line of the text link. None is longer than maxBytes.
std::vector<T_Row> JsonTexts(size_t maxBytes);

// Well-formed commands that between them hold every key that any command reads; the name is the command's.
std::vector<T_Row> FullCommands();

// The text once for every member at any depth and every wrong value for it; once more without the member.
std::vector<T_Row> WrongTyped(const std::string& json);

// A valid command datagram of each row of FullCommands, as a start for mutation.
std::vector<T_Row> GoodDatagrams();

// Bits flipped, bytes put in, taken out or repeated, numbers at the edges, cut off: one to eight of these.
std::string Mutate(std::string bytes, std::mt19937& random);

// Up to maxBytes random bytes.
std::string Noise(size_t maxBytes, std::mt19937& random);

// Lines for the text link, with their ends, that are wrong as lines or as notifications.
std::vector<T_Row> LinkBytes();

// The text of a well-formed datagram: record (tag, value) inside record (outer tag).
std::string Record(std::uint32_t tag, const std::string& value);
std::string Command(std::uint32_t tag, const std::string& text);

}  // namespace hostile
