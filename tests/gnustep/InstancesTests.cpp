// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/Instances.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qm::appkit {
namespace {

using ::testing::Optional;

constexpr Instance kOwn{.process = 20, .start = 1000, .hasEnded = false};

TEST(AppKitInstances, StayWhereThereIsNoOther) {
  EXPECT_FALSE(instanceToLeaveTo(kOwn, {}));
  EXPECT_FALSE(instanceToLeaveTo(kOwn, {kOwn}));
}

TEST(AppKitInstances, LeaveToTheOneThatWasStartedFirst) {
  EXPECT_THAT(instanceToLeaveTo(kOwn, {{30, 900, false}, kOwn, {10, 800, false}}), Optional(10));
}

TEST(AppKitInstances, StayWhereTheOtherWasStartedLater) {
  EXPECT_FALSE(instanceToLeaveTo(kOwn, {kOwn, {10, 1001, false}}));
}

TEST(AppKitInstances, NeverLeaveToEachOther) {
  const Instance other{.process = 21, .start = kOwn.start, .hasEnded = false};
  EXPECT_FALSE(instanceToLeaveTo(kOwn, {kOwn, other}));
  EXPECT_THAT(instanceToLeaveTo(other, {kOwn, other}), Optional(kOwn.process));
}

TEST(AppKitInstances, StayWhereTheOtherHasEnded) {
  EXPECT_FALSE(instanceToLeaveTo(kOwn, {{10, 800, true}, kOwn}));
  EXPECT_FALSE(instanceToLeaveTo(kOwn, {{10, 0, false}, kOwn}));
}

}  // namespace
}  // namespace qm::appkit
