// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/archives/ArchiveTest.h"
#include "tests/archives/ZipBytes.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Snapshot = std::map<std::string, std::string>;
using Modes = std::map<std::string, mode_t>;

/// Of every item below a folder. Contents are not read, because a test that asks at each block has much to ask.
Modes modesBelow(const std::string& folder) {
  Modes found;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    found[entry.path().lexically_relative(folder).string()] = attributesOf(entry.path().string()).st_mode;
  }
  return found;
}

class Unpack : public ArchiveTest {
 protected:
  std::string archiveOf(const std::vector<ZipItem>& items) { return makeFile("a.zip", zipBytes(items)); }

  /// The reason why an archive of these items cannot be unpacked, "" if it can.
  std::string problemOf(const std::vector<ZipItem>& items) {
    return unpack(archiveOf(items), path("new")).localizedDescription();
  }
};

TEST_F(Unpack, MakesTheFolderAndThoseAboveIt) {
  ASSERT_TRUE(unpack(archiveOf({{"a/b/file", "text"}}), path("new/er/folder///")));
  EXPECT_EQ(contentsOf(path("new/er/folder/a/b/file")), "text");
  EXPECT_EQ(attributesOf(path("new/er/folder")).st_mode & 07777, 0755U);
  EXPECT_EQ(attributesOf(path("new/er/folder/a")).st_mode & 07777, 0755U);
}

TEST_F(Unpack, MakesAnEmptyFolderOfAnEmptyArchive) {
  ASSERT_TRUE(unpack(archiveOf({}), path("new")));
  EXPECT_TRUE(snapshot(path("new")).empty());
}

TEST_F(Unpack, MergesIntoAFolderThatIsThere) {
  makeFile("there/kept", "kept");
  makeFile("there/folder/kept", "kept");
  makeFile("there/folder/replaced", "old");
  ASSERT_TRUE(
      unpack(archiveOf({{"folder/", "", 040755}, {"folder/replaced", "new"}, {"folder/added", "new"}}), path("there")));
  EXPECT_EQ(contentsOf(path("there/kept")), "kept");
  EXPECT_EQ(contentsOf(path("there/folder/kept")), "kept");
  EXPECT_EQ(contentsOf(path("there/folder/replaced")), "new");
  EXPECT_EQ(contentsOf(path("there/folder/added")), "new");
  EXPECT_EQ(snapshot(path("there")).size(), 5U);
}

TEST_F(Unpack, MergesIntoAFolderThatALinkLeadsTo) {
  makeFolder("there");
  makeLink("link", "there");
  ASSERT_TRUE(unpack(archiveOf({{"file"}}), path("link")));
  EXPECT_TRUE(isThere(path("there/file")));
}

TEST_F(Unpack, BreaksTheOtherNamesOfAFileItReplaces) {
  makeFile("there/file", "old");
  ASSERT_EQ(::link(path("there/file").c_str(), path("outside/name").c_str()), 0);
  ASSERT_TRUE(unpack(archiveOf({{"file", "new"}}), path("there")));
  EXPECT_EQ(contentsOf(path("outside/name")), "old");
  EXPECT_EQ(contentsOf(path("there/file")), "new");
}

TEST_F(Unpack, KeepsTheOldFileWhenTheNewOneIsBroken) {
  makeFile("there/file", "old");
  EXPECT_FALSE(unpack(archiveOf({{.name = "file", .contents = "new", .checksumError = 1}}), path("there")));
  EXPECT_EQ(contentsOf(path("there/file")), "old");
  EXPECT_EQ(snapshot(path("there")).size(), 1U);
}

TEST_F(Unpack, RestoresNothingThatLendsRights) {
  ASSERT_TRUE(unpack(archiveOf({{"program", "#!", 0106755}, {"folder/", "", 043777}}), path("new")));
  EXPECT_EQ(attributesOf(path("new/program")).st_mode & 07777, 0755U);
  EXPECT_EQ(attributesOf(path("new/folder")).st_mode & 07777, 0777U);
}

TEST_F(Unpack, TakesPermissionsAsTheyAreWhateverTheUmaskIs) {
  ::umask(077);
  ASSERT_TRUE(unpack(archiveOf({{"file", "", 0100666}, {"none", "", 0100000}}), path("new")));
  ::umask(022);
  EXPECT_EQ(attributesOf(path("new/file")).st_mode & 07777, 0666U);
  EXPECT_EQ(attributesOf(path("new")).st_mode & 07777, 0700U);
}

