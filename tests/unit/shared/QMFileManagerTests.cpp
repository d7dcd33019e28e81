// SPDX-License-Identifier: MIT
#include "Shared/QMFileManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "tests/unit/shared/LoggedTest.h"

namespace qm::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

template <class Path>
concept IsAPath = requires(Path path) {
  QMFileManager::removeFile(path);
}
|| requires(Path path) { QMFileManager::trashFile(path); }
|| requires(Path path) { QMFileManager::createDirectory(path); }
|| requires(Path path) { QMFileManager::trashDirectoryContents(path); }
|| requires(Path path) { QMFileManager::fileExistsAtPath(path); }
|| requires(Path path) { QMFileManager::isDirectoryAtPath(path); }
|| requires(Path path) { QMFileManager::isPackageAtPath(path); }
|| requires(Path path) { QMFileManager::isSymbolicLinkAtPath(path); }
|| requires(Path path) { QMFileManager::lockFile(path); }
|| requires(Path path) { QMFileManager::unlockFile(path); }
|| requires(Path path) { QMFileManager::isFileLocked(path); }
|| requires(Path path) { QMFileManager::lockFolder(path); }
|| requires(Path path) { QMFileManager::unlockFolder(path); }
|| requires(Path path) { QMFileManager::uniqueFilename(path); }
|| requires(Path path) { QMFileManager::fileSize(path); }
|| requires(Path path) { QMFileManager::isFolderEmpty(path); }
|| requires(Path path) { QMFileManager::removeFolderIfEmpty(path); }
|| requires(Path path) { QMFileManager::removeFile(path, QMFileManager::ShouldAuth::No); }
|| requires(Path path) { QMFileManager::trashFile(path, std::chrono::seconds(1)); };
static_assert(!std::is_default_constructible_v<QMFileManager>, "its operations belong to the class");
static_assert(!std::is_copy_constructible_v<QMFileManager> && !std::is_copy_assignable_v<QMFileManager>);
static_assert(IsAPath<std::string> && IsAPath<const char*> && !IsAPath<std::nullptr_t>);

template <class First, class Second>
concept AreTwoTexts = requires(First first, Second second) {
  QMFileManager::moveFile(first, second);
}
|| requires(First first, Second second) { QMFileManager::copyFile(first, second); }
|| requires(First first, Second second) { QMFileManager::copyFile(first, second, std::chrono::seconds(1)); }
|| requires(First first, Second second) { QMFileManager::createDirectoryStructure(first, second); }
|| requires(First first, Second second) {
  QMFileManager::copyContentsOfDirectory(first, second, std::chrono::seconds(1));
}
|| requires(First first, Second second) { QMFileManager::trashFilesNamed(first, second); }
|| requires(First first, Second second) { QMFileManager::trashFilesOfType(first, second); };
static_assert(AreTwoTexts<std::string, std::string>);
static_assert(!AreTwoTexts<std::nullptr_t, std::string> && !AreTwoTexts<std::string, std::nullptr_t>);

class QMFileManagerTest : public LoggedTest {
 protected:
  using Command = std::vector<std::string>;
  std::vector<Command> executions() { return fakes.authorizationServices.executions(); }
  bool askedForRights() { return fakes.calls.count("authorization.create") > 0; }

  void forbidChangesIn(const std::string& folder) { fakes.disk.setWritable(folder, false); }
};

// Moving.

