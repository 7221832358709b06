#include "brntavpupgrade.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "brntasynctask.h"
#include "brntdevice.h"
#include "brntjson.h"
#include "brntsendcmd.h"
#include "facade.h"
#include "fakeplatform.h"
#include "handproxy.h"
#include "logcapture.h"
#include "testfiles.h"
#include "zipwriter.h"

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

constexpr char kFlag[] = "/var/avpupgrading";
constexpr char kMarker[] = "/tmp/avpupgrade";
constexpr char kPackage[] = "hly-avp_1.4+3.apz";
constexpr char kPackagePath[] = "/customer/firmwares/hly-avp_1.4+3.apz";
constexpr char kUnzip[] = "unzip /customer/firmwares/hly-avp_1.4+3.apz -d /tmp/avp";
constexpr char kClear[] = "rm -rf /tmp/avp";
constexpr char kTouch[] = "touch /tmp/avpupgrade";
constexpr char kNoVersion[] = "Can't get file's avp firmware version from [/tmp/avp/aptovision-metadata/vendor.json]";

// ---- the flag file

class Flag : public testing::Test {
 protected:
  ~Flag() override {
    unlink(kPath);
    rmdir(kPath);
  }

  static constexpr char kPath[] = "/var/flag";
  const CAvpUpgradeFlag m_flag{kPath};
  CLogCapture m_log;
};

