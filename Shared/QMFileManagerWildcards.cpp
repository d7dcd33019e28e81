// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>
#include <utility>

#include "Platform/FileSystem.h"
#include "Platform/Platform.h"
#include "Platform/foundation/LikeMatch.h"
#include "Platform/foundation/PathComponents.h"
#include "Shared/QMFileManager.h"

using qm::foundation::appendingPathComponent;
using qm::platform::DirectoryEntry;
using qm::platform::EntrySizes;
using qm::platform::FileSystem;
using qm::platform::FileType;
using qm::platform::platform;

namespace {

using PathList = std::vector<std::string>;
using Components = std::span<const std::string>;

bool hasWildcard(std::string_view text) { return text.find('*') != std::string_view::npos; }

const FileSystem& files() { return *platform().fileSystem; }

enum class Position : bool { OnTheWay, AtTheEnd };

/// A link may be dangling, and a folder may be a mount point of somebody else's volume that nobody else can enter. In
/// the middle of a pattern such a folder needs no check: nothing is found below it.
bool mayBeOutOfReach(const DirectoryEntry& entry, Position position) {
  return entry.type == FileType::SymbolicLink || (entry.type == FileType::Directory && position == Position::AtTheEnd);
}

/// The entries of a folder that match a component, each as a path.
PathList entriesLike(const std::string& folder, std::string_view component, Position position) {
  PathList found;
  const bool wasListed = files().visitDirectory(folder, EntrySizes::No, [&](const DirectoryEntry& entry) {
    if (!qm::foundation::isLike(entry.name, component)) return;
    std::string path = appendingPathComponent(folder, entry.name);
    if (!mayBeOutOfReach(entry, position) || files().fileExists(path)) found.push_back(std::move(path));
  });
  return wasListed ? found : PathList();
}

/// Follows the remaining components from a folder, depth first, so that only the current branch is kept in memory. The
/// depth is limited by the length of a path.
void follow(const std::string& folder, Components components, PathList& found) {
  if (components.empty()) {
    found.push_back(folder);
    return;
  }
  const Components rest = components.subspan(1);
  if (hasWildcard(components.front())) {
    const Position position = rest.empty() ? Position::AtTheEnd : Position::OnTheWay;
    for (const auto& path : entriesLike(folder, components.front(), position)) follow(path, rest, found);
    return;
  }
  const std::string path = appendingPathComponent(folder, components.front());
  if (files().fileExists(path)) follow(path, rest, found);
}

/// A component "/" leads back to where the search began, whatever was reached before.
Components sinceLastSlash(const std::vector<std::string>& components) {
  const auto last = std::find(components.rbegin(), components.rend(), "/");
  return Components(components).subspan(static_cast<std::size_t>(components.rend() - last));
}

}  // namespace

std::vector<std::string> QMFileManager::filesMatchingWildcardPath(const std::string& pattern,
                                                                  const std::optional<std::string>& basePath) {
  if (!hasWildcard(pattern)) return {basePath ? appendingPathComponent(*basePath, pattern) : pattern};
  const auto components = qm::foundation::pathComponents(pattern);
  PathList found;
  follow(basePath.value_or("/"), sinceLastSlash(components), found);
  return found;
}

std::vector<std::string> QMFileManager::filesMatchingWildcardPath(const std::string& pattern) {
  return filesMatchingWildcardPath(pattern, std::nullopt);
}

std::optional<std::string> QMFileManager::decodeWildcardPath(const std::string& pattern,
                                                             const std::optional<std::string>& basePath) {
  auto found = filesMatchingWildcardPath(pattern, basePath);
  if (found.empty()) return appendingPathComponent(basePath, pattern);
  return std::move(found.front());
}
