// SPDX-License-Identifier: MIT
#include "Shared/QMFileManager.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <system_error>
#include <utility>

#include "Platform/AuthorizationServices.h"
#include "Platform/Clock.h"
#include "Platform/FileSystem.h"
#include "Platform/ItemLocks.h"
#include "Platform/MainThread.h"
#include "Platform/Packages.h"
#include "Platform/Platform.h"
#include "Platform/Trash.h"
#include "Platform/foundation/Format.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/foundation/Strings.h"
#include "Platform/foundation/Utf8.h"
#include "Shared/QMAuthorization.h"
#include "Shared/QMLocalPaths.h"
#include "Shared/QMLog.h"

using qm::foundation::appendingPathComponent;
using qm::foundation::characterAt;
using qm::foundation::deletingLastPathComponent;
using qm::foundation::deletingPathExtension;
using qm::foundation::formatted;
using qm::foundation::lastPathComponent;
using qm::foundation::lowercaseString;
using qm::foundation::pathExtension;
using qm::platform::DirectoryEntry;
using qm::platform::EntrySizes;
using qm::platform::FileSystem;
using qm::platform::FileType;
using qm::platform::platform;
using qm::platform::Status;

namespace {

/// Poll interval while waiting: one turn of the event loop on the main thread, a sleep elsewhere.
constexpr std::chrono::milliseconds kEventLimit(10);
constexpr std::chrono::milliseconds kPollPause(300);
/// The wait after a change of letter case, instead of a check.
constexpr std::chrono::microseconds kLetterCasePause(500);

FileSystem& fileSystem() { return *platform().fileSystem; }

QMAuthorization& authorization() { return *QMAuthorization::sharedController(); }

std::vector<std::string> entries(const std::string& folder) {
  return fileSystem().contentsOfDirectory(folder).value_or(std::vector<std::string>());
}

bool differOnlyInLetterCase(const std::string& a, const std::string& b) {
  return lowercaseString(a) == lowercaseString(b);
}

/// The common end of the mutating operations. If the attempt as the user succeeded, so did the operation; otherwise the
/// failure is logged, and repeated with administrator rights if requested.
template <class Privileged>
bool orAuthorize(const Status& plain, std::string_view message, QMFileManager::ShouldAuth shouldAuth,
                 Privileged privileged) {
  if (plain) return true;
  if (!message.empty()) QMLog::appendLog(std::string(message), plain.localizedDescription());
  return shouldAuth == QMFileManager::ShouldAuth::Yes && privileged(authorization());
}

/// The path with room for a number in its name: the end of the name is cut, before the extension if there is one.
std::string withRoomForANumber(const std::string& path) {
  constexpr std::size_t room = std::string_view(" 999").size();
  const std::string name = lastPathComponent(path);
  std::string_view stem = name;
  const std::string extension = pathExtension(path);
  if (extension.size() + 1 + room < name.size() && !extension.empty()) stem.remove_suffix(extension.size() + 1);
  if (stem.size() <= room) return path;
  std::size_t end = 0;
  for (std::size_t next = 0; next <= stem.size() - room; next += characterAt(stem, next).length) end = next;
  return appendingPathComponent(deletingLastPathComponent(path),
                                std::string(stem.substr(0, end)).append(name, stem.size()));
}

/// Renames through a free name, because on a volume that ignores letter case the destination is the source itself. On
/// other volumes, if the destination is free, the first step is the whole move.
bool moveThroughFreeName(const std::string& source, const std::string& destination) {
  constexpr int tooLong = static_cast<int>(std::errc::filename_too_long);
  std::string between = QMFileManager::uniqueFilename(destination);
  Status moved = fileSystem().moveItem(source, between);
  if (moved.code() == tooLong) {
    between = QMFileManager::uniqueFilename(withRoomForANumber(destination));
    moved = fileSystem().moveItem(source, between);
  }
  if (!moved) return false;
  return between == destination || fileSystem().moveItem(between, destination).ok();
}

void setLocked(const std::string& path, bool locked) { std::ignore = platform().itemLocks->setImmutable(path, locked); }

void setFolderLocked(const std::string& folder, bool locked) {
  for (const auto& name : entries(folder)) {
    const std::string entry = appendingPathComponent(folder, name);
    if (QMFileManager::isDirectoryAtPath(entry)) {
      setFolderLocked(entry, locked);
    } else {
      setLocked(entry, locked);
    }
  }
}

enum class Wanted : bool { Absent, Present };

bool isAsWanted(const std::string& path, Wanted wanted) {
  return QMFileManager::fileExistsAtPath(path) == (wanted == Wanted::Present);
}

/// One pause of a wait. The main thread handles one event, so that the interface stays responsive.
void pauseBetweenPolls() {
  auto& mainThread = *platform().mainThread;
  if (mainThread.isMainThread()) {
    mainThread.handleOneEvent(kEventLimit);
  } else {
    platform().clock->sleep(kPollPause);
  }
}

/// The wait of all timed operations. The limit is checked before each pause, so a wait may be longer by one pause, and
/// a limit of 0 or less never pauses.
bool waitUntil(const std::string& path, Wanted wanted, std::chrono::seconds limit) {
  const auto& clock = *platform().clock;
  const auto start = clock.monotonicNow();
  using Elapsed = std::chrono::duration<double>;  // any limit can be compared with this type
  while (!isAsWanted(path, wanted) && Elapsed(clock.monotonicNow() - start) < limit) pauseBetweenPolls();
  return isAsWanted(path, wanted);
}

bool isFolderOrLinkToOne(const DirectoryEntry& entry, const std::string& path) {
  return entry.type == FileType::Directory || (entry.type == FileType::SymbolicLink && fileSystem().isDirectory(path));
}

/// Subfolders are walked after the folder has been read to its end, so that only one is open at a time.
std::uint64_t sizeBelow(const std::string& folder) {
  std::uint64_t sum = 0;
  std::vector<std::string> folders;
  const bool wasListed = fileSystem().visitDirectory(folder, EntrySizes::Yes, [&](const DirectoryEntry& entry) {
    const bool isFile = entry.type == FileType::Regular || entry.type == FileType::Other;
    if (!isFile && isFolderOrLinkToOne(entry, appendingPathComponent(folder, entry.name))) {
      folders.emplace_back(entry.name);
    } else {
      sum += entry.size;
    }
  });
  if (!wasListed) return 0;
  for (const auto& name : folders) sum += sizeBelow(appendingPathComponent(folder, name));
  return sum;
}

const std::vector<std::string>& housekeepingNames() {
  static const std::vector<std::string> names = {".DS_Store", "Icon\r"};
  return names;
}

/// While this exists, a removal of the folder with administrator rights fails unless nothing but empty folders and
/// housekeeping files is in it. The tool itself would remove everything, even what only root can see.
class HollowFolderMeant {
 public:
  explicit HollowFolderMeant(const std::string& folder) {
    platform().authorizationServices->expectHollowFolder(folder);
  }
  HollowFolderMeant(const HollowFolderMeant&) = delete;
  HollowFolderMeant& operator=(const HollowFolderMeant&) = delete;
  ~HollowFolderMeant() { platform().authorizationServices->expectHollowFolder(""); }
};

bool isHousekeeping(const std::string& name) {
  const auto& names = housekeepingNames();
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// A link to a folder is not a folder.
bool isItemButNoFolder(const std::string& path) {
  const auto attributes = fileSystem().attributesOfItem(path);
  return attributes && attributes->type != FileType::Directory;
}

/// The two permanent removals, which differ in how each attempt is made.
template <class Plain, class Privileged>
bool removeThat(const std::string& path, QMFileManager::ShouldAuth shouldAuth, Plain plain, Privileged privileged) {
  QMFileManager::unlockFile(path);
  if (!fileSystem().fileExists(path)) return true;
  return orAuthorize(plain(), "Error removing file: %@. Authorizing...", shouldAuth, privileged);
}

/// Trashes the files below a folder whose names match. Folders are searched, never trashed.
template <class IsWanted>
void trashFilesBelow(const std::string& folder, const IsWanted& isWanted, std::vector<std::string>& trashed) {
  for (const auto& name : entries(folder)) {
    std::string entry = appendingPathComponent(folder, name);
    if (fileSystem().isDirectory(entry)) {
      trashFilesBelow(entry, isWanted, trashed);
    } else if (isWanted(name)) {
      QMFileManager::trashFile(entry);
      trashed.push_back(std::move(entry));
    }
  }
}

}  // namespace

// MARK: - Operations

bool QMFileManager::moveFile(const std::string& source, const std::string& destination, ShouldAuth shouldAuth) {
  unlockFile(destination);
  unlockFolder(appendingPathComponent(destination, lastPathComponent(source)));
  if (differOnlyInLetterCase(source, destination) && moveThroughFreeName(source, destination)) return true;
  return orAuthorize(fileSystem().moveItem(source, destination), "Error moving file: %@. Authorizing...", shouldAuth,
                     [&](QMAuthorization& rights) { return rights.authMoveFile(source, destination); });
}

bool QMFileManager::moveFile(const std::string& source, const std::string& destination) {
  return moveFile(source, destination, ShouldAuth::Yes);
}

bool QMFileManager::copyFile(const std::optional<std::string>& source, const std::optional<std::string>& destination,
                             ShouldAuth shouldAuth) {
  if (!source) {
    QMLog::appendLogAndPrint("Error copying file: source path is nil");
    return false;
  }
  if (!destination) {
    QMLog::appendLogAndPrint("Error copying file %@: destination path is nil", *source);
    return false;
  }
  unlockFile(deletingLastPathComponent(*destination));
  return orAuthorize(fileSystem().copyItem(*source, *destination), "Error copying file: %@. Authorizing...", shouldAuth,
                     [&](QMAuthorization& rights) { return rights.authCopyFile(source, destination); });
}

bool QMFileManager::copyFile(const std::optional<std::string>& source, const std::optional<std::string>& destination) {
  return copyFile(source, destination, ShouldAuth::Yes);
}

bool QMFileManager::createDirectory(const std::string& path, ShouldAuth shouldAuth) {
  return orAuthorize(fileSystem().createDirectory(path), "Error creating folder: %@. Authorizing...", shouldAuth,
                     [&](QMAuthorization& rights) { return rights.authCreateDir(path); });
}

bool QMFileManager::createDirectory(const std::string& path) { return createDirectory(path, ShouldAuth::Yes); }

bool QMFileManager::removeFile(const std::string& path, ShouldAuth shouldAuth) {
  return removeThat(
      path, shouldAuth, [&] { return fileSystem().removeItem(path); },
      [&](QMAuthorization& rights) { return rights.authRemoveFile(path); });
}

bool QMFileManager::removeFile(const std::string& path) { return removeFile(path, ShouldAuth::Yes); }

bool QMFileManager::trashFile(const std::string& path, ShouldAuth shouldAuth) {
  unlockFile(path);
  if (!fileExistsAtPath(path)) return true;
  const auto plain = platform().trash->recycle(deletingLastPathComponent(path), QMLocalPaths::trashDirectory(),
                                               {lastPathComponent(path)});
  return orAuthorize(plain, "", shouldAuth, [&](QMAuthorization& rights) { return rights.authTrashFile(path); });
}

bool QMFileManager::trashFile(const std::string& path) { return trashFile(path, ShouldAuth::Yes); }

bool QMFileManager::trashDirectoryContents(const std::string& folder, ShouldAuth shouldAuth) {
  bool allTrashed = true;
  for (const auto& name : entries(folder)) {
    if (!trashFile(appendingPathComponent(folder, name), shouldAuth)) allTrashed = false;
  }
  return allTrashed;
}

bool QMFileManager::trashDirectoryContents(const std::string& folder) {
  return trashDirectoryContents(folder, ShouldAuth::Yes);
}

std::string QMFileManager::createDirectoryStructure(const std::string& item, const std::string& destination) {
  const bool isFolder = isDirectoryAtPath(item) && !isPackageAtPath(item);
  std::string folder = appendingPathComponent(destination, isFolder ? item : deletingLastPathComponent(item));
  if (!fileExistsAtPath(folder)) createDirectory(folder);
  return folder;
}

// MARK: - Predicates

bool QMFileManager::fileExistsAtPath(const std::string& path) { return fileSystem().fileExists(path); }

bool QMFileManager::isDirectoryAtPath(const std::string& path) { return fileSystem().isDirectory(path); }

bool QMFileManager::isPackageAtPath(const std::string& path) { return platform().packages->isFilePackage(path); }

bool QMFileManager::isSymbolicLinkAtPath(const std::string& path) {
  return fileSystem().destinationOfSymbolicLink(path).has_value();
}

// MARK: - Locks

void QMFileManager::lockFile(const std::string& path) { setLocked(path, true); }

void QMFileManager::unlockFile(const std::string& path) { setLocked(path, false); }

bool QMFileManager::isFileLocked(const std::string& path) {
  return platform().itemLocks->isImmutable(path).value_or(false);
}

void QMFileManager::lockFolder(const std::string& folder) { setFolderLocked(folder, true); }

void QMFileManager::unlockFolder(const std::string& folder) { setFolderLocked(folder, false); }

std::string QMFileManager::uniqueFilename(const std::string& path) {
  if (!fileExistsAtPath(path)) return path;
  const std::string stem = deletingPathExtension(path);
  const std::string extension = pathExtension(path);
  const std::string ending = extension.empty() ? "" : "." + extension;
  for (std::uint64_t number = 2;; ++number) {
    std::string candidate = formatted("%@ %lu%@", stem, number, ending);
    if (!fileExistsAtPath(candidate)) return candidate;
  }
}

// MARK: - With a time limit

bool QMFileManager::copyFile(const std::optional<std::string>& source, const std::optional<std::string>& destination,
                             std::chrono::seconds timeout) {
  return copyFile(source, destination) && waitUntil(*destination, Wanted::Present, timeout);
}

bool QMFileManager::createDirectory(const std::string& path, std::chrono::seconds timeout) {
  return createDirectory(path) && waitUntil(path, Wanted::Present, timeout);
}

bool QMFileManager::moveFile(const std::string& source, const std::string& destination, std::chrono::seconds timeout) {
  if (!moveFile(source, destination)) return false;
  if (!differOnlyInLetterCase(source, destination)) return waitUntil(source, Wanted::Absent, timeout);
  platform().clock->sleep(kLetterCasePause);
  return true;
}

bool QMFileManager::removeFile(const std::string& path, std::chrono::seconds timeout) {
  return removeFile(path, ShouldAuth::Yes) && waitUntil(path, Wanted::Absent, timeout);
}

bool QMFileManager::trashFile(const std::string& path, std::chrono::seconds timeout) {
  return trashFile(path) && waitUntil(path, Wanted::Absent, timeout);
}

bool QMFileManager::copyContentsOfDirectory(const std::string& source, const std::string& destination,
                                            std::chrono::seconds timeout) {
  for (const auto& name : entries(source)) {
    QMLog::appendLog("File: %@", name);
    const std::string target = appendingPathComponent(destination, name);
    if (!copyFile(appendingPathComponent(source, name), target, timeout)) return false;
  }
  return true;
}

// MARK: - Folders

std::uint64_t QMFileManager::fileSize(const std::string& path) {
  if (fileSystem().isDirectory(path)) return sizeBelow(path);
  const auto attributes = fileSystem().attributesOfItem(path);
  return attributes ? attributes->size : 0;
}

bool QMFileManager::isFolderEmpty(const std::string& folder) {
  const auto names = entries(folder);
  if (names.size() == 1 && isHousekeeping(names.front())) return true;
  for (const auto& name : names) {
    if (isHousekeeping(name)) continue;
    const std::string entry = appendingPathComponent(folder, name);
    if (!isDirectoryAtPath(entry) || !isFolderEmpty(entry)) return false;
  }
  return true;
}

bool QMFileManager::removeFolderIfEmpty(const std::string& folder) {
  if (!isFolderEmpty(folder)) return false;
  if (isItemButNoFolder(folder)) return removeFile(folder);
  // What has appeared meanwhile stays, and no rights are requested to remove it.
  return removeThat(
      folder, ShouldAuth::Yes, [&] { return fileSystem().removeHollowFolder(folder, housekeepingNames()); },
      [&](QMAuthorization& rights) {
        const HollowFolderMeant meant(folder);
        return isFolderEmpty(folder) && rights.authRemoveFile(folder);
      });
}

std::vector<std::string> QMFileManager::trashFilesNamed(const std::string& name, const std::string& folder) {
  std::vector<std::string> trashed;
  trashFilesBelow(
      folder, [&](const std::string& entry) { return entry == name; }, trashed);
  return trashed;
}

std::vector<std::string> QMFileManager::trashFilesOfType(const std::string& extension, const std::string& folder) {
  const std::string wanted = lowercaseString(extension);
  std::vector<std::string> trashed;
  trashFilesBelow(
      folder, [&](const std::string& entry) { return lowercaseString(pathExtension(entry)) == wanted; }, trashed);
  return trashed;
}
