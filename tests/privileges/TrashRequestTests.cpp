// SPDX-License-Identifier: MIT

// Which commands are a move to the Trash, and what such a move refuses or records.

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <ctime>
#include <string>

#include "Platform/linux/privileges/helper/TrashMove.h"
#include "tests/privileges/MeddledPolicy.h"
#include "tests/privileges/TrashMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::FileCommand;
using linux_::FileCommandKind;

TEST(TrashRequest, IsAMoveOfOneItemToANameInTheTrash) {
  const linux_::UserRecord sam{kPerson, kPerson, "sam", "/home/sam"};
  const auto nameIn = [&](FileCommandKind kind, const std::string& destination) {
    const auto request = trashMoveIn(FileCommand{kind, {"-f"}, {"/item", destination}}, sam);
    return request ? request->item + " as " + request->storedName : "";
  };
  const std::string trash = "/home/sam/.Trash/";
  EXPECT_EQ(nameIn(FileCommandKind::Move, trash + "name"), "/item as name");
  EXPECT_EQ(nameIn(FileCommandKind::Move, trash + "..."), "/item as ...");
  EXPECT_EQ(nameIn(FileCommandKind::Copy, trash + "name"), "");
  for (const std::string& other :
       {trash, trash + ".", trash + "..", trash + "a/b", trash + "a/", std::string("/home/sam/.Trash"),
        std::string("/home/other/.Trash/name"), std::string("/home/sam/.Trashes/name"), std::string("/name")}) {
    EXPECT_EQ(nameIn(FileCommandKind::Move, other), "") << other;
  }
}

class RequestedTrashMove : public TrashMachine {
 protected:
  static std::string now() {
    const time_t seconds = ::time(nullptr);
    tm local{};
    char text[32] = {};
    EXPECT_NE(::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", ::localtime_r(&seconds, &local)), 0U);
    return text;
  }
};

TEST_F(RequestedTrashMove, RecordsWhenItWasMade) {
  run([] {
    makeFile(applications() + "/item", "");
    const std::string before = now();
    EXPECT_TRUE(trashItem("item").succeeded());
    const std::string after = now();
    const std::string key = "\nDeletionDate=";
    const std::string info = infoOf("item");
    const std::size_t place = info.find(key);
    ASSERT_NE(place, std::string::npos) << info;
    const std::string date = info.substr(place + key.size(), before.size());
    EXPECT_LE(before, date);
    EXPECT_LE(date, after);
    EXPECT_EQ(info.substr(place + key.size() + before.size()), "\n");
  });
}

TEST_F(RequestedTrashMove, IsRefusedForALinkThatIsToBeAFolder) {
  run([] {
    makeFolder(applications() + "/folder");
    makeLink(applications() + "/link", "folder");
    const std::string path = applications() + "/link/";
    const Outcome outcome = launch("/bin/mv", {"-f", path, home() + "/.Trash/link"});
    EXPECT_EQ(outcome.error, ENOTDIR);
    EXPECT_EQ(outcome.reason, path + ": Not a directory");
    expectEmptyTrash();
    EXPECT_TRUE(launch("/bin/mv", {"-f", applications() + "/folder/", home() + "/.Trash/folder"}).succeeded());
  });
}

TEST_F(RequestedTrashMove, IsNotMadeWhereItCannotBeConfined) {
  run([] {
    makeFile(applications() + "/item", "");
    const MeddledPolicy policy([] { failSystemCall(SYS_landlock_restrict_self, EPERM); });
    const Outcome outcome = launch(policy, "/bin/mv", {applications() + "/item", home() + "/.Trash/item"});
    EXPECT_EQ(outcome.waitStatus, 1 << 8);
    EXPECT_EQ(outcome.note, applications() + "/item: Operation not permitted");
    EXPECT_TRUE(exists(applications() + "/item"));
  });
}

}  // namespace
}  // namespace qm::testing
