// SPDX-License-Identifier: MIT

// mv, cp and mkdir for root: where items end up, and that nobody can redirect them.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

class FileToolOfRoots : public ::testing::Test {
 protected:
  static void run(const std::function<void()>& body) {
    runInPrivateMachine([&] {
      makeFolder(system());
      makeFile(system() + "/precious", "precious");
      makeFolder(home(), kPerson);
      mountTmpfs(machineFolder() + "/volume", "mode=0755");
      makeFolder(away(), kPerson);
      body();
      EXPECT_EQ(contentsOf(system() + "/precious"), "precious");
    });
  }

  /// A root-owned folder with a file and a folder.
  static void makeTree(const std::string& path) {
    makeFolder(path);
    makeFile(path + "/file", "contents", 0, 0640);
    makeFolder(path + "/folder");
    makeLink(path + "/folder/link", "../file");
  }

  static void expectTree(const std::string& path) {
    EXPECT_EQ(contentsOf(path + "/file"), "contents");
    EXPECT_EQ(modeOf(path + "/file"), 0640U);
    EXPECT_EQ(ownerOf(path + "/file"), 0U);
    EXPECT_TRUE(isLink(path + "/folder/link"));
  }

  static std::string system() { return machineFolder() + "/system"; }
  static std::string home() { return machineFolder() + "/home"; }
  static std::string away() { return machineFolder() + "/volume/away"; }
};

TEST_F(FileToolOfRoots, MovesToTheNewName) {
  run([] {
    for (const std::string& folder : {system(), home(), away()}) {
      makeTree(machineFolder() + "/tree");
      EXPECT_TRUE(launch("/bin/mv", {"-f", machineFolder() + "/tree", folder + "/moved"}).succeeded()) << folder;
      EXPECT_FALSE(exists(machineFolder() + "/tree"));
      expectTree(folder + "/moved");
    }
    EXPECT_EQ(namesIn(home()), std::vector<std::string>{"moved"}) << "nothing but the item is left";
    EXPECT_EQ(namesIn(away()), std::vector<std::string>{"moved"});
  });
}

TEST_F(FileToolOfRoots, MovesIntoAFolderThatIsThere) {
  run([] {
    makeTree(machineFolder() + "/tree");
    EXPECT_TRUE(launch("/bin/mv", {"-f", machineFolder() + "/tree", home()}).succeeded());
    expectTree(home() + "/tree");
    EXPECT_TRUE(launch("/bin/mv", {"-f", home() + "/tree", system() + "/"}).succeeded());
    expectTree(system() + "/tree");
  });
}

TEST_F(FileToolOfRoots, ReplacesAFile) {
  run([] {
    for (const std::string tool : {"/bin/mv", "/bin/cp"}) {
      for (const std::string& folder : {system(), home(), away()}) {
        makeFile(machineFolder() + "/new", "new");
        makeFile(folder + "/file", "old", kPerson);
        const std::vector<std::string> options = {"-f"};
        EXPECT_TRUE(launch(tool, {"-f", machineFolder() + "/new", folder + "/file"}).succeeded()) << tool << folder;
        EXPECT_EQ(contentsOf(folder + "/file"), "new");
        ASSERT_EQ(::unlink((folder + "/file").c_str()), 0);
      }
    }
  });
}

TEST_F(FileToolOfRoots, DoesNotWriteToTheOtherNamesOfAFile) {
  run([] {
    makeFile(machineFolder() + "/new", "new");
    for (const std::string tool : {"/bin/cp", "/bin/mv"}) {
      ASSERT_EQ(::link((system() + "/precious").c_str(), (home() + "/name").c_str()), 0);
      EXPECT_TRUE(launch(tool, {"-f", machineFolder() + "/new", home() + "/name"}).succeeded());
      EXPECT_EQ(contentsOf(home() + "/name"), "new");
      ASSERT_EQ(::unlink((home() + "/name").c_str()), 0);
    }
  });
}

TEST_F(FileToolOfRoots, DoesNotWriteToWhatAPlantedLinkLeadsTo) {
  run([] {
    makeFile(machineFolder() + "/new", "new");
    makeLink(home() + "/to-file", system() + "/precious", kPerson);
    makeLink(home() + "/to-folder", system(), kPerson);
    makeLink(home() + "/to-new", system() + "/new", kPerson);
    for (const std::string tool : {"/bin/cp", "/bin/mv"}) {
      for (const std::string name : {"to-file", "to-folder", "to-new", "to-folder/"}) {
        EXPECT_FALSE(launch(tool, {"-f", machineFolder() + "/new", home() + "/" + name}).started()) << tool << name;
      }
    }
    EXPECT_EQ(namesIn(system()), std::vector<std::string>{"precious"});
  });
}

