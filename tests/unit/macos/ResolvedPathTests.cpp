// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "Platform/posix/ItemPath.h"
#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::posix {
namespace {

class ResolvedTextPath : public ::testing::Test {
 protected:
  ResolvedTextPath() { disk.addFolder("a.app"); }

  qm::testing::TemporaryFolder disk;
};

TEST_F(ResolvedTextPath, IsThatOfTheItem) { EXPECT_EQ(resolvedTextPath(disk.at("a.app")), disk.at("a.app")); }

TEST_F(ResolvedTextPath, LeadsBehindLinks) {
  std::filesystem::create_directory_symlink(disk.at("a.app"), disk.at("link"));
  EXPECT_EQ(resolvedTextPath(disk.at("link")), disk.at("a.app"));
}

TEST_F(ResolvedTextPath, IsEmptyWhereNothingIs) {
  EXPECT_EQ(resolvedTextPath(disk.at("missing.app")), "");
  EXPECT_EQ(resolvedTextPath(""), "");
  EXPECT_EQ(resolvedTextPath("a.app"), "");
}

TEST_F(ResolvedTextPath, IsEmptyIfItIsNoText) {
  disk.addFolder("\xff.app");
  std::filesystem::create_directory_symlink(disk.at("\xff.app"), disk.at("link.app"));
  EXPECT_EQ(resolvedTextPath(disk.at("\xff.app")), "");
  EXPECT_EQ(resolvedTextPath(disk.at("link.app")), "");
}

}  // namespace
}  // namespace qm::posix
