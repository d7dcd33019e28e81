// SPDX-License-Identifier: MIT

// References to items, and their Finder information.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "tests/contract/desktop/DesktopWorld.h"

namespace qm::testing {
namespace {

using platform::FileReference;

class DesktopContract : public DesktopWorldTest {};
INSTANTIATE_TEST_SUITE_P(Both, DesktopContract, bothDesktops(), nameOfDesktop);

TEST_P(DesktopContract, FollowsAnItemThroughRenamingAndMoving) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("a/file"));
    const FileReference reference = world.references().make(world.home("a/file"));
    EXPECT_EQ(world.references().path(reference), world.home("a/file"));
    world.rename(world.home("a/file"), world.home("a/other"));
    EXPECT_EQ(world.references().path(reference), world.home("a/other"));
    world.addFolder(world.home("b"));
    world.rename(world.home("a/other"), world.home("b/third"));
    world.rename(world.home("b"), world.home("c"));
    const FileReference copy = reference;
    EXPECT_EQ(world.references().path(copy), world.home("c/third"));
  });
}

TEST_P(DesktopContract, FindsNothingThatIsGoneWhateverHasItsName) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("file"));
    const FileReference reference = world.references().make(world.home("file"));
    world.remove(world.home("file"));
    EXPECT_EQ(world.references().path(reference), std::nullopt);
    world.addFile(world.home("file"));
    EXPECT_EQ(world.references().path(reference), std::nullopt);
    world.addFile(world.home("file (deleted)"));
    EXPECT_EQ(world.references().path(reference), std::nullopt);
  });
}

TEST_P(DesktopContract, FindsNoFolderThatIsGone) {
  inWorld([](DesktopWorld& world) {
    world.addFolder(world.home("folder"));
    const FileReference reference = world.references().make(world.home("folder/"));
    EXPECT_EQ(world.references().path(reference), world.home("folder"));
    world.remove(world.home("folder"));
    EXPECT_EQ(world.references().path(reference), std::nullopt);
  });
}

TEST_P(DesktopContract, RefersToALinkItself) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("file"));
    world.addLink(world.home("link"), "file");
    world.addLink(world.home("dangling"), "nowhere");
    EXPECT_EQ(world.references().path(world.references().make(world.home("link"))), world.home("link"));
    EXPECT_EQ(world.references().path(world.references().make(world.home("dangling"))), world.home("dangling"));
  });
}

TEST_P(DesktopContract, RefersToNothingWhereNothingIs) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("file"));
    const std::vector<std::string> paths = {world.home("none"), world.home("file/none"), "", "home",
                                            std::string("/a\0b", 4)};
    for (const auto& path : paths) {
      const FileReference reference = world.references().make(path);
      EXPECT_FALSE(reference.isFilled()) << path;
      EXPECT_EQ(world.references().path(reference), std::nullopt);
      EXPECT_EQ(world.information().finderFlags(reference), std::nullopt);
      EXPECT_EQ(world.information().setFinderFlags(reference, 2).code(), ENOENT);
    }
  });
}

TEST_P(DesktopContract, KeepsTheFlagsOfFilesAndFolders) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("file"));
    world.addFolder(world.home("folder"));
    for (const std::string name : {"file", "folder"}) {
      const FileReference reference = world.references().make(world.home(name));
      EXPECT_EQ(world.information().finderFlags(reference), 0);
      EXPECT_TRUE(world.information().setFinderFlags(reference, 0xA10E).ok());
      EXPECT_EQ(world.information().finderFlags(reference), 0xA10E);
      EXPECT_TRUE(world.information().setFinderFlags(reference, 0).ok());
      EXPECT_EQ(world.information().finderFlags(reference), 0);
    }
  });
}

TEST_P(DesktopContract, FindsTheFlagsOfARenamedItem) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("file"));
    const FileReference reference = world.references().make(world.home("file"));
    world.rename(world.home("file"), world.home("other"));
    EXPECT_TRUE(world.information().setFinderFlags(reference, 6).ok());
    EXPECT_EQ(world.information().finderFlags(world.references().make(world.home("other"))), 6);
  });
}

TEST_P(DesktopContract, GivesALinkNoFlagsAndLeavesThoseOfItsTarget) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("file"));
    world.addLink(world.home("link"), "file");
    EXPECT_TRUE(world.information().setFinderFlags(world.references().make(world.home("file")), 4).ok());
    const FileReference link = world.references().make(world.home("link"));
    EXPECT_EQ(world.information().finderFlags(link), 0);
    EXPECT_EQ(world.information().setFinderFlags(link, 2).code(), EPERM);
    EXPECT_EQ(world.information().finderFlags(world.references().make(world.home("file"))), 4);
  });
}

TEST_P(DesktopContract, NeedsTheRightsToReadAndToWriteForFlags) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("file"));
    const FileReference reference = world.references().make(world.home("file"));
    world.setWritable(world.home("file"), false);
    EXPECT_EQ(world.information().setFinderFlags(reference, 2).code(), EACCES);
    EXPECT_EQ(world.information().finderFlags(reference), 0);
    world.setReadable(world.home("file"), false);
    EXPECT_EQ(world.information().finderFlags(reference), std::nullopt);
  });
}

}  // namespace
}  // namespace qm::testing