TEST_F(Unpack, FillsFoldersThatShutTheirOwnerOut) {
  const std::string archive = archiveOf({{"shut/", "", 040000},
                                         {"shut/below/", "", 040500},
                                         {"shut/below/file", "text", 0100400},
                                         {"late/file", "text"},
                                         {"late/", "", 040500}});
  runInPrivateMachine([&] {
    const std::string home = machineFolder() + "/home";
    ASSERT_EQ(::mkdir(home.c_str(), 0777), 0);
    ASSERT_EQ(::chmod(home.c_str(), 0777), 0);
    writeFile(home + "/a.zip", contentsOf(archive));
    asUser(501, 501, [&] {
      const auto status = unpack(home + "/a.zip", home + "/new");
      EXPECT_TRUE(status) << status.localizedDescription();
    });
    EXPECT_EQ(attributesOf(home + "/new/shut").st_mode & 07777, 0U);
    EXPECT_EQ(attributesOf(home + "/new/shut/below").st_mode & 07777, 0500U);
    EXPECT_EQ(attributesOf(home + "/new/late").st_mode & 07777, 0500U);
    EXPECT_EQ(contentsOf(home + "/new/shut/below/file"), "text");
  });
}

TEST_F(Unpack, FillsAVolumeThatTellsNoSize) {
  const std::string archive = archiveOf({{"file", std::string(100'000, 'x')}});
  runInPrivateMachine([&] {
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "size=0");
    const auto status = unpack(archive, volume + "/new");
    EXPECT_TRUE(status) << status.localizedDescription();
    EXPECT_EQ(contentsOf(volume + "/new/file"), std::string(100'000, 'x'));
  });
}

TEST_F(Unpack, ShowsNobodyElseWhatIsNotFinished) {
  const std::string archive = archiveOf(
      {{"a/b/file", std::string(1'000'000, 'x')}, {"c/", "", 040777}, {"c/file", std::string(1'000'000, 'x')}});
  makeFolder("there");
  for (const std::string place : {"new", "there"}) {
    Modes modes;
    isStopped = [&] {
      for (const auto& [name, mode] : modesBelow(path(""))) {
        const bool isUnfinished = name.starts_with(".incomplete-") || name.starts_with("there/");
        if (isUnfinished) modes[name] = mode;
      }
      return false;
    };
    ASSERT_TRUE(unpack(archive, path(place)));
    EXPECT_GE(modes.size(), 4U);
    std::erase_if(modes, [](const auto& item) { return item.first.ends_with("a/b/file"); });  // it is finished first
    for (const auto& [name, mode] : modes) EXPECT_EQ(mode & 0777, S_ISDIR(mode) ? 0700U : 0600U) << name;
    EXPECT_EQ(attributesOf(path(place)).st_mode & 07777, 0755U);
    EXPECT_EQ(attributesOf(path(place + "/a")).st_mode & 07777, 0755U);
    EXPECT_EQ(attributesOf(path(place + "/a/b")).st_mode & 07777, 0755U);
    EXPECT_EQ(attributesOf(path(place + "/c")).st_mode & 07777, 0777U);
  }
}

TEST_F(Unpack, SettlesFoldersAfterAFailureToo) {
  makeFolder("there/old");
  const std::string archive = archiveOf({{"private/", "", 040700},
                                         {"old/", "", 040500},
                                         {"plain/file"},
                                         {"late/file"},
                                         {"late/", "", 040510},
                                         {.name = "bad", .contents = "x", .checksumError = 1}});
  EXPECT_FALSE(unpack(archive, path("there")));
  EXPECT_EQ(attributesOf(path("there/private")).st_mode & 07777, 0700U);
  EXPECT_EQ(attributesOf(path("there/old")).st_mode & 07777, 0500U);
  EXPECT_EQ(attributesOf(path("there/plain")).st_mode & 07777, 0755U);
  EXPECT_EQ(attributesOf(path("there/late")).st_mode & 07777, 0510U);
}

TEST_F(Unpack, SettlesTheOtherFoldersWhenOneWasSwappedForALink) {
  const std::string archive =
      archiveOf({{"top/a/", "", 040700}, {"top/b/", "", 040510}, {"top/c/", "", 040500}, {"last"}});
  makeFolder("there");
  isStopped = [&] {
    if (isThere(path("there/top/c")) && !S_ISLNK(attributesOf(path("there/top/b")).st_mode)) {
      EXPECT_EQ(::rmdir(path("there/top/b").c_str()), 0);
      makeLink("there/top/b", path("outside/folder"));
    }
    return false;
  };
  const Snapshot before = snapshot(path("outside"));
  EXPECT_EQ(unpack(archive, path("there")).localizedDescription(),
            "top/b: Something other than a folder is in the way");
  EXPECT_EQ(snapshot(path("outside")), before);
  EXPECT_EQ(attributesOf(path("there/top")).st_mode & 07777, 0755U);
  EXPECT_EQ(attributesOf(path("there/top/a")).st_mode & 07777, 0700U);
  EXPECT_EQ(attributesOf(path("there/top/c")).st_mode & 07777, 0500U);
  EXPECT_TRUE(isThere(path("there/last")));
}

TEST_F(Unpack, LeavesFoldersOfOthersAsTheyAreAndSettlesThoseThatCannotBeRead) {
  const std::string archive = archiveOf({{"others/", "", 040700}, {"others/file", "text"}, {"mine/", "", 040700}});
  runInPrivateMachine([&] {
    const std::string home = machineFolder() + "/home";
    for (const std::string& folder : {home, home + "/others", home + "/mine"}) {
      ASSERT_EQ(::mkdir(folder.c_str(), 0777), 0);
      ASSERT_EQ(::chmod(folder.c_str(), 0777), 0);
    }
    ASSERT_EQ(::chown((home + "/mine").c_str(), 501, 501), 0);
    ASSERT_EQ(::chmod((home + "/mine").c_str(), 0300), 0);
    writeFile(home + "/a.zip", contentsOf(archive));
    asUser(501, 501, [&] {
      const auto status = unpack(home + "/a.zip", home);
      EXPECT_TRUE(status) << status.localizedDescription();
    });
    EXPECT_EQ(attributesOf(home + "/others").st_mode & 07777, 0777U);
    EXPECT_EQ(contentsOf(home + "/others/file"), "text");
    EXPECT_EQ(attributesOf(home + "/mine").st_mode & 07777, 0700U);
  });
}

TEST_F(Unpack, TakesTheLaterOfTwoItemsOfOneName) {
  ASSERT_TRUE(
      unpack(archiveOf({{"file", "first"}, {"file", "second"}, {"link", "file", 0120777}, {"link", "x", 0120777}}),
             path("new")));
  EXPECT_EQ(contentsOf(path("new/file")), "second");
  EXPECT_EQ(snapshot(path("new")).at("link"), "120777 to x");
  EXPECT_EQ(snapshot(path("new")).size(), 2U);
}

TEST_F(Unpack, ReplacesAFileByALinkAndALinkByAFile) {
  makeFile("there/a", "old");
  makeLink("there/b", "../outside/file");
  ASSERT_TRUE(unpack(archiveOf({{"a", "b", 0120777}, {"b", "new"}}), path("there")));
  EXPECT_EQ(snapshot(path("there")).at("a"), "120777 to b");
  EXPECT_EQ(contentsOf(path("there/b")), "new");
  EXPECT_EQ(contentsOf(path("outside/file")), "to be left alone");
}

TEST_F(Unpack, NeverReplacesAFolderBySomethingElseOrTheOtherWayRound) {
  EXPECT_EQ(problemOf({{"a/", "", 040755}, {"a", "file"}}), "a: A folder is in the way");
  EXPECT_EQ(problemOf({{"a/", "", 040755}, {"a", "x", 0120777}}), "a: A folder is in the way");
  EXPECT_EQ(problemOf({{"a", "file"}, {"a/b", "file"}}), "a/b: Something other than a folder is in the way");
  EXPECT_EQ(problemOf({{"a", "file"}, {"a/", "", 040755}}), "a/: Something other than a folder is in the way");
  EXPECT_FALSE(isThere(path("new")));
}

TEST_F(Unpack, TakesNamesWithSlashesAndDotsTooMany) {
  ASSERT_TRUE(
      unpack(archiveOf({{"./", "", 040755}, {".//a/./b//file", "text"}, {"a//b/.//", "", 040700}}), path("new")));
  EXPECT_EQ(contentsOf(path("new/a/b/file")), "text");
  EXPECT_EQ(attributesOf(path("new/a/b")).st_mode & 07777, 0700U);
}

TEST_F(Unpack, TakesNamesFromTheFieldThatHoldsThemInUtf8) {
  const std::string name = "folder/\x82 \xEF";
  const std::string utf8 = "folder/\xC3\xA9 \xE6\x97\xA5";
  ASSERT_EQ(problemOf({{.name = name, .contents = "text", .extra = unicodePathField(name, utf8)}}), "");
  EXPECT_EQ(contentsOf(path("new/" + utf8)), "text");
  const ProgramRun run = runProgram({"env", "LC_ALL=C", zipTool(), "-xk", path("a.zip"), path("again")});
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(contentsOf(path("again/" + utf8)), "text");
}

TEST_F(Unpack, TakesAnArchiveThatSomethingStandsBefore) {
  makeFile("a.zip", zipBytes({{"\xC3\xA9", "text", 0100644, 0x800}}, "#!/bin/sh\nexit\n"));
  ASSERT_TRUE(unpack(path("a.zip"), path("new")));
  EXPECT_EQ(contentsOf(path("new/\xC3\xA9")), "text");
}

TEST_F(Unpack, TakesAnArchiveWithAComment) {
  makeFile("a.zip", zipBytes({{"file", "text"}}, "", std::string(10000, 'c')));
  ASSERT_TRUE(unpack(path("a.zip"), path("new")));
  EXPECT_EQ(contentsOf(path("new/file")), "text");
}

TEST_F(Unpack, RefusesWhatIsNoArchive) {
  ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0644), 0);
  const std::string noArchive = ": It is not a zip archive";
  makeFile("text", "text");
  makeFile("empty", "");
  EXPECT_EQ(unpack(path("missing"), path("new")).localizedDescription(),
            path("missing") + ": No such file or directory");
  EXPECT_EQ(unpack(path("fifo"), path("new")).localizedDescription(), path("fifo") + noArchive);
  EXPECT_EQ(unpack(path("outside"), path("new")).localizedDescription(), path("outside") + noArchive);
  for (const std::string name : {"text", "empty"}) {
    EXPECT_EQ(unpack(path(name), path("new")).localizedDescription(),
              path(name) + noArchive + ", or a part of it is missing");
  }
  EXPECT_FALSE(isThere(path("new")));
}

TEST_F(Unpack, RefusesAPlaceWhereNoFolderCanBe) {
  const std::string archive = archiveOf({{"file"}});
  makeLink("dangling", "nowhere");
  EXPECT_EQ(unpack(archive, path("outside/file")).localizedDescription(), path("outside/file") + ": Not a directory");
  EXPECT_EQ(unpack(archive, path("outside/file/x")).localizedDescription(),
            path("outside/file/x") + ": Not a directory");
  EXPECT_EQ(unpack(archive, path("dangling")).localizedDescription(), path("dangling") + ": File exists");
  EXPECT_EQ(unpack(archive, "relative").localizedDescription(), "relative: Invalid argument");
  EXPECT_FALSE(isThere(path("nowhere")));
}

TEST_F(Unpack, EndsWhenItIsStoppedAndLeavesNothing) {
  const std::string archive = archiveOf({{"a", std::string(1'000'000, 'x')}, {"b/c"}});
  const Snapshot before = snapshot(path(""));
  for (int after = 0; after < 5; ++after) {
    int asked = 0;
    isStopped = [&] { return asked++ >= after; };
    EXPECT_EQ(unpack(archive, path("new")).code(), EINTR) << after;
    EXPECT_EQ(snapshot(path("")), before) << after;
  }
}

TEST_F(Unpack, EndsAtASignalAndLeavesNothing) {
  makeFolder("item");
  const int file = ::open(path("item/large").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  ASSERT_EQ(::ftruncate(file, off_t{1} << 28), 0);
  ::close(file);
  ASSERT_TRUE(pack(path("item"), path("a.zip")));
  std::filesystem::remove_all(path("item"));  // it would be compared byte by byte
  const Snapshot before = snapshot(path(""));
  const ProgramRun run = runAndEnd({zipTool(), "-xk", path("a.zip"), path("new")}, path(""));
  EXPECT_EQ(run.status, 1) << run.output;
  EXPECT_EQ(snapshot(path("")), before);
}

TEST_F(Unpack, SaysOnOneLineWhatIsWrong) {
  const ProgramRun run = runZipTool({"-xk", archiveOf({{"../new\nline\x1b[1m"}}), path("new")});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "tessaly-ditto: ../new?line?[1m: Its name leads out of the folder\n");
}

}  // namespace
}  // namespace qm::testing
