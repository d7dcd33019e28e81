// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "Platform/macos/MacServices.h"
#include "Platform/macos/files/FileRules.h"
#include "Platform/macos/files/NumberedItem.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/unit/macos/FakeItem.h"

namespace qm::macos {
namespace {

constexpr std::uint16_t kLabel = 0x000e;

/// An item in a folder of an ordinary user's.
class FinderInformation : public ::testing::Test {
 protected:
  FinderInformation() {
    onlyItem = {};
    onlyItem.path = "/Users/sam/a";
  }

  int set(const std::string& origin = "/Users/sam/a") {
    return information.setFinderFlags(platform::FileReference(NumberedItem::at(origin)), kLabel).code();
  }
  std::optional<std::uint16_t> flags() {
    return information.finderFlags(platform::FileReference(NumberedItem::at("/Users/sam/a")));
  }

  qm::testing::FakePlatform fakes;
  const std::unique_ptr<platform::FinderInformation> made = makeFinderInformation(fakes.users);
  platform::FinderInformation& information = *made;
};

TEST_F(FinderInformation, KeepsTheFlagsOfAnItem) {
  EXPECT_EQ(flags(), 0U);
  EXPECT_EQ(set(), 0);
  EXPECT_EQ(flags(), kLabel);
}

TEST_F(FinderInformation, IsThatOfAnItemWithoutTheAttributeUntilItIsSet) {
  onlyItem.readError = kNoAttribute;
  EXPECT_EQ(flags(), 0U);
  EXPECT_EQ(set(), 0);
  EXPECT_EQ(onlyItem.writes, 1);
}

TEST_F(FinderInformation, IsNoneWhereItCannotBeRead) {
  onlyItem.readError = EIO;
  EXPECT_EQ(flags(), std::nullopt);
  EXPECT_EQ(set(), EIO);
  EXPECT_EQ(onlyItem.writes, 0);
}

TEST_F(FinderInformation, IsNoneOfAnotherServicesReference) {
  EXPECT_EQ(information.finderFlags({}), std::nullopt);
  EXPECT_EQ(information.setFinderFlags({}, kLabel).code(), ENOENT);
}

TEST_F(FinderInformation, IsNotSetOfAnItemThatIsGone) {
  onlyItem.status = std::nullopt;
  EXPECT_EQ(set(), ENOENT);
  onlyItem.path = std::nullopt;
  EXPECT_EQ(set(), ENOENT);
  EXPECT_EQ(onlyItem.writes, 0);
}

TEST_F(FinderInformation, SaysWhyItCannotBeSet) {
  onlyItem.writeError = EROFS;
  EXPECT_EQ(set(), EROFS);
}

TEST_F(FinderInformation, IsSetOfAFileWithAnotherName) {
  onlyItem.status->st_nlink = 2;
  EXPECT_EQ(set(), 0);
  EXPECT_EQ(onlyItem.writes, 1);
}

TEST_F(FinderInformation, IsNotSetAsRootIfThereIsNobodyWithWhoseRightsToDoIt) {
  fakes.users.actAsRoot(std::nullopt);
  EXPECT_EQ(set("relative"), EPERM);
  EXPECT_EQ(onlyItem.writes, 0);
}

}  // namespace
}  // namespace qm::macos
