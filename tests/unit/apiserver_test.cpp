#include "apiserver.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apibench.h"
#include "samples.h"
#include "simjson.h"

namespace {

const char kSubscribe[] =
    R"({"op":"subscribe","subscription_type":"HDMI","subscription_index":1,"source_address":"235.14.65.178"})";
const char kSetMode[] = R"({"op":"set:property","key":"configuration.device_mode","value":"TRANSMITTER"})";

std::string Text(const Json::Value& value) { return simjson::Write(value); }

// --- envelope and ids ---

TEST(ApiEnvelope, HasAllFourMembersInOrder) {
  CApiBench bench;
  const T_SimRequest request{"GET", "/api/request/7", "", Json::Value(), T_SimClock::now()};
  EXPECT_EQ(bench.Api().Answer(request, T_SimAnswer::Default()).body,
            R"({"status":"ERROR","request_id":null,"result":null,)"
            R"("error":{"reason":"ILLEGAL_ARGUMENT","message":"Unknown request 7"}})");
}

TEST(ApiEnvelope, CountsRequestIdsUp) {
  T_AvpSimOptions options = CApiBench::Options("RX");
  options.autoEvents = false;
  CApiBench bench(options);
  EXPECT_EQ(bench.Post(kSubscribe)["request_id"], 1);
  EXPECT_EQ(bench.Post(R"({"op":"get","subset":"device"})")["request_id"], 2);
}

struct T_AtOnce {
  const char* name;
  const char* method;
  const char* path;
  const char* body;
  bool atOnce;  // SUCCESS without a request id, whatever the bench is told about PROCESSING
};

class ApiReplyWay : public testing::TestWithParam<T_AtOnce> {};

TEST_P(ApiReplyWay, IsKnownAtOnceOrEitherWay) {
  CApiBench bench;
  bench.Api().SetWay(T_SimAnswer::ProcessingPolls(1));
  const Json::Value answer = bench.Ask(GetParam().method, GetParam().path, GetParam().body);
  EXPECT_EQ(answer["status"], GetParam().atOnce ? "SUCCESS" : "PROCESSING");
  EXPECT_EQ(answer["request_id"].isNull(), GetParam().atOnce);
}

const std::vector<T_AtOnce> kAtOnce = {
    {"Version", "GET", "/api", "", true},
    {"DeviceList", "GET", "/api/device/ALL", "", true},
    {"Identity", "POST", "/api/device/0016c04e30a1", R"({"op":"get","subset":"identity"})", true},
    {"Firmware", "GET", "/api/firmware", "", true},
    {"Layouts", "GET", "/api/multiview/layout", "", true},
    {"Layout", "GET", "/api/multiview/layout/quad", "", true},
    {"Serial", "POST", "/api/device/0016c04e30a1", R"({"op":"send:rs232","port_index":0,"data_string":"A"})", true},
    {"Infrared", "POST", "/api/device/0016c04e30a1", R"({"op":"send:infrared","data_hex":"00"})", true},
    {"Cec", "POST", "/api/device/0016c04e30a1", R"({"op":"send:cec","data_hex":"4004"})", true},
    {"Device", "POST", "/api/device/0016c04e30a1", R"({"op":"get","subset":"device"})", false},
    {"Edid", "POST", "/api/device/0016c04e30a1", R"({"op":"get","subset":"edid"})", false},
    {"Netstat", "POST", "/api/device/0016c04e30a1", R"({"op":"netstat","option":"read"})", false},
    {"Property", "POST", "/api/device/0016c04e30a1", kSetMode, false},
    {"Subscribe", "POST", "/api/device/0016c04e30a1", kSubscribe, false},
};
INSTANTIATE_TEST_SUITE_P(Requests, ApiReplyWay, testing::ValuesIn(kAtOnce),
                         [](const auto& row) { return row.param.name; });

TEST(ApiProcessing, SettlesAfterSoManyPolls) {
  CApiBench bench;
  const Json::Value answer = bench.Post(kSubscribe, T_SimAnswer::ProcessingPolls(2));
  EXPECT_EQ(answer["status"], "PROCESSING");
  EXPECT_EQ(answer["request_id"], 1);
  EXPECT_TRUE(answer["result"].isNull());
  EXPECT_TRUE(answer["error"].isNull());
  EXPECT_EQ(bench.Get("/api/request/1")["status"], "PROCESSING");
  EXPECT_EQ(bench.Get("/api/request/1")["status"], "PROCESSING");
  const Json::Value settled = bench.Get("/api/request/1");
  EXPECT_EQ(settled["status"], "SUCCESS");
  EXPECT_EQ(settled["request_id"], 1);
  EXPECT_EQ(settled["result"]["devices"][0]["device_id"], "0016c04e30a1");
  EXPECT_EQ(bench.Get("/api/request/1"), settled) << "the result stays readable";
}

TEST(ApiProcessing, SettlesAfterAWhile) {
  CApiBench bench;
  bench.Post(kSubscribe, T_SimAnswer::ProcessingMs(0));
  EXPECT_EQ(bench.TakeEvent("REQUEST_COMPLETE")["request_id"], 1);
  EXPECT_EQ(bench.Get("/api/request/1")["status"], "SUCCESS");
}

TEST(ApiProcessing, NeverSettlesWhenToldSo) {
  CApiBench bench;
  bench.Post(kSubscribe, T_SimAnswer::NeverSettles());
  for (int poll = 0; poll < 20; ++poll) EXPECT_EQ(bench.Get("/api/request/1")["status"], "PROCESSING");
}

TEST(ApiProcessing, MaySettleWithAnError) {
  CApiBench bench;
  const T_SimAnswer final = T_SimAnswer::Error("INVALID_STATE", "No");
  bench.Post(kSubscribe, T_SimAnswer::ProcessingPolls(0).SettledBy(final));
  const Json::Value settled = bench.Get("/api/request/1");
  EXPECT_EQ(settled["status"], "ERROR");
  EXPECT_EQ(settled["request_id"], 1);
  EXPECT_EQ(settled["error"]["reason"], "INVALID_STATE");
  EXPECT_EQ(bench.Value("subscriptions[HDMI:1].configuration.enable"), "false") << "a failed request changes nothing";
}

TEST(ApiProcessing, ARefusedRequestSettlesWithItsRefusal) {
  CApiBench bench;
  EXPECT_EQ(bench.Post(R"({"op":"start"})", T_SimAnswer::ProcessingPolls(0))["status"], "PROCESSING");
  EXPECT_EQ(bench.Get("/api/request/1")["error"]["message"], "No value for key stream_type");
}

TEST(ApiProcessing, IsRepeatedForAnIdThatIsPolled) {
  CApiBench bench;
  bench.Post(kSubscribe);
  const Json::Value answer = bench.Ask("GET", "/api/request/1", "", T_SimAnswer::NeverSettles());
  EXPECT_EQ(answer["status"], "PROCESSING");
  EXPECT_EQ(answer["request_id"], 1);
}

// --- refusals ---

struct T_Refusal {
  const char* name;
  const char* method;
  const char* path;
  const char* body;
  const char* reason;
  int httpStatus;
};

class ApiRefusal : public testing::TestWithParam<T_Refusal> {};

TEST_P(ApiRefusal, NamesItsReason) {
  CApiBench bench;
  const T_Refusal& row = GetParam();
  const Json::Value answer = bench.Ask(row.method, row.path, row.body);
  EXPECT_EQ(answer["status"], "ERROR");
  EXPECT_EQ(answer["error"]["reason"], row.reason);
  EXPECT_FALSE(answer["error"]["message"].asString().empty());
  EXPECT_TRUE(answer["result"].isNull());
  EXPECT_EQ(bench.HttpStatus(), row.httpStatus);
}

const std::vector<T_Refusal> kRefusals = {
    {"UnknownPath", "GET", "/api/taste", "", "PROTOCOL_NOT_FOUND", 404},
    {"Root", "GET", "/", "", "PROTOCOL_NOT_FOUND", 404},
    {"BeyondADevice", "GET", "/api/device/ALL/more", "", "PROTOCOL_NOT_FOUND", 404},
    {"DeviceDeleted", "DELETE", "/api/device/ALL", "", "PROTOCOL_NOT_FOUND", 405},
    {"VersionPosted", "POST", "/api", "{}", "PROTOCOL_NOT_FOUND", 405},
    {"FirmwarePosted", "POST", "/api/firmware", "{}", "PROTOCOL_NOT_FOUND", 405},
    {"RequestPosted", "POST", "/api/request/1", "{}", "PROTOCOL_NOT_FOUND", 405},
    {"UnknownDevice", "POST", "/api/device/0016c0000000", R"({"op":"reboot"})", "ILLEGAL_ARGUMENT", 200},
    {"NoDevice", "POST", "/api/device", R"({"op":"reboot"})", "ILLEGAL_ARGUMENT", 200},
    {"NoJson", "POST", "/api/device/ALL", "op=reboot", "ILLEGAL_ARGUMENT", 400},
    {"EmptyBody", "POST", "/api/device/ALL", "", "ILLEGAL_ARGUMENT", 400},
    {"AnArray", "POST", "/api/device/ALL", "[1]", "ILLEGAL_ARGUMENT", 400},
    {"NoOperation", "POST", "/api/device/ALL", "{}", "ILLEGAL_ARGUMENT", 400},
    {"OperationOfAnotherType", "POST", "/api/device/ALL", R"({"op":7})", "ILLEGAL_ARGUMENT", 400},
    {"UnknownOperation", "POST", "/api/device/ALL", R"({"op":"dance"})", "PROTOCOL_NOT_FOUND", 200},
    {"UnknownSubset", "POST", "/api/device/ALL", R"({"op":"get","subset":"taste"})", "ILLEGAL_ARGUMENT", 200},
    {"NoSubset", "POST", "/api/device/ALL", R"({"op":"get"})", "ILLEGAL_ARGUMENT", 200},
    {"UnknownStatistics", "POST", "/api/device/ALL", R"({"op":"netstat","option":"guess"})", "ILLEGAL_ARGUMENT", 200},
    {"NoStatistics", "POST", "/api/device/ALL", R"({"op":"netstat"})", "ILLEGAL_ARGUMENT", 200},
    {"RequestIdNeverGiven", "GET", "/api/request/12", "", "ILLEGAL_ARGUMENT", 200},
    {"RequestIdThatIsNoNumber", "GET", "/api/request/x", "", "ILLEGAL_ARGUMENT", 200},
    {"NoRequestId", "GET", "/api/request", "", "ILLEGAL_ARGUMENT", 200},
    {"UnknownLayout", "POST", "/api/device/ALL", R"({"op":"set:multiview","layout":"x","video":{}})",
     "ILLEGAL_ARGUMENT", 200},
    {"UnknownFile", "POST", "/api/device/ALL", R"({"op":"update","file_name":"x.apz"})", "ILLEGAL_ARGUMENT", 200},
};
INSTANTIATE_TEST_SUITE_P(Requests, ApiRefusal, testing::ValuesIn(kRefusals),
                         [](const auto& row) { return row.param.name; });

TEST(ApiRefusal, NamesTheKeyThatIsMissing) {
  CApiBench bench;
  const Json::Value answer = bench.Post(R"({"op":"stop","stream_type":"HDMI"})");
  EXPECT_EQ(answer["error"]["message"], "No value for key stream_index");
}

// --- devices ---

TEST(ApiDevice, GivesItsVersion) {
  CApiBench bench;
  const Json::Value result = bench.Get("/api")["result"];
  for (const char* key : {"server", "vendor", "version", "build"}) EXPECT_TRUE(result[key].isString()) << key;
  EXPECT_TRUE(result["modules"][0]["name"].isString());
  EXPECT_TRUE(result["modules"][0]["version"].isString());
}

TEST(ApiDevice, ListsWhatItKnows) {
  CApiBench bench;
  const Json::Value result = bench.Get("/api/device/ALL")["result"];
  EXPECT_EQ(
      Text(result),
      R"({"devices":[{"device_id":"0016c04e30a1","device_name":"Room2-Dec","status":{"active":true}}],"error":[]})");
}

TEST(ApiDevice, ListsByRole) {
  CApiBench bench("RX");
  EXPECT_EQ(bench.Get("/api/device/ALL_RX")["result"]["devices"].size(), 1u);
  EXPECT_EQ(bench.Get("/api/device/ALL_TX")["result"]["devices"].size(), 0u);
}

TEST(ApiDevice, GivesTheWholeDocument) {
  CApiBench bench;
  const Json::Value answer = bench.Post(R"({"op":"get","subset":"device"})");
  EXPECT_EQ(answer["result"]["devices"][0], samples::Device("RX"));
  EXPECT_EQ(answer["result"]["error"], Json::Value(Json::arrayValue));
}

TEST(ApiDevice, GivesTheIdentity) {
  CApiBench bench("TX");
  EXPECT_EQ(bench.Post(R"({"op":"get","subset":"identity"})"), samples::Document("identity"));
}

TEST(ApiDevice, GivesBothEdids) {
  CApiBench bench("TRX");
  Json::Value expected = samples::Document("edid");
  expected["request_id"] = 1;
  EXPECT_EQ(bench.Post(R"({"op":"get","subset":"edid"})"), expected);
}

TEST(ApiDevice, GivesOnlyTheEdidsThatItHas) {
  CApiBench bench("RX");
  const Json::Value nodes = bench.Post(R"({"op":"get","subset":"edid"})")["result"]["devices"][0]["nodes"];
  ASSERT_EQ(nodes.size(), 1u);
  EXPECT_EQ(nodes[0]["type"], "HDMI_MONITOR");
}

TEST(ApiDevice, AnIdIsFoundInAnyCase) {
  CApiBench bench;
  EXPECT_EQ(bench.PostTo("0016C04E30A1", kSubscribe)["status"], "SUCCESS");
}

TEST(ApiDevice, SeveralDevicesAreServedTogether) {
  T_AvpSimOptions options = CApiBench::Options("RX");
  options.document = Json::arrayValue;
  for (const char* role : {"RX", "TX"}) options.document.append(samples::Device(role));
  CApiBench bench(options);
  const Json::Value result = bench.PostTo("ALL", kSubscribe)["result"];
  ASSERT_EQ(result["devices"].size(), 1u);
  EXPECT_EQ(result["devices"][0]["device_id"], "0016c04e30a1");
  ASSERT_EQ(result["error"].size(), 1u);
  EXPECT_EQ(result["error"][0]["device_id"], "0016c04e21e7");
  EXPECT_EQ(result["error"][0]["reason"], "ILLEGAL_ARGUMENT");
}

TEST(ApiDevice, ALostDeviceIsNamedInTheResultsErrors) {
  CApiBench bench("TX");
  bench.Api().Disconnect("");
  Json::Value expected = samples::Document("error-disconnected");
  const Json::Value answer = bench.Post(R"({"op":"get","subset":"device"})");
  expected["request_id"] = answer["request_id"];
  EXPECT_EQ(answer, expected);
  EXPECT_TRUE(answer["request_id"].isInt());
}

TEST(ApiDevice, ALostDeviceIsStillListed) {
  CApiBench bench;
  bench.Api().Disconnect("");
  EXPECT_EQ(bench.Get("/api/device/ALL")["result"]["devices"][0]["status"]["active"], false);
  bench.Api().Connect("");
  EXPECT_EQ(bench.Get("/api/device/ALL")["result"]["devices"][0]["status"]["active"], true);
}

TEST(ApiDevice, CanPretendThatItIsLost) {
  CApiBench bench("TX");
  Json::Value expected = samples::Document("error-disconnected");
  expected["request_id"] = 1;
  EXPECT_EQ(bench.Post(kSetMode, T_SimAnswer::Disconnected()), expected);
  EXPECT_EQ(bench.Value("configuration.device_mode"), R"("TRANSMITTER")");
}

TEST(ApiDevice, AHungDeviceHasNoIdentity) {
  CApiBench bench;
  bench.Api().SetHung(true);
  for (const char* body : {R"({"op":"get","subset":"identity"})", R"({"op":"get","subset":"device"})"}) {
    EXPECT_EQ(Text(bench.Post(body)["result"]["devices"]),
              R"([{"device_id":"0016c04e30a1","device_name":"Room2-Dec","status":{"active":false}}])");
  }
  EXPECT_EQ(bench.Refused(kSubscribe), "INVALID_STATE");
  EXPECT_EQ(bench.Refused(R"({"op":"netstat","option":"read"})"), "INVALID_STATE");
  bench.Api().SetHung(false);
  EXPECT_EQ(bench.Done(kSubscribe), "done");
}

struct T_Operation {
  const char* name;
  const char* body;
  const char* resultKey;
};

class ApiOperation : public testing::TestWithParam<T_Operation> {};

TEST_P(ApiOperation, NamesTheDeviceThatDidIt) {
  CApiBench bench("TRX");
  EXPECT_EQ(bench.Done(GetParam().body, GetParam().resultKey), "done");
}

const std::vector<T_Operation> kOperations = {
    {"Start", R"({"op":"start","stream_type":"hdmi","stream_index":0,"dest_address":"235.14.1.2"})", "devices"},
    {"Stop", R"({"op":"stop","stream_type":"HDMI","stream_index":0,"free":true})", "devices"},
    {"Subscribe", kSubscribe, "devices"},
    {"Leave", R"({"op":"leave","subscription_type":"HDMI"})", "devices"},
    {"SwitchAddress", R"({"op":"switch:address","stream_type":"RS232","stream_index":0,"dest_address":"10.1.2.3"})",
     "devices"},
    {"SwitchApi", R"({"op":"switch:api","stream_type":"RS232","stream_index":0})", "devices"},
    {"Property", kSetMode, "devices"},
    {"Scaler", R"({"op":"set:scaler","width":960,"height":540})", "devices"},
    {"Video", R"({"op":"set:video","display_mode":"GENLOCKED"})", "devices"},
    {"Multiview", R"({"op":"set:multiview","layout":"quad","video":{"width":1920,"height":1080,"fps":60}})", "devices"},
    {"Serial", R"({"op":"send:rs232","port_index":0,"data_string":"A"})", "send_rs232"},
    {"Infrared", R"({"op":"send:infrared","data_hex":"0000"})", "send_infrared"},
    {"Cec", R"({"op":"send:cec","data_hex":"4004"})", "send_cec"},
};
INSTANTIATE_TEST_SUITE_P(Requests, ApiOperation, testing::ValuesIn(kOperations),
                         [](const auto& row) { return row.param.name; });

TEST(ApiOperation, NetstatAnswersStatistics) {
  CApiBench bench("TX");
  const Json::Value result = bench.Post(R"({"op":"netstat","option":"read"})")["result"];
  EXPECT_EQ(result["statistics"][0]["device_id"], "0016c04e21e7");
  EXPECT_EQ(result["error"], Json::Value(Json::arrayValue));
}

TEST(ApiOperation, AMultiviewLayoutShowsInTheDocument) {
  CApiBench bench;
  bench.Post(R"({"op":"set:multiview","layout":"quad","video":{"width":1920,"height":1080,"fps":60}})");
  EXPECT_EQ(bench.Value("nodes[FRAME_BUFFER:0].configuration.display_mode"), R"("MULTIVIEW")");
}

class ApiMultiviewSources : public testing::Test {
 protected:
  static T_AvpSimOptions Pair() {
    T_AvpSimOptions options = CApiBench::Options("RX");
    options.document = Json::arrayValue;
    for (const char* role : {"RX", "TX"}) options.document.append(samples::Device(role));
    return options;
  }

