// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Clock.h"
#include "Platform/Trash.h"
#include "Platform/Users.h"
#include "Platform/linux/files/MountTable.h"
#include "Platform/linux/trash/TrashFinder.h"
#include "Platform/linux/trash/TrashUser.h"
#include "Platform/linux/trash/TrashesOfPath.h"
#include "Platform/linux/trash/UnflushedTrashes.h"

namespace qm::linux_ {

/// The Trash by the freedesktop.org rules, version 1.0: the user's home trash for what lies on its volume, and
/// a folder at the top of every other volume. The services outlive it.
class FreedesktopTrash final : public platform::Trash {
 public:
  /// Reads XDG_DATA_HOME once, here. `workFolderPrefix` is the prefix of the names of root's work folders.
  FreedesktopTrash(const platform::Users& users, const platform::Clock& clock, std::string_view workFolderPrefix);

  /// As root this works with the console user's rights, and what it creates belongs to that user. Root's own rights are
  /// used only if the user's do not suffice to take the item from its folder; the item is then handed over. If nothing
  /// is at ~/.Trash, a link to the home trash is created there.
  platform::Recycled recycleItems(const std::string& sourceFolder, const std::optional<std::string>& trashDirectory,
                                  const std::vector<std::string>& names) override;
  platform::TrashedItems itemsFrom(const std::string& origin,
                                   const std::optional<std::string>& trashDirectory) override;
  platform::Status putBack(const platform::TrashedItem& item, const std::optional<std::string>& trashDirectory,
                           platform::MissingFolders missing) override;
  void makeDurable() override { unflushed_.flush(); }

 private:
  using SharedUser = std::shared_ptr<const TrashUser>;
  struct KnownUser {
    unsigned realUserId = 0;
    std::string trashDirectory;
    std::chrono::steady_clock::time_point since;
    SharedUser user;
  };
  struct KnownDate {
    std::chrono::system_clock::time_point second;
    std::string text;
  };

  struct KnownLink {
    std::string trashDirectory;
    std::chrono::steady_clock::time_point since;
  };

  TrashAnswer<SharedUser> userFor(const std::optional<std::string>& trashDirectory);
  TrashAnswer<SharedUser> userOf(const std::string& trashDirectory);
  TrashAnswer<TrashesOfPath> trashesFor(const std::string& origin, const TrashUser& user);
  SharedUser knownUser(const KnownUser& asked);
  void showTrash(const std::string& trashDirectory, const TrashUser& user, const TrashDirectory& home);
  platform::Status recycleOne(const SourceFolder& source, const std::string& name, const std::string& trashDirectory,
                              const SharedTrashDirectory& trash, FileSystemUser& acting,
                              std::vector<std::string>& paths);
  std::string deletionDate();

  const platform::Users& users_;
  const platform::Clock& clock_;
  const std::optional<std::string> dataHome_;
  const std::string workFolderPrefix_;
  TrashFinder finder_;
  MountedVolumes volumes_;
  UnflushedTrashes unflushed_;

  std::mutex mutex_;  // guards the following members
  KnownUser knownUser_;
  KnownLink knownLink_;
  KnownDate knownDate_;
};

}  // namespace qm::linux_
