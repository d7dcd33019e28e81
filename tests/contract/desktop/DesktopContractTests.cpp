// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "tests/contract/desktop/DesktopWorld.h"

namespace qm::testing {
namespace {

using platform::FileReference;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Cases that hold on the real desktop and on the fakes.
class DesktopContract : public ::testing::TestWithParam<DesktopWorldKind> {
 protected:
  static void inWorld(const DesktopCase& body) { GetParam().run(body); }
};

INSTANTIATE_TEST_SUITE_P(Both, DesktopContract,
                         ::testing::Values(DesktopWorldKind{"Fake", runInFakeDesktop},
                                           DesktopWorldKind{"Real", runInRealDesktop}),
                         [](const auto& kind) { return std::string(kind.param.name); });

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

TEST_P(DesktopContract, TellsWhoListensOfAnItemWhereItIs) {
  inWorld([](DesktopWorld& world) {
    world.setListening(true);
    world.addFolder(world.home("folder"));
    const FileReference reference = world.references().make(world.home("folder"));
    world.rename(world.home("folder"), world.home("other"));
    std::unique_ptr<platform::Alias> alias;
    ASSERT_EQ(world.shell().newMinimalAlias(reference, &alias), platform::noErr);
    EXPECT_EQ(world.shell().sendUpdateEvent(*alias), platform::noErr);
    EXPECT_EQ(world.shell().sendUpdateEvent(*alias), platform::noErr);
    EXPECT_THAT(world.notices(), ElementsAre(world.home("other"), world.home("other")));
  });
}

TEST_P(DesktopContract, SaysWhenNoDesktopIsThere) {
  inWorld([](DesktopWorld& world) {
    std::unique_ptr<platform::Alias> alias;
    ASSERT_EQ(world.shell().newMinimalAlias(world.references().make(world.home()), &alias), platform::noErr);
    EXPECT_EQ(world.shell().sendUpdateEvent(*alias), platform::procNotFound);
    EXPECT_THAT(world.notices(), IsEmpty());
    world.setListening(true);
    EXPECT_EQ(world.shell().sendUpdateEvent(*alias), platform::noErr);
    world.setListening(false);
    EXPECT_EQ(world.shell().sendUpdateEvent(*alias), platform::procNotFound);
  });
}

TEST_P(DesktopContract, MakesNoAliasOfWhatIsNotThere) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("file"));
    const FileReference gone = world.references().make(world.home("file"));
    world.remove(world.home("file"));
    std::unique_ptr<platform::Alias> alias;
    EXPECT_EQ(world.shell().newMinimalAlias(FileReference(), &alias), platform::fnfErr);
    EXPECT_EQ(world.shell().newMinimalAlias(gone, &alias), platform::fnfErr);
    EXPECT_EQ(alias, nullptr);
  });
}

TEST_P(DesktopContract, RegistersAnApplicationAsOftenAsItIsAsked) {
  inWorld([](DesktopWorld& world) {
    world.addApplication(world.home("A.app"));
    EXPECT_EQ(world.shell().registerApplication(world.home("A.app")), platform::noErr);
    EXPECT_EQ(world.shell().registerApplication(world.home("A.app")), platform::noErr);
  });
}

TEST_P(DesktopContract, RegistersNothingElse) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("file"));
    EXPECT_EQ(world.shell().registerApplication(world.home("file")), platform::kLSNotAnApplicationErr);
    EXPECT_NE(world.shell().registerApplication(world.home("none")), platform::noErr);
    EXPECT_NE(world.shell().registerApplication(""), platform::noErr);
  });
}

}  // namespace
}  // namespace qm::testing
