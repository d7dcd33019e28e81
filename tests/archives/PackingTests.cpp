// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "tests/archives/ArchiveTest.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::KeepParent;
using ::testing::AnyOf;
using Snapshot = std::map<std::string, std::string>;

class MakeArchive : public ArchiveTest {
 protected:
  Snapshot unpacked(const std::string& archive) {
    const std::string folder = path("unpacked " + std::to_string(++unpackings_));
    const auto status = unpack(archive, folder);
    EXPECT_TRUE(status) << status.localizedDescription();
    return snapshot(folder);
  }

  std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
  }

 private:
  int unpackings_ = 0;
};

TEST_F(MakeArchive, HoldsTheFolderOrItsContentsAlone) {
  makeFile("item/a/file");
  ASSERT_TRUE(pack(path("item"), path("with.zip"), KeepParent::Yes));
  ASSERT_TRUE(pack(path("item"), path("without.zip"), KeepParent::No));
  EXPECT_TRUE(unpacked(path("with.zip")).contains("item/a/file"));
  EXPECT_TRUE(unpacked(path("without.zip")).contains("a/file"));
}

TEST_F(MakeArchive, HoldsAFileByItsNameEitherWay) {
  makeFile("item");
  for (const KeepParent keepParent : {KeepParent::No, KeepParent::Yes}) {
    ASSERT_TRUE(pack(path("item"), path("a.zip"), keepParent));
    EXPECT_EQ(unpacked(path("a.zip")).size(), 1U);
    EXPECT_EQ(unpacked(path("a.zip")).begin()->first, "item");
  }
}

