// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/unit/shared/AuthorizationTest.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// Running tools.

TEST_F(QMAuthorizationTest, RefusesAToolThatIsNotThere) {
  EXPECT_EQ(rights().authExecTask("/bin/none", {"-x"}), -2);
  EXPECT_THAT(console(), ElementsAre("Unable to execute task: path /bin/none doesn't exist"));
  EXPECT_EQ(fakes.calls.count("authorization.create"), 0U);
}

TEST_F(QMAuthorizationTest, StartsAToolAfterOneAuthorization) {
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {"-p", "/é x"}), 0);
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {}), 0);
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mkdir", "-p", "/é x"}, Command{"/bin/mkdir"}));
  const auto calls = services().calls("executeWithPrivileges");
  EXPECT_EQ(calls[0].session, rights().authRef());
  EXPECT_EQ(calls[0].flags, 0U);
  EXPECT_EQ(fakes.calls.count("authorization.copyRights"), 1U);
}

TEST_F(QMAuthorizationTest, StartsNoToolWithoutAuthorization) {
  services().answerNext("copyRights", platform::errAuthorizationCanceled);
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {}), -1);
  EXPECT_THAT(executions(), IsEmpty());
}

TEST_F(QMAuthorizationTest, SaysWhatRightsAreWantedForWheneverTheyAreAskedFor) {
  services().answerNext("copyRights", platform::errAuthorizationCanceled);
  rights().authExecTask("/bin/mkdir", {"-p", "/a"});
  rights().authExecTask("/bin/mkdir", {"-p", "/b"});
  rights().authExecTask("/bin/mkdir", {"-p", "/c"});
  EXPECT_THAT(services().announcements(),
              ElementsAre(Command{"/bin/mkdir", "-p", "/a"}, Command{"/bin/mkdir", "-p", "/b"}))
      << "the third needs no question";
}

TEST_F(QMAuthorizationTest, SaysNothingOfRightsThatCannotBeAskedFor) {
  rights().setHasGUI(false);
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {}), -1);
  EXPECT_THAT(services().announcements(), IsEmpty());
}

TEST_F(QMAuthorizationTest, PassesTheStatusOfARefusedLaunchOn) {
  services().answerNext("executeWithPrivileges", platform::errAuthorizationToolExecuteFailure);
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {}, QMAuthorization::Async::No), -60031);
  EXPECT_EQ(services().pipesReadToEnd(), 0U);
}

TEST_F(QMAuthorizationTest, ReadsTheOutputToItsEndOnlyWhenItWaits) {
  services().setOutput("/bin/mkdir", "some output\n");
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {}, QMAuthorization::Async::Yes), 0);
  EXPECT_EQ(services().pipesReadToEnd(), 0U);
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {}, QMAuthorization::Async::No), 0);
  EXPECT_EQ(services().pipesReadToEnd(), 1U);
}

TEST_F(QMAuthorizationTest, KeepsTheOutputOfEveryToolOpen) {
  rights().authExecTask("/bin/mkdir", {}, QMAuthorization::Async::Yes);
  rights().authExecTask("/bin/mkdir", {}, QMAuthorization::Async::No);
  EXPECT_EQ(services().openPipes(), 2U);
}

TEST_F(AsRoot, StartsToolsDirectlyAndWaitsOnlyWhenAsked) {
  TaskScript lasting;
  lasting.runsUntilEnded = true;
  fakes.tasks.scriptOnce("/bin/mkdir", lasting);
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {"-p", "/x"}, QMAuthorization::Async::Yes), 0);
  EXPECT_EQ(fakes.calls.count("tasks.waitUntilExit"), 0U);
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {"-p", "/y"}, QMAuthorization::Async::No), 0);
  EXPECT_EQ(fakes.calls.count("tasks.waitUntilExit"), 1U);
  EXPECT_THAT(launches(), ElementsAre(Command{"/bin/mkdir", "-p", "/x"}, Command{"/bin/mkdir", "-p", "/y"}));
  EXPECT_EQ(fakes.calls.count("authorization.executeWithPrivileges"), 0U);
}

