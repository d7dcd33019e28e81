// SPDX-License-Identifier: MIT

// Something appears in a folder while root removes it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/privileges/LaunchMachine.h"
#include "tests/privileges/Race.h"
#include "tests/privileges/Swapper.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using race::precious;

constexpr int kRemovalRounds = 300;

std::string folder() { return machineFolder() + "/applications/Quillmark"; }
std::string kept() { return machineFolder() + "/kept"; }

void makeFolderAnew() {
  for (const std::string& path : {folder(), folder() + "/deep", folder() + "/deep/place"}) {
    ::mkdir(path.c_str(), 0755);  // in one step, because a volume may be mounted there right after
  }
  for (const char* name : {"/.DS_Store", "/Icon\r"}) {
    if (!exists(folder() + name)) makeFile(folder() + name, "housekeeping");
  }
}

// The rest is moved out of the way, with everything that was added to it.
void keep(int round) {
  std::error_code missing;
  std::filesystem::rename(folder(), kept() + "/" + std::to_string(round), missing);
}

int documentsKept() {
  int documents = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(kept())) {
    if (entry.path().filename().string().starts_with("document")) ++documents;
  }
  return documents;
}

TEST(RemovedFolder, LosesNothingOfAVolumeThatComesAndGoes) {
  const std::string name = testName();
  runInPrivateMachine([&] {
    race::build();
    makeFolder(machineFolder() + "/applications");
    makeFolderAnew();
    const std::string before = race::listing(precious());
    const Mounter mounter(precious(), folder() + "/deep/place");
    Race race(name, kRemovalRounds, [&] { return mounter.mounts(); });
    race.run([&] {
      makeFolderAnew();
      race.attempt([] { return removeIfHollow(folder()).succeeded(); });
    });
    EXPECT_EQ(race::listing(precious()), before) << "after " << race.numbers();
  });
}

TEST(RemovedFolder, LosesNoDocumentThatComesMeanwhile) {
  const std::string name = testName();
  runInPrivateMachine([&] {
    race::build();
    makeFolder(machineFolder() + "/applications");
    makeFolder(kept());
    int created = 0;
    {
      int number = 0;
      const Opponent writer(kPerson, [&number] {
        const std::string path = folder() + "/deep/place/document " + std::to_string(++number);
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (fd >= 0) ::close(fd);
        ::usleep(200);  // without pauses the folder would hardly ever be hollow
        return fd >= 0;
      });
      Race race(name, kRemovalRounds, [&] { return writer.moves(); });
      int round = 0;
      race.run([&] {
        makeFolderAnew();
        ASSERT_EQ(::chown((folder() + "/deep/place").c_str(), kPerson, kPerson), 0);
        race.attempt([] { return removeIfHollow(folder()).succeeded(); });
        keep(++round);
      });
      created = writer.moves();
    }
    EXPECT_GE(documentsKept(), created) << "documents were removed";
  });
}

}  // namespace
}  // namespace qm::testing
