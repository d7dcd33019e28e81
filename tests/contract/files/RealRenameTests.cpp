// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <csignal>
#include <functional>

#include "Platform/posix/RenameWithoutReplacing.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/contract/files/RealFiles.h"

/// Renaming on a file system that cannot promise to replace nothing: interference of others in between, and what a
/// process leaves that ends in between.
namespace qm::testing {
namespace {

constexpr int kFlagsOfRename = 4;

/// A folder with "file" ("text"), "folder" with "inner" in it, and "theirs", which is empty.
class Steps {
 public:
  Steps() : folder_(::open(home().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    makeFile(path("file"), "text");
    makeFolders(path("folder/inner"));
    makeFile(path("theirs"));
  }

  static std::string home() { return openFolder("home"); }
  static std::string path(const std::string& name) { return machineFolder() + "/home/" + name; }

  int rename(const std::string& name) const {
    const std::string to = "new";
    return posix::renameWithoutReplacing({folder_.get(), name}, {folder_.get(), to});
  }

  /// Renames in a process that is killed right after the first such call.
  void renameAndDieAfter(long call, const std::string& name) const {
    const pid_t child = ::fork();
    if (child == 0) {
      failSystemCall(SYS_renameat2, EINVAL, kFlagsOfRename);
      if (call == SYS_openat || call == SYS_renameat) failSystemCall(SYS_linkat, EPERM);
      afterSystemCall(call, [] { ::kill(::getpid(), SIGKILL); });
      std::_Exit(rename(name));
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status)) << "it was not there that it ended";
  }

