// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Removal.h"

#include <algorithm>
#include <cerrno>

#include "tests/unit/remove/CommandTest.h"

namespace qm::testing {
namespace {

using removal::Outcome;
using removal::Removal;
using removal::ReportItem;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::SizeIs;

TEST_F(Command, LooksWithoutChangingAnything) {
  installProduct(fakes.disk);
  const Strings before = fakes.disk.tree();
  Removal removal = removalFor({kCaller});
  removal.look();
  EXPECT_EQ(fakes.disk.tree(), before);
  EXPECT_TRUE(removal.hasAnythingToDo());
  const auto items = removal.items();
  EXPECT_THAT(items, SizeIs(kItems.size() + 1));
  EXPECT_EQ(at(items, kItems[0]).outcome, Outcome::Goes);
  EXPECT_EQ(at(items, kItems[0]).kind, ItemKind::Folder);
  EXPECT_EQ(at(items, kItems[0]).bytes, qm::testing::witness(0).size());
  EXPECT_EQ(at(items, kItems[0]).user, std::nullopt);
  EXPECT_EQ(at(items, kItems[0]).trashOf, "u");
  EXPECT_EQ(at(items, kItems[3]).user, "u");
}

TEST_F(Command, HasNothingToDoWhereNothingIsThere) {
  installNeighbours(fakes.disk);
  fakes.disk.remove(kFolder);
  Removal removal = removalFor({kCaller}, RemoveConfig::Yes);
  removal.look();
  EXPECT_FALSE(removal.hasAnythingToDo());
  EXPECT_THAT(outcomesOf(removal.items()), Each(Outcome::NotThere));
}

TEST_F(Command, KeepsPreferencesUnlessTheyAreWanted) {
  installProduct(fakes.disk);
  Removal removal = removalFor({kCaller});
  const auto items = run(removal);
  for (std::size_t index = 0; index < kItems.size(); ++index) {
    const ReportItem item = at(items, kItems[index]);
    EXPECT_EQ(item.outcome, isPreference(index) ? Outcome::Kept : Outcome::Trashed) << kItems[index];
    EXPECT_EQ(item.reason, isPreference(index) ? "Preferences are moved only with --preferences." : "");
    EXPECT_EQ(fakes.disk.has(kItems[index]), isPreference(index));
  }
  EXPECT_EQ(at(items, kFolder).outcome, Outcome::Removed);
  Removal again = removalFor({kCaller}, RemoveConfig::Yes);
  run(again);
  EXPECT_FALSE(fakes.disk.has(kItems[4]));
}

TEST_F(Command, TellsOfEachItemBeforeItGoesAndFlushesAtTheEnd) {
  installItem(fakes.disk, 1);
  installItem(fakes.disk, 3);
  Removal removal = removalFor({kCaller});
  run(removal);
  EXPECT_THAT(seen, ElementsAre(kItems[1], kItems[3]));
  EXPECT_TRUE(fakes.calls.indexOf("trash.makeDurable") > fakes.calls.indexOf("trash.recycle"));
}

TEST_F(Command, KeepsTheMakersFolderWithSomethingElseInIt) {
  installProduct(fakes.disk);
  installNeighbours(fakes.disk);
  Removal removal = removalFor({kCaller});
  removal.look();
  EXPECT_EQ(at(removal.items(), kFolder).outcome, Outcome::Goes);
  EXPECT_EQ(at(removal.items(), kFolder).reason, "It is removed if nothing else is in it.");
  removal.run([] { return false; }, [](const std::string&, std::size_t, std::size_t) {});
  EXPECT_EQ(at(removal.items(), kFolder).outcome, Outcome::Kept);
  EXPECT_EQ(at(removal.items(), kFolder).reason, "Something is in it.");
  Removal again = removalFor({kCaller});
  again.look();
  EXPECT_EQ(at(again.items(), kFolder).outcome, Outcome::Kept);
  EXPECT_FALSE(again.hasAnythingToDo());
}

TEST_F(Command, RemovesTheMakersFolderWhereOnlyThatIsLeft) {
  fakes.disk.addFile(kFolder + "/.DS_Store");
  Removal removal = removalFor({kCaller});
  EXPECT_EQ(at(run(removal), kFolder).outcome, Outcome::Removed);
  EXPECT_FALSE(fakes.disk.has(kFolder));
}

TEST_F(Command, AsksNobodyForRightsAndSaysThatTheyAreMissing) {
  installItem(fakes.disk, 1);
  fakes.calls.setFailure(EACCES, "You may not.");
  fakes.calls.failAlways("trash.recycle");
  Removal removal = removalFor({kCaller});
  const ReportItem item = at(run(removal), kItems[1]);
  EXPECT_EQ(item.outcome, Outcome::Stayed);
  EXPECT_TRUE(item.needsRights);
  EXPECT_EQ(item.reason, "Not authorized: You may not.");
  EXPECT_EQ(item.trashOf, std::nullopt);
  EXPECT_THAT(fakes.calls.everything(), Each(Not(::testing::StartsWith("authorization.copyRights"))));
  EXPECT_TRUE(fakes.disk.has(kItems[1]));
}

TEST_F(Command, GivesTheReasonThatNoRightsWouldChange) {
  installItem(fakes.disk, 1);
  fakes.calls.setFailure(EBUSY, "It is busy.");
  fakes.calls.failAlways("trash.recycle");
  Removal removal = removalFor({kCaller});
  const ReportItem item = at(run(removal), kItems[1]);
  EXPECT_EQ(item.outcome, Outcome::Stayed);
  EXPECT_FALSE(item.needsRights);
  EXPECT_EQ(item.reason, "It is busy.");
}

TEST_F(Command, SaysThatTheMakersFolderStayedForWantOfRights) {
  fakes.disk.addFolder(kFolder);
  fakes.calls.failAlways("fileSystem.removeHollowFolder");
  Removal removal = removalFor({kCaller});
  const ReportItem folder = at(run(removal), kFolder);
  EXPECT_EQ(folder.outcome, Outcome::Stayed);
  EXPECT_TRUE(folder.needsRights);
  EXPECT_EQ(folder.reason, "Not authorized: It couldn’t be removed.");
}

TEST_F(Command, WorksForOnePersonAfterTheOther) {
  actAsRoot();
  installCaches(fakes.disk, "/home/u");
  installCaches(fakes.disk, "/home/v");
  installItem(fakes.disk, 1);
  Removal removal = removalFor({kCaller, {502, 502, "v", "/home/v"}});
  const auto items = run(removal);
  EXPECT_EQ(at(items, "/home/u/Library/Caches/com.quillmark.tessaly").trashOf, "u");
  EXPECT_EQ(at(items, "/home/v/Library/Caches/com.quillmark.tessaly").trashOf, "v");
  EXPECT_EQ(at(items, kItems[1]).trashOf, "u");
  EXPECT_TRUE(fakes.disk.has(kTrashFiles + "/com.quillmark.tessaly"));
  EXPECT_TRUE(fakes.disk.has(kTrashFiles + "/Tessaly.app"));
  EXPECT_TRUE(fakes.disk.has("/home/v/.local/share/Trash/files/com.quillmark.tessaly"));
}

TEST_F(Command, LeavesPersonsAloneWhereNobodyIsConcerned) {
  actAsRoot();
  installProduct(fakes.disk);
  Removal removal = removalFor({});
  const auto items = run(removal);
  EXPECT_FALSE(fakes.disk.has(kItems[0]));
  EXPECT_TRUE(fakes.disk.has(kItems[3]));
  EXPECT_EQ(at(items, kItems[0]).trashOf, "root");
  EXPECT_TRUE(fakes.disk.has("/root/.local/share/Trash/files/Tessaly.app"));
}

/// A system that starts agents of users, and has a tool that ends them.
class CommandWithAgents : public Command {
 protected:
  CommandWithAgents() {
    launchControlTool = "/bin/launchctl";
    fakes.disk.addExecutable(launchControlTool);
  }
};

TEST_F(CommandWithAgents, EndsEachAgentBeforeItsFileGoes) {
  installItem(fakes.disk, 8);
  bool wasThere = false;
  fakes.tasks.script("/bin/launchctl", {.effect = [&](const auto&) { wasThere = fakes.disk.has(kItems[8]); }});
  Removal removal = removalFor({kCaller});
  EXPECT_EQ(at(run(removal), kItems[8]).outcome, Outcome::Trashed);
  EXPECT_THAT(fakes.tasks.launches(),
              ElementsAre(ElementsAre("/bin/launchctl", "bootout", "gui/501/com.quillmark.Tessaly")));
  EXPECT_TRUE(wasThere);
  EXPECT_FALSE(fakes.disk.has(kItems[8]));
}

TEST_F(CommandWithAgents, EndsAgentsInTheSessionOfTheirUser) {
  actAsRoot();
  fakes.disk.addFile("/home/v/Library/LaunchAgents/com.quillmark.Tessaly.plist");
  Removal removal = removalFor({kCaller, {502, 502, "v", "/home/v"}});
  run(removal);
  EXPECT_THAT(fakes.tasks.launches(),
              ElementsAre(ElementsAre("/bin/launchctl", "bootout", "gui/502/com.quillmark.Tessaly")));
}

TEST_F(CommandWithAgents, MovesTheFileOfAnAgentThatCannotBeEnded) {
  installItem(fakes.disk, 8);
  fakes.calls.failAlways("tasks.launch");
  Removal removal = removalFor({kCaller});
  EXPECT_EQ(at(run(removal), kItems[8]).outcome, Outcome::Trashed);
}

TEST_F(Command, BeginsNothingWhenTheTimeIsUp) {
  installItem(fakes.disk, 0);
  installItem(fakes.disk, 1);
  Removal removal = removalFor({kCaller});
  removal.look();
  int asked = 0;
  removal.run([&] { return asked++ > 0; }, [](const std::string&, std::size_t, std::size_t) {});
  EXPECT_EQ(at(removal.items(), kItems[0]).outcome, Outcome::Trashed);
  EXPECT_EQ(at(removal.items(), kItems[1]).outcome, Outcome::Stayed);
  EXPECT_EQ(at(removal.items(), kItems[1]).reason, "The time limit ended before its turn.");
  EXPECT_EQ(at(removal.items(), kFolder).outcome, Outcome::Stayed);
  EXPECT_TRUE(fakes.disk.has(kItems[1]));
}

TEST_F(Command, SaysWhatHasNotGoneWhenItIsGivenUp) {
  installItem(fakes.disk, 1);
  Removal removal = removalFor({kCaller});
  removal.look();
  const ReportItem item = at(removal.itemsWhenGivenUp(), kItems[1]);
  EXPECT_EQ(item.outcome, Outcome::Stayed);
  EXPECT_EQ(item.reason, "The time limit ended before it was moved.");
  EXPECT_EQ(item.trashOf, std::nullopt);
  EXPECT_EQ(at(removal.itemsWhenGivenUp(), kItems[0]).outcome, Outcome::NotThere);
}

TEST_F(Command, TakesWhatVanishedMeanwhileForNotThere) {
  installItem(fakes.disk, 1);
  Removal removal = removalFor({kCaller});
  removal.look();
  fakes.disk.remove(kItems[1]);
  removal.run([] { return false; }, [](const std::string&, std::size_t, std::size_t) {});
  EXPECT_EQ(at(removal.items(), kItems[1]).outcome, Outcome::NotThere);
}

}  // namespace
}  // namespace qm::testing
