#include "zipwriter.h"

namespace {

std::string Bytes(std::uint32_t number, int length) {
  std::string bytes;
  for (int i = 0; i < length; ++i) bytes += static_cast<char>(number >> (8 * i) & 0xFF);
  return bytes;
}

std::uint32_t Crc32(const std::string& text) {
  std::uint32_t crc = 0xFFFFFFFFU;
  for (const char c : text) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0);
  }
  return ~crc;
}

// What local and central record have in common: version needed, flags, method, time, date, checksum, sizes, lengths.
std::string CommonPart(const T_ZipFile& file) {
  const auto size = static_cast<std::uint32_t>(file.content.size());
  return Bytes(10, 2) + Bytes(file.flags, 2) + Bytes(0, 2) + Bytes(0, 2) + Bytes(0x5821, 2) +
         Bytes(Crc32(file.content), 4) + Bytes(size, 4) + Bytes(size, 4) +
         Bytes(static_cast<std::uint32_t>(file.name.size()), 2) + Bytes(0, 2);
}

}  // namespace

std::string ZipOf(const std::vector<T_ZipFile>& files, const std::string& comment) {
  std::string archive;
  std::string directory;
  for (const T_ZipFile& file : files) {
    const auto offset = static_cast<std::uint32_t>(archive.size());
    archive += "PK\x03\x04" + CommonPart(file) + file.name + file.content;
    directory += "PK\x01\x02" + Bytes(0x031E, 2) + CommonPart(file) + Bytes(0, 2) + Bytes(0, 2) + Bytes(0, 2) +
                 Bytes(file.unixMode << 16, 4) + Bytes(offset, 4) + file.name;
  }
  const auto count = static_cast<std::uint32_t>(files.size());
  const std::string end = "PK\x05\x06" + Bytes(0, 4) + Bytes(count, 2) + Bytes(count, 2) +
                          Bytes(static_cast<std::uint32_t>(directory.size()), 4) +
                          Bytes(static_cast<std::uint32_t>(archive.size()), 4) +
                          Bytes(static_cast<std::uint32_t>(comment.size()), 2) + comment;
  return archive + directory + end;
}
