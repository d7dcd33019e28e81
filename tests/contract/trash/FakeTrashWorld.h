// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/contract/trash/TrashWorld.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/FakeTrash.h"
#include "tests/fakes/FakeUsers.h"

namespace qm::testing {

/// The fake Trash on the fake disk.
class FakeTrashWorld : public TrashWorld {
 public:
  static void play(const std::function<void(FakeTrashWorld&)>& body);

  void makeFolder(const std::string& path) override { disk_.addFolder(path); }
  void makeFile(const std::string& path, const std::string& contents) override { disk_.addFile(path, contents); }
  void makeLink(const std::string& path, const std::string& target) override { disk_.addLink(path, target); }
  void makeVolume(const std::string& path) override { disk_.addVolume(path); }
  void removeFile(const std::string& path) override { disk_.remove(path); }
  void actAsRoot(const std::optional<std::string>& consoleUser) override;
  ItemKind kindOf(const std::string& path) override;
  std::string contentsOf(const std::string& path) override;
  std::vector<std::string> namesIn(const std::string& folder) override;
  platform::Status recycle(const std::string& folder, const std::optional<std::string>& trashDirectory,
                           const std::vector<std::string>& names) override;
  platform::TrashedItems itemsFrom(const std::string& origin,
                                   const std::optional<std::string>& trashDirectory) override;
  platform::Status putBack(const platform::TrashedItem& item, const std::optional<std::string>& trashDirectory,
                           platform::MissingFolders missing) override;
  void waitAMinute() override { clock_.advance(std::chrono::minutes(1)); }
  using TrashWorld::itemsFrom;
  using TrashWorld::recycle;

 private:
  FakeTrashWorld() = default;

  Calls calls_;
  FakeUsers users_{calls_};
  FakeClock clock_{calls_};
  FakeDisk disk_{clock_};
  FakeTrash trash_{calls_, disk_, clock_, users_};
};

}  // namespace qm::testing
