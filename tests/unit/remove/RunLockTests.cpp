// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/RunLock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace qm::removal {
namespace {

// Never a user of the system: root's lock is in /run.
constexpr uid_t kSomebody = 4242;

/// A folder for the lock. If the test may not change its owner, the user is the one who runs the test.
class Lock : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = ::testing::TempDir() + "lockXXXXXX";
    folder = ::mkdtemp(pattern.data());
    user = ::getuid() == 0 ? kSomebody : ::getuid();
    ASSERT_EQ(::chown(folder.c_str(), user, static_cast<gid_t>(-1)), 0);
  }
  void TearDown() override { std::filesystem::remove_all(folder); }

  std::string folder;
  uid_t user = 0;
};

TEST_F(Lock, IsHeldByOneAtATime) {
  {
    const RunLock first = RunLock::take(user, folder, folder);
    EXPECT_TRUE(first.isHeld());
    const RunLock second = RunLock::take(user, folder, folder);
    EXPECT_FALSE(second.isHeld());
    EXPECT_EQ(second.problem(), "Another run of tessaly-remove is under way.");
  }
  EXPECT_TRUE(RunLock::take(user, folder, folder).isHeld());
}

TEST_F(Lock, IsTakenThroughNoLink) {
  ASSERT_EQ(::symlink("/dev/null", (folder + "/tessaly-remove.lock").c_str()), 0);
  const RunLock lock = RunLock::take(user, folder, folder);
  EXPECT_FALSE(lock.isHeld());
  EXPECT_EQ(lock.problem(), "The lock against a second run couldn’t be taken: Too many levels of symbolic links.");
}

}  // namespace
}  // namespace qm::removal
