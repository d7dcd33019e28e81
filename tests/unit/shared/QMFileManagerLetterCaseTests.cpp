// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "Shared/QMFileManager.h"
#include "tests/unit/shared/LoggedTest.h"

namespace qm::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

/// Moves that change nothing but the case of letters.
class LetterCase : public LoggedTest {
 protected:
  LetterCase() { fakes.disk.addFile("/x/report", "contents"); }

  std::vector<std::string> moves() {
    std::vector<std::string> calls = fakes.calls.log();
    std::erase_if(calls, [](const std::string& call) { return !call.starts_with("fileSystem.moveItem"); });
    return calls;
  }
};

TEST_F(LetterCase, GoesThroughAFreeNameWhereTheDestinationIsTheSource) {
  // The disk distinguishes letter case; if it does not, the other name leads to the same item.
  fakes.calls.before("fileSystem.fileExists(/x/Report)", 1, [this] { fakes.disk.addFile("/x/Report"); });
  fakes.calls.before("fileSystem.moveItem(/x/report, /x/Report 2)", 1, [this] { fakes.disk.remove("/x/Report"); });
  EXPECT_TRUE(QMFileManager::moveFile("/x/report", "/x/Report"));
  EXPECT_THAT(moves(), ElementsAre("fileSystem.moveItem(/x/report, /x/Report 2)",
                                   "fileSystem.moveItem(/x/Report 2, /x/Report)"));
  EXPECT_EQ(fakes.disk.fileContents("/x/Report"), "contents");
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LetterCase, IsAPlainRenameWhereTheDestinationIsFree) {
  EXPECT_TRUE(QMFileManager::moveFile("/x/report", "/x/Report"));
  EXPECT_THAT(moves(), ElementsAre("fileSystem.moveItem(/x/report, /x/Report)"));
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(LetterCase, FallsBackToTheOrdinaryMoveWhenTheFirstStepFails) {
  fakes.calls.failNext("fileSystem.moveItem");
  EXPECT_TRUE(QMFileManager::moveFile("/x/report", "/x/Report"));
  EXPECT_EQ(fakes.disk.fileContents("/x/Report"), "contents");
  EXPECT_THAT(logged(), IsEmpty()) << "errors of the two steps are not kept";
}

TEST_F(LetterCase, LeavesTheItemBetweenWhenTheSecondStepFails) {
  fakes.disk.addFile("/x/Report", "another");
  EXPECT_FALSE(QMFileManager::moveFile("/x/report", "/x/Report"));
  EXPECT_EQ(fakes.disk.fileContents("/x/Report 2"), "contents");
  EXPECT_EQ(fakes.disk.fileContents("/x/Report"), "another");
  EXPECT_THAT(logged(), ElementsAre(StartsWith("Error moving file: ")));
}

TEST_F(LetterCase, TakesTheNextFreeNumber) {
  fakes.disk.addFile("/x/Report");
  fakes.disk.addFile("/x/Report 2");
  QMFileManager::moveFile("/x/report", "/x/Report", QMFileManager::ShouldAuth::No);
  EXPECT_EQ(fakes.disk.fileContents("/x/Report 3"), "contents");
}

TEST_F(LetterCase, CountsLettersBeyondASCII) {
  fakes.disk.addFile("/x/Übung");
  EXPECT_TRUE(QMFileManager::moveFile("/x/Übung", "/x/übung"));
  EXPECT_TRUE(fakes.disk.has("/x/übung"));
}

/// Names that are too long for a number at the end, on a disk that ignores letter case.
class LongLetterCase : public LetterCase {
 protected:
  LongLetterCase() { fakes.disk.setVolumeKind("/", {.caseInsensitive = true}); }

  /// Renames an item of the first name to the second and back, with nothing left between.
  void expectRenamed(const std::string& from, const std::string& to) {
    fakes.disk.addFile("/long/" + from, from);
    EXPECT_TRUE(QMFileManager::moveFile("/long/" + from, "/long/" + to, QMFileManager::ShouldAuth::No));
    EXPECT_THAT(fakes.disk.tree("/long"), Contains("/long/" + to));
    EXPECT_THAT(fakes.disk.tree("/long"), Not(Contains("/long/" + from)));
    EXPECT_EQ(fakes.disk.fileContents("/long/" + to), from);
    EXPECT_THAT(logged(), IsEmpty());
  }
};

TEST_F(LongLetterCase, GoesThroughANameThatFits) {
  for (const std::size_t length : {253U, 254U, 255U}) {
    expectRenamed(std::string(length, 'r'), "R" + std::string(length - 1, 'r'));
  }
  EXPECT_EQ(moves()[0],
            "fileSystem.moveItem(/long/" + std::string(253, 'r') + ", /long/R" + std::string(252, 'r') + " 2)")
      << "where it fits, the usual one";
  EXPECT_EQ(fakes.disk.tree("/long").size(), 3U);
}

TEST_F(LongLetterCase, KeepsTheExtensionBetween) {
  const std::string stem(250, 'r');
  expectRenamed(stem + ".txt", "R" + stem.substr(1) + ".txt");
  EXPECT_EQ(moves()[1], "fileSystem.moveItem(/long/" + stem + ".txt, /long/R" + std::string(245, 'r') + ".txt)");
  expectRenamed("r." + std::string(253, 'x'), "R." + std::string(253, 'x'));
}

TEST_F(LongLetterCase, CutsNoCharacterInTwo) {
  std::string name;
  for (int count = 0; count < 85; ++count) name += "\u20ac";
  expectRenamed(name.substr(0, 252) + "abc", name.substr(0, 252) + "ABC");
  EXPECT_EQ(moves()[1], "fileSystem.moveItem(/long/" + name.substr(0, 252) + "abc, /long/" + name.substr(0, 249) + ")");
}

TEST_F(LongLetterCase, TakesAFreeNameThatFits) {
  const std::string stem(251, 'r');
  fakes.disk.addFile("/long/" + stem, "another");
  expectRenamed(stem + "rrrr", "R" + stem.substr(1) + "rrrr");
  EXPECT_EQ(fakes.disk.fileContents("/long/" + stem), "another");
}

TEST_F(LongLetterCase, FallsBackToTheOrdinaryMoveWhenNoNameFits) {
  std::string folder = "/long";
  while (folder.size() < 4000) folder += "/" + std::string(90, 'f');
  folder += "/" + std::string(4093 - folder.size() - 1, 'f');
  fakes.disk.addFile(folder + "/r", "contents");
  EXPECT_FALSE(QMFileManager::moveFile(folder + "/r", folder + "/R", QMFileManager::ShouldAuth::No));
  EXPECT_EQ(fakes.disk.fileContents(folder + "/r"), "contents");
  EXPECT_THAT(logged(), ElementsAre(StartsWith("Error moving file: ")));
}

TEST_F(LetterCase, BringsAnItemBackToItsOwnName) {
  EXPECT_TRUE(QMFileManager::moveFile("/x/report", "/x/report"));
  EXPECT_EQ(fakes.disk.fileContents("/x/report"), "contents");
}

}  // namespace
}  // namespace qm::testing
