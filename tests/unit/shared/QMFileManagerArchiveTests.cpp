// SPDX-License-Identifier: MIT
#include <string>
#include <vector>

#include "Shared/QMFileManager.h"
#include "tests/support/PlatformTest.h"

namespace qm::testing {
namespace {

using Launches = std::vector<std::vector<std::string>>;

const std::string kTool = "/usr/bin/ditto";
const std::string kItem = "/Applications/Demo.app";
const std::string kArchive = "/tmp/Demo.zip";
const std::string kFolder = "/tmp/Unpacked";
const std::string kTrash = "/home/u/.Trash";

/// A machine with an item and a zip tool that creates its output if it succeeds.
class Archives : public PlatformTest {
 protected:
  Archives() {
    fakes.disk.addFile(kItem + "/Contents/Info.plist");
    fakes.tasks.script(kTool, {.effect = [this](const std::vector<std::string>& arguments) {
                         fakes.disk.addFile(arguments.back() + (arguments.front() == "-xk" ? "/item" : ""), "new");
                       }});
  }

  void letTheToolFail() {
    fakes.tasks.script(kTool, {.exitStatus = 1, .effect = [](const std::vector<std::string>&) {}});
  }

  std::vector<std::string> changes() const { return fakes.calls.log(); }
};

class CompressFile : public Archives {};
class DecompressFile : public Archives {};

TEST_F(CompressFile, RunsTheToolWithTheParentKept) {
  EXPECT_TRUE(QMFileManager::compressFile(kItem, kArchive, QMFileManager::IncludeParent::Yes));
  EXPECT_EQ(fakes.tasks.launches(), (Launches{{kTool, "-ck", "--keepParent", kItem, kArchive}}));
}

TEST_F(CompressFile, RunsTheToolForTheContentsAlone) {
  EXPECT_TRUE(QMFileManager::compressFile(kItem, kArchive, QMFileManager::IncludeParent::No));
  EXPECT_EQ(fakes.tasks.launches(), (Launches{{kTool, "-ck", kItem, kArchive}}));
}

TEST_F(CompressFile, KeepsTheParentWhenNothingIsSaid) {
  EXPECT_TRUE(QMFileManager::compressFile(kItem, kArchive));
  EXPECT_EQ(fakes.tasks.launches(), (Launches{{kTool, "-ck", "--keepParent", kItem, kArchive}}));
}

TEST_F(CompressFile, RunsTheToolThatTheSystemNames) {
  fakes.disk.addExecutable("/usr/libexec/zip tool");
  fakes.systemInformation.setZipToolPath("/usr/libexec/zip tool");
  EXPECT_FALSE(QMFileManager::compressFile(kItem, kArchive));
  EXPECT_EQ(fakes.tasks.launches(), (Launches{{"/usr/libexec/zip tool", "-ck", "--keepParent", kItem, kArchive}}));
}

TEST_F(CompressFile, TrashesAnOldArchiveBeforeTheToolRuns) {
  fakes.disk.addFile(kArchive, "old");
  EXPECT_TRUE(QMFileManager::compressFile(kItem, kArchive));
  EXPECT_EQ(fakes.disk.fileContents(kTrash + "/Demo.zip"), "old");
  EXPECT_EQ(fakes.disk.fileContents(kArchive), "new");
  EXPECT_EQ(fakes.calls.count("trash.recycle(/tmp, /home/u/.Trash, Demo.zip)"), 1U);
  EXPECT_TRUE(fakes.calls.areInOrder({"trash.recycle", "tasks.launch"}));
}

TEST_F(CompressFile, TrashesAFolderThatIsInTheArchivesPlace) {
  fakes.disk.addFile(kArchive + "/inside");
  EXPECT_TRUE(QMFileManager::compressFile(kItem, kArchive));
  EXPECT_TRUE(fakes.disk.has(kTrash + "/Demo.zip/inside"));
}

TEST_F(CompressFile, TrashesALinkInTheArchivesPlaceAndNotWhatItLeadsTo) {
  fakes.disk.addFile("/tmp/real.zip", "real");
  fakes.disk.addLink(kArchive, "/tmp/real.zip");
  EXPECT_TRUE(QMFileManager::compressFile(kItem, kArchive));
  EXPECT_EQ(fakes.calls.count("trash.recycle(/tmp, /home/u/.Trash, Demo.zip)"), 1U);
  EXPECT_EQ(fakes.disk.fileContents("/tmp/real.zip"), "real");
  EXPECT_EQ(fakes.disk.fileContents(kArchive), "new");
}

TEST_F(CompressFile, TrashesNothingWhereNothingIs) {
  EXPECT_TRUE(QMFileManager::compressFile(kItem, kArchive));
  EXPECT_EQ(fakes.calls.count("trash.recycle"), 0U);
}

TEST_F(CompressFile, TakesADanglingLinkForNothing) {
  fakes.disk.addLink(kArchive, "/nowhere");
  letTheToolFail();
  EXPECT_FALSE(QMFileManager::compressFile(kItem, kArchive));
  EXPECT_EQ(fakes.calls.count("trash.recycle"), 0U);
}

TEST_F(CompressFile, AnswersThatAStaleArchiveIsThereWhenTrashAndToolHaveFailed) {
  fakes.disk.addFile(kArchive, "old");
  fakes.calls.failNext("trash.recycle");
  letTheToolFail();
  EXPECT_TRUE(QMFileManager::compressFile(kItem, kArchive));
  EXPECT_EQ(fakes.disk.fileContents(kArchive), "old");
}

TEST_F(CompressFile, AsksForNoRightsAndReportsNothingWhenTheTrashFails) {
  fakes.disk.addFile(kArchive, "old");
  fakes.calls.failNext("trash.recycle");
  EXPECT_TRUE(QMFileManager::compressFile(kItem, kArchive));
  EXPECT_EQ(fakes.calls.count("authorization.copyRights"), 0U);
  EXPECT_EQ(fakes.calls.count("itemLocks.setImmutable"), 0U);
  EXPECT_TRUE(fakes.console.lines().empty());
}

TEST_F(CompressFile, AnswersByWhatIsThereAndNotByTheExitStatus) {
  fakes.tasks.script(kTool, {.exitStatus = 1, .effect = [this](const std::vector<std::string>& arguments) {
                               fakes.disk.addFile(arguments.back());
                             }});
  EXPECT_TRUE(QMFileManager::compressFile(kItem, kArchive));
  fakes.tasks.script(kTool, {.exitStatus = 0, .effect = [](const std::vector<std::string>&) {}});
  EXPECT_FALSE(QMFileManager::compressFile(kItem, "/tmp/Other.zip"));
}

TEST_F(CompressFile, AnswersNoWhenTheToolIsMissing) {
  fakes.systemInformation.setZipToolPath("/usr/bin/nothing");
  EXPECT_FALSE(QMFileManager::compressFile(kItem, kArchive));
  EXPECT_TRUE(fakes.tasks.launches().empty());
}

TEST_F(CompressFile, TrashesForTheConsoleUserAsRoot) {
  fakes.actAsRoot("u");
  fakes.disk.addFile(kArchive, "old");
  EXPECT_TRUE(QMFileManager::compressFile(kItem, kArchive));
  EXPECT_EQ(fakes.calls.count("trash.recycle(/tmp, /home/u/.Trash, Demo.zip)"), 1U);
}

TEST_F(DecompressFile, RunsTheToolOnArchiveAndFolder) {
  EXPECT_TRUE(QMFileManager::decompressFile(kArchive, kFolder));
  EXPECT_EQ(fakes.tasks.launches(), (Launches{{kTool, "-xk", kArchive, kFolder}}));
}

TEST_F(DecompressFile, TrashesTheFolderBeforeTheToolRuns) {
  fakes.disk.addFile(kFolder + "/old");
  EXPECT_TRUE(QMFileManager::decompressFile(kArchive, kFolder));
  EXPECT_TRUE(fakes.disk.has(kTrash + "/Unpacked/old"));
  EXPECT_FALSE(fakes.disk.has(kFolder + "/old"));
  EXPECT_TRUE(fakes.calls.areInOrder({"trash.recycle", "tasks.launch"}));
}

TEST_F(DecompressFile, TakesAFolderWithASlashAtItsEndForTheSame) {
  fakes.disk.addFile(kFolder + "/old");
  EXPECT_TRUE(QMFileManager::decompressFile(kArchive, kFolder + "/"));
  EXPECT_TRUE(fakes.disk.has(kTrash + "/Unpacked/old"));
  EXPECT_EQ(fakes.tasks.launches(), (Launches{{kTool, "-xk", kArchive, kFolder + "/"}}));
}

TEST_F(DecompressFile, TrashesTheFolderEvenWhenThereIsNoArchive) {
  fakes.disk.addFile(kFolder + "/old");
  letTheToolFail();
  EXPECT_FALSE(QMFileManager::decompressFile("/tmp/missing.zip", kFolder));
  EXPECT_TRUE(fakes.disk.has(kTrash + "/Unpacked/old"));
}

TEST_F(DecompressFile, AnswersThatAFolderIsThereWhichCouldNotBeTrashed) {
  fakes.disk.addFile(kFolder + "/old");
  fakes.calls.failNext("trash.recycle");
  letTheToolFail();
  EXPECT_TRUE(QMFileManager::decompressFile(kArchive, kFolder));
  EXPECT_TRUE(fakes.disk.has(kFolder + "/old"));
}

TEST_F(DecompressFile, AnswersByWhatItSeesWhicheverCallFails) {
  std::size_t count = 1;
  for (std::size_t k = 1; k <= count; ++k) {
    FakePlatform machine;
    const ScopedPlatform installed(machine.platform);
    machine.disk.addFile(kFolder + "/old");
    machine.calls.failCallNumber(k);
    const bool answer = QMFileManager::decompressFile(kArchive, kFolder);
    ASSERT_EQ(machine.calls.failed().size(), 1U) << k;
    count = machine.calls.callCount();
    // The last call checks what is there.
    EXPECT_EQ(answer, k < count && machine.disk.has(kFolder)) << machine.calls.failed().front();
  }
  EXPECT_GE(count, 4U);
}

}  // namespace
}  // namespace qm::testing
