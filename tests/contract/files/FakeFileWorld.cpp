// SPDX-License-Identifier: MIT
#include <chrono>

#include "tests/contract/files/FileWorld.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/FakeFileOperations.h"
#include "tests/fakes/FakeFileSystem.h"
#include "tests/fakes/FakeMainThread.h"

namespace qm::testing {
namespace {

class FakeFileWorld : public FileWorld {
 public:
  FakeFileWorld() {
    disk_.addFolder(home());
    disk_.addVolume(volume());
    VolumeKind small64;
    VolumeKind unchangeable;
    small64.capacity = 64 * 1024;
    unchangeable.readOnly = true;
    disk_.addVolume(small(), small64);
    disk_.addVolume(readOnly());
    disk_.addFile(readOnly("file"), "kept");
    disk_.addFile(readOnly("folder/inside"), "kept");
    disk_.setVolumeKind(readOnly(), unchangeable);
  }

  platform::FileSystem& files() override { return files_; }
  platform::FileOperations& operations() override { return operations_; }
  FakeMainThread& mainThread() override { return mainThread_; }

  void addFile(const std::string& path, const std::string& contents) override { disk_.addFile(path, contents); }
  void addFolder(const std::string& path) override { disk_.addFolder(path); }
  void addLink(const std::string& path, const std::string& target) override { disk_.addLink(path, target); }
  void setReadable(const std::string& path, bool readable) override { disk_.setReadable(path, readable); }
  void setWritable(const std::string& path, bool writable) override { disk_.setWritable(path, writable); }
  void setSearchable(const std::string& path, bool searchable) override { disk_.setSearchable(path, searchable); }
  void setExecutable(const std::string& path, bool executable) override { disk_.setExecutable(path, executable); }
  void setModificationDate(const std::string& path, long seconds) override {
    disk_.setModificationDate(path, std::chrono::system_clock::time_point(std::chrono::seconds(seconds)));
  }

  bool has(const std::string& path) override { return disk_.has(path); }
  std::optional<std::string> contents(const std::string& path) override { return disk_.fileContents(path); }
  std::vector<std::string> tree(const std::string& folder) override {
    std::vector<std::string> lines = disk_.tree(folder);
    for (auto& line : lines) line.erase(0, folder.size() + 1);
    return lines;
  }

 private:
  std::string folder(const std::string& area) const override { return "/disk/" + area; }

  Calls calls_;
  FakeClock clock_{calls_};
  FakeDisk disk_{clock_};
  FakeFileSystem files_{calls_, disk_};
  FakeMainThread mainThread_{calls_, clock_};
  FakeFileOperations operations_{calls_, disk_, mainThread_};
};

}  // namespace

void runInFakeWorld(const FileCase& body) {
  FakeFileWorld world;
  body(world);
}

}  // namespace qm::testing