TEST_F(Flag, SettingCreatesTheFileWithItsContent) {
  EXPECT_FALSE(m_flag.ExistUpgradeFlag());
  EXPECT_TRUE(m_flag.SetUpgradeFlag());
  EXPECT_TRUE(m_flag.ExistUpgradeFlag());
  EXPECT_EQ(FileText(kPath), "avpupgrading");
  struct stat info {};
  ASSERT_EQ(stat(kPath, &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0700U);
  EXPECT_EQ(m_log.PriorityOf("set upgrade flag [/var/flag] ok"), 600);
}

TEST_F(Flag, ClearingRemovesIt) {
  ASSERT_TRUE(m_flag.SetUpgradeFlag());
  EXPECT_TRUE(m_flag.ClearUpgradeFlag());
  EXPECT_FALSE(Exists(kPath));
  EXPECT_EQ(m_log.PriorityOf("clear upgrade flag [/var/flag] ok"), 600);
}

TEST_F(Flag, ClearingWhatIsNotThereFails) {
  EXPECT_FALSE(m_flag.ClearUpgradeFlag());
  EXPECT_EQ(m_log.PriorityOf("clear upgrade flag [/var/flag] err"), 300);
}

TEST_F(Flag, AnEmptyOrHalfWrittenFileCounts) {
  for (const char* content : {"", "avpup", "something else"}) {
    WriteFile(kPath, content);
    EXPECT_TRUE(m_flag.ExistUpgradeFlag());
    EXPECT_TRUE(m_flag.SetUpgradeFlag());
    EXPECT_EQ(FileText(kPath), content);
  }
  EXPECT_FALSE(m_log.Contains("ok"));
}

TEST_F(Flag, AFolderIsNoFlagAndCannotBecomeOne) {
  ASSERT_EQ(mkdir(kPath, 0700), 0);
  EXPECT_FALSE(m_flag.ExistUpgradeFlag());
  EXPECT_FALSE(m_flag.SetUpgradeFlag());
  EXPECT_EQ(m_log.PriorityOf("set upgrade flag [/var/flag] error"), 300);
  EXPECT_FALSE(m_flag.ClearUpgradeFlag());
}

TEST_F(Flag, AFolderThatTakesNoFileIsAnError) {
  const CAvpUpgradeFlag missing("/var/no/such/folder");
  EXPECT_FALSE(missing.SetUpgradeFlag());
  EXPECT_EQ(m_log.PriorityOf("set upgrade flag [/var/no/such/folder] error"), 300);
  const CAvpUpgradeFlag readOnly("/proc/flag");
  EXPECT_FALSE(readOnly.SetUpgradeFlag());
  EXPECT_EQ(m_log.PriorityOf("set upgrade flag [/proc/flag] error"), 300);
}

TEST_F(Flag, AFullDiskIsAnErrorOfTheWrite) {
  const CAvpUpgradeFlag full("/dev/full");
  EXPECT_FALSE(full.SetUpgradeFlag());
  EXPECT_EQ(m_log.PriorityOf("write data [avpupgrading] to [/dev/full] len=12 error"), 300);
  EXPECT_FALSE(m_log.Contains("ok"));
}

// ---- the procedure

std::string Answer(const std::string& result) {
  return R"({"status":"SUCCESS","request_id":null,"result":)" + result + R"(,"error":null})";
}

// An AV processor with its API server, played, and the procedure on a clock that only sleeps move. The proxy works
// whenever the procedure sleeps, or waits for the update.
class Upgrade : public testing::Test {
 protected:
  Upgrade() : m_id(NewId()), m_device(CBrntDevice::GetBrntDevByID(m_id)) {
    AsyncTask::SetUpgradeMode(1);
    CleanUp();
    PutPackage(R"({"comment":"V2"})");
    m_server.OnRequest([this](const T_ServerRequest& request) { return AnswerOf(request); });
    m_platform.OnShell([this](const std::string& command) { return Shell(command); });
    m_platform.OnSleep([this](SInt64) {
      if (std::this_thread::get_id() == m_testThread) Slept();
    });
    m_syncRunner = std::thread([this] { RunSyncCmds(); });
  }

  ~Upgrade() override {
    m_end = true;
    m_syncRunner.join();
    m_server.Reset();
    AsyncTask::SetUpgradeMode(0);
    CleanUp();
  }

  bool Run(int force = 0) { return SendCmd2AVP::DoAvpUpgrade(m_id, force); }

  // The scene.
  static void PutPackage(const std::string& vendorJson) {
    PutPackage({{"aptovision-metadata/vendor.json", vendorJson}, {"firmware.bin", "bytes"}});
  }
  static void PutPackage(const std::vector<T_ZipFile>& files) { WriteFile(kPackagePath, ZipOf(files)); }
  void BootedFrom(const std::string& image) {
    OSMutexLocker lock(m_device->m_objMutex);
    m_device->m_strBootStatus = image;
  }

  // What came of it.
  std::vector<std::string> OrderedOps() const {
    std::vector<std::string> ops;
    for (const T_ServerRequest& request : m_server.Requests()) {
      Json::Value body;
      std::string op = request.path;
      if (brntjson::Parse(request.body, body)) static_cast<void>(brntjson::GetString(body, "op", op));
      ops.push_back(op);
    }
    return ops;
  }
  std::vector<std::string> OpsThatTouchTheAvp() const {
    std::vector<std::string> ops;
    for (const std::string& op : OrderedOps()) {
      if (op != "get" && op != "/api/firmware") ops.push_back(op);
    }
    return ops;
  }
  std::size_t Errors() const {
    std::size_t errors = 0;
    for (const T_LogLine& line : m_log.Lines()) errors += line.priority == 300 ? 1 : 0;
    return errors;
  }
  void ExpectUpgraded() {
    EXPECT_THAT(OpsThatTouchTheAvp(), ElementsAre("update", "reboot"));
    EXPECT_FALSE(Exists(kFlag));
    EXPECT_TRUE(Exists(kMarker));
  }
  void ExpectUntouched() {
    EXPECT_THAT(OpsThatTouchTheAvp(), IsEmpty());
    EXPECT_THAT(m_platform.Commands(), Not(Contains(kTouch)));
    EXPECT_FALSE(Exists(kMarker));
  }

  // Script of a test; the server's thread reads it.
  std::mutex m_mutex;
  std::string m_running = "V1";  // the version that the AV processor tells; empty: it is hung
  int m_identitiesToFail = 0;    // reads of it that are refused before
  std::string m_firmware = std::string(R"([{"file_name":")") + kPackage + R"(","supports_production":true}])";
  int m_listingsToFail = 0;
  std::vector<std::string> m_updateAnswers;  // empty: SUCCESS at once
  std::function<void()> m_onUpdate = [] {};
  int m_unzipStatus = -2;  // -2: unzip runs
  std::function<void(int second)> m_onSleep = [](int) {};

  CRowServer& m_server = FacadeServer();
  CFakePlatform m_platform;
  CLogCapture m_log;
  CHandProxy m_proxy;
  const std::string m_id;
  CBrntDevice* const m_device;

 private:
  static std::string NewId() {
    static int s_count = 0;
    return "0016c05" + std::to_string(10000 + ++s_count);
  }
  static void CleanUp() {
    unlink(kFlag);
    rmdir(kFlag);
    unlink(kMarker);
    unlink(kPackagePath);
    EXPECT_EQ(std::system("rm -rf /tmp/avp"), 0);
  }

  int Shell(const std::string& command) {
    const bool unzip = command.rfind("unzip ", 0) == 0;
    if (unzip && m_unzipStatus != -2) return m_unzipStatus;
    if (command.rfind("/customer/bin/gpio.py", 0) == 0) return 0;
    const int status = std::system((command + " >/dev/null 2>&1").c_str());
    return WEXITSTATUS(status);
  }

  void Slept() {
    {
      std::lock_guard<std::mutex> lock(m_runMutex);
      m_proxy.Run();
    }
    m_onSleep(++m_sleeps);
  }

  void RunSyncCmds() {
    while (!m_end) {
      if (!CBrntProxy::QueuedSyncCmds().empty()) {
        std::lock_guard<std::mutex> lock(m_runMutex);
        m_proxy.Run();
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  T_ServerRow AnswerOf(const T_ServerRequest& request) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (request.path == "/api/firmware") {
      if (m_listingsToFail-- > 0) return {R"({"status":"ERROR"})", 200, T_ServerRow::kAnswer};
      return {Answer(R"({"firmware":)" + m_firmware + "}"), 200, T_ServerRow::kAnswer};
    }
    if (request.path.rfind("/api/request/", 0) == 0) return {NextUpdateAnswer(), 200, T_ServerRow::kAnswer};
    if (request.body.find("\"op\":\"update\"") != std::string::npos) {
      m_onUpdate();
      return {NextUpdateAnswer(), 200, T_ServerRow::kAnswer};
    }
    if (request.body.find("\"op\":\"reboot\"") != std::string::npos) return {Answer("null"), 200, T_ServerRow::kAnswer};
    if (m_running.empty() || m_identitiesToFail-- > 0) {
      return {R"({"status":"ERROR","error":{"reason":"INVALID_STATE","message":"hung"}})", 200, T_ServerRow::kAnswer};
    }
    return {Answer(R"({"devices":[{"device_id":")" + m_id + R"(","identity":{"firmware_comment":")" + m_running +
                   R"("}}]})"),
            200, T_ServerRow::kAnswer};
  }

  std::string NextUpdateAnswer() {
    if (m_updateAnswers.empty()) return Answer(R"({"update":[{"device_id":")" + m_id + R"("}],"error":[]})");
    const std::string answer = m_updateAnswers.front();
    if (m_updateAnswers.size() > 1) m_updateAnswers.erase(m_updateAnswers.begin());
    return answer;
  }

  const std::thread::id m_testThread = std::this_thread::get_id();
  std::mutex m_runMutex;
  std::atomic<bool> m_end{false};
  std::thread m_syncRunner;
  int m_sleeps = 0;
};

