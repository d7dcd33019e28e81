// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/archives/ArchiveTest.h"
#include "tests/archives/ZipBytes.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using ::testing::HasSubstr;
using Items = std::vector<ZipItem>;

constexpr std::uint32_t kLink = 0120777;
constexpr std::uint32_t kFolder = 040755;

/// After each, only the destination folder may differ.
class HostileArchive : public ArchiveTest {
 protected:
  HostileArchive() { makeFolder("place"); }

  /// Unpacks into a new folder and into an existing one. Returns the reason of the first, and expects the same of the
  /// second.
  std::string problemOf(const std::string& bytes) {
    std::filesystem::remove_all(path("place"));
    makeFolder("place/there");
    const std::string archive = makeFile("a.zip", bytes);
    const auto before = elsewhere();
    const std::string problem = unpack(archive, path("place/new")).localizedDescription();
    EXPECT_EQ(isThere(path("place/new")), problem.empty());
    EXPECT_EQ(unpack(archive, path("place/there")).localizedDescription(), problem);
    EXPECT_EQ(elsewhere(), before);
    expectNothingUnfinished();
    return problem;
  }
  std::string problemOf(const Items& items) { return problemOf(zipBytes(items)); }

  /// Everything except what is in the destination folder.
  std::map<std::string, std::string> elsewhere() {
    auto all = snapshot(path(""));
    std::erase_if(all, [](const auto& item) { return item.first.starts_with("place/"); });
    return all;
  }

  void expectNothingUnfinished() {
    for (const auto& [name, item] : snapshot(path("place")))
      EXPECT_EQ(name.find(".incomplete-"), std::string::npos) << name;
  }
};

TEST_F(HostileArchive, CannotLeaveTheFolderByItsNames) {
  const std::string leadsOut = ": Its name leads out of the folder";
  for (const std::string name :
       {"../outside/file", "..", "../", "a/../../outside/file", "a/..", "./../x", "a/b/../../../x"}) {
    EXPECT_EQ(problemOf(Items{{name}}), name + leadsOut);
  }
  const std::string absolute = path("outside/file");
  EXPECT_EQ(problemOf(Items{{absolute}}), absolute + ": Its name is an absolute path");
  EXPECT_EQ(problemOf(Items{{"/"}}), "/: Its name is an absolute path");
  EXPECT_EQ(problemOf(Items{{"//x"}}), "//x: Its name is an absolute path");
}

TEST_F(HostileArchive, CannotLeaveTheFolderByBackslashes) {
  EXPECT_EQ(problemOf(Items{{.name = "..\\..\\outside\\file", .mode = 0, .system = 0}}),
            "../../outside/file: Its name leads out of the folder");
  EXPECT_EQ(problemOf(Items{{"..\\..\\outside\\file"}}), "../../outside/file: Its name leads out of the folder");
  EXPECT_EQ(problemOf(Items{{"./..\\..\\outside\\file"}}), "");
  EXPECT_TRUE(isThere(path("place/new/..\\..\\outside\\file")));
}

TEST_F(HostileArchive, CannotLeaveTheFolderByDriveLetters) {
  EXPECT_EQ(problemOf(Items{{.name = "C:\\x", .mode = 0, .system = 0}}), "");
  EXPECT_TRUE(isThere(path("place/new/C:/x")));
}

TEST_F(HostileArchive, CannotWriteThroughALinkThatItMade) {
  const std::string through = ": It would be written through a link";
  for (const std::string& target :
       {path("outside"), std::string("../../outside"), std::string("."), std::string("/")}) {
    EXPECT_EQ(problemOf(Items{{"link", target, kLink}, {"link/file", "hostile"}}), "link/file" + through) << target;
  }
  EXPECT_EQ(problemOf(Items{{"link", path("outside"), kLink}, {"link/", "", kFolder}}), "link/" + through);
  EXPECT_EQ(problemOf(Items{{"link", path("outside"), kLink}, {"link/folder/", "", 040000}}), "link/folder/" + through);
  EXPECT_EQ(problemOf(Items{{"link", path("outside"), kLink}, {"link/file", "x", kLink}}), "link/file" + through);
  EXPECT_EQ(problemOf(Items{{"a/", "", kFolder}, {"a/l", "../../../outside", kLink}, {"b", "a/l", kLink}, {"b/file"}}),
            "b/file" + through);
}

