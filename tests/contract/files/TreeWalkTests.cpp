// SPDX-License-Identifier: MIT
#include "Platform/posix/TreeWalk.h"

#include <vector>

#include "Platform/posix/FolderChain.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/contract/files/RealFiles.h"

namespace qm::testing {
namespace {

using posix::FolderChain;
using posix::UniqueFd;

UniqueFd openForLookup(const std::string& path) {
  return UniqueFd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

void enterLevels(FolderChain& chain, int levels) {
  for (int level = 0; level < levels; ++level) {
    ASSERT_EQ(::mkdirat(chain.folder(), "d", 0755), 0);
    ASSERT_EQ(chain.enter("d"), 0);
  }
}

TEST(FolderChainOnDisk, DoesNotEnterLinks) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/folder");
    ASSERT_EQ(::symlink("folder", (home + "/link").c_str()), 0);
    FolderChain chain;
    ASSERT_EQ(chain.start(openForLookup(home).get()), 0);
    const int error = chain.enter("link");
    EXPECT_TRUE(error == ENOTDIR || error == ELOOP) << error;
    EXPECT_EQ(chain.depth(), 0U);
    EXPECT_EQ(chain.enter("folder"), 0);
    EXPECT_EQ(chain.depth(), 1U);
  });
}

TEST(FolderChainOnDisk, FindsItsWayBackThroughFoldersThatItHasClosed) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    FolderChain chain;
    ASSERT_EQ(chain.start(openForLookup(home).get()), 0);
    enterLevels(chain, 100);
    UniqueFd left;
    for (int level = 0; level < 100; ++level) ASSERT_EQ(chain.leave(left), 0) << level;
    struct stat there {};
    ASSERT_EQ(::fstat(chain.folder(), &there), 0);
    EXPECT_EQ(there.st_ino, attributesOf(home).st_ino);
  });
}

TEST(FolderChainOnDisk, DoesNotTakeAnotherFolderForTheOneThatItCameFrom) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    const std::string elsewhere = openFolder("elsewhere");
    FolderChain chain;
    ASSERT_EQ(chain.start(openForLookup(home).get()), 0);
    enterLevels(chain, 100);
    std::string tenth = home;
    for (int level = 0; level < 10; ++level) tenth += "/d";
    ASSERT_EQ(::rename(tenth.c_str(), (elsewhere + "/carried").c_str()), 0);
    UniqueFd left;
    int error = 0;
    while (error == 0 && chain.depth() > 0) error = chain.leave(left);
    EXPECT_EQ(error, ESTALE);
    EXPECT_EQ(chain.depth(), 9U);
  });
}

/// Replaces one of two folders by a link as soon as the other has been entered.
class SwappingVisitor : public posix::TreeVisitor {
 public:
  explicit SwappingVisitor(std::string folder) : folder_(std::move(folder)) {}

  int entered(const FolderChain& chain, const std::string& name) override {
    entered_.push_back(name);
    if (chain.depth() == 2) swap(name == "one" ? "two" : "one");
    return 0;
  }
  int item(int, const std::string& name) override {
    items_.push_back(name);
    return 0;
  }
  int left(int, int, const std::string&) override { return 0; }
  int cannotEnter(int, const std::string&, int error) override { return error; }

  const std::vector<std::string>& enteredFolders() const { return entered_; }
  const std::vector<std::string>& items() const { return items_; }

 private:
  void swap(const std::string& name) {
    const std::string path = folder_ + "/" + name;
    EXPECT_EQ(::rename(path.c_str(), (path + " moved").c_str()), 0);
    EXPECT_EQ(::symlink((folder_ + "/../outside").c_str(), path.c_str()), 0);
  }

  const std::string folder_;
  std::vector<std::string> entered_;
  std::vector<std::string> items_;
};

TEST(TreeWalkOnDisk, TakesAFolderThatBecomesALinkForAnItem) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/tree/one");
    makeFolders(home + "/tree/two");
    makeFolders(home + "/outside");
    makeFile(home + "/outside/file");
    SwappingVisitor visitor(home + "/tree");
    EXPECT_EQ(walkTree(openForLookup(home).get(), "tree", visitor).code, 0);
    ASSERT_EQ(visitor.enteredFolders().size(), 2U);
    ASSERT_EQ(visitor.items().size(), 1U);
    EXPECT_NE(visitor.enteredFolders()[1], visitor.items()[0]);
  });
}

/// Fails with one number at each folder below the top.
class RefusingVisitor : public posix::TreeVisitor {
 public:
  explicit RefusingVisitor(int error) : error_(error) {}

  int entered(const FolderChain& chain, const std::string&) override { return chain.depth() > 1 ? error_ : 0; }
  int item(int, const std::string&) override {
    ADD_FAILURE() << "a folder was taken for an item";
    return 0;
  }
  int left(int, int, const std::string&) override { return 0; }
  int cannotEnter(int, const std::string&, int error) override { return error; }

 private:
  const int error_;
};

TEST(TreeWalkOnDisk, EndsWithTheErrorOfAVisitorWhateverItsNumberMeansElsewhere) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    makeFolders(home + "/tree/one");
    for (const int error : {ENOTDIR, ELOOP, EIO}) {
      RefusingVisitor visitor(error);
      EXPECT_EQ(walkTree(openForLookup(home).get(), "tree", visitor).code, error);
    }
  });
}

}  // namespace
}  // namespace qm::testing
