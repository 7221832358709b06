// Power loss at every moment of an upgrade: the real process is killed at each of its calls in turn and started again.
//
// Each call is tried before and after it is made, and that in two ways. "Kept": only the process is killed; everything
// it wrote stands, and the AV processor goes on with what it was told. "Lost": the endpoint loses its power; what had
// not been synced is gone, and the AV processor boots as well, into its fallback image when that cut an update short.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <thread>

#include "avpsim.h"
#include "brntlibcurl.h"
#include "entersandbox.h"
#include "firmwarepackage.h"
#include "shimmedprocess.h"
#include "stablestore.h"

namespace fs = std::filesystem;

namespace {

constexpr char kProcess[] = HALYARD_BINARY_DIR "/halyard";
constexpr char kEmptyTmp[] = "mount -t tmpfs -o mode=1777 tmp /tmp";
constexpr char kId[] = "0016c04e41b2";
constexpr char kOldVersion[] = "HLY-AVP-1420-20240311";
constexpr char kNewVersion[] = "HLY-AVP-1430-20240902";
constexpr char kPackage[] = "hly-avp-1430-20240902.apz";

constexpr char kMark[] = "/var/avpupgrading";
constexpr char kOutput[] = "/sandbox/halyard.output";
constexpr char kLog[] = "/sandbox/halyard.log";

constexpr int kShards = 16;           // tests that ctest runs in parallel, each in a sandbox of its own
constexpr int kMoreRuns = 2;          // after the killed one: it is started again, and at most once more
constexpr int kUsPerSecond = 3'000;   // an upgrade's waits of more than a minute take a quarter of a second
constexpr int kPatienceMs = 180'000;  // a machine that takes longer counts as broken

enum E_Way { e_kept, e_lost };

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// The log goes to a file outside the folders that lose what was not synced.
void ConfigureLog() {
  std::string text = ReadFile(HALYARD_SOURCE_DIR "/packaging/halyard.conf");
  const std::string usual = "/var/log/halyard.log";
  text.replace(text.find(usual), usual.size(), kLog);
  std::ofstream("/config/logconf/halyard.conf") << text;
}

class PowerLoss : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    ConfigureLog();
    ASSERT_TRUE(firmwarepackage::Write(kPackage, kNewVersion));
    ASSERT_EQ(std::system(kEmptyTmp), 0);  // the checkout may lie below the one before, which no case may empty
  }

  // An endpoint before its upgrade: nothing on it has been started yet.
  void Begin() {
    for (const char* folder : {"/tmp", "/var"}) {
      for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (folder == std::string("/tmp") || entry.path() == kMark) fs::remove_all(entry.path());
      }
    }
    T_AvpSimOptions options;
    options.mac = kId;
    options.updateMs = 20;
    options.rebootMs = 20;
    m_pAvp.reset();
    m_pAvp = std::make_unique<CAvpSim>(options);
    m_pAvp->SetFirmware(firmwarepackage::Listing(kPackage, kNewVersion));
    ASSERT_TRUE(m_pAvp->Start());
    m_store.emplace(std::vector<std::string>{"/tmp", "/var"});
  }

  // Runs an upgrade, perhaps not to its end.
  T_ShimResult Run(size_t killAt = 0, E_KillMoment moment = e_kill_before) {
    T_ShimPlan plan;
    plan.killAt = killAt;
    plan.moment = moment;
    plan.usPerSecond = kUsPerSecond;
    plan.timeoutMs = kPatienceMs;
    fs::remove(kLog);
    const T_ShimResult result = RunShimmed(InSandboxProject(kProcess), {"-u", "-m", kId}, kOutput, plan);
    m_store->Replay(result.journal);
    return result;
  }

  // The endpoint goes dark and comes back.
  void LosePower() {
    m_store->ThrowAwayUnsynced();
    std::string answer;
    std::string error;
    ASSERT_EQ(Libcurl_Post_Data(Url("device/" + std::string(kId)), R"({"op":"reboot"})", answer, error), 1) << error;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (!AvpAnswers() && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    m_store.emplace(std::vector<std::string>{"/tmp", "/var"});
  }

  bool AvpAnswers() const {
    std::string answer;
    std::string error;
    Libcurl_Post_Data(Url("device/" + std::string(kId)), R"({"op":"get","subset":"identity"})", answer, error);
    return answer.find("firmware_comment") != std::string::npos;
  }

  std::string Url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_pAvp->HttpPort()) + "/api/" + path;
  }

  std::string Version() const { return m_pAvp->Get("identity.firmware_comment").value_or("").asString(); }
  bool WasOrdered() const { return !m_pAvp->Requests(simmatch::Op("update")).empty(); }
  static bool MarkStands() { return fs::exists(fs::symlink_status(kMark)); }
  bool Upgraded() const { return Version() == kNewVersion && !MarkStands(); }

  // Without its mark, an upgrade has not been begun or is done.
  void ExpectMarkUnlessDone(const std::string& where) const {
    if (MarkStands() || !WasOrdered()) return;
    EXPECT_EQ(Version(), kNewVersion) << "the mark is gone too early: " << where;
  }

  // The line in which the last run says why there is no upgrade.
  static std::optional<std::string> Refusal() {
    std::istringstream log(ReadFile(kLog));
    for (std::string line; std::getline(log, line);) {
      const bool own = line.find("brntavpupgrade") != std::string::npos;
      if (own && line.find(" ERROR ") != std::string::npos) return line;
    }
    return std::nullopt;
  }

  // Kills an upgrade at this call and starts it again. The text of the call; empty when the process ended before it.
  std::string TryCase(size_t call, E_KillMoment moment, E_Way way);
  void RunUntilUpgraded(const std::string& where);

  CAvpSim& Avp() { return *m_pAvp; }

  size_t m_cases = 0;
  size_t m_refused = 0;  // runs that ended with a refusal

 private:
  std::unique_ptr<CAvpSim> m_pAvp;
  std::optional<CStableStore> m_store;
};

