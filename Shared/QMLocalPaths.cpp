// SPDX-License-Identifier: MIT
#include "Shared/QMLocalPaths.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "Platform/Platform.h"
#include "Platform/SystemInformation.h"
#include "Platform/Users.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/foundation/Strings.h"
#include "Platform/foundation/Utf8.h"

using qm::foundation::appendingPathComponent;
using qm::platform::DomainMask;
using qm::platform::platform;
using qm::platform::StandardDirectory;

namespace {

DomainMask domain(QMLocalPaths::UserDomain user) {
  return user == QMLocalPaths::UserDomain::Yes ? DomainMask::User : DomainMask::Local;
}

/// The rest of a path in root's home. The second prefix is one letter short, so its last "t" stays: callers have come
/// to find folders there.
std::string relativeToRootHome(std::string path) {
  constexpr std::string_view home = "/var/root";
  constexpr std::string_view privateHome = "/private/var/root";
  constexpr std::size_t privateHomeCut = 16;
  if (path.starts_with(home)) path.erase(0, home.size());
  if (path.starts_with(privateHome)) path.erase(0, privateHomeCut);
  return path;
}

/// Removes a trailing slash together with the UTF-16 unit before it. If that was half of a surrogate pair, the other
/// half stays, which is not a character: the rest is then the name of no folder.
std::string_view withoutTrailingSlash(std::string_view path) {
  if (!path.ends_with('/')) return path;
  path.remove_suffix(1);
  const auto last = qm::foundation::characterBefore(path, path.size());
  const bool hasTwoUnits = last.codePoint > 0xFFFF;
  path.remove_suffix(hasTwoUnits ? 1 : last.length);
  return path;
}

bool isProtectedFolder(std::string_view path) {
  using Paths = QMLocalPaths;
  using OfDomain = std::optional<std::string> (*)(Paths::UserDomain);
  using Single = std::optional<std::string> (*)();
  constexpr OfDomain ofDomains[] = {Paths::applicationDirectory, Paths::adminApplicationDirectory,
                                    Paths::documentDirectory,    Paths::libraryDirectory,
                                    Paths::prefsDirectory,       Paths::cacheDirectory,
                                    Paths::appSupportDirectory};
  constexpr Single singles[] = {Paths::desktopDirectory, Paths::userDirectory, Paths::systemLibraryDirectory,
                                Paths::localDocumentationDirectory};
  constexpr std::string_view literals[] = {"/Users/Shared", "/Volumes"};
  const auto is = [path](const std::optional<std::string>& folder) { return folder && *folder == path; };
  return std::ranges::any_of(
             ofDomains, [&](auto of) { return is(of(Paths::UserDomain::Yes)) || is(of(Paths::UserDomain::No)); }) ||
         std::ranges::any_of(singles, [&](auto folder) { return is(folder()); }) ||
         std::ranges::any_of(literals, [&](auto literal) { return literal == path; });
}

bool isInSystemTree(std::string_view path) {
  constexpr std::string_view trees[] = {"/usr", "/var", "/private/var", "/System"};
  return std::ranges::any_of(trees, [&](auto tree) { return path.starts_with(tree); });
}

}  // namespace

std::optional<std::string> QMLocalPaths::applicationDirectory(UserDomain user) {
  return pathForDirectory(StandardDirectory::Application, domain(user));
}

std::optional<std::string> QMLocalPaths::adminApplicationDirectory(UserDomain user) {
  return pathForDirectory(StandardDirectory::AdminApplication, domain(user));
}

std::optional<std::string> QMLocalPaths::libraryDirectory(UserDomain user) {
  return pathForDirectory(StandardDirectory::Library, domain(user));
}

std::optional<std::string> QMLocalPaths::prefsDirectory(UserDomain user) {
  return appendingPathComponent(pathForDirectory(StandardDirectory::Library, domain(user)), "Preferences");
}

std::optional<std::string> QMLocalPaths::documentDirectory(UserDomain user) {
  return pathForDirectory(StandardDirectory::Document, domain(user));
}

std::optional<std::string> QMLocalPaths::cacheDirectory(UserDomain user) {
  return pathForDirectory(StandardDirectory::Caches, domain(user));
}

std::optional<std::string> QMLocalPaths::appSupportDirectory(UserDomain user) {
  return pathForDirectory(StandardDirectory::ApplicationSupport, domain(user));
}

std::optional<std::string> QMLocalPaths::logDirectory(UserDomain user) {
  return appendingPathComponent(libraryDirectory(user), "Logs");
}

std::optional<std::string> QMLocalPaths::desktopDirectory() {
  return pathForDirectory(StandardDirectory::Desktop, DomainMask::User);
}

std::optional<std::string> QMLocalPaths::localDocumentationDirectory() {
  return pathForDirectory(StandardDirectory::Documentation, DomainMask::Local);
}

std::optional<std::string> QMLocalPaths::systemLibraryDirectory() {
  return pathForDirectory(StandardDirectory::Library, DomainMask::System);
}

std::optional<std::string> QMLocalPaths::trashDirectory() { return appendingPathComponent(userDirectory(), ".Trash"); }

std::optional<std::string> QMLocalPaths::movieDirectory() { return appendingPathComponent(userDirectory(), "Movies"); }

std::optional<std::string> QMLocalPaths::userDirectory() {
  const auto* users = platform().users;
  if (!platform().users->isRoot()) return users->homeDirectory();
  return users->homeDirectoryForUser(currentConsoleUser());
}

std::optional<std::string> QMLocalPaths::username() {
  if (!platform().users->isRoot()) return platform().users->userName();
  return currentConsoleUser();
}

std::optional<std::string> QMLocalPaths::currentConsoleUser() {
  auto name = platform().users->consoleUser();
  if (name == "loginwindow") return std::nullopt;
  return name;
}

std::string QMLocalPaths::tempDirectory() { return platform().standardDirectories->temporaryDirectory(); }

std::string QMLocalPaths::uuid() { return platform().systemInformation->globallyUniqueString(); }

std::string QMLocalPaths::tempFile() { return appendingPathComponent(tempDirectory(), uuid()); }

std::optional<std::string> QMLocalPaths::pathForDirectory(StandardDirectory directory, DomainMask domainMask) {
  const auto paths = platform().standardDirectories->search(directory, domainMask);
  if (paths.empty()) return std::nullopt;
  if (domainMask != DomainMask::User || !platform().users->isRoot()) return paths.front();
  return appendingPathComponent(userDirectory(), relativeToRootHome(paths.front()));
}

bool QMLocalPaths::isPathSystemDirectory(const std::optional<std::string>& path, ExactMatch exactMatch) {
  if (!path) return false;
  if (*path == "/") return true;
  if (qm::foundation::utf16Length(*path) < 3) return false;
  const std::string_view compared = withoutTrailingSlash(*path);
  if (isProtectedFolder(compared)) return true;
  return exactMatch == ExactMatch::No && isInSystemTree(compared);
}

bool QMLocalPaths::isPathSystemDirectory(const std::optional<std::string>& path) {
  return isPathSystemDirectory(path, ExactMatch::No);
}

bool QMLocalPaths::isPathOnTimeMachineVolume(const std::optional<std::string>& path) {
  if (!path || !path->starts_with("/Volumes/")) return false;
  const auto components = qm::foundation::pathComponents(*path);
  return std::ranges::find(components, "Backups.backupdb") != components.end();
}
