// SPDX-License-Identifier: MIT
#include "tests/contract/files/FileCases.h"

namespace qm::testing {
namespace {

class MovingAnItem : public FileContract {};
INSTANTIATE_TEST_SUITE_P(On, MovingAnItem, bothWorlds(), nameOfKind);

TEST_P(MovingAnItem, GivesAFileItsNewName) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("old"), "text");
    expectSuccess(world.files().moveItem(world.home("old"), world.home("new")));
    EXPECT_EQ(world.contents(world.home("new")), "text");
    EXPECT_EQ(world.tree(world.home()), Lines{"new"});
  });
}

TEST_P(MovingAnItem, TakesAnEmptyFileToAnotherFolder) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/file"));
    world.addFolder(world.home("b"));
    expectSuccess(world.files().moveItem(world.home("a/file"), world.home("b/file")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"a/", "b/", "b/file"}));
  });
}

TEST_P(MovingAnItem, TakesAFolderWithAllThatIsInIt) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("old/deep/file"), "text");
    world.addLink(world.home("old/link"), "deep/file");
    world.addFolder(world.home("old/empty"));
    expectSuccess(world.files().moveItem(world.home("old"), world.home("new")));
    EXPECT_EQ(world.tree(world.home()),
              (Lines{"new/", "new/deep/", "new/deep/file", "new/empty/", "new/link -> deep/file"}));
  });
}

TEST_P(MovingAnItem, TakesALinkAndLeavesItsTarget) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("target"), "text");
    world.addLink(world.home("old"), "target");
    expectSuccess(world.files().moveItem(world.home("old"), world.home("new")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"new -> target", "target"}));
  });
}

TEST_P(MovingAnItem, TakesADanglingLink) {
  inWorld([](FileWorld& world) {
    world.addLink(world.home("old"), "/nowhere/at all");
    expectSuccess(world.files().moveItem(world.home("old"), world.home("new")));
    EXPECT_EQ(world.tree(world.home()), Lines{"new -> /nowhere/at all"});
  });
}

TEST_P(MovingAnItem, DoesNotReplaceAFile) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "first");
    world.addFile(world.home("b"), "second");
    expectFailure(world.files().moveItem(world.home("a"), world.home("b")), EEXIST);
    EXPECT_EQ(world.contents(world.home("a")), "first");
    EXPECT_EQ(world.contents(world.home("b")), "second");
  });
}

TEST_P(MovingAnItem, DoesNotReplaceAnEmptyFolder) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/file"));
    world.addFolder(world.home("b"));
    expectFailure(world.files().moveItem(world.home("a"), world.home("b")), EEXIST);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a/", "a/file", "b/"}));
  });
}

TEST_P(MovingAnItem, DoesNotPutAFileIntoAFolderOfThatName) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    world.addFolder(world.home("b"));
    expectFailure(world.files().moveItem(world.home("a"), world.home("b")), EEXIST);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", "b/"}));
  });
}

TEST_P(MovingAnItem, DoesNotReplaceADanglingLink) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    world.addLink(world.home("b"), "nowhere");
    expectFailure(world.files().moveItem(world.home("a"), world.home("b")), EEXIST);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", "b -> nowhere"}));
  });
}

TEST_P(MovingAnItem, FailsWhenNothingIsThere) {
  inWorld([](FileWorld& world) {
    expectFailure(world.files().moveItem(world.home("none"), world.home("new")), ENOENT);
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(MovingAnItem, FailsWhenTheNewFolderDoesNotExist) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    expectFailure(world.files().moveItem(world.home("a"), world.home("none/a")), ENOENT);
    EXPECT_EQ(world.tree(world.home()), Lines{"a"});
  });
}

TEST_P(MovingAnItem, FailsWhenTheNewFolderIsAFile) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    world.addFile(world.home("file"));
    expectFailure(world.files().moveItem(world.home("a"), world.home("file/a")), ENOTDIR);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", "file"}));
  });
}

TEST_P(MovingAnItem, ToItsOwnPathFailsAndLeavesItThere) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    expectFailure(world.files().moveItem(world.home("a"), world.home("a")), EEXIST);
    expectFailure(world.files().moveItem(world.home("a"), world.home("./a")), EEXIST);
    EXPECT_EQ(world.contents(world.home("a")), "text");
  });
}

