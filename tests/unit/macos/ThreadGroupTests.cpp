// SPDX-License-Identifier: MIT
#include "Platform/macos/files/ThreadGroup.h"

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

}  // namespace
}  // namespace qm::posix
