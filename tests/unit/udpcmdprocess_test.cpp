// From datagram to handler: the table of tags, what each handler takes out of its JSON, and what it logs.
#include "udpcmdprocess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "brntdevice.h"
#include "brntjson.h"
#include "commandfixture.h"
#include "hostile.h"
#include "reportframe.h"

namespace {

using request::Leave;
using request::LeaveAll;
using request::ReceiveEvents;
using request::Stop;
using request::Subscribe;
using request::SwitchAddress;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

T_Request Netstat() { return CRequestCapture::Post(AVP_MSG_GET_NETSTAT, R"({"op":"netstat","option":"read"})"); }
T_Request ReadEdid() { return CRequestCapture::Post(AVP_MSG_GETEDID, R"({"op":"get","subset":"edid"})"); }
T_Request Factory() { return CRequestCapture::Post(AVP_MSG_SEND_FACTORY, R"({"op":"factory"})"); }

// One datagram's bytes; several records under the envelope's tag.
std::string Envelope(const std::string& records) { return reportframe::EncodeRecord(kTlvEnvelopeTag, records); }

std::string TextRecord(std::uint32_t tag, const std::string& text) {
  return reportframe::EncodeRecord(tag, text + std::string(1, '\0'));
}

// Datagrams in, handler results and their traces out.
class Dispatch : public CommandFixture {
 protected:
  ~Dispatch() override {
    SetCmdCoreOnline(false);
    g_serialmode = e_mode_default;
    std::remove(kInputEdidFile);
  }

  int SendBytes(std::string bytes, const Tlv_Parse_List* rows, size_t rowCount) {
    m_msg = Msg_Box();
    m_msg.s_msg = bytes.data();
    m_msg.s_msg_len = static_cast<int>(bytes.size());
    m_msg.s_deviceid = kId;
    return DispatchTlv(rows, rowCount, &m_msg);
  }
  int SendBytes(const std::string& bytes) { return SendBytes(bytes, TlvTaskLists.data(), TlvTaskLists.size()); }

  int Send(std::uint32_t tag, const std::string& text) { return SendBytes(Envelope(TextRecord(tag, text))); }

  // What the handler works on.
  std::string Body() const { return brntjson::Write(m_msg.s_bodyobject); }

