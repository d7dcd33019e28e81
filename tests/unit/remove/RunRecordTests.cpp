// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/RunRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qm::removal {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

RunRecord sample() {
  RunRecord run;
  run.began = "2024-02-29T23:05:07";
  run.items = {{std::nullopt, "/Applications/a b\n=%", "root", 0, true, "/.Trash-0/files/a b\n=%", false},
               {"sam", "/home/sam/x", "sam", 1001, false, "", false},
               {"anna", "/home/anna/x", "anna", 1002, true, "", true}};
  run.folder = RememberedFolder{"/Applications/Quillmark", 0, 5, 02775, {-2, 999999999}};
  run.folderWent = true;
  return run;
}

TEST(RememberedRuns, AreReadAsTheyWereWritten) {
  const std::string text = textOf(sample()) + textOf(RunRecord{});
  const auto runs = parsedRuns(text);
  ASSERT_THAT(runs, SizeIs(2));
  EXPECT_EQ(textOf(runs[0]) + textOf(runs[1]), text);
  const RememberedItem& first = runs[0].items.at(0);
  EXPECT_EQ(first.user, std::nullopt);
  EXPECT_EQ(first.path, "/Applications/a b\n=%");
  EXPECT_EQ(first.trashedTo, "/.Trash-0/files/a b\n=%");
  EXPECT_TRUE(first.went);
  EXPECT_EQ(runs[0].items.at(1).user, "sam");
  EXPECT_EQ(runs[0].items.at(1).trashOwner, 1001U);
  EXPECT_FALSE(runs[0].items.at(1).went);
  EXPECT_TRUE(runs[0].items.at(2).went && runs[0].items.at(2).isBack);
  EXPECT_EQ(runs[0].items.at(2).trashedTo, "");
  EXPECT_EQ(runs[0].folder->changed.tv_sec, -2);
  EXPECT_EQ(runs[0].folder->mode, 02775U);
}

TEST(RememberedRuns, AreAddedToLineByLine) {
  RunRecord run = sample();
  run.items[1].went = false;
  const auto runs = parsedRuns(textOf(run) + wentLine(1, "/t") + backLine(0));
  EXPECT_TRUE(runs[0].items.at(1).went);
  EXPECT_EQ(runs[0].items.at(1).trashedTo, "/t");
  EXPECT_TRUE(runs[0].items.at(0).isBack);
}

TEST(RememberedRuns, HaveChangedSomethingWhenAnythingWent) {
  RunRecord run;
  run.items.resize(1);
  EXPECT_FALSE(run.hasChanged());
  run.items[0].went = true;
  EXPECT_TRUE(run.hasChanged());
  run = RunRecord();
  run.folderWent = true;
  EXPECT_TRUE(run.hasChanged());
}

TEST(RememberedRuns, AreNoneOfWhatBreaksTheRules) {
  EXPECT_THAT(parsedRuns(""), IsEmpty());
  EXPECT_THAT(parsedRuns("item = root 0 /x\nwent 0 /y\n\n \n"), IsEmpty());
  const auto runs = parsedRuns(
      "run x\nitem = root\nitem = root -1 /x\nitem = root 0x /x\nitem = root 0 /x y\nfolder /x 0 0\nwent 0 /y\n"
      "went 99999999999999999999999 /y\nback 0\nwhat\n");
  ASSERT_THAT(runs, SizeIs(1));
  EXPECT_THAT(runs[0].items, IsEmpty());
  EXPECT_FALSE(runs[0].folder);
}

TEST(RememberedRuns, LoseTheLineThatWasCutOff) {
  const std::string text = textOf(sample());
  for (std::size_t length = 0; length < text.size(); ++length) {
    for (const RunRecord& run : parsedRuns(text.substr(0, length) + "went 0 /x")) {
      EXPECT_TRUE(run.items.empty() || run.items[0].trashedTo != "/x") << length;
    }
  }
}

}  // namespace
}  // namespace qm::removal
