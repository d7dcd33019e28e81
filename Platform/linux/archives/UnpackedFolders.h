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

/// The folders that items were unpacked into, each known by its name in the one above: a path of thousands of names
/// takes no more than these.
class UnpackedFolders {
 public:
  static constexpr std::size_t kTop = 0;

  /// The folder of a name in a folder, known from now on.
  std::size_t below(std::size_t folder, const std::string& name);
  /// The folder was made here, and is its owner's alone until it is settled. `made` is what it is told by then.
  /// ESTALE when it is another one that took its place. Answers 0 or an error number.
  int setMade(std::size_t folder, int above, int made);
  /// What the archive says of it.
  void setAttributes(std::size_t folder, mode_t permissions, const std::optional<timespec>& modified);

  /// Gives permissions and times to the folders that were made or told of, below the one that is open as `top`; the
  /// deepest first, since a folder may shut its owner out. No link is followed. Those that were there before and are
  /// somebody else's stay as they are, and so does what took the place of one that was made. Where one cannot be had
  /// the others are; returns the first failure.
  platform::Status settle(int top) const;

 private:
  struct Folder {
    std::string name;
    std::size_t above = kTop;
    std::map<std::string, std::size_t> below;
    bool isMade = false;
    posix::FolderIdentity identity;     // of one that was made
    bool keepsPermissions = false;      // and whether its volume does
    bool isOnTheWay = false;            // to one that is to be settled, or one itself
    std::optional<mode_t> permissions;  // none are those of any new folder
    std::optional<timespec> modified;
  };
  class Walk;

  void markWay(std::size_t folder);

  std::vector<Folder> folders_ = std::vector<Folder>(1);
};

/// The permissions that the umask leaves to a new folder, and the mark for its group that it has from the one above.
/// `attributes` are the folder's.
mode_t permissionsOfNewFolder(const struct stat& attributes);

}  // namespace qm::linux_
