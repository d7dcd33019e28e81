// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "tests/contract/files/RealFileWorld.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kOrdinaryUser = 1000;

class MachineFileWorld : public RealFileWorld {
 public:
  /// As root, before the rights are dropped.
  void prepare() {
    fs::create_directories(home());
    ASSERT_EQ(::chown(home().c_str(), kOrdinaryUser, kOrdinaryUser), 0);
    mountTmpfs(volume(), "mode=0777");
    mountTmpfs(small(), "mode=0777,size=64k");
    mountTmpfs(readOnly(), "mode=0777");
    addFile(readOnly("file"), "kept");
    addFile(readOnly("folder/inside"), "kept");
    fs::permissions(readOnly("folder"), fs::perms::all);
    makeReadOnly(readOnly());
  }

 private:
  std::string folder(const std::string& area) const override { return machineFolder() + "/disk/" + area; }
};

}  // namespace

void runInMachine(const FileCase& body) {
  runInPrivateMachine([&] {
    MachineFileWorld world;
    ASSERT_NO_FATAL_FAILURE(world.prepare());
    asUser(kOrdinaryUser, kOrdinaryUser, [&] {
      body(world);
      EXPECT_TRUE(world.waitForThreads());
    });
  });
}

}  // namespace qm::testing