  // To the decoder.
  Json::Value Show(const std::string& subscriptions) {
    return m_bench.Post(R"({"op":"set:multiview","layout":"quad","video":{"width":1920,"height":1080,"fps":60},)"
                        R"("subscriptions":)" +
                        subscriptions + "}");
  }

  CApiBench m_bench{Pair()};
};

TEST_F(ApiMultiviewSources, AreSubscribedTo) {
  Show(R"([{"source_device":"0016c04e21e7","stream_index":1,"subscription_index":5}])");
  EXPECT_EQ(m_bench.Value("subscriptions[HDMI:5].configuration.address"), R"("235.22.33.231")");
}

TEST_F(ApiMultiviewSources, MustAllBeKnown) {
  const Json::Value before = m_bench.Api().Device("");
  for (const char* text : {R"([{"source_device":"0016c0000000","stream_index":1,"subscription_index":5}])",
                           R"([{"source_device":"0016c04e21e7","stream_index":7,"subscription_index":5}])",
                           R"([{"source_device":"0016c04e21e7","stream_index":1}])", R"([7])",
                           R"([{"source_device":"0016c04e21e7","stream_index":1,"subscription_index":5},7])"}) {
    EXPECT_EQ(Show(text)["error"]["reason"], "ILLEGAL_ARGUMENT") << text;
  }
  EXPECT_EQ(m_bench.Api().Device(""), before);
}

TEST(ApiOperation, SentDataCanBeWaitedFor) {
  CApiBench bench;
  bench.Post(R"({"op":"send:cec","data_hex":"4004"})");
  ASSERT_TRUE(bench.Api().WaitForSentData(1, 20000));
  EXPECT_EQ(bench.Api().SentData()[0].data, "4004");
}

TEST(ApiOperation, ADocumentOfAnUnknownShapeIsNoCrash) {
  T_AvpSimOptions options = CApiBench::Options("RX");
  options.document["nodes"][0]["configuration"] = "none";
  CApiBench bench(options);
  EXPECT_EQ(bench.Refused(R"({"op":"set:video","display_mode":"FAST_SWITCHED",)"
                          R"("video":{"width":1920,"height":1080,"fps":60}})"),
            "INTERNAL");
}

// --- firmware and multiview ---

TEST(ApiFirmware, ListsThePackages) {
  CApiBench bench;
  EXPECT_EQ(bench.Get("/api/firmware"), samples::Document("firmware"));
}

TEST(ApiFirmware, ListsWhatItIsToldTo) {
  CApiBench bench;
  bench.Api().SetFirmware(Json::arrayValue);
  EXPECT_EQ(Text(bench.Get("/api/firmware")["result"]), R"({"firmware":[],"error":[]})");
}

TEST(ApiMultiview, ListsAndDescribesLayouts) {
  CApiBench bench;
  EXPECT_EQ(bench.Get("/api/multiview/layout/quad"), samples::Document("multiview-layout"));
  EXPECT_EQ(Text(bench.Get("/api/multiview/layout")["result"]), R"({"layout":[{"name":"pip"},{"name":"quad"}]})");
}

TEST(ApiMultiview, CreatesAndDeletesLayoutsAndWindows) {
  CApiBench bench;
  const std::string layout = "/api/multiview/layout/wide";
  EXPECT_EQ(bench.Ask("POST", layout, R"({"op":"create","width":1920,"height":1080})")["status"], "SUCCESS");
  EXPECT_EQ(
      bench.Ask("POST", layout + "/window/3",
                R"({"op":"create","horizontal_position":0,"vertical_position":0,"width":960,"height":540})")["status"],
      "SUCCESS");
  EXPECT_EQ(bench.Get(layout + "/window/3")["result"]["layout_window"]["content"], "HDMI:3");
  const Json::Value deleted = bench.Ask("DELETE", layout + "/window/3");
  EXPECT_EQ(deleted["status"], "SUCCESS");
  EXPECT_TRUE(deleted["result"].isNull());
  EXPECT_EQ(bench.Get(layout + "/window/3")["status"], "ERROR");
  EXPECT_EQ(bench.Ask("DELETE", layout)["status"], "SUCCESS");
  EXPECT_EQ(bench.Get(layout)["status"], "ERROR");
}

const std::vector<T_Refusal> kMultiviewRefusals = {
    {"NoSuchPart", "GET", "/api/multiview/layout/quad/door/1", "", "PROTOCOL_NOT_FOUND", 404},
    {"NoLayoutPart", "GET", "/api/multiview", "", "PROTOCOL_NOT_FOUND", 404},
    {"TheListPosted", "POST", "/api/multiview/layout", R"({"op":"create"})", "PROTOCOL_NOT_FOUND", 404},
    {"AnotherOperation", "POST", "/api/multiview/layout/x", R"({"op":"paint"})", "PROTOCOL_NOT_FOUND", 200},
    {"AnUnknownLayout", "GET", "/api/multiview/layout/x", "", "ILLEGAL_ARGUMENT", 200},
    {"AWindowThatIsNoNumber", "GET", "/api/multiview/layout/quad/window/x", "", "ILLEGAL_ARGUMENT", 200},
};
INSTANTIATE_TEST_SUITE_P(Multiview, ApiRefusal, testing::ValuesIn(kMultiviewRefusals),
                         [](const auto& row) { return row.param.name; });

// --- events ---

TEST(ApiEvents, EveryRequestWithAnIdIsAnnounced) {
  CApiBench bench;
  const int id = bench.Post(R"({"op":"get","subset":"device"})")["request_id"].asInt();
  const Json::Value event = bench.TakeEvent("REQUEST_COMPLETE");
  EXPECT_EQ(event["request_id"], id);
  EXPECT_TRUE(event["device_id"].isNull());
  EXPECT_TRUE(event["event_id"].isInt());
  EXPECT_TRUE(event["timestamp"].isInt());
  EXPECT_EQ(bench.AnswerOf(event)["result"]["devices"][0]["device_id"], "0016c04e30a1");
}

TEST(ApiEvents, AChangeIsAnnouncedWithTheNewDocument) {
  CApiBench bench;
  bench.Post(kSubscribe);
  const Json::Value event = bench.TakeEvent("SETTINGS_CHANGED");
  EXPECT_EQ(event["device_id"], "0016c04e30a1");
  const Json::Value result = bench.AnswerOf(event)["result"];
  EXPECT_EQ(result["devices"][0], bench.Api().Device(""));
  EXPECT_TRUE(result["devices"][0]["identity"].isObject());
  EXPECT_EQ(result["error"], Json::Value(Json::arrayValue));
}

TEST(ApiEvents, SeveralChangesInAShortTimeGiveOneEvent) {
  T_AvpSimOptions options = CApiBench::Options("RX");
  options.settingsChangedMs = 50;
  CApiBench bench(options);
  for (int i = 0; i < 5; ++i) bench.Post(kSubscribe);
  // A request that settles when every event of the five must have come.
  const Json::Value last = bench.Post(R"({"op":"get","subset":"device"})", T_SimAnswer::ProcessingMs(200));
  while (bench.TakeEvent("REQUEST_COMPLETE")["request_id"] != last["request_id"]) {
  }
  size_t count = 0;
  for (const std::string& type : bench.EventTypes()) count += type == "SETTINGS_CHANGED" ? 1 : 0;
  EXPECT_EQ(count, 1u);
}

TEST(ApiEvents, CanBeLeftToTheTest) {
  T_AvpSimOptions options = CApiBench::Options("RX");
  options.autoEvents = false;
  CApiBench bench(options);
  bench.Post(kSubscribe);
  bench.Api().PushEvent("CEC_RECEIVED", "0016c04e30a1", Json::Value());
  EXPECT_FALSE(bench.TakeEvent("CEC_RECEIVED").isNull());
  EXPECT_EQ(bench.EventTypes(), std::vector<std::string>{"CEC_RECEIVED"});
}

TEST(ApiEvents, ALossAndAReturnComeInOrder) {
  CApiBench bench;
  bench.Api().Disconnect("");
  bench.Api().Connect("");
  EXPECT_FALSE(bench.TakeEvent("SETTINGS_CHANGED").isNull());
  EXPECT_EQ(bench.EventTypes(), (std::vector<std::string>{"DEVICE_DISCONNECTED", "DEVICE_CONNECTED",
                                                          "DEVICE_INFO_AVAILABLE", "SETTINGS_CHANGED"}));
}

TEST(ApiEvents, ALossTellsWhatItsRequestAnswers) {
  CApiBench bench;
  bench.Api().Disconnect("");
  const Json::Value event = bench.TakeEvent("DEVICE_DISCONNECTED");
  EXPECT_EQ(event["device_id"], "0016c04e30a1");
  EXPECT_EQ(Text(bench.AnswerOf(event)["result"]),
            R"({"devices":[],"error":[{"device_id":"0016c04e30a1","reason":"DEVICE_DISCONNECTED",)"
            R"("message":"Device is not connected"}]})");
}

TEST(ApiEvents, AReturnTellsWhatItsRequestAnswers) {
  CApiBench bench;
  bench.Api().Disconnect("");
  bench.Api().Connect("");
  EXPECT_EQ(
      Text(bench.AnswerOf(bench.TakeEvent("DEVICE_CONNECTED"))["result"]),
      R"({"devices":[{"device_id":"0016c04e30a1","device_name":"Room2-Dec","status":{"active":true}}],"error":[]})");
}

TEST(ApiEvents, LosingALostDeviceIsNoEvent) {
  CApiBench bench;
  bench.Api().Disconnect("");
  bench.Api().Disconnect("");
  bench.Api().Connect("");
  EXPECT_FALSE(bench.TakeEvent("SETTINGS_CHANGED").isNull());
  EXPECT_EQ(bench.EventTypes().size(), 4u);
}

TEST(ApiEvents, MayFail) {
  CApiBench bench;
  bench.Api().PushEventWithAnswer("RS232_RECEIVED", "0016c04e30a1", T_SimAnswer::Error("INVALID_STATE", "No"));
  const Json::Value event = bench.TakeEvent("RS232_RECEIVED");
  EXPECT_EQ(bench.AnswerOf(event)["status"], "ERROR");
  EXPECT_EQ(bench.AnswerOf(event)["request_id"], event["request_id"]);
}

TEST(ApiEvents, MayStillBeProcessed) {
  CApiBench bench;
  bench.Api().PushEventWithAnswer("RS232_RECEIVED", "", T_SimAnswer::NeverSettles());
  const Json::Value event = bench.TakeEvent("RS232_RECEIVED");
  EXPECT_TRUE(event["device_id"].isNull());
  EXPECT_EQ(bench.AnswerOf(event)["status"], "PROCESSING");
}

// --- from outside ---

TEST(ApiOutside, ValuesCanBeWaitedFor) {
  CApiBench bench;
  EXPECT_FALSE(bench.Api().WaitForValue("subscriptions[HDMI:1].configuration.enable", true, "", 0));
  bench.Post(kSubscribe);
  EXPECT_TRUE(bench.Api().WaitForValue("subscriptions[HDMI:1].configuration.enable", true, "", 0));
  EXPECT_FALSE(bench.Api().WaitForValue("taste", true, "", 0));
}

TEST(ApiOutside, AnotherIdTakesItsAddressesAlong) {
  CApiBench bench("TX");
  bench.Api().Rename("0016c04eff01");
  EXPECT_EQ(bench.Api().FirstId(), "0016c04eff01");
  EXPECT_EQ(bench.Value("streams[HDMI:0].configuration.address"), R"("235.14.255.1")");
  EXPECT_EQ(bench.Done(kSetMode), "done");
}

TEST(ApiOutside, UnknownDevicesAreToldApart) {
  CApiBench bench;
  EXPECT_TRUE(bench.Api().Device("0016c0000000").isNull());
  EXPECT_EQ(bench.Api().KnownId("0016C04E30A1"), "0016c04e30a1");
  EXPECT_EQ(bench.Api().KnownId("elsewhere"), "elsewhere");
  EXPECT_EQ(bench.Api().PushSettingsChanged("elsewhere"), 0);
}

}  // namespace
