#include "udpcmdprocess.h"

#include <atomic>
#include <exception>
#include <memory>

#include "brntdevice.h"
#include "brntjson.h"
#include "brntlog.h"
#include "brntplatform.h"
#include "brntsendcmd.h"
#include "stringprocess.h"
#include "tlv_box.h"

namespace {

std::atomic<bool> g_cmdcoreonlineflag{false};

constexpr char kSubscription[] = "streamSubscription";

// A handler's work on its JSON.
using ReuseOperation = bool (*)(const std::string& id, const Json::Value& json);

bool ParseText(char** args, Json::Value* body) { return brntjson::Parse(args[0], *body); }

// Makes the member that the command is about the message's body; false, with a line in the log, when it is missing,
// empty or no object.
bool SelectMember(Json::Value& body, const char* key, Msg_Box* msg) {
  const Json::Value* member = brntjson::Member(body, key);
  if (member == nullptr || !member->isObject() || member->empty()) {
    HLOG_ERROR("can't found [%s]", key);
    return false;
  }
  msg->s_bodyobject.swap(body[key]);
  return true;
}

// The JSON's "streamSubscription" into the message's body; false, with the reason in the log, when there is none.
bool TakeSubscription(char** args, Msg_Box* msg) {
  if (args[0] == nullptr) return false;
  Json::Value body;
  if (ParseText(args, &body)) return SelectMember(body, kSubscription, msg);
  HLOG_ERROR("can't found parse json : [%s]", kSubscription);
  return false;
}

int RunAssociation(char** args, Msg_Box* msg, ReuseOperation operation) {
  return TakeSubscription(args, msg) && operation(msg->s_deviceid, msg->s_bodyobject);
}

// The whole JSON into the message's body; false, with notJson in the log, when there is none.
bool TakeBody(char** args, Msg_Box* msg, const char* notJson) {
  if (args[0] == nullptr) return false;
  if (ParseText(args, &msg->s_bodyobject)) return true;
  HLOG_ERROR("%s", notJson);
  return false;
}

// The handler's result for that of its operation, with failure in the log when that was none.
int OrElse(bool done, const char* failure) {
  if (!done) HLOG_ERROR("%s", failure);
  return done;
}

// Commands that send data.
int RunOnBody(char** args, Msg_Box* msg, ReuseOperation operation, const char* failure) {
  if (!TakeBody(args, msg, "Is not json data")) return 0;
  return OrElse(operation(msg->s_deviceid, msg->s_bodyobject), failure);
}

// One sub-member of a command and the operation that it goes to.
struct T_Route {
  const char* key;
  ReuseOperation operation;
};
constexpr T_Route kInputRoutes[] = {{"hdmiIn", ReuseHanler::SetTXVideoInput},
                                    {kSubscription, ReuseHanler::SetRXVideoInput}};
constexpr T_Route kOutputRoutes[] = {{"hdmiOut", ReuseHanler::SetRXVideoOutput},
                                     {"streamOut", ReuseHanler::SetTXVideoOutput}};
constexpr T_Route kAssociationRoutes[] = {{"video", ReuseHanler::SetAssociationsVideo},
                                          {"serial", ReuseHanler::SetAssociationsSerial},
                                          {"ir", ReuseHanler::SetAssociationsIR},
                                          {"hid", ReuseHanler::SetAssociationsUSB_HID}};

// Hands every member that section has to its operation; what the operations say does not matter. name is the section's
// name for the line about a member that is not there.
template <size_t N>
void RunRoutes(const std::string& id, const Json::Value& section, const char* name, const T_Route (&routes)[N]) {
  for (const T_Route& route : routes) {
    const Json::Value* member = brntjson::Member(section, route.key);
    if (member == nullptr || !member->isObject()) {
      HLOG_WARN("can't found [%s -> %s]", name, route.key);
    } else {
      route.operation(id, *member);
    }
  }
}

const Json::Value* Section(const Json::Value& body, const char* key) {
  const Json::Value* section = brntjson::Member(body, key);
  return section != nullptr && section->isObject() ? section : nullptr;
}

constexpr char kVideoNotJson[] = "video data is not json format";

void SwitchIrPower(bool on) {
  if (on) {
    HLOG_INFO("Set Ir 12V On");
    CBrntPlatform::RunShell("gpio.py IR_EN 1");
  } else {
    HLOG_INFO("Set Ir 12V Off");
    CBrntPlatform::RunShell("gpio.py IR_EN 0");
  }
}

// Leaves what a device says of itself for the caller.
int Answer(Msg_Box* msg, std::string (CBrntDevice::*text)()) {
  CBrntDevice* local = CBrntDevice::GetBrntDevByID(msg->s_deviceid);
  if (local == nullptr) return 0;
  msg->s_rsp = (local->*text)();
  return 1;
}

int Post(const Msg_Box* msg, E_TIMER_EVENT event) {
  CreateThread();
  SetTimerEvent({msg->s_deviceid, event});
  return 1;
}

}  // namespace