TEST_F(HostileArchive, CannotReplaceAFolderByALinkAndWriteThroughThat) {
  EXPECT_EQ(problemOf(Items{{"a/", "", kFolder}, {"a", path("outside"), kLink}, {"a/file"}}),
            "a: A folder is in the way");
}

TEST_F(HostileArchive, CannotWriteThroughTheLinkThatAFileReplaces) {
  EXPECT_EQ(problemOf(Items{{"link", path("outside/file"), kLink}, {"link", "hostile"}}), "");
  EXPECT_EQ(contentsOf(path("place/new/link")), "hostile");
}

TEST_F(HostileArchive, CannotWriteThroughALinkThatWasThereBefore) {
  makeLink("place/there/link", path("outside"));
  makeLink("place/there/inner/file", path("outside/file"));
  const auto before = snapshot(path("outside"));
  makeFile("a.zip", zipBytes({{"inner/file", "hostile"}, {"link/file", "hostile"}}));
  EXPECT_EQ(unpack(path("a.zip"), path("place/there")).localizedDescription(),
            "link/file: It would be written through a link");
  EXPECT_EQ(contentsOf(path("place/there/inner/file")), "hostile");
  EXPECT_EQ(snapshot(path("outside")), before);
}

TEST_F(HostileArchive, MakesLinksThatLeadOutAsTheyAreWrittenAndTouchesNothingThere) {
  EXPECT_EQ(problemOf(Items{{"a", path("outside/file"), 0120000}, {"b", "../../outside", kLink}}), "");
  EXPECT_EQ(snapshot(path("place/new")).at("a"), "120777 to " + path("outside/file"));
}

TEST_F(HostileArchive, CannotHideANameBehindAZeroByte) {
  EXPECT_EQ(problemOf(Items{{std::string("good\0/../../x", 13)}}),
            path("a.zip") + ": A name in it contains a NUL byte");
}

TEST_F(HostileArchive, CannotHideANameInTheDirectoryAlone) {
  // The names in the item and in the directory differ: whichever counts must obey the same rules.
  EXPECT_NE(problemOf(Items{{.name = "../outside/file", .centralName = "good"}}) +
                problemOf(Items{{.name = "good", .centralName = "../outside/file"}}),
            "");
}

TEST_F(HostileArchive, CannotUseNamesTooLongForTheSystem) {
  EXPECT_EQ(problemOf(Items{{std::string(256, 'n')}}), std::string(256, 'n') + ": File name too long");
  EXPECT_EQ(problemOf(Items{{std::string(65535, 'n')}}), std::string(65535, 'n') + ": File name too long");
  std::string deep;
  while (deep.size() < 60000) deep += "d/";
  EXPECT_EQ(problemOf(Items{{deep + "file"}}), deep + "file: File name too long");
  std::string longest;
  while (longest.size() < 4000) longest += std::string(40, 'd') + "/";
  EXPECT_EQ(problemOf(Items{{longest}}), "");
}

TEST_F(HostileArchive, CannotFillMemoryWithDeepPaths) {
  Items items;
  for (char first = 'A'; first <= 'H'; ++first) {
    std::string name(1, first);
    while (name.size() < 4090) name += "/d";
    items.push_back({name});
  }
  writeFile(path("deep.zip"), zipBytes(items));
  inChild([&] {
    EXPECT_TRUE(unpack(path("deep.zip"), path("new")));
    rusage used{};
    ASSERT_EQ(::getrusage(RUSAGE_SELF, &used), 0);
    EXPECT_LT(used.ru_maxrss, 450L * 1024);
  });
}

TEST_F(HostileArchive, CannotBringAnythingButFilesFoldersAndLinks) {
  for (const std::uint32_t mode : {0020666U, 0060666U, 0140777U}) {
    EXPECT_EQ(problemOf(Items{{"x", "", mode}}), "x: It is not a file, a folder or a link") << std::oct << mode;
  }
  EXPECT_EQ(problemOf(Items{{"fifo", "text", 0010644}}), "");
  EXPECT_EQ(contentsOf(path("place/new/fifo")), "text");  // it is not one
  EXPECT_EQ(problemOf(Items{{".", "target", kLink}}), ".: A folder is in the way");
  EXPECT_EQ(problemOf(Items{{"."}}), ".: A folder is in the way");
  EXPECT_EQ(problemOf(Items{{""}}), ": An item has no name");
}

