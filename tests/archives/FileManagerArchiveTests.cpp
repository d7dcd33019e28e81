// SPDX-License-Identifier: MIT
#include <poll.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Platform/Trash.h"
#include "Platform/posix/PosixFileSystem.h"
#include "Platform/posix/process/PosixTasks.h"
#include "Shared/QMFileManager.h"
#include "tests/archives/ArchiveTest.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/support/ScopedPlatform.h"

namespace qm::testing {
namespace {

/// Moves things to a folder on the real disk.
class FolderTrash : public platform::Trash {
 public:
  explicit FolderTrash(std::string folder) : folder_(std::move(folder)) {}

  platform::Recycled recycleItems(const std::string& sourceFolder, const std::optional<std::string>& /*trashDirectory*/,
                                  const std::vector<std::string>& names) override {
    std::error_code error;
    for (const std::string& name : names)
      std::filesystem::rename(sourceFolder + "/" + name, folder_ + "/" + name, error);
    return {error ? platform::Status::failed(error.value(), error.message()) : platform::Status::success(), {}};
  }
  platform::TrashedItems itemsFrom(const std::string&, const std::optional<std::string>&) override { return {}; }
  platform::Status putBack(const platform::TrashedItem&, const std::optional<std::string>&,
                           platform::MissingFolders) override {
    return platform::Status::failed(ENOTSUP, "Nothing comes back.");
  }
  void makeDurable() override {}

 private:
  const std::string folder_;
};

/// Waits for the tool without serving an event loop.
class PlainWait : public posix::DescriptorWait {
 public:
  void waitUntilReadable(int descriptor) override {
    pollfd watched{descriptor, POLLIN, 0};
    EXPECT_EQ(::poll(&watched, 1, 60'000), 1);
  }
};

class FileManagerArchives : public ArchiveTest {
 protected:
  FileManagerArchives() : trash_(makeFolder("trash")) {
    fakes_.systemInformation.setZipToolPath(zipTool());
    services_ = fakes_.platform;
    services_.fileSystem = &fileSystem_;
    services_.tasks = &tasks_;
    services_.trash = &trash_;
    makeFile("item/folder/file", "text");
  }

 private:
  FakePlatform fakes_;
  PlainWait wait_;
  posix::PosixFileSystem fileSystem_;
  posix::PosixTasks tasks_{fakes_.mainThread, wait_};
  FolderTrash trash_;
  platform::Platform services_;
  ScopedPlatform installed_{services_};
};

TEST_F(FileManagerArchives, AreMadeAndUnpackedWithTheFolder) {
  EXPECT_TRUE(QMFileManager::compressFile(path("item"), path("a.zip")));
  EXPECT_TRUE(QMFileManager::decompressFile(path("a.zip"), path("new")));
  EXPECT_EQ(contentsOf(path("new/item/folder/file")), "text");
}

TEST_F(FileManagerArchives, AreMadeAndUnpackedWithoutTheFolder) {
  EXPECT_TRUE(QMFileManager::compressFile(path("item"), path("a.zip"), QMFileManager::IncludeParent::No));
  EXPECT_TRUE(QMFileManager::decompressFile(path("a.zip"), path("new")));
  EXPECT_EQ(contentsOf(path("new/folder/file")), "text");
}

TEST_F(FileManagerArchives, TakeThePlaceOfWhatGoesToTheTrash) {
  makeFile("a.zip", "old");
  makeFile("new/old");
  EXPECT_TRUE(QMFileManager::compressFile(path("item"), path("a.zip")));
  EXPECT_TRUE(QMFileManager::decompressFile(path("a.zip"), path("new")));
  EXPECT_EQ(contentsOf(path("trash/a.zip")), "old");
  EXPECT_TRUE(isThere(path("trash/new/old")));
  EXPECT_FALSE(isThere(path("new/old")));
}

TEST_F(FileManagerArchives, ThatCannotBeMadeOrUnpackedLeaveNothingToTakeForThem) {
  makeFile("new/old");
  makeFile("bad.zip", "no archive");
  EXPECT_FALSE(QMFileManager::compressFile(path("missing"), path("a.zip")));
  EXPECT_FALSE(QMFileManager::decompressFile(path("bad.zip"), path("new")));
  EXPECT_TRUE(isThere(path("trash/new/old")));
}

}  // namespace
}  // namespace qm::testing