TEST_F(FileToolOfRoots, FollowsTheLinkToAFolderOfItsOwnersOwn) {
  run([] {
    makeFolder(home() + "/files", kPerson);
    makeLink(home() + "/trash", "files", kPerson);
    makeFile(machineFolder() + "/item", "item");
    EXPECT_TRUE(launch("/bin/mv", {"-f", machineFolder() + "/item", home() + "/trash/item"}).succeeded());
    EXPECT_EQ(contentsOf(home() + "/files/item"), "item");
  });
}

TEST_F(FileToolOfRoots, CopiesTreesWithOwnersAndModes) {
  run([] {
    makeTree(machineFolder() + "/tree");
    for (const std::string& folder : {system(), home(), away()}) {
      EXPECT_TRUE(launch("/bin/cp", {"-f", "-p", "-R", machineFolder() + "/tree", folder + "/copy"}).succeeded());
      expectTree(folder + "/copy");
    }
    EXPECT_EQ(namesIn(home()), std::vector<std::string>{"copy"});
    expectTree(machineFolder() + "/tree");
  });
}

TEST_F(FileToolOfRoots, CopiesAPersonsTree) {
  run([] {
    makeFolder(home() + "/tree", kPerson);
    makeFile(home() + "/tree/file", "his", kPerson);
    EXPECT_TRUE(launch("/bin/cp", {"-f", "-p", "-R", home() + "/tree", system() + "/copy"}).succeeded());
    EXPECT_EQ(contentsOf(system() + "/copy/file"), "his");
    EXPECT_EQ(ownerOf(system() + "/copy/file"), kPerson);
  });
}

TEST_F(FileToolOfRoots, CopiesALinkAsALink) {
  run([] {
    makeLink(home() + "/link", system() + "/precious", kPerson);
    EXPECT_TRUE(launch("/bin/cp", {"-f", "-p", "-R", home() + "/link", machineFolder() + "/copy"}).succeeded());
    EXPECT_TRUE(isLink(machineFolder() + "/copy"));
  });
}

TEST_F(FileToolOfRoots, MergesIntoAFolderThatOnlyRootCanChange) {
  run([] {
    makeTree(machineFolder() + "/tree");
    makeFolder(system() + "/tree");
    makeFile(system() + "/tree/other", "stays");
    EXPECT_TRUE(launch("/bin/cp", {"-f", "-p", "-R", machineFolder() + "/tree", system()}).succeeded());
    expectTree(system() + "/tree");
    EXPECT_EQ(contentsOf(system() + "/tree/other"), "stays");
  });
}

TEST_F(FileToolOfRoots, DoesNotMergeIntoAFolderThatAPersonCanChange) {
  run([] {
    makeTree(machineFolder() + "/tree");
    makeFolder(system() + "/tree");
    makeFolder(system() + "/tree/folder", kPerson);
    EXPECT_EQ(launch("/bin/cp", {"-f", "-p", "-R", machineFolder() + "/tree", system()}).error, EPERM);
    EXPECT_EQ(namesIn(system() + "/tree"), std::vector<std::string>{"folder"});
  });
}

TEST_F(FileToolOfRoots, LeavesAFullFolderInTheWayAlone) {
  run([] {
    makeTree(machineFolder() + "/tree");
    makeFolder(home() + "/tree", kPerson);
    makeFile(home() + "/tree/his", "his", kPerson);
    EXPECT_EQ(launch("/bin/mv", {"-f", machineFolder() + "/tree", home()}).error, ENOTEMPTY);
    expectTree(machineFolder() + "/tree");
    EXPECT_EQ(contentsOf(home() + "/tree/his"), "his");
  });
}

TEST_F(FileToolOfRoots, LeavesNothingWhenItFails) {
  run([] {
    EXPECT_EQ(launch("/bin/mv", {"-f", system() + "/missing", home() + "/item"}).error, ENOENT);
    EXPECT_EQ(namesIn(home()), std::vector<std::string>{});
  });
}

