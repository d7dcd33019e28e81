// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeTrash.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <tuple>

#include "Platform/foundation/DateText.h"
#include "Platform/foundation/PathComponents.h"

namespace qm::testing {
namespace {

using foundation::appendingPathComponent;
using platform::Status;

constexpr std::string_view informationSuffix = ".trashinfo";

std::string percentEncoded(const std::string& path) {
  constexpr std::string_view kept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~/";
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string encoded;
  for (const char character : path) {
    if (kept.find(character) != std::string_view::npos) {
      encoded += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      encoded.append(1, '%').append(1, digits[byte >> 4U]).append(1, digits[byte & 15U]);
    }
  }
  return encoded;
}

/// The n-th name to try, short enough for its information file.
std::string numbered(const std::string& name, int number) {
  if (number == 1 && name.size() + informationSuffix.size() <= longestName) return name;
  const std::string extension = foundation::pathExtension(name);
  const std::string end =
      (number == 1 ? "" : " " + std::to_string(number)) + (extension.empty() ? "" : "." + extension);
  std::string stem = foundation::deletingPathExtension(name);
  const auto isInsideCharacter = [&] { return (static_cast<unsigned char>(stem.back()) & 0xC0U) == 0x80U; };
  while (stem.size() + end.size() + informationSuffix.size() > longestName) {
    while (isInsideCharacter()) stem.pop_back();
    stem.pop_back();
  }
  return stem + end;
}

std::string placeOf(const std::string& trash, const std::string& name) {
  return appendingPathComponent(trash + "/files", name);
}

std::string informationPlaceOf(const std::string& trash, const std::string& name) {
  return appendingPathComponent(trash + "/info", name).append(informationSuffix);
}

int hexDigit(char character) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const std::size_t value = digits.find(character);
  return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

/// The inverse of `percentEncoded`.
std::string percentDecoded(std::string_view text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const int high = text[at] == '%' && at + 2 < text.size() ? hexDigit(text[at + 1]) : -1;
    const int low = high < 0 ? -1 : hexDigit(text[at + 2]);
    bytes += low < 0 ? text[at] : static_cast<char>(high * 16 + low);
    if (low >= 0) at += 2;
  }
  return bytes;
}

/// The value of a key in an information file; "" without it.
std::string valueOf(const std::string& key, const std::string& text) {
  const std::size_t at = text.find("\n" + key + "=");
  if (at == std::string::npos) return {};
  const std::size_t start = at + key.size() + 2;
  return text.substr(start, text.find('\n', start) - start);
}

bool isSingleComponent(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

bool isAtOrBelow(const std::string& inner, const std::string& outer) {
  return inner == outer || inner.starts_with(outer + "/");
}

}  // namespace

platform::Recycled FakeTrash::recycleItems(const std::string& sourceFolder,
                                           const std::optional<std::string>& trashDirectory,
                                           const std::vector<std::string>& names) {
  if (calls_.command("trash.recycle", sourceFolder, trashDirectory, names)) return {calls_.failure(), {}};
  if (!trashDirectory || !users_.hasTargetUser()) return {calls_.failure(), {}};
  const std::optional<std::string> folder = realFolder(sourceFolder);
  if (!folder) return {statusOf(ENOENT), {}};
  std::vector<std::string> paths;
  for (const std::string& name : names) {
    if (!isSingleComponent(name)) return {statusOf(EINVAL), paths};
    const int error = recycleOne(*folder, name, *trashDirectory, paths);
    if (error != 0) return {statusOf(error), paths};
  }
  return {Status::success(), paths};
}

/// The folder's own path, with links resolved.
std::optional<std::string> FakeTrash::realFolder(const std::string& folder) {
  if (!folder.starts_with('/') || !disk_.isDirectory(folder, Access::Administrator)) return std::nullopt;
  std::string path = "/";
  std::vector<std::string> rest = foundation::pathComponents(folder);
  while (!rest.empty()) {
    const std::string component = rest.front();
    rest.erase(rest.begin());
    if (component == ".") continue;
    std::string next = component == ".."  ? foundation::deletingLastPathComponent(path)
                       : component == "/" ? path
                                          : appendingPathComponent(path, component);
    if (const auto target = disk_.linkTarget(next)) {
      const std::vector<std::string> components = foundation::pathComponents(*target);
      rest.insert(rest.begin(), components.begin(), components.end());
      next = target->starts_with('/') ? "/" : path;
    }
    path = next;
  }
  return path;
}

int FakeTrash::recycleOne(const std::string& folder, const std::string& itemName, const std::string& trashDirectory,
                          std::vector<std::string>& paths) {
  const std::string path = appendingPathComponent(folder, itemName);
  const std::string home = foundation::deletingLastPathComponent(trashDirectory);
  const std::string top = disk_.mountPointOf(path);
  const bool isHomeVolume = top == disk_.mountPointOf(home);
  const std::string trash = isHomeVolume
                                ? appendingPathComponent(home, ".local/share/Trash")
                                : appendingPathComponent(top, ".Trash-" + std::to_string(users_.targetUserId()));
  if (isAtOrBelow(folder, trash) || isAtOrBelow(trash, path) || path == trashDirectory) return EINVAL;
  if (!disk_.attributes(path)) return ENOENT;
  if (top == path) return EBUSY;
  if (const int error = prepare(trash, home, trashDirectory); error != 0) return error;
  const std::string name = freeName(trash, foundation::lastPathComponent(path));
  const std::string informationFile = informationPlaceOf(trash, name);
  const int noted = disk_.writeFile(informationFile, information(path, isHomeVolume ? "" : top));
  if (noted != 0) return noted;
  const int moved = disk_.move(path, placeOf(trash, name));
  if (moved != 0) disk_.remove(informationFile);
  if (moved == 0) paths.push_back(placeOf(trash, name));
  return moved;
}

/// Creates the folders of a trash, and the link by which the desktop's users know theirs.
int FakeTrash::prepare(const std::string& trash, const std::string& home, const std::string& trashDirectory) {
  if (const int error = disk_.makeFolders(trash + "/files"); error != 0) return error;
  if (const int error = disk_.makeFolders(trash + "/info"); error != 0) return error;
  if (trash.starts_with(home + "/") && !disk_.has(trashDirectory)) {
    (void)disk_.makeLink(trashDirectory, trash.substr(home.size() + 1) + "/files");
  }
  return 0;
}

std::string FakeTrash::freeName(const std::string& trash, const std::string& name) {
  for (int number = 1;; ++number) {
    std::string candidate = numbered(name, number);
    if (!disk_.has(placeOf(trash, candidate)) && !disk_.has(informationPlaceOf(trash, candidate))) return candidate;
  }
}

std::string FakeTrash::information(const std::string& path, const std::string& top) const {
  const std::string noted = top.empty() ? path : path.substr(top == "/" ? 1 : top.size() + 1);
  return "[Trash Info]\nPath=" + percentEncoded(noted) +
         "\nDeletionDate=" + foundation::isoDate(clock_.localTime(clock_.now())) + "\n";
}

platform::TrashedItems FakeTrash::itemsFrom(const std::string& origin,
                                            const std::optional<std::string>& trashDirectory) {
  if (calls_.question("trash.itemsFrom", origin, trashDirectory)) return {{}, calls_.failure()};
  if (!trashDirectory || !users_.hasTargetUser()) return {{}, calls_.failure()};
  if (!origin.starts_with('/') || !isSingleComponent(foundation::lastPathComponent(origin))) {
    return {{}, statusOf(EINVAL)};
  }
  return {findItems(realPath(origin), *trashDirectory), Status::success()};
}

Status FakeTrash::putBack(const platform::TrashedItem& item, const std::optional<std::string>& trashDirectory,
                          platform::MissingFolders missing) {
  const bool makes = missing == platform::MissingFolders::AreMade;
  if (calls_.command("trash.putBack", item.path, trashDirectory, makes)) return calls_.failure();
  if (!trashDirectory || !users_.hasTargetUser()) return calls_.failure();
  const int error = returnItem(item, *trashDirectory, missing);
  return error == 0 ? Status::success() : statusOf(error);
}

int FakeTrash::returnItem(const platform::TrashedItem& item, const std::string& trashDirectory,
                          platform::MissingFolders missing) {
  const auto isIt = [&](const platform::TrashedItem& found) {
    return found.path == item.path && found.deletionDate == item.deletionDate;
  };
  const auto there = findItems(item.origin, trashDirectory);
  if (std::none_of(there.begin(), there.end(), isIt)) return ENOENT;
  const std::string folder = foundation::deletingLastPathComponent(item.origin);
  const bool isMissing = !disk_.has(folder) && missing == platform::MissingFolders::AreMade;
  if (const int error = isMissing ? disk_.makeFolders(folder) : 0; error != 0) return error;
  if (disk_.has(item.origin)) return EEXIST;
  if (const int error = disk_.move(item.path, item.origin); error != 0) return error;
  const std::string trash = foundation::deletingLastPathComponent(foundation::deletingLastPathComponent(item.path));
  disk_.remove(informationPlaceOf(trash, foundation::lastPathComponent(item.path)));
  return 0;
}

/// With the links on the way resolved, as far as the path exists.
std::string FakeTrash::realPath(const std::string& path) {
  std::string rest = foundation::lastPathComponent(path);
  std::string folder = foundation::deletingLastPathComponent(path);
  for (;;) {
    if (const auto real = realFolder(folder)) return appendingPathComponent(*real, rest);
    if (folder.size() <= 1) return path;
    rest = appendingPathComponent(foundation::lastPathComponent(folder), rest);
    folder = foundation::deletingLastPathComponent(folder);
  }
}

std::vector<platform::TrashedItem> FakeTrash::findItems(const std::string& origin, const std::string& trashDirectory) {
  const std::string home = foundation::deletingLastPathComponent(trashDirectory);
  const std::string top = disk_.mountPointOf(origin);
  auto items = itemsIn(appendingPathComponent(home, ".local/share/Trash"), "", origin);
  if (top != disk_.mountPointOf(home)) {
    const std::string trash = appendingPathComponent(top, ".Trash-" + std::to_string(users_.targetUserId()));
    for (const platform::TrashedItem& item : itemsIn(trash, top, origin)) items.push_back(item);
  }
  const auto isNewer = [](const platform::TrashedItem& one, const platform::TrashedItem& other) {
    const auto rank = [](const auto& item) { return std::tuple(item.deletionDate, item.path.size(), item.path); };
    return rank(one) > rank(other);
  };
  std::sort(items.begin(), items.end(), isNewer);
  return items;
}

std::vector<platform::TrashedItem> FakeTrash::itemsIn(const std::string& trash, const std::string& top,
                                                      const std::string& origin) {
  std::vector<platform::TrashedItem> items;
  for (const std::string& file :
       disk_.list(trash + "/info", Access::Administrator).value_or(std::vector<std::string>())) {
    const std::string name = foundation::deletingPathExtension(file);
    const std::string text = disk_.fileContents(informationPlaceOf(trash, name)).value_or("");
    const std::string path = percentDecoded(valueOf("Path", text));
    const bool isFromThere = !path.empty() && (top.empty() ? path : appendingPathComponent(top, path)) == origin;
    if (isFromThere && disk_.has(placeOf(trash, name))) {
      items.push_back({placeOf(trash, name), origin, valueOf("DeletionDate", text)});
    }
  }
  return items;
}

}  // namespace qm::testing
