// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/RootTrash.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "Platform/foundation/PathComponents.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TrashName.h"
#include "Platform/posix/rights/HeldPlace.h"
#include "Platform/posix/rights/SystemRights.h"
#include "Platform/posix/rights/UserDatabase.h"
#include "Platform/posix/rights/Writers.h"

namespace qm::posix {
namespace {

constexpr const char* kStrangerIn = "another item has taken its place, and could not be moved back from ";

int refuse(HeldTrash& trash, std::string reason, int error = EPERM) {
  trash.refusal = std::move(reason);
  return error;
}

/// Creates the Trash with the user's rights, so that a link on the way cannot make root create a folder elsewhere.
int makeTrash(const UserRecord& person, HeldTrash& trash) {
  const FileSystemIdentity identity = identityOf(person);
  const FileSystemUser acting(&identity);
  if (!acting.ok()) return refuse(trash, "the Trash can’t be made with the rights of the user whose it is");
  return ::mkdir(trash.path.c_str(), S_IRWXU) == 0 || errno == EEXIST ? 0 : errno;
}

int checkOwner(HeldTrash& trash, uid_t person) {
  const int folder = trash.folder.get();
  struct stat found {};
  if (::fstat(folder, &found) != 0) return errno;
  const bool isPersons = S_ISDIR(found.st_mode) && found.st_uid == person && (found.st_mode & (S_IWGRP | S_IWOTH)) == 0;
  if (isPersons && !hasListThatGrantsWriting(folder)) return 0;
  return refuse(trash, "others than the user at the console can change the Trash");
}

int openPinned(uid_t person, HeldTrash& trash) {
  const int error = openHeldFolder(trash.path, trash.folder, &trash.refusal);
  return error != 0 ? error : checkOwner(trash, person);
}

}  // namespace

int openTrashOfPerson(const platform::Users& users, const std::string& path, HeldTrash& trash) {
  const auto person = userWithName(users.consoleUser().value_or(""));
  if (!person) return ENOENT;
  trash.path = path;
  int error = openPinned(person->id, trash);
  if (error != ENOENT) return error;
  error = makeTrash(*person, trash);
  return error != 0 ? error : openPinned(person->id, trash);
}

int moveIntoHeldTrash(const Place& place, const struct stat& item, HeldTrash& trash, std::string& stored) {
  const int oldFolder = place.folder.get();
  const int trashFolder = trash.folder.get();
  std::string wanted;
  int error = renameToFreeName({oldFolder, place.name}, trashFolder, wanted);
  if (error != 0) return error;
  stored = foundation::appendingPathComponent(trash.path, wanted);
  const auto arrived = statusIn(trashFolder, wanted.c_str());
  if (arrived && isSameItem(*arrived, item)) return 0;
  error = renameExclusively(trashFolder, wanted.c_str(), oldFolder, place.name.c_str());
  if (error == ENOENT) return error;
  return error == 0 ? ESTALE : refuse(trash, kStrangerIn + stored, ESTALE);
}

}  // namespace qm::posix
