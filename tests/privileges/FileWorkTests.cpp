// SPDX-License-Identifier: MIT

// The five file tools for root: each rule of their destinations, and their failures in the middle.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string>
#include <vector>

#include "tests/privileges/LaunchMachine.h"
#include "tests/privileges/MeddledPolicy.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Arguments = std::vector<std::string>;

class WorkOnFiles : public ::testing::Test {
 protected:
  static void run(const std::function<void()>& body) {
    runInPrivateMachine([&] {
      needRootsOwnSystem();
      makeFolder(system());
      makeFile(system() + "/file", "roots");
      makeFolder(home(), kPerson);
      makeFile(home() + "/own", "own", kPerson);
      body();
    });
  }

  static void expectRefused(const Outcome& outcome, int error, const std::string& reason) {
    EXPECT_EQ(outcome.error, error);
    EXPECT_EQ(outcome.reason, reason);
  }

  static void expectFailed(const Outcome& outcome, const std::string& note) {
    EXPECT_TRUE(outcome.started()) << outcome.reason;
    EXPECT_EQ(outcome.waitStatus, 1 << 8);
    EXPECT_EQ(outcome.note, note);
  }

  static Outcome copy(const std::string& from, const std::string& to) {
    return launch("/bin/cp", {"-f", "-p", "-R", from, to});
  }
  static Outcome move(const std::string& from, const std::string& to) { return launch("/bin/mv", {"-f", from, to}); }

  static std::string system() { return machineFolder() + "/system"; }
  static std::string home() { return machineFolder() + "/home"; }
};

TEST_F(WorkOnFiles, DoesNothingWhereItIsNotConfined) {
  run([] {
    makeFolder(home() + "/hollow", kPerson);
    const MeddledPolicy policy([] { failSystemCall(SYS_landlock_restrict_self, EPERM); });
    const std::string denied = "Operation not permitted";
    expectFailed(launch(policy, "/bin/rm", {"-f", home() + "/own"}), denied);
    expectFailed(launch(policy, "/bin/mkdir", {home() + "/new"}), denied);
    expectFailed(launch(policy, "/bin/mv", {home() + "/own", home() + "/new"}), home() + "/own: " + denied);
    expectFailed(launch(policy, "/bin/cp", {home() + "/own", home() + "/new"}), home() + "/own: " + denied);
    expectFailed(launch(policy, "/bin/rm", {"--if-hollow", home() + "/hollow"}), home() + "/hollow: " + denied);
    EXPECT_EQ(namesIn(home()), (Arguments{"hollow", "own"}));
  });
}

TEST_F(WorkOnFiles, ReportsWhatEachOperandMet) {
  run([] {
    const std::string taken = home() + "/own";
    expectFailed(launch("/bin/mkdir", {taken, home() + "/one"}), taken + ": File exists");
    expectFailed(launch("/bin/mkdir", {home() + "/two", taken, system() + "/file"}),
                 taken + ": File exists; " + system() + "/file: File exists");
    EXPECT_EQ(namesIn(home()), (Arguments{"one", "own", "two"}));
    const MeddledPolicy policy([] { failSystemCall(SYS_unlinkat, EIO); });
    expectFailed(launch(policy, "/bin/rm", {"-f", taken}), taken + ": Input/output error");
  });
}

TEST_F(WorkOnFiles, RefusesAllOperandsIfOneIsRefused) {
  run([] {
    makeLink(home() + "/link", system(), kPerson);
    EXPECT_EQ(launch("/bin/rm", {"-f", home() + "/own", home() + "/link/file"}).error, ELOOP);
    EXPECT_EQ(launch("/bin/rm", {"--if-hollow", home() + "/link/file"}).error, ELOOP);
    EXPECT_TRUE(exists(home() + "/own"));
  });
}

TEST_F(WorkOnFiles, FindsNothingToRemoveBelowAFile) {
  run([] {
    EXPECT_TRUE(launch("/bin/rm", {"-f", system() + "/file/item"}).succeeded());
    EXPECT_TRUE(launch("/bin/rm", {"-f", system() + "/missing"}).succeeded());
    EXPECT_EQ(contentsOf(system() + "/file"), "roots");
  });
}

TEST_F(WorkOnFiles, MakesNoParentFoldersUnlessThatIsMeant) {
  run([] {
    EXPECT_TRUE(launch("/bin/mkdir", {system() + "/one/two"}).succeeded());
    EXPECT_FALSE(exists(system() + "/one"));
    EXPECT_TRUE(launch("/bin/mkdir", {system() + "/one"}).succeeded());
    EXPECT_TRUE(launch("/bin/mkdir", {system() + "/one"}).succeeded());
    EXPECT_EQ(modeOf(system() + "/one"), 0755U);
  });
}

