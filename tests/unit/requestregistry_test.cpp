#include "requestregistry.h"

#include <gtest/gtest.h>

#include <string>

namespace {

bool IsUnknown(const CRequestRegistry::T_Poll& poll) {
  return poll.answer.find("\"ILLEGAL_ARGUMENT\"") != std::string::npos;
}

bool IsProcessing(const CRequestRegistry::T_Poll& poll, int id) {
  return poll.answer ==
         "{\"status\":\"PROCESSING\",\"request_id\":" + std::to_string(id) + ",\"result\":null,\"error\":null}";
}

TEST(RequestRegistry, CountsIdsFromOne) {
  CRequestRegistry registry;
  EXPECT_EQ(registry.Open(), 1);
  EXPECT_EQ(registry.Open(), 2);
}

TEST(RequestRegistry, AnIdNeverGivenIsAnIllegalArgument) {
  CRequestRegistry registry;
  EXPECT_TRUE(IsUnknown(registry.Poll(1)));
  EXPECT_TRUE(IsUnknown(registry.Poll(-1)));
}

TEST(RequestRegistry, SettlesAfterSoManyPolls) {
  CRequestRegistry registry;
  const int id = registry.Open();
  registry.Pend(id, "final", 1);
  EXPECT_TRUE(IsProcessing(registry.Poll(id), id));
  EXPECT_TRUE(registry.IsOpen(id));
  const CRequestRegistry::T_Poll last = registry.Poll(id);
  EXPECT_EQ(last.answer, "final");
  EXPECT_TRUE(last.settledNow);
  EXPECT_FALSE(registry.Poll(id).settledNow) << "a request settles once";
}

TEST(RequestRegistry, StaysOpenUntilItIsSettled) {
  CRequestRegistry registry;
  const int id = registry.Open();
  registry.Pend(id, "final", -1);
  for (int poll = 0; poll < 10; ++poll) EXPECT_TRUE(IsProcessing(registry.Poll(id), id));
  registry.Settle(id);
  EXPECT_FALSE(registry.IsOpen(id));
  EXPECT_EQ(registry.Poll(id).answer, "final");
}

TEST(RequestRegistry, SettlesWithAnotherAnswer) {
  CRequestRegistry registry;
  const int id = registry.Open();
  registry.Pend(id, "final", -1);
  registry.Settle(id, "other");
  EXPECT_EQ(registry.Poll(id).answer, "other");
}

TEST(RequestRegistry, KeepsTheLast256Results) {
  CRequestRegistry registry;
  for (int i = 0; i < 257; ++i) registry.Settle(registry.Open(), "final");
  EXPECT_TRUE(IsUnknown(registry.Poll(1)));
  EXPECT_EQ(registry.Poll(2).answer, "final");
  EXPECT_EQ(registry.Poll(257).answer, "final");
}

TEST(RequestRegistry, ForgetsTheOldestOfTooManyOpenRequests) {
  CRequestRegistry registry;
  for (int i = 0; i < 4353; ++i) registry.Pend(registry.Open(), "final", -1);
  EXPECT_TRUE(IsUnknown(registry.Poll(1)));
  EXPECT_TRUE(IsProcessing(registry.Poll(2), 2));
}

TEST(RequestRegistry, SettlingTwiceKeepsOneResult) {
  CRequestRegistry registry;
  const int first = registry.Open();
  registry.Settle(first, "final");
  for (int i = 0; i < 300; ++i) registry.Settle(first);
  EXPECT_EQ(registry.Poll(first).answer, "final");
}

}  // namespace
