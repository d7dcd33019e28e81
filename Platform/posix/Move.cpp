// SPDX-License-Identifier: MIT
#include "Platform/posix/Move.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Platform/posix/ItemPath.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/RenameWithoutReplacing.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TemporaryName.h"
#include "Platform/posix/TreeCopy.h"
#include "Platform/posix/TreeRemoval.h"

namespace qm::posix {
namespace {

using Side = FileError::Side;

struct Places {
  Place source;
  Place destination;
};

FileError openPlaces(const std::string& source, const std::string& destination, Places& places) {
  if (const int error = openPlace(source, places.source)) return error;
  // A missing source is reported before a problem with its destination.
  struct stat attributes {};
  if (::fstatat(places.source.folder.get(), places.source.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno;
  }
  return {openPlace(destination, places.destination), {}, Side::Destination};
}

/// The volume of a copy. It is opened before the copy begins, because flushing reports the write errors since then.
class CopiedTo {
 public:
  explicit CopiedTo(const Place& place)
      : folder_(::openat(place.folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

  /// If the folder may not be read, write errors cannot be reported. The call still waits for the disk.
  FileError flush() const {
    if (folder_) return {flushVolume(folder_.get()), {}, Side::Destination};
    ::sync();
    return {};
  }

 private:
  UniqueFd folder_;
};

/// Renames an item to a hidden name beside it, and back again unless it was removed.
class SetAside {
 public:
  explicit SetAside(const Place& place) : place_(place), item_(openItself(place.folder.get(), place.name.c_str())) {}
  SetAside(const SetAside&) = delete;
  SetAside& operator=(const SetAside&) = delete;
  ~SetAside() {
    if (isAside_) static_cast<void>(renameWithoutReplacing(hidden(), shown()));
  }

  /// ESTALE if the name no longer refers to the original item.
  int set() {
    if (!item_) return ESTALE;
    if (const int error = renameWithoutReplacing(shown(), hidden())) return error;
    isAside_ = true;
    return isStill(item_.get(), place_.folder.get(), name_) ? 0 : ESTALE;
  }

  /// If a part of it was removed, the rest stays hidden.
  FileError remove(bool& isBegun) {
    FileError error = removeTree(place_.folder.get(), name_, isBegun);
    isAside_ = error && !isBegun;
    if (error && isBegun) error.item = name_;
    return error;
  }

 private:
  ItemName shown() const { return {place_.folder.get(), place_.name}; }
  ItemName hidden() const { return {place_.folder.get(), name_}; }

  const Place& place_;
  const UniqueFd item_;
  const std::string name_ = temporaryName();
  bool isAside_ = false;
};

/// Nothing of the source is removed before the copy is on the disk. Any failure before that removes the copy again.
FileError moveAcrossVolumes(const Place& from, const Place& to) {
  SetAside source(from);
  if (FileError error = obstacleToRemoval(from.folder.get(), from.name)) return error;
  const CopiedTo volume(to);
  NewCopy copy(to);
  CopyObserver nobody;
  if (FileError error = copy.make(from, nobody)) return error;
  if (FileError error = copy.publish()) return error;
  if (FileError error = volume.flush()) return error;
  if (!copy.isInPlace()) return ESTALE;
  if (const int error = source.set()) return error;
  bool isBegun = false;
  FileError error = source.remove(isBegun);
  if (!error || isBegun) copy.keep();
  return error;
}

/// Which side the error number of a rename refers to.
Side sideOf(int error, const Place& source, const Place& destinationPlace) {
  if (error == EINVAL && isWithin(destinationPlace.folder.get(), source.folder.get(), source.name)) return Side::Itself;
  const bool destination = error == ENOSPC || error == EDQUOT || error == ENAMETOOLONG || error == EINVAL;
  return destination ? Side::Destination : Side::Source;
}

}  // namespace

FileError moveTree(const std::string& source, const std::string& destination) {
  Places places;
  if (FileError error = openPlaces(source, destination, places)) return error;
  return moveTree(places.source, places.destination);
}

FileError moveTree(const Place& source, const Place& destination) {
  const int error =
      renameWithoutReplacing({source.folder.get(), source.name}, {destination.folder.get(), destination.name});
  return error == EXDEV ? moveAcrossVolumes(source, destination)
                        : FileError(error, {}, sideOf(error, source, destination));
}

FileError moveTreeReplacing(const Place& source, const Place& destination) {
  const int folder = destination.folder.get();
  if (::renameat(source.folder.get(), source.name.c_str(), folder, destination.name.c_str()) == 0) return {};
  if (errno != EXDEV) return errno;
  Places places{{duplicate(source.folder), source.name}, {duplicate(destination.folder), temporaryName()}};
  if (!places.source.folder || !places.destination.folder) return errno;
  if (FileError error = moveAcrossVolumes(places.source, places.destination)) return error;
  const int error = errorOf(::renameat(folder, places.destination.name.c_str(), folder, destination.name.c_str()));
  return {error, error == 0 ? "" : places.destination.name};
}

FileError copyTree(const std::string& source, const std::string& destination, CopyObserver& observer) {
  Places places;
  FileError error = openPlaces(source, destination, places);
  return error ? error : copyTree(places.source, places.destination, observer);
}

}  // namespace qm::posix
