// SPDX-License-Identifier: MIT
#include "tests/contract/files/FileCases.h"

namespace qm::testing {
namespace {

class RemovingAHollowFolder : public FileContract {
 protected:
  static platform::Status remove(FileWorld& world, const std::string& path) {
    return world.files().removeHollowFolder(path, {".DS_Store", "Icon\r"});
  }
};
INSTANTIATE_TEST_SUITE_P(On, RemovingAHollowFolder, bothWorlds(), nameOfKind);

TEST_P(RemovingAHollowFolder, RemovesAnEmptyFolderAndNothingElse) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("a"));
    world.addFolder(world.home("ab"));
    expectSuccess(remove(world, world.home("a")));
    EXPECT_EQ(world.tree(world.home()), Lines{"ab/"});
  });
}

TEST_P(RemovingAHollowFolder, RemovesFoldersAndExpendableItemsAtAnyDepth) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/.DS_Store"));
    world.addFile(world.home("a/b/Icon\r"));
    world.addFile(world.home("a/b/c/.DS_Store"));
    world.addFolder(world.home("a/d"));
    expectSuccess(remove(world, world.home("a/")));
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(RemovingAHollowFolder, RemovesNothingWithAnythingElseInIt) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/.DS_Store"));
    world.addFile(world.home("a/b/c/.ds_store"));
    world.addFolder(world.home("a/z"));
    expectFailure(remove(world, world.home("a")), ENOTEMPTY);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a/", "a/.DS_Store", "a/b/", "a/b/c/", "a/b/c/.ds_store", "a/z/"}));
  });
}

TEST_P(RemovingAHollowFolder, TakesAFolderWithAnExpendableNameForAFolder) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("hollow/.DS_Store/Icon\r"));
    world.addFile(world.home("full/.DS_Store/file"));
    expectSuccess(remove(world, world.home("hollow")));
    expectFailure(remove(world, world.home("full")), ENOTEMPTY);
    EXPECT_EQ(world.tree(world.home()), (Lines{"full/", "full/.DS_Store/", "full/.DS_Store/file"}));
  });
}

TEST_P(RemovingAHollowFolder, TakesALinkForSomethingUnlessItIsExpendable) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("empty"));
    world.addLink(world.home("a/link"), world.home("empty"));
    world.addLink(world.home("b/Icon\r"), world.home("empty"));
    expectFailure(remove(world, world.home("a")), ENOTEMPTY);
    expectSuccess(remove(world, world.home("b")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"a/", "a/link -> " + world.home("empty"), "empty/"}));
  });
}

TEST_P(RemovingAHollowFolder, RemovesNothingWithAFolderInItThatMayNotBeRead) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/.DS_Store"));
    world.addFolder(world.home("a/closed"));
    world.setReadable(world.home("a/closed"), false);
    expectFailure(remove(world, world.home("a")), EACCES);
    world.setReadable(world.home("a/closed"), true);
    EXPECT_EQ(world.tree(world.home("a")), (Lines{".DS_Store", "closed/"}));
  });
}

TEST_P(RemovingAHollowFolder, RemovesNothingWithAFolderInItThatMayNotBeChanged) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/.DS_Store"));
    world.addFile(world.home("a/folder/.DS_Store"));
    world.setWritable(world.home("a/folder"), false);
    expectFailure(remove(world, world.home("a")), EACCES);
    EXPECT_EQ(world.tree(world.home("a")), (Lines{".DS_Store", "folder/", "folder/.DS_Store"}));
  });
}

TEST_P(RemovingAHollowFolder, RemovesAnEmptyFolderThatMayNotBeRead) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("a"));
    world.setReadable(world.home("a"), false);
    expectSuccess(remove(world, world.home("a")));
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(RemovingAHollowFolder, RefusesWhatIsNoFolder) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("file"));
    world.addFolder(world.home("empty"));
    world.addLink(world.home("link"), "empty");
    expectFailure(remove(world, world.home("file")), ENOTDIR);
    expectFailure(remove(world, world.home("link")), ENOTDIR);
    expectFailure(remove(world, world.home("none")), ENOENT);
    EXPECT_EQ(world.tree(world.home()), (Lines{"empty/", "file", "link -> empty"}));
  });
}

TEST_P(RemovingAHollowFolder, RefusesWhereItsOwnFolderMayNotBeChanged) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/a/.DS_Store"));
    world.setWritable(world.home("folder"), false);
    expectFailure(remove(world, world.home("folder/a")), EACCES);
    EXPECT_EQ(world.tree(world.home("folder")), (Lines{"a/", "a/.DS_Store"}));
    expectFailure(remove(world, world.readOnly("folder")), EROFS);
  });
}

TEST_P(RemovingAHollowFolder, RefusesVolumesTheRootFolderAndPathsThatNameNothing) {
  inWorld([](FileWorld& world) {
    EXPECT_FALSE(remove(world, world.mountPoint()).ok());
    EXPECT_TRUE(world.has(world.mountPoint()));
    world.addFolder(world.home("a"));
    const std::string cut = world.home("a") + std::string("\0b", 2);
    for (const std::string& path : {std::string("/"), std::string(), std::string("home"), cut}) {
      EXPECT_FALSE(remove(world, path).ok()) << path;
    }
    EXPECT_EQ(world.tree(world.home()), Lines{"a/"});
  });
}

TEST_P(RemovingAHollowFolder, RemovesADeepFolder) {
  inWorld([](FileWorld& world) {
    std::string deep = world.home("deep");
    for (int level = 0; level < 300; ++level) deep += "/d";
    world.addFile(deep + "/Icon\r");
    expectSuccess(remove(world, world.home("deep")));
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

}  // namespace
}  // namespace qm::testing
