// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "Platform/AuthorizationServices.h"
#include "Platform/DesktopShell.h"
#include "Platform/posix/ItemPath.h"

/// Thin wrappers of the system's calls. Tests put fakes in their place. Functions of type int return 0 or an error
/// number.
namespace qm::macos {

// ---- items and volumes
std::uint32_t flagsIn(const struct stat& item);
int changeFlags(int item, std::uint32_t flags);
/// Needs no permission to read the item. Does not follow a link.
int changeFlagsByName(const posix::Place& place, std::uint32_t flags);

/// The extended attribute of an open item. "" is read if there is none, or if it is longer than a note in the Trash can
/// be.
int writeAttribute(int item, const std::string& name, const std::string& text);
std::string readAttribute(int item, const std::string& name);
void removeAttribute(int item, const std::string& name);

/// The mount point of the volume that an open folder is on; "" if it cannot be determined.
std::string volumeOf(int folder);
/// Flushes all changes on a volume to the disk, and waits for that.
int writeOut(const std::string& volume);

// ---- the Trash
/// The result of the system's call.
struct TrashAnswer {
  bool done = false;
  std::string path;         ///< where the item is in the Trash
  std::string domain;       ///< of the error: says which list its code is from
  long code = 0;            ///< of the error
  std::string domainBelow;  ///< of the underlying error; "" if there is none
  long codeBelow = 0;       ///< of the underlying error; 0 if there is none
  std::string description;  ///< the system's sentence about the error
};

/// Calls `-[NSFileManager trashItemAtURL:resultingItemURL:error:]`. If the item is a link, the link itself is moved.
/// The path must be UTF-8.
TrashAnswer trashItem(const std::string& path);

// ---- Apple events and Launch Services
/// The location of an item as a file URL. "" if the text is not a path.
std::string locationOf(const std::string& path);

/// Whether this program may send the Finder update events: 0 if it may. The system shows no dialog.
platform::OSStatus permissionToUpdateFinder();

/// Sends the Finder an update event for a location, and does not wait for a reply.
platform::OSStatus updateFinder(const std::string& location);

/// Registers an application with Launch Services. Only for a path that `locationOf` accepts.
platform::OSStatus registerBundle(const std::string& path);

// ---- Authorization Services
/// When a session is freed with this option, its rights are also taken from everybody who shares them.
inline constexpr platform::AuthorizationFlags kDestroyRights = 8;

platform::AuthorizationStatus createSession(const platform::AuthorizationItems& environment,
                                            platform::AuthorizationFlags flags, platform::AuthorizationRef* session);
platform::AuthorizationStatus copySessionRights(platform::AuthorizationRef session,
                                                const platform::AuthorizationItems& rights,
                                                const platform::AuthorizationItems& environment,
                                                platform::AuthorizationFlags flags);
platform::AuthorizationStatus freeSession(platform::AuthorizationRef session, platform::AuthorizationFlags flags);
platform::AuthorizationStatus copySessionOfParent(platform::AuthorizationRef* session,
                                                  platform::AuthorizationFlags flags);

/// Whether the system has the call that starts tools with administrator rights.
bool canExecute();
/// Starts a tool with that call. Only if `canExecute`. `output` is the tool's output, which the caller closes.
platform::AuthorizationStatus executeWithRights(platform::AuthorizationRef session, const std::string& tool,
                                                platform::AuthorizationFlags flags,
                                                const std::vector<std::string>& arguments, std::FILE** output);

}  // namespace qm::macos
