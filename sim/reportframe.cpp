#include "reportframe.h"

#include <charconv>
#include <cstring>
#include <utility>

#include "simjson.h"

namespace {

struct T_Record {
  std::uint32_t tag;
  std::string_view value;
};

constexpr size_t kHeaderSize = 8;

void AppendWord(std::uint32_t word, std::string& out) {
  char bytes[sizeof word];
  std::memcpy(bytes, &word, sizeof word);
  out.append(bytes, sizeof bytes);
}

std::uint32_t WordAt(std::string_view bytes, size_t offset) {
  std::uint32_t word = 0;
  std::memcpy(&word, bytes.data() + offset, sizeof word);
  return word;
}

// The record that fills the bytes to the last one.
std::optional<T_Record> OnlyRecord(std::string_view bytes) {
  if (bytes.size() < kHeaderSize || WordAt(bytes, 4) != bytes.size() - kHeaderSize) return std::nullopt;
  return T_Record{WordAt(bytes, 0), bytes.substr(kHeaderSize)};
}

const T_ReportTag* FindReport(std::uint32_t tag) {
  for (const T_ReportTag& row : kReportTags) {
    if (row.tag == tag) return &row;
  }
  return nullptr;
}

T_Report Faulty(T_Report report, std::string fault) {
  report.fault = std::move(fault);
  return report;
}

std::optional<std::uint32_t> ParseTag(std::string_view text) {
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    base = 16;
    text.remove_prefix(2);
  }
  std::uint32_t tag = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), tag, base);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return tag;
}

}  // namespace

namespace reportframe {

std::string EncodeRecord(std::uint32_t tag, std::string_view value) {
  std::string out;
  AppendWord(tag, out);
  AppendWord(static_cast<std::uint32_t>(value.size()), out);
  out += value;
  return out;
}

std::string EncodeCommand(std::uint32_t tag, std::string_view text) {
  std::string value(text);
  value += '\0';
  return EncodeRecord(kTlvEnvelopeTag, EncodeRecord(tag, value));
}

T_Report Decode(std::string_view datagram) {
  T_Report report;
  report.raw = std::string(datagram);
  report.time = T_SimClock::now();
  if (datagram.empty()) return Faulty(std::move(report), "the datagram is empty");
  const std::optional<T_Record> outer = OnlyRecord(datagram);
  if (!outer) return Faulty(std::move(report), "the outer record does not fill the datagram");
  if (outer->tag != kTlvEnvelopeTag) return Faulty(std::move(report), "the outer tag is not 3");
  if (outer->value.empty()) return Faulty(std::move(report), "the box under tag 3 is empty");
  const std::optional<T_Record> inner = OnlyRecord(outer->value);
  if (!inner) return Faulty(std::move(report), "the inner record does not fill the box under tag 3");
  report.tag = inner->tag;
  const T_ReportTag* row = FindReport(inner->tag);
  if (row == nullptr) return Faulty(std::move(report), "the inner tag is no report's");
  if (inner->value.empty() || inner->value.back() != '\0') {
    return Faulty(std::move(report), "the text has no terminating zero");
  }
  report.kind = row->kind;
  report.name = std::string(row->name);
  report.text = std::string(inner->value.substr(0, inner->value.size() - 1));
  report.json = simjson::Parse(report.text).value_or(Json::Value());
  return report;
}

const T_CommandTag* FindCommand(std::string_view nameOrTag) {
  const std::optional<std::uint32_t> tag = ParseTag(nameOrTag);
  for (const T_CommandTag& row : kCommandTags) {
    if (row.name == nameOrTag || tag == row.tag) return &row;
  }
  return nullptr;
}

}  // namespace reportframe
