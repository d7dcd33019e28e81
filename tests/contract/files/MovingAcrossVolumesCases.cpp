// SPDX-License-Identifier: MIT
#include "tests/contract/files/FileCases.h"

namespace qm::testing {
namespace {

class MovingAcrossVolumes : public FileContract {};
INSTANTIATE_TEST_SUITE_P(On, MovingAcrossVolumes, bothWorlds(), nameOfKind);

TEST_P(MovingAcrossVolumes, TakesAFile) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    expectSuccess(world.files().moveItem(world.home("a"), world.volume("b")));
    EXPECT_EQ(world.contents(world.volume("b")), "text");
    EXPECT_EQ(world.tree(world.home()), Lines{});
    EXPECT_EQ(world.tree(world.volume()), Lines{"b"});
  });
}

TEST_P(MovingAcrossVolumes, TakesAFolderWithAllThatIsInIt) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/deep/file"), "text");
    world.addFile(world.home("a/.hidden"), "hidden");
    world.addLink(world.home("a/link"), "../outside");
    world.addFolder(world.home("a/empty"));
    expectSuccess(world.files().moveItem(world.home("a"), world.volume("b")));
    EXPECT_EQ(world.tree(world.home()), Lines{});
    EXPECT_EQ(world.tree(world.volume()),
              (Lines{"b/", "b/.hidden", "b/deep/", "b/deep/file", "b/empty/", "b/link -> ../outside"}));
    EXPECT_EQ(world.contents(world.volume("b/deep/file")), "text");
  });
}

TEST_P(MovingAcrossVolumes, TakesALinkAndLeavesItsTarget) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/file"));
    world.addLink(world.home("link"), world.home("folder"));
    expectSuccess(world.files().moveItem(world.home("link"), world.volume("link")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"folder/", "folder/file"}));
    EXPECT_EQ(world.tree(world.volume()), Lines{"link -> " + world.home("folder")});
  });
}

TEST_P(MovingAcrossVolumes, DoesNotReplaceAnything) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "first");
    world.addFile(world.volume("file"), "second");
    world.addFolder(world.volume("folder"));
    world.addLink(world.volume("link"), "nowhere");
    for (const char* name : {"file", "folder", "link"}) {
      expectFailure(world.files().moveItem(world.home("a"), world.volume(name)), EEXIST);
    }
    EXPECT_EQ(world.contents(world.home("a")), "first");
    EXPECT_EQ(world.contents(world.volume("file")), "second");
    EXPECT_EQ(world.tree(world.volume()), (Lines{"file", "folder/", "link -> nowhere"}));
  });
}

TEST_P(MovingAcrossVolumes, FailsWhenNothingIsThere) {
  inWorld([](FileWorld& world) {
    expectFailure(world.files().moveItem(world.home("none"), world.volume("a")), ENOENT);
    EXPECT_EQ(world.tree(world.volume()), Lines{});
  });
}

TEST_P(MovingAcrossVolumes, FailsWhenTheNewFolderDoesNotExist) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    expectFailure(world.files().moveItem(world.home("a"), world.volume("none/a")), ENOENT);
    EXPECT_EQ(world.tree(world.home()), Lines{"a"});
  });
}

