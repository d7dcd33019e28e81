// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/ThreadIdentity.h"

#include <gtest/gtest.h>

namespace qm::posix {
namespace {

TEST(GroupOfAThread, IsTheAdministratorsForAnAdministrator) {
  EXPECT_EQ(groupOfThread({.uid = 501, .gid = 20, .groups = {20, 12, 80}}), kAdministrators);
}

TEST(GroupOfAThread, IsTheUsersOwnForAnybodyElse) {
  EXPECT_EQ(groupOfThread({.uid = 502, .gid = 20, .groups = {20, 12}}), 20U);
  EXPECT_EQ(groupOfThread({.uid = 503, .gid = 20, .groups = {}}), 20U);
}

TEST(IdsOfAThread, AreTheUsersAndThatGroups) {
  EXPECT_EQ(idsOfThread({.uid = 501, .gid = 20, .groups = {20, 80}}), (ThreadIds{501, kAdministrators}));
}

TEST(IdentityOfAThread, IsTakenOnlyIfItIsAnothers) {
  const FileSystemIdentity person{.uid = 501, .gid = 20, .groups = {}};
  EXPECT_TRUE(isAnothers(&person, 0));
  EXPECT_FALSE(isAnothers(&person, 501));
  EXPECT_FALSE(isAnothers(nullptr, 0));
}

}  // namespace
}  // namespace qm::posix
