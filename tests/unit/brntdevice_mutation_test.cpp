// Damaged device documents: whatever arrives, the device stays whole and what it reports is JSON.
#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/writer.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "brntdevice.h"
#include "brntjson.h"
#include "devicedocs.h"
#include "reportcapture.h"

namespace {

constexpr unsigned kSeeds = 2000;
constexpr unsigned kSeedsPerTest = 200;
const char* const kSamples[] = {"device-tx", "device-rx", "device-trx", "device-tx-nosignal"};

class C_Mutator {
 public:
  explicit C_Mutator(unsigned seed) : m_random(seed) {}

  // The sample's text with one to eight faults in it.
  std::string Mutate(Json::Value document) {
    for (size_t faults = 1 + Below(8); faults > 0; --faults) DamageTree(document);
    std::string text = Write(document);
    for (size_t faults = Below(3); faults > 0; --faults) DamageText(text);
    return text;
  }

 private:
  size_t Below(size_t bound) { return m_random() % bound; }

  static std::string Write(const Json::Value& document) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, document);
  }

  static void Collect(Json::Value& value, std::vector<Json::Value*>& found) {
    found.push_back(&value);
    if (!value.isObject() && !value.isArray()) return;
    for (Json::Value& member : value) Collect(member, found);
  }

  // A random value of the document; when wanted says so, one with members or elements.
  Json::Value& Pick(Json::Value& document, bool wantsContents) {
    std::vector<Json::Value*> all;
    Collect(document, all);
    std::vector<Json::Value*> found;
    for (Json::Value* value : all) {
      if (!wantsContents || ((value->isObject() || value->isArray()) && !value->empty())) found.push_back(value);
    }
    return found.empty() ? document : *found[Below(found.size())];
  }

  Json::Value AnyValue() {
    switch (Below(12)) {
      case 0:
        return Json::Value();
      case 1:
        return Json::Value(Json::arrayValue);
      case 2:
        return Json::Value(Json::objectValue);
      case 3:
        return true;
      case 4:
        return "";
      case 5:
        return std::string(3000, 'x');
      case 6:
        return "\xff\xfe\xc0\x80";
      case 7:
        return -1;
      case 8:
        return Json::Value::maxInt64;
      case 9:
        return 1e300;
      case 10:
        return Nested(400);
      default:
        return static_cast<int>(Below(64));
    }
  }

  static Json::Value Nested(int depth) {
    Json::Value value = 1;
    for (int i = 0; i < depth; ++i) {
      Json::Value outer(Json::arrayValue);
      outer.append(value);
      value = std::move(outer);
    }
    return value;
  }

  void DamageTree(Json::Value& document) {
    switch (Below(6)) {
      case 0:
        return RemoveOne(Pick(document, true));
      case 1:
        return DuplicateOne(Pick(document, true));
      case 2:
        Pick(document, false) = AnyValue();
        return;
      case 3:
        return EmptyOne(Pick(document, true));
      case 4:
        return MoveIndexes(document);
      default:
        return RetypeOne(Pick(document, true));
    }
  }

  void RemoveOne(Json::Value& value) {
    if (value.empty()) return;
    if (value.isArray()) {
      value.removeIndex(static_cast<Json::ArrayIndex>(Below(value.size())), nullptr);
      return;
    }
    if (!value.isObject()) return;
    const std::vector<std::string> names = value.getMemberNames();
    value.removeMember(names[Below(names.size())]);
  }

  void DuplicateOne(Json::Value& value) {
    if (!value.isArray() || value.empty()) return;
    const Json::Value element = value[static_cast<Json::ArrayIndex>(Below(value.size()))];
    for (size_t copies = 1 + Below(3); copies > 0; --copies) value.append(element);
  }

  void RetypeOne(Json::Value& value) {
    if (!value.isObject() || value.empty()) return;
    const std::vector<std::string> names = value.getMemberNames();
    value[names[Below(names.size())]] = AnyValue();
  }

  static void EmptyOne(Json::Value& value) {
    if (value.isArray() || value.isObject()) value.clear();
  }

  void MoveIndexes(Json::Value& document) {
    static const Json::Value kIndexes[] = {-1, 1, 31, 32, 2147483647, Json::Value::maxUInt64, 0.5};
    std::vector<Json::Value*> all;
    Collect(document, all);
    for (Json::Value* value : all) {
      if (value->isObject() && value->isMember("index") && Below(4) == 0) {
        (*value)["index"] = kIndexes[Below(std::size(kIndexes))];
      }
    }
  }

  // Faults that a tree cannot hold: members twice, numbers beyond every type.
  void DamageText(std::string& text) {
    static const char* const kInserted[] = {
        "\"index\":0,",          "\"type\":\"UART\",", "\"configuration\":[],",
        "\"width\":1e999,",      "\"status\":{},",     "\"value\":99999999999999999999,",
        "\"source_stable\":-0,", "\"edid\":7,",        "\"nodes\":null,"};
    size_t position = text.find("{\"", Below(text.size()));
    if (position == std::string::npos) return;
    text.insert(position + 1, kInserted[Below(std::size(kInserted))]);
  }

  std::mt19937 m_random;
};

bool IsJson(const std::string& text) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["strictRoot"] = false;  // a report of nothing is null
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  return reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
}

// The reports of one parse, joined; what is wrong with them is a test failure.
std::string CheckedReports(CReportCapture& capture, CBrntDevice* device, const Json::Value& document) {
  testing::internal::CaptureStderr();
  const Bool16 parsed = device->ParseDevice(document, true);
  testing::internal::GetCapturedStderr();
  const std::vector<T_Report> reports = capture.Take();
  EXPECT_EQ(reports.size(), parsed != 0 ? 3u : 0u);
  std::string joined;
  for (const T_Report& report : reports) {
    const bool empty = report.name == "monitor" && report.text.empty();
    EXPECT_TRUE(empty || IsJson(report.text)) << report.text;
    joined += report.text + "|";
  }
  return joined;
}

class DamagedDocument : public testing::TestWithParam<unsigned> {};

TEST_P(DamagedDocument, IsReportedAsJsonAndLeavesNothingBehind) {
  CReportCapture capture;
  CBrntDevice* used = CBrntDevice::GetBrntDevByID("damage-used");
  unsigned parsed = 0;
  for (unsigned seed = GetParam(); seed < GetParam() + kSeedsPerTest; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const Json::Value sample = devicedocs::Sample(kSamples[seed % std::size(kSamples)]);
    Json::Value document;
    if (!brntjson::Parse(C_Mutator(seed).Mutate(sample), document)) continue;
    ++parsed;

    CBrntDevice* fresh = CBrntDevice::GetBrntDevByID("damage-" + std::to_string(seed));
    CBrntDevice* clean = CBrntDevice::GetBrntDevByID("damage-clean");
    EXPECT_EQ(CheckedReports(capture, used, document), CheckedReports(capture, fresh, document));
    EXPECT_EQ(CheckedReports(capture, used, sample), CheckedReports(capture, clean, sample));
    EXPECT_FALSE(used->GetVideoInputInfo().empty());
    if (testing::Test::HasFailure()) return;
  }
  EXPECT_GT(parsed, kSeedsPerTest / 2);  // most faults leave JSON
}

INSTANTIATE_TEST_SUITE_P(Seeds, DamagedDocument, testing::Range(0u, kSeeds, kSeedsPerTest));

}  // namespace
