// SPDX-License-Identifier: MIT
#include "Platform/macos/MacServices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/macos/SystemCalls.h"
#include "Platform/macos/files/NumberedItem.h"
#include "tests/unit/macos/FakeItem.h"

namespace qm::macos {
namespace {

using platform::OSStatus;

/// The results of the fake calls of the system, and which calls were made.
struct Desktop {
  OSStatus permission = 0;
  OSStatus updated = 0;
  OSStatus registered = 0;
  std::vector<std::string> calls;
};
Desktop desktop;

OSStatus note(std::string call, OSStatus answer) {
  desktop.calls.push_back(std::move(call));
  return answer;
}

}  // namespace

std::string locationOf(const std::string& path) { return path.starts_with('/') ? "file://" + path : ""; }
OSStatus permissionToUpdateFinder() { return note("permission", desktop.permission); }
OSStatus updateFinder(const std::string& location) { return note("update " + location, desktop.updated); }
OSStatus registerBundle(const std::string& path) { return note("register " + path, desktop.registered); }

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MacDesktopShellTest : public ::testing::Test {
 protected:
  MacDesktopShellTest() {
    desktop = {};
    onlyItem = {};
    onlyItem.path = "/Applications/a.app";
  }

  OSStatus update() {
    std::unique_ptr<platform::Alias> alias;
    EXPECT_EQ(shell.newMinimalAlias(item, &alias), platform::noErr);
    return shell.sendUpdateEvent(*alias);
  }

  const platform::FileReference item{std::make_shared<NumberedItem>()};
  const std::unique_ptr<platform::DesktopShell> made = makeDesktopShell();
  platform::DesktopShell& shell = *made;
};

TEST_F(MacDesktopShellTest, TellsTheFinderWhereTheItemIs) {
  EXPECT_EQ(update(), platform::noErr);
  EXPECT_THAT(desktop.calls, ElementsAre("permission", "update file:///Applications/a.app"));
}

TEST_F(MacDesktopShellTest, SendsNothingWithoutPermission) {
  constexpr OSStatus kNotPermitted = -1743;
  desktop.permission = kNotPermitted;
  EXPECT_EQ(update(), kNotPermitted);
  EXPECT_THAT(desktop.calls, ElementsAre("permission"));
}

TEST_F(MacDesktopShellTest, TellsWhyTheFinderCouldNotBeTold) {
  desktop.updated = platform::procNotFound;
  EXPECT_EQ(update(), platform::procNotFound);
}

TEST_F(MacDesktopShellTest, SendsNothingOfAnItemWithoutALocation) {
  onlyItem.path = "no path";
  EXPECT_EQ(update(), platform::fnfErr);
  EXPECT_THAT(desktop.calls, IsEmpty());
}

TEST_F(MacDesktopShellTest, MakesNoAliasOfAnItemThatIsGone) {
  onlyItem.path = std::nullopt;
  std::unique_ptr<platform::Alias> alias;
  EXPECT_EQ(shell.newMinimalAlias(item, &alias), platform::fnfErr);
  EXPECT_EQ(shell.newMinimalAlias({}, &alias), platform::fnfErr);
  EXPECT_EQ(alias, nullptr);
}

TEST_F(MacDesktopShellTest, RegistersAnApplication) {
  desktop.registered = platform::kLSNotAnApplicationErr;
  EXPECT_EQ(shell.registerApplication("/Applications/a.app"), platform::kLSNotAnApplicationErr);
  EXPECT_THAT(desktop.calls, ElementsAre("register /Applications/a.app"));
}

TEST_F(MacDesktopShellTest, RegistersNothingThatHasNoLocation) {
  EXPECT_EQ(shell.registerApplication(""), platform::fnfErr);
  EXPECT_THAT(desktop.calls, IsEmpty());
}

}  // namespace
}  // namespace qm::macos