 private:
  const posix::UniqueFd folder_;
};

void inSteps(const std::function<void(const Steps&)>& body) {
  runInPrivateMachine([&] {
    const Steps steps;
    inChild([&] {
      failSystemCall(SYS_renameat2, EINVAL, kFlagsOfRename);
      body(steps);
    });
  });
}

TEST(RenamingInSteps, LeavesAFileWholeUnderBothNamesWhenItEndsBetweenThem) {
  runInPrivateMachine([] {
    const Steps steps;
    steps.renameAndDieAfter(SYS_linkat, "file");
    EXPECT_EQ(textOf(Steps::path("file")), "text");
    EXPECT_EQ(attributesOf(Steps::path("new")).st_ino, attributesOf(Steps::path("file")).st_ino);
  });
}

TEST(RenamingInSteps, IsDoneWithAFileWhenTheFirstNameIsGone) {
  runInPrivateMachine([] {
    const Steps steps;
    steps.renameAndDieAfter(SYS_unlinkat, "file");
    EXPECT_FALSE(isThere(Steps::path("file")));
    EXPECT_EQ(textOf(Steps::path("new")), "text");
  });
}

TEST(RenamingInSteps, LeavesAnEmptyFileOnlyWhereAFileCannotHaveTwoNames) {
  runInPrivateMachine([] {
    const Steps steps;
    steps.renameAndDieAfter(SYS_openat, "file");
    EXPECT_EQ(textOf(Steps::path("file")), "text");
    EXPECT_EQ(attributesOf(Steps::path("new")).st_size, 0);
  });
}

TEST(RenamingInSteps, IsDoneWithAFileThatCannotHaveTwoNamesWhenItWasRenamed) {
  runInPrivateMachine([] {
    const Steps steps;
    steps.renameAndDieAfter(SYS_renameat, "file");
    EXPECT_FALSE(isThere(Steps::path("file")));
    EXPECT_EQ(textOf(Steps::path("new")), "text");
  });
}

TEST(RenamingInSteps, LeavesAFolderUnderOneNameWhereverItEnds) {
  runInPrivateMachine([] {
    const Steps steps;
    steps.renameAndDieAfter(SYS_newfstatat, "folder");
    EXPECT_TRUE(isThere(Steps::path("folder/inner")));
    EXPECT_FALSE(isThere(Steps::path("new")));
    steps.renameAndDieAfter(SYS_renameat, "folder");
    EXPECT_FALSE(isThere(Steps::path("folder")));
    EXPECT_TRUE(isThere(Steps::path("new/inner")));
  });
}

TEST(RenamingInSteps, WorksWhereAFileCannotHaveTwoNames) {
  inSteps([](const Steps& steps) {
    failSystemCall(SYS_linkat, EPERM);
    EXPECT_EQ(steps.rename("file"), 0);
    EXPECT_EQ(textOf(Steps::path("new")), "text");
    EXPECT_EQ(steps.rename("theirs"), EEXIST);
    EXPECT_EQ(textOf(Steps::path("new")), "text");
    EXPECT_EQ(countIn(Steps::path("")), 3U);
  });
}

TEST(RenamingInSteps, LeavesThePlaceholderOfNobodyBehindAFailure) {
  inSteps([](const Steps& steps) {
    failSystemCall(SYS_linkat, EPERM);
    failSystemCall(SYS_renameat, EIO);
    EXPECT_EQ(steps.rename("file"), EIO);
    EXPECT_EQ(textOf(Steps::path("file")), "text");
    EXPECT_FALSE(isThere(Steps::path("new")));
  });
}

TEST(RenamingInSteps, KeepsWhatTookThePlaceholdersName) {
  inSteps([](const Steps& steps) {
    failSystemCall(SYS_linkat, EPERM);
    const ino_t theirs = attributesOf(Steps::path("theirs")).st_ino;
    afterSystemCall(SYS_openat, [] {
      EXPECT_EQ(::rename(Steps::path("theirs").c_str(), Steps::path("new").c_str()), 0);
      EXPECT_EQ(::unlink(Steps::path("file").c_str()), 0);
    });
    EXPECT_EQ(steps.rename("file"), ENOENT);
    EXPECT_EQ(attributesOf(Steps::path("new")).st_ino, theirs);
  });
}

TEST(RenamingInSteps, KeepsThePlaceholderThatSomebodyHasWrittenInto) {
  inSteps([](const Steps& steps) {
    failSystemCall(SYS_linkat, EPERM);
    afterSystemCall(SYS_openat, [] {
      makeFile(Steps::path("new"), "kept");
      EXPECT_EQ(::unlink(Steps::path("file").c_str()), 0);
    });
    EXPECT_EQ(steps.rename("file"), ENOENT);
    EXPECT_EQ(textOf(Steps::path("new")), "kept");
  });
}

TEST(RenamingInSteps, TakesTheSecondNameBackWhenTheFirstOneStays) {
  inSteps([](const Steps& steps) {
    afterSystemCall(SYS_linkat,
                    [] { EXPECT_EQ(::rename(Steps::path("theirs").c_str(), Steps::path("file").c_str()), 0); });
    EXPECT_EQ(steps.rename("file"), ESTALE);
    EXPECT_TRUE(isThere(Steps::path("file"))) << "what took the first name stays";
    EXPECT_FALSE(isThere(Steps::path("new")));
  });
}

TEST(RenamingInSteps, KeepsWhatTookTheSecondName) {
  inSteps([](const Steps& steps) {
    makeFile(Steps::path("theirs"), "kept");
    afterSystemCall(SYS_linkat,
                    [] { EXPECT_EQ(::rename(Steps::path("theirs").c_str(), Steps::path("new").c_str()), 0); });
    EXPECT_EQ(steps.rename("file"), ESTALE);
    EXPECT_EQ(textOf(Steps::path("file")), "text");
    EXPECT_EQ(textOf(Steps::path("new")), "kept");
  });
}

/// Anything that gets the name after the check.
TEST(RenamingInSteps, LetsAFolderReplaceNeitherAFileNorAFolderWithSomethingInIt) {
  for (const bool withFolder : {false, true}) {
    inSteps([withFolder](const Steps& steps) {
      // The check of the new name is before, the rename after.
      afterSystemCall(SYS_openat, [withFolder] {
        const std::string file = Steps::path(withFolder ? "new/file" : "new");
        if (withFolder) makeFolders(Steps::path("new"));
        makeFile(file, "kept");
      });
      EXPECT_EQ(steps.rename("folder"), EEXIST);
      EXPECT_EQ(textOf(Steps::path(withFolder ? "new/file" : "new")), "kept");
      EXPECT_TRUE(isThere(Steps::path("folder/inner")));
    });
  }
}

}  // namespace
}  // namespace qm::testing
