// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/HeldPlace.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "Platform/foundation/PathComponents.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/MakeFolders.h"
#include "Platform/posix/RemovalRules.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/rights/PathWalk.h"
#include "Platform/posix/rights/SystemRights.h"

namespace qm::posix {
namespace {

using platform::MissingFolders;

int openOwnPlace(const std::string& path, Place& place, MissingFolders missing) {
  const int error = missing == MissingFolders::AreMade ? makeFolders(folderOf(path)) : 0;
  return error != 0 ? error : openPlace(path, place);
}

Answer<PinnedPlace> pin(const std::string& item, MissingFolders missing) {
  return missing == MissingFolders::AreMade ? pinPathMakingFolders(item) : pinPath(item, LastLink::Stays);
}

}  // namespace

int openHeldPlace(const std::string& path, Place& place, std::string* refusal, MissingFolders missing) {
  if (const int error = pathError(path)) return error;
  if (::geteuid() != 0) return openOwnPlace(path, place, missing);
  const std::string item = withoutTrailingSlashes(path);
  Answer<PinnedPlace> pinned = pin(item, missing);
  if (!pinned) {
    const Refusal& problem = pinned.problem();
    const bool isOwn = problem.reason != refusalFor(problem.error, item).reason;
    if (isOwn && refusal != nullptr) *refusal = problem.reason;
    return problem.error;
  }
  place = {std::move(pinned->folder), std::move(pinned->name)};
  return 0;
}

int openHeldPlaceOrRoot(const std::string& path, Place& place) {
  if (withoutTrailingSlashes(path) != "/") return openHeldPlace(path, place);
  place = {UniqueFd(::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC)), "."};
  return errorOf(place.folder.get());
}

int openNearestHeldPlace(std::string path, Place& place) {
  int error = openHeldPlace(path, place);
  while (error == ENOENT && path.size() > 1) {
    path = folderOf(path);
    error = openHeldPlaceOrRoot(path, place);
  }
  return error;
}

std::string pathWithoutLinks(const std::string& path) {
  Place place;
  if (openHeldPlace(path, place) != 0) return path;
  const std::string folder = shownPath(place.folder.get());
  return folder.empty() ? path : foundation::appendingPathComponent(folder, place.name);
}

int openHeldFolder(const std::string& path, UniqueFd& folder, std::string* refusal) {
  Place place;
  if (const int error = openHeldPlace(path, place, refusal)) return error;
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  folder.reset(::openat(place.folder.get(), place.name.c_str(), kFlags));
  return errorOf(folder.get());
}

int holdItem(const std::string& path, HeldItem& held) {
  if (const int error = openHeldPlace(path, held.place, &held.refusal)) return error;
  const int folder = held.place.folder.get();
  held.item.reset(openItself(folder, held.place.name.c_str()));
  held.openError = errorOf(held.item.get());
  if (const auto found = held.item ? statusOf(held.item.get()) : statusIn(folder, held.place.name.c_str())) {
    held.status = *found;
  }
  if (held.openError == EOPNOTSUPP && S_ISSOCK(held.status.st_mode)) held.openError = 0;
  return 0;
}

int obstacleToRemoving(const std::string& path) {
  Place place;
  return openHeldPlace(path, place) == 0 ? obstacleToRemovingEntry(place.folder.get(), place.name) : 0;
}

}  // namespace qm::posix
