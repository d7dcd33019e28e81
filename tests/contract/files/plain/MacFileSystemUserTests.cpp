// SPDX-License-Identifier: MIT

// Another user's rights for a thread of root's, taken as on a Mac.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "Platform/posix/rights/ThreadIdentity.h"
#include "tests/contract/files/RealFiles.h"

namespace qm::testing {
namespace {

using posix::FileSystemIdentity;
using posix::FileSystemUser;
using posix::ThreadIds;
using posix::threadIds;

constexpr ThreadIds kRootsIds{0, 0};
constexpr ThreadIds kActingIds{1000, 1000};
constexpr ThreadIds kAnothersIds{1001, 1001};
const FileSystemIdentity kActing{.uid = 1000, .gid = 1000, .groups = {}};
const FileSystemIdentity kAnother{.uid = 1001, .gid = 1001, .groups = {}};

TEST(FileSystemUserOfAMac, MayDoNoMoreThanTheUserUntilItIsGone) {
  runInPrivateMachine([] {
    makeFolders(machineFolder() + "/roots", 0755);
    const std::string file = machineFolder() + "/roots/a";
    {
      const FileSystemUser acting(&kActing);
      EXPECT_TRUE(acting.ok());
      EXPECT_EQ(threadIds(), kActingIds);
      EXPECT_EQ(::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), -1);
      EXPECT_EQ(errno, EACCES);
    }
    EXPECT_EQ(threadIds(), kRootsIds);
    makeFile(file);
    EXPECT_TRUE(isThere(file));
  });
}

TEST(FileSystemUserOfAMac, ActsForAnAdministratorWithTheGroupOfAdministrators) {
  runInPrivateMachine([] {
    const FileSystemIdentity administrator{.uid = 1000, .gid = 1000, .groups = {1000, posix::kAdministrators}};
    const FileSystemUser acting(&administrator);
    EXPECT_TRUE(acting.ok());
    EXPECT_EQ(threadIds(), (ThreadIds{1000, posix::kAdministrators}));
  });
}

TEST(FileSystemUserOfAMac, TakesNothingWithoutAnIdentityOrForItsOwnUser) {
  runInPrivateMachine([] {
    const FileSystemIdentity own{.uid = 0, .gid = 1000, .groups = {posix::kAdministrators}};
    for (const FileSystemIdentity* identity : {static_cast<const FileSystemIdentity*>(nullptr), &own}) {
      FileSystemUser acting(identity);
      EXPECT_TRUE(acting.ok());
      EXPECT_EQ(threadIds(), kRootsIds);
      acting.leave();
      acting.enter();
      EXPECT_TRUE(acting.ok());
      EXPECT_EQ(threadIds(), kRootsIds);
    }
  });
}

TEST(FileSystemUserOfAMac, LeavesAndEntersAgain) {
  runInPrivateMachine([] {
    FileSystemUser acting(&kActing);
    acting.leave();
    EXPECT_EQ(threadIds(), kRootsIds);
    EXPECT_TRUE(acting.ok());
    acting.enter();
    EXPECT_EQ(threadIds(), kActingIds);
    EXPECT_TRUE(acting.ok());
  });
}

TEST(FileSystemUserOfAMac, KeepsItsRightsWhenAnotherObjectCannotTakeOthers) {
  runInPrivateMachine([] {
    const FileSystemUser acting(&kActing);
    {
      const FileSystemUser inner(&kAnother);
      EXPECT_FALSE(inner.ok());
    }
    EXPECT_EQ(threadIds(), kActingIds);
    EXPECT_TRUE(acting.ok());
  });
}

TEST(FileSystemUserOfAMac, KeepsItsRightsWhenAnotherObjectHasTheSameUser) {
  runInPrivateMachine([] {
    const FileSystemUser acting(&kActing);
    {
      const FileSystemUser inner(&kActing);
      EXPECT_TRUE(inner.ok());
    }
    EXPECT_EQ(threadIds(), kActingIds);
  });
}

TEST(FileSystemUserOfAMac, TakesItsRightsOnceTheOtherObjectHasGivenUpIts) {
  runInPrivateMachine([] {
    FileSystemUser first(&kActing);
    FileSystemUser second(&kAnother);
    EXPECT_FALSE(second.ok());
    first.leave();
    second.enter();
    EXPECT_TRUE(second.ok());
    EXPECT_EQ(threadIds(), kAnothersIds);
  });
}

}  // namespace
}  // namespace qm::testing
