// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeFileSystem.h"

#include <cerrno>
#include <utility>

#include "Platform/foundation/PathComponents.h"

namespace qm::testing {
namespace {

using platform::Status;

class FakeFileHandle : public platform::FileHandle {
 public:
  FakeFileHandle(Calls& calls, FakeDisk& disk, std::string path, std::shared_ptr<DiskNode> file)
      : calls_(calls), disk_(disk), path_(std::move(path)), file_(std::move(file)) {}

  Status seekToEndOfFile() override {
    if (calls_.command("fileHandle.seekToEndOfFile", path_)) return calls_.failure();
    whole_ = position_ = disk_.length(*file_);
    return Status::success();
  }

  Status writeData(std::string_view data) override {
    if (calls_.command("fileHandle.writeData", path_, data)) return calls_.failure();
    whole_ = position_;
    const int error = disk_.write(*file_, position_, data);
    if (error == 0) whole_ = position_;
    return statusOf(error);
  }

  Status removeIncompleteData() override {
    if (calls_.command("fileHandle.removeIncompleteData", path_)) return calls_.failure();
    if (position_ == whole_) return Status::success();
    if (disk_.length(*file_) != position_) return statusOf(EEXIST);
    disk_.cutOff(*file_, position_ = whole_);
    return Status::success();
  }

 private:
  Calls& calls_;
  FakeDisk& disk_;
  std::string path_;
  std::shared_ptr<DiskNode> file_;
  std::size_t position_ = 0;
  std::size_t whole_ = 0;  // the position before the last write, if that failed
};

}  // namespace

bool FakeFileSystem::fileExists(const std::string& path) const {
  return !calls_.question("fileSystem.fileExists", path) && disk_.exists(path);
}

bool FakeFileSystem::isDirectory(const std::string& path) const {
  return !calls_.question("fileSystem.isDirectory", path) && disk_.isDirectory(path);
}

bool FakeFileSystem::isExecutableFile(const std::string& path) const {
  return !calls_.question("fileSystem.isExecutableFile", path) && disk_.isExecutableFile(path);
}

bool FakeFileSystem::isWritableFile(const std::string& path) const {
  return !calls_.question("fileSystem.isWritableFile", path) && disk_.isWritable(path);
}

std::optional<std::vector<std::string>> FakeFileSystem::contentsOfDirectory(const std::string& path) const {
  if (calls_.question("fileSystem.contentsOfDirectory", path)) return std::nullopt;
  return disk_.list(path);
}

/// A visit that is told to fail fails after its first entry.
bool FakeFileSystem::visitDirectory(const std::string& path, platform::EntrySizes sizes,
                                    const std::function<void(const platform::DirectoryEntry&)>& visit) const {
  const bool fails = calls_.question("fileSystem.visitDirectory", path);
  const auto names = disk_.list(path);
  if (!names) return false;
  for (const std::string& name : *names) {
    const auto attributes = disk_.attributes(foundation::appendingPathComponent(path, name));
    if (attributes) visit({name, attributes->type, sizes == platform::EntrySizes::Yes ? attributes->size : 0});
    if (fails) return false;
  }
  return !fails;
}

std::optional<platform::ItemAttributes> FakeFileSystem::attributesOfItem(const std::string& path) const {
  if (calls_.question("fileSystem.attributesOfItem", path)) return std::nullopt;
  return disk_.attributes(path);
}

std::optional<std::string> FakeFileSystem::destinationOfSymbolicLink(const std::string& path) const {
  if (calls_.question("fileSystem.destinationOfSymbolicLink", path)) return std::nullopt;
  return disk_.target(path);
}

Status FakeFileSystem::moveItem(const std::string& source, const std::string& destination) {
  if (calls_.command("fileSystem.moveItem", source, destination)) return calls_.failure();
  return statusOf(disk_.move(source, destination));
}

Status FakeFileSystem::linkItem(const std::string& source, const std::string& destination) {
  if (calls_.command("fileSystem.linkItem", source, destination)) return calls_.failure();
  return statusOf(disk_.link(source, destination));
}

Status FakeFileSystem::copyItem(const std::string& source, const std::string& destination) {
  if (calls_.command("fileSystem.copyItem", source, destination)) return calls_.failure();
  return statusOf(disk_.copy(source, destination));
}

Status FakeFileSystem::createDirectory(const std::string& path) {
  if (calls_.command("fileSystem.createDirectory", path)) return calls_.failure();
  return statusOf(disk_.makeFolders(path));
}

Status FakeFileSystem::removeItem(const std::string& path) {
  if (calls_.command("fileSystem.removeItem", path)) return calls_.failure();
  return statusOf(disk_.removeTree(path));
}

Status FakeFileSystem::removeHollowFolder(const std::string& path, const std::vector<std::string>& expendable) {
  if (calls_.command("fileSystem.removeHollowFolder", path)) return calls_.failure();
  return statusOf(disk_.removeHollowFolder(path, expendable));
}

Status FakeFileSystem::setCreationDate(const std::string& path, std::chrono::system_clock::time_point date) {
  if (calls_.command("fileSystem.setCreationDate", path)) return calls_.failure();
  return statusOf(disk_.setCreationDate(path, date));
}

Status FakeFileSystem::writeFileAtomically(const std::string& path, std::string_view contents) {
  if (calls_.command("fileSystem.writeFileAtomically", path, contents)) return calls_.failure();
  return statusOf(disk_.writeFile(path, contents));
}

std::shared_ptr<platform::FileHandle> FakeFileSystem::openForWriting(const std::string& path) {
  if (calls_.command("fileSystem.openForWriting", path)) return nullptr;
  std::shared_ptr<DiskNode> file = disk_.open(path);
  if (!file) return nullptr;
  return std::make_shared<FakeFileHandle>(calls_, disk_, path, std::move(file));
}

}  // namespace qm::testing