int ApiHandler::GetAssociationsVideoHandler(char**, void*, Msg_Box* msg) {
  return Answer(msg, &CBrntDevice::GetStreamSubscription);
}

int ApiHandler::SetAssociationsVideoHandler(char** args, void*, Msg_Box* msg) {
  const CBrntDevice* local = CBrntDevice::GetBrntDevByID(msg->s_deviceid);
  if (local != nullptr && local->m_bTx != 0) {
    HLOG_INFO("TX can't do this command [switch streamSubscription]");
    return 0;
  }
  if (args[0] == nullptr) return 0;
  HLOG_INFO("Ready to process data : [%s]", args[0]);
  return RunAssociation(args, msg, ReuseHanler::SetAssociationsVideo);
}

int ApiHandler::GetAssociationsSerialHandler(char**, void*, Msg_Box* msg) {
  return Answer(msg, &CBrntDevice::GetStreamSubscriptionSerial);
}

int ApiHandler::SetAssociationsSerialHandler(char** args, void*, Msg_Box* msg) {
  return RunAssociation(args, msg, ReuseHanler::SetAssociationsSerial);
}

int ApiHandler::GetAssociationsIRHandler(char**, void*, Msg_Box* msg) {
  // Deliberate: the infrared tag answers with the USB/HID subscription.
  return Answer(msg, &CBrntDevice::GetStreamSubscriptionHID);
}

int ApiHandler::SetAssociationsIRHandler(char** args, void*, Msg_Box* msg) {
  return RunAssociation(args, msg, ReuseHanler::SetAssociationsIR);
}

int ApiHandler::GetAssociationsUSB_HIDHandler(char** args, void* userdata, Msg_Box* msg) {
  return GetAssociationsIRHandler(args, userdata, msg);
}

int ApiHandler::SetAssociationsUSB_HIDHandler(char** args, void*, Msg_Box* msg) {
  return RunAssociation(args, msg, ReuseHanler::SetAssociationsUSB_HID);
}

int ApiHandler::SetVideoHandler(char** args, void*, Msg_Box* msg) {
  if (!TakeBody(args, msg, kVideoNotJson)) return 0;
  const Json::Value* input = Section(msg->s_bodyobject, "input");
  if (input != nullptr) {
    RunRoutes(msg->s_deviceid, *input, "input", kInputRoutes);
  } else {
    HLOG_WARN("can't found [%s]", "input");
  }
  const Json::Value* output = Section(msg->s_bodyobject, "output");
  if (output != nullptr) {
    RunRoutes(msg->s_deviceid, *output, "output", kOutputRoutes);
  } else {
    HLOG_WARN("can't found [%s]", "output");
  }
  return 1;
}

int ApiHandler::SetSerialHandler(char** args, void*, Msg_Box* msg) {
  if (args[0] == nullptr) return 0;
  Json::Value body;
  if (!ParseText(args, &body)) {
    HLOG_ERROR("can't found parse json");
    return 0;
  }
  g_serialmode = e_mode_to_api;
  ReuseHanler::SetSerialRecvEventPower(msg->s_deviceid, true);
  if (!SelectMember(body, "baud", msg)) return 0;
  return OrElse(ReuseHanler::SetSerialBaud(msg->s_deviceid, msg->s_bodyobject), "Set Serial baud fail!!!");
}

