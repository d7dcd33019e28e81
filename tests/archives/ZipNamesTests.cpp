// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/ZipNames.h"

#include <fcntl.h>

#include <string>
#include <vector>

#include "Platform/posix/UniqueFd.h"
#include "tests/archives/ArchiveTest.h"
#include "tests/archives/ZipBytes.h"

namespace qm::testing {
namespace {

using Marks = std::vector<std::uint64_t>;

class ZipNames : public ArchiveTest {
 protected:
  linux_::ZipNames read(const std::string& bytes) {
    const posix::UniqueFd file(::open(makeFile("a.zip", bytes).c_str(), O_RDONLY | O_CLOEXEC));
    return linux_::readZipNames(file.get());
  }

  static std::string zeros(std::size_t count) { return std::string(count, '\0'); }

  /// An archive in the format for large ones: a record of its own gives the position of the directory, and a field of
  /// `extra` after the name gives that of the one item.
  static std::string large(const std::string& extra) {
    const std::string item = "PK\3\4" + zeros(2) + std::string("\0\x08", 2) + zeros(22) + "n";
    std::string directory = "PK\1\2" + zeros(4) + std::string("\0\x08", 2) + zeros(10) + std::string(8, '\xff') +
                            std::string("\1\0", 2) + static_cast<char>(extra.size()) + zeros(11) +
                            std::string(4, '\xff') + "n" + extra;
    const std::string record = "PK\6\6" + zeros(36) + static_cast<char>(directory.size()) + zeros(7) +
                               static_cast<char>(item.size()) + zeros(7);
    const std::string locator = "PK\6\7" + zeros(4) + static_cast<char>(item.size() + directory.size()) + zeros(11);
    return item + directory + record + locator + "PK\5\6" + std::string(16, '\xff') + zeros(2);
  }
};

TEST_F(ZipNames, AreMarkedInTheItemAndInTheDirectory) {
  const auto names = read(zipBytes({{"plain"}, {"\xC3\xA9", "", 0100644, 0x800}}));
  EXPECT_EQ(names.utf8Marks, (Marks{35 + 7, 67 + 51 + 9}));
  EXPECT_FALSE(names.holdNul);
  EXPECT_FALSE(names.isEmpty);
}

TEST_F(ZipNames, AreFoundBehindWhatStandsBeforeTheArchive) {
  EXPECT_EQ(read(zipBytes({{"\xC3\xA9", "", 0100644, 0x800}}, "0123456789")).utf8Marks, (Marks{10 + 7, 10 + 32 + 9}));
}

TEST_F(ZipNames, AreFoundInLargeArchives) {
  // Two sizes precede the position.
  const std::string place = std::string("\1\0\x18\0", 4) + zeros(24);
  EXPECT_EQ(read(large(place)).utf8Marks, (Marks{7, 31 + 9}));
  EXPECT_EQ(read(large("UT" + std::string("\1\0x", 3) + place)).utf8Marks, (Marks{7, 31 + 9}));
}

TEST_F(ZipNames, OfLargeArchivesAreMarkedInTheDirectoryAloneWhenThePlaceIsMissing) {
  EXPECT_EQ(read(large("")).utf8Marks, (Marks{31 + 9}));
  EXPECT_EQ(read(large(std::string("\1\0\x08\0", 4) + zeros(8))).utf8Marks, (Marks{31 + 9}));
  EXPECT_EQ(read(large("UT" + std::string("\xff\xff", 2))).utf8Marks, (Marks{31 + 9}));
}

TEST_F(ZipNames, AreNoneWhereTheDirectoryIsBroken) {
  const std::string whole = zipBytes({{"\xC3\xA9", "", 0100644, 0x800}});
  std::string tooLarge = whole;
  tooLarge[tooLarge.size() - 7] = '\x7f';
  EXPECT_TRUE(read(tooLarge).utf8Marks.empty());
  EXPECT_TRUE(read(whole.substr(0, whole.size() - 1)).utf8Marks.empty());
  EXPECT_TRUE(read("").utf8Marks.empty());
  EXPECT_TRUE(read("PK").utf8Marks.empty());
}

}  // namespace
}  // namespace qm::testing
