#include "brntavpupgrade.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>
#include <set>
#include <vector>

#include "OSMutex.h"
#include "brntdevice.h"
#include "brntlog.h"
#include "brntparsersp.h"
#include "brntplatform.h"
#include "brntsendcmd.h"
#include "brntzipentries.h"

namespace {

constexpr char kFlagContent[] = "avpupgrading";
constexpr char kPackageFolder[] = "/customer/firmwares/";
constexpr char kRegularBoot[] = "PRIMARY";
constexpr char kVersionFile[] = "/tmp/avp/aptovision-metadata/vendor.json";

constexpr char kEmptyUnpackFolder[] = "rm -rf /tmp/avp";
constexpr char kResetAvp[] = "/customer/bin/gpio.py -t 1000 -q GLOBAL_RST r";
constexpr char kLeaveMarker[] = "touch /tmp/avpupgrade";

constexpr SInt64 kSecondMs = 1000;
constexpr int kPackageTries = 6;
constexpr int kVersionTries = 10;
constexpr int kAfterResetSec = 12;
constexpr int kShortestUpdateSec = 30;
constexpr int kLongestUpdateSec = 90;
constexpr int kProgressLineSec = 10;
constexpr int kBeforeRebootSec = 6;
constexpr int kAfterRebootSec = 30;

void SleepSec(int seconds) { CBrntPlatform::SleepMs(seconds * kSecondMs); }

class CDescriptor {
 public:
  explicit CDescriptor(int fd) : m_fd(fd) {}
  ~CDescriptor() {
    if (m_fd >= 0) close(m_fd);
  }
  CDescriptor(const CDescriptor&) = delete;
  CDescriptor& operator=(const CDescriptor&) = delete;

  int Get() const { return m_fd; }
  bool IsOpen() const { return m_fd >= 0; }

 private:
  const int m_fd;
};

bool SyncPath(const std::string& path, int extraFlags) {
  const CDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | extraFlags));
  return file.IsOpen() && fsync(file.Get()) == 0;
}

// The folder's entry for the file: without it a synced file is gone after a power loss all the same.
bool SyncFolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return SyncPath(slash == std::string::npos ? "." : path.substr(0, slash + 1), O_DIRECTORY);
}

// The name becomes part of a shell command.
bool IsPlainFileName(const std::string& name) {
  if (name.empty() || name.front() == '-' || name.front() == '.') return false;
  return std::all_of(name.begin(), name.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '_' || c == '+' || c == '-';
  });
}

bool LeadsOut(const std::string& name) {
  if (name.empty() || name.front() == '/') return true;
  return ("/" + name + "/").find("/../") != std::string::npos;
}

// Why nothing of the package may be unpacked; null when all its names stay inside the folder.
const char* FaultOfNames(const std::vector<T_ZipEntry>& entries, std::string& name) {
  std::set<std::string> seen;
  for (const T_ZipEntry& entry : entries) {
    name = entry.strName;
    if (LeadsOut(name)) return "leads out of the unpack folder";
    if (entry.bLink) return "is a link";
    if (entry.bEncrypted) return "is encrypted";
    if (!seen.insert(name).second) return "stands there twice";
  }
  return nullptr;
}

struct T_UnzipStatus {
  int status;
  const char* meaning;
};
constexpr int kUnzipWarned = 1;  // all of it was unpacked
constexpr T_UnzipStatus kUnzipStatuses[] = {
    {kUnzipWarned, "unzip had warnings"}, {2, "the archive is damaged"},   {3, "the archive is damaged"},
    {9, "there is no such archive"},      {50, "the disk is full"},        {51, "the archive ends too early"},
    {126, "unzip cannot be run"},         {127, "unzip is not installed"}, {-1, "no command can be run"},
};

const char* MeaningOf(int unzipStatus) {
  for (const T_UnzipStatus& row : kUnzipStatuses) {
    if (row.status == unzipStatus) return row.meaning;
  }
  return "unzip failed";
}

}  // namespace

