// SPDX-License-Identifier: MIT

// Cases on volumes that are there before them and that they share. Each has folders of its own on them, and removes
// these.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "tests/contract/files/RealFileWorld.h"

namespace qm::testing {
namespace {

namespace fs = std::filesystem;

/// A case may have taken any of the user's rights away.
void removeAll(const fs::path& folder) {
  std::error_code error;
  fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add, error);
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (!entry.is_symlink() && entry.is_directory(error)) removeAll(entry.path());
  }
  fs::remove_all(folder, error);
  EXPECT_FALSE(error) << folder << ": " << error.message();
}

/// Below `volumes` four volumes are mounted, called like the folders. The one that cannot be changed has its items in
/// the folder "items".
class VolumesFileWorld : public RealFileWorld {
 public:
  explicit VolumesFileWorld(std::string volumes) : volumes_(std::move(volumes)) {
    for (const auto& folder : {home(), volume(), small()}) fs::create_directory(folder);
    // A file system that allows UTF-8 only refuses the name, or changes it.
    std::ofstream(home("\xff")).close();
    takesAnyBytes_ = tree(home()) == std::vector<std::string>{"\xff"};
    std::error_code ignored;
    fs::remove(home("\xff"), ignored);
  }
  VolumesFileWorld(const VolumesFileWorld&) = delete;
  VolumesFileWorld& operator=(const VolumesFileWorld&) = delete;
  ~VolumesFileWorld() override {
    for (const auto& folder : {home(), volume(), small()}) removeAll(folder);
  }

  std::string mountPoint() const override { return volumes_ + "/volume"; }
  bool takesAnyBytes() const override { return takesAnyBytes_; }

 private:
  std::string folder(const std::string& area) const override {
    static const std::string own = "case-" + std::to_string(::getpid());
    return volumes_ + "/" + area + "/" + (area == "read-only" ? "items" : own);
  }

  const std::string volumes_;
  bool takesAnyBytes_ = false;
};

void runOnVolumes(const std::string& volumes, const FileCase& body) {
  VolumesFileWorld world(volumes);
  body(world);
  EXPECT_TRUE(world.waitForThreads());
}

}  // namespace

void runInRealWorld(const FileCase& body) {
  if (const char* volumes = std::getenv("QM_TEST_VOLUMES")) {
    runOnVolumes(volumes, body);
  } else {
    runInMachine(body);
  }
}

}  // namespace qm::testing
