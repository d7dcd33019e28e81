// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "Platform/linux/system/MacLayoutDirectories.h"
#include "tests/unit/system/Stubs.h"

namespace qm::testing {
namespace {

using platform::DomainMask;
using platform::StandardDirectory;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr DomainMask kAll = DomainMask::User | DomainMask::Local | DomainMask::System;

struct MacLayoutDirectories : ::testing::Test {
  std::vector<std::string> search(StandardDirectory directory, DomainMask domains) {
    return directories.search(directory, domains);
  }

  StubUsers users;
  linux_::MacLayoutDirectories directories{users};
};

TEST_F(MacLayoutDirectories, ListsUserThenLocalThenSystem) {
  EXPECT_THAT(search(StandardDirectory::Application, kAll),
              ElementsAre("/home/anna/Applications", "/Applications", "/System/Applications"));
  EXPECT_THAT(
      search(StandardDirectory::AdminApplication, kAll),
      ElementsAre("/home/anna/Applications/Utilities", "/Applications/Utilities", "/System/Applications/Utilities"));
  EXPECT_THAT(search(StandardDirectory::Library, kAll),
              ElementsAre("/home/anna/Library", "/Library", "/System/Library"));
  EXPECT_THAT(
      search(StandardDirectory::Documentation, kAll),
      ElementsAre("/home/anna/Library/Documentation", "/Library/Documentation", "/System/Library/Documentation"));
  EXPECT_THAT(search(StandardDirectory::Caches, kAll),
              ElementsAre("/home/anna/Library/Caches", "/Library/Caches", "/System/Library/Caches"));
  EXPECT_THAT(search(StandardDirectory::ApplicationSupport, kAll),
              ElementsAre("/home/anna/Library/Application Support", "/Library/Application Support",
                          "/System/Library/Application Support"));
}

TEST_F(MacLayoutDirectories, KnowsDocumentsAndTheDesktopForTheUserOnly) {
  EXPECT_THAT(search(StandardDirectory::Document, kAll), ElementsAre("/home/anna/Documents"));
  EXPECT_THAT(search(StandardDirectory::Desktop, kAll), ElementsAre("/home/anna/Desktop"));
  EXPECT_THAT(search(StandardDirectory::Document, DomainMask::Local), IsEmpty());
  EXPECT_THAT(search(StandardDirectory::Desktop, DomainMask::Local | DomainMask::System), IsEmpty());
}

TEST_F(MacLayoutDirectories, AnswersOnlyTheDomainsAskedFor) {
  EXPECT_THAT(search(StandardDirectory::Library, DomainMask::User), ElementsAre("/home/anna/Library"));
  EXPECT_THAT(search(StandardDirectory::Library, DomainMask::Local), ElementsAre("/Library"));
  EXPECT_THAT(search(StandardDirectory::Library, DomainMask::System), ElementsAre("/System/Library"));
  EXPECT_THAT(search(StandardDirectory::Library, static_cast<DomainMask>(0)), IsEmpty());
  EXPECT_THAT(search(StandardDirectory::Library, static_cast<DomainMask>(4)), IsEmpty());
}

TEST_F(MacLayoutDirectories, KnowsNoOtherDirectories) {
  EXPECT_THAT(search(static_cast<StandardDirectory>(2), kAll), IsEmpty());
  EXPECT_THAT(search(static_cast<StandardDirectory>(0), kAll), IsEmpty());
}

TEST_F(MacLayoutDirectories, FollowsTheHomeFolderOfTheMoment) {
  users.home = "/var/root";
  EXPECT_THAT(search(StandardDirectory::Library, DomainMask::User), ElementsAre("/var/root/Library"));
  users.home = "/";
  EXPECT_THAT(search(StandardDirectory::Desktop, DomainMask::User), ElementsAre("/Desktop"));
}

TEST_F(MacLayoutDirectories, TakesTheTemporaryFolderOfTheEnvironmentWhenItIsAbsolute) {
  ::setenv("TMPDIR", "/var/tmp/mine//", 1);
  EXPECT_EQ(directories.temporaryDirectory(), "/var/tmp/mine");
  ::setenv("TMPDIR", "/", 1);
  EXPECT_EQ(directories.temporaryDirectory(), "/");
  for (const char* useless : {"", "relative/tmp", "~/tmp"}) {
    ::setenv("TMPDIR", useless, 1);
    EXPECT_EQ(directories.temporaryDirectory(), "/tmp") << useless;
  }
  ::unsetenv("TMPDIR");
  EXPECT_EQ(directories.temporaryDirectory(), "/tmp");
}

}  // namespace
}  // namespace qm::testing
