// Upgrade mode: real packages, the marks, the waits in real time, and everything that can be wrong with the endpoint.
#include <linux/capability.h>
#include <sys/prctl.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "firmwarepackage.h"
#include "systemtest.h"
#include "zipwriter.h"

namespace fs = std::filesystem;

namespace {

constexpr char kOldVersion[] = "HLY-AVP-1420-20240311";  // of the built-in device
constexpr char kNewVersion[] = "HLY-AVP-1430-20240902";
constexpr char kPackage[] = "hly-avp-1430-20240902.apz";
constexpr char kUnpacked[] = "/tmp/avp";
constexpr char kMark[] = "/var/avpupgrading";
constexpr char kDone[] = "/tmp/avpupgrade";  // the completion marker
constexpr char kReset[] = "gpio.py -t 1000 -q GLOBAL_RST r";
constexpr char kLog[] = "/sandbox/halyard.log";  // elsewhere than usual: some tests leave /var in a bad way

constexpr int kUpgradePatienceMs = 200'000;

constexpr char kVersionText[] = R"({"comment":"HLY-AVP-1430-20240902"})";
constexpr char kUnreadable[] = "Can't get file's avp firmware version from [/tmp/avp/aptovision-metadata/vendor.json]";

class Upgrade : public SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    for (const char* path : {kUnpacked, kMark, kDone, kLog}) fs::remove_all(path);
    std::string text = ReadFile("/config/logconf/halyard.conf");
    const std::string usual = "/var/log/halyard.log";
    text.replace(text.find(usual), usual.size(), kLog);
    WriteFile("/config/logconf/halyard.conf", text);
    SetBoard("RX");
  }

  void TearDown() override {
    for (const std::string& path : m_mounts) Shell("umount -l " + path);
    if (HasFailure()) std::printf("--- log of the upgrade\n%s", ReadFile(kLog).c_str());
    SystemTest::TearDown();
  }

  // An AV processor on this version, and a server that lists the package.
  void StartBench(const std::string& version = kOldVersion, T_AvpSimOptions options = T_AvpSimOptions()) {
    ASSERT_NO_FATAL_FAILURE(StartAvp("RX", options));
    ASSERT_TRUE(Avp().Set("identity.firmware_comment", version));
    Avp().SetFirmware(firmwarepackage::Listing(kPackage, kNewVersion));
  }

  static void WritePackage() { ASSERT_TRUE(firmwarepackage::Write(kPackage, kNewVersion)); }

  void StartUpgrade(const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"-u", "-m", kLocalId};
    arguments.insert(arguments.end(), more.begin(), more.end());
    m_begin = Clock::now();
    StartHalyardWith(arguments);
  }

  // Waits until the process has ended. How long it ran, in milliseconds.
  double WaitForTheEnd() {
    Halyard().WaitForEnd(kUpgradePatienceMs);
    const double ms = MsBetween(m_begin, Clock::now());
    ExpectEnd(0);
    return ms;
  }

  // The messages of the log; one may hold line ends.
  static std::vector<std::string> Messages() {
    std::vector<std::string> messages;
    std::ifstream log(kLog);
    for (std::string line; std::getline(log, line);) {
      const bool begins = line.size() > 23 && std::isdigit(static_cast<unsigned char>(line[0])) != 0 && line[4] == '-';
      if (begins || messages.empty()) {
        messages.push_back(line);
      } else {
        messages.back() += "\n" + line;
      }
    }
    return messages;
  }

  static size_t Count(const std::string& text) {
    const std::vector<std::string> messages = Messages();
    return static_cast<size_t>(std::count_if(messages.begin(), messages.end(), [&](const std::string& message) {
      return message.find(text) != std::string::npos;
    }));
  }

  static bool Logged(const std::string& text) { return Count(text) > 0; }

  // What the upgrade itself says went wrong.
  static std::vector<std::string> Errors() {
    std::vector<std::string> errors;
    for (const std::string& message : Messages()) {
      const bool own = message.find("brntavpupgrade") != std::string::npos;
      if (own && message.find(" ERROR ") != std::string::npos) errors.push_back(message);
    }
    return errors;
  }

  void ExpectOneError(const std::string& text) {
    const std::vector<std::string> errors = Errors();
    ASSERT_EQ(errors.size(), 1U) << ReadFile(kLog);
    EXPECT_NE(errors[0].find(text), std::string::npos) << errors[0];
    EXPECT_TRUE(Logged("Do AVP Upgrade Finish,failed !!!"));
  }

  size_t Requested(const std::string& op) { return Avp().Requests(simmatch::Op(op)).size(); }

  // Nothing was ordered, and no mark says that something was.
  void ExpectUntouched() {
    EXPECT_EQ(Requested("update"), 0U);
    EXPECT_EQ(Requested("reboot"), 0U);
    EXPECT_TRUE(RecordedCommands().empty());
    EXPECT_FALSE(fs::exists(kDone));
  }

  std::string Version() { return Avp().Get("identity.firmware_comment").value_or("").asString(); }

  void ExpectUpgraded() {
    EXPECT_TRUE(Logged("Do AVP Upgrade Finish,success"));
    EXPECT_EQ(Version(), kNewVersion);
    EXPECT_FALSE(fs::exists(kMark));
    EXPECT_TRUE(fs::exists(kDone));
    EXPECT_FALSE(fs::exists(kUnpacked));
    EXPECT_EQ(Requested("update"), 1U);
    EXPECT_EQ(Requested("reboot"), 1U);
    EXPECT_TRUE(RecordedCommands().empty());
    EXPECT_TRUE(Errors().empty());
  }

  // Waits for the order, then ends the process: what follows is known from the complete upgrade.
  void ExpectOrdered() {
    ASSERT_TRUE(Avp().WaitForRequest(simmatch::Op("update"), kPatienceMs));
    EXPECT_EQ(ReadFile(kMark), "avpupgrading");
    Stop();
  }

  static int Shell(const std::string& command) { return std::system(command.c_str()); }

  // A file system of its own in place of a folder, with this many KiB.
  void MountSmall(const std::string& path, int kib) {
    ASSERT_EQ(Shell("mount -t tmpfs -o mode=1777,size=" + std::to_string(kib) + "k small " + path), 0);
    m_mounts.push_back(path);
  }

  void MountReadOnly(const std::string& path) {
    ASSERT_EQ(Shell("mount --bind " + path + " " + path + " && mount -o remount,bind,ro " + path), 0);
    m_mounts.push_back(path);
  }

  // Leaves no room in the file system under this folder.
  static void Fill(const std::string& path) { Shell("cat /dev/zero > " + path + "/filler 2> /dev/null"); }

 private:
  Clock::time_point m_begin;
  std::vector<std::string> m_mounts;
};

