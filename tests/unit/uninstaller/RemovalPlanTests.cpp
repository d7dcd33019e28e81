// SPDX-License-Identifier: MIT
#include "Uninstaller/RemovalPlan.h"

#include <algorithm>

#include "tests/unit/uninstaller/AppControllerTest.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Plan : public PlatformTest {
 protected:
  /// The paths that are to be removed.
  static Strings wanted(const std::vector<PlannedItem>& plan) {
    Strings paths;
    for (const PlannedItem& each : plan) {
      if (each.skip == SkipReason::None) paths.push_back(each.path.value_or("nil"));
    }
    return paths;
  }
  static PlannedItem planOf(std::size_t index) { return removalPlan(RemoveConfig::Yes).at(index); }
};

TEST_F(Plan, NamesEveryItemInTheOrderOfTheRun) {
  installProduct(fakes.disk);
  EXPECT_THAT(wanted(removalPlan(RemoveConfig::Yes)), ElementsAreArray(kItems));
}

TEST_F(Plan, SparesThePreferencesWhereTheyAreToStay) {
  installProduct(fakes.disk);
  const auto plan = removalPlan(RemoveConfig::No);
  ASSERT_THAT(plan, SizeIs(kItems.size()));
  for (std::size_t index = 0; index < kItems.size(); ++index) {
    EXPECT_EQ(plan[index].skip, isPreference(index) ? SkipReason::PreferencesStay : SkipReason::None) << index;
    EXPECT_EQ(plan[index].path, kItems[index]);
  }
}

TEST_F(Plan, SaysThatNothingIsThere) {
  for (const PlannedItem& each : removalPlan(RemoveConfig::Yes)) {
    EXPECT_EQ(each.skip, SkipReason::NotThere);
    EXPECT_EQ(each.bytes, 0U);
  }
}

TEST_F(Plan, MeasuresAFile) {
  fakes.disk.addFile(kItems[8], "12345");
  EXPECT_EQ(planOf(8).kind, ItemKind::File);
  EXPECT_EQ(planOf(8).bytes, 5U);
}

TEST_F(Plan, MeasuresAllFilesInAFolder) {
  fakes.disk.addFile(kItems[0] + "/Contents/a", "123");
  fakes.disk.addFile(kItems[0] + "/Contents/deep/b", "12345");
  fakes.disk.addFile(kItems[0] + "/c", "1");
  EXPECT_EQ(planOf(0).kind, ItemKind::Folder);
  EXPECT_EQ(planOf(0).bytes, 9U);
}

TEST_F(Plan, DoesNotMeasureWhatLinksLeadTo) {
  fakes.disk.addFile("/opt/much/data", "1234567890");
  fakes.disk.addFile(kItems[0] + "/data", "123");
  fakes.disk.addLink(kItems[0] + "/elsewhere", "/opt/much");
  fakes.disk.addLink(kItems[0] + "/itself", kItems[0]);
  fakes.disk.addLink(kItems[1], "/opt/much");
  EXPECT_EQ(planOf(0).bytes, 3U);
  EXPECT_EQ(planOf(1).kind, ItemKind::Link);
  EXPECT_EQ(planOf(1).bytes, 0U);
}

TEST_F(Plan, ChangesNothingAndSaysNothing) {
  installProduct(fakes.disk);
  const Strings before = fakes.disk.tree();
  removalPlan(RemoveConfig::Yes);
  EXPECT_EQ(fakes.disk.tree(), before);
  EXPECT_THAT(fakes.calls.log(), IsEmpty());
  EXPECT_THAT(fakes.console.lines(), IsEmpty());
}

TEST_F(Plan, NamesTheGuardThatSparesAnItem) {
  fakes.disk.addFile("/home/u/build/Release/Tessaly.app");
  fakes.disk.addFile("/Volumes/Disk/Structure/Applications/Tessaly.app");
  fakes.disk.addFile("/home/u/.Trash/Tessaly.app");
  fakes.disk.addFile("/Applications/Tessaly.app");
  EXPECT_EQ(reasonToSkip(std::nullopt), SkipReason::NoFolder);
  EXPECT_EQ(reasonToSkip("/home/u/build/Release/Tessaly.app"), SkipReason::InReleaseFolder);
  EXPECT_EQ(reasonToSkip("/Volumes/Disk/Structure/Applications/Tessaly.app"), SkipReason::InStructureFolder);
  EXPECT_EQ(reasonToSkip("/home/u/.Trash/Tessaly.app"), SkipReason::InTrash);
  EXPECT_EQ(reasonToSkip("/Applications/Other.app"), SkipReason::NotThere);
  EXPECT_EQ(reasonToSkip("/Applications/Tessaly.app"), SkipReason::None);
}

TEST_F(Plan, KnowsTheConsoleUsersItemsAsRoot) {
  fakes.actAsRoot("u");
  installProduct(fakes.disk);
  EXPECT_THAT(wanted(removalPlan(RemoveConfig::Yes)), ElementsAreArray(kItems));
}

TEST_F(Plan, KnowsWhereTheMakersFolderIs) { EXPECT_EQ(makersFolderPath(), kFolder); }

}  // namespace
}  // namespace qm::testing
