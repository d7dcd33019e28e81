// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "Platform/StandardDirectories.h"

/// Where the standard folders are, who the user is, and which folders are never moved or removed as a whole.
///
/// A process whose real user id is 0 works for the user at the console: user-domain folders, home and name are the
/// console user's. Paths are absolute, without a trailing slash; a folder that the system does not have is null. No
/// state, any thread, nothing logged. Nothing is cached, since another user may log in between two calls.
class QMLocalPaths {
 public:
  /// The domain of a standard folder: the user's (below the home folder) or the local one (below "/").
  enum class UserDomain : bool { No, Yes };
  /// Whether the guard protects only the folders of its list or, loosely, the system trees as well.
  enum class ExactMatch : bool { No, Yes };

  QMLocalPaths() = delete;
  QMLocalPaths(const QMLocalPaths&) = delete;
  QMLocalPaths& operator=(const QMLocalPaths&) = delete;

  /// `applicationDirectory:`
  static std::optional<std::string> applicationDirectory(UserDomain user);
  /// `adminApplicationDirectory:`
  static std::optional<std::string> adminApplicationDirectory(UserDomain user);
  /// `libraryDirectory:`
  static std::optional<std::string> libraryDirectory(UserDomain user);
  /// `prefsDirectory:`. Preferences, in the Library folder.
  static std::optional<std::string> prefsDirectory(UserDomain user);
  /// `documentDirectory:`
  static std::optional<std::string> documentDirectory(UserDomain user);
  /// `cacheDirectory:`
  static std::optional<std::string> cacheDirectory(UserDomain user);
  /// `appSupportDirectory:`
  static std::optional<std::string> appSupportDirectory(UserDomain user);
  /// `logDirectory:`. Logs, in the Library folder.
  static std::optional<std::string> logDirectory(UserDomain user);
  /// `desktopDirectory`
  static std::optional<std::string> desktopDirectory();
  /// `localDocumentationDirectory`
  static std::optional<std::string> localDocumentationDirectory();
  /// `systemLibraryDirectory`
  static std::optional<std::string> systemLibraryDirectory();
  /// `trashDirectory`. Always .Trash in `userDirectory`, whatever the standard search says.
  static std::optional<std::string> trashDirectory();
  /// `movieDirectory`. Always Movies in `userDirectory`.
  static std::optional<std::string> movieDirectory();

  /// `userDirectory`. The home folder; as root the console user's, null when nobody is logged in.
  static std::optional<std::string> userDirectory();
  /// `username`. The login name; as root the console user's, null when nobody is logged in.
  static std::optional<std::string> username();
  /// `currentConsoleUser`. Null at the login window and when nobody is logged in.
  static std::optional<std::string> currentConsoleUser();

  /// `tempDirectory`. The temporary folder of the process, without a slash at the end.
  static std::string tempDirectory();
  /// `uuid`. A string that no other call gives.
  static std::string uuid();
  /// `tempFile`. A new name in `tempDirectory`; the file is not created.
  static std::string tempFile();

  /// `pathForDirectory:forUserDomain:`. The first folder of the search; null if there is none. As root, and for exactly
  /// the user domain, the path is rewritten to lie in the console user's home: the prefix "/var/root" is dropped. Of
  /// the prefix "/private/var/root" the last letter stays ("/private/var/root/Library" becomes "t/Library" in the
  /// home).
  static std::optional<std::string> pathForDirectory(qm::platform::StandardDirectory directory,
                                                     qm::platform::DomainMask domainMask);

  /// `isPathSystemDirectory:exactMatch:`. The path is "/" or one of the standard folders of the user or the machine,
  /// compared letter by letter; in the loose mode also anything that begins with /usr, /var, /private/var or /System. A
  /// trailing slash is removed together with the letter before it, so "/Applications/" is not recognised. Null is not
  /// protected, and neither is any path under 3 characters except "/".
  static bool isPathSystemDirectory(const std::optional<std::string>& path, ExactMatch exactMatch);
  /// `isPathSystemDirectory:`. The loose mode.
  static bool isPathSystemDirectory(const std::optional<std::string>& path);
  /// `isPathOnTimeMachineVolume:`. The path is below /Volumes/ and has a component
  /// "Backups.backupdb".
  static bool isPathOnTimeMachineVolume(const std::optional<std::string>& path);
};