TEST_F(WorkOnFiles, SetsTheDate) {
  run([] {
    makeFolder(home() + "/folder", kPerson);
    ASSERT_EQ(::link((system() + "/file").c_str(), (system() + "/other").c_str()), 0);
    for (const std::string& path : {home() + "/own", home() + "/folder", system() + "/file"}) {
      const timespec old[] = {{1000, 0}, {1000, 0}};
      ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), old, 0), 0);
      const time_t before = ::time(nullptr);
      EXPECT_TRUE(launch("/usr/bin/touch", {"-c", path}).succeeded()) << path;
      struct stat now {};
      ASSERT_EQ(::stat(path.c_str(), &now), 0);
      EXPECT_GE(now.st_mtime, before - 1);
    }
    const MeddledPolicy policy([] { failSystemCall(SYS_utimensat, EIO); });
    expectFailed(launch(policy, "/usr/bin/touch", {home() + "/own"}), home() + "/own: Input/output error");
  });
}

TEST_F(WorkOnFiles, NeitherMovesNorCopiesAnItemToItself) {
  run([] {
    const std::string item = system() + "/file";
    expectRefused(move(item, item), EEXIST, item + ": it is the item itself");
    expectRefused(copy(item, system()), EEXIST, system() + ": it is the item itself");
    EXPECT_EQ(contentsOf(item), "roots");
  });
}

TEST_F(WorkOnFiles, ReplacesNoFolderByAFileAndNoFileByAFolder) {
  run([] {
    makeFolder(machineFolder() + "/own");
    makeFolder(home() + "/file", kPerson);
    for (const auto& put : {move, copy}) {
      expectRefused(put(machineFolder() + "/own", home()), ENOTDIR, home() + ": Not a directory");
      expectRefused(put(system() + "/file", home()), EISDIR, home() + ": Is a directory");
    }
  });
}

TEST_F(WorkOnFiles, ReplacesAnEmptyFolderByAMovedOne) {
  run([] {
    makeFolder(system() + "/tree");
    makeFile(system() + "/tree/file", "moved");
    makeFolder(home() + "/tree", kPerson);
    EXPECT_TRUE(move(system() + "/tree", home()).succeeded());
    EXPECT_EQ(contentsOf(home() + "/tree/file"), "moved");
  });
}

TEST_F(WorkOnFiles, PutsNoFileWhereAFolderIsMeant) {
  run([] {
    for (const auto& put : {move, copy}) {
      expectRefused(put(system() + "/file", home() + "/new/"), ENOTDIR, home() + "/new/: Not a directory");
    }
    EXPECT_FALSE(exists(home() + "/new"));
  });
}

TEST_F(WorkOnFiles, CopiesThroughNoLinkAndReplacesOneByAMove) {
  run([] {
    makeLink(home() + "/link", "own", kPerson);
    makeFolder(home() + "/folder", kPerson);
    makeLink(home() + "/folder/file", "../own", kPerson);
    expectRefused(copy(system() + "/file", home() + "/link"), ELOOP, home() + "/link: a link is in the way");
    expectRefused(copy(system() + "/file", home() + "/folder"), ELOOP, home() + "/folder/file: a link is in the way");
    EXPECT_TRUE(move(system() + "/file", home() + "/folder").succeeded());
    EXPECT_TRUE(move(home() + "/folder/file", home() + "/link").succeeded());
    EXPECT_FALSE(isLink(home() + "/link"));
    EXPECT_EQ(contentsOf(home() + "/link"), "roots");
    EXPECT_EQ(contentsOf(home() + "/own"), "own");
  });
}

TEST_F(WorkOnFiles, MergesNothingInAFolderOfThePersons) {
  run([] {
    makeFolder(home() + "/tree");
    makeFolder(system() + "/tree");
    expectRefused(copy(system() + "/tree", home()), EPERM,
                  home() + ": nothing is copied into a folder that users other than root can change");
  });
}

TEST_F(WorkOnFiles, ReportsAnItemThatHasBeenExchangedSinceItWasChecked) {
  run([] {
    const std::string item = home() + "/own";
    for (const Arguments& command : {Arguments{"/bin/mv", item}, {"/bin/cp", item}}) {
      const MeddledPolicy exchanged([&] {
        makeFile(home() + "/new", "new", kPerson);
        ASSERT_EQ(::rename((home() + "/new").c_str(), item.c_str()), 0);
      });
      expectFailed(launch(exchanged, command[0], {item, system() + "/item"}), item + ": Stale file handle");
      const MeddledPolicy removed([&] { ASSERT_EQ(::unlink(item.c_str()), 0); });
      expectFailed(launch(removed, command[0], {item, system() + "/item"}), item + ": Stale file handle");
      makeFile(item, "own", kPerson);
    }
    EXPECT_FALSE(exists(system() + "/item"));
  });
}

TEST_F(WorkOnFiles, ReportsThatItHasNoDescriptorsLeft) {
  run([] {
    const std::string item = home() + "/own";
    const std::vector<std::function<void()>> shortages = {[] { failSystemCall(SYS_fcntl, EMFILE); },
                                                          [] { leaveDescriptors(2); }};
    for (const auto& shortage : shortages) {
      for (const std::string tool : {"/bin/mv", "/bin/cp"}) {
        expectFailed(launch(MeddledPolicy(shortage), tool, {item, system() + "/item"}), item + ": Too many open files");
      }
    }
    EXPECT_FALSE(exists(system() + "/item"));
  });
}

