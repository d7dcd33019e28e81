// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Uninstaller/remove/Removal.h"
#include "Uninstaller/remove/WithoutDialog.h"
#include "tests/unit/uninstaller/AppControllerTest.h"

namespace qm::testing {

inline const posix::UserRecord kCaller{501, 501, "u", "/home/u"};

/// A machine on which the command works for the users it is told.
class Command : public PlatformTest {
 protected:
  Command() {
    fakes.mainThread.disown();
    fakes.disk.addFolder("/home/v");
    fakes.users.addUser("v", "/home/v");
  }

  /// The program runs as root. The Trash needs a console user, which is never the user it works for.
  void actAsRoot() {
    fakes.users.addUser("w", "/home/w");
    fakes.actAsRoot("w");
  }

  removal::Removal removalFor(const std::vector<posix::UserRecord>& persons,
                              RemoveConfig removeConfig = RemoveConfig::No) {
    const std::string trashOf = persons.empty() ? "root" : persons.front().name;
    return {users, observer, removal::Concerned{persons, trashOf}, removeConfig, launchControlTool};
  }

  std::vector<removal::ReportItem> run(removal::Removal& removal) {
    removal.look();
    removal.run([] { return false; },
                [this](const std::string& path, std::size_t, std::size_t) { seen.push_back(path); });
    return removal.items();
  }

  static removal::ReportItem at(const std::vector<removal::ReportItem>& items, const std::string& path) {
    const auto found =
        std::ranges::find(items, path, [](const removal::ReportItem& each) { return each.path.value_or(""); });
    EXPECT_NE(found, items.end()) << path;
    return found == items.end() ? removal::ReportItem() : *found;
  }

  static std::vector<removal::Outcome> outcomesOf(const std::vector<removal::ReportItem>& items) {
    std::vector<removal::Outcome> outcomes;
    for (const removal::ReportItem& item : items) outcomes.push_back(item.outcome);
    return outcomes;
  }

  Strings seen;
  std::string launchControlTool;  // "" as on Linux
  removal::WorkingFor users{fakes.users};
  removal::WithoutDialog withoutDialog{fakes.authorizationServices};
  RemovalObserver observer{services()};

 private:
  platform::Platform services() {
    platform::Platform all = fakes.platform;
    all.users = &users;
    all.authorizationServices = &withoutDialog;
    return all;
  }

  ScopedPlatform installed_{observer.services()};
};

inline void installCaches(FakeDisk& disk, const std::string& home) {
  disk.addFile(home + "/Library/Caches/com.quillmark.tessaly/data", "1234");
}

}  // namespace qm::testing