TEST_F(Upgrade, AnotherVersionIsInstalled) {
  EXPECT_TRUE(Run());
  ExpectUpgraded();
  EXPECT_THAT(m_platform.Commands(), ElementsAre(kClear, kUnzip, kClear, kTouch));
  EXPECT_EQ(m_log.PriorityOf("Compare [V1]  [V2] force upgrade [0] reupgrade [0]"), 600);
  EXPECT_EQ(Errors(), 0U);
}

TEST_F(Upgrade, TheUpdateNamesThePackageAndTheDevice) {
  EXPECT_TRUE(Run());
  for (const T_ServerRequest& request : m_server.Requests()) {
    if (request.body.find("update") == std::string::npos) continue;
    EXPECT_EQ(request.method + " " + request.path, "POST /api/device/" + m_id);
    EXPECT_EQ(request.body, "{\"file_name\":\"hly-avp_1.4+3.apz\",\"op\":\"update\"}\n");
  }
}

TEST_F(Upgrade, WaitsAsLongAsItSays) {
  EXPECT_TRUE(Run());
  std::vector<SInt64> sleeps = m_platform.Sleeps();
  ASSERT_THAT(sleeps, SizeIs(2 + 30 + 2));  // package, version; the update; before and after the reboot
  EXPECT_EQ(sleeps[32], 6000);
  EXPECT_EQ(sleeps[33], 30000);
  sleeps.resize(32);
  EXPECT_THAT(sleeps, Each(1000));
}

