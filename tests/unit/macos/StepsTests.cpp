// SPDX-License-Identifier: MIT

// The order of steps over calls that only a Mac has, and what is done if one of them fails.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>

#include "Platform/posix/FileError.h"
#include "Platform/posix/RemovalRules.h"
#include "Platform/posix/SecondTry.h"
#include "Platform/posix/Timespec.h"
#include "Platform/posix/rights/TakenRights.h"
#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::posix {
namespace {

// ---- answers of calls

TEST(ErrorReturned, IsTheAnswerItself) {
  EXPECT_EQ(errorReturned(0), 0);
  EXPECT_EQ(errorReturned(EIO), EIO);
}

TEST(ErrorReturned, IsTakenFromErrnoIfTheAnswerIsMinusOne) {
  errno = ENOSPC;
  EXPECT_EQ(errorReturned(-1), ENOSPC);
}

// ---- rights of a thread

constexpr ThreadIds kRoot{0, 0};
constexpr ThreadIds kPerson{501, 20};

/// A thread whose rights are taken and given back by calls that can fail.
struct Thread {
  TakenRights rights;
  ThreadIds ids = kRoot;
  int failures = 0;        // of the next calls
  bool isIgnored = false;  // calls succeed and change nothing
  int calls = 0;

  bool become(const ThreadIds& wanted) {
    ++calls;
    if (failures-- > 0) return false;
    if (!isIgnored) ids = wanted;
    return true;
  }
  void take() {
    rights.take(
        kPerson, [this] { return become(kPerson); }, [this] { return ids; });
  }
  void giveBack() {
    rights.giveBack(
        kRoot, [this] { return become(kRoot); }, [this] { return ids; });
  }
};

TEST(RightsOfAThread, AreTakenAndGivenBack) {
  Thread thread;
  EXPECT_TRUE(thread.rights.ok());
  thread.take();
  EXPECT_EQ(thread.ids, kPerson);
  EXPECT_TRUE(thread.rights.ok());
  thread.giveBack();
  EXPECT_EQ(thread.ids, kRoot);
  EXPECT_TRUE(thread.rights.ok());
  EXPECT_EQ(thread.calls, 2);
}

TEST(RightsOfAThread, AreNeitherTakenNorGivenBackTwice) {
  Thread thread;
  thread.giveBack();
  EXPECT_EQ(thread.calls, 0);
  thread.take();
  thread.take();
  EXPECT_EQ(thread.calls, 1);
  thread.giveBack();
  thread.giveBack();
  EXPECT_EQ(thread.calls, 2);
}

TEST(RightsOfAThread, AreNotThereIfTheCallFailsOrChangesNothing) {
  Thread failing;
  failing.failures = 1;
  failing.take();
  EXPECT_FALSE(failing.rights.ok());
  Thread ignored;
  ignored.isIgnored = true;
  ignored.take();
  EXPECT_FALSE(ignored.rights.ok());
}

TEST(RightsOfAThread, AreGivenBackEvenIfTheyCouldNotBeTaken) {
  Thread thread;
  thread.failures = 1;
  thread.take();
  thread.giveBack();
  EXPECT_EQ(thread.calls, 2);
  EXPECT_FALSE(thread.rights.ok());
  thread.take();
  EXPECT_TRUE(thread.rights.ok());
}

TEST(RightsOfAThread, AreGivenBackAtTheThirdAttempt) {
  Thread thread;
  thread.take();
  thread.failures = 2;
  thread.giveBack();
  EXPECT_EQ(thread.ids, kRoot);
  EXPECT_TRUE(thread.rights.ok());
}

TEST(RightsOfAThread, AreNotInOrderIfTheyCannotBeGivenBack) {
  for (const bool isIgnored : {false, true}) {
    Thread thread;
    thread.take();
    thread.isIgnored = isIgnored;
    thread.failures = isIgnored ? 0 : 3;
    thread.giveBack();
    EXPECT_EQ(thread.calls, 4);
    EXPECT_FALSE(thread.rights.ok());
    thread.take();
    EXPECT_EQ(thread.calls, 4);
    EXPECT_FALSE(thread.rights.ok());
    thread.isIgnored = false;
    thread.giveBack();
    EXPECT_EQ(thread.ids, kRoot);
    EXPECT_FALSE(thread.rights.ok());
  }
}

/// A thread that can have one identity beside its process's. The call takes it as a whole, and fails while there is
/// one.
struct ThreadWithIdentity {
  std::optional<ThreadIds> identity;

