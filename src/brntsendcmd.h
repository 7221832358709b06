// The builders of every request to the API server: typed arguments in, one or more queued commands out.
//
// Any thread. A builder checks its input, forms path and body and queues; it never waits for the network, but for
// SendUpdateCmd. Results: 1 queued, 0 when nothing (or, of several requests, not each) was, with the reason in the log.
// The texts of ids, stream types and addresses go out as they are, without any escaping.
//
// brntsendcmd.cpp holds what all builders share and the device reads; the others stand in brntsendstream.cpp (streams
// and subscriptions), brntsendcontrol.cpp (serial, infrared, CEC, EDID, HDCP, audio, properties, reset),
// brntsendvideo.cpp (output, wall and its check, scaler) and brntsendmultiview.cpp.
#pragma once

#include <string>

#include "OSMutex.h"
#include "OSThreadAnnotations.h"
#include "OSTypes.h"
#include "brnttypes.h"

enum E_HDCP_MODE : SInt32 {
  e_hdcp_mode_none = 0,
  e_hdcp_mode_follow_sink_1 = 1,
  e_hdcp_mode_follow_sink_2 = 2,
  e_hdcp_mode_follow_sourse = 3,  // (sic)
};

enum E_RS232_DATA_MODE : SInt32 { e_rs232_mode_none = 0, e_rs232_mode_ascii = 1, e_rs232_mode_hex = 2 };

// One screen's place in a video wall.
struct Video_Wall_Param {
  std::string i_videotiming;  // a text of the timing table
  SInt32 i_maxRow = 0;
  SInt32 i_maxColumn = 0;
  SInt32 i_posRow = 0;
  SInt32 i_posColumn = 0;
  SInt32 bezelHoriz = 0;
  SInt32 bezelVert = 0;
  std::string i_stretchType;           // "STRETCH", "KEEP" or "CROP"
  std::string i_wallMode = "genlock";  // "fastSwitch", "genlock" or "auto"; case does not matter
};

// A single full-screen picture.
struct Single_Param {
  std::string strScaler;  // a text of the timing table, or "bypass"
  bool bVideoWall = false;
  std::string wallMode;
};

// One window of a multiview layout, in pixels.
struct T_MVWindow {
  SInt32 s32Index = 0;  // its number in the layout; the lower one lies on top
  SInt32 s32HorizontalPosition = 0;
  SInt32 s32VerticalPosition = 0;
  SInt32 s32Width = 0;
  SInt32 s32Height = 0;
  SInt32 s32HorizontalOffset = 0;
  SInt32 s32VerticalOffset = 0;
  SInt32 s32TargetSurface = 0;
};

struct T_VideoWallDetails;  // brntdevice.h

class SendCmd2AVP {
 public:
  // Device reads.
  static Bool16 SendGetVerCmd(const std::string& id);
  static Bool16 SendGetDeviceCmd(const std::string& id);
  static Bool16 SendGetAvpIdentityCmd(const std::string& id);
  static Bool16 GetNetstat(const std::string& id);
  static Bool16 SendGetEdidCmd(const std::string& id);

  // Firmware. SendUpdateCmd waits until the server has settled the request; not for the proxy task.
  static Bool16 SendGetFirmwareFileCmd(const std::string& id);
  static Bool16 SendUpdateCmd(const std::string& id, const std::string& fileName);
  // The whole upgrade of the local device, which takes minutes (brntavpupgrade.h). True when it was upgraded or is up
  // to date. With force other than 0 equal versions are no reason to leave it. Main thread.
  static bool DoAvpUpgrade(std::string id, int force);

  // Streams and subscriptions. An index below 0 leaves every subscription of the type.
  static Bool16 SendStopCmd(const std::string& id, const std::string& type, SInt32 index, bool free);
  static Bool16 SendStartCmd(const std::string& id, const std::string& type, SInt32 index,
                             const std::string& destination);
  static Bool16 SendSubscribeCmd(const std::string& id, const std::string& type, SInt32 index,
                                 const std::string& source);
  static Bool16 SendLeaveCmd(const std::string& id, const std::string& type, SInt32 index);
  static Bool16 SendSwitchCmdWithIP(const std::string& id, const std::string& type, SInt32 index,
                                    const std::string& destination);
  // Forgets the failed subscriptions that wait to be sent again.
  static void ClearSubscribeRetryCmd();

