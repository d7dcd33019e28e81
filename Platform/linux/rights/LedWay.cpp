#include "Platform/linux/rights/LedWay.h"

#include <cerrno>

#include "Platform/linux/rights/PathWalk.h"
#include "Platform/posix/ItemPath.h"

namespace qm::linux_ {

// Below a folder that is missing there is nobody to lead astray: the folders that are there decide.
bool onlyRootLeadsTo(const std::string& path) {
  if (posix::pathError(path) != 0) return false;
  if (posix::withoutTrailingSlashes(path) == "/") return true;
  const Answer<PinnedPlace> place = pinPath(path, LastLink::Stays);
  if (!place) return place.refusal().error == ENOENT && onlyRootLeadsTo(posix::folderOf(path));
  return place->writers.none() && onlyRootWrites(place->folder.get());
}

}  // namespace qm::linux_
