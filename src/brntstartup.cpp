#include "brntstartup.h"

#include <getopt.h>

#include <cstdio>
#include <string>

#include "OSThread.h"
#include "brntasynctask.h"
#include "brntcmd.h"
#include "brntlog.h"
#include "brntmanageavpip.h"
#include "brntparsersp.h"
#include "brntplatform.h"
#include "brntsendcmd.h"
#include "brntudptask.h"
#include "stringprocess.h"
#include "udpcmdprocess.h"

T_InitData Myinitdata;

namespace {

constexpr char kLocalHost[] = "127.0.0.1";
constexpr unsigned short kApiPort = 8080;
constexpr UInt16 kMasterPort = 9991;
constexpr int kDiscoveryStackSize = 1024 * 1024;

constexpr SInt64 kMasterLinkDelayMs = 2000;  // the proxy's tasks are there before the first command can come
constexpr SInt64 kAnnounceIntervalMs = 1000;
constexpr SInt64 kKeepAliveIntervalMs = 5000;

// Deliberate: the first hit decides, so a model number with "RX" anywhere in it is a decoder, "TRX" included.
struct T_RoleMark {
  const char* mark;
  E_DEVICE_MODE mode;
};
constexpr T_RoleMark kRoleMarks[] = {{"RX", e_RX}, {"TX", e_TX}, {"TR", e_TRX}};

E_DEVICE_MODE RoleOf(const std::string& model) {
  for (const T_RoleMark& role : kRoleMarks) {
    if (StrProcess::FindFlagFromStr(model, role.mark) != 0) return role.mode;
  }
  return e_unknow;
}

void AnnounceUntilOnline() {
  while (!IfCmdCoreOnline()) {
    HLOG_INFO("Tell Cmd Core ,Avp Is Online");
    ReportAsyncMsg(e_event_online, "avp on line");
    CBrntPlatform::SleepMs(kAnnounceIntervalMs);
  }
}

// Deliberate: cmd_core's state is not looked at again, so a cmd_core that goes away is not announced to a second time.
[[noreturn]] void KeepAlive() {
  while (true) {
    CBrntPlatform::SleepMs(kKeepAliveIntervalMs);
    ReportAsyncMsg(e_event_alive, "avp alive");
  }
}

}  // namespace

int CheckInputParameters(int argc, char** argv) {
  // Deliberate: "forceupgrade" is not in the help text.
  static constexpr option kLongOptions[] = {
      {"help", no_argument, nullptr, 'h'},
      {"mac", required_argument, nullptr, 'm'},
      {"upgrade", no_argument, nullptr, 'u'},
      {"forceupgrade", no_argument, nullptr, 'f'},
      {nullptr, 0, nullptr, 0},
  };

  if (argc <= 1) {
    HALYARD_HELP(argc == 1 ? argv[0] : "halyard");
    return 0;
  }
  Myinitdata.s32ForceUpgrade = 0;
  optind = 0;  // a fresh scan, whatever getopt has done before
  for (int letter = 0; (letter = getopt_long(argc, argv, "hufm:", kLongOptions, nullptr)) != -1;) {
    switch (letter) {
      case 'm':
        Myinitdata.s_deviceid += optarg;
        break;
      case 'u':
        Myinitdata.g_upgradeflag = true;
        break;
      case 'f':
        Myinitdata.s32ForceUpgrade = 1;
        break;
      default:
        HALYARD_HELP(argv[0]);
        return 0;
    }
  }
  // Deliberate: a missing id ends start-up without a word.
  return Myinitdata.s_deviceid.empty() ? 0 : 1;
}

void HALYARD_HELP(const char* progName) {
  std::printf("%s need [options]:\n", progName);
  std::printf("\t-h --help\t\tshow this help\n");
  std::printf("\t-m --mac\t\tset local avp mac address\n");
  std::printf("\t-u --upgrade\tEnter the upgrade mode without processing any external API commands\n");
  std::printf("eg : [%s -m 0016c04e21e7] or [%s -u -m 0016c04e21e7]\n", progName, progName);
}

bool DetectRole(const char* path) {
  std::string model;
  ParseJsonRsp::GetModeFromJsonFile(path, model);  // says on standard output why it left the model empty
  if (StrProcess::IsEmpty(model) != 0) return false;
  Myinitdata.s_mode = RoleOf(model);
  return Myinitdata.s_mode != e_unknow;
}

void StartFramework(const char* progName, const char* logConfigPath) {
  brntlog::Configure(logConfigPath);
  OSThread::SetExceptionHook([](const char* line) { HLOG_ERROR("%s", line); });
  HLOG_INFO("program:%s startup", progName);
  if (Myinitdata.g_upgradeflag) AsyncTask::SetUpgradeMode(1);
  CBrntCmd::Init(kLocalHost, kApiPort, &Myinitdata);
}

void RunNormalMode() {
  HLOG_INFO("avp proxy run with mode--[%d] mac--[%s]", Myinitdata.s_mode, Myinitdata.s_deviceid.c_str());
  StartDoAsyncMsg(Myinitdata.s_deviceid.c_str(), Myinitdata.s_mode);
  AvpIpManage::DoCollectAvpIp(kDiscoveryStackSize);
  CBrntPlatform::SleepMs(kMasterLinkDelayMs);
  UdpForMaster masterLink;  // in use until the process ends: this function does not return
  masterLink.Init(kLocalHost, kMasterPort, Myinitdata.s_deviceid.c_str());
  AnnounceUntilOnline();
  KeepAlive();
}

int RunUpgradeMode() {
  HLOG_INFO("Do AVP Upgrade,Please Wait patiently ...");
  const bool upgraded = SendCmd2AVP::DoAvpUpgrade(Myinitdata.s_deviceid, Myinitdata.s32ForceUpgrade);
  if (upgraded) {
    HLOG_INFO("Do AVP Upgrade Finish,success");
  } else {
    HLOG_INFO("Do AVP Upgrade Finish,failed !!!");
  }
  return 0;  // Deliberate: the log tells success from failure, the exit status does not.
}
