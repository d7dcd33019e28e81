// SPDX-License-Identifier: MIT
#include "Platform/posix/ItemCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "Platform/posix/FileError.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {
bool cannotBeKept(int error) { return error == EPERM || error == EINVAL || error == ENOTSUP || error == ENOSYS; }

namespace {

constexpr mode_t kPermissions = 07777;
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

std::array<timespec, 2> timesOf(const struct stat& attributes) {
  return {accessTime(attributes), modificationTime(attributes)};
}

OwnerKept copyOwner(int to, const struct stat& attributes, int& error) {
  if (::fchown(to, attributes.st_uid, attributes.st_gid) == 0) return OwnerKept::Yes;
  if (!cannotBeKept(errno)) error = errno;
  // The owner cannot be set, but the user may be a member of the group.
  static_cast<void>(::fchown(to, static_cast<uid_t>(-1), attributes.st_gid) == 0);
  return OwnerKept::No;
}

mode_t permittedMode(const struct stat& attributes, OwnerKept ownerKept) {
  const mode_t mode = attributes.st_mode & kPermissions;
  return ownerKept == OwnerKept::Yes ? mode : mode & ~static_cast<mode_t>(S_ISUID | S_ISGID);
}

/// If only the owner can access the folder until the copy is complete, a file has its final permissions from the start.
mode_t modeAtFirst(const struct stat& attributes, InheritedAccess inherited) {
  constexpr mode_t kPlainPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
  return inherited == InheritedAccess::None ? (attributes.st_mode & kPlainPermissions) | kOwnerOnly : kOwnerOnly;
}

/// An item that was just created, opened by `openItself`.
struct MadeItem {
  UniqueFd item;
  struct stat attributes {};
};

/// Checks that the name of an item just created still refers to it, and not to something that somebody put there. An
/// unpredictable name is no protection: everybody who may list the folder sees it.
int checkMade(int folder, const struct stat& found, mode_t mode, InheritedAccess inherited) {
  if ((found.st_mode & S_IFMT) != (mode & S_IFMT)) return ESTALE;
  if (inherited == InheritedAccess::None) return 0;  // nobody else can rename in such a folder
  return found.st_nlink > 1 ? ESTALE : checkOwner(folder, found);
}

int openMade(ItemName made, mode_t mode, InheritedAccess inherited, MadeItem& item) {
  item.item.reset(openItself(made.folder, made.name.c_str()));
  if (!item.item || ::fstat(item.item.get(), &item.attributes) != 0) return errno == ENOENT ? ESTALE : errno;
  return checkMade(made.folder, item.attributes, mode, inherited);
}

int checkClone(int clone, int folder, InheritedAccess inherited) {
  struct stat found {};
  return ::fstat(clone, &found) != 0 ? errno : checkMade(folder, found, S_IFREG, inherited);
}

/// Opens the new file once more, to identify it later. A file that cannot be held open is removed.
int holdMade(ItemName file, int opened, UniqueFd& made) {
  made.reset(openItself(file.folder, file.name.c_str()));
  const int error = made ? 0 : errno;
  if (isStill(opened, file.folder, file.name)) {
    if (error != 0) ::unlinkat(file.folder, file.name.c_str(), 0);
    return error;
  }
  made.reset();
  return ESTALE;
}

/// Copies the creation date, unless `error`, the result of setting the other times, is a failure.
int copyTimes(int error, int to, const struct stat& attributes) {
  if (error == 0) error = copyCreationTime(to, attributes);
  return cannotBeKept(error) ? 0 : error;
}

int copyNodeAttributes(ItemName from, const MadeItem& to, const struct stat& attributes) {
  const int item = to.item.get();
  const bool hasOwner = to.attributes.st_uid == attributes.st_uid && to.attributes.st_gid == attributes.st_gid;
  const int ownerError = hasOwner ? 0 : setOwner(item, attributes.st_uid, attributes.st_gid);
  if (ownerError != 0 && !cannotBeKept(ownerError)) return ownerError;
  if (const int error = copyExtendedAttributes(from.folder, from.name, item)) return error;
  const mode_t mode = permittedMode(attributes, ownerError == 0 ? OwnerKept::Yes : OwnerKept::No);
  if (const int error = S_ISLNK(attributes.st_mode) ? 0 : setMode(item, mode)) return error;
  return copyTimes(setTimes(item, timesOf(attributes)), item, attributes);
}

ItemCopyResult finishMade(ItemName from, ItemName to, const struct stat& attributes, InheritedAccess inherited) {
  MadeItem item;
  if (const int error = openMade(to, attributes.st_mode, inherited, item)) return {error};
  int error = copyNodeAttributes(from, item, attributes);
  if (error == 0 && inherited == InheritedAccess::None) error = copyFlags(item.item.get(), attributes);
  return {error, false, inherited == InheritedAccess::Possible ? std::move(item.item) : UniqueFd()};
}

ItemCopyResult copyLink(ItemName from, ItemName to, const struct stat& attributes, InheritedAccess inherited) {
  std::string target;
  if (const int error = readLinkText(from.folder, from.name, target)) return {error, error == ENOENT};
  if (::symlinkat(target.c_str(), to.folder, to.name.c_str()) != 0) return {errno};
  return finishMade(from, to, attributes, inherited);
}

/// A FIFO, a socket or a device is created, not opened.
ItemCopyResult copyNode(ItemName from, ItemName to, const struct stat& attributes, InheritedAccess inherited) {
  const mode_t kind = attributes.st_mode & S_IFMT;
  if (const int error = makeNode(to.folder, to.name.c_str(), kind | kOwnerOnly, attributes.st_rdev)) return {error};
  return finishMade(from, to, attributes, inherited);
}

}  // namespace

