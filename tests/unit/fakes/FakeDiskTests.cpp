// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeDisk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "tests/fakes/FakeFileSystem.h"
#include "tests/fakes/FileCommands.h"

namespace {

using namespace qm::testing;
using namespace std::chrono_literals;
using Strings = std::vector<std::string>;

class Disk : public ::testing::Test {
 protected:
  Calls calls;
  FakeClock clock{calls};
  FakeDisk disk{clock};
  FakeFileSystem files{calls, disk};
};

TEST_F(Disk, ListsItemsInTheOrderMade) {
  disk.addFile("/d/z");
  disk.addFolder("/d/.hidden");
  disk.addLink("/d/a", "z");
  EXPECT_EQ(disk.list("/d"), (Strings{"z", ".hidden", "a"}));
  EXPECT_EQ(disk.tree("/d"), (Strings{"/d/.hidden/", "/d/a -> z", "/d/z"}));
}

TEST_F(Disk, FollowsLinksButReadsADanglingOneAsAbsent) {
  disk.addFile("/d/file", "12345");
  disk.addLink("/folder", "/d");
  disk.addLink("/d/up", "../folder/./file");
  disk.addLink("/dangling", "/nowhere");
  EXPECT_TRUE(files.fileExists("/folder/up"));
  EXPECT_TRUE(files.isDirectory("/folder"));
  EXPECT_FALSE(files.fileExists("/dangling"));
  EXPECT_TRUE(disk.has("/dangling"));
  EXPECT_EQ(files.destinationOfSymbolicLink("/dangling"), "/nowhere");
  EXPECT_EQ(files.destinationOfSymbolicLink("/folder/file"), std::nullopt);
  EXPECT_EQ(files.attributesOfItem("/folder")->type, qm::platform::FileType::SymbolicLink);
  EXPECT_EQ(files.attributesOfItem("/folder/file")->size, 5U);
}

TEST_F(Disk, GivesUpOnALoopOfLinks) {
  disk.addLink("/a", "/b");
  disk.addLink("/b", "/a");
  EXPECT_FALSE(disk.exists("/a"));
  EXPECT_EQ(disk.copy("/a/x", "/y"), ELOOP);
  disk.addLink("/up", "/");
  std::string path = "/up";
  for (int i = 1; i < 40; ++i) path += "/up";
  EXPECT_TRUE(disk.exists(path));
  EXPECT_FALSE(disk.exists(path + "/up"));
}

TEST_F(Disk, LimitsPathsAndNames) {
  disk.addFolder("/d");
  EXPECT_EQ(disk.writeFile("/d/" + std::string(255, 'n'), ""), 0);
  EXPECT_EQ(disk.writeFile("/d/" + std::string(256, 'n'), ""), ENAMETOOLONG);
  std::string longPath;
  while (longPath.size() < 4096) longPath += "/d";
  EXPECT_EQ(disk.makeFolders(longPath), ENAMETOOLONG);
}

TEST_F(Disk, NamesNothingByRelativePathsAndNulBytes) {
  disk.addFile("/a");
  EXPECT_FALSE(disk.exists(""));
  EXPECT_FALSE(disk.exists("a"));
  EXPECT_FALSE(disk.exists(std::string("/a\0b", 4)));
  EXPECT_FALSE(disk.exists("/a/"));
  EXPECT_FALSE(disk.exists("/a/b"));
}

TEST_F(Disk, MovesWithoutReplacing) {
  disk.addFile("/a", "A");
  disk.addFile("/d/b", "B");
  disk.addLink("/d/dangling", "/nowhere");
  EXPECT_EQ(disk.move("/a", "/d/b"), EEXIST);
  EXPECT_EQ(disk.move("/a", "/d/dangling"), EEXIST);
  EXPECT_EQ(disk.move("/a", "/missing/a"), ENOENT);
  EXPECT_EQ(disk.move("/d", "/d/d"), EINVAL);
  EXPECT_EQ(disk.move("/a", "/d/a"), 0);
  EXPECT_EQ(disk.fileContents("/d/a"), "A");
  EXPECT_FALSE(disk.has("/a"));
  EXPECT_EQ(disk.move("/d/dangling", "/moved"), 0);
  EXPECT_EQ(disk.linkTarget("/moved"), "/nowhere");
}

TEST_F(Disk, MovesAcrossVolumesByCopying) {
  disk.addVolume("/Volumes/Small", {.capacity = 10});
  disk.addFile("/tree/file", "12345");
  disk.addFile("/tree/more", "123456");
  EXPECT_EQ(disk.mountPointOf("/Volumes/Small/tree"), "/Volumes/Small");
  EXPECT_EQ(disk.move("/tree", "/Volumes/Small/tree"), ENOSPC);
  EXPECT_EQ(disk.tree("/Volumes/Small"), Strings{});
  EXPECT_EQ(disk.fileContents("/tree/more"), "123456");
  disk.remove("/tree/more");
  EXPECT_EQ(disk.move("/tree", "/Volumes/Small/tree"), 0);
  EXPECT_EQ(disk.fileContents("/Volumes/Small/tree/file"), "12345");
  EXPECT_FALSE(disk.has("/tree"));
  EXPECT_EQ(disk.move("/Volumes/Small", "/elsewhere"), EBUSY);
}

TEST_F(Disk, RefusesChangesWithoutRights) {
  disk.addFile("/locked/file", "x");
  disk.setWritable("/locked", false);
  EXPECT_EQ(disk.move("/locked/file", "/file"), EACCES);
  EXPECT_EQ(disk.removeTree("/locked/file"), EACCES);
  EXPECT_EQ(disk.writeFile("/locked/new", ""), EACCES);
  EXPECT_EQ(disk.copy("/locked/file", "/locked/copy"), EACCES);
  EXPECT_EQ(disk.move("/locked/file", "/file", Access::Administrator), 0);
  disk.setSuperuser(true);
  EXPECT_EQ(disk.writeFile("/locked/new", ""), 0);
}

TEST_F(Disk, HidesWhatMayNotBeReadOrReached) {
  disk.addFile("/d/file", "x");
  disk.setReadable("/d", false);
  EXPECT_EQ(disk.list("/d"), std::nullopt);
  EXPECT_TRUE(disk.exists("/d/file"));
  disk.setSearchable("/d", false);
  EXPECT_FALSE(disk.exists("/d/file"));
  EXPECT_TRUE(disk.exists("/d/file", Access::Administrator));
  disk.setSearchable("/d", true);
  disk.setReadable("/d/file", false);
  EXPECT_EQ(disk.copy("/d/file", "/copy"), EACCES);
  disk.setWritable("/d/file", false);
  EXPECT_EQ(files.openForWriting("/d/file"), nullptr);
}

TEST_F(Disk, KeepsImmutableItemsAndThoseInImmutableFolders) {
  disk.addFile("/d/file", "x");
  EXPECT_EQ(disk.setImmutable("/d/file", true), 0);
  EXPECT_EQ(disk.isImmutable("/d/file"), true);
  EXPECT_EQ(disk.move("/d/file", "/file", Access::Administrator), EPERM);
  EXPECT_EQ(disk.removeTree("/d", Access::Administrator), EPERM);
  EXPECT_EQ(disk.writeFile("/d/file", ""), EPERM);
  EXPECT_EQ(files.openForWriting("/d/file"), nullptr);
  EXPECT_EQ(disk.setImmutable("/d/file", false), 0);
  disk.setLocked("/d", true);
  EXPECT_EQ(disk.removeTree("/d/file"), EPERM);
  EXPECT_EQ(disk.setImmutable("/nowhere", false), ENOENT);
  EXPECT_EQ(disk.isImmutable("/nowhere"), std::nullopt);
}

TEST_F(Disk, NeitherLocksNorFollowsALink) {
  disk.addFile("/file");
  disk.addLink("/link", "/file");
  EXPECT_EQ(disk.setImmutable("/link", false), 0);
  EXPECT_EQ(disk.setImmutable("/link", true), EOPNOTSUPP);
  EXPECT_FALSE(disk.isLocked("/file"));
}

TEST_F(Disk, RefusesEveryChangeOnAReadOnlyVolume) {
  disk.addVolume("/cd");
  disk.addFile("/cd/file", "x");
  disk.setVolumeKind("/cd", {.readOnly = true});
  EXPECT_EQ(disk.removeTree("/cd/file", Access::Administrator), EROFS);
  EXPECT_EQ(disk.makeFolders("/cd/new"), EROFS);
  EXPECT_EQ(disk.move("/cd/file", "/file"), EROFS);
  EXPECT_EQ(disk.setImmutable("/cd/file", true), EROFS);
  EXPECT_EQ(files.openForWriting("/cd/file"), nullptr);
  EXPECT_EQ(disk.copy("/cd/file", "/file"), 0);
}

TEST_F(Disk, MakesFoldersDownToTheOneAskedFor) {
  EXPECT_EQ(disk.makeFolders("/a/b/c/"), 0);
  EXPECT_EQ(disk.makeFolders("/a/b"), 0);
  disk.addFile("/a/file");
  EXPECT_EQ(disk.makeFolders("/a/file"), EEXIST);
  EXPECT_EQ(disk.makeFolders("/a/file/x"), ENOTDIR);
  disk.addLink("/dangling", "/nowhere");
  EXPECT_EQ(disk.makeFolders("/dangling"), EEXIST);
  disk.addLink("/link", "/a");
  EXPECT_EQ(disk.makeFolders("/link/d"), 0);
  EXPECT_EQ(disk.tree("/a"), (Strings{"/a/b/", "/a/b/c/", "/a/d/", "/a/file"}));
}

TEST_F(Disk, RemovesATreeButNeitherALinksTargetNorAnotherVolume) {
  disk.addFile("/keep/file");
  disk.addLink("/d/link", "/keep");
  EXPECT_EQ(disk.removeTree("/d"), 0);
  EXPECT_TRUE(disk.has("/keep/file"));
  disk.addVolume("/d/mounted");
  disk.addFile("/d/mounted/file");
  EXPECT_EQ(disk.removeTree("/d"), EBUSY);
  EXPECT_TRUE(disk.has("/d/mounted/file"));
  EXPECT_EQ(disk.removeTree("/nowhere"), ENOENT);
}

TEST_F(Disk, ReplacesAFileAsAWholeWhileAnOpenOneStays) {
  disk.addFile("/file", "old");
  const auto handle = files.openForWriting("/file");
  ASSERT_NE(handle, nullptr);
  EXPECT_TRUE(files.writeFileAtomically("/file", "new").ok());
  EXPECT_TRUE(handle->writeData("OLD").ok());
  EXPECT_EQ(disk.fileContents("/file"), "new");
  disk.addLink("/link", "/file");
  EXPECT_TRUE(files.writeFileAtomically("/link", "own").ok());
  EXPECT_EQ(disk.fileContents("/link"), "own");
  EXPECT_EQ(disk.fileContents("/file"), "new");
  disk.addFolder("/d");
  EXPECT_EQ(files.writeFileAtomically("/d", "").code(), EISDIR);
  EXPECT_EQ(files.writeFileAtomically("/nowhere/file", "").code(), ENOENT);
}

TEST_F(Disk, WritesIntoAnOpenFileWhereItStands) {
  disk.addFile("/file", "12345");
  const auto handle = files.openForWriting("/file");
  ASSERT_NE(handle, nullptr);
  EXPECT_TRUE(handle->writeData("ab").ok());
  EXPECT_TRUE(handle->seekToEndOfFile().ok());
  EXPECT_TRUE(handle->writeData("67").ok());
  EXPECT_EQ(disk.fileContents("/file"), "ab34567");
}

TEST_F(Disk, WritesWhatFitsOnAFullVolume) {
  disk.addVolume("/small", {.capacity = 5});
  disk.addFile("/small/file", "123");
  const auto handle = files.openForWriting("/small/file");
  ASSERT_NE(handle, nullptr);
  ASSERT_TRUE(handle->seekToEndOfFile().ok());
  EXPECT_EQ(handle->writeData("4567").code(), ENOSPC);
  EXPECT_EQ(disk.fileContents("/small/file"), "12345");
}

TEST_F(Disk, OpensOnlyARegularFileAndNeverMakesOne) {
  disk.addFile("/file");
  disk.addLink("/link", "/file");
  disk.addFolder("/d");
  EXPECT_NE(files.openForWriting("/file"), nullptr);
  EXPECT_EQ(files.openForWriting("/link"), nullptr);
  EXPECT_EQ(files.openForWriting("/d"), nullptr);
  EXPECT_EQ(files.openForWriting("/nowhere"), nullptr);
  EXPECT_FALSE(disk.has("/nowhere"));
}

TEST_F(Disk, ComparesNamesInAnyCaseOnSuchAVolume) {
  disk.addVolume("/hfs", {.caseInsensitive = true});
  disk.addFile("/hfs/Report", "x");
  EXPECT_TRUE(disk.exists("/hfs/REPORT"));
  EXPECT_EQ(disk.move("/hfs/Report", "/hfs/report"), EEXIST);
  EXPECT_EQ(disk.move("/hfs/Report", "/hfs/report 2"), 0);
  EXPECT_EQ(disk.move("/hfs/report 2", "/hfs/report"), 0);
  EXPECT_EQ(disk.list("/hfs"), Strings{"report"});
}

TEST_F(Disk, ChangesByItselfWhenTheClockHasMovedFarEnough) {
  disk.addFile("/tmp/going");
  disk.disappearAfter("/tmp/going", 12s);
  disk.appearAfter("/tmp/coming", 5s, "here");
  clock.advance(4s);
  EXPECT_FALSE(disk.exists("/tmp/coming"));
  clock.advance(1s);
  EXPECT_EQ(disk.fileContents("/tmp/coming"), "here");
  EXPECT_TRUE(disk.exists("/tmp/going"));
  clock.advance(7s);
  EXPECT_FALSE(disk.exists("/tmp/going"));
}

TEST_F(Disk, NotesWhenItemsChange) {
  disk.addFile("/d/file", "x");
  const auto before = files.attributesOfItem("/d/file")->modificationDate;
  clock.advance(10s);
  EXPECT_EQ(disk.touch("/d/file"), 0);
  EXPECT_EQ(files.attributesOfItem("/d/file")->modificationDate - before, 10s);
  EXPECT_EQ(disk.copy("/d/file", "/d/copy"), 0);
  clock.advance(10s);
  EXPECT_EQ(disk.copy("/d/file", "/d/later"), 0);
  EXPECT_EQ(files.attributesOfItem("/d/later")->modificationDate - before, 10s);
  EXPECT_EQ(files.attributesOfItem("/d")->modificationDate - before, 20s);
}

TEST_F(Disk, AnswersWithTheSystemsNumberAndSentence) {
  const qm::platform::Status status = files.removeItem("/nowhere");
  EXPECT_EQ(status.code(), ENOENT);
  EXPECT_EQ(status.localizedDescription(), "No such file or directory");
}

TEST_F(Disk, IsChangedByTheFileToolsWithAnAdministratorsRights) {
  disk.addFile("/d/file", "new");
  disk.addFile("/to/file", "old");
  disk.setWritable("/d", false);
  disk.setWritable("/to", false);
  fileCommand("/bin/mv", disk)({"-f", "/d/file", "/to/file"});
  EXPECT_EQ(disk.fileContents("/to/file"), "new");
  fileCommand("/bin/cp", disk)({"-f", "-p", "-R", "/to/file", "/d"});
  EXPECT_EQ(disk.fileContents("/d/file"), "new");
  fileCommand("/bin/rm", disk)({"-Rdf", "/to"});
  EXPECT_FALSE(disk.has("/to"));
  fileCommand("/bin/mkdir", disk)({"-p", "/x/y"});
  EXPECT_TRUE(disk.isDirectory("/x/y"));
  fileCommand("/usr/bin/touch", disk)({"/x/made"});
  EXPECT_EQ(disk.fileContents("/x/made"), "");
  EXPECT_EQ(fileCommand("/usr/bin/killall", disk), nullptr);
}

}  // namespace
