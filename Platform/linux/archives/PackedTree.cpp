// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/PackedTree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <string_view>
#include <utility>

#include "Platform/linux/archives/ArchiveProblem.h"

namespace qm::linux_ {
namespace {

using platform::Status;

constexpr const char* kVanished = "It has vanished, so it is left out";
constexpr const char* kNothingToKeep = "It is not a file, a folder or a link, so it is left out";

/// Ends the walk; the status has the reason.
constexpr int kEnded = ECANCELED;

}  // namespace

bool OwnNames::have(int inFolder, const std::string& name) const {
  if (std::find(names.begin(), names.end(), name) == names.end()) return false;
  posix::FolderIdentity identity;
  return posix::identify(inFolder, identity) == 0 && identity.sameFolder(folder);
}

Status PackedTree::addFile(int file, const std::string& name) {
  struct stat attributes {};
  if (::fstat(file, &attributes) != 0) return problemWith(name, errno);
  if (Status status = writer_.begin(name, attributes); !status) return status;
  return copyContents(file, name, attributes.st_size);
}

Status PackedTree::addFolder(int folder, const std::string& name) {
  top_ = name;
  problem_ = Status::success();
  const posix::FileError error = posix::walkTree(folder, ".", *this);
  if (!problem_) return problem_;
  if (!error) return Status::success();
  // A failure without a recorded problem can only concern the folder the walk is in.
  if (!prefix_.empty()) return problemWith(prefix_.substr(0, prefix_.size() - 1), error.code);
  return problemWith(name.empty() ? "." : name, error.code);
}

int PackedTree::entered(const posix::FolderChain& chain, const std::string& name) {
  const std::string& shown = chain.depth() == 1 ? top_ : name;
  if (run_.isStopped()) return failed(shown.empty() ? "." : shown, EINTR);
  prefixLengths_.push_back(prefix_.size());
  if (shown.empty()) return 0;
  prefix_.append(shown).append("/");
  struct stat attributes {};
  if (::fstat(chain.folder(), &attributes) != 0) return failed("", errno);
  return answer(writer_.begin(prefix_, attributes));
}

int PackedTree::left(int /*parent*/, int /*folder*/, const std::string& /*name*/) {
  prefix_.resize(prefixLengths_.back());
  prefixLengths_.pop_back();
  return 0;
}

int PackedTree::cannotEnter(int /*parent*/, const std::string& name, int error) {
  if (error == ENOTDIR || error == ELOOP) return error;  // the walk treats it as an item
  return error == ENOENT ? leaveOut(name, kVanished) : failed(name, error);
}

int PackedTree::item(int folder, const std::string& name) {
  if (run_.isStopped()) return failed(name, EINTR);
  if (ownNames_.have(folder, name)) return 0;
  struct stat attributes {};
  if (::fstatat(folder, name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) == 0) return addItem(folder, name, attributes);
  return errno == ENOENT ? leaveOut(name, kVanished) : failed(name, errno);
}

int PackedTree::addItem(int folder, const std::string& name, const struct stat& attributes) {
  if (S_ISLNK(attributes.st_mode)) return addLink(folder, name, attributes);
  if (!S_ISREG(attributes.st_mode)) return leaveOut(name, kNothingToKeep);
  posix::UniqueFd file(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file) return addContents(std::move(file), name);
  return errno == ENOENT ? leaveOut(name, kVanished) : failed(name, errno);
}

int PackedTree::addContents(posix::UniqueFd file, const std::string& name) {
  struct stat attributes {};
  if (::fstat(file.get(), &attributes) != 0) return failed(name, errno);
  // It was replaced meanwhile.
  if (!S_ISREG(attributes.st_mode)) return leaveOut(name, kNothingToKeep);
  return answer(addFile(file.get(), prefix_ + name));
}

int PackedTree::addLink(int folder, const std::string& name, const struct stat& attributes) {
  std::array<char, PATH_MAX> target{};
  const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size());
  if (length < 0) return failed(name, errno);
  const std::string text(target.data(), static_cast<std::size_t>(length));
  return answer(writer_.begin(prefix_ + name, attributes, text));
}

Status PackedTree::copyContents(int file, const std::string& name, off_t size) {
  for (off_t copied = 0; copied < size;) {
    if (run_.isStopped()) return problemWith(name, EINTR);
    const auto wanted = static_cast<std::size_t>(std::min(static_cast<off_t>(block_.size()), size - copied));
    const ssize_t count = ::read(file, block_.data(), wanted);
    if (count < 0) return problemWith(name, errno);
    if (count == 0) return problemWith(name, "It became shorter while it was read");
    if (Status status = writer_.write(name, std::string_view(block_.data(), static_cast<std::size_t>(count)));
        !status) {
      return status;
    }
    copied += count;
  }
  return Status::success();
}

int PackedTree::leaveOut(const std::string& name, const char* why) {
  run_.leaveOut(problemWith(prefix_ + name, why).localizedDescription());
  return 0;
}

int PackedTree::answer(Status status) {
  const bool isFine = status.ok();
  if (!isFine) problem_ = std::move(status);
  return isFine ? 0 : kEnded;
}

int PackedTree::failed(const std::string& name, int error) { return answer(problemWith(prefix_ + name, error)); }

}  // namespace qm::linux_
