// docs/wire-formats.md says what the code does: the same tags, the same bytes.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "msg_tags.h"
#include "tlv_box.h"

namespace {

using Bytes = std::vector<unsigned char>;

std::string Document() {
  std::ifstream file(HALYARD_SOURCE_DIR "/docs/wire-formats.md");
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string Hex(std::uint32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", number);
  return text;
}

// The beginning of the table row about a tag.
std::string RowStart(std::uint32_t tag, std::string_view name) {
  return "\n| `" + Hex(tag) + "` | `" + std::string(name) + "` | ";
}

std::size_t CountRows(const std::string& document) {
  std::size_t rows = 0;
  for (std::size_t at = document.find("\n| `0x"); at != std::string::npos; at = document.find("\n| `0x", at + 1)) {
    ++rows;
  }
  return rows;
}

// The bytes in the n-th block of hex digits.
Bytes DocumentedBytes(int n) {
  const std::string document = Document();
  const std::string fence = "```hex\n";
  std::size_t start = 0;
  for (int i = 0; i <= n; ++i) start = document.find(fence, start) + fence.size();
  std::istringstream block(document.substr(start, document.find("```", start) - start));
  Bytes bytes;
  for (std::string word; block >> word;) bytes.push_back(static_cast<unsigned char>(std::stoul(word, nullptr, 16)));
  return bytes;
}

Bytes Message(std::uint32_t tag, const std::string& text) {
  Bytes message;
  tlv_packet(kTlvEnvelopeTag, tag, reinterpret_cast<const unsigned char*>(text.c_str()),
             static_cast<int>(text.size() + 1),
             [&](const unsigned char* bytes, int size) { message.assign(bytes, bytes + size); });
  return message;
}

const Bytes kCommand = {0x03, 0x00, 0x00, 0x00, 0x18, 0x00, 0x00, 0x00, 0x02, 0x03, 0x05, 0x00, 0x10, 0x00, 0x00, 0x00,
                        '{',  '"',  'd',  'a',  't',  'a',  '"',  ':',  '"',  '4',  '0',  '0',  '4',  '"',  '}',  0x00};
const Bytes kReport = {0x03, 0x00, 0x00, 0x00, 0x12, 0x00, 0x00, 0x00, 0x03, 0x05, 0x0b, 0x00, 0x0a,
                       0x00, 0x00, 0x00, 'a',  'v',  'p',  ' ',  'a',  'l',  'i',  'v',  'e',  0x00};

}  // namespace

TEST(WireFormats, TheCommandOfTheDocumentIsWhatIsBuilt) {
  EXPECT_EQ(Message(0x50302, R"({"data":"4004"})"), kCommand);
  EXPECT_EQ(DocumentedBytes(0), kCommand);
}

TEST(WireFormats, TheReportOfTheDocumentIsWhatIsBuilt) {
  EXPECT_EQ(Message(0xB0503, "avp alive"), kReport);
  EXPECT_EQ(DocumentedBytes(1), kReport);
}

TEST(WireFormats, TheCommandOfTheDocumentCanBeRead) {
  tlv_box_t* outer = tlv_box_parse(kCommand.data(), static_cast<int>(kCommand.size()));
  tlv_box_t* inner = nullptr;
  ASSERT_EQ(tlv_box_get_object(outer, kTlvEnvelopeTag, &inner), 0);
  char text[kTlvTextRoom] = {};
  unsigned length = sizeof text;
  EXPECT_EQ(tlv_box_get_string(inner, 0x50302, text, &length), 0);
  EXPECT_STREQ(text, R"({"data":"4004"})");
  tlv_box_destroy(inner);
  tlv_box_destroy(outer);
}

TEST(WireFormats, EveryCommandTagStandsInTheDocumentInItsOrder) {
  const std::string document = Document();
  std::size_t at = 0;
  for (const T_CommandTag& command : kCommandTags) {
    const std::size_t found = document.find(RowStart(command.tag, command.name), at);
    ASSERT_NE(found, std::string::npos) << command.name;
    at = found;
  }
}

TEST(WireFormats, EveryReportTagStandsInTheDocumentWithItsKind) {
  const std::string document = Document();
  for (const T_ReportTag& report : kReportTags) {
    const std::string row = RowStart(report.tag, report.name) + std::to_string(report.kind) + " | ";
    EXPECT_NE(document.find(row), std::string::npos) << row;
  }
}

TEST(WireFormats, TheDocumentHasNoOtherTags) {
  EXPECT_EQ(CountRows(Document()), kCommandTags.size() + kReportTags.size());
}

TEST(WireFormats, TheLimitOfATextStandsInTheDocument) {
  EXPECT_NE(Document().find("closing zero | " + std::to_string(kTlvTextRoom) + " bytes"), std::string::npos);
}
