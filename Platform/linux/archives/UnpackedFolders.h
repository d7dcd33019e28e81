// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Status.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::linux_ {

/// The folders that items were unpacked into, each stored by its name in its parent. So a path of thousands of names
/// takes only the memory of these names.
class UnpackedFolders {
 public:
  static constexpr std::size_t kTop = 0;

  /// The record of a folder by name and parent, created if there is none yet.
  std::size_t below(std::size_t folder, const std::string& name);
  /// Records that this process created the folder, which is open as `made` in `above`. The folder is accessible to its
  /// owner alone until `applyAttributes`, which recognises it by its identity. Returns 0 or an error number: ESTALE if
  /// `made` is another folder that took its place.
  int setMade(std::size_t folder, int above, int made);
  /// Records what the archive says about it.
  void setAttributes(std::size_t folder, mode_t permissions, const std::optional<timespec>& modified);

  /// Sets permissions and times of the folders that were created or described, below the one that is open as `top`. The
  /// deepest come first, since a folder may deny its owner access. No link is followed. Existing folders of other users
  /// are not changed, nor is an item that took the place of a created folder. Continues past failures and returns the
  /// first.
  platform::Status applyAttributes(int top) const;

 private:
  struct Folder {
    std::string name;
    std::size_t above = kTop;
    std::map<std::string, std::size_t> below;
    bool isMade = false;
    posix::FolderIdentity identity;     // of a folder that was created
    bool keepsPermissions = false;      // the volume of a folder that was created keeps modes
    bool isOnTheWay = false;            // this folder or one below has attributes to apply
    std::optional<mode_t> permissions;  // without them, those of any new folder
    std::optional<timespec> modified;
  };
  class Walk;

  void markWay(std::size_t folder);

  std::vector<Folder> folders_ = std::vector<Folder>(1);
};

/// The permissions that the umask leaves to a new folder, with the set-group-id bit that it inherits from its parent.
/// `attributes` are the folder's.
mode_t permissionsOfNewFolder(const struct stat& attributes);

}  // namespace qm::linux_
