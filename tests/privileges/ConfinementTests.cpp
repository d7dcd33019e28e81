// SPDX-License-Identifier: MIT

// What a confined process can still do, and where. Without Landlock a confined process can do everything.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <cstdlib>

#include <cerrno>
#include <functional>
#include <map>
#include <string>

#include "Platform/linux/privileges/helper/Confinement.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::Confinement;
using posix::UniqueFd;

int errorOf(bool isDone) { return isDone ? 0 : errno; }

int opened(const std::string& path, int flags) {
  return errorOf(static_cast<bool>(UniqueFd(::open(path.c_str(), flags | O_CLOEXEC, 0600))));
}

// The system looks at the contents of a program only if it may be executed.
int executed(const std::string& path) {
  ::execl(path.c_str(), path.c_str(), nullptr);
  return errno == ENOEXEC ? 0 : errno;
}

int made(const std::string& path, mode_t kind, dev_t device = 0) {
  return errorOf(::mknod(path.c_str(), kind | 0600U, device) == 0);
}

using Attempts = std::map<std::string, int>;

// What one can do in a folder from `makeContents`, each with its error number. No attempt depends on another one.
Attempts attemptsIn(const std::string& folder) {
  return {{"read a file", opened(folder + "/file", O_RDONLY)},
          {"list a folder", opened(folder, O_RDONLY | O_DIRECTORY)},
          {"write a file", opened(folder + "/file", O_WRONLY)},
          {"truncate a file", errorOf(::truncate((folder + "/file").c_str(), 1) == 0)},
          {"execute a file", executed(folder + "/program")},
          {"make a file", opened(folder + "/new file", O_WRONLY | O_CREAT | O_EXCL)},
          {"make a folder", errorOf(::mkdir((folder + "/new folder").c_str(), 0700) == 0)},
          {"make a link", errorOf(::symlink("file", (folder + "/new link").c_str()) == 0)},
          {"make a socket", made(folder + "/new socket", S_IFSOCK)},
          {"make a pipe", made(folder + "/new pipe", S_IFIFO)},
          {"make a character device", made(folder + "/new character device", S_IFCHR, makedev(1, 3))},
          {"make a block device", made(folder + "/new block device", S_IFBLK, makedev(7, 0))},
          {"remove a file", errorOf(::unlink((folder + "/spare").c_str()) == 0)},
          {"remove a folder", errorOf(::rmdir((folder + "/empty").c_str()) == 0)},
          {"move to another folder",
           errorOf(::rename((folder + "/one/item").c_str(), (folder + "/other/item").c_str()) == 0)}};
}

std::string makeContents(const std::string& name) {
  needRootsOwnSystem();  // others may make no devices
  std::string folder = machineFolder() + "/" + name;
  for (const char* below : {"", "/one", "/other", "/empty"}) makeFolder(folder + below);
  for (const char* file : {"/file", "/spare", "/one/item"}) makeFile(folder + file, "text");
  makeFile(folder + "/program", "this is no program", 0, 0755);
  return folder;
}

UniqueFd pin(const std::string& path) { return UniqueFd(::open(path.c_str(), O_PATH | O_CLOEXEC)); }

// All of them end with this error, except these.
Attempts all(int error, const Attempts& except = {}) {
  Attempts attempts = except;
  for (const auto& [name, unused] : attemptsIn("/proc/self/no such folder")) attempts.try_emplace(name, error);
  return attempts;
}

// In a process that ends without a sanitizer's look for leaks, because that would read files that are refused to it.
void runConfined(const std::function<void()>& body) {
  runInPrivateMachine([&] {
    body();
    ::_exit(::testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
  });
}

// The error of what is not allowed.
int refused() { return Confinement::isAvailable() ? EACCES : 0; }

TEST(ConfinedProcess, DoesEverythingInItsFolderAndNothingElsewhere) {
  runConfined([] {
    const std::string own = makeContents("own");
    const std::string strange = makeContents("strange");
    Confinement confinement;
    confinement.allowAll(pin(own).get());
    ASSERT_EQ(confinement.enforce(), 0);
    EXPECT_EQ(attemptsIn(strange), all(refused()));
    EXPECT_EQ(attemptsIn(own), all(0));
  });
}

TEST(ConfinedProcess, OnlyReadsWhereItMayOnlyRead) {
  runConfined([] {
    const std::string folder = makeContents("folder");
    Confinement confinement;
    confinement.allowReading(pin(folder).get());
    ASSERT_EQ(confinement.enforce(), 0);
    EXPECT_EQ(attemptsIn(folder), all(refused(), {{"read a file", 0}, {"list a folder", 0}}));
  });
}

TEST(ConfinedProcess, ReadsTheOneFileThatItMayRead) {
  runConfined([] {
    const std::string folder = makeContents("folder");
    Confinement confinement;
    confinement.allowReading(pin(folder + "/file").get());
    ASSERT_EQ(confinement.enforce(), 0);
    EXPECT_EQ(attemptsIn(folder), all(refused(), {{"read a file", 0}}));
    EXPECT_EQ(opened(folder + "/spare", O_RDONLY), refused());
  });
}

TEST(ConfinedProcess, MayHaveSeveralFolders) {
  runConfined([] {
    const std::string one = makeContents("one folder");
    const std::string other = makeContents("other folder");
    Confinement confinement;
    confinement.allowAll(pin(one).get());
    confinement.allowAll(pin(other).get());
    ASSERT_EQ(confinement.enforce(), 0);
    EXPECT_EQ(errorOf(::rename((one + "/spare").c_str(), (other + "/moved").c_str()) == 0), 0);
  });
}

TEST(ConfinedProcess, IsNotConfinedIfAFolderCouldNotBeAllowed) {
  if (!Confinement::isAvailable()) return;
  runInPrivateMachine([] {
    const std::string folder = makeContents("folder");
    Confinement confinement;
    confinement.allowAll(-1);
    confinement.allowAll(pin(folder).get());
    EXPECT_EQ(confinement.enforce(), EBADF);
    EXPECT_EQ(opened(folder + "/file", O_RDONLY), 0);
  });
}

TEST(ConfinedProcess, IsNotConfinedIfTheKernelMakesNoRules) {
  if (!Confinement::isAvailable()) return;
  runInPrivateMachine([] {
    failSystemCall(SYS_landlock_create_ruleset, ENOMEM, 0);
    Confinement confinement;
    confinement.allowAll(pin(machineFolder()).get());
    EXPECT_EQ(confinement.enforce(), ENOMEM);
  });
}

TEST(ConfinedProcess, SaysThatTheKernelDidNotConfineIt) {
  if (!Confinement::isAvailable()) return;
  runInPrivateMachine([] {
    failSystemCall(SYS_landlock_restrict_self, E2BIG);
    Confinement confinement;
    confinement.allowAll(pin(machineFolder()).get());
    EXPECT_EQ(confinement.enforce(), E2BIG);
  });
}

TEST(ConfinedProcess, CanDoEverythingOnAKernelWithoutSupport) {
  runInPrivateMachine([] {
    const std::string folder = makeContents("folder");
    failSystemCall(SYS_landlock_create_ruleset, ENOSYS);
    EXPECT_FALSE(Confinement::isAvailable());
    EXPECT_EQ(Confinement().enforce(), 0);
    EXPECT_EQ(attemptsIn(folder), all(0));
  });
}

}  // namespace
}  // namespace qm::testing
