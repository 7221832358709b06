// The tags that cmd_core and the process exchange: every command and every report, with its name and, for a command, an
// example of its JSON. The process, the bench, the tools, the tests and the documentation all read this one table.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

// The tag of the outer box's one record; its value is the command box or the report box.
constexpr std::uint32_t kTlvEnvelopeTag = 3;

// Room for a command's text, its terminating zero included; a longer one counts as absent.
constexpr std::uint32_t kTlvTextRoom = 8192;

struct T_CommandTag {
  std::uint32_t tag;
  std::string_view name;     // as halyardctl takes it
  std::string_view example;  // working JSON; empty for a command without any
};

// In the order in which the process looks for them: the first that a datagram holds is carried out.
constexpr std::array<T_CommandTag, 20> kCommandTags = {{
    {0x10401, "get-associations-video", ""},
    {0x10402, "set-associations-video",
     R"({"streamSubscription":{"avpDeviceId":"0016c04e21e7","streamIndex":0,"enableAudio":true}})"},
    {0x20401, "get-associations-serial", ""},
    {0x20402, "set-associations-serial", R"({"streamSubscription":{"deviceID":"0016c04e21e7"}})"},
    {0x30401, "get-associations-ir", ""},
    {0x30402, "set-associations-ir", R"({"streamSubscription":{"deviceID":"0016c04e21e7"}})"},
    {0x40401, "get-associations-usb-hid", ""},
    {0x40402, "set-associations-usb-hid", R"({"streamSubscription":{"deviceID":"0016c04e21e7"}})"},
    {0x10202, "set-video",
     R"({"output":{"hdmiOut":{"hdcpMethod":"Follow Sink","displayMode":"single",)"
     R"("singleLayout":{"scaler":"1920x1080p@60"}}}})"},
    {0x20202, "set-serial",
     R"({"baud":{"lineOrder":"DCE","baudRate":9600,"databits":8,"stopbits":1,"parity":"none"}})"},
    {0x30202, "set-ir", R"({"streamSubscription":{"deviceID":"0016c04e21e7"},"power12V":true})"},
    {0x40202, "set-usb-hid", R"({"streamSubscription":{"deviceID":"0016c04e21e7"}})"},
    {0x20302, "send-serial-data", R"({"mode":"ascii","terminator":"crlf","data":"PWR?"})"},
    {0x30302, "send-ir-data",
     R"({"format":"pronto","data":"0000 006d 0001 0002 000a 0014 001e 0028 0032 003c","repeatTimes":2,"delay":100})"},
    {0x50302, "send-cec-data", R"({"data":"4004"})"},
    {0x60302, "reset-device", ""},
    {0x90503, "cmd-core-online", ""},
    {0x80802, "set-hdmi-out-audio-src", R"({"hdmi_out_audio_src":"hdmi-audio"})"},
    {0x70202, "set-multiview",
     R"({"multiview":{"layout":"quad","scaler":"1920x1080p@60","windows":[)"
     R"({"index":0,"horizontalPosition":0,"verticalPosition":0,"width":960,"height":540},)"
     R"({"index":1,"horizontalPosition":960,"verticalPosition":0,"width":960,"height":540}],"sources":[)"
     R"({"sourceDevice":"0016c04e21e7","streamIndex":1,"subscriptionIndex":0},)"
     R"({"sourceDevice":"none","subscriptionIndex":1}]}})"},
    {0x80202, "set-property", R"({"deviceMode":"RECEIVER"})"},
}};

struct T_ReportTag {
  std::uint32_t tag;
  int kind;                  // E_Event_Type
  std::string_view name;     // as halyardctl prints it
  std::string_view logName;  // as the process's own log names it
};

constexpr std::array<T_ReportTag, 8> kReportTags = {{
    {0x10503, 0, "video", "video"},
    {0x20503, 1, "rs232", "rs232"},
    {0x30503, 2, "ir", "ir"},
    {0x90503, 3, "online", "online"},
    {0x40503, 4, "audio", "audio"},
    {0xA0503, 5, "monitor", "monitor"},
    {0xB0503, 6, "alive", "alive"},
    {0xC0503, 7, "videowall", "video"},  // Deliberate: the video wall report is logged with the video wording.
}};
