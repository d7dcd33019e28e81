// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Restoring.h"

#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/unit/remove/CommandTest.h"

namespace qm::testing {
namespace {

using posix::UserRecord;
using removal::Outcome;
using removal::Removal;
using removal::ReportItem;
using removal::Restoring;
using removal::RunRecordFile;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const UserRecord kOther{502, 502, "v", "/home/v"};
const std::string kInTrash = kTrashFiles + "/Tessaly.app";

/// The command with a record on the real disk; everything else is fake.
class WayBack : public Command {
 protected:
  WayBack() {
    std::string pattern = ::testing::TempDir() + "wayXXXXXX";
    top_ = ::mkdtemp(pattern.data());
  }
  ~WayBack() override { std::filesystem::remove_all(top_); }

  RunRecordFile memory() const { return {::getuid(), top_ + "/memory"}; }

  void remove(const std::vector<UserRecord>& persons) {
    Removal removal = removalFor(persons, RemoveConfig::Yes);
    removal.look();
    RunRecordFile remembered = memory();
    ASSERT_EQ(remembered.begin(removal.toRemember().value()), 0);
    removal.rememberIn(remembered);
    removal.run([] { return false; }, [](const std::string&, std::size_t, std::size_t) {});
  }

  std::vector<ReportItem> look() {
    RunRecordFile remembered = memory();
    Restoring restoring(users, remembered, runs(), persons());
    restoring.look();
    return restoring.items();
  }

  std::vector<ReportItem> putBack() {
    RunRecordFile remembered = memory();
    Restoring restoring(users, remembered, runs(), persons());
    restoring.look();
    if (restoring.hasAnythingToDo()) {
      restoring.run([] { return false; },
                    [this](const std::string& path, std::size_t, std::size_t) { seen.push_back(path); });
    }
    return restoring.items();
  }

  std::vector<removal::RunRecord> runs() const {
    std::vector<removal::RunRecord> all;
    EXPECT_EQ(memory().read(all), 0);
    for (const auto& change : changes) change(all);
    return all;
  }

  Restoring::Persons persons() const {
    return {named(), [this](const UserRecord&, const std::string& path) { return path != closed; }};
  }

  std::function<std::optional<UserRecord>(const std::string&)> named() const {
    return [this](const std::string& name) -> std::optional<UserRecord> {
      for (const UserRecord& account : accounts) {
        if (account.name == name) return account;
      }
      return std::nullopt;
    };
  }

  /// The accounts of the machine on which the test runs are not those of the case.
  void rememberOwners() {
    changes.push_back([this](std::vector<removal::RunRecord>& all) {
      for (auto& run : all) {
        for (auto& item : run.items) item.trashOwner = named()(item.trashOf).value_or(UserRecord()).id;
      }
    });
  }

  std::string closed;
  std::vector<UserRecord> accounts{{0, 0, "root", "/root"}, kCaller, kOther};
  std::vector<std::function<void(std::vector<removal::RunRecord>&)>> changes;