int ApiHandler::SetIRHandler(char** args, void*, Msg_Box* msg) {
  if (!TakeBody(args, msg, "Set Ir fail !!! [Is not json data]")) return 0;
  const Json::Value* subscription = Section(msg->s_bodyobject, kSubscription);
  std::string device;
  if (subscription != nullptr && brntjson::GetString(*subscription, "deviceID", device) &&
      !ReuseHanler::SetAssociationsIR(msg->s_deviceid, *subscription)) {
    HLOG_ERROR("IR association fail!!!");
    return 0;
  }
  bool power = false;
  if (brntjson::GetBool(msg->s_bodyobject, "power12V", power)) SwitchIrPower(power);
  return ReuseHanler::SetIrRecvEventPower(msg->s_deviceid, true);
}

int ApiHandler::SetHidHandler(char** args, void*, Msg_Box* msg) {
  if (args[0] == nullptr) return 0;
  Json::Value body;
  if (!ParseText(args, &body)) {
    HLOG_ERROR("Is not json data");
    return 0;
  }
  if (!SelectMember(body, kSubscription, msg)) return 0;
  return OrElse(ReuseHanler::SetAssociationsUSB_HID(msg->s_deviceid, msg->s_bodyobject), "HID association fail!!!");
}

int ApiHandler::SendSerialData(char** args, void*, Msg_Box* msg) {
  return RunOnBody(args, msg, ReuseHanler::SendSerialData2Avp, "Send Serial data fail!!!");
}

int ApiHandler::SendIrData(char** args, void*, Msg_Box* msg) {
  return RunOnBody(args, msg, ReuseHanler::SendIrData2Avp, "Send ir data fail!!!");
}

int ApiHandler::SendCECData(char** args, void*, Msg_Box* msg) {
  return RunOnBody(args, msg, ReuseHanler::SendCECData2Avp, "Send CEC data fail!!!");
}

int ApiHandler::ResetDevice(char**, void*, Msg_Box* msg) {
  HLOG_INFO("Do Reset ...");
  ReuseHanler::DoAvpReset(msg->s_deviceid);
  return 1;
}

int ApiHandler::CmdCoreOnlineHanler(char**, void*, Msg_Box*) {
  HLOG_INFO("Cmd Core Is Online");
  SetCmdCoreOnline(true);
  return 1;
}

int ApiHandler::SetHdmiOutAudioSrc(char** args, void*, Msg_Box* msg) {
  return RunOnBody(args, msg, ReuseHanler::SendHdmiOutAudSrc2Avp, "set hdmi out audio src data fail!!!");
}

int ApiHandler::SetMultiviewHandler(char** args, void*, Msg_Box* msg) {
  if (args[0] == nullptr) {
    HLOG_ERROR("multiview param is null");
    return 0;
  }
  Json::Value body;
  if (!ParseText(args, &body)) {
    HLOG_ERROR("mv json format err, [%s]", args[0]);
    return 0;
  }
  if (!SelectMember(body, "multiview", msg)) return 0;
  return ReuseHanler::SendMultiviewCmd(msg->s_deviceid, msg->s_bodyobject);
}

int ApiHandler::SetPropertyHandler(char** args, void*, Msg_Box* msg) {
  if (args[0] == nullptr) {
    HLOG_ERROR("property param is null");
    return 0;
  }
  if (!ParseText(args, &msg->s_bodyobject)) {
    HLOG_ERROR("property json format err, [%s]", args[0]);
    return 0;
  }
  return ReuseHanler::SendPropertyCmd(msg->s_deviceid, msg->s_bodyobject);
}

int ApiHandler::GetAssociationsAllHandler(char**, void*, Msg_Box* msg) {
  return Answer(msg, &CBrntDevice::GetStreamSubscriptionALL);
}

