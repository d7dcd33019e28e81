// SPDX-License-Identifier: MIT
#include "tests/contract/files/FileCases.h"

namespace qm::testing {
namespace {

class CreatingAFolder : public FileContract {};
INSTANTIATE_TEST_SUITE_P(On, CreatingAFolder, bothWorlds(), nameOfKind);

TEST_P(CreatingAFolder, MakesItAndTheMissingOnesAbove) {
  inWorld([](FileWorld& world) {
    expectSuccess(world.files().createDirectory(world.home("a")));
    expectSuccess(world.files().createDirectory(world.home("b/c/d")));
    expectSuccess(world.files().createDirectory(world.home("e//f/")));
    EXPECT_EQ(world.tree(world.home()), (Lines{"a/", "b/", "b/c/", "b/c/d/", "e/", "e/f/"}));
  });
}

TEST_P(CreatingAFolder, IsContentWithOneThatIsThere) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/file"), "text");
    world.addLink(world.home("link"), "a");
    expectSuccess(world.files().createDirectory(world.home("a")));
    expectSuccess(world.files().createDirectory(world.home("link")));
    expectSuccess(world.files().createDirectory("/"));
    expectSuccess(world.files().createDirectory(world.readOnly("folder")));
    EXPECT_EQ(world.contents(world.home("a/file")), "text");
  });
}

TEST_P(CreatingAFolder, FailsWhenAnythingElseIsInTheWay) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("file"), "text");
    world.addLink(world.home("link"), "nowhere");
    expectFailure(world.files().createDirectory(world.home("file")), EEXIST);
    expectFailure(world.files().createDirectory(world.home("link")), EEXIST);
    expectFailure(world.files().createDirectory(world.home("file/a/b")), ENOTDIR);
    EXPECT_EQ(world.tree(world.home()), (Lines{"file", "link -> nowhere"}));
  });
}

TEST_P(CreatingAFolder, FailsWhereNothingMayBeMade) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("folder"));
    world.setWritable(world.home("folder"), false);
    expectFailure(world.files().createDirectory(world.home("folder/a/b")), EACCES);
    expectFailure(world.files().createDirectory(world.readOnly("a")), EROFS);
    EXPECT_EQ(world.tree(world.home()), Lines{"folder/"});
  });
}

TEST_P(CreatingAFolder, RefusesNamesAndPathsThatAreTooLongOrNameNothing) {
  inWorld([](FileWorld& world) {
    expectFailure(world.files().createDirectory(world.home(std::string(256, 'n'))), ENAMETOOLONG);
    expectFailure(world.files().createDirectory(tooLongPath(world.home())), ENAMETOOLONG);
    for (const std::string& path : {std::string(), std::string("a"), world.home("a") + std::string("\0b", 2)}) {
      EXPECT_FALSE(world.files().createDirectory(path).ok()) << path;
    }
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

class WritingAtomically : public FileContract {};
INSTANTIATE_TEST_SUITE_P(On, WritingAtomically, bothWorlds(), nameOfKind);

TEST_P(WritingAtomically, MakesAFileOfAnyBytes) {
  inWorld([](FileWorld& world) {
    const std::string bytes("a\0\xff\n", 4);
    expectSuccess(world.files().writeFileAtomically(world.home("a"), bytes));
    expectSuccess(world.files().writeFileAtomically(world.home("empty"), ""));
    EXPECT_EQ(world.contents(world.home("a")), bytes);
    EXPECT_EQ(world.contents(world.home("empty")), "");
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", "empty"}));
  });
}

TEST_P(WritingAtomically, ReplacesAFileEvenOneThatMayNotBeWritten) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "a long old text");
    world.setWritable(world.home("a"), false);
    expectSuccess(world.files().writeFileAtomically(world.home("a"), "new"));
    EXPECT_EQ(world.contents(world.home("a")), "new");
    EXPECT_EQ(world.tree(world.home()), Lines{"a"});
  });
}

TEST_P(WritingAtomically, ReplacesALinkAndLeavesItsTarget) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("target"), "old");
    world.addLink(world.home("link"), "target");
    world.addLink(world.home("dangling"), "nowhere");
    expectSuccess(world.files().writeFileAtomically(world.home("link"), "new"));
    expectSuccess(world.files().writeFileAtomically(world.home("dangling"), "new"));
    EXPECT_EQ(world.contents(world.home("target")), "old");
    EXPECT_EQ(world.tree(world.home()), (Lines{"dangling", "link", "target"}));
  });
}

TEST_P(WritingAtomically, FailsOverAFolderAndWithoutAFolder) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("folder"));
    expectFailure(world.files().writeFileAtomically(world.home("folder"), "new"), EISDIR);
    expectFailure(world.files().writeFileAtomically(world.home("none/a"), "new"), ENOENT);
    EXPECT_EQ(world.tree(world.home()), Lines{"folder/"});
  });
}