int openSourceFile(ItemName from, SourceFile& source) {
  constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  source.file.reset(::openat(from.folder, from.name.c_str(), kFlags));
  if (!source.file || ::fstat(source.file.get(), &source.attributes) != 0) return errno;
  return S_ISREG(source.attributes.st_mode) ? 0 : ESTALE;
}

int ItemCopier::makeFile(const SourceFile& source, ItemName to, InheritedAccess inherited, NewFile& copy) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  copy.isComplete = contents_.makeClone(source.file.get(), to, source.attributes, copy.file);
  if (copy.isComplete) return checkClone(copy.file.get(), to.folder, inherited);
  copy.file.reset(::openat(to.folder, to.name.c_str(), kFlags, modeAtFirst(source.attributes, inherited)));
  return copy.file ? 0 : errno;
}

int ItemCopier::fill(const SourceFile& source, const NewFile& copy) {
  if (copy.isComplete) return contents_.reportWhole(source.attributes);
  return contents_.copy(source.file.get(), copy.file.get(), source.attributes);
}

ItemCopyResult ItemCopier::copyFile(const SourceFile& source, ItemName to, InheritedAccess inherited) {
  NewFile file;
  if (const int error = makeFile(source, to, inherited, file)) return {error};
  UniqueFd& copy = file.file;
  UniqueFd made;
  if (inherited == InheritedAccess::Possible) {
    if (const int error = holdMade(to, copy.get(), made)) return {error};
    dropInheritedAccess(copy.get());
  }
  int error = fill(source, file);
  if (error == 0) error = copyAttributes(source.file.get(), copy.get(), source.attributes);
  if (error == 0 && inherited == InheritedAccess::None) error = copyFlags(copy.get(), source.attributes);
  const int closing = copy.close();
  if (error == 0) error = closing;
  return {error, false, std::move(made)};
}

ItemCopyResult ItemCopier::copyOther(ItemName from, ItemName to, const struct stat& attributes,
                                     InheritedAccess inherited) {
  return S_ISLNK(attributes.st_mode) ? copyLink(from, to, attributes, inherited)
                                     : copyNode(from, to, attributes, inherited);
}

int copyAttributes(int from, int to, const struct stat& attributes) {
  struct stat made {};
  if (::fstat(to, &made) != 0) return errno;
  const bool owned = made.st_uid == attributes.st_uid && made.st_gid == attributes.st_gid;
  int error = 0;
  // The owner comes first, because changing it removes set-id bits and capabilities again.
  const OwnerKept ownerKept = owned ? OwnerKept::Yes : copyOwner(to, attributes, error);
  if (error != 0) return error;
  if ((error = copyExtendedAttributes(from, to, ownerKept)) != 0) return error;
  const mode_t mode = permittedMode(attributes, ownerKept);
  const bool hasMode = owned && (made.st_mode & kPermissions) == mode;
  if (!hasMode && ::fchmod(to, mode) != 0 && !cannotBeKept(errno)) return errno;
  return copyTimes(errorOf(::futimens(to, timesOf(attributes).data())), to, attributes);
}

int copyFlags(int to, const struct stat& attributes) {
  const ItemFlags flags = flagsForCopy(attributes);
  const int error = flags == 0 ? 0 : setFlags(to, flags);
  return cannotBeKept(error) ? 0 : error;
}

}  // namespace qm::posix