int ApiHandler::SetAssociationsAllHandler(char** args, void*, Msg_Box* msg) {
  if (!TakeSubscription(args, msg)) return 0;
  RunRoutes(msg->s_deviceid, msg->s_bodyobject, kSubscription, kAssociationRoutes);
  return 1;
}

int ApiHandler::GetVideoInputHandler(char**, void*, Msg_Box* msg) {
  return Answer(msg, &CBrntDevice::GetVideoInputInfo);
}

int ApiHandler::SetVideoInputHandler(char** args, void*, Msg_Box* msg) {
  if (!TakeBody(args, msg, kVideoNotJson)) return 0;
  RunRoutes(msg->s_deviceid, msg->s_bodyobject, "input", kInputRoutes);
  return 1;
}

int ApiHandler::GetVideoOutputHandler(char**, void*, Msg_Box*) { return 1; }

int ApiHandler::GetVideoHandler(char** args, void* userdata, Msg_Box* msg) {
  return GetVideoOutputHandler(args, userdata, msg);
}

int ApiHandler::SetVideoOutputHandler(char** args, void*, Msg_Box* msg) {
  if (!TakeBody(args, msg, kVideoNotJson)) return 0;
  RunRoutes(msg->s_deviceid, msg->s_bodyobject, "output", kOutputRoutes);
  return 1;
}

int ApiHandler::GetNetstatHandler(Msg_Box* msg) { return SendCmd2AVP::GetNetstat(msg->s_deviceid); }

int ApiHandler::GetEdidHandler(Msg_Box* msg) {
  if (CheckDirAndFileIsExist(kInputEdidFile) != 0) return 1;
  return OrElse(ReuseHanler::SendEdidCmd(msg->s_deviceid, Json::Value()), "send edid cmd fail!!!");
}

int ApiHandler::GetNetstatAndEdidHandler(Msg_Box* msg) { return Post(msg, E_TIMER_GET_NETSTAT_EDID); }

int ApiHandler::CheckVideoWallStatus(Msg_Box* msg) { return Post(msg, E_TIMER_CHECK_VIDEOWALL_STATUS); }

