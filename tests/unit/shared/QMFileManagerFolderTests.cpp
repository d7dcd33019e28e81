// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Shared/QMFileManager.h"
#include "tests/unit/shared/LoggedTest.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FolderTest : public LoggedTest {
 protected:
  using Command = std::vector<std::string>;
  std::vector<Command> executions() { return fakes.authorizationServices.executions(); }
};

// Sizes.

TEST_F(FolderTest, SumsTheFilesBelowAFolder) {
  fakes.disk.addFile("/d/a", std::string(100, 'x'));
  fakes.disk.addFile("/d/.b", std::string(20, 'x'));
  fakes.disk.addFile("/d/sub/c", std::string(3, 'x'));
  fakes.disk.addFolder("/d/empty");
  EXPECT_EQ(QMFileManager::fileSize("/d"), 123U);
  EXPECT_EQ(QMFileManager::fileSize("/d/a"), 100U);
  EXPECT_EQ(QMFileManager::fileSize("/d/empty"), 0U);
}

TEST_F(FolderTest, HasNoSizeForWhatIsNotThereOrCannotBeRead) {
  fakes.disk.addFile("/d/a", "contents");
  fakes.disk.setReadable("/d", false);
  EXPECT_EQ(QMFileManager::fileSize("/none"), 0U);
  EXPECT_EQ(QMFileManager::fileSize("/d"), 0U);
}

TEST_F(FolderTest, AddsWhatALinkToAFolderHoldsButALinkToAFileAsTheLink) {
  fakes.disk.addFile("/elsewhere/file", std::string(1000, 'x'));
  fakes.disk.addLink("/d/folder", "/elsewhere");
  EXPECT_EQ(QMFileManager::fileSize("/d"), 1000U);
  fakes.disk.addLink("/e/file", "/elsewhere/file");
  EXPECT_EQ(QMFileManager::fileSize("/e"), std::string("/elsewhere/file").size());
}

TEST_F(FolderTest, CountsADanglingLinkAsTheLinkAndNothingThatCannotBeReached) {
  fakes.disk.addLink("/d/link", "/nowhere");
  fakes.disk.addFile("/d/closed/file", "contents");
  fakes.disk.setSearchable("/d/closed", false);
  EXPECT_EQ(QMFileManager::fileSize("/d"), std::string("/nowhere").size());
}

TEST_F(FolderTest, ReadsEachFolderOnceForItsSize) {
  fakes.disk.addFile("/d/a", "1");
  fakes.disk.addFile("/d/sub/b", "22");
  fakes.disk.addFile("/d/sub/c", "333");
  EXPECT_EQ(QMFileManager::fileSize("/d"), 6U);
  EXPECT_EQ(fakes.calls.count("fileSystem.visitDirectory"), 2U);
  EXPECT_EQ(fakes.calls.count("fileSystem.attributesOfItem"), 0U);
}

TEST_F(FolderTest, HasNoSizeWhenItsListingBreaksOff) {
  fakes.disk.addFile("/d/a", "123");
  fakes.disk.addFile("/d/b/c", "45");
  fakes.calls.failNext("fileSystem.visitDirectory(/d)");
  EXPECT_EQ(QMFileManager::fileSize("/d"), 0U);
  fakes.calls.failNext("fileSystem.visitDirectory(/d/b)");
  EXPECT_EQ(QMFileManager::fileSize("/d"), 3U) << "what is above it counts";
}

TEST_F(FolderTest, WalksALinkBackUntilThePathIsRefused) {
  fakes.disk.addFile("/d/file", "12345");
  fakes.disk.addLink("/d/again", "/d");
  const auto size = QMFileManager::fileSize("/d");
  EXPECT_GT(size, 5U * 30) << "the same file again and again";
  EXPECT_LT(size, 5U * 100);
}

// Emptiness.

TEST_F(FolderTest, IsEmptyWithoutEntriesFoldersOrAFolderAtAll) {
  fakes.disk.addFolder("/d");
  fakes.disk.addFile("/file");
  fakes.disk.addFile("/closed/file");
  fakes.disk.setReadable("/closed", false);
  for (const std::string path : {"/d", "/file", "/none", "/closed"})
    EXPECT_TRUE(QMFileManager::isFolderEmpty(path)) << path;
}

