// What a device document costs: reading it into the devices and reporting them, beside a bare jsoncpp parse of the same
// text in the same run.
//
//   halyard_bench_parse [--benchmark_... options]
//
// The measured path is the get-device handler's: one parse of the answer, then for each device the walk through the
// document and its three reports, text and datagrams (to a port of this program). Times are processor time, the median
// of several repetitions in random order. At the end one line per size: microseconds per KiB of both, and the ratio.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <json/reader.h>
#include <sys/socket.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "brntdevice.h"
#include "brntjson.h"
#include "brntreportsocket.h"

namespace {

constexpr double kTarget = 1.6;  // times the bare parse

struct T_Document {
  const char* name;
  size_t bytes;
};
constexpr T_Document kDocuments[] = {{"8KiB", 8 * 1024}, {"64KiB", 64 * 1024}, {"1MiB", 1024 * 1024}};

Json::Value Sample(const std::string& name) {
  std::ifstream file(HALYARD_SOURCE_DIR "/sim/samples/" + name + ".json");
  std::stringstream text;
  text << file.rdbuf();
  Json::Value answer;
  if (!brntjson::Parse(text.str(), answer)) throw std::runtime_error("no sample " + name);
  return answer;
}

// The answer of a server with as many devices as fit into the size, encoders, decoders and transceivers in turn; at
// least one, whose nodes that nobody reads give way when it alone is too long.
std::string AnswerOf(size_t bytes) {
  const Json::Value samples[] = {Sample("device-tx"), Sample("device-rx"), Sample("device-trx")};
  Json::Value answer = samples[0];
  Json::Value& devices = answer["result"]["devices"];
  Json::Value& nodes = devices[0]["nodes"];
  while (brntjson::Write(answer).size() > bytes && nodes.size() > 1) {
    nodes.removeIndex(nodes.size() / 2, nullptr);
  }
  size_t size = brntjson::Write(answer).size();
  size_t refused = 0;  // samples in a row that were too long for what is left
  for (size_t i = 1; refused < std::size(samples); ++i) {
    Json::Value device = samples[i % std::size(samples)]["result"]["devices"][0];
    char id[16];
    std::snprintf(id, sizeof id, "0016c0%06zx", i);
    device["device_id"] = id;
    const size_t more = brntjson::Write(device).size();
    const bool fits = size + more <= bytes;
    refused = fits ? 0 : refused + 1;
    if (!fits) continue;
    size += more;
    devices.append(device);
  }
  return brntjson::Write(answer);
}

const std::string& TextOf(const T_Document& document) {
  static std::map<std::string, std::string>& s_texts = *new std::map<std::string, std::string>;
  std::string& text = s_texts[document.name];
  if (text.empty()) text = AnswerOf(document.bytes);
  return text;
}

void CountBytes(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"  // the reader that the process uses

void BareParse(benchmark::State& state, const T_Document& document) {
  const std::string& text = TextOf(document);
  for (auto _ : state) {
    Json::Reader reader;
    Json::Value answer;
    if (!reader.parse(text, answer, true)) state.SkipWithError("no JSON");
    benchmark::DoNotOptimize(answer);
  }
  CountBytes(state, text);
}

#pragma GCC diagnostic pop

// Parses and walks the answer; use gets each device that could be read.
template <class Use>
void ReadDevices(benchmark::State& state, const T_Document& document, Use use) {
  const std::string& text = TextOf(document);
  for (auto _ : state) {
    Json::Value answer;
    if (!brntjson::Parse(text, answer)) state.SkipWithError("no JSON");
    for (const Json::Value& node : brntnode::Elements(brntnode::Child(brntnode::Child(answer, "result"), "devices"))) {
      std::string id;
      if (!brntjson::GetString(node, "device_id", id)) continue;
      CBrntDevice* device = CBrntDevice::GetBrntDevByID(id);
      if (device->ParseDevice(node, false) == 0) state.SkipWithError("a device was refused");
      use(device);
    }
  }
  CountBytes(state, text);
}

void ParseOnly(benchmark::State& state, const T_Document& document) {
  ReadDevices(state, document, [](CBrntDevice*) {});
}

void ParseAndReport(benchmark::State& state, const T_Document& document) {
  ReadDevices(state, document, [](CBrntDevice* device) { device->ReportDevice(); });
}

// Reports go to a socket of this program, which drops what it has no room for.
void TakeReportsHere() {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0 || ReportAsyncInit() != 1 || bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("no socket for the reports");
  }
  g_reportaddr = address;
}

// Prints as usual and keeps each benchmark's median.
class CMedians : public benchmark::ConsoleReporter {
 public:
  CMedians() : ConsoleReporter(OO_None) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") m_medians[run.run_name.function_name] = run.GetAdjustedCPUTime();
    }
  }

  double MicrosecondsPerKiB(const std::string& name, const T_Document& document) const {
    const auto found = m_medians.find(name + "/" + document.name);
    if (found == m_medians.end()) return 0;
    return found->second / (static_cast<double>(TextOf(document).size()) / 1024.0);
  }

 private:
  std::map<std::string, double> m_medians;  // microseconds
};

void PrintSummary(const CMedians& medians) {
  std::printf("\n%-8s %9s %14s %18s %24s\n", "size", "bytes", "bare us/KiB", "parsed us/KiB", "and reported us/KiB");
  for (const T_Document& document : kDocuments) {
    const double bare = medians.MicrosecondsPerKiB("BareParse", document);
    const double parsed = medians.MicrosecondsPerKiB("ParseOnly", document);
    const double reported = medians.MicrosecondsPerKiB("ParseAndReport", document);
    if (bare <= 0) continue;
    std::printf("%-8s %9zu %14.2f %11.2f (%.2fx) %17.2f (%.2fx)\n", document.name, TextOf(document).size(), bare,
                parsed, parsed / bare, reported, reported / bare);
  }
  std::printf("target: reported at most %.1f times bare, and the same per KiB at every size\n", kTarget);
}

}  // namespace

int main(int argc, char** argv) {
  std::string interleave = "--benchmark_enable_random_interleaving=true";
  std::vector<char*> args(argv, argv + argc);
  args.insert(args.begin() + 1, interleave.data());
  int count = static_cast<int>(args.size());
  benchmark::Initialize(&count, args.data());
  TakeReportsHere();
  for (const T_Document& document : kDocuments) {
    const auto add = [&](const char* name, void (*measure)(benchmark::State&, const T_Document&)) {
      benchmark::RegisterBenchmark((std::string(name) + "/" + document.name).c_str(), measure, document)
          ->Unit(benchmark::kMicrosecond)
          ->MinTime(0.2)
          ->Repetitions(9)
          ->ReportAggregatesOnly(true);
    };
    add("BareParse", BareParse);
    add("ParseOnly", ParseOnly);
    add("ParseAndReport", ParseAndReport);
  }
  CMedians medians;
  benchmark::RunSpecifiedBenchmarks(&medians);
  PrintSummary(medians);
  return 0;
}