TEST_F(QMFileManagerTest, Moves) {
  fakes.disk.addFile("/d/a", "contents");
  EXPECT_TRUE(QMFileManager::moveFile("/d/a", "/d/b"));
  EXPECT_EQ(fakes.disk.fileContents("/d/b"), "contents");
  EXPECT_FALSE(fakes.disk.has("/d/a"));
  EXPECT_FALSE(askedForRights());
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(QMFileManagerTest, ClearsTheLockOfTheDestinationAndOfFilesBelowItBeforeMoving) {
  fakes.disk.addFile("/d/a");
  fakes.disk.addFile("/b/a/file");
  fakes.disk.addFile("/b/other");
  for (const std::string path : {"/b", "/b/a", "/b/a/file", "/b/other"}) fakes.disk.setLocked(path, true);
  EXPECT_FALSE(QMFileManager::moveFile("/d/a", "/b", QMFileManager::ShouldAuth::No)) << "something is there";
  EXPECT_FALSE(fakes.disk.isLocked("/b"));
  EXPECT_FALSE(fakes.disk.isLocked("/b/a/file"));
  EXPECT_TRUE(fakes.disk.isLocked("/b/a")) << "folders below stay as they are";
  EXPECT_TRUE(fakes.disk.isLocked("/b/other"));
  EXPECT_TRUE(fakes.calls.areInOrder(
      {"itemLocks.setImmutable(/b, NO)", "itemLocks.setImmutable(/b/a/file, NO)", "fileSystem.moveItem"}));
}

TEST_F(QMFileManagerTest, NeverClearsTheLockOfTheSourceOfAMove) {
  fakes.disk.addFile("/d/a");
  fakes.disk.setLocked("/d/a", true);
  EXPECT_FALSE(QMFileManager::moveFile("/d/a", "/d/b", QMFileManager::ShouldAuth::No));
  EXPECT_TRUE(fakes.disk.isLocked("/d/a"));
}

TEST_F(QMFileManagerTest, LogsAFailedMoveAndRepeatsItWithRights) {
  fakes.disk.addFile("/d/a", "contents");
  fakes.calls.failNext("fileSystem.moveItem");
  EXPECT_TRUE(QMFileManager::moveFile("/d/a", "/d/b"));
  EXPECT_THAT(logged(), ElementsAre("Error moving file: The operation couldn’t be completed.. Authorizing..."));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mv", "-f", "/d/a", "/d/b"}));
  EXPECT_EQ(fakes.calls.count("fileSystem.moveItem"), 1U);
  EXPECT_EQ(fakes.disk.fileContents("/d/b"), "contents");
}

TEST_F(QMFileManagerTest, LogsAFailedMoveEvenWhenItMayNotAsk) {
  fakes.calls.setFailure(13, "Permission denied");
  fakes.disk.addFile("/d/a");
  fakes.calls.failNext("fileSystem.moveItem");
  EXPECT_FALSE(QMFileManager::moveFile("/d/a", "/d/b", QMFileManager::ShouldAuth::No));
  EXPECT_THAT(logged(), ElementsAre("Error moving file: Permission denied. Authorizing..."));
  EXPECT_FALSE(askedForRights());
  EXPECT_TRUE(fakes.disk.has("/d/a"));
}

TEST_F(QMFileManagerTest, PassesTheAnswerOfThePrivilegedMoveOn) {
  fakes.disk.addFile("/d/a");
  fakes.calls.failAlways("fileSystem.moveItem");
  fakes.calls.failAlways("authorization.executeWithPrivileges");
  EXPECT_FALSE(QMFileManager::moveFile("/d/a", "/d/b"));
  EXPECT_THAT(logged(), ElementsAre(StartsWith("Error moving file: "))) << "one line, no further retry";
}

TEST_F(QMFileManagerTest, NeverReplacesInThePlainMove) {
  fakes.disk.addFile("/d/a", "new");
  fakes.disk.addFile("/d/b", "old");
  EXPECT_FALSE(QMFileManager::moveFile("/d/a", "/d/b", QMFileManager::ShouldAuth::No));
  EXPECT_EQ(fakes.disk.fileContents("/d/a"), "new");
  EXPECT_EQ(fakes.disk.fileContents("/d/b"), "old");
}

// Copying.

TEST_F(QMFileManagerTest, Copies) {
  fakes.disk.addFile("/d/a", "contents");
  EXPECT_TRUE(QMFileManager::copyFile("/d/a", "/d/b"));
  EXPECT_EQ(fakes.disk.fileContents("/d/a"), "contents");
  EXPECT_EQ(fakes.disk.fileContents("/d/b"), "contents");
}

TEST_F(QMFileManagerTest, SaysThatTheSourceOfACopyIsNilFirst) {
  EXPECT_FALSE(QMFileManager::copyFile(std::nullopt, std::nullopt));
  EXPECT_THAT(console(), ElementsAre("Error copying file: source path is nil"));
  EXPECT_THAT(logged(), ElementsAre("Error copying file: source path is nil"));
  EXPECT_FALSE(askedForRights());
}

TEST_F(QMFileManagerTest, SaysThatTheDestinationOfACopyIsNil) {
  EXPECT_FALSE(QMFileManager::copyFile("/d/a", std::nullopt));
  EXPECT_THAT(console(), ElementsAre("Error copying file /d/a: destination path is nil"));
  EXPECT_THAT(logged(), ElementsAre("Error copying file /d/a: destination path is nil"));
  EXPECT_EQ(fakes.calls.count("itemLocks.setImmutable"), 0U);
  EXPECT_FALSE(askedForRights());
}

TEST_F(QMFileManagerTest, ClearsTheLockOfTheDestinationsFolderAloneBeforeCopying) {
  fakes.disk.addFile("/d/a");
  fakes.disk.addFile("/to/file");
  fakes.disk.setLocked("/to", true);
  fakes.disk.setLocked("/to/file", true);
  EXPECT_TRUE(QMFileManager::copyFile("/d/a", "/to/a"));
  EXPECT_FALSE(fakes.disk.isLocked("/to"));
  EXPECT_TRUE(fakes.disk.isLocked("/to/file"));
  EXPECT_TRUE(fakes.calls.areInOrder({"itemLocks.setImmutable(/to, NO)", "fileSystem.copyItem"}));
}

TEST_F(QMFileManagerTest, CopiesOntoAnItemOnlyWithRights) {
  fakes.disk.addFile("/d/a", "new");
  fakes.disk.addFile("/d/b", "old");
  EXPECT_FALSE(QMFileManager::copyFile("/d/a", "/d/b", QMFileManager::ShouldAuth::No));
  EXPECT_EQ(fakes.disk.fileContents("/d/b"), "old");
  EXPECT_TRUE(QMFileManager::copyFile("/d/a", "/d/b"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/cp", "-f", "-p", "-R", "/d/a", "/d/b"}));
  EXPECT_EQ(fakes.disk.fileContents("/d/b"), "new");
}

TEST_F(QMFileManagerTest, LogsAFailedCopy) {
  fakes.disk.addFile("/d/a");
  fakes.calls.setFailure(28, "No space");
  fakes.calls.failNext("fileSystem.copyItem");
  EXPECT_FALSE(QMFileManager::copyFile("/d/a", "/d/b", QMFileManager::ShouldAuth::No));
  EXPECT_THAT(logged(), ElementsAre("Error copying file: No space. Authorizing..."));
}

// Making folders.

TEST_F(QMFileManagerTest, MakesAFolderWithThoseAboveIt) {
  EXPECT_TRUE(QMFileManager::createDirectory("/d/e/f"));
  EXPECT_TRUE(fakes.disk.isDirectory("/d/e/f"));
}

TEST_F(QMFileManagerTest, LogsAFolderThatCannotBeMadeAndRepeatsWithRights) {
  fakes.calls.setFailure(13, "Permission denied");
  fakes.calls.failAlways("fileSystem.createDirectory");
  EXPECT_FALSE(QMFileManager::createDirectory("/d/e", QMFileManager::ShouldAuth::No));
  EXPECT_TRUE(QMFileManager::createDirectory("/d/e"));
  EXPECT_THAT(logged(), ElementsAre("Error creating folder: Permission denied. Authorizing...",
                                    "Error creating folder: Permission denied. Authorizing..."));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mkdir", "-p", "/d/e"}));
}

// Removing.

TEST_F(QMFileManagerTest, RemovesALockedFile) {
  fakes.disk.addFile("/d/a");
  fakes.disk.setLocked("/d/a", true);
  EXPECT_TRUE(QMFileManager::removeFile("/d/a"));
  EXPECT_FALSE(fakes.disk.has("/d/a"));
  EXPECT_TRUE(fakes.calls.areInOrder({"itemLocks.setImmutable(/d/a, NO)", "fileSystem.fileExists(/d/a)"}));
}

TEST_F(QMFileManagerTest, HasNothingToRemoveOrTrashWhereNothingIs) {
  EXPECT_TRUE(QMFileManager::removeFile("/d/none"));
  EXPECT_TRUE(QMFileManager::trashFile("/d/none"));
  EXPECT_EQ(fakes.calls.count("fileSystem.removeItem"), 0U);
  EXPECT_EQ(fakes.calls.count("trash.recycle"), 0U);
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(QMFileManagerTest, LeavesADanglingLinkWhereItIs) {
  fakes.disk.addLink("/d/link", "/nowhere");
  EXPECT_TRUE(QMFileManager::removeFile("/d/link"));
  EXPECT_TRUE(QMFileManager::trashFile("/d/link"));
  EXPECT_TRUE(fakes.disk.has("/d/link"));
}

TEST_F(QMFileManagerTest, LogsAFailedRemovalAndRepeatsItWithRights) {
  fakes.disk.addFile("/d/a");
  fakes.calls.setFailure(13, "Permission denied");
  fakes.calls.failAlways("fileSystem.removeItem");
  EXPECT_FALSE(QMFileManager::removeFile("/d/a", QMFileManager::ShouldAuth::No));
  EXPECT_TRUE(fakes.disk.has("/d/a"));
  EXPECT_TRUE(QMFileManager::removeFile("/d/a"));
  EXPECT_THAT(logged(), ElementsAre("Error removing file: Permission denied. Authorizing...",
                                    "Error removing file: Permission denied. Authorizing..."));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/rm", "-Rdf", "/d/a"}));
  EXPECT_FALSE(fakes.disk.has("/d/a"));
}

// Trashing.

TEST_F(QMFileManagerTest, TrashesByParentAndName) {
  fakes.disk.addFile("/d/é %x.txt");
  EXPECT_TRUE(QMFileManager::trashFile("/d/é %x.txt"));
  EXPECT_THAT(fakes.calls.log(), Contains("trash.recycle(/d, /home/u/.Trash, é %x.txt)"));
  EXPECT_TRUE(fakes.disk.has("/home/u/.local/share/Trash/files/é %x.txt"));
}

TEST_F(QMFileManagerTest, ClearsTheLockBeforeTrashing) {
  fakes.disk.addFile("/d/a");
  fakes.disk.setLocked("/d/a", true);
  EXPECT_TRUE(QMFileManager::trashFile("/d/a", QMFileManager::ShouldAuth::No));
  EXPECT_TRUE(
      fakes.calls.areInOrder({"itemLocks.setImmutable(/d/a, NO)", "fileSystem.fileExists(/d/a)", "trash.recycle"}));
}

TEST_F(QMFileManagerTest, TrashesWithRightsWithoutALogLine) {
  fakes.disk.addFile("/d/a", "contents");
  fakes.calls.failAlways("trash.recycle");
  EXPECT_FALSE(QMFileManager::trashFile("/d/a", QMFileManager::ShouldAuth::No));
  EXPECT_TRUE(fakes.disk.has("/d/a"));
  EXPECT_TRUE(QMFileManager::trashFile("/d/a"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mv", "-f", "/d/a", "/home/u/.Trash/a"}));
  EXPECT_EQ(fakes.disk.fileContents("/home/u/.Trash/a"), "contents");
  EXPECT_THAT(logged(), IsEmpty());
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(QMFileManagerTest, TrashesTheEntriesOfAFolderAndKeepsIt) {
  fakes.disk.addFile("/d/one");
  fakes.disk.addFile("/d/.two");
  EXPECT_TRUE(QMFileManager::trashDirectoryContents("/d"));
  EXPECT_THAT(fakes.disk.tree("/d"), IsEmpty());
  EXPECT_TRUE(fakes.disk.has("/d"));
}

TEST_F(QMFileManagerTest, TrashesTheOtherEntriesAfterAFailureAndPassesTheFlagOn) {
  fakes.disk.addFile("/d/one");
  fakes.disk.addFile("/d/two");
  fakes.calls.failAlways("trash.recycle(/d, /home/u/.Trash, one)");
  EXPECT_FALSE(QMFileManager::trashDirectoryContents("/d", QMFileManager::ShouldAuth::No));
  EXPECT_THAT(fakes.disk.tree("/d"), ElementsAre("/d/one"));
  EXPECT_FALSE(askedForRights());
  EXPECT_TRUE(QMFileManager::trashDirectoryContents("/d", QMFileManager::ShouldAuth::Yes));
  EXPECT_THAT(fakes.disk.tree("/d"), IsEmpty());
}

TEST_F(QMFileManagerTest, AnswersYesForAFolderWithoutEntriesOrOneThatCannotBeListed) {
  fakes.disk.addFolder("/d");
  EXPECT_TRUE(QMFileManager::trashDirectoryContents("/d"));
  EXPECT_TRUE(QMFileManager::trashDirectoryContents("/none"));
}

// Mirroring a folder.

TEST_F(QMFileManagerTest, MirrorsAFilesFolderUnderAnotherRoot) {
  fakes.disk.addFile("/A/b/c.txt");
  EXPECT_EQ(QMFileManager::createDirectoryStructure("/A/b/c.txt", "/R"), "/R/A/b");
  EXPECT_TRUE(fakes.disk.isDirectory("/R/A/b"));
}

TEST_F(QMFileManagerTest, MirrorsAFolderItselfButAPackagesFolder) {
  fakes.disk.addFolder("/A/b");
  fakes.disk.addFolder("/Applications/X.app");
  EXPECT_EQ(QMFileManager::createDirectoryStructure("/A/b", "/R"), "/R/A/b");
  EXPECT_EQ(QMFileManager::createDirectoryStructure("/Applications/X.app", "/R"), "/R/Applications");
  EXPECT_EQ(QMFileManager::createDirectoryStructure("/none/x", "/R"), "/R/none");
}

TEST_F(QMFileManagerTest, MakesNoMirrorThatIsThereAndReturnsOneThatCannotBeMade) {
  fakes.disk.addFolder("/R/A");
  EXPECT_EQ(QMFileManager::createDirectoryStructure("/A/c", "/R"), "/R/A");
  EXPECT_EQ(fakes.calls.count("fileSystem.createDirectory"), 0U);
  fakes.calls.failAlways("fileSystem.createDirectory");
  fakes.calls.failAlways("authorization.create");
  EXPECT_EQ(QMFileManager::createDirectoryStructure("/B/c", "/R"), "/R/B");
  EXPECT_FALSE(fakes.disk.has("/R/B"));
}

// Predicates.

TEST_F(QMFileManagerTest, FollowsLinksWhenItAsksWhatIsThere) {
  fakes.disk.addFolder("/folder");
  fakes.disk.addLink("/link", "/folder");
  fakes.disk.addLink("/dangling", "/nowhere");
  EXPECT_TRUE(QMFileManager::fileExistsAtPath("/link"));
  EXPECT_TRUE(QMFileManager::isDirectoryAtPath("/link"));
  EXPECT_FALSE(QMFileManager::fileExistsAtPath("/dangling"));
  EXPECT_FALSE(QMFileManager::isDirectoryAtPath("/dangling"));
  EXPECT_FALSE(QMFileManager::isDirectoryAtPath("/none"));
}

TEST_F(QMFileManagerTest, TellsLinksWithoutFollowingThem) {
  fakes.disk.addFile("/file");
  fakes.disk.addLink("/link", "/file");
  fakes.disk.addLink("/dangling", "/nowhere");
  EXPECT_TRUE(QMFileManager::isSymbolicLinkAtPath("/link"));
  EXPECT_TRUE(QMFileManager::isSymbolicLinkAtPath("/dangling"));
  EXPECT_FALSE(QMFileManager::isSymbolicLinkAtPath("/file"));
  EXPECT_FALSE(QMFileManager::isSymbolicLinkAtPath("/none"));
}

TEST_F(QMFileManagerTest, AsksThePlatformWhatAPackageIs) {
  fakes.disk.addFolder("/X.app");
  fakes.disk.addFolder("/X");
  EXPECT_TRUE(QMFileManager::isPackageAtPath("/X.app"));
  EXPECT_FALSE(QMFileManager::isPackageAtPath("/X"));
}

// Locks.

TEST_F(QMFileManagerTest, LocksAndUnlocksOneItem) {
  fakes.disk.addFile("/a");
  QMFileManager::lockFile("/a");
  EXPECT_TRUE(QMFileManager::isFileLocked("/a"));
  QMFileManager::unlockFile("/a");
  EXPECT_FALSE(QMFileManager::isFileLocked("/a"));
}

TEST_F(QMFileManagerTest, TakesNothingForUnlocked) {
  EXPECT_FALSE(QMFileManager::isFileLocked("/none"));
  QMFileManager::lockFile("/none");
  EXPECT_THAT(logged(), IsEmpty());
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(QMFileManagerTest, LocksAndUnlocksTheFilesBelowAFolderOnly) {
  fakes.disk.addFile("/d/file");
  fakes.disk.addFile("/d/sub/.hidden");
  fakes.disk.addFile("/elsewhere/linked");
  fakes.disk.addLink("/d/link", "/elsewhere");
  QMFileManager::lockFolder("/d");
  for (const std::string file : {"/d/file", "/d/sub/.hidden", "/elsewhere/linked"})
    EXPECT_TRUE(fakes.disk.isLocked(file));
  for (const std::string folder : {"/d", "/d/sub", "/elsewhere"}) EXPECT_FALSE(fakes.disk.isLocked(folder));
  QMFileManager::lockFile("/d");
  QMFileManager::unlockFolder("/d");
  for (const std::string file : {"/d/file", "/d/sub/.hidden", "/elsewhere/linked"})
    EXPECT_FALSE(fakes.disk.isLocked(file));
  EXPECT_TRUE(fakes.disk.isLocked("/d")) << "the folder itself stays locked";
}

// Free names.

TEST_F(QMFileManagerTest, LeavesAFreeNameAlone) { EXPECT_EQ(QMFileManager::uniqueFilename("/d/x.txt"), "/d/x.txt"); }

TEST_F(QMFileManagerTest, NumbersATakenNameFromTwoUp) {
  struct Row {
    std::string path, second, third;
  };
  const Row rows[] = {{"/d/report.txt", "/d/report 2.txt", "/d/report 3.txt"},
                      {"/d/notes", "/d/notes 2", "/d/notes 3"},
                      {"/d/a.tar.gz", "/d/a.tar 2.gz", "/d/a.tar 3.gz"},
                      {"/d/.hidden", "/d/.hidden 2", "/d/.hidden 3"}};
  for (const auto& row : rows) {
    fakes.disk.addFile(row.path);
    EXPECT_EQ(QMFileManager::uniqueFilename(row.path), row.second);
    fakes.disk.addFile(row.second);
    EXPECT_EQ(QMFileManager::uniqueFilename(row.path), row.third);
  }
}

TEST_F(QMFileManagerTest, TakesADanglingLinkForAFreeName) {
  fakes.disk.addLink("/d/x", "/nowhere");
  EXPECT_EQ(QMFileManager::uniqueFilename("/d/x"), "/d/x");
}

TEST_F(QMFileManagerTest, TrashesTheEntriesInTheOrderListedAndAsksForRights) {
  for (const std::string name : {"two", ".one", "three"}) fakes.disk.addFile("/d/" + name);
  fakes.calls.failAlways("trash.recycle");
  EXPECT_TRUE(QMFileManager::trashDirectoryContents("/d"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mv", "-f", "/d/two", "/home/u/.Trash/two"},
                                        Command{"/bin/mv", "-f", "/d/.one", "/home/u/.Trash/.one"},
                                        Command{"/bin/mv", "-f", "/d/three", "/home/u/.Trash/three"}));
}

TEST_F(QMFileManagerTest, MakesAMirrorWithRightsWhereNeeded) {
  fakes.calls.failAlways("fileSystem.createDirectory");
  EXPECT_EQ(QMFileManager::createDirectoryStructure("/B/c", "/R"), "/R/B");
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mkdir", "-p", "/R/B"}));
}

TEST_F(QMFileManagerTest, ClearsNoOtherLocks) {
  fakes.disk.addFile("/d/a"), fakes.disk.addFolder("/to");
  QMFileManager::copyFile("/d/a", "/to/a");
  EXPECT_EQ(fakes.calls.count("itemLocks.setImmutable"), 1U);
  QMFileManager::createDirectory("/d/new");
  EXPECT_EQ(fakes.calls.count("itemLocks.setImmutable"), 1U);
  QMFileManager::removeFile("/d");
  EXPECT_EQ(fakes.calls.count("itemLocks.setImmutable"), 2U);
}

}  // namespace
}  // namespace qm::testing
