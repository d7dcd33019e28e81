// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/RunRecordFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace qm::removal {
namespace {

using ::testing::ElementsAre;

RunRecord runOf(const std::string& began) {
  RunRecord run;
  run.began = began;
  run.items.resize(1);
  run.items[0].path = "/x";
  run.items[0].trashOf = "sam";
  return run;
}

/// The record of the user who runs the test.
class Memory : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = ::testing::TempDir() + "memoryXXXXXX";
    top = ::mkdtemp(pattern.data());
  }
  void TearDown() override { std::filesystem::remove_all(top); }

  RunRecordFile memory() const { return {::getuid(), folder()}; }
  std::string folder() const { return top + "/state/tessaly-remove"; }
  std::string file() const { return folder() + "/last-run"; }

  std::vector<std::string> beginnings() const {
    std::vector<RunRecord> runs;
    EXPECT_EQ(memory().read(runs), 0);
    std::vector<std::string> result;
    for (const RunRecord& run : runs) result.push_back(run.began);
    return result;
  }

  int error() const {
    std::vector<RunRecord> runs;
    return memory().read(runs);
  }

  std::string top;
};

mode_t modeOf(const std::string& path) {
  struct stat found {};
  EXPECT_EQ(::stat(path.c_str(), &found), 0);
  return found.st_mode & 07777;
}

TEST_F(Memory, LiesInAFolderOfTheCallersOwn) {
  EXPECT_EQ(RunRecordFile::folderFor(0, "/home/sam/state", "/root"), "/var/lib/tessaly-remove");
  EXPECT_EQ(RunRecordFile::folderFor(7, "/state", "/home/sam"), "/state/tessaly-remove");
  EXPECT_EQ(RunRecordFile::folderFor(7, "state", "/home/sam"), "/home/sam/.local/state/tessaly-remove");
  EXPECT_EQ(RunRecordFile::folderFor(7, std::nullopt, "/home/sam"), "/home/sam/.local/state/tessaly-remove");
}

TEST_F(Memory, IsEmptyWhereNothingHasBeenRemembered) {
  EXPECT_THAT(beginnings(), ElementsAre());
  EXPECT_FALSE(std::filesystem::exists(top + "/state"));
}

TEST_F(Memory, IsForItsOwnerAlone) {
  const mode_t mask = ::umask(0);
  EXPECT_EQ(memory().begin(runOf("1")), 0);
  ::umask(mask);
  EXPECT_EQ(modeOf(top + "/state"), 0700U);
  EXPECT_EQ(modeOf(folder()), 0700U);
  EXPECT_EQ(modeOf(file()), 0600U);
  EXPECT_THAT(beginnings(), ElementsAre("1"));
}

TEST_F(Memory, KeepsTheLastRunThatChangedSomethingUntilAnotherDoes) {
  RunRecordFile changed = memory();
  EXPECT_EQ(changed.begin(runOf("1")), 0);
  changed.add(wentLine(0, "/t"));
  EXPECT_EQ(memory().begin(runOf("2")), 0);
  EXPECT_EQ(memory().begin(runOf("3")), 0);
  EXPECT_THAT(beginnings(), ElementsAre("1", "2", "3"));
  RunRecordFile next = memory();
  EXPECT_EQ(next.begin(runOf("4")), 0);
  next.add(wentLine(0, "/t"));
  next.flush();
  EXPECT_EQ(memory().begin(runOf("5")), 0);
  EXPECT_THAT(beginnings(), ElementsAre("4", "5"));
}

TEST_F(Memory, DoesNotGrowWithRunsThatChangeNothing) {
  RunRecordFile changed = memory();
  EXPECT_EQ(changed.begin(runOf("first")), 0);
  changed.add(wentLine(0, "/t"));
  for (int run = 0; run < 30; ++run) EXPECT_EQ(memory().begin(runOf(std::to_string(run))), 0);
  EXPECT_THAT(beginnings(), ElementsAre("first", "21", "22", "23", "24", "25", "26", "27", "28", "29"));
}

TEST_F(Memory, IsGoneWithItsFolderWhenItIsForgotten) {
  RunRecordFile all = memory();
  EXPECT_EQ(all.begin(runOf("1")), 0);
  all.forget();
  EXPECT_FALSE(std::filesystem::exists(folder()));
  EXPECT_TRUE(std::filesystem::exists(top + "/state"));
  all.forget();
  all.add("nowhere");
  EXPECT_THAT(beginnings(), ElementsAre());
}

TEST_F(Memory, IsNotBelievedWhereOthersCouldHaveWrittenIt) {
  EXPECT_EQ(memory().begin(runOf("1")), 0);
  ASSERT_EQ(::chmod(file().c_str(), 0620), 0);
  EXPECT_EQ(error(), EPERM);
  ASSERT_EQ(::chmod(file().c_str(), 0600), 0);
  ASSERT_EQ(::link(file().c_str(), (top + "/other").c_str()), 0);
  EXPECT_EQ(error(), EPERM);
  ASSERT_EQ(::unlink((top + "/other").c_str()), 0);
  ASSERT_EQ(::chmod(folder().c_str(), 0770), 0);
  EXPECT_EQ(error(), EPERM);
  EXPECT_EQ(memory().begin(runOf("2")), EPERM);
  ASSERT_EQ(::chmod(folder().c_str(), 0700), 0);
  EXPECT_EQ(error(), 0);
}

TEST_F(Memory, FollowsNoLinkAndWaitsForNobody) {
  std::filesystem::create_directories(folder());
  ASSERT_EQ(::chmod(folder().c_str(), 0700), 0);
  std::ofstream(top + "/elsewhere") << "run 1\n";
  ASSERT_EQ(::symlink((top + "/elsewhere").c_str(), file().c_str()), 0);
  EXPECT_EQ(error(), ELOOP);
  ASSERT_EQ(::unlink(file().c_str()), 0);
  ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
  EXPECT_EQ(error(), EPERM);
  EXPECT_EQ(memory().begin(runOf("2")), 0) << "the run takes the place of what is none";
  EXPECT_THAT(beginnings(), ElementsAre("2"));
}

TEST_F(Memory, ReadsNoFileWithoutAnEnd) {
  EXPECT_EQ(memory().begin(runOf("1")), 0);
  std::filesystem::resize_file(file(), std::uintmax_t{1} << 40U);
  EXPECT_EQ(error(), EFBIG);
}

}  // namespace
}  // namespace qm::removal
