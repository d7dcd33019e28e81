// SPDX-License-Identifier: MIT

// Root rotates the logs of the user at the console, who meanwhile swaps the folders on the way for links.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/rights/RightfulFileSystem.h"
#include "Shared/QMLog.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/privileges/WorkForSomebody.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/ScopedPlatform.h"
#include "tests/support/SingletonReset.h"

namespace qm::testing {
namespace {

using posix::UniqueFd;
using race::home;
using race::precious;

class LogRotation : public WorkForSomebody {
 protected:
  // Root's own file exists, so that the user's are rotated.
  static void run(const std::string& part, const std::string& likeness) {
    const std::string name = testName();
    WorkForSomebody::run([&](FakePlatform& fakes) {
      static auto* const files = new posix::RightfulFileSystem(fakes.users);  // outlives the log
      fakes.platform.fileSystem = files;
      for (const char* folder : {"/Library", "/Library/Logs", "/Library/Logs/Quillmark"}) {
        makeFolder(machineFolder() + folder);
        makeFolder(precious() + folder);
      }
      fakes.standardDirectories.set(platform::StandardDirectory::Library, platform::DomainMask::Local,
                                    {machineFolder() + "/Library"});
      makeLogs(precious() + "/Library/Logs/Quillmark", 0);
      const ScopedPlatform installed(fakes.platform);
      const SingletonReset<QMLog> fresh;
      rotateAgainst(name, part, precious() + likeness);
    });
  }

 private:
  static std::string log(const std::string& folder, int number) {
    return folder + "/Demo." + std::to_string(number) + ".log";
  }

  static void makeLogs(const std::string& folder, uid_t owner) {
    for (int number = 1; number <= 5; ++number) makeFile(log(folder, number), "line\n", owner);
  }

  static void rotateAgainst(const std::string& name, const std::string& part, const std::string& likeness) {
    const UniqueFd own(::open((home() + "/Library/Logs/Quillmark").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const std::string ownFolder = "/proc/self/fd/" + std::to_string(own.get());
    const std::string current = log(machineFolder() + "/Library/Logs/Quillmark", 1);
    raceAgainstSwaps(name, part, likeness, [&](Race& race) {
      if (!exists(current)) makeFile(current, "line\n");
      makeFile(log(ownFolder, 1), "line\n", kPerson);
      race.attempt([&] {
        QMLog::createNewLog();
        return !exists(log(ownFolder, 1));
      });
    });
  }
};

TEST_F(LogRotation, TouchesNothingOfRootsBehindASwappedFolderOfLogs) { run("/Library/Logs", "/Library/Logs"); }

TEST_F(LogRotation, TouchesNothingOfRootsBehindASwappedFolderOfTheMakers) {
  run("/Library/Logs/Quillmark", "/Library/Logs/Quillmark");
}

TEST_F(LogRotation, TouchesNothingOfRootsBehindASwappedLibrary) { run("/Library", "/Library"); }

}  // namespace
}  // namespace qm::testing
