#include "brntsendcmd.h"

// The builders follow; until then nothing is queued.
Bool16 SendCmd2AVP::SendGetVerCmd(const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendGetDeviceCmd(const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendGetAvpIdentityCmd(const std::string&) { return {}; }
Bool16 SendCmd2AVP::GetNetstat(const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendGetEdidCmd(const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendGetFirmwareFileCmd(const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendUpdateCmd(const std::string&, const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendStopCmd(const std::string&, const std::string&, SInt32, bool) { return {}; }
Bool16 SendCmd2AVP::SendStartCmd(const std::string&, const std::string&, SInt32, const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendSubscribeCmd(const std::string&, const std::string&, SInt32, const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendLeaveCmd(const std::string&, const std::string&, SInt32) { return {}; }
Bool16 SendCmd2AVP::SendSwitchCmdWithIP(const std::string&, const std::string&, SInt32, const std::string&) {
  return {};
}
void SendCmd2AVP::ClearSubscribeRetryCmd() {}
Bool16 SendCmd2AVP::SendSetSreialBaudCmd(const std::string&, SInt32, SInt32, SInt32, const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendSetSreialEecvEventCmd(const std::string&, const std::string&, SInt32) { return {}; }
Bool16 SendCmd2AVP::SendRs232DataCmd(const std::string&, SInt32, E_RS232_DATA_MODE, const std::string&,
                                     const std::string&) {
  return {};
}
Bool16 SendCmd2AVP::SendIrDataCmd(const std::string&, const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendCECDataCmd(const std::string&, const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendSetTxEdidCmd(const std::string&, const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendHdcpSupportCmd(const std::string&, bool) { return {}; }
Bool16 SendCmd2AVP::SendHdcpNotSupport22Cmd(const std::string&, bool) { return {}; }
Bool16 SendCmd2AVP::SendHdcpSetModeCmd(const std::string&, E_HDCP_MODE) { return {}; }
Bool16 SendCmd2AVP::SendHdmiOutAudSrcCmd(const std::string&, const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendHdmiOutAudSrcCmd(const std::string&, SInt32, SInt32, SInt32, const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendRemoveAudioCmd(const std::string&, bool) { return {}; }
Bool16 SendCmd2AVP::SendPropertyDeviceModeCmd(const std::string&, const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendRebootCmd(const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendFactoryCmd(const std::string&) { return {}; }
Bool16 SendCmd2AVP::SendRxVideoResCmd(const std::string&, const std::string&, bool, const std::string&, bool) {
  return {};
}
Bool16 SendCmd2AVP::SendRxVideoWallCmd(const std::string&, const Video_Wall_Param*, bool) { return {}; }
bool SendCmd2AVP::CheckVideoWallStatus(const std::string&, SInt32, const T_DisplayDetails&) { return true; }
Video_Wall_Param SendCmd2AVP::SavedVideoWall() { return {}; }
Single_Param SendCmd2AVP::SavedSingle() { return {}; }
Bool16 SendCmd2AVP::SendSetTXScaleCmd(const std::string&, SInt32, SInt32) { return {}; }
Bool16 SendCmd2AVP::SendFrameRateHalvedCmd(const std::string&, SInt32, bool) { return {}; }
Bool16 SendCmd2AVP::GetMVLayout(const std::string&) { return {}; }
Bool16 SendCmd2AVP::CreateMVLayout(const std::string&, const std::string&, SInt32, SInt32) { return {}; }
Bool16 SendCmd2AVP::DeleteMVLayout(const std::string&, const std::string&) { return {}; }
Bool16 SendCmd2AVP::SetMVDisp(const std::string&, const std::string&, const std::string&) { return {}; }
Bool16 SendCmd2AVP::CreateMVWin(const std::string&, const std::string&, const T_MVWindow&) { return {}; }
Bool16 SendCmd2AVP::DeleteMVWin(const std::string&, const std::string&, SInt32) { return {}; }
Bool16 SendCmd2AVP::ExistMVLayout(const std::string&, const std::string&) { return {}; }

OSMutex SendCmd2AVP::s_objWallMutex;
Video_Wall_Param SendCmd2AVP::s_video_wall_param;
Single_Param SendCmd2AVP::s_single_param;
SendCmd2AVP::T_WallWatch SendCmd2AVP::s_tWallWatch;