std::string PowerLoss::TryCase(size_t call, E_KillMoment moment, E_Way way) {
  static constexpr const char* kMoments[] = {"before", "during", "after"};
  Begin();
  if (HasFatalFailure()) return "";
  const T_ShimResult result = Run(call, moment);
  EXPECT_TRUE(result.ended);
  const std::vector<std::string> calls = JournalCalls(result.journal);
  const std::string last = calls.empty() ? "" : calls.back();
  const std::string where = std::string("killed ") + kMoments[moment] + " call " + std::to_string(call) + " [" + last +
                            "], what it wrote is " + (way == e_kept ? "kept" : "lost");
  ++m_cases;
  if (way == e_lost) LosePower();
  ExpectMarkUnlessDone(where);
  RunUntilUpgraded(where);
  return result.killed ? last : "";
}

void PowerLoss::RunUntilUpgraded(const std::string& where) {
  for (int run = 0; run < kMoreRuns && !Upgraded(); ++run) {
    EXPECT_TRUE(Run().ended) << where;
    ExpectMarkUnlessDone(where);
    const std::optional<std::string> refusal = Refusal();
    if (!refusal) continue;
    ++m_refused;
    std::printf("%s: refused: %s\n", where.c_str(), refusal->c_str());
  }
  EXPECT_TRUE(Upgraded() || Refusal()) << where << "\nversion " << Version() << "\n" << ReadFile(kLog);
}

TEST_F(PowerLoss, TheMarkIsOnStableStorageBeforeTheUpdateIsOrdered) {
  Begin();
  const T_ShimResult result = Run();
  ASSERT_TRUE(Upgraded()) << ReadFile(kLog);
  const std::vector<T_JournalRecord>& journal = result.journal;

  const size_t ordered = std::min(journal.size(), [&] {
    size_t at = FindCall(journal, "send peer");
    while (at < journal.size() && journal[at].text.find("\"op\":\"update\"") == std::string::npos) {
      at = FindCall(journal, "send peer", at + 1);
    }
    return at;
  }());
  ASSERT_LT(ordered, journal.size());
  const auto before = journal.begin() + static_cast<std::ptrdiff_t>(ordered);
  const auto content = std::find_if(journal.begin(), before, [](const T_JournalRecord& record) {
    return record.kind == T_JournalRecord::e_file && record.file.content == "avpupgrading";
  });
  ASSERT_NE(content, before);
  EXPECT_EQ(content->file.mode, 0700U);
  EXPECT_TRUE(std::any_of(journal.begin(), before, [&](const T_JournalRecord& record) {
    return record.kind == T_JournalRecord::e_folder && record.text == "/var" &&
           record.entries.count("avpupgrading") != 0 && record.entries.at("avpupgrading") == content->inode;
  }));
  std::printf("%zu calls\n", JournalCalls(journal).size());
}

// --- the sweep -------------------------------------------------------------------------------------------------------

class PowerLossSweep : public PowerLoss, public testing::WithParamInterface<int> {};

TEST_P(PowerLossSweep, EveryCaseEndsUpgraded) {
  std::string name = "first";
  for (auto call = static_cast<size_t>(GetParam()) + 1; !name.empty() && !HasFatalFailure(); call += kShards) {
    for (const E_Way way : {e_kept, e_lost}) {
      name = TryCase(call, e_kill_before, way);
      if (name.rfind("write /var/", 0) == 0) TryCase(call, e_kill_during, way);
      TryCase(call, e_kill_after, way);
    }
  }
  EXPECT_GT(m_cases, 4U);
  std::printf("%zu cases, %zu runs refused\n", m_cases, m_refused);
}

INSTANTIATE_TEST_SUITE_P(Shards, PowerLossSweep, testing::Range(0, kShards), testing::PrintToStringParamName());

// --- a mark that an earlier run left ---------------------------------------------------------------------------------

struct T_MarkRow {
  const char* name;
  const char* content;
};

class PowerLossMark : public PowerLoss, public testing::WithParamInterface<T_MarkRow> {};

TEST_P(PowerLossMark, CountsAsAnUpgradeInProgress) {
  Begin();
  Avp().Set("identity.firmware_comment", kNewVersion);
  std::ofstream(kMark) << GetParam().content;
  EXPECT_TRUE(Run().ended);
  EXPECT_TRUE(WasOrdered());
  EXPECT_TRUE(Upgraded()) << ReadFile(kLog);
}

INSTANTIATE_TEST_SUITE_P(Contents, PowerLossMark,
                         testing::Values(T_MarkRow{"Whole", "avpupgrading"}, T_MarkRow{"Half", "avpupg"},
                                         T_MarkRow{"Empty", ""}, T_MarkRow{"Other", "????????????"},
                                         T_MarkRow{"Longer", "avpupgradingavpupgrading"}),
                         [](const testing::TestParamInfo<T_MarkRow>& row) { return std::string(row.param.name); });

}  // namespace
