// SPDX-License-Identifier: MIT
#include <algorithm>
#include <chrono>

#include "tests/contract/files/FileCases.h"

namespace qm::testing {
namespace {

using platform::FileType;

class LookingAtItems : public FileContract {};
INSTANTIATE_TEST_SUITE_P(On, LookingAtItems, bothWorlds(), nameOfKind);

TEST_P(LookingAtItems, SeesFilesFoldersAndWhatLinksLeadTo) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/file"));
    world.addLink(world.home("to file"), "folder/file");
    world.addLink(world.home("to folder"), "folder");
    for (const char* name : {"folder", "folder/file", "to file", "to folder", "to folder/file"}) {
      EXPECT_TRUE(world.files().fileExists(world.home(name))) << name;
    }
    EXPECT_TRUE(world.files().isDirectory(world.home("folder")));
    EXPECT_TRUE(world.files().isDirectory(world.home("to folder")));
    EXPECT_FALSE(world.files().isDirectory(world.home("folder/file")));
    EXPECT_FALSE(world.files().isDirectory(world.home("to file")));
  });
}

TEST_P(LookingAtItems, ReadsADanglingLinkAsAbsentAndYetAsALink) {
  inWorld([](FileWorld& world) {
    world.addLink(world.home("link"), "nowhere");
    EXPECT_FALSE(world.files().fileExists(world.home("link")));
    EXPECT_FALSE(world.files().isDirectory(world.home("link")));
    EXPECT_EQ(world.files().destinationOfSymbolicLink(world.home("link")), "nowhere");
    EXPECT_EQ(world.files().attributesOfItem(world.home("link"))->type, FileType::SymbolicLink);
  });
}

TEST_P(LookingAtItems, SeesNothingWhereNothingIs) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("file"));
    const std::string cut = world.home("file") + std::string("\0x", 2);
    for (const std::string& path : {world.home("none"), world.home("none/deeper"), world.home("file/below"),
                                    std::string(), std::string("file"), cut, tooLongPath(world.home())}) {
      EXPECT_FALSE(world.files().fileExists(path)) << path;
      EXPECT_FALSE(world.files().isDirectory(path)) << path;
      EXPECT_FALSE(world.files().isExecutableFile(path)) << path;
      EXPECT_EQ(world.files().contentsOfDirectory(path), std::nullopt) << path;
      EXPECT_FALSE(world.files().attributesOfItem(path).has_value()) << path;
      EXPECT_EQ(world.files().destinationOfSymbolicLink(path), std::nullopt) << path;
    }
  });
}

TEST_P(LookingAtItems, SeesNothingBehindAFolderThatMayNotBeSearched) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("folder/file"));
    world.setSearchable(world.home("folder"), false);
    EXPECT_FALSE(world.files().fileExists(world.home("folder/file")));
    EXPECT_TRUE(world.files().isDirectory(world.home("folder")));
    world.setSearchable(world.home("folder"), true);
    EXPECT_TRUE(world.files().fileExists(world.home("folder/file")));
  });
}

TEST_P(LookingAtItems, CallsOnlyRegularFilesWithTheRightExecutable) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("tool"));
    world.addFile(world.home("text"));
    world.addFolder(world.home("folder"));
    world.addLink(world.home("link"), "tool");
    world.setExecutable(world.home("tool"), true);
    EXPECT_TRUE(world.files().isExecutableFile(world.home("tool")));
    EXPECT_TRUE(world.files().isExecutableFile(world.home("link")));
    EXPECT_FALSE(world.files().isExecutableFile(world.home("text")));
    EXPECT_FALSE(world.files().isExecutableFile(world.home("folder")));
  });
}

TEST_P(LookingAtItems, ListsOneLevelHiddenNamesIncluded) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/.hidden"));
    world.addFile(world.home("a/folder/deeper"));
    world.addLink(world.home("a/link"), "nowhere");
    world.addLink(world.home("to a"), "a");
    for (const char* name : {"a", "to a", "a/"}) {
      auto names = world.files().contentsOfDirectory(world.home(name));
      ASSERT_TRUE(names.has_value()) << name;
      std::sort(names->begin(), names->end());
      EXPECT_EQ(*names, (Lines{".hidden", "folder", "link"}));
    }
  });
}

