// The preloaded library and the stable store, tried on a small program whose calls are known one by one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include "shimmedprocess.h"
#include "stablestore.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr char kFolder[] = "/tmp/probe";
constexpr char kMark[] = "/tmp/probe/mark";
constexpr char kOutput[] = "/sandbox/probe.output";

class PowerlossShim : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::remove_all(kFolder);
    std::filesystem::create_directory(kFolder);
    std::filesystem::remove(kOutput);
  }

  T_ShimResult Play(const std::string& scene, const T_ShimPlan& plan = T_ShimPlan()) {
    m_store.emplace(std::vector<std::string>{kFolder});
    const T_ShimResult result = RunShimmed(HALYARD_POWERLOSS_PROBE, {scene}, kOutput, plan);
    m_store->Replay(result.journal);
    return result;
  }

  T_ShimResult PlayAndKill(const std::string& scene, size_t call, E_KillMoment moment) {
    T_ShimPlan plan;
    plan.killAt = call;
    plan.moment = moment;
    return Play(scene, plan);
  }

  void LosePower() { m_store->ThrowAwayUnsynced(); }

  static std::string Read(const std::string& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }

  // The mark's content, or nothing when there is no mark.
  static std::optional<std::string> Mark() {
    if (!std::filesystem::exists(kMark)) return std::nullopt;
    return Read(kMark);
  }

 private:
  std::optional<CStableStore> m_store;
};

TEST_F(PowerlossShim, CallsAreCountedInOrder) {
  const T_ShimResult result = Play("mark");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(JournalCalls(result.journal),
              ElementsAre("open /tmp/probe/mark", "write /tmp/probe/mark", "fsync /tmp/probe/mark",
                          "close /tmp/probe/mark", "open /tmp/probe", "fsync /tmp/probe", "close /tmp/probe"));
}

TEST_F(PowerlossShim, CallsOfAStreamAreCounted) {
  EXPECT_THAT(JournalCalls(Play("stream").journal),
              ElementsAre("fopen /tmp/probe/stream", "write /tmp/probe/stream", "fclose /tmp/probe/stream"));
}

TEST_F(PowerlossShim, CallsOfACFileAreCountedAndWriteAtOnce) {
  EXPECT_THAT(JournalCalls(PlayAndKill("c-file", 2, e_kill_after).journal),
              ElementsAre("fopen /tmp/probe/mark", "fwrite /tmp/probe/mark"));
  EXPECT_EQ(Mark(), "text");
}

TEST_F(PowerlossShim, CallsToAPeerAreCounted) {
  EXPECT_THAT(JournalCalls(Play("peer").journal), ElementsAre("socket peer", "bind peer", "socket peer", "connect peer",
                                                              "send peer hello..", "close peer", "close peer"));
}

TEST_F(PowerlossShim, ACommandIsOneCallAndRunsWithoutTheLibrary) {
  const T_ShimResult result = Play("command");
  EXPECT_EQ(result.status, 0);
  const std::vector<std::string> calls = JournalCalls(result.journal);
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_THAT(calls[0], HasSubstr("spawn echo"));
  EXPECT_EQ(Read(kOutput), "nonenone\n");
  EXPECT_TRUE(std::filesystem::exists("/tmp/probe/child"));
}

TEST_F(PowerlossShim, WhatTheProgramLeftRunningEndsWithIt) {
  EXPECT_EQ(Play("leave").status, 0);
  const pid_t child = std::stoi(Read(kOutput));
  EXPECT_NE(kill(child, 0), 0);
}

TEST_F(PowerlossShim, SleepsAreShortenedAndTheClockFollows) {
  T_ShimPlan plan;
  plan.usPerSecond = 2'000;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Play("sleep", plan).status, 0);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15));
  EXPECT_EQ(Read(kOutput), "waited 50\nslept 100\n");
}

TEST_F(PowerlossShim, AKillBeyondTheLastCallIsNone) {
  const T_ShimResult result = PlayAndKill("mark", 8, e_kill_before);
  EXPECT_FALSE(result.killed);
  EXPECT_EQ(result.status, 0);
}

// --- what is left after a kill, kept and thrown away -----------------------------------------------------------------

struct T_KillRow {
  const char* name;
  const char* scene;
  size_t call;
  E_KillMoment moment;
  const char* kept;    // the mark's content as written; null: no mark
  const char* thrown;  // the same after everything not synced is lost
};

