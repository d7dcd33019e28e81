#include "Platform/linux/privileges/helper/TrashHandover.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <ctime>

#include <cerrno>
#include <string_view>
#include <vector>

#include "Platform/linux/privileges/helper/FolderEntries.h"
#include "Platform/linux/privileges/helper/Ownership.h"
#include "Platform/linux/trash/FileSystemUser.h"
#include "Platform/linux/trash/TrashInfo.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

bool isHis(int folder, uid_t person) {
  const auto status = statusOf(folder);
  return status && S_ISDIR(status->st_mode) && status->st_uid == person;
}

UniqueFd openPlace(int parent, const char* name) {
  return UniqueFd(::openat(parent, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::optional<gid_t> groupOf(uid_t person) {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(person, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return std::nullopt;
  return found->pw_gid;
}

// The Trash of a volume is a folder ".Trash-UID" at its top.
std::string volumeOfTrash(const std::string& trash, uid_t person) {
  const std::string own = "/.Trash-" + std::to_string(person);
  return trash.ends_with(own) ? trash.substr(0, trash.size() - own.size() + 1) : std::string();
}

std::string dateNow() {
  const time_t now = ::time(nullptr);
  tm local{};
  char text[32] = {};
  if (::localtime_r(&now, &local) == nullptr) return "1970-01-01T00:00:00";
  static_cast<void>(::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local));
  return text;
}

std::string infoName(const std::string& name) { return name + std::string(kTrashInfoSuffix); }

int writeNewFile(int folder, const std::string& name, std::string_view text) {
  const UniqueFd file(
      ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!file) return errno;
  const ssize_t written = ::write(file.get(), text.data(), text.size());
  if (written == static_cast<ssize_t>(text.size())) return 0;
  const int error = written < 0 ? errno : ENOSPC;
  ::unlinkat(folder, name.c_str(), 0);
  return error;
}

}  // namespace

std::optional<TrashHandover> TrashHandover::into(int folder, uid_t person) {
  const UniqueFd trash = openPlace(folder, "..");
  const auto own = statusOf(folder);
  const auto files = trash ? statusIn(trash.get(), "files") : std::nullopt;
  if (!own || !files || !isSameItem(*own, *files)) return std::nullopt;
  UniqueFd info = openPlace(trash.get(), "info");
  if (!info || !isHis(folder, person) || !isHis(trash.get(), person) || !isHis(info.get(), person)) return std::nullopt;
  const auto group = groupOf(person);
  if (!group) return std::nullopt;
  return TrashHandover(std::move(info), person, *group, volumeOfTrash(shownPath(trash.get()), person));
}

int TrashHandover::describe(const std::string& name, const std::string& origin) const {
  const bool relative = !volume_.empty() && origin.starts_with(volume_);
  const std::string text = trashInfoText(relative ? origin.substr(volume_.size()) : origin, dateNow());
  const FileSystemIdentity identity{person_, group_, {group_}};
  const FileSystemUser acting(&identity);
  if (!acting.ok()) return EPERM;
  return writeNewFile(info_.get(), infoName(name), text);
}

void TrashHandover::forget(const std::string& name) const {
  const FileSystemIdentity identity{person_, group_, {group_}};
  const FileSystemUser acting(&identity);
  if (acting.ok()) ::unlinkat(info_.get(), infoName(name).c_str(), 0);
}

int TrashHandover::giveFolders(int folder, const std::string& name) const {
  const auto status = statusIn(folder, name.c_str());
  if (!status) return errno;
  if (!S_ISDIR(status->st_mode)) return 0;
  const UniqueFd item = openFolderIn(folder, name);
  return item ? giveFolder(item.get()) : errno;
}

// From the bottom up: as long as one is worked on, those above are not the person's.
int TrashHandover::giveFolder(int folder) const {
  int firstError = 0;
  const auto note = [&](int error) {
    if (firstError == 0 && error != EXDEV) firstError = error;
  };
  note(forEachEntry(folder, [&](int parent, const std::string& name) {
    note(giveFolders(parent, name));
    return 0;
  }));
  const auto status = statusOf(folder);
  if (!status) return errno;
  if (status->st_uid != person_ && ::fchown(folder, person_, group_) != 0) return errno;
  if ((status->st_mode & S_IRWXU) != S_IRWXU && ::fchmod(folder, (status->st_mode & 07777U) | S_IRWXU) != 0) {
    return errno;
  }
  return firstError;
}

}  // namespace qm::linux_