TEST_F(FileToolOfRoots, LeavesTheFileThatItCannotReplace) {
  run([] {
    makeFile(machineFolder() + "/new", "new");
    makeFile(home() + "/file", "old", kPerson);
    failSystemCall(SYS_renameat, EIO);
    const Outcome outcome = launch("/bin/cp", {"-f", machineFolder() + "/new", home() + "/file"});
    EXPECT_FALSE(outcome.succeeded());
    EXPECT_NE(outcome.note.find("Input/output error"), std::string::npos) << outcome.note;
    EXPECT_EQ(contentsOf(home() + "/file"), "old");
    EXPECT_EQ(namesIn(home()), std::vector<std::string>{"file"});
  });
}

TEST_F(FileToolOfRoots, RemovesTreesAndNotWhatTheirLinksLeadTo) {
  run([] {
    makeTree(home() + "/tree");
    makeLink(home() + "/tree/system", system(), kPerson);
    EXPECT_TRUE(launch("/bin/rm", {"-R", "-f", home() + "/tree"}).succeeded());
    EXPECT_FALSE(exists(home() + "/tree"));
  });
}

TEST_F(FileToolOfRoots, RemovesSeveralItemsInSeveralFolders) {
  run([] {
    makeTree(home() + "/one");
    makeTree(system() + "/two");
    EXPECT_TRUE(launch("/bin/rm", {"-R", "-f", home() + "/one", system() + "/two"}).succeeded());
    EXPECT_FALSE(exists(home() + "/one"));
    EXPECT_FALSE(exists(system() + "/two"));
  });
}

TEST_F(FileToolOfRoots, RemovesNothingOfATreeWithAVolumeInIt) {
  run([] {
    makeTree(home() + "/tree");
    mountTmpfs(home() + "/tree/folder/volume", "mode=0755");
    EXPECT_EQ(launch("/bin/rm", {"-Rdf", home() + "/tree"}).error, EBUSY);
    expectTree(home() + "/tree");
  });
}

TEST_F(FileToolOfRoots, MakesFoldersAndThoseAbove) {
  run([] {
    EXPECT_TRUE(launch("/bin/mkdir", {"-p", system() + "/one/two/three"}).succeeded());
    EXPECT_TRUE(launch("/bin/mkdir", {"-p", home() + "/one/two"}).succeeded());
    EXPECT_TRUE(launch("/bin/mkdir", {"-p", home() + "/one/two"}).succeeded());
    EXPECT_EQ(modeOf(home() + "/one/two"), 0755U);
    EXPECT_EQ(ownerOf(system() + "/one/two/three"), 0U);
    makeLink(home() + "/link", system(), kPerson);
    EXPECT_EQ(launch("/bin/mkdir", {"-p", home() + "/link/new"}).error, ELOOP);
    EXPECT_FALSE(exists(system() + "/new"));
  });
}

TEST_F(FileToolOfRoots, TakesNothingToAnotherVolumeAndCopiesNothingOfAPersonsUnlessItCanBeConfined) {
  run([] {
    makeFolder(home() + "/tree", kPerson);
    makeFile(home() + "/file", "", kPerson);
    makeTree(machineFolder() + "/roots");
    inChild([] {
      failSystemCall(SYS_landlock_create_ruleset, ENOSYS);
      EXPECT_EQ(launch("/bin/mv", {"-f", home() + "/tree", away() + "/tree"}).error, ENOTSUP);
      EXPECT_EQ(launch("/bin/cp", {"-f", "-p", "-R", home() + "/tree", system() + "/tree"}).error, ENOTSUP);
      EXPECT_EQ(launch("/bin/mv", {"-f", machineFolder() + "/roots", away() + "/roots"}).error, ENOTSUP);
      EXPECT_TRUE(launch("/bin/cp", {"-f", "-p", "-R", machineFolder() + "/roots", away() + "/roots"}).succeeded());
      EXPECT_EQ(launch("/bin/mv", {"-f", home() + "/file", away() + "/file"}).error, ENOTSUP);
      EXPECT_EQ(launch("/bin/cp", {"-f", "-p", "-R", home() + "/file", system() + "/file"}).error, ENOTSUP);
      EXPECT_TRUE(launch("/bin/mv", {"-f", home() + "/tree", home() + "/renamed"}).succeeded());
    });
    expectTree(away() + "/roots");
    EXPECT_TRUE(launch("/bin/mv", {"-f", home() + "/renamed", away() + "/tree"}).succeeded());
    EXPECT_TRUE(exists(away() + "/tree"));
  });
}

}  // namespace
}  // namespace qm::testing