TEST_P(LookingAtItems, TellsWhatMayBeWritten) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("file"));
    world.addFile(world.home("folder/closed"));
    world.setWritable(world.home("folder/closed"), false);
    world.addLink(world.home("to-file"), "file");
    world.addLink(world.home("to-closed"), "folder/closed");
    world.addLink(world.home("dangling"), "nowhere");
    for (const std::string name : {"file", "folder", "folder/", "to-file"})
      EXPECT_TRUE(world.files().isWritableFile(world.home(name))) << name;
    for (const std::string name : {"folder/closed", "to-closed", "dangling", "none", "file/none"})
      EXPECT_FALSE(world.files().isWritableFile(world.home(name))) << name;
    for (const std::string& path :
         {world.readOnly("file"), std::string(), std::string("home"), std::string("/a\0b", 4)})
      EXPECT_FALSE(world.files().isWritableFile(path)) << path;
    world.setWritable(world.home("folder"), false);
    EXPECT_FALSE(world.files().isWritableFile(world.home("folder")));
    world.setWritable(world.home("folder"), true);
    world.setSearchable(world.home("folder"), false);
    EXPECT_FALSE(world.files().isWritableFile(world.home("folder/closed")));
    world.setSearchable(world.home("folder"), true);
  });
}

TEST_P(LookingAtItems, LeavesCreationDatesAsTheyAre) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("file"));
    world.addLink(world.home("link"), "nowhere");
    const std::chrono::system_clock::time_point date{};
    expectFailure(world.files().setCreationDate(world.home("file"), date), ENOTSUP);
    expectFailure(world.files().setCreationDate(world.home("link"), date), ENOTSUP);
    expectFailure(world.files().setCreationDate(world.home("none"), date), ENOENT);
    expectFailure(world.files().setCreationDate(world.home("file/none"), date), ENOTDIR);
  });
}

TEST_P(LookingAtItems, ListsNothingOfAnEmptyFolderAndNilOfWhatCannotBeListed) {
  inWorld([](FileWorld& world) {
    world.addFolder(world.home("empty"));
    world.addFile(world.home("file"));
    world.addFile(world.home("secret/file"));
    world.setReadable(world.home("secret"), false);
    EXPECT_EQ(world.files().contentsOfDirectory(world.home("empty")), Lines{});
    EXPECT_EQ(world.files().contentsOfDirectory(world.home("file")), std::nullopt);
    EXPECT_EQ(world.files().contentsOfDirectory(world.home("secret")), std::nullopt);
  });
}

TEST_P(LookingAtItems, ListsAnyBytesInNames) {
  inWorld([](FileWorld& world) {
    Lines expected = oddNames(world);
    for (const auto& name : expected) world.addFile(world.home("a/" + name));
    auto names = world.files().contentsOfDirectory(world.home("a"));
    ASSERT_TRUE(names.has_value());
    std::sort(names->begin(), names->end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(*names, expected);
  });
}

/// The entries of a visit, as "name type size".
Lines visited(FileWorld& world, const std::string& folder, platform::EntrySizes sizes) {
  Lines lines;
  world.files().visitDirectory(folder, sizes, [&](const platform::DirectoryEntry& entry) {
    lines.push_back(std::string(entry.name) + " " + std::to_string(static_cast<int>(entry.type)) + " " +
                    std::to_string(entry.size));
  });
  std::sort(lines.begin(), lines.end());
  return lines;
}

TEST_P(LookingAtItems, VisitsEntriesWithWhatTheyAre) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/file"), "12345");
    world.addFile(world.home("a/.hidden"));
    world.addFile(world.home("a/folder/inside"), "1");
    world.addLink(world.home("a/link"), "file");
    world.addLink(world.home("a/dangling"), "nowhere");
    world.addLink(world.home("to-a"), "a");
    const Lines sized = {".hidden 0 0", "dangling 2 7", "file 0 5", "folder 1 0", "link 2 4"};
    for (const std::string name : {"a", "a/", "to-a"})
      EXPECT_EQ(visited(world, world.home(name), platform::EntrySizes::Yes), sized) << name;
    const Lines kinds = visited(world, world.home("a"), platform::EntrySizes::No);
    ASSERT_EQ(kinds.size(), sized.size());
    for (std::size_t i = 0; i < kinds.size(); ++i) {
      EXPECT_EQ(kinds[i].substr(0, kinds[i].rfind(' ')), sized[i].substr(0, sized[i].rfind(' ')));
    }
  });
}