TEST_F(WorkOnFiles, GivesTheReasonWhyNothingIsDoneUnconfined) {
  run([] {
    makeFolder(system() + "/tree", kPerson);
    mountTmpfs(machineFolder() + "/volume", "mode=0755");
    inChild([] {
      failSystemCall(SYS_landlock_create_ruleset, ENOSYS);
      const std::string kernel = ", and this kernel has no Landlock";
      expectRefused(move(home() + "/own", machineFolder() + "/volume/own"), ENOTSUP,
                    home() + "/own: it would go to another volume" + kernel);
      expectRefused(copy(system() + "/tree", machineFolder() + "/copy"), ENOTSUP,
                    system() + "/tree: users other than root can change it" + kernel);
      EXPECT_TRUE(copy(system() + "/file", machineFolder() + "/copy").succeeded());
    });
  });
}

// MARK: - Folders that are merged

class MergedFolders : public WorkOnFiles {
 protected:
  /// "from" with a folder "item" and a file in it; "to" is root's as well.
  static void runWithFolders(const std::function<void()>& body) {
    run([&] {
      for (const std::string& folder : {from(), from() + "/item", to()}) makeFolder(folder);
      makeFile(from() + "/item/file", "new");
      body();
    });
  }
  static Outcome merge(const std::function<void()>& between = [] {}) {
    return launch(MeddledPolicy(between), "/bin/cp", {"-f", "-p", "-R", from() + "/item", to()});
  }
  static std::string from() { return machineFolder() + "/from"; }
  static std::string to() { return machineFolder() + "/to"; }
};

TEST_F(MergedFolders, KeepAFolderWhereAFileWouldTakeItsPlaceAndTheOtherWayRound) {
  runWithFolders([] {
    makeFolder(to() + "/item");
    makeFolder(to() + "/item/file");
    expectFailed(merge(), from() + "/item (file): Is a directory");
    ASSERT_EQ(::rmdir((to() + "/item/file").c_str()), 0);
    ASSERT_EQ(::unlink((from() + "/item/file").c_str()), 0);
    makeFolder(from() + "/item/file");
    makeFile(to() + "/item/file", "old");
    expectFailed(merge(), from() + "/item (file): Not a directory");
    EXPECT_EQ(contentsOf(to() + "/item/file"), "old");
  });
}

TEST_F(MergedFolders, ReplaceAFileInOneStep) {
  runWithFolders([] {
    makeFolder(to() + "/item");
    makeFile(to() + "/item/file", "old");
    const auto failToRename = [] {
      for (const long call : {SYS_renameat, SYS_renameat2}) failSystemCall(call, EIO);
    };
    expectFailed(merge(failToRename), from() + "/item: Input/output error");
    EXPECT_EQ(contentsOf(to() + "/item/file"), "old");
    EXPECT_EQ(namesIn(to() + "/item"), Arguments{"file"}) << "no part of a copy is left";
    EXPECT_TRUE(merge().succeeded());
    EXPECT_EQ(contentsOf(to() + "/item/file"), "new");
    EXPECT_EQ(namesIn(to() + "/item"), Arguments{"file"});
  });
}

TEST_F(MergedFolders, NameTheItemThatHasGoneMeanwhile) {
  runWithFolders([] {
    makeFolder(to() + "/item");
    const auto remove = [] { afterSystemCall(SYS_getdents64, [] { ::unlink((from() + "/item/file").c_str()); }); };
    expectFailed(merge(remove), from() + "/item (file): No such file or directory");
  });
}

TEST_F(MergedFolders, NameTheFolderThatCannotBeOpened) {
  runWithFolders([] {
    makeFolder(to() + "/item");
    makeFolder(from() + "/item/folder");
    makeFolder(to() + "/item/folder");
    ASSERT_EQ(::unlink((from() + "/item/file").c_str()), 0);
    expectFailed(merge([] { failSystemCall(SYS_openat, EMFILE); }), from() + "/item (item): Too many open files");
    expectFailed(merge([] { failSystemCall(SYS_getdents64, EIO); }), from() + "/item: Input/output error");
  });
}

// However few descriptors there are, a failure says so and leaves the file that was there.
TEST_F(MergedFolders, KeepTheirFilesUntilThereAreEnoughDescriptors) {
  runWithFolders([] {
    makeFolder(to() + "/item");
    makeFile(to() + "/item/file", "old");
    Outcome outcome;
    int failures = 0;
    for (int number = 0; number < 32 && !outcome.succeeded(); ++number) {
      outcome = merge([number] { leaveDescriptors(number); });
      if (outcome.succeeded()) continue;
      ++failures;
      EXPECT_TRUE(outcome.note.ends_with(": Too many open files")) << number << " " << outcome.note;
      EXPECT_EQ(contentsOf(to() + "/item/file"), "old") << number;
      EXPECT_EQ(namesIn(to() + "/item"), Arguments{"file"}) << number;
    }
    EXPECT_GE(failures, 4);
    EXPECT_TRUE(outcome.succeeded());
    EXPECT_EQ(contentsOf(to() + "/item/file"), "new");
  });
}

}  // namespace
}  // namespace qm::testing
