// SPDX-License-Identifier: MIT
#include <sys/mount.h>

#include <array>
#include <cstdlib>
#include <functional>

#include "Platform/posix/Move.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/contract/files/Meddler.h"
#include "tests/contract/files/RealFiles.h"

/// Replacements of an item while it is copied, or of its unfinished copy.
namespace qm::testing {
namespace {

namespace fs = std::filesystem;

TEST(CopyingWhatIsSwapped, CopiesNothingThatALinkInThePlaceOfAFileLeadsTo) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    makeFile(from + "/secret", "secret");
    Meddler meddler(at("/file", [&] {
      fs::remove(from + "/tree/file");
      fs::create_symlink("../secret", from + "/tree/file");
    }));
    EXPECT_EQ(posix::copyTree(from + "/tree", to + "/copy", meddler).code, 0);
    EXPECT_EQ(fs::read_symlink(to + "/copy/file"), "../secret");
    EXPECT_EQ(countIn(to + "/copy"), 1U);
  });
}

/// A terminal that nobody has yet, and its path. The process leaves its own terminal.
posix::UniqueFd openTerminal(std::string& path) {
  EXPECT_GE(::setsid(), 0);
  posix::UniqueFd terminal(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  EXPECT_TRUE(terminal && ::grantpt(terminal.get()) == 0 && ::unlockpt(terminal.get()) == 0);
  std::array<char, 64> name{};
  EXPECT_EQ(::ptsname_r(terminal.get(), name.data(), name.size()), 0);
  path = name.data();
  return terminal;
}

/// It would end the process once somebody hangs up.
TEST(CopyingWhatIsSwapped, TakesNoTerminalInThePlaceOfAFileForItsOwn) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    std::string path;
    const posix::UniqueFd terminal = openTerminal(path);
    Meddler meddler(at("/file", [&] {
      EXPECT_EQ(::mount(path.c_str(), (from + "/tree/file").c_str(), nullptr, MS_BIND, nullptr), 0) << errno;
    }));
    static_cast<void>(posix::copyTree(from + "/tree", to + "/copy", meddler));
    EXPECT_FALSE(posix::UniqueFd(::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC)));
  });
}

/// Removes the hidden item of a folder and puts the folder's item "theirs" in its place. Returns its path.
std::string swapHidden(const std::string& folder) {
  for (const auto& entry : fs::directory_iterator(folder)) {
    const std::string hidden = entry.path();
    if (!entry.path().filename().string().starts_with(".incomplete-")) continue;
    fs::rename(hidden, folder + "/taken");
    fs::rename(folder + "/theirs", hidden);
    return hidden;
  }
  ADD_FAILURE() << "nothing is hidden in " << folder;
  return {};
}

void makeTheirs(const std::string& folder) {
  makeFolders(folder + "/theirs", 0500);
  EXPECT_EQ(::chmod((folder + "/theirs").c_str(), 0700), 0);
  makeFile(folder + "/theirs/file", "kept");
  EXPECT_EQ(::chmod((folder + "/theirs").c_str(), 0500), 0);
}

TEST(CopyingWhatIsSwapped, RemovesNothingThatTookThePlaceOfAnUnfinishedFolder) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    makeTheirs(to);
    std::string hidden;
    Meddler meddler([&](const std::string& path) {
      if (path != "/file") return 0;
      hidden = swapHidden(to);
      return ECANCELED;
    });
    EXPECT_EQ(posix::copyTree(from + "/tree", to + "/copy", meddler).code, ECANCELED);
    EXPECT_EQ(textOf(hidden + "/file"), "kept");
    EXPECT_EQ(modeOf(hidden), 0500U);
    EXPECT_EQ(countIn(to), 2U);
  });
}

TEST(CopyingWhatIsSwapped, RemovesNothingThatTookThePlaceOfAnUnfinishedFile) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", "text");
    makeFile(to + "/theirs", "kept");
    std::string hidden;
    Meddler meddler({}, [&](std::uint64_t) {
      hidden = swapHidden(to);
      return ECANCELED;
    });
    EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", meddler).code, ECANCELED);
    EXPECT_EQ(textOf(hidden), "kept");
  });
}

TEST(CopyingWhatIsSwapped, GivesTheNewNameToNothingElseThanTheCopy) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    for (const std::string source : {"/tree", "/tree/file"}) {
      const std::string to = openFolder("to" + std::to_string(source.size()));
      makeTheirs(to);
      std::string hidden;
      Meddler meddler({}, [&](std::uint64_t count) {
        if (count == 0) hidden = swapHidden(to);  // it is complete
        return 0;
      });
      EXPECT_EQ(posix::copyTree(from + source, to + "/copy", meddler).code, ESTALE);
      EXPECT_FALSE(isThere(to + "/copy"));
      EXPECT_EQ(textOf(hidden + "/file"), "kept");
    }
  });
}

}  // namespace
}  // namespace qm::testing