namespace {

// The handlers in the order of the tags' table. The tag stands here once more, so that a row that moves in one of the
// two tables does not compile.
struct T_TagHandler {
  std::uint32_t tag;
  ProcessTlvDataHandler handler;
};
constexpr std::array<T_TagHandler, kCommandTags.size()> kHandlers = {{
    {0x10401, ApiHandler::GetAssociationsVideoHandler},
    {0x10402, ApiHandler::SetAssociationsVideoHandler},
    {0x20401, ApiHandler::GetAssociationsSerialHandler},
    {0x20402, ApiHandler::SetAssociationsSerialHandler},
    {0x30401, ApiHandler::GetAssociationsIRHandler},
    {0x30402, ApiHandler::SetAssociationsIRHandler},
    {0x40401, ApiHandler::GetAssociationsUSB_HIDHandler},
    {0x40402, ApiHandler::SetAssociationsUSB_HIDHandler},
    {0x10202, ApiHandler::SetVideoHandler},
    {0x20202, ApiHandler::SetSerialHandler},
    {0x30202, ApiHandler::SetIRHandler},
    {0x40202, ApiHandler::SetHidHandler},
    {0x20302, ApiHandler::SendSerialData},
    {0x30302, ApiHandler::SendIrData},
    {0x50302, ApiHandler::SendCECData},
    {0x60302, ApiHandler::ResetDevice},
    {0x90503, ApiHandler::CmdCoreOnlineHanler},
    {0x80802, ApiHandler::SetHdmiOutAudioSrc},
    {0x70202, ApiHandler::SetMultiviewHandler},
    {0x80202, ApiHandler::SetPropertyHandler},
}};

constexpr std::array<Tlv_Parse_List, kCommandTags.size()> MakeTaskLists() {
  std::array<Tlv_Parse_List, kCommandTags.size()> rows{};
  for (size_t i = 0; i < rows.size(); ++i) {
    rows[i] = {1, {static_cast<int>(kHandlers[i].tag)}, nullptr, kHandlers[i].handler};
  }
  return rows;
}

constexpr bool HandlersMatchTags() {
  for (size_t i = 0; i < kHandlers.size(); ++i) {
    if (kHandlers[i].tag != kCommandTags[i].tag) return false;
  }
  return true;
}
static_assert(HandlersMatchTags(), "one handler per tag, in the order of the tags' table");

struct T_BoxDeleter {
  void operator()(tlv_box_t* box) const { tlv_box_destroy(box); }
};
using BoxPtr = std::unique_ptr<tlv_box_t, T_BoxDeleter>;
using TextPtr = std::unique_ptr<char[]>;

// The command box of a datagram, or null.
BoxPtr CommandBox(const Msg_Box& msg) {
  const BoxPtr outer(tlv_box_parse(reinterpret_cast<const unsigned char*>(msg.s_msg), msg.s_msg_len));
  tlv_box_t* inner = nullptr;
  if (tlv_box_get_object(outer.get(), kTlvEnvelopeTag, &inner) != 0) return nullptr;
  return BoxPtr(inner);
}

// Room for a text; the zero after the longest one has a place of its own, because a peer may leave its own out.
TextPtr NewText() { return TextPtr(new char[kTlvTextRoom + 1]); }

bool ReadText(const tlv_box_t* box, int tag, char* text, unsigned* pLength) {
  *pLength = kTlvTextRoom;
  if (tlv_box_get_string(box, static_cast<tlv_tag_t>(tag), text, pLength) != 0) return false;
  text[*pLength] = '\0';
  return true;
}

// The first row whose first tag the box holds, with that tag's text; null when there is none.
const Tlv_Parse_List* FindRow(const Tlv_Parse_List* rows, size_t rowCount, const tlv_box_t* box, char* text) {
  for (size_t i = 0; i < rowCount; ++i) {
    if (rows[i].s_tag_num <= 0 || rows[i].s_processhandler == nullptr) {
      HLOG_WARN("Task num : [%d],param error", static_cast<int>(i));
      continue;
    }
    unsigned length = 0;
    if (!ReadText(box, rows[i].s_tag[0], text, &length)) continue;
    HLOG_INFO("msg process Find [%d] tag[%s] len[%d]", static_cast<int>(i), text, static_cast<int>(length));
    return &rows[i];
  }
  return nullptr;
}

int CallHandler(const Tlv_Parse_List& row, char** args, Msg_Box* msg) {
  try {
    return row.s_processhandler(args, row.s_userdata, msg) & 0xff;
  } catch (const std::exception& e) {
    HLOG_ERROR("tag 0x%x dropped: %s", static_cast<unsigned>(row.s_tag[0]), e.what());
    return 0;
  }
}

}  // namespace

const std::array<Tlv_Parse_List, kCommandTags.size()> TlvTaskLists = MakeTaskLists();

int DispatchTlv(const Tlv_Parse_List* rows, size_t rowCount, Msg_Box* msg) {
  const BoxPtr box = CommandBox(*msg);
  if (box == nullptr) {
    HLOG_ERROR("tlv_box_get_object cmd failed !");
    return 0;
  }
  TextPtr texts[kMaxTagsPerRow] = {NewText()};
  const Tlv_Parse_List* row = FindRow(rows, rowCount, box.get(), texts[0].get());
  if (row == nullptr) {
    HLOG_ERROR("Can't found this TLV msg in task list");
    return 0;
  }
  char* args[kMaxTagsPerRow] = {texts[0].get()};
  for (int i = 1; i < row->s_tag_num && i < kMaxTagsPerRow; ++i) {
    texts[i] = NewText();
    unsigned length = 0;
    if (!ReadText(box.get(), row->s_tag[i], texts[i].get(), &length)) continue;
    HLOG_INFO("msg process tag[%d]=[%s]", row->s_tag[i], texts[i].get());
    args[i] = texts[i].get();
  }
  return CallHandler(*row, args, msg);
}

bool IfCmdCoreOnline() { return g_cmdcoreonlineflag; }

void SetCmdCoreOnline(bool online) { g_cmdcoreonlineflag = online; }