bool CAvpUpgradeFlag::ExistUpgradeFlag() const {
  struct stat info {};
  return stat(m_strPath.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool CAvpUpgradeFlag::SetUpgradeFlag() const {
  if (!ExistUpgradeFlag() && !CreateFlag()) return false;
  if (!SyncFlag()) {
    HLOG_ERROR("set upgrade flag [%s] error", m_strPath.c_str());
    return false;
  }
  return true;
}

bool CAvpUpgradeFlag::CreateFlag() const {
  const CDescriptor file(open(m_strPath.c_str(), O_RDWR | O_CREAT | O_SYNC | O_CLOEXEC, 0700));
  if (!file.IsOpen()) {
    HLOG_ERROR("set upgrade flag [%s] error", m_strPath.c_str());
    return false;
  }
  const std::size_t length = std::strlen(kFlagContent);
  if (write(file.Get(), kFlagContent, length) != static_cast<ssize_t>(length)) {
    HLOG_ERROR("write data [%s] to [%s] len=%d error", kFlagContent, m_strPath.c_str(), static_cast<int>(length));
    return false;
  }
  HLOG_INFO("set upgrade flag [%s] ok", m_strPath.c_str());
  return true;
}

bool CAvpUpgradeFlag::SyncFlag() const { return SyncPath(m_strPath, 0) && SyncFolderOf(m_strPath); }

bool CAvpUpgradeFlag::ClearUpgradeFlag() const {
  if (unlink(m_strPath.c_str()) != 0 || !SyncFolderOf(m_strPath)) {
    HLOG_ERROR("clear upgrade flag [%s] err", m_strPath.c_str());
    return false;
  }
  HLOG_INFO("clear upgrade flag [%s] ok", m_strPath.c_str());
  return true;
}

CAvpUpgrade::CAvpUpgrade(const std::string& id, int force)
    : m_strDevID(id), m_s32Force(force), m_pDevice(CBrntDevice::GetBrntDevByID(id)) {}

bool CAvpUpgrade::Run() {
  if (m_pDevice == nullptr) {
    HLOG_ERROR("no device to upgrade");
    return false;
  }
  CBrntPlatform::RunShell(kEmptyUnpackFolder);
  m_bReupgrade = m_flag.ExistUpgradeFlag();
  if (m_bReupgrade) HLOG_INFO("reupgrade flag exist");

  if (!FindPackage() || !ReadRunningVersion() || !ReadPackageVersion()) return false;
  if (IsUpToDate()) return true;
  if (!OrderUpdate()) return false;
  WaitForFinish();
  RebootAvp();
  m_flag.ClearUpgradeFlag();
  return true;
}

bool CAvpUpgrade::FindPackage() {
  const auto known = [this] { return m_pDevice->GetUpgradeFilenameAndCmdFlag(m_strPackage, m_bSupportsProduction); };
  if (!known()) {
    SendCmd2AVP::SendGetFirmwareFileCmd(m_strDevID);
    HLOG_INFO("wait up to %d s for the name of the firmware package", kPackageTries);
    bool found = false;
    for (int i = 0; i < kPackageTries && !found; ++i) {
      SleepSec(1);
      found = known();
    }
    if (!found) {
      HLOG_ERROR("get firmware file cmd fail");
      return false;
    }
  }
  if (!IsPlainFileName(m_strPackage)) {
    HLOG_ERROR("firmware package [%s] refused : a file name is made of letters, digits and ._+- only",
               m_strPackage.c_str());
    return false;
  }
  if (m_bSupportsProduction) {
    HLOG_INFO("Get if_support_production is true , filename is [%s]", m_strPackage.c_str());
  } else {
    HLOG_INFO("Get if_support_production is false , filename is [%s]", m_strPackage.c_str());
  }
  return true;
}

std::string CAvpUpgrade::RunningVersion() const {
  OSMutexLocker lock(m_pDevice->m_objMutex);
  return m_pDevice->m_firmware_version;
}

bool CAvpUpgrade::ReadRunningVersion() {
  m_strRunningVersion = RunningVersion();
  for (int i = 0; i < kVersionTries && m_strRunningVersion.empty(); ++i) {
    HLOG_WARN("Can't get local avp firmware version, RETRY it");
    SendCmd2AVP::SendGetAvpIdentityCmd(m_strDevID);
    SleepSec(1);
    m_strRunningVersion = RunningVersion();
  }
  if (!m_strRunningVersion.empty()) return true;

  HLOG_ERROR("Can't get local avp firmware version, cancel upgrade");
  HLOG_ERROR("reset avp2000 GLOBAL_RST");
  CBrntPlatform::RunShell(kResetAvp);
  HLOG_INFO("wait %d s for the avp to come back from its reset", kAfterResetSec);
  SleepSec(kAfterResetSec);
  return false;
}

bool CAvpUpgrade::ReadPackageVersion() {
  const std::string path = kPackageFolder + m_strPackage;
  const std::optional<std::vector<T_ZipEntry>> entries = ReadZipEntries(path);
  if (entries.has_value()) {
    std::string name;
    if (const char* fault = FaultOfNames(*entries, name)) {
      HLOG_ERROR("firmware package [%s] refused : [%s] in it %s", path.c_str(), name.c_str(), fault);
      return false;
    }
  } else {
    HLOG_WARN("firmware package [%s] is missing, cut short or no zip archive", path.c_str());
  }
  const bool unpacked = entries.has_value() && Unpack(path);
  if (!unpacked || !ParseJsonRsp::GetVersionFromJsonFile(kVersionFile, m_strPackageVersion)) {
    HLOG_ERROR("Can't get file's avp firmware version from [%s]", kVersionFile);
    return false;
  }
  return true;
}

bool CAvpUpgrade::Unpack(const std::string& path) {
  const int status = CBrntPlatform::RunShell("unzip " + path + " -d /tmp/avp");
  if (status == 0) return true;
  HLOG_WARN("unzip [%s] ended with status %d : %s", path.c_str(), status, MeaningOf(status));
  return status == kUnzipWarned;
}

bool CAvpUpgrade::IsUpToDate() const {
  HLOG_INFO("Compare [%s]  [%s] force upgrade [%d] reupgrade [%d]", m_strRunningVersion.c_str(),
            m_strPackageVersion.c_str(), m_s32Force, m_bReupgrade ? 1 : 0);
  if (m_strRunningVersion != m_strPackageVersion || m_s32Force != 0 || m_bReupgrade) return false;
  const std::string bootStatus = m_pDevice->GetBootStatus();
  if (!bootStatus.empty() && bootStatus != kRegularBoot) {
    HLOG_INFO("pbootstatus is [%s], mandatory upgrade", bootStatus.c_str());
    return false;
  }
  HLOG_INFO("The version number is the same");
  return true;
}

bool CAvpUpgrade::OrderUpdate() {
  if (!m_flag.SetUpgradeFlag()) return false;
  if (!m_bSupportsProduction) {
    HLOG_WARN("supports_production is false , Unexpected");
    return false;
  }
  m_pDevice->SetUpgradeFinishFlag(false);
  HLOG_INFO("update with [%s] ordered, wait until the api server has settled it, however long", m_strPackage.c_str());
  const SInt64 ordered = CBrntPlatform::MonotonicMs();
  if (SendCmd2AVP::SendUpdateCmd(m_strDevID, m_strPackage) == 0) {
    HLOG_ERROR("Do Update Cmd Fail,Upgrade failed !!!");
    return false;
  }
  HLOG_INFO("update settled after %d s", static_cast<int>((CBrntPlatform::MonotonicMs() - ordered) / kSecondMs));
  return true;
}

void CAvpUpgrade::WaitForFinish() {
  HLOG_INFO("wait for the avp to finish, at least %d s and at most %d s", kShortestUpdateSec, kLongestUpdateSec);
  for (int second = 1; second <= kLongestUpdateSec; ++second) {
    SleepSec(1);
    if (second >= kShortestUpdateSec && m_pDevice->GetUpgradeFinishFlag()) {
      HLOG_INFO("avp has finished, waited %d s", second);
      return;
    }
    if (second % kProgressLineSec == 0) HLOG_INFO("waited %d s of at most %d s", second, kLongestUpdateSec);
  }
  HLOG_WARN("avp has not said that it has finished, go on after %d s", kLongestUpdateSec);
}

void CAvpUpgrade::RebootAvp() {
  CBrntPlatform::RunShell(kEmptyUnpackFolder);
  HLOG_INFO("wait %d s before the avp is rebooted", kBeforeRebootSec);
  SleepSec(kBeforeRebootSec);
  SendCmd2AVP::SendRebootCmd(m_strDevID);
  HLOG_INFO("avp reboot ordered, wait %d s for it", kAfterRebootSec);
  SleepSec(kAfterRebootSec);
  CBrntPlatform::RunShell(kLeaveMarker);
}
