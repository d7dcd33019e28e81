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

using Paths = std::vector<std::string>;

bool hasWildcard(std::string_view text) { return text.find('*') != std::string_view::npos; }

/// A folder joined with a name, when something is there.
void addIfThere(const FileSystem& files, std::string_view folder, std::string_view name, Paths& found) {
  std::string path = appendingPathComponent(folder, name);
  if (files.fileExists(path)) found.push_back(std::move(path));
}

void addEntriesLike(const FileSystem& files, const std::string& folder, std::string_view component, Paths& found) {
  files.visitDirectory(folder, EntrySizes::No, [&](const DirectoryEntry& entry) {
    if (!qm::foundation::isLike(entry.name, component)) return;
    // Only a link can lead to nothing.
    if (entry.type == FileType::SymbolicLink) return addIfThere(files, folder, entry.name, found);
    found.push_back(appendingPathComponent(folder, entry.name));
  });
}

/// One step of the walk: what a component leads to from the folders reached so far.
Paths reachedThrough(const std::string& component, const Paths& folders, const std::string& root) {
  if (component == "/") return {root};
  const FileSystem& files = *platform().fileSystem;
  Paths found;
  for (const auto& folder : folders) {
    if (hasWildcard(component)) {
      addEntriesLike(files, folder, component, found);
    } else {
      addIfThere(files, folder, component, found);
    }
  }
  return found;
}

}  // namespace

std::vector<std::string> QMFileManager::filesMatchingWildcardPath(const std::string& pattern,
                                                                  const std::optional<std::string>& basePath) {
  if (!hasWildcard(pattern)) return {basePath ? appendingPathComponent(*basePath, pattern) : pattern};
  const std::string root = basePath.value_or("/");
  Paths reached{root};
  for (const auto& component : qm::foundation::pathComponents(pattern))
    reached = reachedThrough(component, reached, root);
  return reached;
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
