// SPDX-License-Identifier: MIT
#include "Shared/QMAuthorization.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "tests/unit/shared/AuthorizationTest.h"

namespace qm::testing {
namespace {

using platform::AuthorizationRef;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

template <class Text>
concept IsAcceptedPath = requires(QMAuthorization& rights, Text path) {
  rights.authExecTask(path, {});
}
|| requires(QMAuthorization& rights, Text path) { rights.authCreateDir(path); }
|| requires(QMAuthorization& rights, Text path) { rights.authTrashFile(path); }
|| requires(QMAuthorization& rights, Text path) { rights.authTrashFolderContents(path); }
|| requires(QMAuthorization& rights, Text path) { rights.authRemoveFile(path); };
static_assert(IsAcceptedPath<std::string> && !IsAcceptedPath<std::nullptr_t>);

template <class First, class Second>
concept AreAcceptedPaths = requires(QMAuthorization& rights, First first, Second second) {
  rights.authMoveFile(first, second);
}
|| requires(QMAuthorization& rights, First first, Second second) { rights.authCopyFile(first, second); }
|| requires(QMAuthorization& rights, First first, Second second) { rights.authStartWithUser(first, second); }
|| requires(QMAuthorization& rights, First first, Second second) { rights.authMoveFolderContents(first, second); };
static_assert(AreAcceptedPaths<std::string, std::string>);
static_assert(!AreAcceptedPaths<std::nullptr_t, std::string> && !AreAcceptedPaths<std::string, std::nullptr_t>);

// The one object.

TEST_F(QMAuthorizationTest, IsOneObjectWhoseFirstCallerDecidesOnTheDialog) {
  auto* first = QMAuthorization::sharedController(QMAuthorization::WithGUI::No);
  EXPECT_EQ(QMAuthorization::sharedController(QMAuthorization::WithGUI::Yes), first);
  EXPECT_EQ(QMAuthorization::sharedController(), first);
  EXPECT_FALSE(first->hasGUI());
}

TEST_F(QMAuthorizationTest, AllowsTheDialogUnlessTold) { EXPECT_TRUE(rights().hasGUI()); }

TEST_F(QMAuthorizationTest, CannotBeAllocatedTwice) {
  auto* first = QMAuthorization::allocWithZone();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(QMAuthorization::allocWithZone(), nullptr);
  EXPECT_EQ(QMAuthorization::sharedController(), first);
}

TEST_F(QMAuthorizationTest, MayBeRetainedAndReleasedFreely) {
  auto& object = rights();
  EXPECT_EQ(object.retain(), &object);
  EXPECT_EQ(object.autorelease(), &object);
  EXPECT_EQ(object.copyWithZone(), &object);
  EXPECT_EQ(object.retainCount(), 4294967295U);
  object.release();
  EXPECT_EQ(&rights(), &object);
  EXPECT_EQ(object.retainCount(), 4294967295U);
}

TEST_F(QMAuthorizationTest, IsMadeOnceByManyThreads) {
  std::vector<QMAuthorization*> seen(8);
  std::vector<std::thread> threads;
  threads.reserve(seen.size());
  for (auto& object : seen) threads.emplace_back([&object] { object = QMAuthorization::sharedController(); });
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(seen, ::testing::Each(seen.front()));
  EXPECT_EQ(fakes.calls.count("authorization.copyPrivilegedReference"), 1U);
}

TEST_F(QMAuthorizationTest, BeginsWithoutASessionAndForTheUser) {
  EXPECT_EQ(rights().authRef(), nullptr);
  EXPECT_EQ(rights().userDirectory(), "/home/u");
  EXPECT_FALSE(rights().isAuthorized());
  EXPECT_TRUE(rights().canAuthorize());
}

TEST_F(QMAuthorizationTest, TakesOverTheSessionOfAPrivilegedParent) {
  const AuthorizationRef parents = services().offerParentSession();
  EXPECT_EQ(rights().authRef(), parents);
  EXPECT_TRUE(rights().isAuthorized());
  EXPECT_EQ(services().calls("copyPrivilegedReference").at(0).flags, 0U);
}

TEST_F(QMAuthorizationTest, TakesNoSessionOverWhenTheParentsIsRefused) {
  services().offerParentSession();
  fakes.calls.failNext("authorization.copyPrivilegedReference");
  EXPECT_EQ(rights().authRef(), nullptr);
}

TEST_F(QMAuthorizationTest, LetsFlagAndSessionBeSetWithoutFreeing) {
  ASSERT_TRUE(rights().authStart());
  const AuthorizationRef session = rights().authRef();
  rights().setAuthRef(nullptr);
  rights().setHasGUI(false);
  EXPECT_EQ(services().openSessions(), 1U);
  EXPECT_FALSE(rights().isAuthorized());
  EXPECT_FALSE(rights().canAuthorize());
  rights().setAuthRef(session);
  EXPECT_TRUE(rights().isAuthorized());
}

// Obtaining rights.

TEST_F(QMAuthorizationTest, AsksOnceWithTheDialogForAdministratorRights) {
  EXPECT_TRUE(rights().authStart());
  EXPECT_TRUE(rights().authStart());
  const auto created = services().calls("create");
  ASSERT_THAT(created, SizeIs(1));
  EXPECT_THAT(created[0].environment, IsEmpty());
  EXPECT_EQ(created[0].flags, 0U);
  const auto asked = services().calls("copyRights");
  ASSERT_THAT(asked, SizeIs(1));
  EXPECT_EQ(asked[0].flags, 19U);
  EXPECT_EQ(asked[0].session, created[0].session);
  EXPECT_THAT(asked[0].environment, IsEmpty());
  ASSERT_THAT(asked[0].rights, SizeIs(1));
  EXPECT_EQ(asked[0].rights[0].name, "system.privilege.admin");
  EXPECT_EQ(asked[0].rights[0].value, "");
  EXPECT_EQ(asked[0].rights[0].flags, 0U);
  EXPECT_EQ(rights().authRef(), created[0].session);
}

TEST_F(QMAuthorizationTest, FreesTheSessionWhenTheDialogIsCancelled) {
  services().answerNext("copyRights", platform::errAuthorizationCanceled);
  EXPECT_FALSE(rights().authStart());
  EXPECT_EQ(rights().authRef(), nullptr);
  EXPECT_EQ(services().openSessions(), 0U);
  EXPECT_EQ(services().calls("free").at(0).flags, 0U);
  EXPECT_THAT(console(), IsEmpty());
  EXPECT_TRUE(rights().authStart()) << "the next one asks again";
}

TEST_F(QMAuthorizationTest, AsksForNothingWithoutASession) {
  fakes.calls.failNext("authorization.create");
  EXPECT_FALSE(rights().authStart());
  EXPECT_EQ(rights().authRef(), nullptr);
  EXPECT_EQ(fakes.calls.count("authorization.copyRights"), 0U);
  EXPECT_EQ(fakes.calls.count("authorization.free"), 0U);
}

TEST_F(QMAuthorizationTest, SaysThatItCannotAskWithoutAnInterface) {
  auto* object = QMAuthorization::sharedController(QMAuthorization::WithGUI::No);
  EXPECT_FALSE(object->canAuthorize());
  EXPECT_FALSE(object->authStart());
  EXPECT_THAT(console(), ElementsAre("Unable to authorize"));
  EXPECT_EQ(fakes.calls.count("authorization.create"), 0U);
}

TEST_F(QMAuthorizationTest, NeedsNoInterfaceWhenItIsAuthorizedAlready) {
  services().offerParentSession();
  EXPECT_TRUE(QMAuthorization::sharedController(QMAuthorization::WithGUI::No)->authStart());
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(QMAuthorizationTest, PassesCredentialsToTheSessionWithoutADialog) {
  EXPECT_TRUE(rights().authStartWithUser("jörg", "pässword"));
  const auto created = services().calls("create").at(0);
  ASSERT_THAT(created.environment, SizeIs(2));
  EXPECT_EQ(created.environment[0].name, "username");
  EXPECT_EQ(created.environment[0].value, "jörg");
  EXPECT_EQ(created.environment[0].flags, 0U);
  EXPECT_EQ(created.environment[1].name, "password");
  EXPECT_EQ(created.environment[1].value, "pässword");
  EXPECT_EQ(created.environment[1].flags, 0U);
  EXPECT_EQ(created.flags, 0U);
  const auto asked = services().calls("copyRights").at(0);
  EXPECT_EQ(asked.flags, 18U);
  EXPECT_EQ(asked.environment.size(), 2U);
  EXPECT_EQ(asked.rights.at(0).name, "system.privilege.admin");
  EXPECT_TRUE(rights().isAuthorized());
  EXPECT_THAT(console(), IsEmpty());
}

TEST_F(QMAuthorizationTest, RefusesMissingCredentialsSilently) {
  EXPECT_FALSE(rights().authStartWithUser(std::nullopt, "secret"));
  EXPECT_FALSE(rights().authStartWithUser("u", std::nullopt));
  EXPECT_EQ(fakes.calls.count("authorization.create"), 0U);
  EXPECT_THAT(console(), IsEmpty());
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(QMAuthorizationTest, SaysWithWhichNumberASessionWithCredentialsFailed) {
  services().answerNext("create", -60008);
  EXPECT_FALSE(rights().authStartWithUser("u", "secret"));
  EXPECT_THAT(console(), ElementsAre("Unable to create authRef - error -60008"));
  EXPECT_EQ(rights().authRef(), nullptr);
  EXPECT_EQ(fakes.calls.count("authorization.copyRights"), 0U);
}

TEST_F(QMAuthorizationTest, SaysInConsoleAndLogThatCredentialsAreWrong) {
  services().answerNext("copyRights", platform::errAuthorizationDenied);
  EXPECT_FALSE(rights().authStartWithUser("u", "wrong"));
  EXPECT_THAT(console(), ElementsAre("Authorization failed. Invalid username or password"));
  EXPECT_THAT(logged(), ElementsAre("Authorization failed. Invalid username or password"));
  EXPECT_EQ(rights().authRef(), nullptr);
  EXPECT_EQ(services().openSessions(), 0U);
}

TEST_F(QMAuthorizationTest, OverwritesAnEarlierSessionWithoutFreeingIt) {
  ASSERT_TRUE(rights().authStart());
  const AuthorizationRef earlier = rights().authRef();
  ASSERT_TRUE(rights().authStartWithUser("u", "secret"));
  EXPECT_NE(rights().authRef(), earlier);
  EXPECT_EQ(services().openSessions(), 2U);
}

TEST_F(QMAuthorizationTest, EndsTheSessionAndAsksAgainAfterwards) {
  ASSERT_TRUE(rights().authStart());
  rights().authEnd();
  EXPECT_EQ(rights().authRef(), nullptr);
  EXPECT_EQ(services().openSessions(), 0U);
  EXPECT_EQ(services().calls("free").at(0).flags, 0U);
  fakes.disk.addFile("/a");
  EXPECT_TRUE(rights().authRemoveFile("/a"));
  EXPECT_EQ(fakes.calls.count("authorization.copyRights"), 2U);
}

TEST_F(QMAuthorizationTest, EndsNothingWhenThereIsNoSession) {
  rights().authEnd();
  EXPECT_EQ(rights().authRef(), nullptr);
  EXPECT_EQ(fakes.calls.count("authorization.free"), 0U);
}

TEST_F(QMAuthorizationTest, EndsTheSessionWhenItIsFinalizedOrDeallocated) {
  ASSERT_TRUE(rights().authStart());
  rights().finalize();
  EXPECT_EQ(services().openSessions(), 0U);
  ASSERT_TRUE(rights().authStart());
  rights().dealloc();
  EXPECT_EQ(services().openSessions(), 0U);
}

TEST_F(AsRoot, IsAlwaysAuthorizedWithoutASession) {
  auto* object = QMAuthorization::sharedController(QMAuthorization::WithGUI::No);
  EXPECT_TRUE(object->isAuthorized());
  EXPECT_TRUE(object->canAuthorize());
  EXPECT_TRUE(object->authStart());
  EXPECT_TRUE(object->authStartWithUser(std::nullopt, std::nullopt));
  EXPECT_EQ(object->userDirectory(), std::nullopt);
  EXPECT_EQ(object->authRef(), nullptr);
  EXPECT_EQ(fakes.calls.count("authorization.create"), 0U);
}

TEST_F(AsRoot, DropsAParentsSessionWithoutFreeingIt) {
  services().offerParentSession();
  ASSERT_NE(rights().authRef(), nullptr);
  rights().authEnd();
  EXPECT_EQ(rights().authRef(), nullptr);
  EXPECT_EQ(services().openSessions(), 1U);
}
TEST_F(QMAuthorizationTest, LosesTheEarlierSessionWhenOneWithCredentialsFailsButNotForNil) {
  ASSERT_TRUE(rights().authStart());
  const AuthorizationRef earlier = rights().authRef();
  EXPECT_FALSE(rights().authStartWithUser(std::nullopt, "secret"));
  EXPECT_EQ(rights().authRef(), earlier);
  fakes.calls.failNext("authorization.create");
  EXPECT_FALSE(rights().authStartWithUser("u", "secret"));
  EXPECT_EQ(rights().authRef(), nullptr);
  EXPECT_EQ(services().openSessions(), 1U);
}

TEST_F(QMAuthorizationTest, TakesEmptyCredentialsWithoutAnInterface) {
  auto* object = QMAuthorization::sharedController(QMAuthorization::WithGUI::No);
  EXPECT_TRUE(object->authStartWithUser("", ""));
  const auto created = services().calls("create").at(0);
  const auto asked = services().calls("copyRights").at(0);
  EXPECT_EQ(asked.session, created.session);
  ASSERT_THAT(asked.environment, SizeIs(2));
  EXPECT_EQ(asked.environment[0].name, "username");
  EXPECT_EQ(asked.environment[1].name, "password");
}

TEST_F(QMAuthorizationTest, BeginsAnewWhenItIsInitialisedAgain) {
  ASSERT_TRUE(rights().authStart());
  EXPECT_EQ(rights().initWithoutGUI(), &rights());
  EXPECT_EQ(rights().authRef(), nullptr);
  EXPECT_FALSE(rights().hasGUI());
  EXPECT_EQ(rights().init(), &rights());
  EXPECT_TRUE(rights().hasGUI());
}

}  // namespace
}  // namespace qm::testing
