// SPDX-License-Identifier: MIT

// A session that ends while somebody is asked for its rights. A script takes pkexec's place.

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <string>

#include "Platform/linux/privileges/PolkitAuthorization.h"
#include "Platform/linux/privileges/protocol/Messages.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::testing {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are

class SessionWhileAsked : public ::testing::Test {
 protected:
  SessionWhileAsked() {
    for (const char* name : {"asked", "answer"}) EXPECT_EQ(::mkfifo(disk.at(name).c_str(), 0600), 0);
    std::ofstream(disk.at("hello"), std::ios::binary) << *linux_::encoded(linux_::Hello{});
    std::ofstream(programs.pkexec) << "#!/bin/sh\n"
                                   << "cd '" << disk.path() << "' || exit 1\n"
                                   << "echo > asked\n"
                                   << "read -r answer < answer\n"
                                   << "cat hello >&0\n"
                                   << "cat > /dev/null\n"
                                   << "echo > ended\n";
    std::filesystem::permissions(programs.pkexec, std::filesystem::perms::owner_all);
    EXPECT_EQ(service.create({}, 0, &session), errAuthorizationSuccess);
  }

  AuthorizationStatus askForRights() {
    constexpr AuthorizationFlags kFlags = kAuthorizationFlagExtendRights | kAuthorizationFlagInteractionAllowed;
    return service.copyRights(session, {{.name = "system.privilege.admin", .value = "", .flags = 0}}, {}, kFlags);
  }
  /// Blocks until the dialog is shown.
  void waitForDialog() const { std::ifstream(disk.at("asked")).get(); }
  void answerDialog() const { std::ofstream(disk.at("answer")) << "yes\n"; }

  TemporaryFolder disk;
  FakePlatform fakes;
  linux_::PrivilegePrograms programs{"/bin/true", linux_::HelperScope::Product, "", disk.at("pkexec"), ""};
  linux_::PolkitAuthorization service{*fakes.platform.console, *fakes.platform.users, programs};
  AuthorizationRef session = nullptr;
};

TEST_F(SessionWhileAsked, HasTheRightsThatAreGranted) {
  std::future<AuthorizationStatus> asked = std::async(std::launch::async, [this] { return askForRights(); });
  waitForDialog();
  answerDialog();
  EXPECT_EQ(asked.get(), errAuthorizationSuccess);
  EXPECT_EQ(service.free(session, 0), errAuthorizationSuccess);
  EXPECT_TRUE(waitUntil([this] { return disk.has("ended"); }));
}

TEST_F(SessionWhileAsked, IsNotBroughtBackWhenItWasFreedMeanwhile) {
  std::future<AuthorizationStatus> asked = std::async(std::launch::async, [this] { return askForRights(); });
  waitForDialog();
  EXPECT_EQ(service.free(session, 0), errAuthorizationSuccess);
  answerDialog();
  EXPECT_EQ(asked.get(), errAuthorizationInvalidRef);
  ASSERT_EQ(service.free(session, 0), errAuthorizationInvalidRef) << "there is no such session";
  EXPECT_TRUE(waitUntil([this] { return disk.has("ended"); })) << "the helper’s connection is ended";
  EXPECT_EQ(::prctl(PR_GET_DUMPABLE), 1) << "nothing in this process needs to be kept from others any more";
}

}  // namespace
}  // namespace qm::testing