  Msg_Box m_msg;
};

TEST(TaskLists, HaveOneRowForEachTagWithOneTextAndNoUserData) {
  ASSERT_EQ(TlvTaskLists.size(), 20u);
  std::set<int> tags;
  for (size_t i = 0; i < TlvTaskLists.size(); ++i) {
    EXPECT_EQ(TlvTaskLists[i].s_tag_num, 1) << i;
    EXPECT_EQ(static_cast<std::uint32_t>(TlvTaskLists[i].s_tag[0]), kCommandTags[i].tag) << i;
    EXPECT_EQ(TlvTaskLists[i].s_userdata, nullptr) << i;
    tags.insert(TlvTaskLists[i].s_tag[0]);
  }
  EXPECT_EQ(tags.size(), 20u);
}

struct T_RowRow {
  int row;
  int tag;
  ProcessTlvDataHandler handler;
};
class TaskList : public testing::TestWithParam<T_RowRow> {};

TEST_P(TaskList, NamesItsHandler) {
  const Tlv_Parse_List& row = TlvTaskLists.at(static_cast<size_t>(GetParam().row));
  EXPECT_EQ(row.s_tag[0], GetParam().tag);
  EXPECT_EQ(row.s_processhandler, GetParam().handler);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, TaskList,
    testing::Values(
        T_RowRow{0, 0x10401, ApiHandler::GetAssociationsVideoHandler},
        T_RowRow{1, 0x10402, ApiHandler::SetAssociationsVideoHandler},
        T_RowRow{2, 0x20401, ApiHandler::GetAssociationsSerialHandler},
        T_RowRow{3, 0x20402, ApiHandler::SetAssociationsSerialHandler},
        T_RowRow{4, 0x30401, ApiHandler::GetAssociationsIRHandler},
        T_RowRow{5, 0x30402, ApiHandler::SetAssociationsIRHandler},
        T_RowRow{6, 0x40401, ApiHandler::GetAssociationsUSB_HIDHandler},
        T_RowRow{7, 0x40402, ApiHandler::SetAssociationsUSB_HIDHandler},
        T_RowRow{8, 0x10202, ApiHandler::SetVideoHandler}, T_RowRow{9, 0x20202, ApiHandler::SetSerialHandler},
        T_RowRow{10, 0x30202, ApiHandler::SetIRHandler}, T_RowRow{11, 0x40202, ApiHandler::SetHidHandler},
        T_RowRow{12, 0x20302, ApiHandler::SendSerialData}, T_RowRow{13, 0x30302, ApiHandler::SendIrData},
        T_RowRow{14, 0x50302, ApiHandler::SendCECData}, T_RowRow{15, 0x60302, ApiHandler::ResetDevice},
        T_RowRow{16, 0x90503, ApiHandler::CmdCoreOnlineHanler}, T_RowRow{17, 0x80802, ApiHandler::SetHdmiOutAudioSrc},
        T_RowRow{18, 0x70202, ApiHandler::SetMultiviewHandler}, T_RowRow{19, 0x80202, ApiHandler::SetPropertyHandler}),
    [](const auto& row) { return "Row" + std::to_string(row.param.row); });

TEST_F(Dispatch, LogsTheRowTheTextAndItsLengthWithTheZero) {
  EXPECT_EQ(Send(0x50302, R"({"data":"40"})"), 1);
  EXPECT_EQ(m_log.PriorityOf(R"(msg process Find [14] tag[{"data":"40"}] len[14])"), 600);
}

TEST_F(Dispatch, TakesTheLowerRowOfTwoKnownTags) {
  EXPECT_EQ(SendBytes(Envelope(TextRecord(0x90503, "") + TextRecord(0x60302, ""))), 1);
  EXPECT_THAT(Requests(), ElementsAre(Factory()));
  EXPECT_FALSE(IfCmdCoreOnline());
}

TEST_F(Dispatch, FindsACommandBesideUnknownRecords) {
  EXPECT_EQ(SendBytes(TextRecord(9, "x") + Envelope(TextRecord(0x77777, "y") + TextRecord(0x60302, ""))), 1);
  EXPECT_THAT(Requests(), ElementsAre(Factory()));
}

TEST_F(Dispatch, RefusesADatagramWithoutACommandBox) {
  EXPECT_EQ(SendBytes(TextRecord(4, "x")), 0);
  EXPECT_EQ(SendBytes("garbage"), 0);
  EXPECT_EQ(SendBytes(""), 0);
  EXPECT_EQ(m_log.Count("tlv_box_get_object cmd failed !"), 3u);
  EXPECT_EQ(m_log.PriorityOf("tlv_box_get_object cmd failed !"), 300);
  EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(Dispatch, RefusesAnUnknownTag) {
  EXPECT_EQ(Send(0x10403, "{}"), 0);
  EXPECT_EQ(SendBytes(Envelope("")), 0);
  EXPECT_THAT(Errors(), ElementsAre("Can't found this TLV msg in task list", "Can't found this TLV msg in task list"));
  EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(Dispatch, TakesATextThatJustFits) {
  const std::string text = R"({"data":"40"})" + std::string(8191 - 13, ' ');
  EXPECT_EQ(Send(0x50302, text), 1);
}

TEST_F(Dispatch, CountsATextBeyondItsRoomAsAbsent) {
  const std::string text = R"({"data":"40"})" + std::string(8192 - 13, ' ');
  EXPECT_EQ(Send(0x50302, text), 0);
  EXPECT_THAT(Errors(), ElementsAre("Can't found this TLV msg in task list"));
}

TEST_F(Dispatch, ReadsATextWithoutItsZero) {
  EXPECT_EQ(SendBytes(Envelope(reportframe::EncodeRecord(0x50302, R"({"data":"40"})"))), 1);
  EXPECT_EQ(SendBytes(Envelope(reportframe::EncodeRecord(0x50302, R"({"data":"40"})" + std::string(8192 - 13, ' ')))),
            1);
  EXPECT_EQ(SendBytes(Envelope(reportframe::EncodeRecord(0x60302, ""))), 1);
}

TEST_F(Dispatch, CutsATextAtItsFirstZero) {
  EXPECT_EQ(SendBytes(Envelope(reportframe::EncodeRecord(0x50302, std::string("{\"data\":\"40\"}\0garbage", 21)))), 1);
}

// Rows of a test's own: what the table may say beside one tag and a handler.
int g_calls = 0;
std::vector<std::string> g_args;
void* g_userdata = nullptr;

int KeepArgs(char** args, void* userdata, Msg_Box*) {
  ++g_calls;
  g_userdata = userdata;
  g_args.clear();
  for (int i = 0; i < kMaxTagsPerRow; ++i) g_args.emplace_back(args[i] == nullptr ? "(null)" : args[i]);
  return 0x1ff;
}

int Throw(char**, void*, Msg_Box*) { throw std::runtime_error("a shape nobody thought of"); }

TEST_F(Dispatch, HandsOverTheTextsOfARowWithSeveralTagsAndItsUserData) {
  int userdata = 0;
  const Tlv_Parse_List rows[] = {{3, {0x11, 0x12, 0x13}, &userdata, KeepArgs}};
  EXPECT_EQ(SendBytes(Envelope(TextRecord(0x13, "third") + TextRecord(0x11, "first")), rows, 1), 0xff)
      << "the low 8 bits";
  EXPECT_THAT(g_args, ElementsAre("first", "(null)", "third", "(null)", "(null)"));
  EXPECT_EQ(g_userdata, &userdata);
  EXPECT_EQ(m_log.PriorityOf("msg process tag[19]=[third]"), 600);
}

TEST_F(Dispatch, SelectsARowByItsFirstTagAlone) {
  const Tlv_Parse_List rows[] = {{2, {0x11, 0x12}, nullptr, KeepArgs}};
  EXPECT_EQ(SendBytes(Envelope(TextRecord(0x12, "second")), rows, 1), 0);
  EXPECT_THAT(Errors(), ElementsAre("Can't found this TLV msg in task list"));
}

TEST_F(Dispatch, ReadsNoMoreTagsThanARowCanHold) {
  const Tlv_Parse_List rows[] = {{9, {1, 2, 4, 5, 6}, nullptr, KeepArgs}};
  SendBytes(Envelope(TextRecord(1, "a") + TextRecord(6, "e")), rows, 1);
  EXPECT_THAT(g_args, ElementsAre("a", "(null)", "(null)", "(null)", "e"));
}

TEST_F(Dispatch, PassesOverRowsWithoutTagsOrHandler) {
  const Tlv_Parse_List rows[] = {{0, {0x11}, nullptr, KeepArgs},
                                 {1, {0x11}, nullptr, nullptr},
                                 {-1, {0x11}, nullptr, KeepArgs},
                                 {1, {0x11}, nullptr, KeepArgs}};
  g_calls = 0;
  EXPECT_EQ(SendBytes(Envelope(TextRecord(0x11, "x")), rows, 4), 0xff);
  EXPECT_EQ(g_calls, 1);
  EXPECT_EQ(m_log.PriorityOf("Task num : [0],param error"), 400);
  EXPECT_EQ(m_log.PriorityOf("Task num : [1],param error"), 400);
  EXPECT_EQ(m_log.PriorityOf("Task num : [2],param error"), 400);
}

TEST_F(Dispatch, DropsAMessageWhoseHandlerThrows) {
  const Tlv_Parse_List rows[] = {{1, {0x11}, nullptr, Throw}};
  EXPECT_EQ(SendBytes(Envelope(TextRecord(0x11, "x")), rows, 1), 0);
  EXPECT_THAT(Errors(), ElementsAre("tag 0x11 dropped: a shape nobody thought of"));
}

// One command through its row of the table: what it queues and the line that it costs.
struct T_HandlerRow {
  std::string name;
  std::uint32_t tag;
  std::string json;
  int result;
  std::vector<T_Request> requests;
  std::vector<std::string> errors;
};

class Handler : public Dispatch, public testing::WithParamInterface<T_HandlerRow> {};

TEST_P(Handler, DoesExactlyThis) {
  EXPECT_EQ(Send(GetParam().tag, GetParam().json), GetParam().result);
  EXPECT_EQ(Requests(), GetParam().requests);
  EXPECT_EQ(Errors(), GetParam().errors);
}

std::string HandlerName(const testing::TestParamInfo<T_HandlerRow>& row) { return row.param.name; }

const std::vector<T_Request> kVideoOfA = {LeaveAll("HDMI"), Subscribe("HDMI", 0, "235.14.33.231"),
                                          Leave("hdmi_audio", 0)};

T_Request Cec() { return CRequestCapture::Post(AVP_MSG_SEND_CEC_DATA, R"({"data_hex":"40","op":"send:cec"})"); }

T_Request Serial() {
  return CRequestCapture::Post(AVP_MSG_SEND_SERIAL_DATA, R"({"data_string":"A","op":"send:rs232","port_index":0})");
}

std::vector<T_Request> SerialSettings() {
  std::vector<T_Request> requests = {ReceiveEvents("RS232")};
  for (const char* member : {"baud_rate", "data_bits", "stop_bits"}) {
    requests.push_back(
        CRequestCapture::Property(AVP_MSG_SET_SERIAL_ATTR, std::string("nodes[UART:0].configuration.") + member, "1"));
  }
  return requests;
}

INSTANTIATE_TEST_SUITE_P(
    Associations, Handler,
    testing::Values(
        T_HandlerRow{"Video", 0x10402, R"({"streamSubscription":{"avpDeviceId":"0016c04e21e7"}})", 1, kVideoOfA, {}},
        T_HandlerRow{"VideoWithComments",
                     0x10402,
                     "/* a */ {\"streamSubscription\":{\"avpDeviceId\":\"0016c04e21e7\"}} // b",
                     1,
                     kVideoOfA,
                     {}},
        T_HandlerRow{"VideoThatIsNoJson",
                     0x10402,
                     "streamSubscription",
                     0,
                     {},
                     {"can't found parse json : [streamSubscription]"}},
        T_HandlerRow{"VideoNestedTooDeep",
                     0x10402,
                     std::string(4000, '[') + std::string(4000, ']'),
                     0,
                     {},
                     {"can't found parse json : [streamSubscription]"}},
        T_HandlerRow{"VideoWithoutItsMember",
                     0x10402,
                     R"({"avpDeviceId":"0016c04e21e7"})",
                     0,
                     {},
                     {"can't found [streamSubscription]"}},
        T_HandlerRow{"VideoOfAnEmptyMember",
                     0x10402,
                     R"({"streamSubscription":{}})",
                     0,
                     {},
                     {"can't found [streamSubscription]"}},
        T_HandlerRow{"VideoOfAMemberOfTheWrongType",
                     0x10402,
                     R"({"streamSubscription":"0016c04e21e7"})",
                     0,
                     {},
                     {"can't found [streamSubscription]"}},
        T_HandlerRow{"VideoThatIsNoObject", 0x10402, "[1,2]", 0, {}, {"can't found [streamSubscription]"}},
        T_HandlerRow{"VideoWithoutAnId", 0x10402, R"({"streamSubscription":{"streamIndex":0}})", 0, {}, {}},
        T_HandlerRow{"Serial",
                     0x20402,
                     R"({"streamSubscription":{"deviceID":"0016c04e21e7"}})",
                     1,
                     {SwitchAddress("RS232", "192.168.7.31")},
                     {}},
        T_HandlerRow{"SerialThatIsNoJson", 0x20402, "{", 0, {}, {"can't found parse json : [streamSubscription]"}},
        T_HandlerRow{"SerialWithoutItsMember", 0x20402, "{}", 0, {}, {"can't found [streamSubscription]"}},
        T_HandlerRow{"Infrared",
                     0x30402,
                     R"({"streamSubscription":{"deviceID":"0016c04e21e7"}})",
                     1,
                     {SwitchAddress("INFRARED", "192.168.7.31")},
                     {}},
        T_HandlerRow{"InfraredThatIsNoJson", 0x30402, "", 0, {}, {"can't found parse json : [streamSubscription]"}},
        T_HandlerRow{"InfraredWithoutItsMember", 0x30402, "null", 0, {}, {"can't found [streamSubscription]"}},
        T_HandlerRow{"Hid", 0x40402, R"({"streamSubscription":{"deviceID":"null"}})", 1, {Stop("USB_HID", 0)}, {}},
        T_HandlerRow{"HidThatIsNoJson", 0x40402, "}", 0, {}, {"can't found parse json : [streamSubscription]"}},
        T_HandlerRow{"HidWithoutItsMember", 0x40402, "{}", 0, {}, {"can't found [streamSubscription]"}},
        T_HandlerRow{"HidWithoutAnIdIsSilent", 0x40402, R"({"streamSubscription":{"a":1}})", 0, {}, {}}),
    HandlerName);

INSTANTIATE_TEST_SUITE_P(
    Ports, Handler,
    testing::Values(
        T_HandlerRow{
            "SerialSettings", 0x20202, R"({"baud":{"baudRate":1,"databits":1,"stopbits":1}})", 1, SerialSettings(), {}},
        T_HandlerRow{"SerialSettingsWithoutBaudSwitchReceptionOn",
                     0x20202,
                     "{}",
                     0,
                     {ReceiveEvents("RS232")},
                     {"can't found [baud]"}},
        T_HandlerRow{"SerialSettingsOfAnEmptyBaud",
                     0x20202,
                     R"({"baud":{}})",
                     0,
                     {ReceiveEvents("RS232")},
                     {"can't found [baud]"}},
        T_HandlerRow{
            "SerialSettingsThatAreNoJson", 0x20202, "9600", 0, {ReceiveEvents("RS232")}, {"can't found [baud]"}},
        T_HandlerRow{"SerialSettingsThatDoNotParse", 0x20202, "baud", 0, {}, {"can't found parse json"}},
        T_HandlerRow{"InfraredSettings",
                     0x30202,
                     R"({"streamSubscription":{"deviceID":"0016c04e21e7"}})",
                     1,
                     {SwitchAddress("INFRARED", "192.168.7.31"), ReceiveEvents("INFRARED")},
                     {}},
        T_HandlerRow{"InfraredSettingsOfNothing", 0x30202, "{}", 1, {ReceiveEvents("INFRARED")}, {}},
        T_HandlerRow{"InfraredSettingsWithoutADevice",
                     0x30202,
                     R"({"streamSubscription":{"a":1}})",
                     1,
                     {ReceiveEvents("INFRARED")},
                     {}},
        T_HandlerRow{"InfraredSettingsOfADeviceOfTheWrongType",
                     0x30202,
                     R"({"streamSubscription":{"deviceID":7}})",
                     1,
                     {ReceiveEvents("INFRARED")},
                     {}},
        T_HandlerRow{"InfraredSettingsThatAreNoJson", 0x30202, "x", 0, {}, {"Set Ir fail !!! [Is not json data]"}},
        T_HandlerRow{"HidSettings", 0x40202, R"({"streamSubscription":{"deviceID":""}})", 1, {Stop("USB_HID", 0)}, {}},
        T_HandlerRow{"HidSettingsWithoutTheirMember", 0x40202, "{}", 0, {}, {"can't found [streamSubscription]"}},
        T_HandlerRow{"HidSettingsWithoutADevice",
                     0x40202,
                     R"({"streamSubscription":{"a":1}})",
                     0,
                     {},
                     {"HID association fail!!!"}},
        T_HandlerRow{"HidSettingsThatAreNoJson", 0x40202, "x", 0, {}, {"Is not json data"}},
        T_HandlerRow{"SerialData", 0x20302, R"({"mode":"ascii","terminator":"","data":"A"})", 1, {Serial()}, {}},
        T_HandlerRow{"SerialDataWithoutAMode", 0x20302, "{}", 0, {}, {"Not found mode", "Send Serial data fail!!!"}},
        T_HandlerRow{"SerialDataThatIsNoJson", 0x20302, "A", 0, {}, {"Is not json data"}},
        T_HandlerRow{"InfraredData", 0x30302, R"({"format":"pronto","data":"0000"})", 1, {}, {}},
        T_HandlerRow{"InfraredDataWithoutAFormat", 0x30302, "{}", 0, {}, {"Not found format", "Send ir data fail!!!"}},
        T_HandlerRow{"InfraredDataThatIsNoJson", 0x30302, "pronto", 0, {}, {"Is not json data"}},
        T_HandlerRow{"CecData", 0x50302, R"({"data":"40"})", 1, {Cec()}, {}},
        T_HandlerRow{
            "CecDataThatIsNoHex", 0x50302, R"({"data":"x"})", 0, {}, {"Not Hex Format", "Send CEC data fail!!!"}},
        T_HandlerRow{"CecDataThatIsNoJson", 0x50302, "'", 0, {}, {"Is not json data"}}),
    HandlerName);

INSTANTIATE_TEST_SUITE_P(
    Others, Handler,
    testing::Values(
        T_HandlerRow{"Reset", 0x60302, "", 1, {Factory()}, {}},
        T_HandlerRow{"ResetLooksAtNoJson", 0x60302, "not json", 1, {Factory()}, {}},
        T_HandlerRow{
            "Audio",
            0x80802,
            R"({"hdmi_out_audio_src":"hdmi-audio"})",
            1,
            {CRequestCapture::Property(AVP_MSG_HDMIOUT_AUD_SRC,
                                       "nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value", "2")},
            {}},
        T_HandlerRow{"AudioThatIsNoJson", 0x80802, "x", 0, {}, {"Is not json data"}},
        T_HandlerRow{"MultiviewThatIsNoJson", 0x70202, "x{", 0, {}, {"mv json format err, [x{]"}},
        T_HandlerRow{"MultiviewWithoutItsMember", 0x70202, R"({"layout":"quad"})", 0, {}, {"can't found [multiview]"}},
        T_HandlerRow{"MultiviewWithAFault",
                     0x70202,
                     R"({"multiview":{"layout":"quad"}})",
                     0,
                     {},
                     {"set multiview,but [scaler] of the layout is missing"}},
        T_HandlerRow{"PropertyThatIsNoJson", 0x80202, "%s%n", 0, {}, {"property json format err, [%s%n]"}},
        T_HandlerRow{"PropertyOfAReceiver",
                     0x80202,
                     R"({"deviceMode":"RECEIVER"})",
                     0,
                     {},
                     {"TR or RX device Can't Set property"}},
        T_HandlerRow{"VideoSettingsThatAreNoJson", 0x10202, "x", 0, {}, {"video data is not json format"}}),
    HandlerName);

TEST_F(Dispatch, CarriesOutTheExampleOfEveryCommand) {
  BecomeA(e_TRX);
  for (const T_CommandTag& command : kCommandTags) {
    m_log.Clear();
    EXPECT_EQ(Send(command.tag, std::string(command.example)), 1) << command.name;
    EXPECT_THAT(Errors(), IsEmpty()) << command.name;
  }
}

TEST_F(Dispatch, RefusesVideoAssociationsOnATransmitterBeforeItReadsTheJson) {
  BecomeA(e_TX);
  EXPECT_EQ(Send(0x10402, "not json"), 0);
  EXPECT_EQ(m_log.PriorityOf("TX can't do this command [switch streamSubscription]"), 600);
  EXPECT_THAT(Errors(), IsEmpty());
  EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(Dispatch, TakesVideoAssociationsOnATransceiver) {
  BecomeA(e_TRX);
  EXPECT_EQ(Send(0x10402, R"({"streamSubscription":{"avpDeviceId":"0016c04e21e7"}})"), 1);
  EXPECT_EQ(Requests(), kVideoOfA);
  EXPECT_EQ(m_log.PriorityOf(R"(Ready to process data : [{"streamSubscription":{"avpDeviceId":"0016c04e21e7"}}])"),
            600);
}

TEST_F(Dispatch, KeepsTheSelectedMemberOrTheWholeBodyInTheMessage) {
  Send(0x20402, R"({"a":1,"streamSubscription":{"deviceID":""}})");
  EXPECT_EQ(Body(), "{\"deviceID\":\"\"}\n");
  Send(0x50302, R"({"data":"40","a":1})");
  EXPECT_EQ(Body(), "{\"a\":1,\"data\":\"40\"}\n");
}

TEST_F(Dispatch, MarksCmdCoreOnline) {
  EXPECT_FALSE(IfCmdCoreOnline());
  EXPECT_EQ(Send(0x90503, ""), 1);
  EXPECT_TRUE(IfCmdCoreOnline());
  EXPECT_EQ(m_log.PriorityOf("Cmd Core Is Online"), 600);
}

TEST_F(Dispatch, LogsAReset) {
  Send(0x60302, "");
  EXPECT_EQ(m_log.PriorityOf("Do Reset ..."), 600);
}

TEST_F(Dispatch, PutsTheSerialPortIntoApiMode) {
  Send(0x20202, "{}");
  EXPECT_EQ(g_serialmode, e_mode_to_api);
}

struct T_PowerRow {
  const char* name;
  const char* json;
  std::vector<std::string> commands;
  const char* line;
};
class IrPower : public Dispatch, public testing::WithParamInterface<T_PowerRow> {};

TEST_P(IrPower, IsSwitchedByACommandBeforeReception) {
  EXPECT_EQ(Send(0x30202, GetParam().json), 1);
  EXPECT_EQ(m_platform.Commands(), GetParam().commands);
  EXPECT_EQ(m_log.PriorityOf("Set Ir 12V"), *GetParam().line == '\0' ? 0 : 600);
  EXPECT_TRUE(m_log.Contains(GetParam().line));
  EXPECT_THAT(Requests(), ElementsAre(ReceiveEvents("INFRARED")));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, IrPower,
    testing::Values(T_PowerRow{"On", R"({"power12V":true})", {"gpio.py IR_EN 1"}, "Set Ir 12V On"},
                    T_PowerRow{"Off", R"({"power12V":false})", {"gpio.py IR_EN 0"}, "Set Ir 12V Off"},
                    T_PowerRow{"WrongType", R"({"power12V":1})", {}, ""},
                    T_PowerRow{"JsonNull", R"({"power12V":null})", {}, ""}, T_PowerRow{"Missing", "{}", {}, ""}),
    [](const auto& row) { return std::string(row.param.name); });

// Messages that no well-behaved peer sends. Whatever comes, the next good command works.
class HostileMessages : public Dispatch {
 protected:
  HostileMessages() { BecomeA(e_TRX); }

  static std::uint32_t TagOf(const std::string& name) {
    const T_CommandTag* command = reportframe::FindCommand(name);
    return command == nullptr ? 0 : command->tag;
  }

  void ExpectTheNextCommandToWork() {
    Requests();
    EXPECT_EQ(Send(0x50302, R"({"data":"40"})"), 1);
    EXPECT_THAT(Requests(), ElementsAre(Cec()));
  }
};

TEST_F(HostileMessages, WithEveryWrongTypeForEveryKeyAreOutlived) {
  size_t sent = 0;
  for (const hostile::T_Row& command : hostile::FullCommands()) {
    ASSERT_NE(TagOf(command.name), 0u) << command.name;
    for (const hostile::T_Row& wrong : hostile::WrongTyped(command.bytes)) {
      Send(TagOf(command.name), wrong.bytes);
      ++sent;
    }
    ExpectTheNextCommandToWork();
  }
  EXPECT_GT(sent, 500u);
}

TEST_F(HostileMessages, WithAnyTextForAnyCommandAreOutlived) {
  for (const T_CommandTag& command : kCommandTags) {
    for (const hostile::T_Row& text : hostile::JsonTexts(kTlvTextRoom - 1)) Send(command.tag, text.bytes);
    ExpectTheNextCommandToWork();
  }
}

TEST_F(HostileMessages, ThatAreNoBoxesAreOutlived) {
  for (const hostile::T_Row& datagram : hostile::Datagrams()) SendBytes(datagram.bytes);
  ExpectTheNextCommandToWork();
}

TEST_F(HostileMessages, ThatAreAlmostGoodAreOutlived) {
  const std::vector<hostile::T_Row> good = hostile::GoodDatagrams();
  std::mt19937 random(4711);
  for (size_t i = 0; i < 3000; ++i) {
    SendBytes(hostile::Mutate(good[i % good.size()].bytes, random));
    SendBytes(hostile::Noise(300, random));
  }
  ExpectTheNextCommandToWork();
}

// What the "get" commands leave for the caller.
class Answers : public Dispatch {
 protected:
  Answers() {
    CBrntDevice* local = CBrntDevice::GetBrntDevByID(kId);
    OSMutexLocker locker(local->m_objMutex);
    local->m_avpdeviceid = "video";
    local->m_RxSerialDeviceid = "serial";
    local->m_RxIRDeviceid = "ir";
    local->m_RxHIDDeviceid = "hid";
  }

  // The text that the tag's handler leaves must be that of the device.
  void ExpectAnswer(std::uint32_t tag, const std::string& text, const std::string& id) {
    EXPECT_EQ(Send(tag, ""), 1);
    EXPECT_EQ(m_msg.s_rsp, text);
    EXPECT_NE(m_msg.s_rsp.find('"' + id + '"'), std::string::npos) << m_msg.s_rsp;
  }

  CBrntDevice& Local() { return *CBrntDevice::GetBrntDevByID(kId); }
};

TEST_F(Answers, NameTheVideoSubscription) { ExpectAnswer(0x10401, Local().GetStreamSubscription(), "video"); }

TEST_F(Answers, NameTheSerialSubscription) { ExpectAnswer(0x20401, Local().GetStreamSubscriptionSerial(), "serial"); }

TEST_F(Answers, DeliberatelyNameTheHidSubscriptionUnderTheInfraredTag) {
  ExpectAnswer(0x30401, Local().GetStreamSubscriptionHID(), "hid");
}

TEST_F(Answers, NameTheHidSubscription) { ExpectAnswer(0x40401, Local().GetStreamSubscriptionHID(), "hid"); }

TEST_F(Answers, NeedADevice) {
  Msg_Box nobody;
  EXPECT_EQ(ApiHandler::GetAssociationsVideoHandler(nullptr, nullptr, &nobody), 0);
  EXPECT_EQ(nobody.s_rsp, "");
}

// Video settings: which section goes where, and the lines about those that are not there.
class VideoSettings : public Dispatch {
 protected:
  // Without those of the proxy task, which looks for the text link meanwhile.
  std::vector<std::string> Warnings() const {
    std::vector<std::string> warnings;
    for (const T_LogLine& line : m_log.Lines()) {
      if (line.priority == 400 && line.text != "s_pBrntClientAgent is NULL") warnings.push_back(line.text);
    }
    return warnings;
  }

  int Set(const std::string& json) { return Send(0x10202, json); }
};

TEST_F(VideoSettings, SendInputAndOutputSectionsWhereTheyBelong) {
  BecomeA(e_TRX);
  EXPECT_EQ(Set(R"({"input":{"hdmiIn":{"hdcpCapability":"Unsupport"},)"
                R"("streamSubscription":{"avpDeviceId":"0016c04e21e7"}},)"
                R"("output":{"hdmiOut":{"hdcpMethod":"Follow Source"},"streamOut":{"streams":{"avpStream1":)"
                R"({"enable":false}}}}})"),
            1);
  EXPECT_THAT(
      Requests(),
      ElementsAre(CRequestCapture::Property(AVP_MSG_HDCPSUPPORT,
                                            "nodes[HDMI_DECODER:0].configuration.hdcp_support_enable", "false"),
                  LeaveAll("HDMI"), Subscribe("HDMI", 0, "235.14.33.231"), Leave("hdmi_audio", 0),
                  CRequestCapture::Property(AVP_MSG_HDCPMODE, "nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode",
                                            R"("FOLLOW_SOURCE")"),
                  Stop("HDMI", 1), Stop("HDMI_AUDIO", 1)));
  EXPECT_THAT(Warnings(), IsEmpty());
}

TEST_F(VideoSettings, WarnAboutMissingSectionsAndAreDone) {
  EXPECT_EQ(Set("{}"), 1);
  EXPECT_THAT(Warnings(), ElementsAre("can't found [input]", "can't found [output]"));
}

TEST_F(VideoSettings, CountSectionsOfTheWrongTypeAsMissing) {
  EXPECT_EQ(Set(R"({"input":1,"output":"hdmiOut"})"), 1);
  EXPECT_EQ(Set("[]"), 1);
  EXPECT_EQ(Warnings().size(), 4u);
}

TEST_F(VideoSettings, WarnAboutMissingMembersOfASection) {
  EXPECT_EQ(Set(R"({"input":{},"output":{"hdmiOut":null,"streamOut":[]}})"), 1);
  EXPECT_THAT(Warnings(), ElementsAre("can't found [input -> hdmiIn]", "can't found [input -> streamSubscription]",
                                      "can't found [output -> hdmiOut]", "can't found [output -> streamOut]"));
}

TEST_F(VideoSettings, GoOnAfterABranchThatFails) {
  EXPECT_EQ(Set(R"({"input":{"hdmiIn":{},"streamSubscription":{"avpDeviceId":""}}})"), 1);
  EXPECT_THAT(Errors(), Contains("It's not a TX device,can't do this command [set video input EDID and HDCP]"));
  EXPECT_THAT(Requests(), ElementsAre(Leave("HDMI", 0)));
}

// Handlers that take a null slot, and those that no row names.
class DirectCall : public Dispatch {
 protected:
  int Call(ProcessTlvDataHandler handler, const std::string& text) {
    std::string copy = text;
    char* args[kMaxTagsPerRow] = {copy.data()};
    return CallWith(handler, args);
  }
  int CallWithout(ProcessTlvDataHandler handler) {
    char* args[kMaxTagsPerRow] = {};
    return CallWith(handler, args);
  }

 private:
  int CallWith(ProcessTlvDataHandler handler, char** args) {
    m_msg = Msg_Box();
    m_msg.s_deviceid = kId;
    return handler(args, nullptr, &m_msg);
  }
};

TEST_F(DirectCall, OfAHandlerOfJsonWithoutATextIsRefused) {
  for (const size_t row : {1u, 3u, 5u, 7u, 8u, 9u, 10u, 11u, 12u, 13u, 14u, 17u}) {
    EXPECT_EQ(CallWithout(TlvTaskLists[row].s_processhandler), 0) << row;
  }
  EXPECT_THAT(m_log.Lines(), IsEmpty());
  EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(DirectCall, OfThePropertyAndMultiviewHandlersWithoutATextIsLogged) {
  EXPECT_EQ(CallWithout(ApiHandler::SetPropertyHandler), 0);
  EXPECT_EQ(CallWithout(ApiHandler::SetMultiviewHandler), 0);
  EXPECT_THAT(Errors(), ElementsAre("property param is null", "multiview param is null"));
}

TEST_F(DirectCall, SetsAllAssociationsAtOnce) {
  EXPECT_EQ(Call(ApiHandler::SetAssociationsAllHandler,
                 R"({"streamSubscription":{"video":{"avpDeviceId":""},"serial":{"deviceID":"0016c04e21e7"},)"
                 R"("ir":{"deviceID":"0016c04e21e7"},"hid":{"deviceID":""}}})"),
            1);
  EXPECT_THAT(Requests(), ElementsAre(Leave("HDMI", 0), SwitchAddress("RS232", "192.168.7.31"),
                                      SwitchAddress("INFRARED", "192.168.7.31"), Stop("USB_HID", 0)));
}

TEST_F(DirectCall, SetsTheAssociationsThatAreThere) {
  EXPECT_EQ(Call(ApiHandler::SetAssociationsAllHandler, R"({"streamSubscription":{"hid":{"deviceID":""}}})"), 1);
  EXPECT_THAT(Requests(), ElementsAre(Stop("USB_HID", 0)));
  EXPECT_EQ(m_log.PriorityOf("can't found [streamSubscription -> video]"), 400);
  EXPECT_EQ(Call(ApiHandler::SetAssociationsAllHandler, "{}"), 0);
  EXPECT_EQ(Call(ApiHandler::SetAssociationsAllHandler, "x"), 0);
  EXPECT_THAT(Errors(),
              ElementsAre("can't found [streamSubscription]", "can't found parse json : [streamSubscription]"));
  EXPECT_EQ(CallWithout(ApiHandler::SetAssociationsAllHandler), 0);
}

TEST_F(DirectCall, LeavesAllAssociationsAndTheVideoInput) {
  CBrntDevice& local = *CBrntDevice::GetBrntDevByID(kId);
  EXPECT_EQ(CallWithout(ApiHandler::GetAssociationsAllHandler), 1);
  EXPECT_EQ(m_msg.s_rsp, local.GetStreamSubscriptionALL());
  EXPECT_EQ(CallWithout(ApiHandler::GetVideoInputHandler), 1);
  EXPECT_EQ(m_msg.s_rsp, local.GetVideoInputInfo());
}

TEST_F(DirectCall, SetsTheVideoInput) {
  BecomeA(e_TRX);
  EXPECT_EQ(Call(ApiHandler::SetVideoInputHandler,
                 R"({"hdmiIn":{"hdcpCapability":"Unsupport"},"streamSubscription":{"avpDeviceId":""}})"),
            1);
  EXPECT_THAT(Requests(),
              ElementsAre(CRequestCapture::Property(AVP_MSG_HDCPSUPPORT,
                                                    "nodes[HDMI_DECODER:0].configuration.hdcp_support_enable", "false"),
                          Leave("HDMI", 0)));
  EXPECT_EQ(Call(ApiHandler::SetVideoInputHandler, "x"), 0);
  EXPECT_EQ(CallWithout(ApiHandler::SetVideoInputHandler), 0);
}

TEST_F(DirectCall, SetsTheVideoOutput) {
  BecomeA(e_TRX);
  EXPECT_EQ(
      Call(ApiHandler::SetVideoOutputHandler,
           R"({"hdmiOut":{"hdcpMethod":"Follow Source"},"streamOut":{"streams":{"avpStream1":{"enable":false}}}})"),
      1);
  EXPECT_THAT(Requests(), ElementsAre(CRequestCapture::Property(AVP_MSG_HDCPMODE,
                                                                "nodes[HDMI_ENCODER:0].configuration.hdcp_output_mode",
                                                                R"("FOLLOW_SOURCE")"),
                                      Stop("HDMI", 1), Stop("HDMI_AUDIO", 1)));
  EXPECT_EQ(Call(ApiHandler::SetVideoOutputHandler, "x"), 0);
  EXPECT_EQ(CallWithout(ApiHandler::SetVideoOutputHandler), 0);
}

TEST_F(DirectCall, OfTheVideoOutputReaderDoesNothing) {
  EXPECT_EQ(CallWithout(ApiHandler::GetVideoOutputHandler), 1);
  EXPECT_EQ(CallWithout(ApiHandler::GetVideoHandler), 1);
  EXPECT_EQ(m_msg.s_rsp, "");
  EXPECT_THAT(Requests(), IsEmpty());
}

class Tick : public Dispatch {
 protected:
  Tick() { m_msg.s_deviceid = kId; }
};

TEST_F(Tick, AsksForNetstatAtOnce) {
  EXPECT_EQ(ApiHandler::GetNetstatHandler(&m_msg), 1);
  EXPECT_THAT(Requests(), ElementsAre(Netstat()));
}

TEST_F(Tick, AsksForTheEdidUntilItIsStored) {
  EXPECT_EQ(ApiHandler::GetEdidHandler(&m_msg), 1);
  EXPECT_THAT(Requests(), ElementsAre(ReadEdid()));
  std::ofstream(kInputEdidFile) << "00";
  EXPECT_EQ(ApiHandler::GetEdidHandler(&m_msg), 1);
  EXPECT_THAT(Requests(), IsEmpty());
}

TEST_F(Tick, LeavesTheRestToTheWorker) {
  EXPECT_EQ(ApiHandler::GetNetstatAndEdidHandler(&m_msg), 1);
  EXPECT_EQ(ApiHandler::CheckVideoWallStatus(&m_msg), 1);
  EXPECT_THAT(Requests(), IsEmpty());
  TIMER_EVENT_T event;
  ASSERT_EQ(GetTimerEvent(event), 1);
  EXPECT_EQ(event.eEvent, E_TIMER_GET_NETSTAT_EDID);
  EXPECT_EQ(event.strDevice, kId);
  ASSERT_EQ(GetTimerEvent(event), 1);
  EXPECT_EQ(event.eEvent, E_TIMER_CHECK_VIDEOWALL_STATUS);
  EXPECT_EQ(GetTimerEvent(event), 0);
}

}  // namespace
