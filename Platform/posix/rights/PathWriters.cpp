// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/PathWriters.h"

#include <fcntl.h>

#include <cerrno>

#include "Platform/posix/ItemPath.h"
#include "Platform/posix/rights/PathWalk.h"

namespace qm::posix {
namespace {

Writers anybody() {
  Writers writers;
  writers.anybody = true;
  return writers;
}

// The users who can create an item where there is none. They are those who could replace a root-owned link in that
// folder: everybody who may write to it.
Writers writersOfNewEntry(int folder) {
  const auto status = statusOf(folder);
  if (!status) return anybody();
  struct stat link {};
  link.st_mode = S_IFLNK;
  return writersOfEntry(folder, *status, link);
}

}  // namespace

// In a missing folder nobody can redirect anything, so only the existing folders count.
Writers writersOfPath(const std::string& path) {
  if (pathError(path) != 0) return anybody();
  if (withoutTrailingSlashes(path) == "/") return {};
  Answer<PinnedPlace> place = pinPath(path, LastLink::Stays);
  if (!place) return place.problem().error == ENOENT ? writersOfPath(folderOf(path)) : anybody();
  Writers writers = place->writers;
  if (!place->exists()) writers.add(writersOfNewEntry(place->folder.get()));
  return writers;
}

bool othersWriteBelow(const std::string& path) {
  const UniqueFd folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (folder) return !onlyRootWritesTree(folder.get());
  return errno != ENOENT && errno != ENOTDIR && errno != ELOOP;
}

}  // namespace qm::posix
