// SPDX-License-Identifier: MIT

// What the shared code makes of calls that Linux answers in one word.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <vector>

#include "Platform/posix/ItemPath.h"
#include "Platform/posix/Move.h"
#include "Platform/posix/TreeCopy.h"
#include "tests/contract/files/RealFiles.h"
#include "tests/contract/files/plain/PlainFileCalls.h"

namespace qm::testing {
namespace {

/// Where one kind of change stands among all that was done to an item; -1 when it never was.
std::ptrdiff_t lastOf(const char* what, const std::string& path) {
  const auto all = plain::changes();
  const auto found = std::find(all.rbegin(), all.rend(), plain::change(what, attributesOf(path).st_ino));
  return all.rend() - found - 1;
}

void expectFlaggedAfter(const char* what, const std::string& path) {
  EXPECT_GE(lastOf(what, path), 0) << path;
  EXPECT_GT(lastOf("flag", path), lastOf(what, path)) << path;
}

void flag(const std::string& path) { ASSERT_EQ(::chmod(path.c_str(), modeOf(path) | plain::kFlaggedMode), 0) << path; }

/// "tree" with a flagged folder and a flagged file in it.
void makeFlaggedTree(const std::string& folder) {
  makeFolders(folder + "/tree/folder");
  makeFile(folder + "/tree/folder/file", "text");
  for (const char* name : {"/tree/folder/file", "/tree/folder", "/tree"}) flag(folder + name);
}

TEST(CopyingByPlainCalls, MakesAFileByCloningIt) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    asUser(kUser, kUser, [&] {
      makeFile(from + "/file", "text");
      ASSERT_EQ(::chmod((from + "/file").c_str(), 0640), 0);
      makeFolders(from + "/tree");
      makeFile(from + "/tree/inside", "more");
      makeFile(from + "/tree/empty");
      expectDone(files.copyItem(from + "/file", to + "/file"));
      expectDone(files.copyItem(from + "/tree", to + "/tree"));
      EXPECT_EQ(plain::clonesMade(), 2);
      EXPECT_EQ(textOf(to + "/file"), "text");
      EXPECT_EQ(modeOf(to + "/file"), 0640U);
      EXPECT_EQ(textOf(to + "/tree/inside"), "more");
      EXPECT_TRUE(isThere(to + "/tree/empty"));
    });
  });
}

TEST(CopyingByPlainCalls, CopiesWhereNothingCanBeCloned) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    plain::refuseClones();
    makeFile(from + "/file", std::string(300'000, 'a'));
    expectDone(files.copyItem(from + "/file", to + "/file"));
    EXPECT_EQ(textOf(to + "/file"), std::string(300'000, 'a'));
    EXPECT_EQ(plain::clonesMade(), 0);
  });
}

TEST(CopyingByPlainCalls, LeavesNothingOfACloneThatIsGivenUp) {
  struct GivesUp : posix::CopyObserver {
    int bytesCopied(std::uint64_t count) override { return count > 0 ? ECANCELED : 0; }
  };
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", "text");
    GivesUp observer;
    EXPECT_EQ(posix::copyTree(from + "/file", to + "/file", observer).code, ECANCELED);
    EXPECT_EQ(plain::clonesMade(), 1);
    EXPECT_EQ(countIn(to), 0U);
  });
}

TEST(CopyingByPlainCalls, SetsFlagsAfterEverythingElse) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFlaggedTree(from);
    expectDone(files.copyItem(from + "/tree", to + "/tree"));
    for (const char* name : {"/tree/folder/file", "/tree/folder", "/tree"}) expectFlaggedAfter("date", to + name);
    expectFlaggedAfter("name", to + "/tree");
  });
}

TEST(CopyingByPlainCalls, NamesALoneFileBeforeItsFlagsAreSet) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", "text");
    flag(from + "/file");
    expectDone(files.copyItem(from + "/file", to + "/file"));
    expectFlaggedAfter("date", to + "/file");
    expectFlaggedAfter("name", to + "/file");
  });
}

TEST(CopyingByPlainCalls, TakesFlagsAwayFromACopyThatIsGivenUp) {
  struct GivesUpAtLast : posix::CopyObserver {
    int bytesCopied(std::uint64_t count) override { return count == 0 ? ECANCELED : 0; }
  };
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFlaggedTree(from);
    GivesUpAtLast observer;
    EXPECT_EQ(posix::copyTree(from + "/tree", to + "/tree", observer).code, ECANCELED);
    EXPECT_EQ(countIn(to), 0U);
    const auto begins = [](const char* what) {
      return std::ranges::any_of(plain::changes(), [&](const std::string& change) { return change.starts_with(what); });
    };
    EXPECT_TRUE(begins("flag"));
    EXPECT_TRUE(begins("no flag"));
  });
}

TEST(CopyingByPlainCalls, CopiesNothingToAnotherVolumeThatMayNotBeRemoved) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    mountTmpfs(to, "mode=0777");
    makeFolders(from + "/tree/" + plain::kDenied);
    makeFile(from + "/" + plain::kDenied, "text");
    EXPECT_EQ(files.moveItem(from + "/tree", to + "/tree").code(), EPERM);
    EXPECT_EQ(files.moveItem(from + "/" + plain::kDenied, to + "/file").code(), EPERM);
    EXPECT_EQ(plain::clonesMade(), 0);
    EXPECT_EQ(countIn(to), 0U);
    EXPECT_EQ(textOf(from + "/" + plain::kDenied), "text");
  });
}

TEST(CopyingByPlainCalls, FailsOverWhatCannotBeMadeAndLeavesNothing) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    const posix::UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address{AF_UNIX, {}};
    (from + "/tree/socket").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(files.copyItem(from + "/tree", to + "/tree").code(), ENOTSUP);
    EXPECT_EQ(countIn(to), 0U);
  });
}

}  // namespace
}  // namespace qm::testing
