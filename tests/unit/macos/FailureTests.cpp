// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "Platform/macos/files/SystemRefusal.h"
#include "Platform/macos/files/TrashFailure.h"

namespace qm::macos {

/// What the system would be asked: a made-up item that nothing is known of.
std::string systemRefusalAt(int error, const std::string& path) { return systemRefusal(error, {path, 0, 0}); }

namespace {

using ::testing::HasSubstr;

constexpr unsigned kUserImmutable = 0x2;
constexpr unsigned kRestricted = 0x80000;

TEST(SystemRefusalTest, NamesSystemIntegrityProtection) {
  EXPECT_THAT(systemRefusal(EPERM, {"/Applications/Safari.app", kRestricted, 0}), HasSubstr("System Integrity"));
  EXPECT_THAT(systemRefusal(EPERM, {"/System/Library/a", 0, kRestricted}), HasSubstr("System Integrity"));
}

TEST(SystemRefusalTest, SaysWhereToAllowApplicationsToBeChanged) {
  EXPECT_THAT(systemRefusal(EPERM, {"/Applications/Tessaly.app", 0, 0}),
              HasSubstr("Privacy & Security > App Management"));
}

TEST(SystemRefusalTest, SaysWhereToAllowFilesToBeReached) {
  EXPECT_THAT(systemRefusal(EPERM, {"/Users/sam/Library/Caches/a", 0, 0}),
              HasSubstr("Privacy & Security > Full Disk Access"));
}

TEST(SystemRefusalTest, LeavesLocksAndPermissionsToTheirOwnWords) {
  EXPECT_EQ(systemRefusal(EPERM, {"/a", kUserImmutable, 0}), "");
  EXPECT_EQ(systemRefusal(EPERM, {"/a", 0, kUserImmutable}), "");
  EXPECT_EQ(systemRefusal(EACCES, {"/Applications/Tessaly.app", kRestricted, 0}), "");
  EXPECT_EQ(systemRefusal(ENOENT, {"/a", 0, 0}), "");
}

TEST(TrashFailureTest, TakesTheNumberUnderneathBeforeTheFrameworksOwn) {
  EXPECT_EQ(errorNumberOf(513, EPERM), EPERM);
  EXPECT_EQ(errorNumberOf(513, 0), EACCES);
  EXPECT_EQ(errorNumberOf(513, -5000), EACCES);  // another domain's
  EXPECT_EQ(errorNumberOf(4, 0), ENOENT);
  EXPECT_EQ(errorNumberOf(99999, 0), EIO);
}

TEST(TrashFailureTest, KeepsTheSystemsSentenceUnlessTheSystemKeepsTheItem) {
  TrashAnswer answer;
  answer.cocoaCode = 513;
  answer.description = "“a” couldn’t be moved\nto the trash.";
  EXPECT_EQ(trashFailure(answer, "/Users/sam/a").localizedDescription(), "“a” couldn’t be moved?to the trash.");
  answer.posixCode = EPERM;
  EXPECT_THAT(trashFailure(answer, "/Users/sam/a").localizedDescription(), HasSubstr("Full Disk Access"));
  EXPECT_EQ(trashFailure(answer, "/Users/sam/a").code(), EPERM);
}

}  // namespace
}  // namespace qm::macos