TEST_F(MakeArchive, KeepsModesTimesLinksEmptyFoldersAndNames) {
  makeFile("item/program", "#!");
  ::chmod(path("item/program").c_str(), 0751);
  makeFile("item/secret");
  ::chmod(path("item/secret").c_str(), 0400);
  makeFile("item/empty file", "");
  makeFolder("item/empty folder", 0500);
  makeLink("item/relative", "program");
  makeLink("item/absolute", "/nowhere/at all");
  makeFile("item/\xC3\xA4 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80");
  makeFile("item/new\nline");
  makeFile("item/back\\slash");
  makeFile("item/" + std::string(255, 'n'));
  setModified(path("item/program"), 1'000'000'001);
  setModified(path("item/secret"), 4'000'000'000);
  setModified(path("item/relative"), 1'000'000'002);
  setModified(path("item/empty folder"), 1'000'000'003);
  setModified(path("item"), 1'000'000'004);
  const Snapshot before = snapshot(path("item"));
  ASSERT_TRUE(pack(path("item"), path("a.zip"), KeepParent::No));
  ASSERT_TRUE(pack(path("item"), path("parent.zip")));
  EXPECT_EQ(unpacked(path("a.zip")), before);
  ASSERT_TRUE(unpack(path("parent.zip"), path("again")));
  for (const std::string item : {"item", "item/empty folder", "item/relative"}) {
    EXPECT_EQ(attributesOf(path("again/" + item)).st_mtim.tv_sec, attributesOf(path(item)).st_mtim.tv_sec) << item;
  }
  EXPECT_TRUE(leftOut.empty());
}

TEST_F(MakeArchive, OfAnEmptyFolderIsOneAsWell) {
  makeFolder("item");
  ASSERT_TRUE(pack(path("item"), path("a.zip"), KeepParent::No));
  EXPECT_TRUE(unpacked(path("a.zip")).empty());
}

TEST_F(MakeArchive, KeepsNamesApartThatLookTheSame) {
  makeFile("item/\xC3\xA9", "composed");
  makeFile("item/e\xCC\x81", "decomposed");
  makeFile("item/E\xCC\x81", "large");
  const Snapshot before = snapshot(path("item"));
  ASSERT_TRUE(pack(path("item"), path("a.zip"), KeepParent::No));
  EXPECT_EQ(unpacked(path("a.zip")), before);
}

TEST_F(MakeArchive, KeepsNamesThatAreNoUtf8ByteForByte) {
  makeFile("item/bad\xFF\xFE");
  makeFile("item/good\xC3\xA9");
  makeLink("item/link", "to\xFF");
  const Snapshot before = snapshot(path("item"));
  ASSERT_TRUE(pack(path("item"), path("a.zip"), KeepParent::No));
  EXPECT_EQ(unpacked(path("a.zip")), before);
}

TEST_F(MakeArchive, BringsTimesThatTheFormatCannotHoldToTheNearest) {
  makeFile("item");
  setModified(path("item"), -1000);
  ASSERT_TRUE(pack(path("item"), path("a.zip")));
  ASSERT_TRUE(unpack(path("a.zip"), path("new")));
  EXPECT_EQ(attributesOf(path("new/item")).st_mtim.tv_sec, 0);
}

TEST_F(MakeArchive, FollowsTheItemAndNoLinkBelow) {
  makeFile("real/file");
  makeLink("real/link", "../outside");
  makeLink("item", "real");
  ASSERT_TRUE(pack(path("item"), path("a.zip")));
  const Snapshot all = unpacked(path("a.zip"));
  EXPECT_TRUE(all.contains("item/file"));
  EXPECT_EQ(all.at("item/link"), "120777 to ../outside");
}

TEST_F(MakeArchive, NamesAnItemThatIsGivenByDots) {
  makeFile("item/a/file");
  ASSERT_TRUE(pack(path("item/a/."), path("a.zip")));
  EXPECT_TRUE(unpacked(path("a.zip")).contains("a/file"));
  ASSERT_TRUE(pack(path("item/a/.."), path("a.zip")));
  EXPECT_TRUE(unpacked(path("a.zip")).contains("item/a/file"));
  ASSERT_TRUE(pack(path("item///"), path("a.zip")));
  EXPECT_TRUE(unpacked(path("a.zip")).contains("item/a/file"));
}

TEST_F(MakeArchive, ReplacesAnOldArchiveAndKeepsItsPermissions) {
  makeFile("item");
  makeFile("a.zip", "old");
  ::chmod(path("a.zip").c_str(), 0600);
  ASSERT_TRUE(pack(path("item"), path("a.zip")));
  EXPECT_EQ(unpacked(path("a.zip")).size(), 1U);
  EXPECT_EQ(attributesOf(path("a.zip")).st_mode & 07777, 0600U);
}

TEST_F(MakeArchive, ReplacesALinkAndLeavesWhatItLeadsTo) {
  makeFile("item");
  makeLink("a.zip", "outside/file");
  ASSERT_TRUE(pack(path("item"), path("a.zip")));
  EXPECT_TRUE(S_ISREG(attributesOf(path("a.zip")).st_mode));
  EXPECT_EQ(contentsOf(path("outside/file")), "to be left alone");
}

TEST_F(MakeArchive, IsReadableByTheUmask) {
  makeFile("item");
  ASSERT_TRUE(pack(path("item"), path("a.zip")));
  EXPECT_EQ(attributesOf(path("a.zip")).st_mode & 07777, 0644U);
}

TEST_F(MakeArchive, IsNotPutIntoItself) {
  makeFile("item/file");
  makeFile("item/a.zip", "old");
  makeFile("item/below/a.zip", "another one");
  ASSERT_TRUE(pack(path("item"), path("item/a.zip")));
  const Snapshot all = unpacked(path("item/a.zip"));
  EXPECT_FALSE(all.contains("item/a.zip"));
  EXPECT_TRUE(all.contains("item/below/a.zip"));
  EXPECT_EQ(all.size(), 4U);
}

TEST_F(MakeArchive, LeavesOutWhatHoldsNothingAndSaysSo) {
  makeFile("item/file");
  ASSERT_EQ(::mkfifo(path("item/fifo\x1b").c_str(), 0644), 0);
  const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path("item/socket").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ::close(listener);
  ASSERT_TRUE(pack(path("item"), path("a.zip")));
  std::sort(leftOut.begin(), leftOut.end());
  EXPECT_EQ(leftOut,
            (std::vector<std::string>{"item/fifo?: It is not a file, a folder or a link, so it is left out",
                                      "item/socket: It is not a file, a folder or a link, so it is left out"}));
  EXPECT_EQ(unpacked(path("a.zip")).size(), 2U);
  const ProgramRun run = runZipTool({"-ck", path("item"), path("b.zip")});
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(isThere(path("b.zip")));
}

TEST_F(MakeArchive, RefusesWhatIsNoItemAndWritesNothing) {
  ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0644), 0);
  EXPECT_EQ(pack(path("missing"), path("a.zip")).localizedDescription(),
            path("missing") + ": No such file or directory");
  EXPECT_EQ(pack(path("fifo"), path("a.zip")).localizedDescription(),
            path("fifo") + ": It is neither a file nor a folder");
  EXPECT_EQ(pack("relative", path("a.zip")).localizedDescription(), "relative: Invalid argument");
  EXPECT_FALSE(isThere(path("a.zip")));
}

TEST_F(MakeArchive, RefusesToTakeThePlaceOfItsOnlyItem) {
  makeFile("item", "the only copy");
  EXPECT_EQ(pack(path("item"), path("item")).localizedDescription(), path("item") + ": Invalid argument");
  EXPECT_EQ(contentsOf(path("item")), "the only copy");
  EXPECT_EQ(namesIn(path("")).size(), 2U);
}

TEST_F(MakeArchive, SaysThatTheVolumeIsFull) {
  std::string noise;
  for (std::uint32_t i = 0, state = 1; i < 3'000'000; ++i) {
    state = state * 1664525U + 1013904223U;
    noise += static_cast<char>(state >> 24U);
  }
  makeFile("item/noise", noise);
  runInPrivateMachine([&] {
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "size=1m");
    EXPECT_EQ(pack(path("item"), volume + "/a.zip").localizedDescription(), "item/noise: No space left on device");
    EXPECT_TRUE(snapshot(volume).empty());
    // The rest fits one block, which is written at the end.
    writeFile(volume + "/full", std::string(1 << 20, 'x'));
    EXPECT_EQ(pack(path("outside/file"), volume + "/a.zip").localizedDescription(),
              volume + "/a.zip: No space left on device");
    EXPECT_EQ(snapshot(volume).size(), 1U);
  });
}

TEST_F(MakeArchive, RefusesAPlaceWhereNoArchiveCanBe) {
  makeFile("item");
  makeFolder("folder");
  EXPECT_EQ(pack(path("item"), path("folder")).localizedDescription(), path("folder") + ": Is a directory");
  EXPECT_EQ(pack(path("item"), path("none/a.zip")).localizedDescription(),
            path("none/a.zip") + ": No such file or directory");
  EXPECT_TRUE(namesIn(path("folder")).empty());
}

TEST_F(MakeArchive, GoesDeeperThanDescriptorsReach) {
  std::string name = "item";
  for (int i = 0; i < 200; ++i) name += "/d" + std::to_string(i);
  makeFile(name + "/file");
  const Snapshot before = snapshot(path("item"));
  ASSERT_TRUE(pack(path("item"), path("a.zip"), KeepParent::No));
  EXPECT_EQ(unpacked(path("a.zip")), before);
}

TEST_F(MakeArchive, FailsAndLeavesTheOldOneWhenAFileCannotBeRead) {
  runInPrivateMachine([&] {
    const std::string base = machineFolder() + "/home";
    ASSERT_EQ(::mkdir(base.c_str(), 0777), 0);
    ASSERT_EQ(::chmod(base.c_str(), 0777), 0);
    asUser(501, 501, [&] {
      for (const std::string& folder : {base + "/item", base + "/item/below"})
        ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
      writeFile(base + "/item/below/locked", "secret");
      writeFile(base + "/item/open", "open");
      writeFile(base + "/a.zip", "old");
      ASSERT_EQ(::chmod((base + "/item/below/locked").c_str(), 0), 0);
      EXPECT_EQ(pack(base + "/item", base + "/a.zip").localizedDescription(), "item/below/locked: Permission denied");
      ASSERT_EQ(::chmod((base + "/item/below").c_str(), 0), 0);
      EXPECT_EQ(pack(base + "/item", base + "/a.zip").localizedDescription(), "item/below: Permission denied");
      EXPECT_EQ(contentsOf(base + "/a.zip"), "old");
      EXPECT_EQ(namesIn(base).size(), 2U);
      ASSERT_EQ(::chmod((base + "/item/below").c_str(), 0755), 0);
    });
  });
}

TEST_F(MakeArchive, EndsWhenItIsStoppedAndLeavesNothing) {
  for (int i = 0; i < 3; ++i) makeFile("item/" + std::to_string(i), std::string(1'000'000, 'x'));
  for (int after = 0; after < 6; ++after) {
    int asked = 0;
    isStopped = [&] { return asked++ >= after; };
    const auto status = pack(path("item"), path("a.zip"));
    EXPECT_EQ(status.code(), EINTR) << after;
    EXPECT_EQ(namesIn(path("")).size(), 2U);
  }
}

TEST_F(MakeArchive, EndsWhenItIsStoppedAmongFoldersAlone) {
  for (int i = 0; i < 3; ++i) makeFolder("item/" + std::to_string(i));
  int asked = 0;
  isStopped = [&] { return ++asked == 3; };
  const auto status = pack(path("item"), path("a.zip"));
  EXPECT_EQ(status.code(), EINTR);
  EXPECT_TRUE(status.localizedDescription().starts_with("item/")) << status.localizedDescription();
  isStopped = [] { return true; };
  EXPECT_EQ(pack(path("item"), path("a.zip")).localizedDescription(), "item: Interrupted system call");
  EXPECT_EQ(pack(path("item"), path("a.zip"), KeepParent::No).localizedDescription(), ".: Interrupted system call");
  EXPECT_EQ(namesIn(path("")).size(), 2U);
}

TEST_F(MakeArchive, FailsWhenAFileBecomesShorterMeanwhile) {
  makeFile("item/file", std::string(1'000'000, 'x'));
  int asked = 0;
  isStopped = [&] {
    if (++asked == 3) {
      EXPECT_EQ(::truncate(path("item/file").c_str(), 1000), 0);
    }
    return false;
  };
  EXPECT_EQ(pack(path("item"), path("a.zip")).localizedDescription(), "item/file: It became shorter while it was read");
  EXPECT_FALSE(isThere(path("a.zip")));
}

TEST_F(MakeArchive, TakesAFileThatGrowsAsItWas) {
  makeFile("item/file", std::string(1'000'000, 'x'));
  isStopped = [&] {
    EXPECT_EQ(::truncate(path("item/file").c_str(), 2'000'000), 0);
    return false;
  };
  ::truncate(path("item/file").c_str(), 1'000'000);
  ASSERT_TRUE(pack(path("item/file"), path("a.zip")));
  isStopped = [] { return false; };
  ASSERT_TRUE(unpack(path("a.zip"), path("new")));
  EXPECT_EQ(attributesOf(path("new/file")).st_size, 1'000'000);
}

TEST_F(MakeArchive, LeavesOutWhatVanishesMeanwhile) {
  makeFile("item/a");
  makeFile("item/b");
  int asked = 0;
  isStopped = [&] {
    // The run asks for the folder first, and then for the first of the two: both are listed, none is read.
    if (++asked == 2) {
      EXPECT_EQ(::unlink(path("item/a").c_str()) + ::unlink(path("item/b").c_str()), 0);
    }
    return false;
  };
  ASSERT_TRUE(pack(path("item"), path("a.zip")));
  std::sort(leftOut.begin(), leftOut.end());
  EXPECT_EQ(leftOut, (std::vector<std::string>{"item/a: It has vanished, so it is left out",
                                               "item/b: It has vanished, so it is left out"}));
}

/// Exchanges the names of two items, continuously.
class Exchange {
 public:
  Exchange(const std::string& first, const std::string& second)
      : thread_([this, first, second] {
          while (!ended_) ::renameat2(AT_FDCWD, first.c_str(), AT_FDCWD, second.c_str(), RENAME_EXCHANGE);
        }) {}
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;
  ~Exchange() {
    ended_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> ended_ = false;
  std::thread thread_;
};

TEST_F(MakeArchive, NeverFollowsALinkThatTakesAFilesPlace) {
  makeFile("item/a", "inside");
  makeLink("item/b", makeFile("secret", "outside"));
  const Exchange exchange(path("item/a"), path("item/b"));
  int met = 0;  // how often the link appeared between checking the file and opening it
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (met < 3 && std::chrono::steady_clock::now() < end) {
    const auto status = pack(path("item"), path("a.zip"));
    if (status.localizedDescription().ends_with(": Too many levels of symbolic links")) ++met;
    if (!status) continue;
    for (const auto& [name, item] : unpacked(path("a.zip"))) EXPECT_EQ(item.find("outside"), std::string::npos) << name;
  }
  EXPECT_EQ(met, 3);
}

TEST_F(MakeArchive, EndsAtASignalAndLeavesNothing) {
  makeFolder("item");
  const int file = ::open(path("item/large").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  ASSERT_EQ(::ftruncate(file, off_t{1} << 40), 0);
  ::close(file);
  for (const std::string signal : {"TERM", "HUP", "INT"}) {
    const ProgramRun run = runAndEnd({zipTool(), "-ck", "--keepParent", path("item"), path("a.zip")}, path(""), signal);
    EXPECT_EQ(run.status, 1) << signal;
    // The signal may arrive before the file exists.
    EXPECT_THAT(run.output, AnyOf("tessaly-ditto: item/large: Interrupted system call\n",
                                  "tessaly-ditto: item: Interrupted system call\n"))
        << signal;
    EXPECT_EQ(namesIn(path("")).size(), 2U) << signal;
  }
}

TEST_F(MakeArchive, TakesALimitOfFileSizesForAFailure) {
  makeFile("item", std::string(1000, 'x'));
  const ProgramRun run = runProgram({"prlimit", "--fsize=100", zipTool(), "-ck", path("item"), path("a.zip")});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "tessaly-ditto: " + path("a.zip") + ": File too large\n");
  EXPECT_EQ(namesIn(path("")).size(), 2U);
}

}  // namespace
}  // namespace qm::testing