// Where others can change names, root must not use a tool that works by name.
TEST_F(AsRoot, StartsWhatTheSystemHasForRootInPlaceOfATool) {
  services().setRootsTool("/usr/bin/pinned");
  fakes.disk.addExecutable("/usr/bin/pinned");
  fakes.disk.addFile("/a");
  EXPECT_TRUE(rights().authMoveFile("/a", "/b"));
  EXPECT_EQ(rights().authExecTask("/bin/rm", {"-Rdf", "/c"}, QMAuthorization::Async::No), 0);
  EXPECT_THAT(launches(), ElementsAre(Command{"/usr/bin/pinned", "/bin/mv", "-f", "/a", "/b"},
                                      Command{"/usr/bin/pinned", "/bin/rm", "-Rdf", "/c"}));
}

TEST_F(AsRoot, AnswersThatAToolIsMissing) {
  EXPECT_EQ(rights().authExecTask("/bin/none", {}, QMAuthorization::Async::Yes), -2);
  EXPECT_THAT(launches(), IsEmpty());
}

// Folders.

TEST_F(QMAuthorizationTest, MakesAFolderAndPausesForTheTool) {
  EXPECT_TRUE(rights().authCreateDir("/new/folder"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mkdir", "-p", "/new/folder"}));
  EXPECT_THAT(fakes.clock.sleeps(), ElementsAre(std::chrono::microseconds(500)));
}

TEST_F(QMAuthorizationTest, AnswersThatAFolderWasNotMadeWithoutPausing) {
  fakes.calls.failNext("authorization.executeWithPrivileges");
  EXPECT_FALSE(rights().authCreateDir("/new"));
  EXPECT_THAT(fakes.clock.sleeps(), IsEmpty());
}

TEST_F(QMAuthorizationTest, MakesFoldersAnywhere) {
  EXPECT_TRUE(rights().authCreateDir("/Applications"));
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(AsRoot, MakesAFolderWithoutPausing) {
  EXPECT_TRUE(rights().authCreateDir("/new"));
  EXPECT_THAT(launches(), ElementsAre(Command{"/bin/mkdir", "-p", "/new"}));
  EXPECT_THAT(fakes.clock.sleeps(), IsEmpty());
  EXPECT_EQ(fakes.calls.count("tasks.waitUntilExit"), 0U);
}

TEST_F(AsRoot, AnswersYesForAFolderEvenWhenItsToolCannotStart) {
  fakes.calls.failAlways("tasks.launch");
  EXPECT_TRUE(rights().authCreateDir("/new"));
}

// Copying.

TEST_F(QMAuthorizationTest, CopiesWithModesTimesAndTrees) {
  fakes.disk.addFile("/System/Library/x", "contents");
  EXPECT_TRUE(rights().authCopyFile("/System/Library/x", "/Library/y"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/cp", "-f", "-p", "-R", "/System/Library/x", "/Library/y"}));
  EXPECT_EQ(fakes.disk.fileContents("/Library/y"), "contents");
}

TEST_F(QMAuthorizationTest, CopiesAProtectedFolder) {
  EXPECT_TRUE(rights().authCopyFile("/Applications", "/copy"));
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(QMAuthorizationTest, SaysWhichPathOfACopyIsNull) {
  EXPECT_FALSE(rights().authCopyFile(std::nullopt, std::nullopt));
  EXPECT_FALSE(rights().authCopyFile("/a", std::nullopt));
  EXPECT_THAT(console(),
              ElementsAre("Error in authCopyFile: old path is null", "Error in authCopyFile: new path is null"));
}

TEST_F(QMAuthorizationTest, CopiesNothingThatIsNotThere) {
  EXPECT_FALSE(rights().authCopyFile("/none", "/b"));
  EXPECT_THAT(console(), IsEmpty());
  EXPECT_EQ(fakes.calls.count("authorization.create"), 0U);
}

TEST_F(QMAuthorizationTest, AnswersThatACopyWasNotStarted) {
  fakes.disk.addFile("/a");
  fakes.calls.failNext("authorization.executeWithPrivileges");
  EXPECT_FALSE(rights().authCopyFile("/a", "/b"));
}

TEST_F(AsRoot, StartsACopyDirectly) {
  fakes.disk.addFile("/a");
  EXPECT_TRUE(rights().authCopyFile("/a", "/b"));
  EXPECT_THAT(launches(), ElementsAre(Command{"/bin/cp", "-f", "-p", "-R", "/a", "/b"}));
  EXPECT_EQ(fakes.calls.count("tasks.waitUntilExit"), 0U);
}

// Moving.

TEST_F(QMAuthorizationTest, Moves) {
  fakes.disk.addFile("/a", "contents");
  EXPECT_TRUE(rights().authMoveFile("/a", "/b"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mv", "-f", "/a", "/b"}));
  EXPECT_EQ(fakes.disk.fileContents("/b"), "contents");
}

TEST_F(QMAuthorizationTest, SaysWhichPathOfAMoveIsNull) {
  EXPECT_FALSE(rights().authMoveFile(std::nullopt, std::nullopt));
  EXPECT_FALSE(rights().authMoveFile("/a", std::nullopt));
  EXPECT_THAT(console(),
              ElementsAre("Error in authMoveFile: old path is null", "Error in authMoveFile: new path is null"));
}

TEST_F(QMAuthorizationTest, MovesNoSystemFolder) {
  EXPECT_FALSE(rights().authMoveFile("/Applications", "/b"));
  EXPECT_THAT(console(), ElementsAre("Unable to move path /Applications because it is a system directory."));
  EXPECT_THAT(executions(), IsEmpty());
}

TEST_F(QMAuthorizationTest, MovesNothingThatIsNotThere) {
  EXPECT_FALSE(rights().authMoveFile("/none", "/b"));
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(QMAuthorizationTest, AnswersThatAMoveWasNotStarted) {
  fakes.disk.addFile("/a");
  services().answerNext("copyRights", platform::errAuthorizationCanceled);
  EXPECT_FALSE(rights().authMoveFile("/a", "/b"));
  EXPECT_TRUE(fakes.disk.has("/a"));
}

TEST_F(AsRoot, StartsAMoveDirectly) {
  fakes.disk.addFile("/a");
  EXPECT_TRUE(rights().authMoveFile("/a", "/b"));
  EXPECT_THAT(launches(), ElementsAre(Command{"/bin/mv", "-f", "/a", "/b"}));
}

TEST_F(QMAuthorizationTest, MovesEveryEntryOfAFolder) {
  fakes.disk.addFile("/from/one");
  fakes.disk.addFile("/from/.hidden");
  EXPECT_TRUE(rights().authMoveFolderContents("/from", "/to"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mv", "-f", "/from/one", "/to/one"},
                                        Command{"/bin/mv", "-f", "/from/.hidden", "/to/.hidden"}));
}

TEST_F(QMAuthorizationTest, MovesTheOtherEntriesAfterAFailure) {
  fakes.disk.addFolder("/to");
  fakes.disk.addFile("/from/one");
  fakes.disk.addFile("/from/two");
  fakes.calls.failNext("authorization.executeWithPrivileges");
  EXPECT_FALSE(rights().authMoveFolderContents("/from", "/to"));
  EXPECT_THAT(executions(), SizeIs(1));
  EXPECT_TRUE(fakes.disk.has("/from/one"));
  EXPECT_FALSE(fakes.disk.has("/from/two"));
}

TEST_F(QMAuthorizationTest, SaysOfEveryEntryThatItHasNoDestination) {
  fakes.disk.addFile("/from/one");
  fakes.disk.addFile("/from/two");
  EXPECT_FALSE(rights().authMoveFolderContents("/from", std::nullopt));
  EXPECT_THAT(console(),
              ElementsAre("Error in authMoveFile: new path is null", "Error in authMoveFile: new path is null"));
  EXPECT_THAT(executions(), IsEmpty());
  EXPECT_TRUE(rights().authMoveFolderContents("/none", std::nullopt));
}

TEST_F(QMAuthorizationTest, MovesNothingFromAnEmptyOrUnreadableFolder) {
  fakes.disk.addFolder("/empty");
  EXPECT_TRUE(rights().authMoveFolderContents("/empty", "/to"));
  EXPECT_TRUE(rights().authMoveFolderContents("/none", "/to"));
  EXPECT_EQ(fakes.calls.count("authorization.create"), 0U);
}

TEST_F(QMAuthorizationTest, MovesNoContentsOfASystemFolder) {
  EXPECT_FALSE(rights().authMoveFolderContents("/Library", "/to"));
  EXPECT_THAT(console(), ElementsAre("Unable to move contents of path /Library because it is a system directory."));
}

// Trashing.

TEST_F(QMAuthorizationTest, MovesToTheTrash) {
  fakes.disk.addFile("/Applications/Tessaly.app/data", "x");
  EXPECT_TRUE(rights().authTrashFile("/Applications/Tessaly.app"));
  EXPECT_THAT(executions(),
              ElementsAre(Command{"/bin/mv", "-f", "/Applications/Tessaly.app", "/home/u/.Trash/Tessaly.app"}));
}

TEST_F(QMAuthorizationTest, RefusesToTrashASystemFolderUnlessItEndsInASlash) {
  EXPECT_FALSE(rights().authTrashFile("/Applications"));
  EXPECT_THAT(console(), ElementsAre("Unable to trash path /Applications because it is a system directory."));
  EXPECT_TRUE(rights().authTrashFile("/Applications/"));
}

TEST_F(QMAuthorizationTest, AddsTheTimeToANameThatIsTaken) {
  fakes.disk.addFile("/d/notes.txt", "new");
  fakes.disk.addFile("/home/u/.local/share/Trash/files/notes.txt", "old");
  EXPECT_TRUE(rights().authTrashFile("/d/notes.txt"));
  EXPECT_THAT(executions(),
              ElementsAre(Command{"/bin/mv", "-f", "/d/notes.txt", "/home/u/.Trash/notes_20240229230507.txt"}));
  EXPECT_EQ(fakes.disk.fileContents("/home/u/.local/share/Trash/files/notes.txt"), "old");
}

TEST_F(QMAuthorizationTest, EndsTheNewNameInADotWhereThereIsNoExtension) {
  fakes.disk.addFolder("/d/Stuff");
  fakes.disk.addFolder("/home/u/.local/share/Trash/files/Stuff");
  EXPECT_TRUE(rights().authTrashFile("/d/Stuff"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mv", "-f", "/d/Stuff", "/home/u/.Trash/Stuff_20240229230507."}));
}

TEST_F(QMAuthorizationTest, TakesTheTimeInTheLocalZoneAndDoesNotLookAgain) {
  fakes.clock.setUtcOffset(std::chrono::minutes(90));
  fakes.disk.addFile("/d/a.b");
  fakes.disk.addFile("/home/u/.local/share/Trash/files/a.b");
  fakes.disk.addFile("/home/u/.local/share/Trash/files/a_20240301003507.b");
  EXPECT_TRUE(rights().authTrashFile("/d/a.b"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mv", "-f", "/d/a.b", "/home/u/.Trash/a_20240301003507.b"}));
}

TEST_F(QMAuthorizationTest, IgnoresTheFlagOfRootForAnOrdinaryUser) {
  fakes.disk.addFile("/d/a");
  EXPECT_TRUE(rights().authTrashFile("/d/a", QMAuthorization::DeleteOnRootAccount::Yes));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mv", "-f", "/d/a", "/home/u/.Trash/a"}));
}

TEST_F(AsRoot, TrashesForTheConsoleUser) {
  fakes.disk.addFile("/d/a");
  EXPECT_TRUE(rights().authTrashFile("/d/a"));
  EXPECT_THAT(launches(), ElementsAre(Command{"/bin/mv", "-f", "/d/a", "/home/u/.Trash/a"}));
}

TEST_F(AsRoot, DeletesUnderThePathsNameInTheTrashAndLeavesThePath) {
  fakes.disk.addFile("/d/a", "stays");
  EXPECT_TRUE(rights().authTrashFile("/d/a", QMAuthorization::DeleteOnRootAccount::Yes));
  EXPECT_THAT(launches(), ElementsAre(Command{"/bin/rm", "-Rdf", "/home/u/.Trash/a"}));
  EXPECT_EQ(fakes.disk.fileContents("/d/a"), "stays");
}

TEST_F(AsRoot, TrashesNothingWhenNobodyIsAtTheConsole) {
  fakes.users.setConsoleUser(std::nullopt);
  fakes.disk.addFile("/d/a");
  EXPECT_FALSE(rights().authTrashFile("/d/a"));
  EXPECT_THAT(console(), ElementsAre("Error in authMoveFile: new path is null"));
  EXPECT_FALSE(rights().authTrashFile("/d/a", QMAuthorization::DeleteOnRootAccount::Yes));
  EXPECT_TRUE(fakes.disk.has("/d/a"));
  EXPECT_THAT(launches(), IsEmpty());
}

TEST_F(QMAuthorizationTest, TrashesInTheHomeForWhichItWasMadeOnceItIsRoot) {
  fakes.disk.addFile("/d/a");
  ASSERT_EQ(rights().userDirectory(), "/home/u");
  fakes.users.addUser("anna", "/home/anna");
  fakes.actAsRoot("anna");
  EXPECT_TRUE(rights().authTrashFile("/d/a", QMAuthorization::DeleteOnRootAccount::Yes));
  EXPECT_THAT(launches(), ElementsAre(Command{"/bin/mv", "-f", "/d/a", "/home/u/.Trash/a"}));
}

TEST_F(QMAuthorizationTest, TrashesEveryEntryOfAFolder) {
  fakes.disk.addFile("/d/one");
  fakes.disk.addFile("/d/two");
  EXPECT_TRUE(rights().authTrashFolderContents("/d"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/mv", "-f", "/d/one", "/home/u/.Trash/one"},
                                        Command{"/bin/mv", "-f", "/d/two", "/home/u/.Trash/two"}));
  EXPECT_TRUE(fakes.disk.has("/d"));
}

TEST_F(QMAuthorizationTest, TrashesTheOtherEntriesAfterAFailure) {
  fakes.disk.addFile("/d/one");
  fakes.disk.addFile("/d/two");
  fakes.calls.failNext("authorization.executeWithPrivileges");
  EXPECT_FALSE(rights().authTrashFolderContents("/d"));
  EXPECT_TRUE(fakes.disk.has("/d/one"));
  EXPECT_FALSE(fakes.disk.has("/d/two"));
}

TEST_F(QMAuthorizationTest, TrashesNoContentsOfASystemFolder) {
  EXPECT_FALSE(rights().authTrashFolderContents("/Users/Shared", QMAuthorization::DeleteOnRootAccount::Yes));
  EXPECT_THAT(console(),
              ElementsAre("Unable to trash folder contents of path /Users/Shared because it is a system directory."));
}

TEST_F(QMAuthorizationTest, AnswersYesForAFolderWithoutEntries) {
  EXPECT_TRUE(rights().authTrashFolderContents("/none"));
  EXPECT_EQ(fakes.calls.count("authorization.create"), 0U);
}

TEST_F(AsRoot, DeletesTheContentsOfAFolderWhenAsked) {
  fakes.disk.addFile("/d/one");
  fakes.disk.addFile("/d/two");
  EXPECT_TRUE(rights().authTrashFolderContents("/d", QMAuthorization::DeleteOnRootAccount::Yes));
  EXPECT_THAT(launches(),
              ElementsAre(Command{"/bin/rm", "-R", "-f", "/d/one"}, Command{"/bin/rm", "-R", "-f", "/d/two"}));
}

TEST_F(AsRoot, AnswersThatContentsWereNotDeletedWithoutTheTool) {
  fakes.disk.addFile("/d/one");
  fakes.disk.remove("/bin/rm");
  EXPECT_FALSE(rights().authTrashFolderContents("/d", QMAuthorization::DeleteOnRootAccount::Yes));
}

TEST_F(AsRoot, TrashesTheContentsOfAFolderUnlessAskedToDelete) {
  fakes.disk.addFile("/d/one");
  EXPECT_TRUE(rights().authTrashFolderContents("/d"));
  EXPECT_THAT(launches(), ElementsAre(Command{"/bin/mv", "-f", "/d/one", "/home/u/.Trash/one"}));
}

// Removing.

TEST_F(QMAuthorizationTest, Removes) {
  fakes.disk.addFile("/d/a");
  EXPECT_TRUE(rights().authRemoveFile("/d"));
  EXPECT_THAT(executions(), ElementsAre(Command{"/bin/rm", "-Rdf", "/d"}));
  EXPECT_FALSE(fakes.disk.has("/d"));
}

TEST_F(QMAuthorizationTest, RemovesNoSystemFolder) {
  for (const std::string folder : {"/", "/Applications", "/home/u", "/home/u/Library/Caches", "/Volumes"}) {
    EXPECT_FALSE(rights().authRemoveFile(folder));
    EXPECT_EQ(console().back(), "Unable to delete path " + folder + " because it is a system directory.");
  }
  EXPECT_THAT(executions(), IsEmpty());
}

TEST_F(QMAuthorizationTest, AnswersThatNothingWasRemovedWithoutRights) {
  fakes.disk.addFile("/d/a");
  services().answerNext("copyRights", platform::errAuthorizationDenied);
  EXPECT_FALSE(rights().authRemoveFile("/d"));
  EXPECT_TRUE(fakes.disk.has("/d/a"));
}

TEST_F(AsRoot, AlwaysAnswersThatItRemoves) {
  EXPECT_TRUE(rights().authRemoveFile("/none"));
  EXPECT_THAT(launches(), ElementsAre(Command{"/bin/rm", "-Rdf", "/none"}));
}

TEST_F(QMAuthorizationTest, WritesNoRefusalToTheLog) {
  rights().authCopyFile(std::nullopt, "/b"), rights().authCopyFile("/a", std::nullopt);
  rights().authMoveFile(std::nullopt, "/b"), rights().authMoveFile("/a", std::nullopt);
  rights().authMoveFile("/Library", "/b"), rights().authMoveFolderContents("/Library", "/b");
  rights().authTrashFile("/Library"), rights().authTrashFolderContents("/Library"), rights().authRemoveFile("/Library");
  rights().authExecTask("/bin/100%done", {});
  services().answerNext("create", -60008);
  rights().authStartWithUser("u", "secret");
  rights().setHasGUI(false);
  rights().authStart();
  EXPECT_THAT(console(), SizeIs(12));
  EXPECT_EQ(console()[9], "Unable to execute task: path /bin/100%done doesn't exist");
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(QMAuthorizationTest, NeverWaitsForTheToolOfAFileCommand) {
  fakes.disk.addFile("/d/a"), fakes.disk.addFile("/d/b");
  EXPECT_TRUE(rights().authCreateDir("/new"));
  EXPECT_TRUE(rights().authCopyFile("/d/a", "/d/c"));
  EXPECT_TRUE(rights().authMoveFile("/d/c", "/d/e"));
  EXPECT_TRUE(rights().authTrashFile("/d/b"));
  EXPECT_TRUE(rights().authRemoveFile("/d"));
  EXPECT_THAT(executions(), SizeIs(5));
  EXPECT_EQ(services().pipesReadToEnd(), 0U);
}

TEST_F(AsRoot, NeverWaitsForTheToolOfAFileCommand) {
  fakes.disk.addFile("/d/a"), fakes.disk.addFile("/e/b");
  EXPECT_TRUE(rights().authMoveFile("/d/a", "/d/c"));
  EXPECT_TRUE(rights().authTrashFolderContents("/e", QMAuthorization::DeleteOnRootAccount::Yes));
  EXPECT_TRUE(rights().authRemoveFile("/d"));
  EXPECT_THAT(launches(), SizeIs(3));
  EXPECT_EQ(fakes.calls.count("tasks.waitUntilExit"), 0U);
}

TEST_F(AsRoot, BeginsFileCommandsWithoutLookingForTheirTool) {
  fakes.disk.addFile("/d/a");
  for (const std::string tool : {"/bin/mkdir", "/bin/cp", "/bin/mv"}) fakes.disk.remove(tool);
  EXPECT_TRUE(rights().authCreateDir("/new"));
  EXPECT_TRUE(rights().authCopyFile("/d/a", "/d/b"));
  EXPECT_TRUE(rights().authMoveFile("/d/a", "/d/b"));
  EXPECT_THAT(console(), Each(::testing::EndsWith(" is not executable")));
}

TEST_F(AsRoot, AnswersZeroWhateverBecomesOfTheTool) {
  fakes.tasks.scriptOnce("/bin/mkdir", {.exitStatus = 1});
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {}, QMAuthorization::Async::No), 0);
  fakes.calls.failAlways("tasks.launch");
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {}, QMAuthorization::Async::No), 0);
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {}, QMAuthorization::Async::Yes), 0);
  EXPECT_TRUE(rights().authRemoveFile("/none"));
}

TEST_F(QMAuthorizationTest, ReadsAnyOutputToItsEnd) {
  services().setOutput("/bin/mkdir", std::string("a\0\xff\n", 4));
  EXPECT_EQ(rights().authExecTask("/bin/mkdir", {}, QMAuthorization::Async::No), 0);
  EXPECT_EQ(services().pipesReadToEnd(), 1U);
}

TEST_F(QMAuthorizationTest, LooksForNullPathsThenAsksTheGuardThenTheDisk) {
  EXPECT_FALSE(rights().authMoveFile("/Library", std::nullopt));
  EXPECT_FALSE(fakes.disk.has("/Volumes"));
  EXPECT_FALSE(rights().authMoveFile("/Volumes", "/b"));
  EXPECT_THAT(console(), ElementsAre("Error in authMoveFile: new path is null",
                                     "Unable to move path /Volumes because it is a system directory."));
}

TEST_F(QMAuthorizationTest, RefusesSystemFoldersOnlyAsAWhole) {
  for (const std::string name : {"moved", "trashed", "removed", "all/x"}) fakes.disk.addFile("/usr/local/" + name);
  EXPECT_TRUE(rights().authMoveFile("/usr/local/moved", "/b"));
  EXPECT_TRUE(rights().authTrashFile("/usr/local/trashed"));
  EXPECT_TRUE(rights().authRemoveFile("/usr/local/removed"));
  EXPECT_TRUE(rights().authTrashFolderContents("/usr/local/all"));
  EXPECT_TRUE(rights().authMoveFolderContents("/System/none", "/b"));
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(AsRoot, DeletesUnderTheNewNameWhereTheNameIsTaken) {
  fakes.disk.addFile("/d/a.b", "stays");
  fakes.disk.addFile("/home/u/.local/share/Trash/files/a.b", "stays too");
  EXPECT_TRUE(rights().authTrashFile("/d/a.b", QMAuthorization::DeleteOnRootAccount::Yes));
  EXPECT_THAT(launches(), ElementsAre(Command{"/bin/rm", "-Rdf", "/home/u/.Trash/a_20240229230507.b"}));
  EXPECT_EQ(fakes.disk.fileContents("/d/a.b"), "stays");
  EXPECT_EQ(fakes.disk.fileContents("/home/u/.local/share/Trash/files/a.b"), "stays too");
}

// Everything that can fail does fail.

/// Runs an operation once for each service call that it makes, with that call failing.
template <class Operation>
void withEachCallFailing(Operation operation, bool asRoot) {
  std::size_t calls = 1;
  for (std::size_t failing = 0; failing <= calls; ++failing) {
    SCOPED_TRACE("call " + std::to_string(failing));
    FakePlatform fakes;
    const ScopedPlatform installed(fakes.platform);
    const SingletonReset<QMAuthorization> authorization;
    const SingletonReset<QMLog> log;
    if (asRoot) fakes.actAsRoot("u");
    fakes.disk.addFile("/d/one", "1");
    fakes.disk.addFile("/d/two", "2");
    if (failing > 0) fakes.calls.failCallNumber(failing);
    operation();
    QMLog::finishWriting();
    if (failing == 0) calls = fakes.calls.callCount();
    const auto tree = ::testing::PrintToString(fakes.disk.tree("/"));
    for (const std::string file : {"one", "two"}) EXPECT_THAT(tree, HasSubstr("/" + file)) << "nothing is lost";
    fakes.end();
  }
  EXPECT_GT(calls, 1U);
}

TEST(QMAuthorizationFailures, LoseNothing) {
  for (const bool asRoot : {false, true}) {
    withEachCallFailing([] { QMAuthorization::sharedController()->authMoveFile("/d/one", "/d/one.moved"); }, asRoot);
    withEachCallFailing([] { QMAuthorization::sharedController()->authCopyFile("/d", "/copy"); }, asRoot);
    withEachCallFailing([] { QMAuthorization::sharedController()->authCreateDir("/new"); }, asRoot);
    withEachCallFailing([] { QMAuthorization::sharedController()->authMoveFolderContents("/d", "/tmp"); }, asRoot);
    withEachCallFailing([] { QMAuthorization::sharedController()->authTrashFile("/d"); }, asRoot);
    withEachCallFailing([] { QMAuthorization::sharedController()->authTrashFolderContents("/d"); }, asRoot);
    withEachCallFailing([] { QMAuthorization::sharedController()->authRemoveFile("/tmp/none"); }, asRoot);
  }
}

TEST(QMAuthorizationFailures, LeaveNoHalfSession) {
  withEachCallFailing(
      [] {
        auto& rights = *QMAuthorization::sharedController();
        const bool started = rights.authStartWithUser("u", "secret");
        EXPECT_EQ(started, rights.authRef() != nullptr);
        rights.authEnd();
        EXPECT_EQ(rights.authRef(), nullptr);
        const bool startedAgain = rights.authStart();
        EXPECT_EQ(startedAgain, rights.isAuthorized());
      },
      false);
}

}  // namespace
}  // namespace qm::testing
