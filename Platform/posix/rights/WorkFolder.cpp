// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/WorkFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "Platform/posix/FolderListing.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TreeRemoval.h"
#include "Platform/posix/rights/SystemRights.h"
#include "Platform/posix/rights/Writers.h"

namespace qm::posix {
namespace {

constexpr mode_t kAccess = S_IRWXU | S_IRWXG | S_IRWXO;

// Opens a work folder. Somebody may have put another folder in its place, so it is trusted only if it belongs to root
// and nobody else has permissions. Only its owner can move a folder to another parent, so nobody can bring one of
// root's here from elsewhere.
int openOwn(int folder, const std::string& name, UniqueFd& own) {
  own.reset(::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  const auto status = own ? statusOf(own.get()) : std::nullopt;
  if (!status) return errno;
  return status->st_uid == 0 && (status->st_mode & kAccess) == S_IRWXU ? 0 : EPERM;
}

bool hasPrefix(const std::string& name, std::string_view prefix) { return !prefix.empty() && name.starts_with(prefix); }

// Locks belong to the open folder: they end with the last process that has it open.
int lock(int own) { return ::flock(own, LOCK_EX | LOCK_NB) == 0 ? 0 : errno; }

}  // namespace

WorkFolder::WorkFolder(int above, std::string name, UniqueFd own)
    : above_(above), name_(std::move(name)), own_(std::move(own)) {}

std::string WorkFolder::newName(std::string_view prefix) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::array<unsigned char, 8> bytes{};
  if (prefix.empty() || ::getentropy(bytes.data(), bytes.size()) != 0) return {};
  std::string name(prefix);
  for (const unsigned char byte : bytes) {
    name += digits[byte >> 4U];
    name += digits[byte & 15U];
  }
  return name;
}

Answer<WorkFolder> WorkFolder::open(int folder, const std::string& name, std::string_view prefix) {
  return hasPrefix(name, prefix) ? openLocked(folder, name) : refusalFor(ENOENT, name);
}

Answer<WorkFolder> WorkFolder::openLocked(int folder, const std::string& name) {
  UniqueFd own;
  int error = openOwn(folder, name, own);
  if (error == 0) error = lock(own.get());
  if (error != 0) return refusalFor(error, name);
  return WorkFolder(folder, name, std::move(own));
}

Answer<WorkFolder> WorkFolder::make(int folder, const std::string& name) {
  const auto refused = [&](int error) { return refusalFor(error, shownPath(folder)); };
  if (name.empty()) return refused(EIO);
  if (::mkdirat(folder, name.c_str(), S_IRWXU) != 0) return refused(errno);
  Answer<WorkFolder> made = openLocked(folder, name);
  // Until the new folder is locked, another process could mistake it for one left behind, and remove it.
  if (made && made->hasItsName()) return made;
  if (made) {
    static_cast<void>(made->removeEmpty());
    return refused(EAGAIN);
  }
  // A folder that cannot be opened cannot be distinguished from a replacement, so it is removed only if it is empty.
  ::unlinkat(folder, name.c_str(), AT_REMOVEDIR);
  return refused(made.problem().error);
}

std::vector<WorkFolder> WorkFolder::leftIn(int folder, std::string_view prefix) {
  std::vector<WorkFolder> left;
  std::vector<std::string> names;
  UniqueFd listed(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!listed || listFolder(std::move(listed), names) != 0) return left;
  for (const std::string& name : names) {
    if (Answer<WorkFolder> one = open(folder, name, prefix)) left.push_back(std::move(*one));
  }
  return left;
}

// The contents are removed by the folder's descriptor. The name is removed only while it still refers to this folder,
// because others may change the parent folder.
int WorkFolder::remove() const {
  std::vector<std::string> names;
  UniqueFd listed(::openat(own_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!listed) return errno;
  if (const int error = listFolder(std::move(listed), names)) return error;
  for (const std::string& name : names) {
    const UniqueFd item(openItself(own_.get(), name.c_str()));
    if (!item) return errno;
    if (const FileError error = removeOwnTree(own_.get(), name, item.get())) return error.code;
  }
  return removeEmpty();
}

int WorkFolder::removeEmpty() const {
  return hasItsName() ? errorOf(::unlinkat(above_, name_.c_str(), AT_REMOVEDIR)) : ESTALE;
}

bool WorkFolder::hasItsName() const {
  const auto own = statusOf(own_.get());
  const auto named = statusIn(above_, name_.c_str());
  return own && named && isSameItem(*own, *named);
}

}  // namespace qm::posix
