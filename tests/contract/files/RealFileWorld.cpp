// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Platform/posix/PosixFileSystem.h"
#include "tests/contract/files/FileWorld.h"
#include "tests/contract/files/RealCopies.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kUser = 1000;

class RealFileWorld : public FileWorld {
 public:
  platform::FileSystem& files() override { return files_; }
  platform::FileOperations& operations() override { return copies_.service; }
  FakeMainThread& mainThread() override { return copies_.mainThread; }
  std::string root() const override { return machineFolder() + "/disk"; }

  /// As root, before the rights are dropped.
  void prepare() {
    fs::create_directories(home());
    ASSERT_EQ(::chown(home().c_str(), kUser, kUser), 0);
    mountTmpfs(volume(), "mode=0777");
    mountTmpfs(small(), "mode=0777,size=64k");
    mountTmpfs(readOnly(), "mode=0777");
    addFile(readOnly("file"), "kept");
    addFile(readOnly("folder/inside"), "kept");
    fs::permissions(readOnly("folder"), fs::perms::all);
    makeReadOnly(readOnly());
  }

  void addFile(const std::string& path, const std::string& contents) override {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file(path, std::ios::binary);
    file << contents;
    ASSERT_TRUE(file.flush()) << path;
  }
  void addFolder(const std::string& path) override { fs::create_directories(path); }
  void addLink(const std::string& path, const std::string& target) override {
    fs::create_directories(fs::path(path).parent_path());
    ASSERT_EQ(::symlink(target.c_str(), path.c_str()), 0) << path;
  }

  void setReadable(const std::string& path, bool on) override { setBits(path, S_IRUSR | S_IRGRP | S_IROTH, on); }
  void setWritable(const std::string& path, bool on) override { setBits(path, S_IWUSR | S_IWGRP | S_IWOTH, on); }
  void setSearchable(const std::string& path, bool on) override { setBits(path, S_IXUSR | S_IXGRP | S_IXOTH, on); }
  void setExecutable(const std::string& path, bool on) override { setBits(path, S_IXUSR | S_IXGRP | S_IXOTH, on); }
  void setModificationDate(const std::string& path, long seconds) override {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
  }

  /// Returns when no copy has a thread any more. A process does not end well while its threads still do.
  bool waitForThreads() { return copies_.threads.waitUntilAllEnded(); }

  bool has(const std::string& path) override { return fs::exists(fs::symlink_status(path)); }
  std::optional<std::string> contents(const std::string& path) override {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
  std::vector<std::string> tree(const std::string& folder) override {
    std::vector<std::string> lines;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      std::string line = entry.path().string().substr(folder.size() + 1);
      if (entry.is_symlink()) {
        line += " -> " + fs::read_symlink(entry.path()).string();
      } else if (entry.is_directory()) {
        line += "/";
      }
      lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
  }

 private:
  static void setBits(const std::string& path, mode_t bits, bool on) {
    struct stat attributes {};
    ASSERT_EQ(::stat(path.c_str(), &attributes), 0) << path;
    const mode_t mode = on ? attributes.st_mode | bits : attributes.st_mode & ~bits;
    ASSERT_EQ(::chmod(path.c_str(), mode & 07777), 0) << path;
  }

  posix::PosixFileSystem files_;
  RealCopies copies_;
};

}  // namespace

void runInRealWorld(const FileCase& body) {
  runInPrivateMachine([&] {
    RealFileWorld world;
    ASSERT_NO_FATAL_FAILURE(world.prepare());
    asUser(kUser, kUser, [&] {
      body(world);
      EXPECT_TRUE(world.waitForThreads());
    });
  });
}

}  // namespace qm::testing