TEST_P(LookingAtItems, VisitsEntriesInTheOrderOfTheListing) {
  inWorld([](FileWorld& world) {
    for (int i = 0; i < 50; ++i) world.addFile(world.home("a/" + std::to_string(i * 7919 % 1000)));
    Lines names;
    world.files().visitDirectory(world.home("a"), platform::EntrySizes::No,
                                 [&](const platform::DirectoryEntry& entry) { names.emplace_back(entry.name); });
    EXPECT_EQ(world.files().contentsOfDirectory(world.home("a")), names);
    EXPECT_EQ(names.size(), 50U);
  });
}

TEST_P(LookingAtItems, VisitsNothingThatCannotBeListedOrReached) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("file"));
    world.addFile(world.home("secret/file"));
    world.addFile(world.home("secret/folder/file"));
    for (const auto sizes : {platform::EntrySizes::No, platform::EntrySizes::Yes}) {
      for (const auto& path : {world.home("file"), world.home("none"), std::string(), tooLongPath(world.home())})
        EXPECT_EQ(visited(world, path, sizes), Lines{}) << path;
      world.setReadable(world.home("secret"), false);
      EXPECT_EQ(visited(world, world.home("secret"), sizes), Lines{});
      world.setReadable(world.home("secret"), true);
      world.setSearchable(world.home("secret"), false);
      EXPECT_EQ(visited(world, world.home("secret"), sizes), Lines{});
      world.setSearchable(world.home("secret"), true);
      EXPECT_EQ(visited(world, world.home("secret"), sizes).size(), 2U);
    }
  });
}

TEST_P(LookingAtItems, TellsKindSizeAndDate) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("file"), "12345");
    world.addFolder(world.home("folder"));
    world.addLink(world.home("link"), "file");
    world.setModificationDate(world.home("file"), 1'500'000'000);
    const auto file = world.files().attributesOfItem(world.home("file"));
    ASSERT_TRUE(file.has_value());
    EXPECT_EQ(file->type, FileType::Regular);
    EXPECT_EQ(file->size, 5U);
    EXPECT_EQ(file->modificationDate.time_since_epoch(), std::chrono::seconds(1'500'000'000));
    EXPECT_EQ(world.files().attributesOfItem(world.home("folder"))->type, FileType::Directory);
    const auto link = world.files().attributesOfItem(world.home("link"));
    EXPECT_EQ(link->type, FileType::SymbolicLink);
    EXPECT_EQ(link->size, 4U);
  });
}

TEST_P(LookingAtItems, AnswersTheTargetOfALinkAsItIsWritten) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("file"));
    world.addLink(world.home("one"), "../home//./file");
    world.addLink(world.home("two"), "one");
    EXPECT_EQ(world.files().destinationOfSymbolicLink(world.home("one")), "../home//./file");
    EXPECT_EQ(world.files().destinationOfSymbolicLink(world.home("two")), "one");
    EXPECT_EQ(world.files().destinationOfSymbolicLink(world.home("file")), std::nullopt);
    EXPECT_EQ(world.files().destinationOfSymbolicLink(world.home()), std::nullopt);
  });
}

}  // namespace
}  // namespace qm::testing
