// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/LaunchAgents.h"

#include <gmock/gmock.h>

#include "tests/support/PlatformTest.h"

namespace qm::removal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LaunchAgents : public qm::testing::PlatformTest {};

TEST_F(LaunchAgents, AreBootedOutOfThePersonsSessionByTheirName) {
  fakes.disk.addExecutable("/bin/launchctl");
  bootOut("/bin/launchctl", "/Users/sam/Library/LaunchAgents/com.quillmark.Tessaly.plist", 501);
  EXPECT_THAT(fakes.tasks.launches(),
              ElementsAre(ElementsAre("/bin/launchctl", "bootout", "gui/501/com.quillmark.Tessaly")));
}

TEST_F(LaunchAgents, AreOnlyFilesInTheFolderOfAgents) {
  EXPECT_THAT(bootOutArguments("/Users/sam/Library/Preferences/com.quillmark.Tessaly.plist", 501), IsEmpty());
  EXPECT_THAT(bootOutArguments("/Users/sam/Library/LaunchAgents/readme.txt", 501), IsEmpty());
}

TEST_F(LaunchAgents, StayWhereTheSystemHasNoToolForThem) {
  bootOut("", "/Users/sam/Library/LaunchAgents/com.quillmark.Tessaly.plist", 501);
  EXPECT_THAT(fakes.tasks.launches(), IsEmpty());
}

}  // namespace
}  // namespace qm::removal
