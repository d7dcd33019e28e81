#include "Platform/posix/Move.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "Platform/posix/ItemPath.h"
#include "Platform/posix/RenameWithoutReplacing.h"
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
  // What is missing altogether is said before what is wrong with its destination.
  struct stat attributes {};
  if (::fstatat(places.source.folder.get(), places.source.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno;
  }
  return {openPlace(destination, places.destination), {}, Side::Destination};
}

FileError moveAcrossVolumes(const Places& places) {
  const int folder = places.source.folder.get();
  if (FileError error = obstacleToRemoval(folder, places.source.name)) return error;
  CopyObserver nobody;
  if (FileError error = copyTree(places.source, places.destination, nobody)) return error;
  return removeTree(folder, places.source.name);
}

/// Which side the error number of a rename speaks of.
Side sideOf(int error, const Places& places) {
  const Place& source = places.source;
  if (error == EINVAL && isWithin(places.destination.folder.get(), source.folder.get(), source.name))
    return Side::Itself;
  const bool destination = error == ENOSPC || error == EDQUOT || error == ENAMETOOLONG || error == EINVAL;
  return destination ? Side::Destination : Side::Source;
}

}  // namespace

FileError moveTree(const std::string& source, const std::string& destination) {
  Places places;
  if (FileError error = openPlaces(source, destination, places)) return error;
  const int error = renameWithoutReplacing({places.source.folder.get(), places.source.name},
                                           {places.destination.folder.get(), places.destination.name});
  return error == EXDEV ? moveAcrossVolumes(places) : FileError(error, {}, sideOf(error, places));
}

FileError copyTree(const std::string& source, const std::string& destination, CopyObserver& observer) {
  Places places;
  FileError error = openPlaces(source, destination, places);
  return error ? error : copyTree(places.source, places.destination, observer);
}

}  // namespace qm::posix
