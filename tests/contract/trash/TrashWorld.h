// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Status.h"
#include "Platform/Trash.h"

namespace qm::testing {

/// The items and the descriptions in the Trash of the user u.
inline const std::string kFiles = "/home/u/.local/share/Trash/files";
inline const std::string kInfo = "/home/u/.local/share/Trash/info";

enum class ItemKind { Nothing, File, Folder, Link };

/// The small world in which a case of the Trash takes place: the user u, id 501, with the home /home/u, on a machine of
/// which only "/" and what the case creates are known. It is 2024-02-29 23:05:07. All paths are absolute; what is
/// created belongs to the user.
class TrashWorld {
 public:
  virtual ~TrashWorld() = default;

  virtual void makeFolder(const std::string& path) = 0;
  virtual void makeFile(const std::string& path, const std::string& contents) = 0;
  virtual void makeLink(const std::string& path, const std::string& target) = 0;
  /// Mounts an empty volume that the user may write to.
  virtual void makeVolume(const std::string& path) = 0;
  virtual void removeFile(const std::string& path) = 0;
  /// From now on the process runs as root, with somebody at the console.
  virtual void actAsRoot(const std::optional<std::string>& consoleUser) = 0;

  /// The item itself; a link at the end is not followed.
  virtual ItemKind kindOf(const std::string& path) = 0;
  /// The contents of a file, or the target of a link.
  virtual std::string contentsOf(const std::string& path) = 0;
  /// The names in a folder, sorted; none if there is no folder.
  virtual std::vector<std::string> namesIn(const std::string& folder) = 0;

  /// The operation under test, and where it reported the items to be.
  virtual platform::Status recycle(const std::string& folder, const std::optional<std::string>& trashDirectory,
                                   const std::vector<std::string>& names) = 0;
  std::vector<std::string> recycledTo;

  /// Putting back.
  virtual platform::TrashedItems itemsFrom(const std::string& origin,
                                           const std::optional<std::string>& trashDirectory) = 0;
  virtual platform::Status putBack(const platform::TrashedItem& item, const std::optional<std::string>& trashDirectory,
                                   platform::MissingFolders missing) = 0;

  /// What came from a path, newest first; the look must succeed.
  std::vector<platform::TrashedItem> itemsFrom(const std::string& origin);
  /// The newest item that came from a path.
  platform::Status putBackNewest(const std::string& origin,
                                 platform::MissingFolders missing = platform::MissingFolders::Fail);
  /// A minute passes.
  virtual void waitAMinute() = 0;

  /// One item, to the user's own Trash.
  platform::Status recycle(const std::string& folder, const std::string& name) {
    return recycle(folder, kTrashLink, {name});
  }

  static constexpr const char* kHome = "/home/u";
  static constexpr const char* kTrashLink = "/home/u/.Trash";
  static constexpr const char* kHomeTrash = "/home/u/.local/share/Trash";
};

}  // namespace qm::testing