TEST_F(HostileArchive, IsRefusedWhenItIsEncrypted) {
  EXPECT_EQ(problemOf(Items{{.name = "secret", .contents = std::string(20, 'x'), .flags = 1}}),
            "secret: It is encrypted");
  makeFile("item/secret", "text");
  for (const std::string method : {"ZipCrypto", "AES256"}) {
    const std::string archive = path(method + ".zip");
    const ProgramRun made = runProgram({"7zz", "a", "-tzip", "-pword", "-mem=" + method, archive, path("item/secret")});
    ASSERT_EQ(made.status, 0) << made.output;
    const std::string bytes = contentsOf(archive);
    EXPECT_EQ(problemOf(bytes), "secret: It is encrypted") << method;
  }
}

TEST_F(HostileArchive, IsRefusedWhenContentsAreNotWhatItSays) {
  EXPECT_NE(problemOf(Items{{.name = "x", .contents = "text", .checksumError = 1}}), "");
  EXPECT_NE(problemOf(Items{{.name = "x", .contents = "text", .sizeError = 1}}), "");
  EXPECT_NE(problemOf(Items{{.name = "x", .contents = "text", .sizeError = -1}}), "");
  EXPECT_EQ(problemOf(Items{{.name = "x", .sizeError = 4}}), "x: It is shorter than the archive says");
  EXPECT_NE(problemOf(Items{{.name = "x", .contents = "text", .method = 8}}), "");
  EXPECT_NE(problemOf(Items{{.name = "x", .contents = "text", .method = 77}}), "");
}

TEST_F(HostileArchive, CannotHaveMoreMemoryThanItNeeds) {
  const auto withMemory = [](const std::string& memory) {
    return Items{{.name = "x", .contents = std::string("\x09\x04\5\0\x5d", 5) + memory + "data", .method = 14}};
  };
  const std::string tooMuch = "x: Unpacking it takes too much memory";
  EXPECT_EQ(problemOf(withMemory("\xff\xff\xff\xff")), tooMuch);
  EXPECT_EQ(problemOf(withMemory(std::string("\1\0\0\x10", 4))), tooMuch);
  EXPECT_THAT(problemOf(withMemory(std::string("\0\0\0\x10", 4))), HasSubstr("lzma"));
  // The directory may claim another type than the item.
  std::string bytes = zipBytes(withMemory("\xff\xff\xff\xff"));
  bytes[bytes.rfind("PK\1\2") + 10] = 0;
  EXPECT_EQ(problemOf(bytes), tooMuch);
  EXPECT_EQ(problemOf(Items{{.name = "x", .contents = "data", .method = 95}}),
            "x: It is compressed by xz, which is not supported");
}

TEST_F(HostileArchive, IsRefusedWhenItsEndTellsOfItemsThatAreNotThere) {
  const std::string missing = path("a.zip") + ": A part of it is missing";
  const std::string broken = path("a.zip") + ": It is not a zip archive, or a part of it is missing";
  std::string more = zipBytes({{"a"}, {"b"}});
  const std::size_t count = more.size() - 12;
  more[count] = more[count - 2] = 3;
  EXPECT_EQ(problemOf(more), missing);
  more[count] = more[count - 2] = 1;
  EXPECT_EQ(problemOf(more), missing);
  for (const std::size_t field : {8U, 10U, 12U}) {
    std::string end = zipBytes({});
    end[field] = 3;
    EXPECT_EQ(problemOf(end), broken) << field;
  }
}

TEST_F(HostileArchive, IsRefusedWhenTwoOfItsNamesShareAnItem) {
  std::string bytes = zipBytes({{"a", "x"}, {"b", "y"}});
  constexpr std::size_t placeOfSecond = 64 + 47 + 42;
  ASSERT_EQ(bytes[placeOfSecond], 32);
  bytes[placeOfSecond] = 0;
  EXPECT_EQ(problemOf(bytes), path("a.zip") + ": A part of it is missing");
}

