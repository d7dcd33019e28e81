// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "Platform/macos/files/FileRules.h"
#include "Platform/macos/files/TrashParts.h"

namespace qm::macos {

namespace {
int playedObstacle = 0;
}  // namespace

/// An invented item. Only its obstacle can be set.
RefusedItem refusedItemAt(const std::string& path) {
  return {.path = path, .flags = 0, .folderFlags = 0, .obstacle = playedObstacle};
}

namespace {

using ::testing::HasSubstr;

TEST(SystemRefusalTest, NamesSystemIntegrityProtection) {
  EXPECT_THAT(systemRefusal(EPERM, {"/Applications/Safari.app", kRestricted, 0, 0}), HasSubstr("System Integrity"));
  EXPECT_THAT(systemRefusal(EPERM, {"/System/Library/a", 0, kRestricted, 0}), HasSubstr("System Integrity"));
}

TEST(SystemRefusalTest, SaysWhereToAllowApplicationsToBeChanged) {
  EXPECT_THAT(systemRefusal(EPERM, {"/Applications/Tessaly.app", 0, 0}),
              HasSubstr("Privacy & Security > App Management"));
}

TEST(SystemRefusalTest, SaysWhereToAllowFilesToBeReached) {
  EXPECT_THAT(systemRefusal(EPERM, {"/Users/sam/Library/Caches/a", 0, 0}),
              HasSubstr("Privacy & Security > Full Disk Access"));
}

TEST(SystemRefusalTest, SaysWhereToAllowTheTrashToBeUsed) {
  EXPECT_EQ(
      systemRefusal(EPERM, {"/Users/sam/.Trash", 0, 0}),
      "The system keeps the Trash from this program. Allow the program, or the Terminal that it is started in, in "
      "System Settings > Privacy & Security > Full Disk Access, and start it again.");
}

TEST(TrashFolderFailureTest, NamesTheProtectionOfTheTrashAndNotOneOfTheItem) {
  const auto status = trashFolderFailure(EPERM, "/Applications/Tessaly.app", "/Users/sam/.Trash");
  EXPECT_EQ(status.code(), EPERM);
  EXPECT_THAT(status.localizedDescription(), HasSubstr("keeps the Trash"));
  EXPECT_THAT(status.localizedDescription(), ::testing::Not(HasSubstr("App Management")));
}

TEST(TrashFolderFailureTest, SaysWhyTheTrashCannotBeUsed) {
  const auto because = [](int error) {
    return trashFolderFailure(error, "/Applications/a", "/Users/sam/.Trash").localizedDescription();
  };
  EXPECT_EQ(because(EACCES),
            "“a” couldn’t be moved because you don’t have permission to use the Trash folder “/Users/sam/.Trash”.");
  EXPECT_EQ(because(ENOTDIR), "“a” couldn’t be moved because “/Users/sam/.Trash” is not a real folder.");
  EXPECT_EQ(because(ENOENT),
            "“a” couldn’t be moved because the Trash folder “/Users/sam/.Trash” cannot be used: No such file or "
            "directory.");
}

TEST(SystemRefusalTest, LeavesLocksAndPermissionsToTheirOwnWords) {
  EXPECT_EQ(systemRefusal(EPERM, {"/a", kUserImmutable, 0, 0}), "");
  EXPECT_EQ(systemRefusal(EPERM, {"/a", 0, kUserImmutable, 0}), "");
  EXPECT_EQ(systemRefusal(EACCES, {"/Applications/Tessaly.app", kRestricted, 0, 0}), "");
  EXPECT_EQ(systemRefusal(ENOENT, {"/a", 0, 0}), "");
}

TEST(SystemRefusalTest, NamesNoProtectionWhereALockCannotBeRuledOut) {
  EXPECT_EQ(systemRefusal(EPERM, {"/Applications/Tessaly.app", std::nullopt, 0, 0}), "");
  EXPECT_EQ(systemRefusal(EPERM, {"/Applications/Tessaly.app", 0, std::nullopt, 0}), "");
}

TEST(SystemRefusalTest, NamesNoProtectionWhereSomethingElseKeepsTheItem) {
  EXPECT_EQ(systemRefusal(EPERM, {"/Applications/Tessaly.app", 0, 0, EACCES}), "");
  EXPECT_THAT(systemRefusal(EPERM, {"/Applications/Safari.app", kRestricted, 0, EPERM}), HasSubstr("System Integrity"));
}

constexpr const char* kCocoa = "NSCocoaErrorDomain";
constexpr const char* kPosix = "NSPOSIXErrorDomain";
constexpr const char* kSystemStatus = "NSOSStatusErrorDomain";

TrashAnswer answerOf(const char* domain, long code, const char* domainBelow = "", long codeBelow = 0) {
  TrashAnswer answer;
  answer.domain = domain;
  answer.code = code;
  answer.domainBelow = domainBelow;
  answer.codeBelow = codeBelow;
  answer.description = "“a” couldn’t be moved\nto the trash.";
  return answer;
}

class TrashFailureTest : public ::testing::Test {
 protected:
  TrashFailureTest() { playedObstacle = 0; }
};

TEST_F(TrashFailureTest, TakesTheNumberUnderneathBeforeTheFrameworksOwn) {
  EXPECT_EQ(errorNumberOf(answerOf(kCocoa, 513, kPosix, EPERM)), EPERM);
  EXPECT_EQ(errorNumberOf(answerOf(kCocoa, 513)), EACCES);
  EXPECT_EQ(errorNumberOf(answerOf(kCocoa, 4)), ENOENT);
  EXPECT_EQ(errorNumberOf(answerOf(kCocoa, 99999)), EIO);
}

TEST_F(TrashFailureTest, TakesNoCodeForThatOfAnotherDomain) {
  EXPECT_EQ(errorNumberOf(answerOf(kCocoa, 513, kSystemStatus, -5000)), EACCES);
  EXPECT_EQ(errorNumberOf(answerOf(kCocoa, 513, kCocoa, 4)), EACCES);
  EXPECT_EQ(errorNumberOf(answerOf(kPosix, EACCES)), EACCES);
  EXPECT_EQ(errorNumberOf(answerOf(kSystemStatus, 4)), EIO);
}

TEST_F(TrashFailureTest, NamesTheSystemsProtectionWhereNothingElseKeepsTheItem) {
  const auto status = trashFailure(answerOf(kCocoa, 513, kSystemStatus, -5000), "/Applications/Tessaly.app");
  EXPECT_THAT(status.localizedDescription(), HasSubstr("App Management"));
  EXPECT_EQ(status.code(), EPERM);
}

TEST_F(TrashFailureTest, KeepsTheSystemsSentenceWherePermissionsKeepTheItem) {
  playedObstacle = EACCES;
  const auto status = trashFailure(answerOf(kCocoa, 513, kSystemStatus, -5000), "/Applications/Tessaly.app");
  EXPECT_EQ(status.localizedDescription(), "“a” couldn’t be moved?to the trash.");
  EXPECT_EQ(status.code(), EACCES);
}

TEST_F(TrashFailureTest, KeepsTheSystemsSentenceUnlessTheSystemKeepsTheItem) {
  EXPECT_EQ(trashFailure(answerOf(kCocoa, 513, kPosix, EACCES), "/Users/sam/a").localizedDescription(),
            "“a” couldn’t be moved?to the trash.");
  const auto status = trashFailure(answerOf(kCocoa, 513, kPosix, EPERM), "/Users/sam/a");
  EXPECT_THAT(status.localizedDescription(), HasSubstr("Full Disk Access"));
  EXPECT_EQ(status.code(), EPERM);
}

TEST_F(TrashFailureTest, NamesNoProtectionWhereTheProgramItselfRefuses) {
  const auto status = trashRefusal(EPERM, "others can change the Trash", "/Users/sam/a");
  EXPECT_EQ(status.localizedDescription(), "“a” couldn’t be moved: others can change the Trash.");
  EXPECT_EQ(status.code(), EPERM);
}

}  // namespace
}  // namespace qm::macos