  // Serial port, infrared, CEC. The parity is sent only when it is "none", "odd" or "even".
  static Bool16 SendSetSreialBaudCmd(const std::string& id, SInt32 baud, SInt32 dataBits, SInt32 stopBits,
                                     const std::string& parity);                                          // (sic)
  static Bool16 SendSetSreialEecvEventCmd(const std::string& id, const std::string& type, SInt32 index);  // (sic)
  static Bool16 SendRs232DataCmd(const std::string& id, SInt32 port, E_RS232_DATA_MODE mode, const std::string& data,
                                 const std::string& ending);
  static Bool16 SendIrDataCmd(const std::string& id, const std::string& data);
  static Bool16 SendCECDataCmd(const std::string& id, const std::string& data);

  // EDID and HDCP. The EDID is text of 512 hexadecimal digits.
  static Bool16 SendSetTxEdidCmd(const std::string& id, const std::string& edid);
  static Bool16 SendHdcpSupportCmd(const std::string& id, bool enable);
  static Bool16 SendHdcpNotSupport22Cmd(const std::string& id, bool disable);
  static Bool16 SendHdcpSetModeCmd(const std::string& id, E_HDCP_MODE mode);

  // Audio, properties, reset.
  static Bool16 SendHdmiOutAudSrcCmd(const std::string& id, const std::string& source);
  static Bool16 SendHdmiOutAudSrcCmd(const std::string& id, SInt32 samplingFrequency, SInt32 channels,
                                     SInt32 channelAllocation, const std::string& encodingType);
  static Bool16 SendRemoveAudioCmd(const std::string& id, bool remove);
  static Bool16 SendPropertyDeviceModeCmd(const std::string& id, const std::string& mode);
  static Bool16 SendRebootCmd(const std::string& id);
  static Bool16 SendFactoryCmd(const std::string& id);

  // Output of a decoder. With save set the parameters become the last asked for, and the wall check starts afresh.
  static Bool16 SendRxVideoResCmd(const std::string& id, const std::string& timing, bool videoWall,
                                  const std::string& wallMode, bool save);
  static Bool16 SendRxVideoWallCmd(const std::string& id, const Video_Wall_Param* param, bool save)
      EXCLUDES(s_objWallMutex);
  // Compares what the device shows with the last wall command; follows the source in wall mode "auto" and reports
  // changes to cmd_core. index is that of the frame buffer.
  static bool CheckVideoWallStatus(const std::string& id, SInt32 index, const T_VideoWallDetails& details)
      EXCLUDES(s_objWallMutex);
  // The last parameters saved.
  static Video_Wall_Param SavedVideoWall() EXCLUDES(s_objWallMutex);
  static Single_Param SavedSingle() EXCLUDES(s_objWallMutex);

  // Scaler and frame rate of an encoder's streams.
  static Bool16 SendSetTXScaleCmd(const std::string& id, SInt32 width, SInt32 height);
  static Bool16 SendFrameRateHalvedCmd(const std::string& id, SInt32 index, bool halved);

  // Multiview. Layout names stand in the path as they are: callers check them.
  static Bool16 GetMVLayout(const std::string& id);
  static Bool16 CreateMVLayout(const std::string& id, const std::string& layout, SInt32 width, SInt32 height);
  static Bool16 DeleteMVLayout(const std::string& id, const std::string& layout);
  static Bool16 SetMVDisp(const std::string& id, const std::string& layout, const std::string& timing);
  static Bool16 CreateMVWin(const std::string& id, const std::string& layout, const T_MVWindow& window);
  static Bool16 DeleteMVWin(const std::string& id, const std::string& layout, SInt32 window);
  static Bool16 ExistMVLayout(const std::string& id, const std::string& layout);  // sends nothing, says so in the log

 private:
  // What the wall check knows.
  struct T_WallWatch {
    bool bActive = false;      // a wall command is what was last asked for
    std::string strSentMode;   // "display_mode" of the last request sent for it
    std::string strShownMode;  // what the device showed at the last check, wall or not
  };

  static void EndWallWatch() EXCLUDES(s_objWallMutex);
  static Bool16 SwitchAutoWallLocked(const std::string& id, const T_VideoWallDetails& details, std::string* pMode)
      REQUIRES(s_objWallMutex);

  // Held while a wall request is queued, so that a check's request never follows a newer command's. The objects behind
  // references live until the process is gone: threads outlive main.
  static OSMutex& s_objWallMutex;
  static Video_Wall_Param& s_video_wall_param GUARDED_BY(s_objWallMutex);
  static Single_Param& s_single_param GUARDED_BY(s_objWallMutex);
  static T_WallWatch& s_tWallWatch GUARDED_BY(s_objWallMutex);
};
