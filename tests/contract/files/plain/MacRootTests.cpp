// SPDX-License-Identifier: MIT

// A Mac's services that change items, run by root in a machine of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <functional>

#include "Platform/macos/MacServices.h"
#include "Platform/macos/files/NumberedItem.h"
#include "Platform/posix/rights/RootTrash.h"
#include "tests/contract/files/RealFiles.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/unit/macos/FakeItem.h"
#include "tests/unit/macos/FakeTrashCalls.h"

namespace qm::testing {
namespace {

using macos::madeUp;
using macos::onlyItem;
using ::testing::HasSubstr;

/// Root, with `person` at the console. "nobody" has a home.
class MacOfRoot : public ::testing::Test {
 protected:
  void asRootFor(const std::string& person, const std::function<void()>& body) {
    runInPrivateMachine([&] {
      fakes.users.actAsRoot(person);
      const passwd* const found = ::getpwnam("nobody");
      ASSERT_NE(found, nullptr);
      nobody = found->pw_uid;
      makeFolders(at("home"));
      ASSERT_EQ(::chown(at("home").c_str(), found->pw_uid, found->pw_gid), 0);
      body();
    });
  }
  static std::string at(const std::string& name) { return machineFolder() + "/" + name; }

  FakePlatform fakes;
  uid_t nobody = 0;
};

class MacFinderInformationOfRoot : public MacOfRoot {
 protected:
  /// The label of an item that is at `path`, and whose reference was made of `origin`, is set. Notes whose rights the
  /// thread has then.
  int set(const std::string& path, const std::string& origin) {
    constexpr unsigned kNoId = ~0U;  // changes nothing and returns the present one
    onlyItem.path = path;
    onlyItem.onWrite = [this] { writer = static_cast<uid_t>(::setfsuid(kNoId)); };
    return information.setFinderFlags(platform::FileReference(macos::NumberedItem::at(origin)), 2).code();
  }

  const std::unique_ptr<platform::FinderInformation> made = macos::makeFinderInformation(fakes.users);
  platform::FinderInformation& information = *made;
  uid_t writer = 0;
};

TEST_F(MacFinderInformationOfRoot, IsSetWithTheRightsOfWhoeverCouldReplaceTheItem) {
  asRootFor("nobody", [&] {
    EXPECT_EQ(set(at("home/a"), at("home/a")), 0);
    EXPECT_EQ(writer, nobody);
  });
}

TEST_F(MacFinderInformationOfRoot, IsSetWithTheRightsOfWhoeverCouldHaveReplacedItBefore) {
  asRootFor("nobody", [&] {
    EXPECT_EQ(set("/etc/hostname", at("home/a")), 0);
    EXPECT_EQ(writer, nobody);
  });
}

TEST_F(MacFinderInformationOfRoot, IsNotSetOfAFileWithAnotherName) {
  asRootFor("nobody", [&] {
    onlyItem.status->st_nlink = 2;
    EXPECT_EQ(set(at("home/a"), at("home/a")), EPERM);
    EXPECT_EQ(onlyItem.writes, 0);
    onlyItem.status->st_mode = S_IFDIR | S_IRWXU;
    EXPECT_EQ(set(at("home/a"), at("home/a")), 0);
  });
}

/// Root itself is at the console, and everybody could redirect the paths in "open".
class MacTrashOfRoot : public MacOfRoot {
 protected:
  void play(const std::function<void()>& body) {
    asRootFor("root", [&] {
      makeFolders(at("Trash"), 0700);
      makeFile(at("Trash/b.txt"));
      makeFolders(at("folder"));
      openFolder("open");
      body();
    });
  }
  platform::Status putBack(const std::string& origin,
                           platform::MissingFolders missing = platform::MissingFolders::Fail) {
    return trash.putBack({at("Trash/b.txt"), at(origin), ""}, at("Trash"), missing);
  }

  const std::unique_ptr<platform::Trash> made =
      macos::makeTrash(fakes.users, fakes.clock, fakes.console, "com.example");
  platform::Trash& trash = *made;
};

TEST_F(MacTrashOfRoot, PutsAnItemBackAtItsPlaceAndMakesTheFolder) {
  play([&] {
    expectDone(putBack("open/Quillmark/b.txt", platform::MissingFolders::AreMade));
    EXPECT_TRUE(isThere(at("open/Quillmark/b.txt")));
  });
}

TEST_F(MacTrashOfRoot, ChangesNoNoteOfAFileWithAnotherName) {
  play([&] {
    ASSERT_EQ(::link(at("Trash/b.txt").c_str(), at("other").c_str()), 0);
    madeUp.notes[{attributesOf(at("other")).st_dev, attributesOf(at("other")).st_ino}] = "a note";
    expectDone(putBack("open/b.txt"));
    EXPECT_TRUE(isThere(at("open/b.txt")));
    EXPECT_EQ(madeUp.notes.size(), 1U);
  });
}

TEST_F(MacTrashOfRoot, PutsNothingBackBehindALinkThatAnybodyCouldHavePlanted) {
  play([&] {
    ASSERT_EQ(::symlink(at("folder").c_str(), at("open/way").c_str()), 0);
    ASSERT_EQ(::lchown(at("open/way").c_str(), kUser, kUser), 0);
    const auto status = putBack("open/way/b.txt");
    EXPECT_EQ(status.code(), ELOOP);
    EXPECT_THAT(status.localizedDescription(), HasSubstr("could have been planted"));
    EXPECT_TRUE(isThere(at("Trash/b.txt")));
    EXPECT_EQ(countIn(at("folder")), 0U);
  });
}

TEST_F(MacTrashOfRoot, GetsASocketThatCannotBeOpened) {
  play([&] {
    ASSERT_EQ(::mknod(at("open/socket").c_str(), S_IFSOCK | 0600, 0), 0);
    expectDone(trash.recycleItems(at("open"), at("Trash"), {"socket"}).status);
    EXPECT_TRUE(isThere(at("Trash/socket")));
    EXPECT_TRUE(madeUp.notes.empty());
  });
}

TEST_F(MacTrashOfRoot, SaysWhereAnItemIsThatCannotBeGivenBack) {
  play([&] {
    makeFile(at("folder/a.txt"), "another's");
    posix::HeldTrash held;
    EXPECT_EQ(posix::openTrashOfPerson(fakes.users, at("Trash"), held), 0);
    posix::Place place;
    EXPECT_EQ(posix::openPlace(at("folder/a.txt"), place), 0);
    std::string stored;
    afterSystemCall(SYS_renameat2, [&] { makeFile(at("folder/a.txt"), "a third one"); });
    EXPECT_EQ(posix::moveIntoHeldTrash(place, attributesOf(at("Trash/b.txt")), held, stored), ESTALE);
    EXPECT_THAT(held.refusal, HasSubstr("could not be moved back from " + at("Trash/a.txt")));
    EXPECT_EQ(textOf(at("Trash/a.txt")), "another's");
    EXPECT_EQ(textOf(at("folder/a.txt")), "a third one");
  });
}

}  // namespace
}  // namespace qm::testing
