// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/FileReferences.h"
#include "Platform/foundation/Color.h"

namespace qm {
class FileOperationDelegate;
namespace platform {
class FileOperation;
}
}  // namespace qm

/// File operations that fall back to administrator rights, their variants that wait for the result to
/// show on disk, and walks over folder trees.
///
/// Moving, copying, creating, removing and trashing are tried as the current user first. If that fails, a line with the
/// system's reason is written to the log. It ends in "Authorizing...", whether or not rights are requested next.
/// (Trashing writes no line.) Then the attempt is repeated once with administrator rights, unless the caller asked
/// otherwise. Nothing is ever thrown. No state, any thread; a call blocks while a password dialog is shown.
class QMFileManager {
 public:
  /// A reference to an item that survives renaming.
  using FSRef = qm::platform::FileReference;
  /// A status of the desktop: 0 is success.
  using OSStatus = std::int32_t;
  /// Whether an attempt that failed with the user's rights is repeated with administrator rights.
  enum class ShouldAuth : bool { No, Yes };
  /// Whether an archive holds a folder itself, or its contents alone.
  enum class IncludeParent : bool { No, Yes };
  /// Whether the creation date is set along with the others.
  enum class SetCreationDate : bool { No, Yes };

  QMFileManager() = delete;
  QMFileManager(const QMFileManager&) = delete;
  QMFileManager& operator=(const QMFileManager&) = delete;

  /// `moveFile:toPath:shouldAuth:`. The attempt with the user's rights never replaces; the administrator's move does.
  /// First clears the lock of the destination and the locks of the files below destination/name-of-source, which is
  /// where the administrator's move puts the item if the destination is a folder. If only letter case changes, the item
  /// first gets an unused name in the destination's folder, and then the new one.
  static bool moveFile(const std::string& source, const std::string& destination, ShouldAuth shouldAuth);
  /// `moveFile:toPath:`
  static bool moveFile(const std::string& source, const std::string& destination);
  /// `copyFile:toPath:shouldAuth:`. Links are copied as links. With an existing destination the attempt as the user
  /// fails. Clears the lock of the destination's folder first. Null paths are refused with a line in log and console.
  static bool copyFile(const std::optional<std::string>& source, const std::optional<std::string>& destination,
                       ShouldAuth shouldAuth);
  /// `copyFile:toPath:`
  static bool copyFile(const std::optional<std::string>& source, const std::optional<std::string>& destination);
  /// `createDirectory:shouldAuth:`. Creates a folder and the missing ones above it.
  static bool createDirectory(const std::string& path, ShouldAuth shouldAuth);
  /// `createDirectory:`
  static bool createDirectory(const std::string& path);
  /// `removeFile:shouldAuth:`. Removes a file or a whole tree permanently. True when nothing is there; a dangling link
  /// reads as nothing and stays.
  static bool removeFile(const std::string& path, ShouldAuth shouldAuth);
  /// `removeFile:`
  static bool removeFile(const std::string& path);
  /// `trashFile:shouldAuth:`. Moves an item to the user's Trash. True when nothing is there; a dangling link reads as
  /// nothing and stays. Clears the item's lock first.
  static bool trashFile(const std::string& path, ShouldAuth shouldAuth);
  /// `trashFile:`
  static bool trashFile(const std::string& path);
  /// `trashDirectoryContents:shouldAuth:`. Trashes every entry; true if none failed. The folder stays.
  static bool trashDirectoryContents(const std::string& folder, ShouldAuth shouldAuth);
  /// `trashDirectoryContents:`
  static bool trashDirectoryContents(const std::string& folder);

  /// `createDirectoryStructure:destination:`. Creates, under another root, a folder with the path of the item's parent
  /// folder: "/R/A/b" for "/A/b/c.txt" and the root "/R". If the item is a folder and not a package, the created folder
  /// has the item's own path: "/R/A/b" for "/A/b". Returns the path of that folder, whether or not creating it
  /// succeeded.
  static std::string createDirectoryStructure(const std::string& item, const std::string& destination);

  /// `fileExistsAtPath:`. Links are followed: a link to a missing target reads as absent.
  static bool fileExistsAtPath(const std::string& path);
  /// `isDirectoryAtPath:`. Links are followed.
  static bool isDirectoryAtPath(const std::string& path);
  /// `isPackageAtPath:`
  static bool isPackageAtPath(const std::string& path);
  /// `isSymbolicLinkAtPath:`. The item itself is a link.
  static bool isSymbolicLinkAtPath(const std::string& path);

  /// `lockFile:`. Failures are ignored.
  static void lockFile(const std::string& path);
  /// `unlockFile:`. Failures are ignored.
  static void unlockFile(const std::string& path);
  /// `isFileLocked:`. False when nothing is there.
  static bool isFileLocked(const std::string& path);
  /// `lockFolder:`. Locks the files below a folder, at any depth and through links to folders; the folders themselves
  /// stay as they are.
  static void lockFolder(const std::string& folder);
  /// `unlockFolder:`. Unlocks what `lockFolder:` locks.
  static void unlockFolder(const std::string& folder);

