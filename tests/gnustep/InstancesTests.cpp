// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/Instances.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace qm::appkit {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
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
  EXPECT_FALSE(instanceToLeaveTo(kOwn, {{10, std::nullopt, false}, kOwn}));
}

TEST(AppKitInstances, StayWhereTheirOwnStartIsUnknown) {
  const Instance own{.process = 20, .start = std::nullopt, .hasEnded = false};
  EXPECT_FALSE(instanceToLeaveTo(own, {{10, 800, false}, own}));
}

TEST(AppKitInstances, CountTheirTimeInMicroseconds) {
  EXPECT_EQ(microsecondsOf(1, 2), 1'000'002U);
  EXPECT_LT(microsecondsOf(1'700'000'000, 999'999), microsecondsOf(1'700'000'001, 0));
}

/// A second start of the program, while the instance 10 may run.
class SecondStart : public ::testing::Test {
 protected:
  std::optional<int> leave(const std::optional<std::string>& identifier = "com.example") {
    const auto list = [this](const std::string& program) {
      EXPECT_EQ(program, "com.example");
      return ++listed <= listedWithOther ? std::vector<Instance>{{10, 800, false}, kOwn} : std::vector<Instance>{kOwn};
    };
    const auto activate = [this](pid_t process) {
      activated.push_back(process);
      return answers;
    };
    return leaveToFirstInstance(identifier, kOwn, "program", list, activate);
  }

  int listed = 0;
  int listedWithOther = 2;  // how often the other is in the list
  bool answers = true;
  std::vector<pid_t> activated;
};

TEST_F(SecondStart, BringsTheFirstToTheFrontAndEnds) {
  EXPECT_THAT(leave(), Optional(EXIT_SUCCESS));
  EXPECT_THAT(activated, ElementsAre(10));
}

TEST_F(SecondStart, GoesOnWhereThereIsNoFirst) {
  listedWithOther = 0;
  EXPECT_FALSE(leave());
  EXPECT_THAT(activated, IsEmpty());
}

TEST_F(SecondStart, GoesOnWhereOthersCannotBeFound) {
  EXPECT_FALSE(leave(std::nullopt));
  EXPECT_EQ(listed, 0);
  EXPECT_THAT(activated, IsEmpty());
}

TEST_F(SecondStart, FailsWhereTheFirstRunsAndDoesNotComeToTheFront) {
  answers = false;
  ::testing::internal::CaptureStderr();
  EXPECT_THAT(leave(), Optional(EXIT_FAILURE));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "program: it is running already, and does not answer.\n");
}

TEST_F(SecondStart, GoesOnWhereTheFirstHasEndedMeanwhile) {
  answers = false;
  listedWithOther = 1;
  EXPECT_FALSE(leave());
  EXPECT_THAT(activated, ElementsAre(10));
}

}  // namespace
}  // namespace qm::appkit
