// Serial, infrared and CEC commands: JSON in, exact requests, queued sends and shell commands out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "brntcmdworker.h"
#include "brntdevice.h"
#include "commandfixture.h"
#include "reusehanler.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

T_Request Uart(const std::string& member, const std::string& value) {
  return CRequestCapture::Property(AVP_MSG_SET_SERIAL_ATTR, "nodes[UART:0].configuration." + member, value);
}

std::vector<T_Request> Baud(const std::string& baud, const std::string& data, const std::string& stop,
                            const std::string& parity = "") {
  std::vector<T_Request> requests = {Uart("baud_rate", baud), Uart("data_bits", data), Uart("stop_bits", stop)};
  if (!parity.empty()) requests.push_back(Uart("parity", "\"" + parity + "\""));
  return requests;
}

T_Request SerialData(const std::string& escaped) {
  return CRequestCapture::Post(AVP_MSG_SEND_SERIAL_DATA,
                               R"({"data_string":")" + escaped + R"(","op":"send:rs232","port_index":0})");
}

T_Request Cec(const std::string& digits) {
  return CRequestCapture::Post(AVP_MSG_SEND_CEC_DATA, R"({"data_hex":")" + digits + R"(","op":"send:cec"})");
}

T_CommandRow SetBaud(const std::string& name, const std::string& json, const std::vector<T_Request>& requests) {
  return {"Baud" + name, ReuseHanler::SetSerialBaud, json, requests, true};
}

T_CommandRow SendSerial(const std::string& name, const std::string& json, const std::vector<T_Request>& requests,
                        bool result = true) {
  return {"Serial" + name, ReuseHanler::SendSerialData2Avp, json, requests, result};
}

T_CommandRow SendCec(const std::string& name, const std::string& json, const std::vector<T_Request>& requests,
                     bool result = true) {
  return {"Cec" + name, ReuseHanler::SendCECData2Avp, json, requests, result};
}

class PortCommand : public CommandFixture,
                    public testing::WithParamInterface<std::tuple<T_CommandRow, E_DEVICE_MODE>> {};

