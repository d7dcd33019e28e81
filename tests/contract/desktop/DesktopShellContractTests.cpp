// SPDX-License-Identifier: MIT

// Messages to the desktop, and applications that it is told of.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/contract/desktop/DesktopWorld.h"

namespace qm::testing {
namespace {

using platform::FileReference;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DesktopShellContract : public DesktopWorldTest {};
INSTANTIATE_TEST_SUITE_P(Both, DesktopShellContract, bothDesktops(), nameOfDesktop);

TEST_P(DesktopShellContract, TellsWhoListensOfAnItemWhereItIs) {
  inWorld([](DesktopWorld& world) {
    world.setListening(true);
    world.addFolder(world.home("folder"));
    const FileReference reference = world.references().make(world.home("folder"));
    world.rename(world.home("folder"), world.home("other"));
    std::unique_ptr<platform::Alias> alias;
    ASSERT_EQ(world.shell().newMinimalAlias(reference, &alias), platform::noErr);
    EXPECT_EQ(world.shell().sendUpdateEvent(*alias), platform::noErr);
    EXPECT_EQ(world.shell().sendUpdateEvent(*alias), platform::noErr);
    EXPECT_THAT(world.notices(), ElementsAre(world.home("other"), world.home("other")));
  });
}

TEST_P(DesktopShellContract, SaysWhenNoDesktopIsThere) {
  inWorld([](DesktopWorld& world) {
    std::unique_ptr<platform::Alias> alias;
    ASSERT_EQ(world.shell().newMinimalAlias(world.references().make(world.home()), &alias), platform::noErr);
    EXPECT_EQ(world.shell().sendUpdateEvent(*alias), platform::procNotFound);
    EXPECT_THAT(world.notices(), IsEmpty());
    world.setListening(true);
    EXPECT_EQ(world.shell().sendUpdateEvent(*alias), platform::noErr);
    world.setListening(false);
    EXPECT_EQ(world.shell().sendUpdateEvent(*alias), platform::procNotFound);
  });
}

TEST_P(DesktopShellContract, MakesNoAliasOfWhatIsNotThere) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("file"));
    const FileReference gone = world.references().make(world.home("file"));
    world.remove(world.home("file"));
    std::unique_ptr<platform::Alias> alias;
    EXPECT_EQ(world.shell().newMinimalAlias(FileReference(), &alias), platform::fnfErr);
    EXPECT_EQ(world.shell().newMinimalAlias(gone, &alias), platform::fnfErr);
    EXPECT_EQ(alias, nullptr);
  });
}

TEST_P(DesktopShellContract, RegistersAnApplicationAsOftenAsItIsAsked) {
  inWorld([](DesktopWorld& world) {
    world.addApplication(world.home("A.app"));
    EXPECT_EQ(world.shell().registerApplication(world.home("A.app")), platform::noErr);
    EXPECT_EQ(world.shell().registerApplication(world.home("A.app")), platform::noErr);
  });
}

TEST_P(DesktopShellContract, RegistersNothingElse) {
  inWorld([](DesktopWorld& world) {
    world.addFile(world.home("file"));
    EXPECT_EQ(world.shell().registerApplication(world.home("file")), platform::kLSNotAnApplicationErr);
    EXPECT_NE(world.shell().registerApplication(world.home("none")), platform::noErr);
    EXPECT_NE(world.shell().registerApplication(""), platform::noErr);
  });
}

}  // namespace
}  // namespace qm::testing