  /// `uniqueFilename:`. Returns the path if nothing exists there, else the first free "name 2.ext", "name 3.ext" and so
  /// on.
  static std::string uniqueFilename(const std::string& path);

  /// `copyFile:toPath:timeout:`. Copies, then waits until the destination is there; returns whether it is. All variants
  /// with a limit return false at once if the operation fails. Otherwise they check the disk until the result is there
  /// or the limit has passed: every 0.3 seconds, or on the main thread after each event. With a limit of 0 or less they
  /// check once.
  static bool copyFile(const std::optional<std::string>& source, const std::optional<std::string>& destination,
                       std::chrono::seconds timeout);
  /// `createDirectory:timeout:`. Returns whether the folder is there.
  static bool createDirectory(const std::string& path, std::chrono::seconds timeout);
  /// `moveFile:toPath:timeout:`. Returns whether the source is gone; a change of letter case alone
  /// returns true after 500 microseconds without a check.
  static bool moveFile(const std::string& source, const std::string& destination, std::chrono::seconds timeout);
  /// `removeFile:timeout:`. Returns whether the path is gone.
  static bool removeFile(const std::string& path, std::chrono::seconds timeout);
  /// `trashFile:timeout:`. Returns whether the path is gone.
  static bool trashFile(const std::string& path, std::chrono::seconds timeout);
  /// `copyContentsOfDirectory:toPath:timeout:`. Copies every entry, each with the whole limit, up to the first that
  /// fails. Logs "File: %@" for each. The destination must exist.
  static bool copyContentsOfDirectory(const std::string& source, const std::string& destination,
                                      std::chrono::seconds timeout);

  /// `fileSize:`. Bytes of a file or of all files below a folder; 0 for what is not there or cannot be read. Links to
  /// folders are followed. A folder that is reached twice is counted twice.
  static std::uint64_t fileSize(const std::string& path);
  /// `isFolderEmpty:`. Whether there is nothing below but folders that are empty in this sense, links to such folders,
  /// and items of any type named ".DS_Store" or "Icon\r". True for a plain file, a missing path and a folder that
  /// cannot be listed.
  static bool isFolderEmpty(const std::string& folder);
  /// `trashFilesNamed:inFolder:`. Trashes the files of exactly this name at any depth, also in packages, but never
  /// folders. Returns the paths, in the order visited, whether or not trashing succeeded.
  static std::vector<std::string> trashFilesNamed(const std::string& name, const std::string& folder);
  /// `trashFilesOfType:inFolder:`. The same for an extension, in any letter case; "" means files
  /// without one.
  static std::vector<std::string> trashFilesOfType(const std::string& extension, const std::string& folder);
  /// `removeFolderIfEmpty:`. Removes permanently what `isFolderEmpty:` finds empty. A plain file counts as empty, so it
  /// is removed as well, whatever is in it. Returns false if the folder is not empty. The attempt with the user's
  /// rights removes a folder only if it contains, at any depth, nothing but folders and files named ".DS_Store" and
  /// "Icon\r". If that attempt fails because something was added meanwhile, this returns false as well. If it fails for
  /// another reason, for example because a folder in it cannot be listed, rights are requested.
  static bool removeFolderIfEmpty(const std::string& folder);

  /// `filesMatchingWildcardPath:fromBasePath:`. The paths that a pattern matches, in the order found. The search begins
  /// in the base folder, or in "/" if that is null; an absolute pattern under a base is read relative to it. A
  /// component with "*" is matched against the entries of each folder reached so far (hidden ones too, letter case
  /// counts, "?" is one character); every other component is taken verbatim. Links are followed and dangling ones left
  /// out; folders that cannot be listed are skipped silently. A pattern without "*" gives its one path without a check
  /// of the disk. In a pattern with "*", a slash at the beginning has no effect. A slash at the end leads back to the
  /// folder where the search began, so such a pattern gives that folder alone.
  static std::vector<std::string> filesMatchingWildcardPath(const std::string& pattern,
                                                            const std::optional<std::string>& basePath);
  /// `filesMatchingWildcardPath:`. Without a base.
  static std::vector<std::string> filesMatchingWildcardPath(const std::string& pattern);
  /// `decodeWildcardPath:fromBasePath:`. The first match; if there is none, the base joined with the pattern verbatim,
  /// or null without a base.
  static std::optional<std::string> decodeWildcardPath(const std::string& pattern,
                                                       const std::optional<std::string>& basePath);

