// The multiview command: everything is checked before anything is queued.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "brntdevice.h"
#include "commandfixture.h"
#include "reusehanler.h"

namespace {

using request::Leave;
using request::LeaveAll;
using request::Subscribe;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

T_Request DeleteLayout(const std::string& layout) {
  return CRequestCapture::Any(AVP_MSG_DELETE_LAYOUT, e_method_delete, "/api/multiview/layout/" + layout);
}

T_Request CreateLayout(const std::string& layout, const std::string& width, const std::string& height) {
  return CRequestCapture::Any(AVP_MSG_MV_CREATE_LAYOUT, e_method_post, "/api/multiview/layout/" + layout,
                              R"({"height":)" + height + R"(,"op":"create","width":)" + width + "}\n");
}

// A window of 960 x 540 at 0, 0 unless the members say otherwise.
T_Request CreateWindow(const std::string& layout, int index,
                       const std::string& body = R"({"height":540,"horizontal_offset":0,)"
                                                 R"("horizontal_position":0,"op":"create",)"
                                                 R"("target_surface":0,"vertical_offset":0,)"
                                                 R"("vertical_position":0,"width":960})") {
  return CRequestCapture::Any(AVP_MSG_MV_CREATE_WIN, e_method_post,
                              "/api/multiview/layout/" + layout + "/window/" + std::to_string(index), body + "\n");
}

T_Request ShowLayout(const std::string& layout, const std::string& video = R"({"fps":60,"height":1080,"width":1920})") {
  return CRequestCapture::Post(AVP_MSG_MV_SET_DISP,
                               R"({"layout":")" + layout + R"(","op":"set:multiview","video":)" + video + "}");
}

T_Request ReadLayouts() { return CRequestCapture::Any(AVP_MSG_GET_LAYOUT, e_method_get, "/api/multiview/layout"); }

// Everything for the layout "quad" with one window, the requests of its sources in the middle.
std::vector<T_Request> Quad(const std::vector<T_Request>& sources) {
  std::vector<T_Request> requests = {LeaveAll("HDMI"), DeleteLayout("quad"), CreateLayout("quad", "1920", "1080"),
                                     CreateWindow("quad", 0)};
  requests.insert(requests.end(), sources.begin(), sources.end());
  requests.push_back(ShowLayout("quad"));
  requests.push_back(ReadLayouts());
  return requests;
}

constexpr char kHead[] = R"("layout":"quad","scaler":"1920x1080p@60")";
constexpr char kPlace[] = R"("horizontalPosition":0,"verticalPosition":0,"width":960,"height":540)";

std::string Window(const std::string& members) { return "{" + members + "}"; }

std::string Windows(const std::string& windows) { return R"(,"windows":[)" + windows + "]"; }

std::string OneWindow() { return Windows(Window(std::string(R"("index":0,)") + kPlace)); }

std::string Sources(const std::string& sources) { return R"(,"sources":[)" + sources + "]"; }

T_CommandRow Multiview(const std::string& name, const std::string& members, const std::vector<T_Request>& requests) {
  return {name, ReuseHanler::SendMultiviewCmd, "{" + members + "}", requests, true};
}

class MultiviewCommand : public CommandFixture,
                         public testing::WithParamInterface<std::tuple<T_CommandRow, E_DEVICE_MODE>> {};

TEST_P(MultiviewCommand, QueuesExactlyThisInEveryRole) {
  RunRow(std::get<0>(GetParam()), {{e_TX, e_RX, e_TRX}, ""}, std::get<1>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, MultiviewCommand,
    testing::Combine(
        testing::Values(
            Multiview("OneWindowWithoutSources", kHead + OneWindow(), Quad({})),
            Multiview("EmptySources", kHead + OneWindow() + Sources(""), Quad({})),
            Multiview("SourcesOfTheWrongType", kHead + OneWindow() + R"(,"sources":{"a":1})", Quad({})),
            Multiview("SizeOfItsOwn", std::string(kHead) + R"(,"width":1280,"height":720)" + OneWindow(),
                      {LeaveAll("HDMI"), DeleteLayout("quad"), CreateLayout("quad", "1280", "720"),
                       CreateWindow("quad", 0), ShowLayout("quad"), ReadLayouts()}),
            Multiview("SizeOfTheWrongTypeIsThatOfTheTiming",
                      std::string(kHead) + R"(,"width":"1280","height":true)" + OneWindow(), Quad({})),
            Multiview("NameOfEveryKindOfCharacter", R"("layout":"Aa0._-","scaler":"3840x2160")" + OneWindow(),
                      {LeaveAll("HDMI"), DeleteLayout("Aa0._-"), CreateLayout("Aa0._-", "3840", "2160"),
                       CreateWindow("Aa0._-", 0), ShowLayout("Aa0._-", R"({"fps":60,"height":2160,"width":3840})"),
                       ReadLayouts()}),
            Multiview("WindowsInTheOrderGiven",
                      kHead + Windows(Window(std::string(R"("index":31,)") + kPlace) + "," +
                                      Window(std::string(R"("index":0,)") + kPlace)),
                      {LeaveAll("HDMI"), DeleteLayout("quad"), CreateLayout("quad", "1920", "1080"),
                       CreateWindow("quad", 31), CreateWindow("quad", 0), ShowLayout("quad"), ReadLayouts()}),
            Multiview("WindowWithEverything",
                      kHead + Windows(Window(R"("index":2,"horizontalPosition":-4,"verticalPosition":6,"width":8,)"
                                             R"("height":10,"horizontalOffset":12,"verticalOffset":14,)"
                                             R"("targetSurface":1)")),
                      {LeaveAll("HDMI"), DeleteLayout("quad"), CreateLayout("quad", "1920", "1080"),
                       CreateWindow("quad", 2,
                                    R"({"height":10,"horizontal_offset":12,"horizontal_position":-4,"op":"create",)"
                                    R"("target_surface":1,"vertical_offset":14,"vertical_position":6,"width":8})"),
                       ShowLayout("quad"), ReadLayouts()}),
            Multiview("OptionalsOfAWindowOfTheWrongType",
                      kHead + Windows(Window(std::string(R"("index":0,)") + kPlace +
                                             R"(,"horizontalOffset":"1","verticalOffset":null,"targetSurface":[])")),
                      Quad({}))),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

INSTANTIATE_TEST_SUITE_P(
    Sources, MultiviewCommand,
    testing::Combine(
        testing::Values(
            Multiview("ScaledStreamByDefault",
                      kHead + OneWindow() + Sources(R"({"sourceDevice":"0016c04e21e7","subscriptionIndex":3})"),
                      Quad({Subscribe("HDMI", 3, "235.22.33.231")})),
            Multiview("FullStream",
                      kHead + OneWindow() +
                          Sources(R"({"sourceDevice":"0016c04e21e7","streamIndex":0,"subscriptionIndex":0})"),
                      Quad({Subscribe("HDMI", 0, "235.14.33.231")})),
            Multiview("StreamIndexOfTheWrongType",
                      kHead + OneWindow() +
                          Sources(R"({"sourceDevice":"0016c04e21e7","streamIndex":"0","subscriptionIndex":0})"),
                      Quad({Subscribe("HDMI", 0, "235.22.33.231")})),
            Multiview("StreamTypeOfTheWrongType",
                      kHead + OneWindow() +
                          Sources(R"({"streamType":5,"sourceDevice":"0016c04e21e7","subscriptionIndex":0})"),
                      Quad({Subscribe("HDMI", 0, "235.22.33.231")})),
            Multiview("NoneNullAndEmptyLeave",
                      kHead + OneWindow() +
                          Sources(R"({"sourceDevice":"None","subscriptionIndex":0},)"
                                  R"({"sourceDevice":"NULL","subscriptionIndex":31},)"
                                  R"({"sourceDevice":"","subscriptionIndex":2})"),
                      Quad({Leave("HDMI", 0), Leave("HDMI", 31), Leave("HDMI", 2)})),
            Multiview("TheSameIndexOfAnotherType",
                      kHead + OneWindow() +
                          Sources(R"({"sourceDevice":"0016c04e21e7","subscriptionIndex":1},)"
                                  R"({"streamType":"HDMI_AUDIO","sourceDevice":"none","subscriptionIndex":1})"),
                      Quad({Subscribe("HDMI", 1, "235.22.33.231"), Leave("HDMI_AUDIO", 1)}))),
        testing::Values(e_TX, e_RX, e_TRX)),
    RowAndRoleName);

// A command with a fault, and the one line about it.
struct T_FaultRow {
  std::string name;
  std::string members;
  std::string line;
};
class MultiviewFault : public CommandFixture, public testing::WithParamInterface<T_FaultRow> {
 protected:
  ~MultiviewFault() override { CBrntDevice::SetMVSources({}); }
};

TEST_P(MultiviewFault, QueuesNothingAndIsOneErrorLine) {
  CBrntDevice::SetMVSources({{"kept", "as it was"}});
  EXPECT_FALSE(Run(ReuseHanler::SendMultiviewCmd, "{" + GetParam().members + "}"));
  EXPECT_THAT(Requests(), IsEmpty());
  EXPECT_THAT(Errors(), ElementsAre("set multiview,but " + GetParam().line));
  EXPECT_THAT(CBrntDevice::GetMVSources(), ElementsAre(Pair("kept", "as it was")));
}

std::string FaultName(const testing::TestParamInfo<T_FaultRow>& row) { return row.param.name; }

INSTANTIATE_TEST_SUITE_P(
    Layout, MultiviewFault,
    testing::Values(T_FaultRow{"NoLayout", R"("scaler":"1920x1080")" + OneWindow(),
                               "[layout] of the layout is missing"},
                    T_FaultRow{"LayoutOfTheWrongType", R"("layout":4,"scaler":"1920x1080")" + OneWindow(),
                               "[layout] of the layout is missing"},
                    T_FaultRow{"EmptyLayout", R"("layout":"","scaler":"1920x1080")" + OneWindow(),
                               "[layout] of the layout is no name for a layout"},
                    T_FaultRow{"LayoutThatIsAPath", R"("layout":"a/b","scaler":"1920x1080")" + OneWindow(),
                               "[layout] of the layout is no name for a layout"},
                    T_FaultRow{"LayoutWithAQuery", R"("layout":"a?b","scaler":"1920x1080")" + OneWindow(),
                               "[layout] of the layout is no name for a layout"},
                    T_FaultRow{"LayoutWithABlank", R"("layout":"a b","scaler":"1920x1080")" + OneWindow(),
                               "[layout] of the layout is no name for a layout"},
                    T_FaultRow{"LayoutWithAZero", R"("layout":"a\u0000","scaler":"1920x1080")" + OneWindow(),
                               "[layout] of the layout is no name for a layout"},
                    T_FaultRow{"LayoutOfAnotherAlphabet", R"("layout":"\u00e4","scaler":"1920x1080")" + OneWindow(),
                               "[layout] of the layout is no name for a layout"},
                    T_FaultRow{"LayoutThatIsTheFolderAbove", R"("layout":"..","scaler":"1920x1080")" + OneWindow(),
                               "[layout] of the layout is no name for a layout"},
                    T_FaultRow{"NoScaler", R"("layout":"quad")" + OneWindow(), "[scaler] of the layout is missing"},
                    T_FaultRow{"ScalerOfTheWrongType", R"("layout":"quad","scaler":1080)" + OneWindow(),
                               "[scaler] of the layout is missing"},
                    T_FaultRow{"ScalerThatIsInNoTable", R"("layout":"quad","scaler":"bypass")" + OneWindow(),
                               "[scaler] of the layout is unknown"},
                    T_FaultRow{"WidthOf0", std::string(kHead) + R"(,"width":0)" + OneWindow(),
                               "[width] of the layout is out of range"},
                    T_FaultRow{"NegativeHeight", std::string(kHead) + R"(,"height":-2)" + OneWindow(),
                               "[height] of the layout is out of range"}),
    FaultName);

INSTANTIATE_TEST_SUITE_P(
    Windows, MultiviewFault,
    testing::Values(
        T_FaultRow{"NoWindows", kHead, "[windows] of the layout is missing"},
        T_FaultRow{"EmptyWindows", kHead + Windows(""), "[windows] of the layout is missing"},
        T_FaultRow{"WindowsOfTheWrongType", std::string(kHead) + R"(,"windows":{"index":0})",
                   "[windows] of the layout is missing"},
        T_FaultRow{"WindowThatIsNoObject", kHead + Windows("7"), "[index] of window 0 is missing"},
        T_FaultRow{"NoIndex", kHead + Windows(Window(kPlace)), "[index] of window 0 is missing"},
        T_FaultRow{"IndexOfTheWrongType", kHead + Windows(Window(std::string(R"("index":"0",)") + kPlace)),
                   "[index] of window 0 is missing"},
        T_FaultRow{"NegativeIndex", kHead + Windows(Window(std::string(R"("index":-1,)") + kPlace)),
                   "[index] of window 0 is out of range"},
        T_FaultRow{"IndexOf32", kHead + Windows(Window(std::string(R"("index":32,)") + kPlace)),
                   "[index] of window 0 is out of range"},
        T_FaultRow{"IndexTwice",
                   kHead + Windows(Window(std::string(R"("index":5,)") + kPlace) + "," +
                                   Window(std::string(R"("index":5,)") + kPlace)),
                   "[index] of window 1 is taken already"},
        T_FaultRow{"NoHorizontalPosition",
                   kHead + Windows(Window(R"("index":0,"verticalPosition":0,"width":960,"height":540)")),
                   "[horizontalPosition] of window 0 is missing"},
        T_FaultRow{
            "VerticalPositionOfTheWrongType",
            kHead +
                Windows(Window(R"("index":0,"horizontalPosition":0,"verticalPosition":"0","width":960,"height":540)")),
            "[verticalPosition] of window 0 is missing"},
        T_FaultRow{"NoWindowWidth",
                   kHead + Windows(Window(R"("index":0,"horizontalPosition":0,"verticalPosition":0,"height":540)")),
                   "[width] of window 0 is missing"},
        T_FaultRow{
            "WindowWidthOf0",
            kHead + Windows(Window(R"("index":0,"horizontalPosition":0,"verticalPosition":0,"width":0,"height":540)")),
            "[width] of window 0 is out of range"},
        T_FaultRow{"NoWindowHeight",
                   kHead + Windows(Window(R"("index":0,"horizontalPosition":0,"verticalPosition":0,"width":960)")),
                   "[height] of window 0 is missing"},
        T_FaultRow{"NegativeWindowHeightInTheSecondWindow",
                   kHead + Windows(Window(std::string(R"("index":0,)") + kPlace) + "," +
                                   Window(R"("index":1,"horizontalPosition":0,"verticalPosition":0,"width":960,)"
                                          R"("height":-540)")),
                   "[height] of window 1 is out of range"}),
    FaultName);

INSTANTIATE_TEST_SUITE_P(
    Sources, MultiviewFault,
    testing::Values(T_FaultRow{"SourceThatIsNoObject", kHead + OneWindow() + Sources("[]"),
                               "[sourceDevice] of source 0 is missing"},
                    T_FaultRow{"NoSourceDevice", kHead + OneWindow() + Sources(R"({"subscriptionIndex":0})"),
                               "[sourceDevice] of source 0 is missing"},
                    T_FaultRow{"SourceDeviceOfTheWrongType",
                               kHead + OneWindow() + Sources(R"({"sourceDevice":16,"subscriptionIndex":0})"),
                               "[sourceDevice] of source 0 is missing"},
                    T_FaultRow{"SourceDeviceThatIsNull",
                               kHead + OneWindow() + Sources(R"({"sourceDevice":null,"subscriptionIndex":0})"),
                               "[sourceDevice] of source 0 is missing"},
                    T_FaultRow{"SourceDeviceTooShortForAnAddress",
                               kHead + OneWindow() + Sources(R"({"sourceDevice":"21e7","subscriptionIndex":0})"),
                               "[sourceDevice] of source 0 is out of range"},
                    T_FaultRow{"StreamIndexOf2",
                               kHead + OneWindow() +
                                   Sources(R"({"sourceDevice":"0016c04e21e7","streamIndex":2,"subscriptionIndex":0})"),
                               "[streamIndex] of source 0 is out of range"},
                    T_FaultRow{"NoSubscriptionIndex",
                               kHead + OneWindow() + Sources(R"({"sourceDevice":"0016c04e21e7"})"),
                               "[subscriptionIndex] of source 0 is missing"},
                    T_FaultRow{"SubscriptionIndexOfTheWrongType",
                               kHead + OneWindow() + Sources(R"({"sourceDevice":"none","subscriptionIndex":"0"})"),
                               "[subscriptionIndex] of source 0 is missing"},
                    T_FaultRow{"NegativeSubscriptionIndex",
                               kHead + OneWindow() + Sources(R"({"sourceDevice":"none","subscriptionIndex":-1})"),
                               "[subscriptionIndex] of source 0 is out of range"},
                    T_FaultRow{"SubscriptionIndexOf32",
                               kHead + OneWindow() + Sources(R"({"sourceDevice":"none","subscriptionIndex":32})"),
                               "[subscriptionIndex] of source 0 is out of range"},
                    T_FaultRow{"SubscriptionIndexTwiceInOneTypeWhateverItsCase",
                               kHead + OneWindow() +
                                   Sources(R"({"streamType":"hdmi","sourceDevice":"none","subscriptionIndex":4},)"
                                           R"({"sourceDevice":"0016c04e21e7","subscriptionIndex":4})"),
                               "[subscriptionIndex] of source 1 is taken already"}),
    FaultName);

class MultiviewSources : public CommandFixture {
 protected:
  void Show(const std::string& sources) {
    EXPECT_TRUE(Run(ReuseHanler::SendMultiviewCmd, "{" + (kHead + OneWindow() + Sources(sources)) + "}"));
  }
};

TEST_F(MultiviewSources, AreExactlyThoseOfTheLastLayout) {
  Show(
      R"({"sourceDevice":"0016c04e21e7","subscriptionIndex":0},{"sourceDevice":"0016c04e21e8","subscriptionIndex":1})");
  EXPECT_THAT(CBrntDevice::GetMVSources(), ElementsAre(Pair(kTxA, kId), Pair(kTxB, kId)));
  Show(R"({"sourceDevice":"0016c04e21e8","subscriptionIndex":0},{"sourceDevice":"none","subscriptionIndex":1})");
  EXPECT_THAT(CBrntDevice::GetMVSources(), ElementsAre(Pair(kTxB, kId)));
  Show("");
  EXPECT_THAT(CBrntDevice::GetMVSources(), IsEmpty());
}

TEST_F(MultiviewSources, ReplaceFailedSubscriptions) {
  ASSERT_TRUE(m_requests.LeaveAFailedSubscription());
  Show("");
  EXPECT_FALSE(CRequestCapture::FailedSubscriptionWaits());
}

TEST_F(MultiviewSources, OfAFaultyCommandLeaveFailedSubscriptionsAlone) {
  ASSERT_TRUE(m_requests.LeaveAFailedSubscription());
  EXPECT_FALSE(Run(ReuseHanler::SendMultiviewCmd, "{}"));
  EXPECT_TRUE(CRequestCapture::FailedSubscriptionWaits());
}

TEST_F(MultiviewSources, ReachTheOutputCommandAsItsMultiviewLayout) {
  EXPECT_TRUE(Run(ReuseHanler::SetRXVideoOutput,
                  R"({"displayMode":"MULTIVIEW","multiviewLayout":{)" + (kHead + OneWindow()) + "}}"));
  EXPECT_EQ(Requests(), Quad({}));
}

}  // namespace
