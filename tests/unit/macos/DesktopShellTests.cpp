// SPDX-License-Identifier: MIT
#include "Platform/macos/desktop/MacDesktopShell.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/macos/desktop/DesktopCalls.h"
#include "Platform/macos/files/MacFileReferences.h"
#include "tests/unit/macos/FakeItem.h"

namespace qm::macos {
namespace {

using platform::OSStatus;

/// The results of the fake calls of the system, and which calls were made.
struct Desktop {
  OSStatus permission = 0;
  OSStatus created = 0;
  OSStatus located = 0;
  OSStatus sent = 0;
  OSStatus registered = 0;
  std::vector<std::string> calls;
};
Desktop desktop;

OSStatus note(std::string call, OSStatus answer) {
  desktop.calls.push_back(std::move(call));
  return answer;
}

}  // namespace

struct UpdateEvent::Parts {};
UpdateEvent::UpdateEvent() = default;
UpdateEvent::~UpdateEvent() = default;
OSStatus UpdateEvent::create() { return note("create", desktop.created); }
OSStatus UpdateEvent::setLocation(const std::string& location) { return note(location, desktop.located); }
OSStatus UpdateEvent::send() { return note("send", desktop.sent); }

std::string locationOf(const std::string& path) { return path.starts_with('/') ? "file://" + path : ""; }
OSStatus permissionToUpdateFinder() { return note("permission", desktop.permission); }
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
  MacDesktopShell shell;
};

TEST_F(MacDesktopShellTest, TellsTheFinderWhereTheItemIs) {
  EXPECT_EQ(update(), platform::noErr);
  EXPECT_THAT(desktop.calls, ElementsAre("permission", "create", "file:///Applications/a.app", "send"));
}

TEST_F(MacDesktopShellTest, SendsNothingWithoutPermission) {
  constexpr OSStatus kNotPermitted = -1743;
  desktop.permission = kNotPermitted;
  EXPECT_EQ(update(), kNotPermitted);
  EXPECT_THAT(desktop.calls, ElementsAre("permission"));
}

TEST_F(MacDesktopShellTest, EndsAtTheFirstStepThatFails) {
  desktop.created = -1;
  EXPECT_EQ(update(), -1);
  EXPECT_EQ(desktop.calls.size(), 2U);
  desktop = {};
  desktop.located = -2;
  EXPECT_EQ(update(), -2);
  EXPECT_EQ(desktop.calls.size(), 3U);
  desktop = {};
  desktop.sent = platform::procNotFound;
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