TEST_F(FolderTest, IsEmptyWithHousekeepingFilesOnly) {
  fakes.disk.addFile("/one/.DS_Store");
  fakes.disk.addFile("/two/Icon\r");
  fakes.disk.addFile("/both/.DS_Store");
  fakes.disk.addFile("/both/Icon\r");
  fakes.disk.addFile("/deep/.DS_Store");
  fakes.disk.addFile("/deep/a/b/Icon\r");
  fakes.disk.addFolder("/deep/a/c");
  for (const std::string path : {"/one", "/two", "/both", "/deep"})
    EXPECT_TRUE(QMFileManager::isFolderEmpty(path)) << path;
}

TEST_F(FolderTest, IsNotEmptyWithAnyOtherFile) {
  fakes.disk.addFile("/one/.ds_store");
  fakes.disk.addFile("/two/Icon");
  fakes.disk.addFile("/three/a/b/file");
  fakes.disk.addFile("/four/.DS_Store");
  fakes.disk.addFile("/four/file");
  fakes.disk.addLink("/five/link", "/nowhere");
  for (const std::string path : {"/one", "/two", "/three", "/four", "/five"}) {
    EXPECT_FALSE(QMFileManager::isFolderEmpty(path)) << path;
    EXPECT_FALSE(QMFileManager::removeFolderIfEmpty(path)) << path;
    EXPECT_TRUE(fakes.disk.has(path));
  }
  EXPECT_EQ(fakes.calls.count("fileSystem.removeItem"), 0U);
  EXPECT_EQ(fakes.calls.count("fileSystem.removeHollowFolder"), 0U);
}

TEST_F(FolderTest, StopsAtTheFirstEntryThatCounts) {
  fakes.disk.addFile("/d/file");
  fakes.disk.addFile("/d/sub/file");
  EXPECT_FALSE(QMFileManager::isFolderEmpty("/d"));
  EXPECT_EQ(fakes.calls.count("fileSystem.contentsOfDirectory"), 1U);
}

TEST_F(FolderTest, RemovesAFolderThatIsEmptyButForHousekeeping) {
  fakes.disk.addFile("/Applications/Quillmark/.DS_Store");
  fakes.disk.addFile("/Applications/Quillmark/sub/Icon\r");
  EXPECT_TRUE(QMFileManager::removeFolderIfEmpty("/Applications/Quillmark"));
  EXPECT_FALSE(fakes.disk.has("/Applications/Quillmark"));
}

TEST_F(FolderTest, RemovesAPlainFileAndIsDoneWithAMissingOne) {
  fakes.disk.addFile("/file");
  EXPECT_TRUE(QMFileManager::removeFolderIfEmpty("/file"));
  EXPECT_FALSE(fakes.disk.has("/file"));
  EXPECT_TRUE(QMFileManager::removeFolderIfEmpty("/none"));
}

TEST_F(FolderTest, RemovesAnEmptyFolderWithRightsWhereNeeded) {
  fakes.disk.addFolder("/d/empty");
  fakes.calls.failNext("fileSystem.removeHollowFolder");
  EXPECT_TRUE(QMFileManager::removeFolderIfEmpty("/d/empty"));
  EXPECT_THAT(fakes.authorizationServices.executions(),
              ElementsAre(std::vector<std::string>{"/bin/rm", "-Rdf", "/d/empty"}));
}

TEST_F(FolderTest, RemovesALinkToAnEmptyFolderAndNotTheFolder) {
  fakes.disk.addFolder("/empty");
  fakes.disk.addLink("/link", "/empty");
  EXPECT_TRUE(QMFileManager::removeFolderIfEmpty("/link"));
  EXPECT_FALSE(fakes.disk.has("/link"));
  EXPECT_TRUE(fakes.disk.has("/empty"));
}

TEST_F(FolderTest, UnlocksAFolderBeforeItIsRemoved) {
  fakes.disk.addFolder("/d/empty");
  fakes.disk.setLocked("/d/empty", true);
  EXPECT_TRUE(QMFileManager::removeFolderIfEmpty("/d/empty"));
  EXPECT_FALSE(fakes.disk.has("/d/empty"));
}

