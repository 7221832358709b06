// The orderly end by SIGTERM and SIGINT, wherever the process is at that moment.
#include "systemtest.h"

namespace {

class OrderlyStop : public SystemTest {
 protected:
  // Within 2 s (the fixture's limit), with status 0 and one line for it.
  void ExpectStop(int signalNumber) {
    EXPECT_EQ(Stop(signalNumber), 0);
    EXPECT_EQ(LogCount("INFO stopped by signal " + std::to_string(signalNumber)), 1u);
  }
};

TEST_F(OrderlyStop, WhileTheMasterLinkIsNotYetOpen) {
  StartHalyard();
  ASSERT_TRUE(WaitForLogLine("avp proxy run with mode"));
  ExpectStop(SIGTERM);
}

TEST_F(OrderlyStop, WhileItAnnouncesItself) {
  StartHalyard();
  ASSERT_TRUE(WaitForLogLine("Tell Cmd Core ,Avp Is Online"));
  ExpectStop(SIGTERM);
}

TEST_F(OrderlyStop, WhileItRuns) {
  BringUp();
  ExpectStop(SIGTERM);
}

TEST_F(OrderlyStop, ByAnInterruptFromTheTerminal) {
  BringUp();
  ExpectStop(SIGINT);
}

TEST_F(OrderlyStop, WhileARequestHangs) {
  BringUp();
  Avp().Script(simmatch::Op("subscribe"), T_SimAnswer::Slow(120'000), 0);
  ASSERT_TRUE(Core().Send("set-associations-video", R"({"streamSubscription":{"avpDeviceId":"0016c04e21e7"}})"));
  ASSERT_TRUE(Avp().WaitForRequest(simmatch::Op("subscribe"), kPatienceMs));
  ExpectStop(SIGTERM);
}

TEST_F(OrderlyStop, WhileARequestIsPolled) {
  BringUp();
  Avp().Script(simmatch::Op("subscribe"), T_SimAnswer::NeverSettles(), 0);
  ASSERT_TRUE(Core().Send("set-associations-video", R"({"streamSubscription":{"avpDeviceId":"0016c04e21e7"}})"));
  ASSERT_TRUE(Avp().WaitForRequest(simmatch::PathPrefix("/api/request/"), kPatienceMs));
  ExpectStop(SIGTERM);
}

TEST_F(OrderlyStop, IsNotHeldUpByCommandsThatWait) {
  StartCmdCore();
  StartHalyard();
  AnnounceCmdCore();
  for (int i = 0; i < 50; ++i) Core().Send("set-associations-usb-hid", R"({"streamSubscription":{"deviceID":"none"}})");
  ASSERT_TRUE(WaitForLogLine("USB_HID stop", 50));
  ExpectStop(SIGTERM);
}

TEST_F(OrderlyStop, OtherSignalsThatPeersCauseDoNotEndIt) {
  BringUp();
  Halyard().Signal(SIGPIPE);
  Avp().DropTci();
  ExpectNextCommandWorks();
}

}  // namespace
