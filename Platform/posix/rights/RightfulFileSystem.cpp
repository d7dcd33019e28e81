// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/RightfulFileSystem.h"

#include <cerrno>

#include "Platform/posix/HollowFolder.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/rights/PathWalk.h"
#include "Platform/posix/rights/RightsForPaths.h"

namespace qm::posix {
namespace {

FileError removePinnedHollowFolder(const std::string& path, const std::vector<std::string>& expendable) {
  const Answer<PinnedPlace> place = pinPath(withoutTrailingSlashes(path), LastLink::Stays);
  if (!place) return place.problem().error;
  return removeHollowFolder(place->folder.get(), place->name, isOneOf(expendable));
}

}  // namespace

using platform::Status;

Status RightfulFileSystem::withRights(FileAction action, const std::string& path, const std::string& destination,
                                      const std::function<Status()>& change) const {
  const RightsForPaths rights(users_, {path, destination.empty() ? path : destination});
  return rights.mayUsePaths() ? change() : statusOf(action, EPERM, path, destination);
}

Status RightfulFileSystem::moveItem(const std::string& source, const std::string& destination) {
  return withRights(FileAction::Move, source, destination,
                    [&] { return PosixFileSystem::moveItem(source, destination); });
}

Status RightfulFileSystem::linkItem(const std::string& source, const std::string& destination) {
  return withRights(FileAction::Link, source, destination,
                    [&] { return PosixFileSystem::linkItem(source, destination); });
}

Status RightfulFileSystem::copyItem(const std::string& source, const std::string& destination) {
  return withRights(FileAction::Copy, source, destination,
                    [&] { return PosixFileSystem::copyItem(source, destination); });
}

Status RightfulFileSystem::createDirectory(const std::string& path) {
  return withRights(FileAction::CreateFolder, path, "", [&] { return PosixFileSystem::createDirectory(path); });
}

Status RightfulFileSystem::removeItem(const std::string& path) {
  return withRights(FileAction::Remove, path, "", [&] { return PosixFileSystem::removeItem(path); });
}

Status RightfulFileSystem::removeHollowFolder(const std::string& path, const std::vector<std::string>& expendable) {
  const RightsForPaths rights(users_, {path});
  if (rights.arePlacesOnly()) return statusOf(FileAction::Remove, removePinnedHollowFolder(path, expendable), path);
  return rights.mayUsePaths() ? PosixFileSystem::removeHollowFolder(path, expendable)
                              : statusOf(FileAction::Remove, EPERM, path);
}

Status RightfulFileSystem::setCreationDate(const std::string& path, std::chrono::system_clock::time_point date) {
  return withRights(FileAction::Date, path, "", [&] { return PosixFileSystem::setCreationDate(path, date); });
}

Status RightfulFileSystem::writeFileAtomically(const std::string& path, std::string_view contents) {
  return withRights(FileAction::Write, path, "", [&] { return PosixFileSystem::writeFileAtomically(path, contents); });
}

std::shared_ptr<platform::FileHandle> RightfulFileSystem::openForWriting(const std::string& path) {
  const RightsForPaths rights(users_, {path});
  return rights.mayUsePaths() ? PosixFileSystem::openForWriting(path) : nullptr;
}

}  // namespace qm::posix
