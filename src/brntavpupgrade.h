// Upgrade mode: installs a firmware package from local storage on the local AV processor.
//
// The procedure marks itself with a flag file before it orders the update and removes it when all is done, so that an
// upgrade cut short by a power loss is done again at the next run, whatever the versions say.
#pragma once

#include <string>
#include <utility>

#include "OSTypes.h"

class CBrntDevice;

// The flag file of an upgrade in progress. What counts is that it is there; an empty or half-written one counts too.
class CAvpUpgradeFlag {
 public:
  static constexpr char kPath[] = "/var/avpupgrading";

  explicit CAvpUpgradeFlag(std::string path = kPath) : m_strPath(std::move(path)) {}

  // Creates the file with its content and sees both on the disk, its folder included; on a file that is there already
  // only the latter. False, with an ERROR line, when any of this fails: no upgrade may begin then.
  [[nodiscard]] bool SetUpgradeFlag() const;

  // Removes the file, and sees the removal on the disk.
  bool ClearUpgradeFlag() const;

  // True for a plain file of any content.
  bool ExistUpgradeFlag() const;

 private:
  bool CreateFlag() const;
  bool SyncFlag() const;

  const std::string m_strPath;
};

// One upgrade, from the package's name to the AV processor's reboot. It waits for minutes and logs what for. Never on a
// thread of the proxy's pool, whose work it waits for; on the main thread a stop signal still ends the process.
class CAvpUpgrade {
 public:
  // id: the local device. With force other than 0 equal versions are no reason to leave it.
  CAvpUpgrade(const std::string& id, int force);

  // True when the AV processor was upgraded, or runs the package's version already. False when the procedure gave up;
  // the log says why. Once the flag file is set, only a complete upgrade removes it.
  bool Run();

 private:
  // The steps, in order; false ends the procedure, but for IsUpToDate, where true does.
  bool FindPackage();
  bool ReadRunningVersion();
  bool ReadPackageVersion();
  bool IsUpToDate() const;
  bool OrderUpdate();
  void WaitForFinish();
  void RebootAvp();

  std::string RunningVersion() const;
  static bool Unpack(const std::string& path);

  const std::string m_strDevID;
  const SInt32 m_s32Force;
  CBrntDevice* const m_pDevice;  // null for an empty id
  const CAvpUpgradeFlag m_flag;
  bool m_bReupgrade = false;
  std::string m_strPackage;  // file name
  bool m_bSupportsProduction = false;
  std::string m_strRunningVersion;
  std::string m_strPackageVersion;
};