class PowerlossKill : public PowerlossShim, public testing::WithParamInterface<T_KillRow> {};

std::optional<std::string> Content(const char* text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

TEST_P(PowerlossKill, LeavesWhatTheRowSays) {
  const T_KillRow& row = GetParam();
  if (std::string(row.scene) == "unmark") Play("mark");
  const T_ShimResult result = PlayAndKill(row.scene, row.call, row.moment);
  EXPECT_TRUE(result.killed);
  EXPECT_EQ(JournalCalls(result.journal).size(), row.call);
  EXPECT_EQ(Mark(), Content(row.kept));
  LosePower();
  EXPECT_EQ(Mark(), Content(row.thrown));
}

constexpr char kWhole[] = "avpupgrading";
constexpr char kHalf[] = "avpupg";

constexpr T_KillRow kKillRows[] = {
    {"BeforeOpen", "mark", 1, e_kill_before, nullptr, nullptr},
    {"AfterOpen", "mark", 1, e_kill_after, "", nullptr},
    {"BeforeWrite", "mark", 2, e_kill_before, "", nullptr},
    {"DuringWrite", "mark", 2, e_kill_during, kHalf, nullptr},
    {"AfterWrite", "mark", 2, e_kill_after, kWhole, nullptr},
    {"AfterFileSync", "mark", 3, e_kill_after, kWhole, nullptr},
    {"BeforeFolderSync", "mark", 6, e_kill_before, kWhole, nullptr},
    {"AfterFolderSync", "mark", 6, e_kill_after, kWhole, kWhole},
    {"DuringACallThatIsNoWrite", "mark", 1, e_kill_during, nullptr, nullptr},
    {"SynchronousWriteHalf", "sync-mark", 2, e_kill_during, kHalf, nullptr},
    {"SynchronousWriteWhole", "sync-mark", 5, e_kill_after, kWhole, kWhole},
    {"BeforeUnlink", "unmark", 1, e_kill_before, kWhole, kWhole},
    {"AfterUnlink", "unmark", 1, e_kill_after, nullptr, kWhole},
    {"AfterUnlinkAndFolderSync", "unmark", 3, e_kill_after, nullptr, nullptr},
};

INSTANTIATE_TEST_SUITE_P(Rows, PowerlossKill, testing::ValuesIn(kKillRows),
                         [](const testing::TestParamInfo<T_KillRow>& row) { return std::string(row.param.name); });

// --- the stable store ------------------------------------------------------------------------------------------------

class PowerlossStore : public PowerlossShim {
 protected:
  static void Write(const std::string& path, const std::string& text) { std::ofstream(path) << text; }
};

TEST_F(PowerlossStore, WhatStoodThereAtFirstSurvives) {
  Write(kMark, "old");
  std::filesystem::create_directory("/tmp/probe/folder");
  Write("/tmp/probe/folder/inside", "left alone");
  const CStableStore store({kFolder});
  Write(kMark, "new");
  store.ThrowAwayUnsynced();
  EXPECT_EQ(Mark(), "old");
  EXPECT_EQ(Read("/tmp/probe/folder/inside"), "left alone");
}

TEST_F(PowerlossStore, FilesAndFoldersMadeSinceVanish) {
  const CStableStore store({kFolder});
  Write("/tmp/probe/file", "text");
  std::filesystem::create_directory("/tmp/probe/folder");
  store.ThrowAwayUnsynced();
  EXPECT_TRUE(std::filesystem::is_empty(kFolder));
}

TEST_F(PowerlossStore, ANameThatWasSyncedWithoutItsContentIsAnEmptyFile) {
  CStableStore store({kFolder});
  Write(kMark, "text");
  T_JournalRecord folder;
  folder.kind = T_JournalRecord::e_folder;
  folder.text = kFolder;
  folder.entries["mark"] = 1;
  store.Replay({folder});
  store.ThrowAwayUnsynced();
  EXPECT_EQ(Mark(), "");
}

TEST_F(PowerlossStore, TheModeOfAFileSurvivesWithIt) {
  ASSERT_EQ(Play("mark").status, 0);
  LosePower();
  EXPECT_EQ(std::filesystem::status(kMark).permissions(), std::filesystem::perms::owner_all);
}

}  // namespace