TEST_F(HostileArchive, IsRefusedWhereverItIsCutOff) {
  makeFile("item/a", std::string(300, 'a'));
  makeFile("item/\xC3\xA9", "text");
  makeLink("item/link", "a");
  ASSERT_TRUE(pack(path("item"), path("whole.zip")));
  const std::string whole = contentsOf(path("whole.zip"));
  makeFile("cut.zip");
  ASSERT_TRUE(unpack(path("whole.zip"), path("place/whole")));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    writeFile(path("cut.zip"), whole.substr(0, length));
    EXPECT_FALSE(unpack(path("cut.zip"), path("place/new"))) << length;
    ASSERT_FALSE(isThere(path("place/new"))) << length;
  }
  EXPECT_EQ(snapshot(path("place")).size(), 5U);
}

TEST_F(HostileArchive, WritesNothingOutsideWhicheverByteIsWrong) {
  makeFile("item/a", std::string(300, 'a'));
  makeFile("item/\xC3\xA9", "text");
  makeLink("item/link", "../../../outside");
  ASSERT_TRUE(pack(path("item"), path("a.zip")));
  std::string bytes = contentsOf(path("a.zip"));
  makeFile("bad.zip");
  const auto before = snapshot(path("outside"));
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    for (const char wrong : {'/', '.'}) {
      const char right = std::exchange(bytes[i], wrong);
      writeFile(path("bad.zip"), bytes);
      (void)unpack(path("bad.zip"), path("place/new"));
      bytes[i] = right;
      EXPECT_FALSE(removeTree(path("place/new")));
    }
  }
  EXPECT_EQ(snapshot(path("outside")), before);
  EXPECT_TRUE(snapshot(path("place")).empty());
}

class Bomb : public HostileArchive {
 protected:
  /// An archive of less than 300 KiB that holds a file of 256 MiB of zeros.
  std::string bomb() {
    makeFolder("item");
    const int file = ::open(path("item/zeros").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    EXPECT_EQ(::ftruncate(file, off_t{1} << 28), 0);
    ::close(file);
    EXPECT_TRUE(pack(path("item/zeros"), path("bomb.zip")));
    std::filesystem::remove_all(path("item"));
    return contentsOf(path("bomb.zip"));
  }

  /// Changes every occurrence of a number of four bytes.
  static std::string withNumber(std::string bytes, const std::string& from, const std::string& to) {
    for (auto at = bytes.find(from); at != std::string::npos; at = bytes.find(from, at + 4)) bytes.replace(at, 4, to);
    return bytes;
  }

  /// The reason why an archive cannot be unpacked on a volume of 16 MiB, on which nothing may be left. Returns how
  /// often the run asked whether it is cancelled.
  int expectProblem(const std::string& bytes, const std::vector<std::string>& problems) {
    makeFile("asked", "");
    runInPrivateMachine([&] {
      const std::string volume = machineFolder() + "/volume";
      mountTmpfs(volume, "size=16m");
      writeFile(machineFolder() + "/a.zip", bytes);
      int asked = 0;
      isStopped = [&] { return ++asked < 0; };
      const auto status = unpack(machineFolder() + "/a.zip", volume + "/new");
      writeFile(path("asked"), std::to_string(asked));
      EXPECT_NE(std::find(problems.begin(), problems.end(), status.localizedDescription()), problems.end())
          << status.localizedDescription();
      EXPECT_TRUE(snapshot(volume).empty());
    });
    return std::stoi(contentsOf(path("asked")));
  }
};

TEST_F(Bomb, IsNotBegunWhenItSaysThatItIsLargerThanTheVolume) {
  // Before the item, and not before any block of it.
  EXPECT_EQ(expectProblem(bomb(), {"zeros: No space left on device"}), 1);
}

TEST_F(Bomb, EndsAsSoonAsItIsLargerThanItSays) {
  const std::string size("\0\0\0\x10", 4);
  expectProblem(withNumber(bomb(), size, std::string("\0\0\x10\0", 4)), {"zeros: It is longer than the archive says"});
}

TEST_F(Bomb, OfManyItemsEndsWhenTheVolumeIsFull) {
  Items items;
  for (int i = 0; i < 20; ++i) items.push_back({std::to_string(i), std::string(1'000'000, 'x')});
  expectProblem(zipBytes(items), {"16: No space left on device", "15: No space left on device"});
}

}  // namespace
}  // namespace qm::testing
