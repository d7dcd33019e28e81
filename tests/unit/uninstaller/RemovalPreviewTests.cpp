// SPDX-License-Identifier: MIT
#include "Uninstaller/RemovalPreview.h"

#include "tests/unit/uninstaller/AppControllerTest.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// A machine on which thread bodies run when the test says so, and a preview that records what it is shown.
class APreview : public PlatformTest {
 protected:
  APreview() { fakes.threads.keepBodies(); }

  void lookToTheEnd() {
    preview.look();
    EXPECT_EQ(fakes.threads.runKept(), 1U);
    fakes.mainThread.pump();
  }
  std::vector<PreviewRow> lastRows(RemoveConfig removeConfig) const { return previewRows(shown.back(), removeConfig); }
  std::string lastSummary(RemoveConfig removeConfig) const { return previewSummary(shown.back(), removeConfig); }

  std::vector<Preview> shown;
  RemovalPreview preview{[this](const Preview& each) { shown.push_back(each); }};
};

TEST_F(APreview, ListsWhatIsThereWithItsSizeInTheOrderOfTheRun) {
  fakes.disk.addFile(kItems[0] + "/Contents/data", "12345");
  fakes.disk.addFile(kItems[8], "123");
  lookToTheEnd();
  EXPECT_THAT(lastRows(RemoveConfig::No), ElementsAre(PreviewRow{kItems[0], "5 B"}, PreviewRow{kItems[8], "3 B"}));
  EXPECT_EQ(lastSummary(RemoveConfig::No), "2 items, 8 B");
}

TEST_F(APreview, HasThePreferencesWhereTheyGoOnly) {
  fakes.disk.addFile(kItems[1] + "/Contents/data", "12");
  fakes.disk.addFile(kItems[4], "123");
  lookToTheEnd();
  EXPECT_THAT(lastRows(RemoveConfig::No), ElementsAre(PreviewRow{kItems[1], "2 B"}));
  EXPECT_EQ(lastSummary(RemoveConfig::No), "1 item, 2 B");
  EXPECT_THAT(lastRows(RemoveConfig::Yes), ElementsAre(PreviewRow{kItems[1], "2 B"}, PreviewRow{kItems[4], "3 B"}));
  EXPECT_EQ(lastSummary(RemoveConfig::Yes), "2 items, 5 B");
}

TEST_F(APreview, SaysThatNothingIsThere) {
  lookToTheEnd();
  EXPECT_THAT(lastRows(RemoveConfig::Yes), IsEmpty());
  EXPECT_EQ(lastSummary(RemoveConfig::Yes), "Nothing of Tessaly is here.");
}

TEST_F(APreview, GivesALinkNoSize) {
  fakes.disk.addFile("/elsewhere/data", "12345");
  fakes.disk.addLink(kItems[1], "/elsewhere");
  lookToTheEnd();
  EXPECT_THAT(lastRows(RemoveConfig::No), ElementsAre(PreviewRow{kItems[1], ""}));
}

TEST_F(APreview, ShowsTheItemsFirstAndEachSizeAsItIsKnown) {
  fakes.disk.addFile(kItems[0] + "/Contents/data", "12345");
  fakes.disk.addFile(kItems[8], "123");
  lookToTheEnd();
  ASSERT_THAT(shown, SizeIs(3));
  EXPECT_EQ(previewSummary(shown[0], RemoveConfig::No), "2 items");
  EXPECT_THAT(previewRows(shown[0], RemoveConfig::No),
              ElementsAre(PreviewRow{kItems[0], ""}, PreviewRow{kItems[8], ""}));
  EXPECT_THAT(previewRows(shown[1], RemoveConfig::No),
              ElementsAre(PreviewRow{kItems[0], "5 B"}, PreviewRow{kItems[8], ""}));
}

TEST_F(APreview, ShowsNoControlCharactersOfAPath) {
  const ProductItem item{ItemFolder::Applications, ItemOwner::Computer, "x", ItemCondition::Always};
  const Preview steered{{{.item = &item, .path = "/a\nb\x1b[1m"}}, 0};
  EXPECT_THAT(previewRows(steered, RemoveConfig::No), ElementsAre(PreviewRow{"/a?b?[1m", ""}));
}

TEST_F(APreview, ShowsTheItemsWithoutSizesWhereThereIsNoThread) {
  installProduct(fakes.disk);
  fakes.calls.failNext("threads.detachNewThread");
  preview.look();
  ASSERT_THAT(shown, SizeIs(1));
  EXPECT_EQ(lastSummary(RemoveConfig::Yes), "12 items");
}

TEST_F(APreview, ShowsNothingMoreOnceItIsAbandoned) {
  installProduct(fakes.disk);
  preview.look();
  EXPECT_EQ(fakes.threads.runKept(), 1U);
  preview.abandon();
  EXPECT_GT(fakes.mainThread.pump(), 0U);
  EXPECT_THAT(shown, IsEmpty());
}

TEST_F(APreview, IsAbandonedByItsEnd) {
  installProduct(fakes.disk);
  {
    RemovalPreview([](const Preview&) { FAIL() << "nobody is there to be shown it"; }).look();
  }
  EXPECT_EQ(fakes.threads.runKept(), 1U);
  EXPECT_GT(fakes.mainThread.pump(), 0U);
}

TEST_F(APreview, MeasuresNothingMoreOnceItIsAbandoned) {
  installProduct(fakes.disk);
  int measured = 0;
  RemovalPreview another([](const Preview&) {},
                         [&](PlannedItem&) {
                           ++measured;
                           another.abandon();
                         });
  another.look();
  fakes.threads.runKept();
  EXPECT_EQ(measured, 1);
}

TEST_F(APreview, ForgetsTheLookBeforeWhenItLooksAnew) {
  preview.look();
  installItem(fakes.disk, 1);
  preview.look();
  EXPECT_EQ(fakes.threads.runKept(), 2U);
  fakes.mainThread.pump();
  EXPECT_THAT(shown, SizeIs(2));  // of the second one: the item, and its size
}

TEST_F(APreview, ChangesNothing) {
  installProduct(fakes.disk);
  lookToTheEnd();
  EXPECT_THAT(fakes.calls.log(), ElementsAre("threads.detachNewThread()"));
  EXPECT_THAT(fakes.console.lines(), IsEmpty());
}

}  // namespace
}  // namespace qm::testing
