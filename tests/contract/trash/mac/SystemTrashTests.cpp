// SPDX-License-Identifier: MIT

// A Mac's Trash itself, on a volume that the tests are given: it has a Trash of its own for each user.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Platform/macos/MacServices.h"
#include "tests/contract/files/FileCases.h"
#include "tests/fakes/FakePlatform.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;
using platform::MissingFolders;
using platform::Recycled;
using platform::TrashedItem;
using ::testing::SizeIs;

/// The user's Trash and that of the volume. At the end the items that a case has put there are removed.
class Trashes {
 public:
  explicit Trashes(FileWorld& world) : world_(world) {
    fakes_.users.setRealUserId(::getuid());
    world_.addFolder(own());
  }
  Trashes(const Trashes&) = delete;
  Trashes& operator=(const Trashes&) = delete;
  ~Trashes() {
    for (const std::string& item : stored_) fs::remove_all(item);
  }

  std::string folder() const { return world_.mountPoint() + "/.Trashes/" + std::to_string(::getuid()); }

  Recycled recycle(const std::string& name) {
    Recycled recycled = trash_->recycleItems(world_.volume(), own(), {name});
    stored_.insert(stored_.end(), recycled.paths.begin(), recycled.paths.end());
    return recycled;
  }
  std::vector<TrashedItem> itemsFrom(const std::string& name) {
    const auto found = trash_->itemsFrom(world_.volume(name), own());
    EXPECT_TRUE(found.status) << found.status.localizedDescription();
    return found.items;
  }
  platform::Status putBack(const TrashedItem& item) { return trash_->putBack(item, own(), MissingFolders::Fail); }

 private:
  /// An empty folder takes the place of the user's own Trash.
  std::string own() const { return world_.home("Trash"); }

  FileWorld& world_;
  std::vector<std::string> stored_;
  FakePlatform fakes_;
  const std::unique_ptr<platform::Trash> trash_ =
      macos::makeTrash(fakes_.users, fakes_.clock, fakes_.console, "com.example");
};

void onVolume(const std::function<void(FileWorld& world, Trashes& trashes)>& body) {
  runInRealWorld([&](FileWorld& world) {
    Trashes trashes(world);
    body(world, trashes);
  });
}

TEST(SystemTrash, TakesAFileAndTellsWhere) {
  onVolume([](FileWorld& world, Trashes& trashes) {
    world.addFile(world.volume("a.txt"), "text");
    const Recycled recycled = trashes.recycle("a.txt");
    expectSuccess(recycled.status);
    EXPECT_FALSE(world.has(world.volume("a.txt")));
    ASSERT_THAT(recycled.paths, SizeIs(1));
    EXPECT_EQ(fs::path(recycled.paths.front()).parent_path(), fs::path(trashes.folder()));
    EXPECT_EQ(world.contents(recycled.paths.front()), "text");
  });
}

TEST(SystemTrash, TakesAFolderWithAllThatIsInIt) {
  onVolume([](FileWorld& world, Trashes& trashes) {
    world.addFile(world.volume("Stuff/inner/a"), "deep");
    const Recycled recycled = trashes.recycle("Stuff");
    expectSuccess(recycled.status);
    ASSERT_THAT(recycled.paths, SizeIs(1));
    EXPECT_EQ(world.contents(recycled.paths.front() + "/inner/a"), "deep");
    EXPECT_EQ(world.tree(world.volume()), Lines{});
  });
}

TEST(SystemTrash, TakesALinkAndNotItsTarget) {
  onVolume([](FileWorld& world, Trashes& trashes) {
    world.addFile(world.volume("target"), "stays");
    world.addLink(world.volume("link"), "target");
    expectSuccess(trashes.recycle("link").status);
    EXPECT_EQ(world.tree(world.volume()), Lines{"target"});
    EXPECT_EQ(world.contents(world.volume("target")), "stays");
  });
}

TEST(SystemTrash, KeepsBothWhenNamesClash) {
  onVolume([](FileWorld& world, Trashes& trashes) {
    Lines stored;
    for (const std::string text : {"first", "second"}) {
      world.addFile(world.volume("a.txt"), text);
      const Recycled recycled = trashes.recycle("a.txt");
      expectSuccess(recycled.status);
      ASSERT_THAT(recycled.paths, SizeIs(1));
      stored.push_back(recycled.paths.front());
    }
    EXPECT_EQ(world.contents(stored.front()), "first");
    EXPECT_EQ(world.contents(stored.back()), "second");
  });
}

TEST(SystemTrash, FailsWhereNothingIs) {
  onVolume([](FileWorld&, Trashes& trashes) {
    const Recycled recycled = trashes.recycle("none");
    expectFailure(recycled.status, ENOENT);
    EXPECT_THAT(recycled.paths, SizeIs(0));
  });
}

TEST(SystemTrash, LeavesAnItemWhoseFolderMayNotBeChanged) {
  onVolume([](FileWorld& world, Trashes& trashes) {
    world.addFile(world.volume("a.txt"), "text");
    world.setWritable(world.volume(), false);
    EXPECT_FALSE(trashes.recycle("a.txt").status);
    world.setWritable(world.volume(), true);
    EXPECT_EQ(world.contents(world.volume("a.txt")), "text");
  });
}

TEST(SystemTrash, GivesAnItemBackThatIsFoundByWhereItCameFrom) {
  onVolume([](FileWorld& world, Trashes& trashes) {
    world.addFile(world.volume("a.txt"), "text");
    expectSuccess(trashes.recycle("a.txt").status);
    const std::vector<TrashedItem> items = trashes.itemsFrom("a.txt");
    ASSERT_THAT(items, SizeIs(1));
    EXPECT_EQ(items.front().deletionDate, "2024-02-29T23:05:07");
    expectSuccess(trashes.putBack(items.front()));
    EXPECT_EQ(world.contents(world.volume("a.txt")), "text");
    EXPECT_THAT(trashes.itemsFrom("a.txt"), SizeIs(0));
  });
}

TEST(SystemTrash, ReplacesNothingOnTheWayBack) {
  onVolume([](FileWorld& world, Trashes& trashes) {
    world.addFile(world.volume("a.txt"), "old");
    expectSuccess(trashes.recycle("a.txt").status);
    world.addFile(world.volume("a.txt"), "new");
    const std::vector<TrashedItem> items = trashes.itemsFrom("a.txt");
    ASSERT_THAT(items, SizeIs(1));
    expectFailure(trashes.putBack(items.front()), EEXIST);
    EXPECT_EQ(world.contents(world.volume("a.txt")), "new");
    EXPECT_EQ(world.contents(items.front().path), "old");
  });
}

}  // namespace
}  // namespace qm::testing