  ThreadIds ids() const { return identity.value_or(kRoot); }
  bool set(const ThreadIds& wanted) {
    if (identity) return false;
    identity = wanted;
    return true;
  }
  bool drop() { return std::exchange(identity, std::nullopt).has_value(); }
  void take(TakenRights& rights, const ThreadIds& wanted) {
    rights.take(
        wanted, [&] { return set(wanted); }, [this] { return ids(); }, FailedCall::TookNothing);
  }
  void giveBack(TakenRights& rights, const ThreadIds& own) {
    rights.giveBack(
        own, [this] { return drop(); }, [this] { return ids(); });
  }
};

constexpr ThreadIds kOtherPerson{502, 20};

TEST(RightsTakenByASingleCall, StayThoseOfTheFirstIfTheSecondCouldNotBeTaken) {
  ThreadWithIdentity thread;
  TakenRights first;
  TakenRights second;
  thread.take(first, kPerson);
  thread.take(second, kOtherPerson);
  EXPECT_FALSE(second.ok());
  thread.giveBack(second, kPerson);
  EXPECT_EQ(thread.ids(), kPerson);
  EXPECT_TRUE(first.ok());
  thread.giveBack(first, kRoot);
  EXPECT_EQ(thread.ids(), kRoot);
  EXPECT_TRUE(first.ok());
}

TEST(RightsTakenByASingleCall, CanBeTakenAnewAfterAFailure) {
  ThreadWithIdentity thread;
  TakenRights first;
  TakenRights second;
  thread.take(first, kPerson);
  thread.take(second, kOtherPerson);
  thread.giveBack(first, kRoot);
  thread.take(second, kOtherPerson);
  EXPECT_TRUE(second.ok());
  EXPECT_EQ(thread.ids(), kOtherPerson);
  thread.giveBack(second, kRoot);
  EXPECT_EQ(thread.ids(), kRoot);
}

// ---- second attempts

/// A call that returns -1 with an error, or a descriptor if there is none.
auto opening(int error, int& calls) {
  return [error, &calls] {
    ++calls;
    errno = error;
    return error != 0 ? -1 : 7;
  };
}

/// Opens with calls that fail with these errors. Returns the last error, 0 for success.
int openedAfter(int itemError, int folderError, int& folderCalls) {
  int itemCalls = 0;
  folderCalls = 0;
  const int opened = openItemOrFolder(opening(itemError, itemCalls), opening(folderError, folderCalls));
  EXPECT_EQ(itemCalls, 1);
  return opened < 0 ? errno : 0;
}

TEST(OpeningAnItem, IsTriedAsAFolderOnlyIfItMayNotBeRead) {
  int folderCalls = 0;
  EXPECT_EQ(openedAfter(0, 0, folderCalls), 0);
  EXPECT_EQ(folderCalls, 0);
  for (const int error : {ENOENT, EPERM, EOPNOTSUPP, EMFILE}) {
    EXPECT_EQ(openedAfter(error, 0, folderCalls), error);
    EXPECT_EQ(folderCalls, 0);
  }
  EXPECT_EQ(openedAfter(EACCES, 0, folderCalls), 0);
  EXPECT_EQ(folderCalls, 1);
}

TEST(OpeningAnItem, FailsWithTheFirstError) {
  int folderCalls = 0;
  EXPECT_EQ(openedAfter(EACCES, ENOTDIR, folderCalls), EACCES);
  EXPECT_EQ(folderCalls, 1);
}

TEST(FlushingAFile, IsDoneWithoutTheDisksCacheOnlyIfThatIsNotSupported) {
  const auto flushed = [](int wholeError, int plainError) {
    return flushAsFarAsSupported([=] { return wholeError; }, [=] { return plainError; });
  };
  EXPECT_EQ(flushed(0, EIO), 0);
  for (const int error : {ENOTSUP, EINVAL, ENOTTY}) {
    EXPECT_EQ(flushed(error, 0), 0) << error;
    EXPECT_EQ(flushed(error, EIO), EIO) << error;
  }
  for (const int error : {EIO, ENOSPC, EBADF}) EXPECT_EQ(flushed(error, 0), error) << error;
}

TEST(StepsOfAWork, EndAtTheFirstThatFails) {
  int calls = 0;
  const auto step = [&](int error) {
    return [&calls, error] {
      ++calls;
      return error;
    };
  };
  EXPECT_EQ(firstFailure(step(0), step(0), step(0)), 0);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(firstFailure(step(0), step(-600), step(-1)), -600);
  EXPECT_EQ(calls, 5);
  EXPECT_EQ(firstFailure(step(EIO), step(0)), EIO);
  EXPECT_EQ(calls, 6);
}

mode_t madeMode = 0;
int makeFifo(int /*folder*/, const char* name, mode_t mode) {
  madeMode = mode;
  errno = EEXIST;
  return std::string_view(name) == "taken" ? -1 : 0;
}

TEST(MakingAFifo, IsAllThatSomeSystemsCanDoInAFolder) {
  EXPECT_EQ(makeFifoOnly(makeFifo, 3, "fifo", S_IFIFO | 0640), 0);
  EXPECT_EQ(madeMode, 0640U);
  EXPECT_EQ(makeFifoOnly(makeFifo, 3, "taken", S_IFIFO | 0600), EEXIST);
  madeMode = 0;
  for (const mode_t kind : {mode_t{S_IFSOCK}, mode_t{S_IFCHR}, mode_t{S_IFBLK}}) {
    EXPECT_EQ(makeFifoOnly(makeFifo, 3, "node", kind | 0600), ENOTSUP);
  }
  EXPECT_EQ(makeFifoOnly(nullptr, 3, "fifo", S_IFIFO | 0600), ENOTSUP);
  EXPECT_EQ(madeMode, 0U);
}

// ---- removals

TEST(RemovalOfAnItem, IsDeniedOnlyByARefusal) {
  const qm::testing::TemporaryFolder disk;
  disk.addFile("file");
  std::filesystem::create_symlink("file", disk.at("link"));
  const UniqueFd folder = disk.open("");
  int asked = 0;
  const auto isDenied = [&](const char* name, int error) {
    const auto ask = [&] {
      ++asked;
      return error;
    };
    return isRemovalDeniedBy(ask, folder.get(), name);
  };
  EXPECT_TRUE(isDenied("file", EACCES));
  EXPECT_TRUE(isDenied("file", EPERM));
  EXPECT_FALSE(isDenied("file", 0));
  EXPECT_FALSE(isDenied("file", ENOENT));
  EXPECT_EQ(asked, 4);
  EXPECT_FALSE(isDenied("link", EACCES));
  EXPECT_FALSE(isDenied("missing", EACCES));
  EXPECT_EQ(asked, 4);
}

// ---- dates

TEST(DateOfACall, CountsNanosecondsForward) {
  using std::chrono::nanoseconds;
  using std::chrono::system_clock;
  const auto at = [](std::int64_t count) {
    return timespecOf(system_clock::time_point(std::chrono::duration_cast<system_clock::duration>(nanoseconds(count))));
  };
  EXPECT_EQ(at(1'500'000'000).tv_sec, 1);
  EXPECT_EQ(at(1'500'000'000).tv_nsec, 500'000'000);
  EXPECT_EQ(at(-1'500'000'000).tv_sec, -2);
  EXPECT_EQ(at(-1'500'000'000).tv_nsec, 500'000'000);
  EXPECT_EQ(at(-2'000'000'000).tv_sec, -2);
  EXPECT_EQ(at(-2'000'000'000).tv_nsec, 0);
}

}  // namespace
}  // namespace qm::posix
