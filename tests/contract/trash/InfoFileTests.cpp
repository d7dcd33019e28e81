// SPDX-License-Identifier: MIT

// The ".trashinfo" file of one item: it reserves the name, and is gone again unless it is kept.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "Platform/linux/trash/InfoFile.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::InfoFile;
using linux_::WrittenThrough;

const std::string kInfoFolder = "/tmp/info";
const std::string kInfoFile = kInfoFolder + "/a.trashinfo";

void playInFolder(const std::function<void(World&, int folder)>& body) {
  World::play([&](World& world) {
    world.makeFolder(kInfoFolder);
    const posix::UniqueFd folder(::open(kInfoFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    body(world, folder.get());
  });
}

// What the next file that is opened gets.
int nextDescriptor() {
  const posix::UniqueFd next(::open("/", O_PATH | O_CLOEXEC));
  return next.get();
}

TEST(TrashInfoFile, IsThereWhileItIsNeededAndLongerIfItIsKept) {
  playInFolder([](World& world, int folder) {
    {
      InfoFile info(folder, "a");
      EXPECT_EQ(info.create("text", WrittenThrough::Yes), 0);
      EXPECT_EQ(world.contentsOf(kInfoFile), "text");
      EXPECT_EQ(world.modeOf(kInfoFile), 0600U);
    }
    EXPECT_EQ(world.kindOf(kInfoFile), ItemKind::Nothing);
    {
      InfoFile info(folder, "a");
      EXPECT_EQ(info.create("text", WrittenThrough::No), 0);
      info.keep();
      info.discard();
    }
    EXPECT_EQ(world.contentsOf(kInfoFile), "text");
  });
}

TEST(TrashInfoFile, LeavesWhatOthersHaveMadeAlone) {
  playInFolder([](World& world, int folder) {
    world.makeFile(kInfoFile, "another");
    {
      InfoFile info(folder, "a");
      EXPECT_EQ(info.create("text", WrittenThrough::No), EEXIST);
    }
    EXPECT_EQ(world.contentsOf(kInfoFile), "another");
    world.removeFile(kInfoFile);
    {
      InfoFile info(folder, "a");
      EXPECT_EQ(info.create("text", WrittenThrough::No), 0);
      info.discard();
      world.makeFile(kInfoFile, "newcomer");
    }
    EXPECT_EQ(world.contentsOf(kInfoFile), "newcomer");
  });
}

TEST(TrashInfoFile, IsMadeBehindNoLink) {
  playInFolder([](World& world, int folder) {
    world.makeLink(kInfoFile, "/tmp/elsewhere");
    InfoFile info(folder, "a");
    EXPECT_EQ(info.create("text", WrittenThrough::No), EEXIST);
    EXPECT_EQ(world.kindOf("/tmp/elsewhere"), ItemKind::Nothing);
  });
}

struct FailingInfoCall {
  long call = 0;
  int error = 0;
  WrittenThrough writtenThrough = WrittenThrough::Yes;
  int result = 0;
};

TEST(TrashInfoFile, ReportsWhatFailsAndIsNotLeft) {
  for (const FailingInfoCall& failing : {FailingInfoCall{SYS_write, EIO, WrittenThrough::No, EIO},
                                         {SYS_fsync, EIO, WrittenThrough::Yes, EIO},
                                         {SYS_fsync, EIO, WrittenThrough::No, 0},
                                         {SYS_close, ENOSPC, WrittenThrough::No, ENOSPC},
                                         {SYS_close, EINTR, WrittenThrough::No, 0}}) {
    playInFolder([&](World& world, int folder) {
      inChild([&] {
        failSystemCallOn(nextDescriptor(), failing.call, failing.error);
        InfoFile info(folder, "a");
        EXPECT_EQ(info.create("text", failing.writtenThrough), failing.result) << failing.call;
      });
      EXPECT_EQ(world.kindOf(kInfoFile), ItemKind::Nothing);
    });
  }
}

TEST(TrashInfoFile, IsNotLeftHalfWritten) {
  playInFolder([](World& world, int folder) {
    inChild([&] {
      ASSERT_NE(::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
      rlimit limit{};
      ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
      limit.rlim_cur = 4;
      ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
      InfoFile whole(folder, "b");
      EXPECT_EQ(whole.create("four", WrittenThrough::No), 0);
      InfoFile info(folder, "a");
      EXPECT_EQ(info.create("longer", WrittenThrough::No), EFBIG);
      limit.rlim_cur = limit.rlim_max;
      ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    });
    EXPECT_EQ(world.kindOf(kInfoFile), ItemKind::Nothing);
  });
}

TEST(TrashInfoFile, IsNotMadeInAFolderThatIsGone) {
  InfoFile info(-1, "a");
  EXPECT_EQ(info.create("text", WrittenThrough::No), EBADF);
}

}  // namespace
}  // namespace qm::testing
