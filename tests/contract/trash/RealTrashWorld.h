// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/linux/trash/FreedesktopTrash.h"
#include "tests/contract/trash/TrashWorld.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeUsers.h"

namespace qm::testing {

/// The kernel's own files under a root folder of the case's own, in a private machine. The Trash works with the rights
/// of an ordinary user until the case asks for root. Arranging is done as root.
class RealTrashWorld : public TrashWorld {
 public:
  /// Runs a case in a process of its own; a failure in it fails the test.
  static void play(const std::function<void(RealTrashWorld&)>& body);

  void makeFolder(const std::string& path) override;
  void makeFile(const std::string& path, const std::string& contents) override;
  void makeLink(const std::string& path, const std::string& target) override;
  void makeVolume(const std::string& path) override { mountVolume(path, "mode=0755,uid=501,gid=501"); }
  void removeFile(const std::string& path) override;
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

  // What only a real system has.

  void mountVolume(const std::string& path, const std::string& options);
  void makeReadOnly(const std::string& path);
  void bind(const std::string& folder, const std::string& path);
  void giveTo(uid_t owner, const std::string& path);
  void makeRootsFolder(const std::string& path) {
    makeFolder(path);
    giveTo(0, path);
  }
  void setMode(const std::string& path, mode_t mode);
  mode_t modeOf(const std::string& path);
  uid_t ownerOf(const std::string& path);
  ino_t inodeOf(const std::string& path);
  void rename(const std::string& from, const std::string& to);
  void removeTree(const std::string& path);
  /// Writes a file with the thread's present rights.
  static void makePlainFile(const std::string& path, const std::string& contents);
  /// A new Trash with this XDG_DATA_HOME; it replaces the previous one.
  void useDataHome(const std::string& path);
  /// Runs `work` with the rights that the Trash has in this world.
  void withUsersRights(const std::function<void()>& work);

  FakeUsers& users() { return users_; }
  FakeClock& clock() { return clock_; }
  platform::Trash& trash() { return *trash_; }

  static constexpr uid_t kUser = 501;
  static constexpr uid_t kStranger = 502;

 private:
  RealTrashWorld();

  Calls calls_;
  FakeUsers users_{calls_};
  FakeClock clock_{calls_};
  std::unique_ptr<linux_::FreedesktopTrash> trash_;
};

using World = RealTrashWorld;

/// The Trash at home.
inline const std::string kTrash = World::kHomeTrash;
/// Where the tests have a second volume.
inline const std::string kStick = "/volumes/stick";

}  // namespace qm::testing
