// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/macos/system/MacPackages.h"
#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::macos {
namespace {
std::vector<std::string> askedOf;
}  // namespace

bool isPackage(const std::string& path) {
  askedOf.push_back(path);
  return path.ends_with(".app");
}

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MacPackagesTest : public ::testing::Test {
 protected:
  MacPackagesTest() {
    askedOf.clear();
    disk.addFolder("a.app");
    disk.addFolder("folder");
  }
  bool isFilePackage(const std::string& name) const { return MacPackages().isFilePackage(disk.at(name)); }

  qm::testing::TemporaryFolder disk;
};

TEST_F(MacPackagesTest, AreWhatTheSystemSays) {
  EXPECT_TRUE(isFilePackage("a.app"));
  EXPECT_FALSE(isFilePackage("folder"));
}

TEST_F(MacPackagesTest, AreFoundBehindLinks) {
  std::filesystem::create_directory_symlink(disk.at("a.app"), disk.at("link"));
  EXPECT_TRUE(isFilePackage("link"));
  EXPECT_THAT(askedOf, ElementsAre(disk.at("a.app")));
}

TEST_F(MacPackagesTest, AreNotAskedForWhereNothingIs) {
  EXPECT_FALSE(isFilePackage("missing.app"));
  EXPECT_FALSE(MacPackages().isFilePackage(""));
  EXPECT_THAT(askedOf, IsEmpty());
}

TEST_F(MacPackagesTest, AreNotAskedForByAPathThatIsNoText) {
  disk.addFolder("\xff.app");
  std::filesystem::create_directory_symlink(disk.at("\xff.app"), disk.at("link.app"));
  EXPECT_FALSE(isFilePackage("\xff.app"));
  EXPECT_FALSE(isFilePackage("link.app"));
  EXPECT_THAT(askedOf, IsEmpty());
}

}  // namespace
}  // namespace qm::macos
