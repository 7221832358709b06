// A long run of commands of many kinds: nothing is lost, nothing overtakes, and one request is under way at a time.
#include <gmock/gmock.h>

#include <algorithm>

#include "systemtest.h"

namespace {

constexpr int kCommands = 1000;
constexpr int kAnswerMs = 4;  // how long the server takes for each answer

std::string Post(const std::string& body) { return "POST /api/device/" + kLocalId + " " + body; }

// What a command of the run says and the requests that it makes. Commands of a kind are numbered from 0.
struct T_Step {
  const char* command;
  std::string text;
  std::vector<std::string> requests;
};

T_Step CecStep(int number) {
  char data[16];
  std::snprintf(data, sizeof data, "4004%04x", number);
  return {"send-cec-data",
          std::string(R"({"data":")") + data + R"("})",
          {Post(std::string(R"({"data_hex":")") + data + R"(","op":"send:cec"})")}};
}

T_Step SerialStep(int number) {
  const std::string data = "LINE" + std::to_string(number);
  return {"send-serial-data",
          R"({"mode":"ascii","data":")" + data + R"("})",
          {Post(R"({"data_string":")" + data + R"(","op":"send:rs232","port_index":0})")}};
}

T_Step PropertyStep(int number) {
  const std::string mode = number % 2 == 0 ? "RECEIVER" : "TRANSCEIVER";
  return {"set-property",
          R"({"deviceMode":")" + mode + R"("})",
          {Post(R"({"key":"configuration.device_mode","op":"set:property","value":")" + mode + R"("})")}};
}

T_Step AudioStep(int number) {
  const bool local = number % 2 == 0;
  return {"set-hdmi-out-audio-src",
          std::string(R"({"hdmi_out_audio_src":")") + (local ? "multi-channel-local" : "hdmi-audio") + R"("})",
          {Post(R"({"key":"nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value","op":"set:property",)"
                R"("value":)" +
                std::string(local ? "9" : "2") + "}")}};
}

T_Step UsbStep(int) {
  return {"set-usb-hid",
          R"({"streamSubscription":{"deviceID":"none"}})",
          {Post(R"({"free":true,"op":"stop","stream_index":0,"stream_type":"USB_HID"})")}};
}

// Each to another encoder than the one before.
T_Step AssociationStep(int number) {
  const bool first = number % 2 == 0;
  return {"set-associations-video",
          R"({"streamSubscription":{"avpDeviceId":")" + (first ? kEncoderA : kEncoderB) + R"("}})",
          {Post(R"({"op":"leave","subscription_type":"HDMI"})"),
           Post(std::string(R"({"op":"subscribe","source_address":")") + (first ? "235.14.33.231" : "235.14.90.60") +
                R"(","subscription_index":0,"subscription_type":"HDMI"})"),
           Post(R"({"op":"leave","subscription_index":0,"subscription_type":"hdmi_audio"})")}};
}

T_Step VideoStep(int number) {
  const bool full = number % 2 == 0;
  return {"set-video",
          std::string(R"({"output":{"hdmiOut":{"displayMode":"single","singleLayout":{"scaler":")") +
              (full ? "1920x1080p@60" : "bypass") + R"("}}}})",
          {Post(full ? R"({"display_mode":"FAST_SWITCHED","op":"set:video","video":)"
                       R"({"fps":60,"height":1080,"width":1920}})"
                     : R"({"display_mode":"GENLOCKED","op":"set:video"})")}};
}

// Leaves by way of the worker thread: in order among its kind, at any place among the others.
T_Step InfraredStep(int number) {
  char data[16];
  std::snprintf(data, sizeof data, "%04x", number);
  return {"send-ir-data", std::string(R"({"format":"pronto","data":")") + data + R"("})", {data}};
}

constexpr T_Step (*kSteps[])(int) = {CecStep, SerialStep,      PropertyStep, AudioStep,
                                     UsbStep, AssociationStep, VideoStep,    InfraredStep};

constexpr int kKinds = static_cast<int>(std::size(kSteps));

bool IsInfrared(const std::string& request) { return request.find(R"("op":"send:infrared")") != std::string::npos; }

class LongRun : public SystemTest {};

TEST_F(LongRun, OfMixedCommandsArrivesWholeAndInOrderOneAtATime) {
  BringUp("TRX");
  ASSERT_TRUE(Avp().WaitForAsync(kPatienceMs));  // from now on each change makes events, whose reads come in between
  Avp().Script(simmatch::Any(), T_SimAnswer::Slow(kAnswerMs), 0);
  std::vector<std::string> expected;
  std::vector<std::string> infrared;
  for (int i = 0; i < kCommands; ++i) {
    const auto make = kSteps[i % kKinds];
    const T_Step step = make(i / kKinds);
    ASSERT_TRUE(Core().Send(step.command, step.text));
    auto& list = make == InfraredStep ? infrared : expected;
    list.insert(list.end(), step.requests.begin(), step.requests.end());
  }
  ExpectNextCommandWorks();
  const auto infraredOp = simmatch::Op("send:infrared");
  ASSERT_TRUE(Avp().WaitForRequests(infrared.size(), infraredOp, kPatienceMs));
  const std::vector<T_SimRequest> all = Avp().Requests();
  for (size_t i = 1; i < all.size(); ++i) {
    EXPECT_GE(MsBetween(all[i - 1].time, all[i].time), kAnswerMs - 0.5) << all[i].path << " " << all[i].body;
  }
  std::vector<std::string> sent;
  for (const T_SimRequest& request : Avp().Requests(infraredOp)) sent.push_back(request.Field("data_hex"));
  EXPECT_EQ(sent, infrared);
  std::vector<std::string> others = TakeRequests();
  others.erase(std::remove_if(others.begin(), others.end(), IsInfrared), others.end());
  EXPECT_EQ(others, expected);
}

}  // namespace