TEST_P(WritingAtomically, LeavesTheOldFileAndNothingElseAfterAFailure) {
  inWorld([](FileWorld& world) {
    world.addFile(world.small("a"), "old");
    expectFailure(world.files().writeFileAtomically(world.small("a"), std::string(90'000, 'x')), ENOSPC);
    EXPECT_EQ(world.contents(world.small("a")), "old");
    EXPECT_EQ(world.tree(world.small()), Lines{"a"});
    world.addFile(world.home("folder/a"), "old");
    world.setWritable(world.home("folder"), false);
    expectFailure(world.files().writeFileAtomically(world.home("folder/a"), "new"), EACCES);
    expectFailure(world.files().writeFileAtomically(world.readOnly("file"), "new"), EROFS);
    EXPECT_EQ(world.contents(world.home("folder/a")), "old");
  });
}

TEST_P(WritingAtomically, TakesTheLongestNamesAndRefusesLongerOnes) {
  inWorld([](FileWorld& world) {
    const std::string longest(255, 'n');
    expectSuccess(world.files().writeFileAtomically(world.home(longest), "text"));
    expectFailure(world.files().writeFileAtomically(world.home(longest + "n"), "text"), ENAMETOOLONG);
    expectFailure(world.files().writeFileAtomically(tooLongPath(world.home()), "text"), ENAMETOOLONG);
    EXPECT_EQ(world.tree(world.home()), Lines{longest});
  });
}

class OpeningForWriting : public FileContract {};
INSTANTIATE_TEST_SUITE_P(On, OpeningForWriting, bothWorlds(), nameOfKind);

TEST_P(OpeningForWriting, WritesOverTheBeginningWithoutEmptyingTheFile) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "old text");
    const auto file = world.files().openForWriting(world.home("a"));
    ASSERT_NE(file, nullptr);
    expectSuccess(file->writeData("new"));
    expectSuccess(file->writeData("!"));
    EXPECT_EQ(world.contents(world.home("a")), "new!text");
  });
}

TEST_P(OpeningForWriting, AppendsAfterGoingToTheEnd) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "one ");
    const auto file = world.files().openForWriting(world.home("a"));
    ASSERT_NE(file, nullptr);
    expectSuccess(file->seekToEndOfFile());
    expectSuccess(file->writeData("two "));
    expectSuccess(file->writeData(""));
    expectSuccess(file->writeData("three"));
    EXPECT_EQ(world.contents(world.home("a")), "one two three");
  });
}

TEST_P(OpeningForWriting, NeverMakesAFile) {
  inWorld([](FileWorld& world) {
    EXPECT_EQ(world.files().openForWriting(world.home("none")), nullptr);
    EXPECT_EQ(world.files().openForWriting(world.home("none/deeper")), nullptr);
    EXPECT_EQ(world.tree(world.home()), Lines{});
  });
}

TEST_P(OpeningForWriting, TakesNoLinkNoFolderAndNoPathThatNamesNothing) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/file"), "text");
    world.addLink(world.home("link"), "folder/file");
    EXPECT_EQ(world.files().openForWriting(world.home("link")), nullptr);
    EXPECT_EQ(world.files().openForWriting(world.home("folder")), nullptr);
    EXPECT_EQ(world.files().openForWriting(""), nullptr);
    EXPECT_EQ(world.files().openForWriting("folder/file"), nullptr);
    EXPECT_EQ(world.files().openForWriting(world.home("folder/file") + std::string("\0", 1)), nullptr);
    EXPECT_EQ(world.contents(world.home("folder/file")), "text");
  });
}

TEST_P(OpeningForWriting, TakesNoFileThatMayNotBeWritten) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    world.setWritable(world.home("a"), false);
    EXPECT_EQ(world.files().openForWriting(world.home("a")), nullptr);
    EXPECT_EQ(world.files().openForWriting(world.readOnly("file")), nullptr);
  });
}

TEST_P(OpeningForWriting, StaysWithTheFileWhenItsNameGoes) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "1");
    const auto file = world.files().openForWriting(world.home("a"));
    ASSERT_NE(file, nullptr);
    expectSuccess(world.files().moveItem(world.home("a"), world.home("b")));
    expectSuccess(file->seekToEndOfFile());
    expectSuccess(file->writeData("2"));
    EXPECT_EQ(world.contents(world.home("b")), "12");
    EXPECT_FALSE(world.has(world.home("a")));
  });
}

TEST_P(OpeningForWriting, AnswersThatTheVolumeIsFull) {
  inWorld([](FileWorld& world) {
    world.addFile(world.small("a"));
    const auto file = world.files().openForWriting(world.small("a"));
    ASSERT_NE(file, nullptr);
    expectFailure(file->writeData(std::string(200'000, 'x')), ENOSPC);
  });
}

TEST_P(OpeningForWriting, RemovesWhatAFailedWritingLeft) {
  inWorld([](FileWorld& world) {
    world.addFile(world.small("a"), "old ");
    const auto file = world.files().openForWriting(world.small("a"));
    ASSERT_NE(file, nullptr);
    expectSuccess(file->seekToEndOfFile());
    expectSuccess(file->writeData("whole "));
    expectSuccess(file->removeIncompleteData());
    expectFailure(file->writeData(std::string(200'000, 'x')), ENOSPC);
    EXPECT_GT(world.contents(world.small("a"))->size(), std::string("old whole ").size());
    expectSuccess(file->removeIncompleteData());
    EXPECT_EQ(world.contents(world.small("a")), "old whole ");
    expectSuccess(file->removeIncompleteData());
    expectSuccess(file->writeData("next"));
    EXPECT_EQ(world.contents(world.small("a")), "old whole next");
  });
}

TEST_P(OpeningForWriting, RemovesNothingThatAnotherHasWritten) {
  inWorld([](FileWorld& world) {
    world.addFile(world.small("full"), std::string(30'000, 'f'));
    world.addFile(world.small("a"));
    const auto file = world.files().openForWriting(world.small("a"));
    ASSERT_NE(file, nullptr);
    expectFailure(file->writeData(std::string(200'000, 'x')), ENOSPC);
    expectSuccess(world.files().removeItem(world.small("full")));
    const auto other = world.files().openForWriting(world.small("a"));
    ASSERT_NE(other, nullptr);
    expectSuccess(other->seekToEndOfFile());
    expectSuccess(other->writeData("other"));
    const auto before = world.contents(world.small("a"));
    expectFailure(file->removeIncompleteData(), EEXIST);
    EXPECT_EQ(world.contents(world.small("a")), before);
  });
}

}  // namespace
}  // namespace qm::testing