TEST_F(Upgrade, AnOperatorCanFollowTheWaits) {
  EXPECT_TRUE(Run());
  for (const char* line : {
           "wait up to 6 s for the name of the firmware package",
           "Get if_support_production is true , filename is [hly-avp_1.4+3.apz]",
           "update with [hly-avp_1.4+3.apz] ordered, wait until the api server has settled it, however long",
           "update settled after 0 s",
           "wait for the avp to finish, at least 30 s and at most 90 s",
           "waited 10 s of at most 90 s",
           "waited 20 s of at most 90 s",
           "avp has finished, waited 30 s",
           "wait 6 s before the avp is rebooted",
           "avp reboot ordered, wait 30 s for it",
           "clear upgrade flag [/var/avpupgrading] ok",
       }) {
    EXPECT_EQ(m_log.PriorityOf(line), 600) << line;
  }
}

TEST_F(Upgrade, TheFlagStandsFromBeforeTheUpdateUntilTheEnd) {
  std::string atUpdate;
  bool always = true;
  m_onUpdate = [&] { atUpdate = FileText(kFlag); };
  m_onSleep = [&](int sleep) { always = always && (sleep <= 2 || Exists(kFlag)); };
  EXPECT_TRUE(Run());
  EXPECT_EQ(atUpdate, "avpupgrading");
  EXPECT_TRUE(always);
  EXPECT_FALSE(Exists(kFlag));
  EXPECT_EQ(m_log.PriorityOf("set upgrade flag [/var/avpupgrading] ok"), 600);
}

// ---- up to date, or not

TEST_F(Upgrade, TheSameVersionIsLeftAlone) {
  m_running = "V2";
  for (const char* image : {"PRIMARY", ""}) {
    BootedFrom(image);
    EXPECT_TRUE(Run());
    ExpectUntouched();
    EXPECT_FALSE(Exists(kFlag));
  }
  EXPECT_EQ(m_log.PriorityOf("The version number is the same"), 600);
  EXPECT_EQ(Errors(), 0U);
}

TEST_F(Upgrade, TheSameVersionFromAnotherImageIsInstalledAgain) {
  m_running = "V2";
  BootedFrom("GOLDEN");
  EXPECT_TRUE(Run());
  ExpectUpgraded();
  EXPECT_EQ(m_log.PriorityOf("pbootstatus is [GOLDEN], mandatory upgrade"), 600);
}

TEST_F(Upgrade, ForceInstallsTheSameVersion) {
  m_running = "V2";
  BootedFrom("PRIMARY");
  EXPECT_TRUE(Run(1));
  ExpectUpgraded();
  EXPECT_EQ(m_log.PriorityOf("Compare [V2]  [V2] force upgrade [1] reupgrade [0]"), 600);
}

TEST_F(Upgrade, VersionsAreComparedAsWholeTexts) {
  m_running = "V2 ";
  BootedFrom("PRIMARY");
  EXPECT_TRUE(Run());
  ExpectUpgraded();
}

class UpgradeLeftover : public Upgrade, public testing::WithParamInterface<const char*> {};

TEST_P(UpgradeLeftover, AnUpgradeThatWasCutShortIsDoneAgain) {
  m_running = "V2";
  BootedFrom("PRIMARY");
  WriteFile(kFlag, GetParam());
  EXPECT_TRUE(Run());
  ExpectUpgraded();
  EXPECT_EQ(m_log.PriorityOf("reupgrade flag exist"), 600);
  EXPECT_EQ(m_log.PriorityOf("Compare [V2]  [V2] force upgrade [0] reupgrade [1]"), 600);
}

INSTANTIATE_TEST_SUITE_P(Contents, UpgradeLeftover, testing::Values("avpupgrading", "avpup", ""));

// ---- the package's name

