// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/RunRecordFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "Platform/posix/FileContents.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Uninstaller/remove/OwnFolder.h"
#include "Uninstaller/remove/ThisSystem.h"

namespace qm::removal {
namespace {

using posix::UniqueFd;

constexpr const char* kFileName = "last-run";
constexpr const char* kNewName = "last-run.new";
constexpr const char* kFolder = "/tessaly-remove";
constexpr std::size_t kMostBytes = std::size_t{4} * 1024 * 1024;
// The most runs that are kept after the last one that is known to have changed something.
constexpr std::size_t kMostWithoutChange = 8;

/// A file that nobody but the user can have written.
UniqueFd openOwnFile(int folder, uid_t user, int flags) {
  UniqueFd file(::openat(folder, kFileName, flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat found {};
  if (!file || ::fstat(file.get(), &found) != 0) return UniqueFd();
  const bool isOwn = S_ISREG(found.st_mode) && found.st_uid == user && found.st_nlink == 1 &&
                     (found.st_mode & (S_IWGRP | S_IWOTH)) == 0;
  if (isOwn) return file;
  errno = EPERM;
  return UniqueFd();
}

/// Creates missing parent folders too, each for its owner alone.
int makePrivateFolder(const std::string& path) {
  if (::mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST) return 0;
  if (errno != ENOENT || path == "/") return errno;
  if (const int error = makePrivateFolder(posix::folderOf(path))) return error;
  return ::mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST ? 0 : errno;
}

int readAll(int file, std::string& text) {
  text.resize(kMostBytes + 1);
  std::size_t length = 0;
  while (length < text.size()) {
    const ssize_t got = ::read(file, text.data() + length, text.size() - length);
    if (got < 0 && errno != EINTR) return errno;
    if (got == 0) break;
    if (got > 0) length += static_cast<std::size_t>(got);
  }
  text.resize(length);
  return length <= kMostBytes ? 0 : EFBIG;
}

/// Replaces the existing file in one step. When this returns 0, the new file is on the disk.
int writeOwnFile(int folder, const std::string& text) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC;
  const UniqueFd file(::openat(folder, kNewName, kFlags, S_IRUSR | S_IWUSR));
  if (!file) return errno;
  if (const int error = posix::writeAll(file.get(), text.data(), text.size())) return error;
  if (::fchmod(file.get(), S_IRUSR | S_IWUSR) != 0) return errno;
  if (const int error = posix::flushFile(file.get())) return error;
  if (::renameat(folder, kNewName, folder, kFileName) != 0) return errno;
  const UniqueFd listed(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return listed ? posix::flushFile(listed.get()) : errno;
}

std::vector<RunRecord> stillOfUse(std::vector<RunRecord> runs) {
  const auto changed = std::find_if(runs.rbegin(), runs.rend(), [](const auto& run) { return run.hasChanged(); });
  if (changed != runs.rend()) runs.erase(runs.begin(), changed.base() - 1);
  const std::size_t kept = kMostWithoutChange + 1;
  if (runs.size() > kept) runs.erase(runs.begin() + 1, runs.end() - static_cast<std::ptrdiff_t>(kept - 1));
  return runs;
}

}  // namespace

RunRecordFile::RunRecordFile(uid_t user, std::string folder) : user_(user), path_(std::move(folder)) {}

std::string RunRecordFile::folderFor(uid_t user, const std::optional<std::string>& stateHome, const std::string& home) {
  if (user == 0) return stateFolderOfRoot() + kFolder;
  return (stateHome && stateHome->starts_with('/') ? *stateHome : home + "/.local/state") + kFolder;
}

int RunRecordFile::openFolder(UniqueFd& folder) const {
  folder = openOwnFolder(path_, user_);
  return folder ? 0 : errno;
}

int RunRecordFile::read(std::vector<RunRecord>& runs) const {
  UniqueFd folder;
  int error = openFolder(folder);
  if (error != 0) return error == ENOENT ? 0 : error;
  const UniqueFd file = openOwnFile(folder.get(), user_, O_RDONLY);
  if (!file) return errno == ENOENT ? 0 : errno;
  std::string text;
  error = readAll(file.get(), text);
  if (error == 0) runs = parsedRuns(text);
  return error;
}

// An unreadable record is worthless: the new run replaces it.
int RunRecordFile::begin(const RunRecord& run) {
  if (const int error = makePrivateFolder(path_)) return error;
  std::vector<RunRecord> runs;
  static_cast<void>(read(runs));
  UniqueFd folder;
  if (const int error = openFolder(folder)) return error;
  std::string text;
  for (const RunRecord& earlier : stillOfUse(std::move(runs))) text += textOf(earlier);
  if (const int error = writeOwnFile(folder.get(), text + textOf(run))) return error;
  return resume();
}

int RunRecordFile::resume() {
  UniqueFd folder;
  if (const int error = openFolder(folder)) return error;
  file_ = openOwnFile(folder.get(), user_, O_WRONLY | O_APPEND);
  return file_ ? 0 : errno;
}

void RunRecordFile::add(const std::string& line) const {
  if (file_) static_cast<void>(posix::writeAll(file_.get(), line.data(), line.size()));
}

void RunRecordFile::flush() const {
  if (file_) static_cast<void>(::fsync(file_.get()));
}

void RunRecordFile::forget() {
  UniqueFd folder;
  if (openFolder(folder) != 0 || ::unlinkat(folder.get(), kFileName, 0) != 0) return;
  file_.reset();
  ::rmdir(path_.c_str());
}

}  // namespace qm::removal