// --- in real time, to the end ----------------------------------------------------------------------------------------

TEST_F(Upgrade, TakesAboutAMinuteAndAHalf) {
  WritePackage();
  StartBench();
  StartUpgrade();
  const auto order = Avp().WaitForRequest(simmatch::Op("update"), kPatienceMs);
  ASSERT_TRUE(order);
  EXPECT_EQ(order->path, "/api/device/" + kLocalId);
  EXPECT_EQ(order->body, std::string("{\"file_name\":\"") + kPackage + "\",\"op\":\"update\"}\n");
  EXPECT_EQ(ReadFile(kMark), "avpupgrading");
  EXPECT_EQ(fs::status(kMark).permissions(), fs::perms::owner_all);

  const double ms = WaitForTheEnd();
  EXPECT_GE(ms, 66'000);
  EXPECT_LE(ms, 130'000);
  ExpectUpgraded();
  EXPECT_TRUE(Logged(std::string("Get if_support_production is true , filename is [") + kPackage + "]"));
  EXPECT_TRUE(
      Logged(std::string("Compare [") + kOldVersion + "]  [" + kNewVersion + "] force upgrade [0] reupgrade [0]"));
  EXPECT_TRUE(Logged("set upgrade flag [/var/avpupgrading] ok"));
  EXPECT_TRUE(Logged("clear upgrade flag [/var/avpupgrading] ok"));
}

TEST_F(Upgrade, OfAnUpToDateProcessorDoesNothing) {
  WritePackage();
  StartBench(kNewVersion);
  StartUpgrade();
  EXPECT_LE(WaitForTheEnd(), 30'000);
  ExpectUntouched();
  EXPECT_FALSE(fs::exists(kMark));
  EXPECT_TRUE(Logged("The version number is the same"));
  EXPECT_TRUE(Logged("Do AVP Upgrade Finish,success"));
  EXPECT_TRUE(Errors().empty());
}

TEST_F(Upgrade, OfAHungProcessorResetsItAfterTenTries) {
  WritePackage();
  StartBench();
  Avp().SetHung(true);
  StartUpgrade();
  const double ms = WaitForTheEnd();
  EXPECT_GE(ms, 22'000);
  EXPECT_LE(ms, 60'000);
  EXPECT_EQ(RecordedCommands(), std::vector<std::string>{kReset});
  EXPECT_EQ(Requested("update"), 0U);
  EXPECT_FALSE(fs::exists(kMark));
  EXPECT_TRUE(Logged("Can't get local avp firmware version, cancel upgrade"));
  EXPECT_TRUE(Logged("reset avp2000 GLOBAL_RST"));
  EXPECT_TRUE(Logged("Do AVP Upgrade Finish,failed !!!"));
  EXPECT_EQ(Count("Can't get local avp firmware version, RETRY it"), 10U);
}

TEST_F(Upgrade, WithALeftoverMarkInstallsTheSameVersionAgain) {
  WritePackage();
  StartBench(kNewVersion);
  WriteFile(kMark, "");
  StartUpgrade();
  WaitForTheEnd();
  ExpectUpgraded();
  EXPECT_TRUE(Logged("reupgrade flag exist"));
  EXPECT_TRUE(Logged("force upgrade [0] reupgrade [1]"));
}

TEST_F(Upgrade, EndsAtOnceWhenAskedToWhileItWaits) {
  WritePackage();
  StartBench();
  StartUpgrade();
  ASSERT_TRUE(Avp().WaitForRequest(simmatch::Op("update"), kPatienceMs));
  EXPECT_EQ(Stop(), 0);
  EXPECT_TRUE(fs::exists(kMark));
}

// --- the decision ----------------------------------------------------------------------------------------------------

TEST_F(Upgrade, ByForceInstallsTheSameVersionAgain) {
  WritePackage();
  StartBench(kNewVersion);
  StartUpgrade({"-f"});
  ExpectOrdered();
  EXPECT_TRUE(Logged("force upgrade [1] reupgrade [0]"));
}

TEST_F(Upgrade, OfAProcessorOnItsFallbackImageInstallsTheSameVersionAgain) {
  WritePackage();
  StartBench(kNewVersion);
  Avp().Set("status.boot_status", "GOLDEN");
  StartUpgrade();
  ExpectOrdered();
  EXPECT_TRUE(Logged("pbootstatus is [GOLDEN], mandatory upgrade"));
}

// --- refusals of the server and the package --------------------------------------------------------------------------

TEST_F(Upgrade, ThatTheServerRefusesLeavesTheMark) {
  WritePackage();
  StartBench();
  Avp().Script(simmatch::Op("update"), T_SimAnswer::Error("INVALID_STATE", "not now"), 0);
  StartUpgrade();
  WaitForTheEnd();
  ExpectOneError("Do Update Cmd Fail,Upgrade failed !!!");
  EXPECT_TRUE(fs::exists(kMark));
  EXPECT_EQ(Requested("reboot"), 0U);
  EXPECT_FALSE(fs::exists(kDone));
}

TEST_F(Upgrade, ThatFailsOnTheProcessorLeavesTheMark) {
  WritePackage();
  T_AvpSimOptions options;
  options.updateMs = 4'000;
  StartBench(kOldVersion, options);
  Avp().SetUpdateOutcome(e_update_fails);
  StartUpgrade();
  WaitForTheEnd();
  ExpectOneError("Do Update Cmd Fail,Upgrade failed !!!");
  EXPECT_TRUE(fs::exists(kMark));
  EXPECT_EQ(Requested("reboot"), 0U);
  EXPECT_EQ(Version(), kOldVersion);
}

TEST_F(Upgrade, OfAPackageWithoutProductionSupportOrdersNothing) {
  WritePackage();
  StartBench();
  Avp().SetFirmware(firmwarepackage::Listing(kPackage, kNewVersion, false));
  StartUpgrade();
  WaitForTheEnd();
  ExpectUntouched();
  EXPECT_TRUE(Logged(std::string("Get if_support_production is false , filename is [") + kPackage + "]"));
  EXPECT_TRUE(Logged(" WARN supports_production is false , Unexpected"));
  EXPECT_TRUE(Logged("Do AVP Upgrade Finish,failed !!!"));
  EXPECT_TRUE(fs::exists(kMark));
}

TEST_F(Upgrade, WithoutAListedPackageEndsAfterSixTries) {
  StartBench();
  Avp().SetFirmware(Json::Value(Json::arrayValue));
  StartUpgrade();
  EXPECT_GE(WaitForTheEnd(), 5'000);
  ExpectOneError("get firmware file cmd fail");
  ExpectUntouched();
}

TEST_F(Upgrade, WithoutAServerEndsAfterSixTries) {
  CreateAvp();
  StartUpgrade();
  WaitForTheEnd();
  ExpectOneError("get firmware file cmd fail");
  ExpectUntouched();
}

class UpgradePackageName : public Upgrade, public testing::WithParamInterface<const char*> {};

TEST_P(UpgradePackageName, IsRefusedBeforeAnythingIsRun) {
  StartBench();
  Avp().SetFirmware(firmwarepackage::Listing(GetParam(), kNewVersion));
  StartUpgrade();
  WaitForTheEnd();
  EXPECT_EQ(Errors().size(), 1U) << ReadFile(kLog);
  EXPECT_TRUE(Logged("Do AVP Upgrade Finish,failed !!!"));
  ExpectUntouched();
  EXPECT_FALSE(fs::exists(kMark));
  EXPECT_FALSE(fs::exists("/tmp/pwned"));
}

INSTANTIATE_TEST_SUITE_P(Names, UpgradePackageName,
                         testing::Values("x.apz;touch /tmp/pwned", "$(touch /tmp/pwned).apz", "`touch /tmp/pwned`",
                                         "../x.apz", "-o.apz", ".apz", "a b.apz", "x.apz\ntouch /tmp/pwned", "*",
                                         "x\"y.apz", "\xc3\xa4.apz"));

// --- packages that cannot be read ------------------------------------------------------------------------------------

class UpgradePackage : public Upgrade {
 protected:
  // The package is refused with one line, and nothing is done to the processor.
  void ExpectRefused() {
    StartBench();
    StartUpgrade();
    EXPECT_LE(WaitForTheEnd(), 30'000);
    EXPECT_EQ(Errors().size(), 1U) << ReadFile(kLog);
    EXPECT_TRUE(Logged("Do AVP Upgrade Finish,failed !!!"));
    ExpectUntouched();
    EXPECT_FALSE(fs::exists(kMark));
  }

  // An archive that zip would not make.
  static void WriteArchive(const std::vector<T_ZipFile>& files) {
    WriteFile(firmwarepackage::PathOf(kPackage), ZipOf(files));
  }

  static void Truncate(std::uintmax_t bytes) { fs::resize_file(firmwarepackage::PathOf(kPackage), bytes); }
};

TEST_F(UpgradePackage, ThatIsMissingIsRefused) {
  fs::remove(firmwarepackage::PathOf(kPackage));
  ExpectRefused();
}

TEST_F(UpgradePackage, ThatIsTruncatedIsRefused) {
  WritePackage();
  Truncate(fs::file_size(firmwarepackage::PathOf(kPackage)) / 2);
  ExpectRefused();
}

TEST_F(UpgradePackage, ThatIsEmptyIsRefused) {
  WritePackage();
  Truncate(0);
  ExpectRefused();
}

TEST_F(UpgradePackage, WithoutAVersionFileIsRefused) {
  ASSERT_TRUE(firmwarepackage::Write(kPackage, {{"images/primary.bin", "f"}}));
  ExpectRefused();
  ExpectOneError(kUnreadable);
}

TEST_F(UpgradePackage, WithAVersionFileThatIsNoJsonIsRefused) {
  ASSERT_TRUE(firmwarepackage::Write(kPackage, {{firmwarepackage::kVersionFile, "comment=1"}}));
  ExpectRefused();
  ExpectOneError(kUnreadable);
}

TEST_F(UpgradePackage, WithAnotherVersionMemberIsRefused) {
  ASSERT_TRUE(firmwarepackage::Write(kPackage, {{firmwarepackage::kVersionFile, R"({"version":"1"})"}}));
  ExpectRefused();
  ExpectOneError(kUnreadable);
}

TEST_F(UpgradePackage, WithNamesThatClimbOutOfTheFolderIsRefused) {
  WriteArchive({{firmwarepackage::kVersionFile, kVersionText}, {"../../misc/planted", "planted"}});
  ExpectRefused();
  EXPECT_FALSE(fs::exists("/misc/planted"));
}

TEST_F(UpgradePackage, WithANameFromTheRootIsRefused) {
  WriteArchive({{firmwarepackage::kVersionFile, kVersionText}, {"/misc/planted", "planted"}});
  ExpectRefused();
  EXPECT_FALSE(fs::exists("/misc/planted"));
}

TEST_F(UpgradePackage, WhoseVersionFileIsALinkIsRefused) {
  WriteFile("/misc/vendor.json", kVersionText);
  WriteArchive({{firmwarepackage::kVersionFile, "/misc/vendor.json", 0, 0120777}});
  ExpectRefused();
}

TEST_F(UpgradePackage, ThatLinksToAFolderElsewhereIsRefused) {
  WriteArchive({{"way", "/misc", 0, 0120777}, {"way/planted", "x"}, {firmwarepackage::kVersionFile, kVersionText}});
  ExpectRefused();
  EXPECT_FALSE(fs::exists("/misc/planted"));
}

TEST_F(UpgradePackage, WithoutUnzipIsRefused) {
  WritePackage();
  fs::create_directories("/sandbox/few");
  for (const char* program : {"sh", "rm", "touch"}) {
    const std::string link = std::string("/sandbox/few/") + program;
    if (!fs::exists(fs::symlink_status(link))) fs::create_symlink(std::string("/usr/bin/") + program, link);
  }
  const std::string path = std::getenv("PATH");
  setenv("PATH", "/sandbox/bin:/sandbox/few", 1);
  StartBench();
  StartUpgrade();
  setenv("PATH", path.c_str(), 1);
  EXPECT_LE(WaitForTheEnd(), 30'000);
  EXPECT_EQ(Errors().size(), 1U) << ReadFile(kLog);
  ExpectUntouched();
}

TEST_F(UpgradePackage, ThatDoesNotFitOnTheDiskIsRefused) {
  ASSERT_TRUE(firmwarepackage::Write(kPackage, {{"aaa-images/primary.bin", std::string(1 << 20, 'f')},
                                                {firmwarepackage::kVersionFile, kVersionText}}));
  MountSmall("/tmp", 64);
  ExpectRefused();
}

TEST_F(UpgradePackage, OnAFullDiskIsRefused) {
  WritePackage();
  MountSmall("/tmp", 16);
  Fill("/tmp");
  ExpectRefused();
}

// --- a mark that cannot be set ---------------------------------------------------------------------------------------

class UpgradeMark : public Upgrade {
 protected:
  // The upgrade is refused with one line that names the mark, before anything is ordered.
  void ExpectRefused(const std::string& text) {
    WritePackage();
    StartBench();
    StartUpgrade();
    ExpectRefusal(text);
  }

  void ExpectRefusal(const std::string& text) {
    EXPECT_LE(WaitForTheEnd(), 30'000);
    ExpectOneError(text);
    ExpectUntouched();
  }
};

TEST_F(UpgradeMark, OnAFullDiskIsRefused) {
  MountSmall("/var", 16);
  Fill("/var");
  ExpectRefused("write data [avpupgrading] to [/var/avpupgrading] len=12 error");
}

TEST_F(UpgradeMark, OnAReadOnlyDiskIsRefused) {
  MountReadOnly("/var");
  ExpectRefused("set upgrade flag [/var/avpupgrading] error");
}

TEST_F(UpgradeMark, WhoseFolderIsMissingIsRefused) {
  ASSERT_EQ(Shell("mkdir -p /sandbox/var && mount --move /var /sandbox/var 2> /dev/null || mv /var /sandbox/var.kept"),
            0);
  ExpectRefused("set upgrade flag [/var/avpupgrading] error");
  Shell("mv /sandbox/var.kept /var");
}

TEST_F(UpgradeMark, WhosePathIsALoopOfLinksIsRefused) {
  fs::create_symlink(kMark, kMark);
  ExpectRefused("set upgrade flag [/var/avpupgrading] error");
}

TEST_F(UpgradeMark, WhosePathIsAFolderIsRefused) {
  fs::create_directory(kMark);
  ExpectRefused("set upgrade flag [/var/avpupgrading] error");
}

// The process runs as root, whom no mode keeps out; here it starts without that privilege.
TEST_F(UpgradeMark, ThatCannotBeReadIsRefused) {
  WriteFile(kMark, "avpupgrading");
  fs::permissions(kMark, fs::perms::none);
  WritePackage();
  StartBench();
  std::thread starter([this] {
    for (const int privilege : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) prctl(PR_CAPBSET_DROP, privilege);
    StartUpgrade();
  });
  starter.join();
  ExpectRefusal("set upgrade flag [/var/avpupgrading] error");
  EXPECT_TRUE(Logged("reupgrade flag exist"));
  EXPECT_TRUE(fs::exists(kMark));
}

}  // namespace
