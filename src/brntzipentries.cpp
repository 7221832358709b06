#include "brntzipentries.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "OSTypes.h"

namespace {

// The layout of the two records that are read; all numbers are little-endian.
constexpr std::string_view kEndMark = "PK\x05\x06";
constexpr std::size_t kEndLength = 22;
constexpr std::size_t kEndCount = 10;
constexpr std::size_t kEndDirectoryLength = 12;
constexpr std::size_t kLongestComment = 65535;

constexpr std::string_view kEntryMark = "PK\x01\x02";
constexpr std::size_t kEntryLength = 46;
constexpr std::size_t kEntryMadeBy = 5;
constexpr std::size_t kEntryFlags = 8;
constexpr std::size_t kEntryNameLength = 28;
constexpr std::size_t kEntryExtraLength = 30;
constexpr std::size_t kEntryCommentLength = 32;
constexpr std::size_t kEntryUnixMode = 40;

constexpr UInt32 kCountOf64BitForm = 0xFFFF;
constexpr UInt8 kMadeByDos = 0;
constexpr UInt32 kEncryptedFlag = 1;
constexpr off_t kLongestDirectory = 16 * 1024 * 1024;

class CFile {
 public:
  explicit CFile(const std::string& path) : m_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  ~CFile() {
    if (m_fd >= 0) close(m_fd);
  }
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;

  // Bytes of a plain file; negative for anything else.
  off_t Size() const {
    struct stat info {};
    return m_fd >= 0 && fstat(m_fd, &info) == 0 && S_ISREG(info.st_mode) ? info.st_size : -1;
  }

  // Reads exactly length bytes.
  bool Read(off_t offset, std::size_t length, std::string& bytes) const {
    bytes.resize(length);
    for (std::size_t done = 0; done < length;) {
      const ssize_t got = pread(m_fd, &bytes[done], length - done, offset + static_cast<off_t>(done));
      if (got <= 0) return false;
      done += static_cast<std::size_t>(got);
    }
    return true;
  }

 private:
  const int m_fd;
};

UInt32 Number(std::string_view bytes, std::size_t offset, std::size_t length) {
  UInt32 number = 0;
  for (std::size_t i = length; i > 0; --i) number = number << 8 | static_cast<UInt8>(bytes[offset + i - 1]);
  return number;
}

struct T_Directory {
  off_t offset;
  std::size_t length;
  UInt32 count;
};

// The directory stands right before the end record, wherever the archive begins.
std::optional<T_Directory> FindDirectory(const CFile& file) {
  const off_t size = file.Size();
  const off_t tailLength = std::min<off_t>(size, kEndLength + kLongestComment);
  std::string tail;
  if (tailLength < static_cast<off_t>(kEndLength) ||
      !file.Read(size - tailLength, static_cast<std::size_t>(tailLength), tail)) {
    return std::nullopt;
  }
  const std::size_t end = tail.rfind(kEndMark, tail.size() - kEndLength);
  if (end == std::string::npos) return std::nullopt;
  const UInt32 length = Number(tail, end + kEndDirectoryLength, 4);
  const UInt32 count = Number(tail, end + kEndCount, 2);
  const off_t endOffset = size - tailLength + static_cast<off_t>(end);
  if (count == kCountOf64BitForm || length > endOffset || length > kLongestDirectory) return std::nullopt;
  return T_Directory{endOffset - static_cast<off_t>(length), length, count};
}

// unzip takes the mode of several systems for a Unix one.
bool IsLink(std::string_view record) {
  if (static_cast<UInt8>(record[kEntryMadeBy]) == kMadeByDos) return false;
  return S_ISLNK(static_cast<mode_t>(Number(record, kEntryUnixMode, 2)));
}

}  // namespace

std::optional<std::vector<T_ZipEntry>> ReadZipEntries(const std::string& path) {
  const CFile file(path);
  const std::optional<T_Directory> directory = FindDirectory(file);
  std::string bytes;
  if (!directory.has_value() || !file.Read(directory->offset, directory->length, bytes)) return std::nullopt;

  std::vector<T_ZipEntry> entries;
  std::string_view rest = bytes;
  for (UInt32 i = 0; i < directory->count; ++i) {
    if (rest.size() < kEntryLength || rest.substr(0, kEntryMark.size()) != kEntryMark) return std::nullopt;
    const std::size_t nameLength = Number(rest, kEntryNameLength, 2);
    const std::size_t length =
        kEntryLength + nameLength + Number(rest, kEntryExtraLength, 2) + Number(rest, kEntryCommentLength, 2);
    if (rest.size() < length) return std::nullopt;
    entries.push_back({std::string(rest.substr(kEntryLength, nameLength)),
                       (Number(rest, kEntryFlags, 2) & kEncryptedFlag) != 0, IsLink(rest)});
    rest.remove_prefix(length);
  }
  return entries;
}