TEST_P(MovingAnItem, RefusesToPutAFolderIntoItself) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/file"));
    expectFailure(world.files().moveItem(world.home("a"), world.home("a/b")), EINVAL);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a/", "a/file"}));
  });
}

TEST_P(MovingAnItem, RefusesToPutAFolderIntoOneBelowIt) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("a/b/c"));
    expectFailure(world.files().moveItem(world.home("a"), world.home("a/b/c/d")), EINVAL);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a/", "a/b/", "a/b/c/"}));
  });
}

TEST_P(MovingAnItem, FailsWhenItsFolderMayNotBeChanged) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/a"));
    world.setWritable(world.home("folder"), false);
    expectFailure(world.files().moveItem(world.home("folder/a"), world.home("a")), EACCES);
    EXPECT_EQ(world.tree(world.home()), (Lines{"folder/", "folder/a"}));
  });
}

TEST_P(MovingAnItem, FailsWhenTheNewFolderMayNotBeChanged) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    world.addFolder(world.home("folder"));
    world.setWritable(world.home("folder"), false);
    expectFailure(world.files().moveItem(world.home("a"), world.home("folder/a")), EACCES);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", "folder/"}));
  });
}

TEST_P(MovingAnItem, FailsWhenTheWayToItMayNotBeSearched) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/a"));
    world.setSearchable(world.home("folder"), false);
    expectFailure(world.files().moveItem(world.home("folder/a"), world.home("a")), EACCES);
    world.setSearchable(world.home("folder"), true);
    EXPECT_EQ(world.tree(world.home()), (Lines{"folder/", "folder/a"}));
  });
}

TEST_P(MovingAnItem, KeepsItsDate) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    world.setModificationDate(world.home("a"), 1'000'000'000);
    expectSuccess(world.files().moveItem(world.home("a"), world.home("b")));
    EXPECT_EQ(world.files().attributesOfItem(world.home("b"))->modificationDate.time_since_epoch(),
              std::chrono::seconds(1'000'000'000));
  });
}

TEST_P(MovingAnItem, WorksWithoutReadingIt) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "secret");
    world.setReadable(world.home("a"), false);
    expectSuccess(world.files().moveItem(world.home("a"), world.home("b")));
    EXPECT_EQ(world.tree(world.home()), Lines{"b"});
  });
}

TEST_P(MovingAnItem, TellsNamesApartByLetterCase) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("name"), "small");
    expectSuccess(world.files().moveItem(world.home("name"), world.home("NAME")));
    EXPECT_EQ(world.tree(world.home()), Lines{"NAME"});
  });
}

TEST_P(MovingAnItem, TakesAnyBytesInNames) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("to"));
    for (const auto& name : oddNames(world)) {
      world.addFile(world.home(name), name);
      expectSuccess(world.files().moveItem(world.home(name), world.home("to/" + name)));
      EXPECT_EQ(world.contents(world.home("to/" + name)), name);
      EXPECT_FALSE(world.has(world.home(name)));
    }
  });
}

TEST_P(MovingAnItem, TakesTheLongestNamesAndRefusesLongerOnes) {
  inWorld([](FileWorld& world) {
    const std::string longest(255, 'n');
    world.addFile(world.home("a"));
    expectFailure(world.files().moveItem(world.home("a"), world.home(longest + "n")), ENAMETOOLONG);
    expectSuccess(world.files().moveItem(world.home("a"), world.home(longest)));
    EXPECT_EQ(world.tree(world.home()), Lines{longest});
  });
}

TEST_P(MovingAnItem, RefusesPathsThatAreTooLong) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    expectFailure(world.files().moveItem(world.home("a"), tooLongPath(world.home())), ENAMETOOLONG);
    expectFailure(world.files().moveItem(tooLongPath(world.home()), world.home("b")), ENAMETOOLONG);
    EXPECT_EQ(world.tree(world.home()), Lines{"a"});
  });
}

TEST_P(MovingAnItem, RefusesPathsThatNameNothing) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    const std::string cut = world.home("a") + std::string("\0b", 2);
    for (const std::string& path : {std::string(), std::string("a"), std::string("./a"), cut}) {
      EXPECT_FALSE(world.files().moveItem(path, world.home("new")).ok()) << path;
      EXPECT_FALSE(world.files().moveItem(world.home("a"), path).ok()) << path;
    }
    EXPECT_EQ(world.tree(world.home()), Lines{"a"});
  });
}

