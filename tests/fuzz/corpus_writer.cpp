// Writes the seeds of every fuzz target: corpus_writer FOLDER SAMPLES, one file a seed in FOLDER/<target>.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "hostile.h"
#include "msg_tags.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongestText = 8000;
constexpr std::size_t kLargestSample = 25000;  // larger seeds make every run slow

// Request kinds, by number, whose answers are taken apart, and behind them the event types (api_answer_fuzz.cpp).
constexpr char kAnswerKinds[] = {3, 7, 20, 21, 22, 24, 29, 33, 38, 39, 40, 41};

class CCorpus {
 public:
  CCorpus(const fs::path& folder, const std::string& target) : m_folder(folder / target) {
    fs::remove_all(m_folder);
    fs::create_directories(m_folder);
  }

  void Add(const std::string& bytes) {
    std::ofstream(m_folder / std::to_string(m_count++), std::ios::binary).write(bytes.data(), Size(bytes));
  }
  void Add(const std::vector<hostile::T_Row>& rows) {
    for (const hostile::T_Row& row : rows) Add(row.bytes);
  }

 private:
  static std::streamsize Size(const std::string& bytes) { return static_cast<std::streamsize>(bytes.size()); }

  fs::path m_folder;
  int m_count = 0;
};

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<hostile::T_Row> Samples(const fs::path& folder) {
  std::vector<hostile::T_Row> samples;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() != ".json" || entry.file_size() > kLargestSample) continue;
    samples.push_back({entry.path().filename(), ReadFile(entry.path())});
  }
  return samples;
}

// What stands for the command in the first byte of a seed; see command_fuzz.cpp.
std::string CommandByte(std::string_view name) {
  for (std::size_t i = 0; i < kCommandTags.size(); ++i) {
    if (kCommandTags[i].name == name) return {static_cast<char>(i)};
  }
  throw std::invalid_argument("no command " + std::string(name));
}

void WriteAll(const fs::path& folder, const fs::path& sampleFolder) {
  const std::vector<hostile::T_Row> samples = Samples(sampleFolder);
  CCorpus boxes(folder, "tlv_box_parse_fuzz");
  boxes.Add(hostile::Datagrams());
  boxes.Add(hostile::GoodDatagrams());

  CCorpus commands(folder, "command_fuzz");
  for (const hostile::T_Row& row : hostile::FullCommands()) commands.Add(CommandByte(row.name) + row.bytes);
  for (const T_CommandTag& tag : kCommandTags) commands.Add(CommandByte(tag.name) + std::string(tag.example));
  for (const hostile::T_Row& row : hostile::Datagrams()) commands.Add('\xff' + row.bytes);
  for (const hostile::T_Row& row : hostile::GoodDatagrams()) commands.Add('\xff' + row.bytes);

  CCorpus texts(folder, "json_fuzz");
  texts.Add(hostile::JsonTexts(kLongestText));
  texts.Add(hostile::FullCommands());
  texts.Add(samples);

  CCorpus link(folder, "tci_fuzz");
  link.Add(hostile::LinkBytes());
  link.Add(samples);

  CCorpus answers(folder, "api_answer_fuzz");
  for (const char kind : kAnswerKinds) {
    for (const hostile::T_Row& sample : samples) answers.Add(std::string(1, kind) + sample.bytes);
  }
  for (const hostile::T_Row& text : hostile::JsonTexts(kLongestText)) answers.Add('\x18' + text.bytes);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: corpus_writer FOLDER SAMPLES\n";
    return 2;
  }
  WriteAll(argv[1], argv[2]);
  return 0;
}
