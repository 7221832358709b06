// The commands' examples in tlv/msg_tags.h: each is carried out by a transceiver, and the API server of the bench does
// what it asks for.
#include "msg_tags.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "apibench.h"
#include "brntsendcmd.h"
#include "commandfixture.h"
#include "simjson.h"
#include "udpcmdprocess.h"

namespace {

constexpr const char* kMethods[] = {"GET", "POST", "DELETE"};  // by E_Http_Method

const T_CommandTag& CommandOf(const Tlv_Parse_List& row) {
  const auto* found = std::find_if(kCommandTags.begin(), kCommandTags.end(), [&](const T_CommandTag& command) {
    return command.tag == static_cast<std::uint32_t>(row.s_tag[0]);
  });
  EXPECT_NE(found, kCommandTags.end());
  return *found;
}

class CommandExample : public CommandFixture, public testing::WithParamInterface<Tlv_Parse_List> {
 protected:
  // What the command queues, its infrared sends included, which the worker would make.
  std::vector<T_Request> CarryOut(const Tlv_Parse_List& row) {
    std::string text(CommandOf(row).example);
    char* args[kMaxTagsPerRow] = {text.data()};
    Msg_Box msg;
    msg.s_deviceid = kId;
    EXPECT_NE(row.s_processhandler(args, row.s_userdata, &msg) & 0xff, 0);
    IR_CMD_T cmd;
    while (GetIrCmd(cmd) != 0) SendCmd2AVP::SendIrDataCmd(cmd.strDevice, cmd.strData);
    return Requests();
  }
};

TEST_P(CommandExample, IsDoneByTheApiServer) {
  BecomeA(e_TRX);
  CApiBench bench("TRX");
  const std::vector<T_Request> requests = CarryOut(GetParam());
  EXPECT_EQ(Errors(), std::vector<std::string>());
  EXPECT_EQ(requests.empty(), CommandOf(GetParam()).example.empty() && CommandOf(GetParam()).name != "reset-device");
  for (const T_Request& request : requests) {
    const Json::Value answer = bench.Ask(kMethods[request.method], request.path, request.body);
    EXPECT_TRUE(answer["status"] == "SUCCESS" || answer["status"] == "PROCESSING") << simjson::Write(answer);
    EXPECT_TRUE(answer["result"].isNull() || answer["result"]["error"].empty()) << simjson::Write(answer);
  }
}

INSTANTIATE_TEST_SUITE_P(Table, CommandExample, testing::ValuesIn(TlvTaskLists), [](const auto& row) {
  std::string name(CommandOf(row.param).name);
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

TEST(CommandTable, ExamplesFitIntoADatagram) {
  for (const T_CommandTag& command : kCommandTags) EXPECT_LT(command.example.size(), kTlvTextRoom) << command.name;
}

}  // namespace
