// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/StoredItems.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <tuple>
#include <utility>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/trash/TrashInfo.h"
#include "Platform/posix/FolderListing.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

// A path of 4095 bytes takes three times as many when it is encoded.
constexpr std::size_t kLongestDescription = std::size_t{32} * 1024;

std::string infoName(const std::string& stored) { return stored + std::string(kTrashInfoSuffix); }

bool isRegular(int file) {
  struct stat found {};
  return ::fstat(file, &found) == 0 && S_ISREG(found.st_mode);
}

// Anybody may have put anything there: a pipe, a link, an endless file.
std::optional<std::string> readDescription(const TrashDirectory& trash, const std::string& stored) {
  const std::string name = infoName(stored);
  const int folder = trash.info.get();
  const UniqueFd file(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file || !isRegular(file.get())) return std::nullopt;
  std::string text(kLongestDescription + 1, '\0');
  std::size_t length = 0;
  while (length < text.size()) {
    const ssize_t got = ::read(file.get(), text.data() + length, text.size() - length);
    if (got < 0) return std::nullopt;
    if (got == 0) break;
    length += static_cast<std::size_t>(got);
  }
  text.resize(length);
  return length <= kLongestDescription ? std::optional(std::move(text)) : std::nullopt;
}

// In the home trash a path may be relative to the folder that contains the Trash; in a volume's own it is relative to
// the volume's top.
std::optional<std::string> originOf(const TrashDirectory& trash, const std::string& path) {
  const bool isAbsolute = path.starts_with('/');
  if (!trash.topFolder.empty() && isAbsolute) return std::nullopt;
  if (isAbsolute) return path;
  const std::string top = trash.topFolder.empty() ? foundation::deletingLastPathComponent(trash.path) : trash.topFolder;
  return (top == "/" ? "" : top) + "/" + path;
}

bool isName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

// Of two items from the same second the one with the higher number came later.
bool isNewer(const StoredItem& one, const StoredItem& other) {
  const auto rank = [](const StoredItem& item) { return std::tuple(item.deletionDate, item.name.size(), item.name); };
  return rank(one) > rank(other);
}

}  // namespace

std::optional<StoredItem> storedItem(const TrashDirectory& trash, const std::string& name) {
  if (!isName(name) || !itemIdentity(trash.files.get(), name.c_str())) return std::nullopt;
  std::optional<std::string> text = readDescription(trash, name);
  const std::optional<TrashDescription> said = text ? parsedTrashInfo(*text) : std::nullopt;
  const std::optional<std::string> origin = said ? originOf(trash, said->path) : std::nullopt;
  if (!origin) return std::nullopt;
  return StoredItem{name, *origin, said->deletionDate, std::move(*text)};
}

TrashAnswer<std::vector<StoredItem>> storedItemsFrom(const TrashDirectory& trash, const std::string& origin) {
  std::vector<std::string> names;
  UniqueFd listed(::openat(trash.info.get(), ".", O_RDONLY | O_CLOEXEC));
  const int error = listed ? posix::listFolder(std::move(listed), names) : errno;
  if (error != 0) return trashFolderProblem(error, trash.path + "/info");
  std::vector<StoredItem> items;
  for (const std::string& name : names) {
    if (!name.ends_with(kTrashInfoSuffix)) continue;
    auto item = storedItem(trash, name.substr(0, name.size() - kTrashInfoSuffix.size()));
    if (item && item->origin == origin) items.push_back(std::move(*item));
  }
  std::sort(items.begin(), items.end(), isNewer);
  return items;
}

void forget(const TrashDirectory& trash, const StoredItem& item) {
  if (readDescription(trash, item.name) == item.info) ::unlinkat(trash.info.get(), infoName(item.name).c_str(), 0);
}

std::string pathOf(const TrashDirectory& trash, const StoredItem& item) { return trash.path + "/files/" + item.name; }

}  // namespace qm::linux_
