// SPDX-License-Identifier: MIT

// Sizes and path patterns on a real disk, compared with a simple implementation: one path after the other.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/foundation/PathComponents.h"
#include "Platform/posix/PosixFileSystem.h"
#include "Shared/QMFileManager.h"
#include "tests/contract/files/RealFiles.h"
#include "tests/support/ScopedPlatform.h"

namespace qm::testing {
namespace {

using foundation::appendingPathComponent;

std::uint64_t sizeByPaths(const std::string& path) {
  if (!files.isDirectory(path)) {
    const auto attributes = files.attributesOfItem(path);
    return attributes ? attributes->size : 0;
  }
  std::uint64_t sum = 0;
  const auto names = files.contentsOfDirectory(path);
  if (!names) return 0;
  for (const auto& name : *names) sum += sizeByPaths(appendingPathComponent(path, name));
  return sum;
}

/// The same walk as "base/*/*".
std::vector<std::string> twoLevelsByPaths(const std::string& base) {
  std::vector<std::string> reached = {base};
  for (int level = 0; level < 2; ++level) {
    std::vector<std::string> next;
    for (const auto& folder : reached) {
      const auto names = files.contentsOfDirectory(folder);
      if (!names) continue;
      for (const auto& name : *names) {
        const std::string path = appendingPathComponent(folder, name);
        if (files.fileExists(path)) next.push_back(path);
      }
    }
    reached = next;
  }
  return reached;
}

/// Folders and files below `folder`, an open one, until paths are longer than the system accepts.
void makeTooDeep(int folder) {
  const std::string name(200, 'd');
  int current = ::dup(folder);
  for (int depth = 0; depth < PATH_MAX / 200 + 2; ++depth) {
    for (const std::string& file : {std::string("f"), std::string(90, 'g')}) {
      const int made = ::openat(current, file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
      ASSERT_EQ(::write(made, "xyz", 3), 3);
      ::close(made);
    }
    ASSERT_EQ(::mkdirat(current, name.c_str(), 0755), 0);
    const int next = ::openat(current, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(current);
    current = next;
  }
  ::close(current);
}

/// Everything that a walk may meet.
void makeTree(const std::string& home) {
  makeFolders(home + "/a/b");
  makeFolders(home + "/a/closed");
  makeFolders(home + "/a/unsearchable");
  makeFile(home + "/a/file", std::string(1000, 'x'));
  makeFile(home + "/a/b/.hidden", std::string(20, 'x'));
  makeFile(home + "/a/closed/file", std::string(300, 'x'));
  makeFile(home + "/a/unsearchable/file", std::string(4000, 'x'));
  ASSERT_EQ(::symlink("nowhere", (home + "/a/dangling").c_str()), 0);
  ASSERT_EQ(::symlink("file", (home + "/a/to-file").c_str()), 0);
  ASSERT_EQ(::symlink("b", (home + "/a/to-b").c_str()), 0);
  ASSERT_EQ(::symlink("../a", (home + "/a/again").c_str()), 0);
  ASSERT_EQ(::symlink("itself", (home + "/a/itself").c_str()), 0);
  ASSERT_EQ(::mkfifo((home + "/a/fifo").c_str(), 0644), 0);
  const int folder = ::open((home + "/a/b").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  makeTooDeep(folder);
  ::close(folder);
  ASSERT_EQ(::chmod((home + "/a/closed").c_str(), 0311), 0);
  ASSERT_EQ(::chmod((home + "/a/unsearchable").c_str(), 0644), 0);
}

void inTree(const std::function<void(const std::string&)>& body) {
  runInPrivateMachine([&] {
    const std::string home = openFolder("home");
    asUser(kUser, kUser, [&] {
      ASSERT_NO_FATAL_FAILURE(makeTree(home));
      platform::Platform services;
      services.fileSystem = &files;
      const ScopedPlatform installed(services);
      body(home);
    });
  });
}

TEST(SizesOnDisk, AreThoseOfTheWalkByPaths) {
  inTree([](const std::string& home) {
    // The kernel ends a path at its fortieth link. When it restarts a path it continues counting, so that rounds of the
    // link back are missing now and then. The greatest of a few sizes is therefore the complete one, except for the
    // last round.
    std::uint64_t size = 0;
    std::uint64_t byPaths = 0;
    const auto differ = [&] { return size > byPaths ? size - byPaths : byPaths - size; };
    for (int tries = 0; tries < 20 && (size == 0 || differ() * 20 > size); ++tries) {
      size = std::max(size, QMFileManager::fileSize(home + "/a"));
      byPaths = std::max(byPaths, sizeByPaths(home + "/a"));
    }
    EXPECT_GT(size, 1000U * 30) << "the link back is followed again and again";
    EXPECT_LE(differ() * 20, size) << size << " and " << byPaths;
    for (const std::string name :
         {"/a/b", "/a/to-b", "/a/closed", "/a/unsearchable", "/a/dangling", "/a/fifo", "/a/file", "/none"})
      EXPECT_EQ(QMFileManager::fileSize(home + name), sizeByPaths(home + name)) << name;
  });
}

TEST(SizesOnDisk, CountNothingOfAFolderThatCannotBeReadToItsEnd) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    for (int i = 0; i < 2000; ++i) makeFile(home + "/file " + std::to_string(i), "x");
    bool isFirst = true;
    const auto stopReading = [&](const platform::DirectoryEntry&) {
      if (std::exchange(isFirst, false)) failSystemCall(SYS_getdents64, EIO);
    };
    EXPECT_FALSE(files.visitDirectory(home, platform::EntrySizes::No, stopReading));
    EXPECT_FALSE(isFirst);
  });
}

TEST(SizesOnDisk, NeedOneDescriptorHoweverDeepATreeIs) {
  inTree([](const std::string& home) {
    const std::uint64_t size = QMFileManager::fileSize(home + "/a/b");
    const rlimit few{6, 6};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    EXPECT_EQ(QMFileManager::fileSize(home + "/a/b"), size);
  });
}

TEST(PatternsOnDisk, FindWhatTheWalkByPathsFindsInItsOrder) {
  inTree([](const std::string& home) {
    EXPECT_EQ(QMFileManager::filesMatchingWildcardPath("*/*", home + "/a"), twoLevelsByPaths(home + "/a"));
    EXPECT_EQ(QMFileManager::filesMatchingWildcardPath("*/*", home), twoLevelsByPaths(home));
  });
}

TEST(PatternsOnDisk, LeaveOutWhatHasTooLongAPath) {
  inTree([](const std::string& home) {
    std::string folder = home + "/a/b";
    while (folder.size() + 201 + 80 < PATH_MAX) folder += "/" + std::string(200, 'd');
    const auto found = QMFileManager::filesMatchingWildcardPath("*/*", foundation::deletingLastPathComponent(folder));
    EXPECT_EQ(found, twoLevelsByPaths(foundation::deletingLastPathComponent(folder)));
    EXPECT_FALSE(found.empty());
  });
}

}  // namespace
}  // namespace qm::testing