TEST_P(MovingAcrossVolumes, KeepsTheDatesOfFilesAndFolders) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/file"));
    world.setModificationDate(world.home("a/file"), 1'000'000'000);
    world.setModificationDate(world.home("a"), 1'100'000'000);
    expectSuccess(world.files().moveItem(world.home("a"), world.volume("a")));
    const auto dateOf = [&](const std::string& path) {
      return world.files().attributesOfItem(path)->modificationDate.time_since_epoch();
    };
    EXPECT_EQ(dateOf(world.volume("a/file")), std::chrono::seconds(1'000'000'000));
    EXPECT_EQ(dateOf(world.volume("a")), std::chrono::seconds(1'100'000'000));
  });
}

TEST_P(MovingAcrossVolumes, LeavesTheSourceWholeAndNoPartOfTheCopyWhenSpaceRunsOut) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/first"), std::string(30'000, '1'));
    world.addFile(world.home("a/second"), std::string(90'000, '2'));
    expectFailure(world.files().moveItem(world.home("a"), world.small("a")), ENOSPC);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a/", "a/first", "a/second"}));
    EXPECT_EQ(world.contents(world.home("a/second")), std::string(90'000, '2'));
    EXPECT_EQ(world.tree(world.small()), Lines{});
  });
}

TEST_P(MovingAcrossVolumes, GivesSpaceBackAfterAFailure) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("big"), std::string(90'000, 'b'));
    world.addFile(world.home("fitting"), std::string(40'000, 'f'));
    expectFailure(world.files().moveItem(world.home("big"), world.small("big")), ENOSPC);
    expectSuccess(world.files().moveItem(world.home("fitting"), world.small("fitting")));
    EXPECT_EQ(world.tree(world.small()), Lines{"fitting"});
  });
}

TEST_P(MovingAcrossVolumes, FailsOntoAReadOnlyVolume) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    expectFailure(world.files().moveItem(world.home("a"), world.readOnly("a")), EROFS);
    EXPECT_EQ(world.tree(world.home()), Lines{"a"});
  });
}

TEST_P(MovingAcrossVolumes, CopiesNothingFromAReadOnlyVolume) {
  inWorld([](FileWorld& world) {
    expectFailure(world.files().moveItem(world.readOnly("folder"), world.home("folder")), EROFS);
    EXPECT_EQ(world.tree(world.home()), Lines{});
    EXPECT_EQ(world.contents(world.readOnly("folder/inside")), "kept");
  });
}

TEST_P(MovingAcrossVolumes, CopiesNothingThatCouldNotBeRemovedAfterwards) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/a"), "text");
    world.setWritable(world.home("folder"), false);
    expectFailure(world.files().moveItem(world.home("folder/a"), world.volume("a")), EACCES);
    EXPECT_EQ(world.contents(world.home("folder/a")), "text");
    EXPECT_EQ(world.tree(world.volume()), Lines{});
  });
}

TEST_P(MovingAcrossVolumes, CopiesNothingWhenAFolderBelowMayNotBeChanged) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/first"));
    world.addFile(world.home("a/z/file"));
    world.setWritable(world.home("a/z"), false);
    expectFailure(world.files().moveItem(world.home("a"), world.volume("a")), EACCES);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a/", "a/first", "a/z/", "a/z/file"}));
    EXPECT_EQ(world.tree(world.volume()), Lines{});
  });
}

TEST_P(MovingAcrossVolumes, LeavesNothingBehindWhenAFileMayNotBeRead) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/first"), "1");
    world.addFile(world.home("a/second"), "2");
    world.setReadable(world.home("a/second"), false);
    expectFailure(world.files().moveItem(world.home("a"), world.volume("a")), EACCES);
    EXPECT_EQ(world.tree(world.home()), (Lines{"a/", "a/first", "a/second"}));
    EXPECT_EQ(world.tree(world.volume()), Lines{});
  });
}

TEST_P(MovingAcrossVolumes, FailsWhenTheNewFolderMayNotBeChanged) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    world.addFolder(world.volume("folder"));
    world.setWritable(world.volume("folder"), false);
    expectFailure(world.files().moveItem(world.home("a"), world.volume("folder/a")), EACCES);
    EXPECT_EQ(world.tree(world.home()), Lines{"a"});
    EXPECT_EQ(world.tree(world.volume()), Lines{"folder/"});
  });
}

TEST_P(MovingAcrossVolumes, TakesTheLongestNamesAndRefusesLongerOnes) {
  inWorld([](FileWorld& world) {
    const std::string longest(255, 'n');
    world.addFile(world.home(longest), "text");
    expectFailure(world.files().moveItem(world.home(longest), world.volume(longest + "n")), ENAMETOOLONG);
    EXPECT_EQ(world.tree(world.volume()), Lines{});
    expectSuccess(world.files().moveItem(world.home(longest), world.volume(longest)));
    EXPECT_EQ(world.contents(world.volume(longest)), "text");
  });
}

TEST_P(MovingAcrossVolumes, TakesAnyBytesInNames) {
  inWorld([](FileWorld& world) {
    for (const auto& name : oddNames(world)) world.addFile(world.home("a/" + name), name);
    expectSuccess(world.files().moveItem(world.home("a"), world.volume("a")));
    for (const auto& name : oddNames(world)) EXPECT_EQ(world.contents(world.volume("a/" + name)), name);
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(MovingAcrossVolumes, GoesBackAgain) {
  inWorld([](FileWorld& world) {
    world.addFile(world.volume("a/file"), "text");
    expectSuccess(world.files().moveItem(world.volume("a"), world.home("a")));
    expectSuccess(world.files().moveItem(world.home("a"), world.volume("a")));
    EXPECT_EQ(world.contents(world.volume("a/file")), "text");
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

}  // namespace
}  // namespace qm::testing
