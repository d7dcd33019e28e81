#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Hands an item that arrives in a person's Trash over to that person, so that the desktop shows it and he
/// can restore and delete it.
///
/// What he needs for that is its ".trashinfo" file, made with his own rights, and the folders in it: those
/// become his, and he may change them. Files stay as they are, owner and mode included, so that nothing is
/// readable or runnable by him that was not before, and a file with further names elsewhere is no way to
/// reach those.
class TrashHandover {
 public:
  /// Nil when `folder` is not the "files" folder of a Trash of this person's.
  static std::optional<TrashHandover> into(int folder, uid_t person);

  /// Describes the item that will be called `name` and came from `origin`. Answers 0 or an error number, EEXIST
  /// when something is described under this name already.
  int describe(const std::string& name, const std::string& origin) const;
  /// Takes the description back.
  void forget(const std::string& name) const;
  /// Gives the person the folder `name` of `folder`, which nobody else can change meanwhile, and all below
  /// that lie on the same volume. Answers 0 or the first error number.
  int giveFolders(int folder, const std::string& name) const;

 private:
  TrashHandover(posix::UniqueFd info, uid_t person, gid_t group, std::string volume)
      : info_(std::move(info)), person_(person), group_(group), volume_(std::move(volume)) {}

  int giveFolder(int folder) const;

  posix::UniqueFd info_;
  uid_t person_;
  gid_t group_;
  /// The top of the volume, with a slash, where paths are relative to it; empty for the home trash.
  std::string volume_;
};

}  // namespace qm::linux_
