#include "Platform/linux/files/LinuxFileSystem.h"

#include <cerrno>

#include "Platform/linux/rights/RightsForPaths.h"

namespace qm::linux_ {

using platform::Status;
using posix::FileOperation;

Status LinuxFileSystem::withRights(FileOperation operation, const std::string& path, const std::string& destination,
                                   const std::function<Status()>& change) const {
  const RightsForPaths rights(users_, {path, destination.empty() ? path : destination});
  return rights.ok() ? change() : posix::statusOf(operation, EPERM, path, destination);
}

Status LinuxFileSystem::moveItem(const std::string& source, const std::string& destination) {
  return withRights(FileOperation::Move, source, destination,
                    [&] { return PosixFileSystem::moveItem(source, destination); });
}

Status LinuxFileSystem::linkItem(const std::string& source, const std::string& destination) {
  return withRights(FileOperation::Link, source, destination,
                    [&] { return PosixFileSystem::linkItem(source, destination); });
}

Status LinuxFileSystem::copyItem(const std::string& source, const std::string& destination) {
  return withRights(FileOperation::Copy, source, destination,
                    [&] { return PosixFileSystem::copyItem(source, destination); });
}

Status LinuxFileSystem::createDirectory(const std::string& path) {
  return withRights(FileOperation::CreateFolder, path, "", [&] { return PosixFileSystem::createDirectory(path); });
}

Status LinuxFileSystem::removeItem(const std::string& path) {
  return withRights(FileOperation::Remove, path, "", [&] { return PosixFileSystem::removeItem(path); });
}

Status LinuxFileSystem::removeHollowFolder(const std::string& path, const std::vector<std::string>& expendable) {
  return withRights(FileOperation::Remove, path, "",
                    [&] { return PosixFileSystem::removeHollowFolder(path, expendable); });
}

Status LinuxFileSystem::setCreationDate(const std::string& path, std::chrono::system_clock::time_point date) {
  return withRights(FileOperation::Date, path, "", [&] { return PosixFileSystem::setCreationDate(path, date); });
}

Status LinuxFileSystem::writeFileAtomically(const std::string& path, std::string_view contents) {
  return withRights(FileOperation::Write, path, "",
                    [&] { return PosixFileSystem::writeFileAtomically(path, contents); });
}

std::shared_ptr<platform::FileHandle> LinuxFileSystem::openForWriting(const std::string& path) {
  const RightsForPaths rights(users_, {path});
  return rights.ok() ? PosixFileSystem::openForWriting(path) : nullptr;
}

}  // namespace qm::linux_