 private:
  std::string top_;
};

TEST_F(WayBack, LeadsNowhereWhereNothingIsRemembered) { EXPECT_THAT(putBack(), IsEmpty()); }

TEST_F(WayBack, IsShownWithoutChangingAnything) {
  installItem(fakes.disk, 1);
  remove({kCaller});
  const Strings before = fakes.disk.tree();
  const ReportItem item = at(look(), kItems[1]);
  EXPECT_EQ(item.outcome, Outcome::ComesBack);
  EXPECT_EQ(item.trashOf, "u");
  EXPECT_EQ(item.trashedTo, kInTrash);
  EXPECT_EQ(item.kind, ItemKind::Folder);
  EXPECT_EQ(item.bytes, qm::testing::witness(1).size());
  EXPECT_EQ(fakes.disk.tree(), before);
}

TEST_F(WayBack, LeadsEachItemToItsPlaceAndIsForgotten) {
  for (const std::size_t index : {1U, 3U, 4U}) installItem(fakes.disk, index);
  const Strings before = fakes.disk.tree();
  remove({kCaller});
  EXPECT_THAT(putBack(), Each(Field(&ReportItem::outcome, Outcome::Restored)));
  EXPECT_THAT(seen, ElementsAre(kItems[1], kItems[3], kItems[4]));
  for (const std::string& path : before) EXPECT_THAT(fakes.disk.tree(), ::testing::Contains(path));
  EXPECT_TRUE(fakes.calls.indexOf("trash.makeDurable") < fakes.calls.indexOf("trash.putBack") ||
              fakes.calls.count("trash.makeDurable()") == 2U);
  EXPECT_THAT(putBack(), IsEmpty());
}

TEST_F(WayBack, OverwritesNothing) {
  installItem(fakes.disk, 1);
  remove({kCaller});
  fakes.disk.addFile(kItems[1], "new");
  const ReportItem item = at(putBack(), kItems[1]);
  EXPECT_EQ(item.outcome, Outcome::Stayed);
  EXPECT_EQ(item.reason, "Something else is there now.");
  EXPECT_EQ(item.trashedTo, kInTrash);
  EXPECT_FALSE(item.needsRights);
  EXPECT_EQ(fakes.disk.fileContents(kItems[1]), "new");
}

TEST_F(WayBack, SaysWhyAnItemStays) {
  installItem(fakes.disk, 1);
  installItem(fakes.disk, 3);
  remove({kCaller});
  fakes.calls.setFailure(EACCES, "You may not.");
  fakes.calls.failNext("trash.putBack");
  const auto items = putBack();
  EXPECT_EQ(at(items, kItems[1]).outcome, Outcome::Stayed);
  EXPECT_EQ(at(items, kItems[1]).reason, "You may not.");
  EXPECT_TRUE(at(items, kItems[1]).needsRights);
  EXPECT_EQ(at(items, kItems[3]).outcome, Outcome::Restored);
  const auto again = putBack();
  EXPECT_EQ(at(again, kItems[1]).outcome, Outcome::Restored) << "what has come back is not in its way";
  EXPECT_EQ(at(again, kItems[3]).outcome, Outcome::NotThere);
}

TEST_F(WayBack, SaysWhatIsLostAndWhatIsThereAgainAnyhow) {
  installItem(fakes.disk, 1);
  installItem(fakes.disk, 3);
  remove({kCaller});
  fakes.disk.remove(kInTrash);
  fakes.disk.remove(kTrashFiles + "/com.quillmark.tessaly");
  installItem(fakes.disk, 3);
  const auto items = look();
  EXPECT_EQ(at(items, kItems[1]).outcome, Outcome::Lost);
  EXPECT_EQ(at(items, kItems[3]).outcome, Outcome::NotThere);
  EXPECT_EQ(at(items, kItems[3]).reason, "It is not in the Trash any more.");
}

TEST_F(WayBack, SaysWhereTheTrashCouldNotBeLookedAt) {
  installItem(fakes.disk, 1);
  remove({kCaller});
  fakes.calls.setFailure(EIO, "It broke.");
  fakes.calls.failAlways("trash.itemsFrom");
  const ReportItem item = at(look(), kItems[1]);
  EXPECT_EQ(item.outcome, Outcome::Stayed);
  EXPECT_EQ(item.reason, "It broke.");
}

TEST_F(WayBack, IsFoundInTheTrashWhereNothingWasNoted) {
  installItem(fakes.disk, 1);
  remove({kCaller});
  changes.push_back([](auto& runs) { runs.at(0).items.at(0).went = false; });
  changes.push_back([](auto& runs) { runs.at(0).items.at(0).trashedTo.clear(); });
  EXPECT_EQ(at(look(), kItems[1]).outcome, Outcome::ComesBack);
  changes.push_back([](auto& runs) { runs.at(0).began = "2999-01-01T00:00:00"; });
  EXPECT_THAT(look(), IsEmpty()) << "what was in the Trash before that run is none of its items";
}

TEST_F(WayBack, IsThatOfTheLastRunThatChangedAnything) {
  installItem(fakes.disk, 1);
  remove({kCaller});
  installItem(fakes.disk, 3);
  fakes.calls.failNext("trash.recycle");
  remove({kCaller});
  fakes.disk.remove(kItems[3]);
  EXPECT_THAT(look(), SizeIs(1));
  EXPECT_EQ(at(look(), kItems[1]).outcome, Outcome::ComesBack);
}

TEST_F(WayBack, LeadsNothingOutOfTheTrashThatIsNoItemOfTheProduct) {
  installItem(fakes.disk, 1);
  remove({kCaller});
  changes.push_back([](auto& runs) { runs.at(0).items.at(0).user = "u"; });
  EXPECT_EQ(at(look(), kItems[1]).reason, "No item of Tessaly belongs there.");
  EXPECT_EQ(at(look(), kItems[1]).outcome, Outcome::Stayed);
}

TEST_F(WayBack, GoesForRootThroughTheTrashOfEach) {
  actAsRoot();
  installCaches(fakes.disk, "/home/u");
  installCaches(fakes.disk, "/home/v");
  remove({kCaller, kOther});
  rememberOwners();
  EXPECT_EQ(at(look(), "/home/v/Library/Caches/com.quillmark.tessaly").trashOf, "v");
  EXPECT_THAT(putBack(), Each(Field(&ReportItem::outcome, Outcome::Restored)));
  EXPECT_TRUE(fakes.disk.has("/home/v/Library/Caches/com.quillmark.tessaly/data"));
  EXPECT_TRUE(fakes.disk.has("/home/u/Library/Caches/com.quillmark.tessaly/data"));
}

TEST_F(WayBack, BringsRootNoItemOfTheComputersFromAPersonsTrash) {
  actAsRoot();
  installItem(fakes.disk, 1);
  remove({kCaller});
  rememberOwners();
  const ReportItem item = at(putBack(), kItems[1]);
  EXPECT_EQ(item.outcome, Outcome::Stayed);
  EXPECT_EQ(item.reason, "It was in a user’s Trash, and that user may have changed it.");
  EXPECT_FALSE(fakes.disk.has(kItems[1]));
}

TEST_F(WayBack, BringsRootNothingToAPlaceThatIsClosedToThePerson) {
  actAsRoot();
  installCaches(fakes.disk, "/home/v");
  remove({kOther});
  rememberOwners();
  closed = "/home/v/Library/Caches/com.quillmark.tessaly";
  const ReportItem item = at(putBack(), closed);
  EXPECT_EQ(item.outcome, Outcome::Stayed);
  EXPECT_EQ(item.reason, "It is in the Trash of a user who may not write to the folder that it came from.");
  EXPECT_FALSE(fakes.disk.has(closed));
}

TEST_F(WayBack, BringsRootNothingFromTheTrashOfAnotherAccountOfTheSameName) {
  actAsRoot();
  installCaches(fakes.disk, "/home/v");
  remove({kOther});
  rememberOwners();
  changes.push_back([](auto& runs) { runs.at(0).items.at(0).trashOwner = 503; });
  const ReportItem item = at(look(), "/home/v/Library/Caches/com.quillmark.tessaly");
  EXPECT_EQ(item.outcome, Outcome::Stayed);
  EXPECT_EQ(item.reason,
            "It is in the Trash of an account that no longer exists. Another account may have that name now.");
}

TEST_F(WayBack, BeginsNothingWhenTheTimeIsUp) {
  installItem(fakes.disk, 1);
  remove({kCaller});
  RunRecordFile remembered = memory();
  Restoring restoring(users, remembered, runs(), persons());
  restoring.look();
  const ReportItem givenUp = at(restoring.itemsWhenGivenUp(), kItems[1]);
  EXPECT_EQ(givenUp.outcome, Outcome::Stayed);
  EXPECT_EQ(givenUp.reason, "The time limit ended before it was put back.");
  EXPECT_EQ(givenUp.trashOf, "u");
  restoring.run([] { return true; }, [](const std::string&, std::size_t, std::size_t) {});
  EXPECT_EQ(at(restoring.items(), kItems[1]).reason, "The time limit ended before its turn.");
  EXPECT_FALSE(fakes.disk.has(kItems[1]));
}

}  // namespace
}  // namespace qm::testing