TEST_F(FolderTest, KeepsWhatCameAfterTheLookAndAsksForNoRightsToRemoveIt) {
  fakes.disk.addFile("/d/folder/.DS_Store");
  fakes.calls.before("fileSystem.removeHollowFolder", 1, [&] { fakes.disk.addFile("/d/folder/Other.app/file"); });
  EXPECT_FALSE(QMFileManager::removeFolderIfEmpty("/d/folder"));
  EXPECT_TRUE(fakes.disk.has("/d/folder/Other.app/file"));
  EXPECT_THAT(executions(), IsEmpty());
  EXPECT_EQ(fakes.calls.count("authorization.copyRights"), 0U);
  EXPECT_THAT(logged(), ElementsAre("Error removing file: Directory not empty. Authorizing..."));
}

TEST_F(FolderTest, KeepsAFolderThatWasMadeAfterTheLookFoundNothing) {
  fakes.calls.before("itemLocks.setImmutable", 1, [&] { fakes.disk.addFile("/d/folder/Other.app/file"); });
  EXPECT_FALSE(QMFileManager::removeFolderIfEmpty("/d/folder"));
  EXPECT_TRUE(fakes.disk.has("/d/folder/Other.app/file"));
}

TEST_F(FolderTest, IsDoneWithAFolderThatVanishesAfterTheLook) {
  fakes.disk.addFolder("/d/folder");
  fakes.calls.before("itemLocks.setImmutable", 1, [&] { fakes.disk.remove("/d/folder"); });
  EXPECT_TRUE(QMFileManager::removeFolderIfEmpty("/d/folder"));
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FolderTest, AsksForRightsToRemoveWhatItCannotSeeInto) {
  fakes.disk.addFile("/d/folder/closed/file");
  fakes.disk.setReadable("/d/folder/closed", false);
  EXPECT_TRUE(QMFileManager::removeFolderIfEmpty("/d/folder"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/rm", "-Rdf", "/d/folder"}));
  EXPECT_THAT(logged(), ElementsAre("Error removing file: Permission denied. Authorizing..."));
}

TEST_F(FolderTest, SaysThatItMeansTheFolderOnlyIfNothingIsInIt) {
  fakes.disk.addFile("/d/folder/closed/file");
  fakes.disk.setReadable("/d/folder/closed", false);
  std::vector<std::string> whenItIsRemoved;
  fakes.calls.before("authorization.executeWithPrivileges", 1,
                     [&] { whenItIsRemoved = fakes.authorizationServices.hollowFolders(); });
  EXPECT_TRUE(QMFileManager::removeFolderIfEmpty("/d/folder"));
  EXPECT_THAT(whenItIsRemoved, ElementsAre("/d/folder"));
  EXPECT_THAT(fakes.authorizationServices.hollowFolders(), ElementsAre("/d/folder", ""));
}

TEST_F(FolderTest, MeansATreeWithAllThatIsInItWhereThatIsRemoved) {
  fakes.disk.addFile("/d/folder/file");
  fakes.calls.failNext("fileSystem.removeItem");
  EXPECT_TRUE(QMFileManager::removeFile("/d/folder"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/rm", "-Rdf", "/d/folder"}));
  EXPECT_THAT(fakes.authorizationServices.hollowFolders(), IsEmpty());
}

// Trashing by name.

TEST_F(FolderTest, TrashesFilesOfANameAtAnyDepthInOrder) {
  fakes.disk.addFile("/d/a");
  fakes.disk.addFile("/d/sub/x");
  fakes.disk.addFile("/d/sub/A");
  fakes.disk.addFile("/d/X.app/Contents/x");
  fakes.disk.addFile("/d/x");
  EXPECT_THAT(QMFileManager::trashFilesNamed("x", "/d"), ElementsAre("/d/sub/x", "/d/X.app/Contents/x", "/d/x"));
  EXPECT_THAT(fakes.disk.tree("/d"), ElementsAre("/d/X.app/", "/d/X.app/Contents/", "/d/a", "/d/sub/", "/d/sub/A"));
}

TEST_F(FolderTest, SearchesAFolderOfTheNameInsteadOfTrashingIt) {
  fakes.disk.addFile("/d/x/x");
  EXPECT_THAT(QMFileManager::trashFilesNamed("x", "/d"), ElementsAre("/d/x/x"));
  EXPECT_TRUE(fakes.disk.has("/d/x"));
}

TEST_F(FolderTest, ComparesNamesWithTheirCase) {
  fakes.disk.addFile("/d/Cache");
  EXPECT_THAT(QMFileManager::trashFilesNamed("cache", "/d"), IsEmpty());
}

TEST_F(FolderTest, ListsAFileThatCouldNotBeTrashedToo) {
  fakes.disk.addFile("/d/a/x");
  fakes.disk.addFile("/d/b/x");
  fakes.calls.failAlways("trash.recycle(/d/a, /home/u/.Trash, x)");
  fakes.calls.failAlways("authorization.create");
  EXPECT_THAT(QMFileManager::trashFilesNamed("x", "/d"), ElementsAre("/d/a/x", "/d/b/x"));
  EXPECT_TRUE(fakes.disk.has("/d/a/x"));
  EXPECT_FALSE(fakes.disk.has("/d/b/x"));
}

TEST_F(FolderTest, FindsNothingInAFolderThatCannotBeListed) {
  EXPECT_THAT(QMFileManager::trashFilesNamed("x", "/none"), IsEmpty());
  EXPECT_THAT(QMFileManager::trashFilesOfType("x", "/none"), IsEmpty());
}

// Trashing by type.

TEST_F(FolderTest, TrashesFilesOfATypeInAnyCaseByTheirLastExtension) {
  fakes.disk.addFile("/d/a.tar.GZ");
  fakes.disk.addFile("/d/b.gz");
  fakes.disk.addFile("/d/gz");
  fakes.disk.addFile("/d/sub.gz/c.Gz");
  fakes.disk.addFile("/d/sub.gz/c.txt");
  EXPECT_THAT(QMFileManager::trashFilesOfType("gZ", "/d"), ElementsAre("/d/a.tar.GZ", "/d/b.gz", "/d/sub.gz/c.Gz"));
  EXPECT_TRUE(fakes.disk.has("/d/sub.gz")) << "folders are searched, never trashed";
  EXPECT_THAT(QMFileManager::trashFilesOfType("tar.gz", "/d"), IsEmpty());
}

TEST_F(FolderTest, TakesAnEmptyTypeForFilesWithoutExtension) {
  fakes.disk.addFile("/d/plain");
  fakes.disk.addFile("/d/.hidden");
  fakes.disk.addFile("/d/x.txt");
  EXPECT_THAT(QMFileManager::trashFilesOfType("", "/d"), ElementsAre("/d/plain", "/d/.hidden"));
  EXPECT_TRUE(fakes.disk.has("/d/x.txt"));
}

TEST_F(FolderTest, AsksForRightsToTrashWhatItFinds) {
  fakes.disk.addFile("/d/x.y");
  fakes.calls.failAlways("trash.recycle");
  EXPECT_THAT(QMFileManager::trashFilesNamed("x.y", "/d"), ElementsAre("/d/x.y"));
  fakes.disk.addFile("/d/z.y");
  EXPECT_THAT(QMFileManager::trashFilesOfType("y", "/d"), ElementsAre("/d/z.y"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mv", "-f", "/d/x.y", "/home/u/.Trash/x.y"},
                                        Command{"/bin/mv", "-f", "/d/z.y", "/home/u/.Trash/z.y"}));
}

TEST_F(FolderTest, TakesHousekeepingByNameAloneAndFollowsLinksToFolders) {
  fakes.disk.addFile("/one/.DS_Store/file");
  fakes.disk.addFile("/two/Icon\r/file");
  fakes.disk.addFile("/two/.DS_Store");
  fakes.disk.addFolder("/nothing");
  fakes.disk.addLink("/three/link", "/nothing");
  for (const std::string path : {"/one", "/two", "/three"}) EXPECT_TRUE(QMFileManager::isFolderEmpty(path)) << path;
  fakes.disk.addFile("/nothing/file");
  EXPECT_FALSE(QMFileManager::isFolderEmpty("/three"));
}

TEST_F(FolderTest, ListsADanglingLinkThatItLeaves) {
  fakes.disk.addLink("/d/x", "/nowhere");
  EXPECT_THAT(QMFileManager::trashFilesNamed("x", "/d"), ElementsAre("/d/x"));
  EXPECT_TRUE(fakes.disk.has("/d/x"));
}

}  // namespace
}  // namespace qm::testing
