// SPDX-License-Identifier: MIT
#include "tests/contract/files/FileCases.h"

namespace qm::testing {
namespace {

class RemovingAnItem : public FileContract {};
INSTANTIATE_TEST_SUITE_P(On, RemovingAnItem, bothWorlds(), nameOfKind);

TEST_P(RemovingAnItem, RemovesAFileAndNothingElse) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    world.addFile(world.home("ab"));
    expectSuccess(world.files().removeItem(world.home("a")));
    EXPECT_EQ(world.tree(world.home()), Lines{"ab"});
  });
}

TEST_P(RemovingAnItem, RemovesAnEmptyFolder) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("a"));
    expectSuccess(world.files().removeItem(world.home("a")));
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(RemovingAnItem, RemovesAWholeTreeHiddenItemsIncluded) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/b/c/file"));
    world.addFile(world.home("a/.hidden/.file"));
    world.addFolder(world.home("a/empty"));
    world.addFile(world.home("beside"));
    expectSuccess(world.files().removeItem(world.home("a")));
    EXPECT_EQ(world.tree(world.home()), Lines{"beside"});
  });
}

TEST_P(RemovingAnItem, RemovesALinkAndNotItsTarget) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("file"), "text");
    world.addLink(world.home("link"), "file");
    expectSuccess(world.files().removeItem(world.home("link")));
    EXPECT_EQ(world.tree(world.home()), Lines{"file"});
  });
}

TEST_P(RemovingAnItem, RemovesALinkToAFolderAndNotWhatIsInTheFolder) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/file"));
    world.addLink(world.home("link"), world.home("folder"));
    expectSuccess(world.files().removeItem(world.home("link")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"folder/", "folder/file"}));
  });
}

TEST_P(RemovingAnItem, RemovesADanglingLink) {
  inWorld([](FileWorld& world) {
    world.addLink(world.home("link"), "nowhere");
    expectSuccess(world.files().removeItem(world.home("link")));
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(RemovingAnItem, NeverFollowsLinksInATree) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("outside/file"), "text");
    world.addLink(world.home("a/absolute"), world.home("outside"));
    world.addLink(world.home("a/relative"), "../outside");
    world.addLink(world.home("a/circle"), ".");
    expectSuccess(world.files().removeItem(world.home("a")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"outside/", "outside/file"}));
  });
}

TEST_P(RemovingAnItem, FailsWhenNothingIsThere) {
  inWorld([](FileWorld& world) {
    expectFailure(world.files().removeItem(world.home("none")), ENOENT);
    expectFailure(world.files().removeItem(world.home("none/deeper")), ENOENT);
  });
}

TEST_P(RemovingAnItem, FailsBelowAFile) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("file"));
    expectFailure(world.files().removeItem(world.home("file/a")), ENOTDIR);
    EXPECT_EQ(world.tree(world.home()), Lines{"file"});
  });
}

TEST_P(RemovingAnItem, FailsWhenItsFolderMayNotBeChanged) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/a"));
    world.setWritable(world.home("folder"), false);
    expectFailure(world.files().removeItem(world.home("folder/a")), EACCES);
    EXPECT_EQ(world.tree(world.home()), (Lines{"folder/", "folder/a"}));
  });
}

TEST_P(RemovingAnItem, TakesNothingOutOfATreeWhoseOwnFolderMayNotBeChanged) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/a/file"));
    world.setWritable(world.home("folder"), false);
    expectFailure(world.files().removeItem(world.home("folder/a")), EACCES);
    EXPECT_EQ(world.tree(world.home()), (Lines{"folder/", "folder/a/", "folder/a/file"}));
  });
}

TEST_P(RemovingAnItem, FailsWhenAFolderBelowMayNotBeChanged) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/folder/file"), "text");
    world.setWritable(world.home("a/folder"), false);
    expectFailure(world.files().removeItem(world.home("a")), EACCES);
    EXPECT_EQ(world.contents(world.home("a/folder/file")), "text");
  });
}

TEST_P(RemovingAnItem, RemovesFilesThatMayNotBeReadOrWritten) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/secret"));
    world.setReadable(world.home("a/secret"), false);
    world.setWritable(world.home("a/secret"), false);
    expectSuccess(world.files().removeItem(world.home("a")));
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(RemovingAnItem, RemovesAnEmptyFolderThatMayNotBeRead) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("a/folder"));
    world.setReadable(world.home("a/folder"), false);
    expectSuccess(world.files().removeItem(world.home("a")));
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(RemovingAnItem, RemovesAnEmptyFolderThatMayNotBeChanged) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("a/folder"));
    world.setWritable(world.home("a/folder"), false);
    expectSuccess(world.files().removeItem(world.home("a")));
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(RemovingAnItem, FailsOnAReadOnlyVolume) {
  inWorld([](FileWorld& world) {
    expectFailure(world.files().removeItem(world.readOnly("file")), EROFS);
    expectFailure(world.files().removeItem(world.readOnly("folder")), EROFS);
    EXPECT_EQ(world.tree(world.readOnly()), (Lines{"file", "folder/", "folder/inside"}));
  });
}

TEST_P(RemovingAnItem, RefusesToRemoveAVolume) {
  inWorld([](FileWorld& world) {
    world.addFile(world.volume("file"), "text");
    EXPECT_FALSE(world.files().removeItem(world.mountPoint()).ok());
    EXPECT_EQ(world.contents(world.volume("file")), "text");
  });
}

TEST_P(RemovingAnItem, RefusesTheRootFolderAndPathsThatNameNothing) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    const std::string cut = world.home("a") + std::string("\0b", 2);
    for (const std::string& path : {std::string("/"), std::string(), std::string("home"), cut}) {
      EXPECT_FALSE(world.files().removeItem(path).ok()) << path;
    }
    EXPECT_EQ(world.tree(world.home()), Lines{"a"});
  });
}

TEST_P(RemovingAnItem, RefusesPathsThatAreTooLong) {
  inWorld([](FileWorld& world) { expectFailure(world.files().removeItem(tooLongPath(world.home())), ENAMETOOLONG); });
}

TEST_P(RemovingAnItem, TakesAnyBytesInNames) {
  inWorld([](FileWorld& world) {
    for (const auto& name : oddNames(world)) {
      const std::string folder = world.home("a/" + name);
      world.addFile(folder + "/" += name);
      expectSuccess(world.files().removeItem(folder));
    }
    EXPECT_EQ(world.tree(world.home()), Lines{"a/"});
  });
}

TEST_P(RemovingAnItem, RemovesADeepTreeAndAWideOne) {
  inWorld([](FileWorld& world) {
    std::string deep = world.home("deep");
    for (int level = 0; level < 300; ++level) deep += "/d";
    world.addFile(deep + "/file");
    for (int i = 0; i < 500; ++i) world.addFile(world.home("wide/") + std::to_string(i));
    expectSuccess(world.files().removeItem(world.home("deep")));
    expectSuccess(world.files().removeItem(world.home("wide")));
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(RemovingAnItem, GoesThroughLinkedFoldersOnTheWay) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/a"));
    world.addLink(world.home("link"), "folder");
    expectSuccess(world.files().removeItem(world.home("link/a")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"folder/", "link -> folder"}));
  });
}

}  // namespace
}  // namespace qm::testing