  /// `finderColorIndexForPath:`. All of the item's Finder flags, of which the label is 0x000E (0 for none); 0 on
  /// any failure. The item itself: a link is not followed.
  static unsigned finderColorIndexForPath(const std::string& path);
  /// `finderColorForPath:`. The colour of the item's label; null when it has none, or when any Finder flag is set
  /// besides the label and the lowest bit.
  static std::optional<qm::foundation::Color> finderColorForPath(const std::string& path);
  /// `setFinderColorIndex:forPath:`. Sets the label and keeps the item's other Finder flags. `index` is the label
  /// as it stands in the flags: 0 for none, 2, 4 .. 14. Its other bits are ignored. Failures are ignored.
  static void setFinderColorIndex(unsigned index, const std::string& path);

  /// `touchFile:setCreationDate:`. Sets the item's dates to now with /usr/bin/touch; never creates the item. For an
  /// item that the user may write, waits up to 5 seconds for the tool and returns true, whatever its result. For any
  /// other, also a missing one, administrator rights are requested, and the result is whether the tool was started. The
  /// result does not depend on whether the creation date could be set. False for null.
  static bool touchFile(const std::optional<std::string>& path, SetCreationDate setCreationDate);
  /// `touchFile:`. Without the creation date.
  static bool touchFile(const std::optional<std::string>& path);

  /// `stringToFSRef:`. A reference to the item at a path; unfilled when there is none. A link is not followed: the
  /// reference is to the link.
  static FSRef stringToFSRef(const std::string& path);
  /// `stringWithFSRef:`. Where the item is now; null when it is gone, and for an unfilled reference or none.
  static std::optional<std::string> stringWithFSRef(const FSRef* reference);

  /// `registerApplicationWithLaunchServices:`. Registers an application bundle with the desktop. A bundle that is
  /// already registered is registered again. False if the desktop refused it.
  static bool registerApplicationWithLaunchServices(const std::string& path);
  /// `notifyFileSystemChanged:`. Notifies the desktop that an item, usually a folder, has changed. Whether that
  /// succeeds is not checked.
  static void notifyFileSystemChanged(const std::string& path);

  /// `compressFile:toDestinationFile:includeParent:`. Makes a zip archive of a file or folder with the system's zip
  /// tool, and waits for it. Absolute paths, as in `decompressFile`. An item at the destination is moved to the Trash
  /// first, as the user. If that fails, no administrator rights are requested: the item stays, and the tool replaces
  /// it. Returns whether anything exists at the destination afterwards, including an old archive that could not be
  /// trashed. Errors are not reported.
  static bool compressFile(const std::string& item, const std::string& destinationFile, IncludeParent includeParent);
  /// `compressFile:toDestinationFile:`. With the folder itself.
  static bool compressFile(const std::string& item, const std::string& destinationFile);
  /// `decompressFile:toDestinationFolder:`. Unpacks a zip archive in the same way. An item at the destination is moved
  /// to the Trash even if there is no such archive.
  static bool decompressFile(const std::string& archive, const std::string& destinationFolder);

  /// `copyFileWithProgress:destination:delegate:object:object:`. Begins to copy a file or folder in the background, and
  /// returns whether that was possible; the console says why not. The destination is the folder, created if it is
  /// missing, plus the new name; an existing item of that name is not replaced. The delegate is notified of progress
  /// about once a second, and once of the end, whatever the result. This happens on the main thread, whose event loop
  /// must run. Delegate, objects and paths come with every report. A copy that fails or is cancelled leaves nothing.
  static bool copyFileWithProgress(const std::string& source, const std::string& destination,
                                   const std::shared_ptr<qm::FileOperationDelegate>& delegate,
                                   const std::shared_ptr<void>& object, const std::shared_ptr<void>& object2);
  /// `copyFileWithProgress:destination:delegate:object:`. Without the second object.
  static bool copyFileWithProgress(const std::string& source, const std::string& destination,
                                   const std::shared_ptr<qm::FileOperationDelegate>& delegate,
                                   const std::shared_ptr<void>& object);
  /// `cancelFileOperation:`. Makes a copy end soon; the delegate is still notified of the end. Takes the operation that
  /// the delegate was passed.
  static void cancelFileOperation(const std::shared_ptr<qm::platform::FileOperation>& fileOperation);
  /// `waitForFileWrites:`. Returns when the item was not modified for more than 4 seconds, or is gone; a link is not
  /// followed. Logs the beginning and the end of a wait. There is no limit.
  static void waitForFileWrites(const std::string& path);

  /// `formatFileSize:`. A size in bytes as text: "1023 B", "1.50 KB", "1.00 MB", "1024.00 GB", in steps of 1024 up to
  /// gigabytes.
  static std::string formatFileSize(double size);
  /// `validateFilename:`. A proposed name without one leading dot, then without white space and newlines at both ends,
  /// then without "/" and ":". May be "".
  static std::string validateFilename(const std::string& name);
};

/// `SendFinderSyncEvent`. Notifies the desktop that an item has changed, with an alias of the item. Returns 0 if the
/// notice was sent, else the status of the step that failed: making the alias or sending the notice. Does not wait for
/// a reply.
QMFileManager::OSStatus SendFinderSyncEvent(const QMFileManager::FSRef* reference);
