// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "Platform/posix/process/FrontEndServices.h"
#include "tests/fakes/FakePlatform.h"

namespace qm::posix {
namespace {

class NoWait final : public posix::DescriptorWait {
 public:
  void waitUntilReadable(int /*descriptor*/) override {}
};

TEST(FrontEnd, MayHaveUsersOfItsOwn) {
  qm::testing::FakePlatform fakes;
  qm::testing::FakeUsers systems(fakes.calls);
  NoWait wait;
  const FrontEndServices plain{.mainThread = fakes.mainThread, .descriptorWait = wait};
  EXPECT_EQ(&plain.usersOr(systems), &systems);
  const FrontEndServices own{.mainThread = fakes.mainThread, .descriptorWait = wait, .users = &fakes.users};
  EXPECT_EQ(&own.usersOr(systems), &fakes.users);
}

}  // namespace
}  // namespace qm::posix