TEST_P(PortCommand, QueuesExactlyThisInEveryRole) {
  RunRow(std::get<0>(GetParam()), {{e_TX, e_RX, e_TRX}, ""}, std::get<1>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, PortCommand,
    testing::Combine(
        testing::Values(
            SetBaud("Complete", R"({"lineOrder":"DCE","baudRate":9600,"databits":8,"stopbits":1,"parity":"none"})",
                    Baud("9600", "8", "1", "none")),
            SetBaud("NothingGiven", "{}", Baud("0", "0", "0")),
            SetBaud("NoRangeIsChecked", R"({"baudRate":-5,"databits":99,"stopbits":7,"parity":"even"})",
                    Baud("-5", "99", "7", "even")),
            SetBaud("WrongTypes", R"({"lineOrder":1,"baudRate":"9600","databits":[],"stopbits":true,"parity":0})",
                    Baud("0", "0", "0")),
            SetBaud("BaudRateBeyond32Bits", R"({"baudRate":4294967296,"databits":8,"stopbits":1})",
                    Baud("0", "8", "1")),
            SetBaud("UnknownLineOrderSetsTheRateAllTheSame", R"({"lineOrder":"dce","baudRate":115200})",
                    Baud("115200", "0", "0")),
            SetBaud("UnknownParity", R"({"baudRate":9600,"databits":8,"stopbits":1,"parity":"mark"})",
                    Baud("9600", "8", "1")),
            SendSerial("Ascii", R"({"mode":"ascii","terminator":"crlf","data":"PWR?"})", {SerialData(R"(PWR?\r\n)")}),
            SendSerial("Hex", R"({"mode":"hex","terminator":"cr","data":"4869"})", {SerialData(R"(\\x48\\x69\\x0d)")}),
            SendSerial("WithoutATerminator", R"({"mode":"ascii","data":"PWR?"})", {SerialData("PWR?")}),
            SendSerial("TerminatorOfTheWrongType", R"({"mode":"ascii","terminator":13,"data":"PWR?"})",
                       {SerialData("PWR?")}),
            SendSerial("UnknownTerminator", R"({"mode":"ascii","terminator":"tab","data":"PWR?"})",
                       {SerialData("PWR?")}),
            SendSerial("WithoutAMode", R"({"data":"PWR?"})", {}, false),
            SendSerial("ModeOfTheWrongType", R"({"mode":2,"data":"PWR?"})", {}, false),
            SendSerial("ModeInCapitals", R"({"mode":"HEX","data":"48"})", {}, false),
            SendSerial("WithoutData", R"({"mode":"ascii","terminator":"cr"})", {}, false),
            SendSerial("DataOfTheWrongType", R"({"mode":"ascii","terminator":"cr","data":5})", {}, false),
            SendSerial("EmptyData", R"({"mode":"ascii","terminator":"cr","data":""})", {}, false),
            SendSerial("OddHex", R"({"mode":"hex","terminator":"cr","data":"123"})", {}, false),
            SendSerial("NoObject", "17", {}, false), SendCec("Hex", R"({"data":"4004"})", {Cec("4004")}),
            SendCec("NoHex", R"({"data":"40 04"})", {}, false), SendCec("Empty", R"({"data":""})", {}, false),
            SendCec("WithoutData", "{}", {}, false), SendCec("DataOfTheWrongType", R"({"data":4004})", {}, false),
            SendCec("NoObject", R"(["data"])", {}, false)),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

class SerialSettings : public CommandFixture {
 protected:
  void SetLineOrder(const std::string& lineOrder) {
    Run(ReuseHanler::SetSerialBaud, R"({"lineOrder":")" + lineOrder + R"("})");
  }
};

TEST_F(SerialSettings, SwitchTheLineOrderByACommand) {
  SetLineOrder("DCE");
  EXPECT_THAT(m_platform.Commands(), ElementsAre("gpio.py RS232_Mode 0"));
  EXPECT_EQ(CBrntDevice::GetBrntDevByID(kId)->GetUartInfo().m_strLineOrder, "DCE");
  SetLineOrder("DTE");
  EXPECT_THAT(m_platform.Commands(), ElementsAre("gpio.py RS232_Mode 0", "gpio.py RS232_Mode 1"));
  EXPECT_EQ(CBrntDevice::GetBrntDevByID(kId)->GetUartInfo().m_strLineOrder, "DTE");
}

TEST_F(SerialSettings, RunNoCommandForAnUnknownLineOrder) {
  SetLineOrder("DTE");
  m_platform.ForgetRecords();
  SetLineOrder("dce; reboot");
  EXPECT_THAT(m_platform.Commands(), IsEmpty());
  EXPECT_EQ(m_log.PriorityOf("Unknow [dce; reboot]"), 300);
  EXPECT_EQ(CBrntDevice::GetBrntDevByID(kId)->GetUartInfo().m_strLineOrder, "DTE");
}

TEST_F(SerialSettings, RunNoCommandWithoutALineOrder) {
  Run(ReuseHanler::SetSerialBaud, R"({"baudRate":9600})");
  EXPECT_THAT(m_platform.Commands(), IsEmpty());
}

class Reception : public CommandFixture {
 protected:
  ~Reception() override { g_serialmode = e_mode_default; }
};

TEST_F(Reception, OfSerialDataIsSwitchedOn) {
  EXPECT_TRUE(ReuseHanler::SetSerialRecvEventPower(kId, true));
  EXPECT_THAT(Requests(), ElementsAre(request::ReceiveEvents("RS232")));
  EXPECT_EQ(m_log.PriorityOf("Set Serial Recv Data On"), 600);
}

TEST_F(Reception, OfSerialDataIsSwitchedOffInApiMode) {
  g_serialmode = e_mode_to_api;
  EXPECT_TRUE(ReuseHanler::SetSerialRecvEventPower(kId, false));
  EXPECT_THAT(Requests(), ElementsAre(request::Stop("RS232", 0)));
  EXPECT_EQ(m_log.PriorityOf("Set Serial Recv Data Off"), 600);
}

TEST_F(Reception, OfSerialDataStaysOnInOtherModes) {
  g_serialmode = e_mode_to_device;
  EXPECT_TRUE(ReuseHanler::SetSerialRecvEventPower(kId, false));
  EXPECT_THAT(Requests(), IsEmpty());
  EXPECT_THAT(Errors(), ElementsAre("Can't Set Serial Recv Data Off,Because RunMode is Error [1]"));
}

TEST_F(Reception, OfInfraredDataHasNoMode) {
  g_serialmode = e_mode_to_device;
  EXPECT_TRUE(ReuseHanler::SetIrRecvEventPower(kId, true));
  EXPECT_TRUE(ReuseHanler::SetIrRecvEventPower(kId, false));
  EXPECT_THAT(Requests(), ElementsAre(request::ReceiveEvents("INFRARED"), request::Stop("INFRARED", 0)));
  EXPECT_EQ(m_log.PriorityOf("Set Ir Recv Data On"), 600);
  EXPECT_EQ(m_log.PriorityOf("Set Ir Recv Data Off"), 600);
}

class PortLog : public CommandFixture {};

TEST_F(PortLog, NamesWhatASerialCommandLacks) {
  Run(ReuseHanler::SendSerialData2Avp, R"({"data":"x"})");
  EXPECT_THAT(Errors(), ElementsAre("Not found mode"));
  m_log.Clear();
  Run(ReuseHanler::SendSerialData2Avp, R"({"mode":"ascii"})");
  EXPECT_EQ(m_log.PriorityOf("Not found terminator"), 400);
  EXPECT_THAT(Errors(), ElementsAre("Not found data"));
  m_log.Clear();
  Run(ReuseHanler::SendSerialData2Avp, R"({"mode":"HEX","terminator":"cr","data":"x"})");
  EXPECT_THAT(Errors(), ElementsAre("Unknow mode : [HEX]"));
}

TEST_F(PortLog, NamesWhatACecCommandLacks) {
  Run(ReuseHanler::SendCECData2Avp, "{}");
  EXPECT_THAT(Errors(), ElementsAre("Not found data"));
}

// One infrared command and the send that it must queue.
struct T_IrRow {
  const char* name;
  const char* json;
  SInt32 repeat;
  SInt32 delay;
  const char* data;
  std::vector<std::string> errors;
};

class IrSend : public CommandFixture, public testing::WithParamInterface<T_IrRow> {};

TEST_P(IrSend, QueuesForTheWorker) {
  EXPECT_TRUE(Run(ReuseHanler::SendIrData2Avp, GetParam().json));
  EXPECT_THAT(Requests(), IsEmpty());
  IR_CMD_T cmd;
  ASSERT_EQ(GetIrCmd(cmd), 1);
  EXPECT_EQ(cmd.s32Repeat, GetParam().repeat);
  EXPECT_EQ(cmd.s32Interval, 0);
  EXPECT_EQ(cmd.s32Delay, GetParam().delay);
  EXPECT_EQ(cmd.strData, GetParam().data);
  EXPECT_EQ(cmd.strDevice, kId);
  EXPECT_EQ(Errors(), GetParam().errors);
  EXPECT_EQ(GetIrCmdSize(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, IrSend,
    testing::Values(
        T_IrRow{"Complete",
                R"({"format":"pronto","data":"0000 006d","repeatTimes":3,"interval":0,"delay":100})",
                3,
                100,
                "0000 006d",
                {}},
        T_IrRow{"NothingOptional", R"({"format":"pronto","data":"0000"})", 0, 0, "0000", {}},
        T_IrRow{"LargestValues",
                R"({"format":"pronto","data":"0000","repeatTimes":255,"interval":1000,"delay":1000})",
                255,
                1000,
                "0000",
                {}},
        T_IrRow{"DeliberatelyNeverAnInterval", R"({"format":"pronto","data":"0000","interval":500})", 0, 0, "0000", {}},
        T_IrRow{"RepeatTooLarge",
                R"({"format":"pronto","data":"0000","repeatTimes":256})",
                0,
                0,
                "0000",
                {"s32RepeatTimes:256 err, valid [0,255], set default 0"}},
        T_IrRow{"RepeatNegative",
                R"({"format":"pronto","data":"0000","repeatTimes":-1})",
                0,
                0,
                "0000",
                {"s32RepeatTimes:-1 err, valid [0,255], set default 0"}},
        T_IrRow{"IntervalTooLarge",
                R"({"format":"pronto","data":"0000","interval":2000})",
                0,
                0,
                "0000",
                {"s32Interval:2000 err, valid [0,1000], set default 0"}},
        T_IrRow{"IntervalNegative",
                R"({"format":"pronto","data":"0000","interval":-1})",
                0,
                0,
                "0000",
                {"s32Interval:-1 err, valid [0,1000], set default 0"}},
        T_IrRow{"DelayTooLarge",
                R"({"format":"pronto","data":"0000","delay":1001})",
                0,
                0,
                "0000",
                {"s32Delay:1001 err, valid [0,1000], set default 0"}},
        T_IrRow{"DelayNegative",
                R"({"format":"pronto","data":"0000","delay":-1})",
                0,
                0,
                "0000",
                {"s32Delay:-1 err, valid [0,1000], set default 0"}},
        T_IrRow{"NumbersOfTheWrongType",
                R"({"format":"pronto","data":"0000","repeatTimes":"2","interval":"3","delay":true})",
                0,
                0,
                "0000",
                {}},
        T_IrRow{"GlobalCache",
                R"({"format":"GlobalCache","data":"38000,1,1,10,20,30,40,50,60"})",
                0,
                0,
                "0000 006d 0001 0002 000a 0014 001e 0028 0032 003c ",
                {}},
        T_IrRow{"GlobalCacheIsAPrefix",
                R"({"format":"globalcache v2","data":"38000,1,1,10,20,30,40,50,60"})",
                0,
                0,
                "0000 006d 0001 0002 000a 0014 001e 0028 0032 003c ",
                {}},
        T_IrRow{"GlobalCacheThatIsNoCodeIsQueuedDeliberatelyEmpty",
                R"({"format":"globalcache","data":"38000,1,1,10,20,30,40"})",
                0,
                0,
                "",
                {}},
        T_IrRow{"ProntoIsPassedUnchanged",
                R"({"format":"pronto","data":"38000,1,1,10,20,30,40,50,60"})",
                0,
                0,
                "38000,1,1,10,20,30,40,50,60",
                {}}),
    [](const auto& row) { return std::string(row.param.name); });

class IrSends : public CommandFixture {};

TEST_F(IrSends, AreRefusedWithoutFormatOrData) {
  EXPECT_FALSE(Run(ReuseHanler::SendIrData2Avp, R"({"data":"0000"})"));
  EXPECT_FALSE(Run(ReuseHanler::SendIrData2Avp, R"({"format":7,"data":"0000"})"));
  EXPECT_FALSE(Run(ReuseHanler::SendIrData2Avp, R"({"format":"pronto"})"));
  EXPECT_FALSE(Run(ReuseHanler::SendIrData2Avp, R"({"format":"pronto","data":null})"));
  EXPECT_THAT(Errors(), ElementsAre("Not found format", "Not found format", "Not found data", "Not found data"));
  EXPECT_EQ(GetIrCmdSize(), 0);
}

TEST_F(IrSends, AreLogged) {
  Run(ReuseHanler::SendIrData2Avp, R"({"format":"pronto","data":"0000","repeatTimes":2,"interval":9,"delay":5})");
  EXPECT_EQ(m_log.PriorityOf("SendIrDataCmd count:2, interval:0, delay:5"), 600);
}

}  // namespace
