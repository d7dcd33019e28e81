// Somebody swaps folders for links while root's tools work in them.

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/privileges/LaunchMachine.h"
#include "tests/privileges/Swapper.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

constexpr int kSwaps = 10000;
constexpr int kRounds = 400;

class SwappedFolder : public ::testing::Test {
 protected:
  // "precious" is root's: a folder "sub" with a file "item" in it, and a folder of each name that is worked
  // on. "home/folder" and "home/link" change places all the time.
  static void run(const std::function<void()>& work) {
    runInPrivateMachine([&] {
      for (const std::string& folder : {precious(), precious() + "/sub", precious() + "/item"}) makeFolder(folder);
      makeFile(precious() + "/file", "precious");
      makeFile(precious() + "/sub/file", "precious");
      makeFile(precious() + "/item/file", "precious");
      mountTmpfs(machineFolder() + "/volume", "mode=0755");
      makeFolder(home(), kPerson);
      makeFolder(home() + "/folder", kPerson);
      makeLink(home() + "/link", precious(), kPerson);
      makeFolder(source());
      const std::string before = listing(precious());
      Swapper swapper(kPerson, home() + "/folder", home() + "/link");
      int rounds = 0;
      while (swapper.swaps() < kSwaps || rounds < kRounds) {
        work();
        ++rounds;
      }
      EXPECT_EQ(listing(precious()), before) << "after " << rounds << " rounds and " << swapper.swaps() << " swaps";
    });
  }

  static std::string listing(const std::string& folder) {
    return launch("/usr/bin/find", {folder, "-printf", "%p %y %U %m %T@ %C@ %s\n"}).output;
  }

  static std::string home() { return machineFolder() + "/home"; }
  static std::string source() { return machineFolder() + "/volume/source"; }
  static std::string precious() { return machineFolder() + "/precious"; }
};

TEST_F(SwappedFolder, LeadsNoMoveElsewhere) {
  run([] {
    makeFile(machineFolder() + "/moved", "moved");
    launch("/bin/mv", {"-f", machineFolder() + "/moved", home() + "/folder/moved"});
    launch("/bin/mv", {"-f", home() + "/folder/file", machineFolder() + "/taken"});
    ::unlink((machineFolder() + "/moved").c_str());
    ASSERT_FALSE(exists(machineFolder() + "/taken"));
  });
}

TEST_F(SwappedFolder, LeadsNoMoveFromAnotherVolumeElsewhere) {
  run([] {
    makeFolder(source() + "/tree");
    makeFile(source() + "/tree/file", "moved");
    launch("/bin/mv", {"-f", source() + "/tree", home() + "/folder/tree"});
    launch("/bin/rm", {"-Rdf", source() + "/tree"});
  });
}

TEST_F(SwappedFolder, LeadsNoRemovalElsewhere) {
  run([] {
    launch("/bin/rm", {"-Rdf", home() + "/folder/item"});
    launch("/bin/rm", {"-Rdf", home() + "/folder/sub/file"});
  });
}

TEST_F(SwappedFolder, LeadsNoCopyElsewhere) {
  run([] {
    if (!exists(source() + "/tree")) makeFolder(source() + "/tree");
    if (!exists(source() + "/tree/file")) makeFile(source() + "/tree/file", "copied");
    launch("/bin/cp", {"-f", "-p", "-R", source() + "/tree/file", home() + "/folder/file"});
    launch("/bin/cp", {"-f", "-p", "-R", source() + "/tree", home() + "/folder/tree"});
  });
}

TEST_F(SwappedFolder, LeadsNoNewFolderElsewhere) {
  run([] { launch("/bin/mkdir", {"-p", home() + "/folder/new/newer"}); });
}

// The folder is inside what is moved, copied and removed: the tool itself meets it.
TEST_F(SwappedFolder, InsideATreeLeadsNoToolElsewhere) {
  run([] {
    launch("/bin/cp", {"-f", "-p", "-R", home(), machineFolder() + "/volume/copy"});
    EXPECT_EQ(launch("/usr/bin/find", {machineFolder() + "/volume/copy", "-name", "item"}).output, "");
    launch("/bin/rm", {"-Rdf", machineFolder() + "/volume/copy"});
  });
}

}  // namespace
}  // namespace qm::testing
