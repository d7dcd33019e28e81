// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/PutBackPlace.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/rights/PathWalk.h"
#include "Platform/linux/trash/SourceFolder.h"

namespace qm::linux_ {
namespace {

using platform::MissingFolders;
using PlaceOutcome = TrashAnswer<PutBackPlace>;

constexpr mode_t kNewFolder = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;

PlaceOutcome openWithPersonsRights(const std::string& path, const TrashUser& user) {
  TrashAnswer<SourceFolder> folder = openFolderAsUser(foundation::deletingLastPathComponent(path), user);
  if (!folder) return folder.problem();
  return PutBackPlace{std::move(folder->fd), foundation::lastPathComponent(path), false};
}

// Even for its own items, root follows no path that somebody else could redirect.
PlaceOutcome openAsRoot(const std::string& path) {
  Answer<PinnedPlace> pinned = pinPath(path, LastLink::Stays);
  if (pinned) return PutBackPlace{std::move(pinned->folder), std::move(pinned->name), false};
  const int error = pinned.problem().error;
  if (error != ELOOP && error != EPERM) return folderProblem(error);
  return TrashProblem{error, "somebody else could redirect the path to its folder"};
}

bool isMissing(int error) { return error == ENOENT || error == ENOTDIR; }

PlaceOutcome open(const std::string& path, const TrashUser& user) {
  if (user.identity.uid == 0) return openAsRoot(path);
  if (!user.forAnother) return openWithPersonsRights(path, user);
  Answer<PinnedPlace> pinned = pinPath(path, LastLink::Stays);
  if (!pinned && isMissing(pinned.problem().error)) return folderProblem(pinned.problem().error);
  if (!pinned || !pinned->writers.none()) return openWithPersonsRights(path, user);
  return PutBackPlace{std::move(pinned->folder), std::move(pinned->name), true};
}

int makeFolder(const PutBackPlace& place, const TrashUser& user) {
  const auto make = [&] { return ::mkdirat(place.folder.get(), place.name.c_str(), kNewFolder) == 0 ? 0 : errno; };
  FileSystemUser acting(user.forAnother ? &user.identity : nullptr);
  if (!acting.ok()) return EPERM;
  const int error = make();
  if (error != EACCES || !place.withRootRights) return error;
  acting.leave();
  return make();
}

}  // namespace

PlaceOutcome openPutBackPlace(const std::string& path, const TrashUser& user, MissingFolders missing) {
  PlaceOutcome place = open(path, user);
  const std::string folder = foundation::deletingLastPathComponent(path);
  const bool isMade = missing == MissingFolders::AreMade && folder.size() > 1;
  if (place || place.problem().code != ENOENT || !isMade) return place;
  PlaceOutcome above = openPutBackPlace(folder, user, missing);
  if (!above) return above;
  // Another program may create it at the same moment.
  const int error = makeFolder(*above, user);
  return error == 0 || error == EEXIST ? open(path, user) : folderProblem(error);
}

}  // namespace qm::linux_
