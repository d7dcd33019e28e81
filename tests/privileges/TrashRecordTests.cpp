// SPDX-License-Identifier: MIT

// The record of a move: what is written, what is read, and what is not believed.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/linux/trash/TrashRecord.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::TrashRecord;

const std::string kWritten =
    "/a%0Ab\n18446744073709551615\n2\n3\n4\nstored\n%5BTrash%20Info%5D%0A\naside\n1\n0\n5\nend";

class MoveRecord : public ::testing::Test {
 protected:
  static void run(const std::function<void(int folder)>& body) {
    runInPrivateMachine([&] {
      const posix::UniqueFd folder(::open(machineFolder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
      body(folder.get());
    });
  }
  static std::string path(const std::string& name) { return machineFolder() + "/" + name; }

  static TrashRecord record() {
    return {"/a\nb", {18446744073709551615U, 2}, {3, 4}, "stored", "[Trash Info]\n", "aside",
            5,       linux_::Reached::Yes,       false};
  }

  static void expectSame(const std::optional<TrashRecord>& found, const TrashRecord& expected) {
    ASSERT_TRUE(found);
    EXPECT_EQ(found->origin, expected.origin);
    EXPECT_EQ(found->item, expected.item);
    EXPECT_EQ(found->copy, expected.copy);
    EXPECT_EQ(found->stored, expected.stored);
    EXPECT_EQ(found->info, expected.info);
    EXPECT_EQ(found->aside, expected.aside);
    EXPECT_EQ(found->volume, expected.volume);
    EXPECT_EQ(found->reached, expected.reached);
    EXPECT_EQ(found->isTaken, expected.isTaken);
  }

  static bool isRead(int folder, const std::string& text) {
    makeFile(path("record"), text);
    return TrashRecord::readFrom(folder).has_value();
  }
};

TEST_F(MoveRecord, IsReadAsItWasWritten) {
  run([](int folder) {
    TrashRecord taken = record();
    taken.isTaken = true;
    taken.reached = linux_::Reached::No;
    taken.origin = std::string(10'000, 'o');
    const TrashRecord leaving = linux_::leavingRecord("/origin", {6, 7}, "stored", "info");
    for (const TrashRecord& one : {record(), taken, leaving}) {
      EXPECT_EQ(one.writeTo(folder), 0);
      expectSame(TrashRecord::readFrom(folder), one);
    }
    EXPECT_FALSE(exists(path("record-new")));
  });
}

TEST_F(MoveRecord, MayHaveAnyLength) {
  run([](int folder) {
    TrashRecord one = record();
    for (std::size_t length = 4000; length < 4100; ++length) {
      one.origin.assign(length, 'o');
      EXPECT_EQ(one.writeTo(folder), 0);
      expectSame(TrashRecord::readFrom(folder), one);
    }
  });
}

TEST_F(MoveRecord, HasNoNumberWhereThereIsNone) {
  run([](int folder) {
    makeFile(path("record"), "/a\nx\n\n \n-1\nstored\ninfo\naside\n1\n0\n%\nend");
    const auto found = TrashRecord::readFrom(folder);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item, linux_::ItemNumber{});
    EXPECT_EQ(found->copy, linux_::ItemNumber{});
    EXPECT_EQ(found->volume, 0U);
  });
}

// An earlier version's record may be waiting on the disk.
TEST_F(MoveRecord, KeepsItsForm) {
  run([](int folder) {
    EXPECT_EQ(record().writeTo(folder), 0);
    EXPECT_EQ(contentsOf(path("record")), kWritten);
    EXPECT_EQ(modeOf(path("record")), 0600U);
    EXPECT_TRUE(isRead(folder, kWritten));
  });
}

TEST_F(MoveRecord, IsOfACopyOrOfAnItemThatLeaves) {
  TrashRecord one = record();
  EXPECT_TRUE(one.isCopy());
  EXPECT_FALSE(one.isLeaving());
  one.isTaken = true;
  EXPECT_FALSE(one.isLeaving());
  one.copy = {};
  EXPECT_FALSE(one.isCopy());
  EXPECT_TRUE(one.isLeaving());
  expectSame(linux_::leavingRecord("/origin", {6, 7}, "stored", "info"),
             {"/origin", {6, 7}, {}, "stored", "info", "", 0, linux_::Reached::No, true});
}

TEST_F(MoveRecord, IsNotReadWhereAPartOfItIsMissing) {
  run([](int folder) {
    EXPECT_FALSE(TrashRecord::readFrom(folder));
    for (std::size_t length = 0; length < kWritten.size(); ++length) {
      EXPECT_FALSE(isRead(folder, kWritten.substr(0, length))) << length;
    }
    EXPECT_FALSE(isRead(folder, kWritten + "\n"));
    EXPECT_FALSE(isRead(folder, "another field\n" + kWritten));
    EXPECT_FALSE(isRead(folder, kWritten.substr(kWritten.find('\n') + 1)));
  });
}

TEST_F(MoveRecord, IsNotReadWithANameThatLeadsOutOfItsFolder) {
  run([](int folder) {
    for (const char* name : {".", "..", "a/b", "/etc"}) {
      for (std::string TrashRecord::*field : {&TrashRecord::stored, &TrashRecord::aside}) {
        TrashRecord one = record();
        one.*field = name;
        EXPECT_EQ(one.writeTo(folder), 0);
        EXPECT_FALSE(TrashRecord::readFrom(folder)) << name;
        one.*field = "";
        EXPECT_EQ(one.writeTo(folder), 0);
        EXPECT_TRUE(TrashRecord::readFrom(folder));
      }
    }
  });
}

TEST_F(MoveRecord, IsNotReadBehindALink) {
  run([](int folder) {
    makeFile(path("other"), kWritten);
    makeLink(path("record"), "other");
    EXPECT_TRUE(TrashRecord::isIn(folder));
    EXPECT_FALSE(TrashRecord::readFrom(folder));
  });
}

TEST_F(MoveRecord, IsWrittenOverAPartOfAnotherAndNotThroughALink) {
  run([](int folder) {
    makeFile(path("record-new"), kWritten + kWritten);
    EXPECT_EQ(record().writeTo(folder), 0);
    EXPECT_EQ(contentsOf(path("record")), kWritten);
    makeFile(path("other"), "other");
    makeLink(path("record-new"), "other");
    EXPECT_EQ(record().writeTo(folder), ELOOP);
    EXPECT_EQ(contentsOf(path("other")), "other");
  });
}

TEST_F(MoveRecord, ThatCannotBeWrittenLeavesTheEarlierOne) {
  run([](int folder) {
    EXPECT_EQ(record().writeTo(-1), EBADF);
    makeFile(path("record"), "earlier");
    for (const long call : {SYS_openat, SYS_fsync, SYS_renameat}) {
      inChild([=] {
        failSystemCallOnce(call, 1, EIO);
        EXPECT_EQ(record().writeTo(folder), EIO) << call;
      });
      EXPECT_EQ(contentsOf(path("record")), "earlier");
    }
    inChild([=] {
      watchSystemCalls({SYS_write, SYS_pwrite64},
                       [](const SystemCall& call) { return call.path().ends_with("/record-new") ? ENOSPC : 0; });
      EXPECT_EQ(record().writeTo(folder), ENOSPC);
    });
    EXPECT_EQ(contentsOf(path("record")), "earlier");
  });
}

TEST_F(MoveRecord, IsWrittenOnlyWhenItsFolderIsOnTheDisk) {
  run([](int folder) {
    inChild([=] {
      failSystemCallOn(folder, SYS_fsync, EIO);
      EXPECT_EQ(record().writeTo(folder), EIO);
    });
    expectSame(TrashRecord::readFrom(folder), record());
  });
}

TEST_F(MoveRecord, IsNotThereWhereOnlyAPartWasWritten) {
  run([](int folder) {
    makeFile(path("record-new"), "part");
    EXPECT_FALSE(TrashRecord::isIn(folder));
    TrashRecord::removePartIn(folder);
    EXPECT_FALSE(exists(path("record-new")));
    EXPECT_EQ(record().writeTo(folder), 0);
    TrashRecord::removePartIn(folder);
    EXPECT_TRUE(TrashRecord::isIn(folder));
  });
}

TEST_F(MoveRecord, NamesTheFolderBesideTheItemAndItsVolume) {
  run([](int folder) {
    TrashRecord one;
    EXPECT_EQ(one.setAside("aside", -1), EBADF);
    EXPECT_EQ(one.aside, "");
    EXPECT_EQ(one.setAside("aside", folder), 0);
    EXPECT_EQ(one.aside, "aside");
    struct stat found {};
    EXPECT_EQ(::fstat(folder, &found), 0);
    EXPECT_EQ(one.volume, found.st_dev);
  });
}

TEST_F(MoveRecord, NumbersAnItemOfAFolderOrTheFolderItself) {
  run([](int folder) {
    makeFile(path("file"), "");
    makeLink(path("link"), "file");
    struct stat own {};
    struct stat link {};
    ASSERT_EQ(::fstat(folder, &own), 0);
    ASSERT_EQ(::lstat(path("link").c_str(), &link), 0);
    EXPECT_EQ(linux_::itemNumber(folder), (linux_::ItemNumber{own.st_dev, own.st_ino}));
    EXPECT_EQ(linux_::itemNumber(folder, "link"), (linux_::ItemNumber{link.st_dev, link.st_ino}));
    EXPECT_FALSE(linux_::itemNumber(folder, "missing"));
    EXPECT_FALSE(linux_::itemNumber(-1));
  });
}

}  // namespace
}  // namespace qm::testing
