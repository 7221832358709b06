#include "propertykey.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "samples.h"
#include "simjson.h"

namespace {

struct T_Row {
  const char* name;
  const char* key;
  const char* value;  // "absent": the key names nothing
};

std::string NameOf(const testing::TestParamInfo<T_Row>& info) { return info.param.name; }

class PropertyKey : public testing::TestWithParam<T_Row> {};

TEST_P(PropertyKey, NamesTheMember) {
  const Json::Value device = samples::Device("RX");
  const Json::Value* member = propertykey::Find(device, GetParam().key);
  EXPECT_EQ(member != nullptr ? simjson::Write(*member) : "absent", GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Keys, PropertyKey,
                         testing::ValuesIn(std::vector<T_Row>{
                             {"AMember", "device_id", R"("0016c04e30a1")"},
                             {"ANestedMember", "configuration.device_mode", R"("RECEIVER")"},
                             {"ANode", "nodes[UART:0].configuration.baud_rate", "9600"},
                             {"ANodeInLowerCase", "nodes[uart:0].configuration.baud_rate", "9600"},
                             {"AnInput", "nodes[HDMI_ENCODER:0].inputs[audio:0].configuration.source.value", "2"},
                             {"ASubscription", "subscriptions[HDMI:0].configuration.address", R"("235.14.33.231")"},
                             {"AnotherIndex", "nodes[UART:1].configuration.baud_rate", "absent"},
                             {"AnotherType", "nodes[SMELL:0].configuration", "absent"},
                             {"NoIndex", "nodes[UART].configuration", "absent"},
                             {"AnIndexThatIsNoNumber", "nodes[UART:x].configuration", "absent"},
                             {"AnElementOfWhatIsNoArray", "configuration[UART:0]", "absent"},
                             {"AMemberOfAText", "device_id.length", "absent"},
                             {"AMemberOfAnArray", "nodes.configuration", "absent"},
                             {"AnUnknownMember", "configuration.taste", "absent"},
                             {"Nothing", "", "absent"},
                             {"ADotAtTheEnd", "configuration.", "absent"},
                             {"ADotAtTheStart", ".configuration", "absent"},
                             {"TwoDots", "configuration..device_mode", "absent"},
                             {"AnOpenBracket", "nodes[UART:0", "absent"},
                             {"AClosingBracketAlone", "nodes]", "absent"},
                         }),
                         NameOf);

TEST(PropertyKeyElements, AreSkippedWhenTheyAreNoObjects) {
  Json::Value array = *simjson::Parse(R"([1,null,{"type":"UART","index":"0"},{"type":"UART","index":0,"x":1}])");
  const Json::Value* element = propertykey::FindElement(array, "UART", 0);
  ASSERT_NE(element, nullptr);
  EXPECT_EQ((*element)["x"], 1);
}

}  // namespace