TEST_F(Upgrade, WithoutAPackageNameItGivesUpAfterSixTries) {
  m_firmware = "[]";
  EXPECT_FALSE(Run());
  ExpectUntouched();
  EXPECT_EQ(m_platform.SleptMs(), 6000);
  EXPECT_EQ(m_log.PriorityOf("get firmware file cmd fail"), 300);
  EXPECT_THAT(m_platform.Commands(), ElementsAre(kClear));
  EXPECT_THAT(OrderedOps(), ElementsAre("/api/firmware"));
}

TEST_F(Upgrade, ANameThatComesWithTheLastTryIsInTime) {
  m_firmware = "[]";
  m_onSleep = [this](int second) {
    if (second == 6) m_device->SetUpgradeFilenameAndCmdFlag(kPackage, true);
  };
  EXPECT_TRUE(Run());
  ExpectUpgraded();
}

TEST_F(Upgrade, ANameThatIsKnownIsNotAskedFor) {
  m_device->SetUpgradeFilenameAndCmdFlag(kPackage, true);
  EXPECT_TRUE(Run());
  EXPECT_THAT(OrderedOps(), Not(Contains("/api/firmware")));
}

class UpgradeBadName : public Upgrade, public testing::WithParamInterface<const char*> {};

TEST_P(UpgradeBadName, ReachesNoShell) {
  m_device->SetUpgradeFilenameAndCmdFlag(GetParam(), true);
  EXPECT_FALSE(Run());
  ExpectUntouched();
  EXPECT_FALSE(Exists(kFlag));
  EXPECT_THAT(m_platform.Commands(), ElementsAre(kClear));
  EXPECT_EQ(m_log.PriorityOf(std::string("firmware package [") + GetParam() + "] refused"), 300);
  EXPECT_EQ(Errors(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Names, UpgradeBadName,
                         testing::Values("a;reboot", "a b.apz", "$(reboot).apz", "`reboot`", "../a.apz", "a/b.apz",
                                         "-rf", ".apz", "..", "a\n", "a|b", "a&b", "a>b", "a'b", "a\"b", "a\\b", "a*",
                                         "\xc3\xa4.apz"));

// ---- the running version

TEST_F(Upgrade, AHungAvpIsResetAfterTenTries) {
  m_running = "";
  EXPECT_FALSE(Run());
  ExpectUntouched();
  EXPECT_THAT(m_platform.Commands(), ElementsAre(kClear, "/customer/bin/gpio.py -t 1000 -q GLOBAL_RST r"));
  EXPECT_EQ(m_log.Count("Can't get local avp firmware version, RETRY it"), 10U);
  EXPECT_EQ(m_log.PriorityOf("Can't get local avp firmware version, cancel upgrade"), 300);
  EXPECT_EQ(m_log.PriorityOf("reset avp2000 GLOBAL_RST"), 300);
  std::vector<SInt64> sleeps = m_platform.Sleeps();
  ASSERT_THAT(sleeps, SizeIs(1 + 10 + 1));
  EXPECT_EQ(sleeps.back(), 12000);
  sleeps.pop_back();
  EXPECT_THAT(sleeps, Each(1000));
  EXPECT_EQ(OrderedOps(), (std::vector<std::string>{"/api/firmware", "get", "get", "get", "get", "get", "get", "get",
                                                    "get", "get", "get"}));
}

TEST_F(Upgrade, AVersionThatComesWithTheTenthTryIsInTime) {
  m_identitiesToFail = 9;
  EXPECT_TRUE(Run());
  ExpectUpgraded();
  EXPECT_EQ(m_log.Count("RETRY it"), 10U);
}

TEST_F(Upgrade, AVersionThatIsKnownIsNotAskedFor) {
  {
    OSMutexLocker lock(m_device->m_objMutex);
    m_device->m_firmware_version = "V0";
  }
  EXPECT_TRUE(Run());
  EXPECT_THAT(OrderedOps(), Not(Contains("get")));
  EXPECT_FALSE(m_log.Contains("RETRY it"));
}

// ---- the package

TEST_F(Upgrade, AMissingPackageEndsIt) {
  unlink(kPackagePath);
  EXPECT_FALSE(Run());
  ExpectUntouched();
  EXPECT_EQ(m_log.PriorityOf(kNoVersion), 300);
  EXPECT_EQ(Errors(), 1U);
  EXPECT_FALSE(Exists(kFlag));
}

struct T_ContentRow {
  const char* name;
  std::string bytes;
};

class UpgradeBadPackage : public Upgrade, public testing::WithParamInterface<T_ContentRow> {};

TEST_P(UpgradeBadPackage, EndsItWithOneError) {
  WriteFile(kPackagePath, GetParam().bytes);
  EXPECT_FALSE(Run());
  ExpectUntouched();
  EXPECT_EQ(m_log.PriorityOf(kNoVersion), 300);
  EXPECT_EQ(Errors(), 1U);
  EXPECT_FALSE(Exists(kFlag));
}

std::string CutShort() {
  const std::string whole = ZipOf({{"aptovision-metadata/vendor.json", R"({"comment":"V2"})"}});
  return whole.substr(0, whole.size() - 30);
}

// The directory is whole, what it points to is not.
std::string WithDamagedContent() {
  std::string archive = ZipOf({{"aptovision-metadata/vendor.json", R"({"comment":"V2"})"}, {"fw", "firmware"}});
  archive.replace(archive.find("firmware"), 8, "FIRMWARE");
  return archive;
}

const T_ContentRow kBadPackages[] = {
    {"Empty", ""},
    {"NoArchive", "this is no archive"},
    {"CutShort", CutShort()},
    {"DamagedContent", WithDamagedContent()},
    {"EmptyArchive", ZipOf({})},
    {"NoVersionFile", ZipOf({{"firmware.bin", "x"}})},
    {"VersionFileIsNoJson", ZipOf({{"aptovision-metadata/vendor.json", "V2"}})},
    {"NoComment", ZipOf({{"aptovision-metadata/vendor.json", "{}"}})},
    {"EmptyComment", ZipOf({{"aptovision-metadata/vendor.json", R"({"comment":""})"}})},
};

INSTANTIATE_TEST_SUITE_P(Packages, UpgradeBadPackage, testing::ValuesIn(kBadPackages),
                         [](const auto& row) { return std::string(row.param.name); });

struct T_TrickRow {
  const char* name;
  T_ZipFile file;
  const char* fault;
};

class UpgradeTrickPackage : public Upgrade, public testing::WithParamInterface<T_TrickRow> {};

TEST_P(UpgradeTrickPackage, IsRefusedBeforeAnythingIsUnpacked) {
  PutPackage({{"aptovision-metadata/vendor.json", R"({"comment":"V2"})"}, GetParam().file});
  EXPECT_FALSE(Run());
  ExpectUntouched();
  EXPECT_THAT(m_platform.Commands(), ElementsAre(kClear));
  EXPECT_EQ(m_log.PriorityOf(std::string("firmware package [") + kPackagePath + "] refused : [" + GetParam().file.name +
                             "] in it " + GetParam().fault),
            300);
  EXPECT_EQ(Errors(), 1U);
  EXPECT_FALSE(Exists("/tmp/avp"));
  EXPECT_FALSE(Exists(kFlag));
}

const T_TrickRow kTricks[] = {
    {"Above", {"../../var/avpupgrading", "x"}, "leads out of the unpack folder"},
    {"AboveInside", {"a/../../x", "x"}, "leads out of the unpack folder"},
    {"AboveAtTheEnd", {"a/..", "x"}, "leads out of the unpack folder"},
    {"Absolute", {"/var/x", "x"}, "leads out of the unpack folder"},
    {"NoName", {"", "x"}, "leads out of the unpack folder"},
    {"Link", {"l", "/etc", 0, 0120777}, "is a link"},
    {"Encrypted", {"e", "x", 1}, "is encrypted"},                                // unzip would ask for a password
    {"Twice", {"aptovision-metadata/vendor.json", "{}"}, "stands there twice"},  // unzip would ask which to keep
};

INSTANTIATE_TEST_SUITE_P(Tricks, UpgradeTrickPackage, testing::ValuesIn(kTricks),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Upgrade, NamesWithDotsThatStayInsideAreNoTrick) {
  PutPackage({{"aptovision-metadata/vendor.json", R"({"comment":"V2"})"}, {"..a/b../...", "x"}, {"./c", "x"}});
  EXPECT_TRUE(Run());
  ExpectUpgraded();
}

struct T_UnzipRow {
  const char* name;
  int status;
  const char* meaning;
};

class UpgradeUnzip : public Upgrade, public testing::WithParamInterface<T_UnzipRow> {};

TEST_P(UpgradeUnzip, ThatFailsEndsItWithOneErrorAndTheCause) {
  m_unzipStatus = GetParam().status;
  EXPECT_FALSE(Run());
  ExpectUntouched();
  EXPECT_EQ(m_log.PriorityOf("ended with status " + std::to_string(GetParam().status) + " : " + GetParam().meaning),
            400);
  EXPECT_EQ(m_log.PriorityOf(kNoVersion), 300);
  EXPECT_EQ(Errors(), 1U);
  EXPECT_FALSE(Exists(kFlag));
}

const T_UnzipRow kUnzipRows[] = {
    {"Absent", 127, "unzip is not installed"},
    {"NotExecutable", 126, "unzip cannot be run"},
    {"NoShell", -1, "no command can be run"},
    {"DiskFull", 50, "the disk is full"},
    {"EndsEarly", 51, "the archive ends too early"},
    {"Damaged", 2, "the archive is damaged"},
    {"BadlyDamaged", 3, "the archive is damaged"},
    {"NotFound", 9, "there is no such archive"},
    {"Killed", 137, "unzip failed"},
};

INSTANTIATE_TEST_SUITE_P(Statuses, UpgradeUnzip, testing::ValuesIn(kUnzipRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Upgrade, AFailedUnzipCountsEvenWhenTheVersionCanBeRead) {
  ASSERT_EQ(std::system("mkdir -p /tmp/avp/aptovision-metadata"), 0);
  m_unzipStatus = 50;
  m_onSleep = [](int) {
    EXPECT_EQ(std::system("mkdir -p /tmp/avp/aptovision-metadata"), 0);
    WriteFile("/tmp/avp/aptovision-metadata/vendor.json", R"({"comment":"V2"})");
  };
  EXPECT_FALSE(Run());
  ExpectUntouched();
}

TEST_F(Upgrade, AWarningOfUnzipIsNoFailure) {
  WriteFile(kPackagePath, "signature" + FileText(kPackagePath));
  EXPECT_TRUE(Run());
  ExpectUpgraded();
  EXPECT_EQ(m_log.PriorityOf("ended with status 1 : unzip failed"), 0);
  EXPECT_EQ(m_log.PriorityOf("ended with status 1 : unzip had warnings"), 400);
}

// ---- the flag cannot be set

TEST_F(Upgrade, NothingIsOrderedWhenTheFlagPathIsAFolder) {
  ASSERT_EQ(mkdir(kFlag, 0700), 0);
  EXPECT_FALSE(Run());
  ExpectUntouched();
  EXPECT_EQ(m_log.PriorityOf("set upgrade flag [/var/avpupgrading] error"), 300);
  EXPECT_FALSE(m_log.Contains("reupgrade flag exist"));
}

TEST_F(Upgrade, NothingIsOrderedWhenTheDiskIsFull) {
  ASSERT_EQ(symlink("/dev/full", kFlag), 0);
  EXPECT_FALSE(Run());
  ExpectUntouched();
  EXPECT_EQ(m_log.PriorityOf("write data [avpupgrading] to [/var/avpupgrading] len=12 error"), 300);
}

TEST_F(Upgrade, AFlagThatCannotBeClearedIsSaidAndTheUpgradeStands) {
  m_onSleep = [](int sleep) {
    if (sleep == 34) unlink(kFlag);
  };
  EXPECT_TRUE(Run());
  EXPECT_EQ(m_log.PriorityOf("clear upgrade flag [/var/avpupgrading] err"), 300);
}

// ---- the update

TEST_F(Upgrade, APackageThatDoesNotSuitAProductionUpdateEndsItAndKeepsTheFlag) {
  m_firmware = std::string(R"([{"file_name":")") + kPackage + R"(","supports_production":false}])";
  EXPECT_FALSE(Run());
  ExpectUntouched();
  EXPECT_EQ(m_log.PriorityOf("Get if_support_production is false , filename is [hly-avp_1.4+3.apz]"), 600);
  EXPECT_EQ(m_log.PriorityOf("supports_production is false , Unexpected"), 400);
  EXPECT_TRUE(Exists(kFlag));
}

struct T_UpdateRow {
  const char* name;
  const char* answer;
};

class UpgradeRefused : public Upgrade, public testing::WithParamInterface<T_UpdateRow> {};

TEST_P(UpgradeRefused, EndsItAndKeepsTheFlag) {
  std::string answer = GetParam().answer;
  const std::size_t id = answer.find("ID");
  if (id != std::string::npos) answer.replace(id, 2, m_id);
  m_updateAnswers = {answer};
  EXPECT_FALSE(Run());
  EXPECT_THAT(OpsThatTouchTheAvp(), ElementsAre("update"));
  EXPECT_EQ(m_log.PriorityOf("Do Update Cmd Fail,Upgrade failed !!!"), 300);
  EXPECT_TRUE(Exists(kFlag));
  EXPECT_FALSE(Exists(kMarker));
}

const T_UpdateRow kRefusals[] = {
    {"Error", R"({"status":"ERROR","error":{"reason":"ILLEGAL_ARGUMENT","message":"no such file"}})"},
    {"ForThisDevice",
     R"({"status":"SUCCESS","result":{"update":[],"error":[{"device_id":"ID","reason":"INVALID_STATE"}]}})"},
    {"Garbage", "garbage"},
    {"UnknownStatus", R"({"status":"MAYBE"})"},
};

INSTANTIATE_TEST_SUITE_P(Answers, UpgradeRefused, testing::ValuesIn(kRefusals),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Upgrade, AnUpdateInProgressIsWaitedForHoweverLong) {
  const std::string processing = R"({"status":"PROCESSING","request_id":9,"result":null,"error":null})";
  m_updateAnswers.assign(121, processing);
  m_updateAnswers.push_back(Answer(R"({"update":[],"error":[]})"));
  EXPECT_TRUE(Run());
  EXPECT_FALSE(Exists(kFlag));
  EXPECT_EQ(m_log.PriorityOf("update settled after 120 s"), 600);
}

struct T_FinishRow {
  const char* name;
  int finish;  // second of the wait in which the AV processor has finished
  int waited;
};

class UpgradeFinish : public Upgrade, public testing::WithParamInterface<T_FinishRow> {};

TEST_P(UpgradeFinish, EndsTheWaitBetweenThirtyAndNinetySeconds) {
  constexpr int kSleepsBefore = 2;  // package, version
  m_onSleep = [this](int sleep) { m_device->SetUpgradeFinishFlag(sleep - kSleepsBefore >= GetParam().finish); };
  EXPECT_TRUE(Run());
  ExpectUpgraded();
  EXPECT_THAT(m_platform.Sleeps(), SizeIs(static_cast<std::size_t>(kSleepsBefore + GetParam().waited + 2)));
  EXPECT_EQ(m_log.PriorityOf("avp has not said that it has finished, go on after 90 s"),
            GetParam().finish > 90 ? 400 : 0);
}

const T_FinishRow kFinishRows[] = {
    {"AtOnce", 0, 30},       {"AtTen", 10, 30},    {"AtThirty", 30, 30}, {"AtThirtyOne", 31, 31},
    {"AtFortyFive", 45, 45}, {"AtNinety", 90, 90}, {"Never", 1000, 90},
};

INSTANTIATE_TEST_SUITE_P(Seconds, UpgradeFinish, testing::ValuesIn(kFinishRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Upgrade, AFinishFromBeforeTheUpdateDoesNotCount) {
  bool atUpdate = true;
  m_device->SetUpgradeFinishFlag(true);
  m_onUpdate = [&] { atUpdate = m_device->GetUpgradeFinishFlag(); };
  EXPECT_TRUE(Run());
  EXPECT_FALSE(atUpdate);
}

TEST_F(Upgrade, WithoutADeviceNothingIsDone) {
  EXPECT_FALSE(SendCmd2AVP::DoAvpUpgrade("", 1));
  EXPECT_THAT(m_platform.Commands(), IsEmpty());
  EXPECT_EQ(m_log.PriorityOf("no device to upgrade"), 300);
}

}  // namespace
