// SPDX-License-Identifier: MIT
#include "tests/contract/files/FileCases.h"

namespace qm::testing {
namespace {

class CopyingAnItem : public FileContract {};
INSTANTIATE_TEST_SUITE_P(On, CopyingAnItem, bothWorlds(), nameOfKind);

TEST_P(CopyingAnItem, MakesAFileOfItsOwn) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    expectSuccess(world.files().copyItem(world.home("a"), world.home("b")));
    world.addFile(world.home("a"), "changed");
    EXPECT_EQ(world.contents(world.home("b")), "text");
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", "b"}));
  });
}

TEST_P(CopyingAnItem, CopiesAWholeTreeWithLinksAsLinks) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/deep/file"), "text");
    world.addFolder(world.home("a/empty"));
    world.addLink(world.home("a/link"), "deep");
    expectSuccess(world.files().copyItem(world.home("a"), world.volume("b")));
    const Lines copied{"b/", "b/deep/", "b/deep/file", "b/empty/", "b/link -> deep"};
    EXPECT_EQ(world.tree(world.volume()), copied);
    EXPECT_EQ(world.contents(world.volume("b/deep/file")), "text");
    EXPECT_EQ(world.contents(world.home("a/deep/file")), "text");
  });
}

TEST_P(CopyingAnItem, CopiesADanglingLink) {
  inWorld([](FileWorld& world) {
    world.addLink(world.home("a"), "nowhere");
    expectSuccess(world.files().copyItem(world.home("a"), world.home("b")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"a -> nowhere", "b -> nowhere"}));
  });
}

TEST_P(CopyingAnItem, CopiesAnEmptyFileAndABigOne) {
  inWorld([](FileWorld& world) {
    const std::string big(1'000'003, 'x');
    world.addFile(world.home("empty"));
    world.addFile(world.home("big"), big);
    expectSuccess(world.files().copyItem(world.home("empty"), world.home("empty copy")));
    expectSuccess(world.files().copyItem(world.home("big"), world.home("big copy")));
    EXPECT_EQ(world.contents(world.home("empty copy")), "");
    EXPECT_EQ(world.contents(world.home("big copy")), big);
  });
}

TEST_P(CopyingAnItem, DoesNotReplaceAnything) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "first");
    world.addFile(world.home("file"), "second");
    world.addFolder(world.home("folder"));
    world.addLink(world.home("link"), "nowhere");
    for (const char* name : {"a", "file", "folder", "link"}) {
      expectFailure(world.files().copyItem(world.home("a"), world.home(name)), EEXIST);
    }
    EXPECT_EQ(world.contents(world.home("file")), "second");
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", "file", "folder/", "link -> nowhere"}));
  });
}

TEST_P(CopyingAnItem, RefusesToCopyAFolderIntoItself) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("a/b"));
    expectFailure(world.files().copyItem(world.home("a"), world.home("a/copy")), EINVAL);
    expectFailure(world.files().copyItem(world.home("a"), world.home("a/b/copy")), EINVAL);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a/", "a/b/"}));
  });
}

TEST_P(CopyingAnItem, CopiesAFolderBesideItself) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/file"));
    expectSuccess(world.files().copyItem(world.home("a"), world.home("a copy")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"a copy/", "a copy/file", "a/", "a/file"}));
  });
}

TEST_P(CopyingAnItem, FailsWhenNothingIsThereAndLeavesNothing) {
  inWorld([](FileWorld& world) {
    expectFailure(world.files().copyItem(world.home("none"), world.home("b")), ENOENT);
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(CopyingAnItem, FailsWhenTheNewFolderDoesNotExist) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    expectFailure(world.files().copyItem(world.home("a"), world.home("none/a")), ENOENT);
    EXPECT_EQ(world.tree(world.home()), Lines{"a"});
  });
}

TEST_P(CopyingAnItem, LeavesNothingWhenSomethingBelowMayNotBeRead) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/first"));
    world.addFile(world.home("a/folder/second"));
    world.setReadable(world.home("a/folder/second"), false);
    expectFailure(world.files().copyItem(world.home("a"), world.volume("a")), EACCES);
    EXPECT_EQ(world.tree(world.volume()), Lines{});
  });
}

TEST_P(CopyingAnItem, LeavesNothingWhenAFolderBelowMayNotBeRead) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/first"));
    world.addFolder(world.home("a/folder"));
    world.setReadable(world.home("a/folder"), false);
    expectFailure(world.files().copyItem(world.home("a"), world.volume("a")), EACCES);
    EXPECT_EQ(world.tree(world.volume()), Lines{});
  });
}

TEST_P(CopyingAnItem, LeavesNothingWhenSpaceRunsOut) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), std::string(200'000, 'x'));
    expectFailure(world.files().copyItem(world.home("a"), world.small("a")), ENOSPC);
    EXPECT_EQ(world.tree(world.small()), Lines{});
  });
}

TEST_P(CopyingAnItem, CopiesFromAReadOnlyVolumeButNotOntoOne) {
  inWorld([](FileWorld& world) {
    expectSuccess(world.files().copyItem(world.readOnly("folder"), world.home("folder")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"folder/", "folder/inside"}));
    expectFailure(world.files().copyItem(world.home("folder"), world.readOnly("new")), EROFS);
  });
}

TEST_P(CopyingAnItem, CopiesAFolderThatMayNotBeChanged) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/inner/file"), "text");
    world.setWritable(world.home("a/inner"), false);
    world.setWritable(world.home("a"), false);
    expectSuccess(world.files().copyItem(world.home("a"), world.volume("a")));
    EXPECT_EQ(world.contents(world.volume("a/inner/file")), "text");
    expectFailure(world.files().removeItem(world.volume("a/inner/file")), EACCES);
  });
}

TEST_P(CopyingAnItem, KeepsDates) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    world.setModificationDate(world.home("a"), 1'234'567'890);
    expectSuccess(world.files().copyItem(world.home("a"), world.home("b")));
    EXPECT_EQ(world.files().attributesOfItem(world.home("b"))->modificationDate.time_since_epoch(),
              std::chrono::seconds(1'234'567'890));
  });
}

TEST_P(CopyingAnItem, KeepsWhetherAFileMayBeExecuted) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("tool"));
    world.setExecutable(world.home("tool"), true);
    expectSuccess(world.files().copyItem(world.home("tool"), world.home("copy")));
    EXPECT_TRUE(world.files().isExecutableFile(world.home("copy")));
  });
}

TEST_P(CopyingAnItem, RefusesNamesAndPathsThatAreTooLong) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    const std::string longest(255, 'n');
    expectFailure(world.files().copyItem(world.home("a"), world.home(longest + "n")), ENAMETOOLONG);
    expectFailure(world.files().copyItem(world.home("a"), tooLongPath(world.home())), ENAMETOOLONG);
    expectSuccess(world.files().copyItem(world.home("a"), world.home(longest)));
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", longest}));
  });
}

}  // namespace
}  // namespace qm::testing
