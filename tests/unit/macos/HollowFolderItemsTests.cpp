// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "Platform/posix/HollowFolder.h"
#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::macos {
namespace {

using ::testing::Optional;
using ::testing::UnorderedElementsAre;

constexpr uid_t kNobody = 65534;

class HollowFolderItems : public ::testing::Test {
 protected:
  std::optional<std::vector<std::string>> itemsOf(const std::string& name) const {
    const posix::UniqueFd folder(::open(disk.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::vector<std::string> expendable = {".DS_Store", "Icon\r"};
    return posix::hollowFolderItems(folder.get(), name, posix::isOneOf(expendable));
  }

  qm::testing::TemporaryFolder disk;
};

TEST_F(HollowFolderItems, AreTheFindersFilesAndTheFoldersFromTheBottomUp) {
  disk.addFolder("Quillmark/Inner");
  disk.addFile("Quillmark/Inner/.DS_Store");
  disk.addFile("Quillmark/Icon\r");
  const auto items = itemsOf("Quillmark");
  ASSERT_THAT(items, Optional(UnorderedElementsAre("Quillmark/Inner/.DS_Store", "Quillmark/Inner", "Quillmark/Icon\r",
                                                   "Quillmark")));
  const auto place = [&](const std::string& name) { return std::ranges::find(*items, name); };
  EXPECT_LT(place("Quillmark/Inner/.DS_Store"), place("Quillmark/Inner"));
  EXPECT_EQ(items->back(), "Quillmark");
}

TEST_F(HollowFolderItems, AreNoneWhereAnythingElseIsInIt) {
  disk.addFolder("Quillmark/Inner");
  disk.addFile("Quillmark/Inner/letter.txt");
  EXPECT_FALSE(itemsOf("Quillmark"));
}

TEST_F(HollowFolderItems, AreNoneWhereALinkIsInIt) {
  disk.addFolder("Quillmark");
  std::filesystem::create_symlink("/", disk.at("Quillmark/link"));
  EXPECT_FALSE(itemsOf("Quillmark"));
}

TEST_F(HollowFolderItems, AreNoneWhereAFolderCannotBeListed) {
  disk.addFolder("Quillmark/Inner");
  for (const std::string& path : {disk.path(), disk.at("Quillmark")}) ::chmod(path.c_str(), 0755);
  ::chmod(disk.at("Quillmark/Inner").c_str(), 0);
  const uid_t own = ::geteuid();
  // Root lists every folder.
  if (own == 0) {
    EXPECT_EQ(::seteuid(kNobody), 0);
  }
  EXPECT_FALSE(itemsOf("Quillmark"));
  EXPECT_EQ(::seteuid(own), 0);
  ::chmod(disk.at("Quillmark/Inner").c_str(), 0700);
  EXPECT_TRUE(itemsOf("Quillmark"));
}

TEST_F(HollowFolderItems, AreNoneOfAFileAndOfNothing) {
  disk.addFile("file");
  EXPECT_FALSE(itemsOf("file"));
  EXPECT_FALSE(itemsOf("missing"));
}

}  // namespace
}  // namespace qm::macos
