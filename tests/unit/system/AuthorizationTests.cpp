#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/linux/system/UnavailableAuthorization.h"
#include "tests/unit/system/Stubs.h"

namespace qm::testing {
namespace {

using namespace platform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kNotice =
    "Administrator rights are not available in this version; items that need them stay where they are.";

struct UnavailableAuthorization : ::testing::Test {
  StubConsole console;
  linux_::UnavailableAuthorization services{console};
  AuthorizationRef session = reinterpret_cast<AuthorizationRef>(&console);
};

TEST_F(UnavailableAuthorization, MakesNoSessionAndSaysSo) {
  EXPECT_EQ(services.create({}, kAuthorizationFlagDefaults, &session), -60007);
  EXPECT_EQ(session, nullptr);
  EXPECT_THAT(console.lines, ElementsAre(kNotice));
}

TEST_F(UnavailableAuthorization, MakesNoSessionWithCredentials) {
  EXPECT_EQ(services.create({{"username", "anna"}, {"password", "x"}}, kAuthorizationFlagDefaults, &session), -60007);
  EXPECT_EQ(session, nullptr);
  EXPECT_THAT(console.lines, ElementsAre(kNotice));
}

TEST_F(UnavailableAuthorization, GrantsNoRightsAndSaysSoEveryTime) {
  const AuthorizationItems rights{{"system.privilege.admin", ""}};
  EXPECT_EQ(services.copyRights(nullptr, rights, {}, kAuthorizationFlagInteractionAllowed), -60007);
  EXPECT_EQ(services.copyRights(nullptr, rights, {}, kAuthorizationFlagInteractionAllowed), -60007);
  EXPECT_THAT(console.lines, ElementsAre(kNotice, kNotice));
}

TEST_F(UnavailableAuthorization, StartsNoTool) {
  std::shared_ptr<CommunicationsPipe> pipe;
  EXPECT_EQ(services.executeWithPrivileges(nullptr, "/bin/rm", kAuthorizationFlagDefaults, {"-rf", "/a"}, &pipe),
            -60007);
  EXPECT_EQ(pipe, nullptr);
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(UnavailableAuthorization, HandsDownNoSession) {
  EXPECT_EQ(services.copyPrivilegedReference(&session, kAuthorizationFlagDefaults), 0);
  EXPECT_EQ(session, nullptr);
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(UnavailableAuthorization, LetsGoOfAnything) {
  EXPECT_EQ(services.free(nullptr, kAuthorizationFlagDefaults), 0);
  EXPECT_THAT(console.lines, IsEmpty());
}

}  // namespace
}  // namespace qm::testing
