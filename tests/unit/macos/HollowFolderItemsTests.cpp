#include "Platform/macos/privileges/HollowFolderItems.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::macos {
namespace {

using ::testing::Optional;
using ::testing::UnorderedElementsAre;

constexpr uid_t kNobody = 65534;

class HollowFolderItems : public ::testing::Test {
 protected:
  qm::testing::TemporaryFolder disk;
};

TEST_F(HollowFolderItems, AreTheFindersFilesAndTheFoldersFromTheBottomUp) {
  disk.addFolder("Quillmark/Inner");
  disk.addFile("Quillmark/Inner/.DS_Store");
  disk.addFile("Quillmark/Icon\r");
  const auto items = hollowFolderItems(disk.at("Quillmark"));
  ASSERT_THAT(items, Optional(UnorderedElementsAre(disk.at("Quillmark/Inner/.DS_Store"), disk.at("Quillmark/Inner"),
                                                   disk.at("Quillmark/Icon\r"), disk.at("Quillmark"))));
  const auto place = [&](const std::string& name) { return std::ranges::find(*items, disk.at(name)); };
  EXPECT_LT(place("Quillmark/Inner/.DS_Store"), place("Quillmark/Inner"));
  EXPECT_EQ(items->back(), disk.at("Quillmark"));
}

TEST_F(HollowFolderItems, AreNoneWhereAnythingElseIsInIt) {
  disk.addFolder("Quillmark/Inner");
  disk.addFile("Quillmark/Inner/letter.txt");
  EXPECT_FALSE(hollowFolderItems(disk.at("Quillmark")));
}

TEST_F(HollowFolderItems, AreNoneWhereALinkIsInIt) {
  disk.addFolder("Quillmark");
  std::filesystem::create_symlink("/", disk.at("Quillmark/link"));
  EXPECT_FALSE(hollowFolderItems(disk.at("Quillmark")));
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
  EXPECT_FALSE(hollowFolderItems(disk.at("Quillmark")));
  EXPECT_EQ(::seteuid(own), 0);
  ::chmod(disk.at("Quillmark/Inner").c_str(), 0700);
  EXPECT_TRUE(hollowFolderItems(disk.at("Quillmark")));
}

TEST_F(HollowFolderItems, AreNoneOfAFileAndOfNothing) {
  disk.addFile("file");
  EXPECT_FALSE(hollowFolderItems(disk.at("file")));
  EXPECT_FALSE(hollowFolderItems(disk.at("missing")));
}

}  // namespace
}  // namespace qm::macos