TEST_P(MovingAnItem, GoesThroughLinkedFoldersOnTheWay) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    world.addFolder(world.home("folder"));
    world.addLink(world.home("link"), world.home("folder"));
    expectSuccess(world.files().moveItem(world.home("a"), world.home("link/a")));
    EXPECT_TRUE(world.has(world.home("folder/a")));
  });
}

TEST_P(MovingAnItem, FailsInACircleOfLinks) {
  inWorld([](FileWorld& world) {
    world.addLink(world.home("one"), "two");
    world.addLink(world.home("two"), "one");
    world.addFile(world.home("a"));
    expectFailure(world.files().moveItem(world.home("a"), world.home("one/a")), ELOOP);
    EXPECT_TRUE(world.has(world.home("a")));
  });
}

TEST_P(MovingAnItem, FailsOnAReadOnlyVolume) {
  inWorld([](FileWorld& world) {
    expectFailure(world.files().moveItem(world.readOnly("file"), world.readOnly("new")), EROFS);
    EXPECT_EQ(world.tree(world.readOnly()), (Lines{"file", "folder/", "folder/inside"}));
  });
}

TEST_P(MovingAnItem, RefusesToMoveAVolume) {
  inWorld([](FileWorld& world) {
    EXPECT_FALSE(world.files().moveItem(world.mountPoint(), world.home("volume")).ok());
    EXPECT_TRUE(world.has(world.mountPoint()));
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

class LinkingAnItem : public FileContract {};
INSTANTIATE_TEST_SUITE_P(On, LinkingAnItem, bothWorlds(), nameOfKind);

TEST_P(LinkingAnItem, GivesAFileASecondName) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    expectSuccess(world.files().linkItem(world.home("a"), world.home("b")));
    const auto file = world.files().openForWriting(world.home("a"));
    ASSERT_NE(file, nullptr);
    expectSuccess(file->writeData("T"));
    EXPECT_EQ(world.contents(world.home("b")), "Text");
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", "b"}));
  });
}

TEST_P(LinkingAnItem, LeavesEachNameToItself) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    expectSuccess(world.files().linkItem(world.home("a"), world.home("b")));
    expectSuccess(world.files().writeFileAtomically(world.home("a"), "new"));
    EXPECT_EQ(world.contents(world.home("b")), "text");
    expectSuccess(world.files().linkItem(world.home("b"), world.home("c")));
    expectSuccess(world.files().removeItem(world.home("c")));
    expectSuccess(world.files().linkItem(world.home("b"), world.home("c")));
    expectSuccess(world.files().moveItem(world.home("b"), world.home("d")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", "c", "d"}));
    EXPECT_EQ(world.contents(world.home("a")), "new");
  });
}

TEST_P(LinkingAnItem, TakesALinkItself) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("target"));
    world.addLink(world.home("a"), "target");
    expectSuccess(world.files().linkItem(world.home("a"), world.home("b")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"a -> target", "b -> target", "target"}));
  });
}

TEST_P(LinkingAnItem, ReplacesNothing) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "first");
    world.addFile(world.home("b"), "second");
    world.addLink(world.home("c"), "nowhere");
    expectFailure(world.files().linkItem(world.home("a"), world.home("b")), EEXIST);
    expectFailure(world.files().linkItem(world.home("a"), world.home("c")), EEXIST);
    EXPECT_EQ(world.contents(world.home("b")), "second");
  });
}

TEST_P(LinkingAnItem, TakesNoFolderAndNothingToAnotherVolume) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("folder"));
    world.addFile(world.home("a"));
    expectFailure(world.files().linkItem(world.home("folder"), world.home("b")), EPERM);
    expectFailure(world.files().linkItem(world.home("a"), world.volume("b")), EXDEV);
    expectFailure(world.files().linkItem(world.home("none"), world.home("b")), ENOENT);
    expectFailure(world.files().linkItem(world.home("a"), world.home("none/b")), ENOENT);
    expectFailure(world.files().linkItem(world.home("none/a"), world.home("b")), ENOENT);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", "folder/"}));
  });
}

TEST_P(LinkingAnItem, ChangesNoFolderThatMayNotBeWritten) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/a"));
    world.setWritable(world.home("folder"), false);
    expectFailure(world.files().linkItem(world.home("folder/a"), world.home("folder/b")), EACCES);
    expectFailure(world.files().linkItem(world.readOnly("file"), world.readOnly("b")), EROFS);
  });
}

}  // namespace
}  // namespace qm::testing
