// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "Platform/AuthorizationServices.h"
#include "Platform/Clock.h"
#include "Platform/Console.h"
#include "Platform/DesktopShell.h"
#include "Platform/FileReferences.h"
#include "Platform/FinderInformation.h"
#include "Platform/ItemLocks.h"
#include "Platform/Packages.h"
#include "Platform/Platform.h"
#include "Platform/ProductIdentity.h"
#include "Platform/PropertyLists.h"
#include "Platform/StandardDirectories.h"
#include "Platform/SystemInformation.h"
#include "Platform/Threads.h"
#include "Platform/Trash.h"
#include "Platform/Users.h"
#include "Platform/posix/process/FrontEndServices.h"

/// The services of a Mac. The objects that are passed to a service must outlive it.
namespace qm::macos {

/// Writes to standard error and to the system's log with one call (NSLog).
std::unique_ptr<platform::Console> makeConsole();

/// Packages as the Finder shows them.
std::unique_ptr<platform::Packages> makePackages();

/// Threads of the C++ library, each with an autorelease pool for calls into the frameworks. The frameworks' own threads
/// are not used, because their call does not report that the system could not create a thread.
std::unique_ptr<platform::Threads> makeThreads();

std::unique_ptr<platform::FileReferences> makeFileReferences();
std::unique_ptr<platform::PropertyLists> makePropertyLists();
std::unique_ptr<platform::StandardDirectories> makeDirectories();
std::unique_ptr<platform::SystemInformation> makeSystemInformation();
std::unique_ptr<platform::Users> makeUsers();

/// The system's Authorization Services. The tools that they start follow paths and remove even what only root can see.
/// So this service limits the tools in two ways:
///
/// - If a folder is to be removed only if it is empty, the tool gets the paths of the items that were found in it. It
///   never removes what is added meanwhile. If the folder cannot be shown to be empty, nothing is removed and no
///   password is requested. Until `expectHollowFolder("")` ends this, `/bin/rm` is started for nothing else.
/// - A process run by root starts no tool on a path that others could redirect.
std::unique_ptr<platform::AuthorizationServices> makeAuthorization(platform::Console& console);

/// Finder information, which the system presents as an extended attribute. Root changes it with the rights of whoever
/// could put another item in the place of this one (see `RightsForPaths`), unless `obstacleToChanging` forbids it.
std::unique_ptr<platform::FinderInformation> makeFinderInformation(const platform::Users& users);

/// The lock is the owner's immutable flag, which the Finder shows as "Locked". As root, the path is walked by the rules
/// of `pinPath`, and an item is changed with the rights of whoever could put another in its place (see
/// `RightsForPaths`), unless `obstacleToLocking` forbids the change.
std::unique_ptr<platform::ItemLocks> makeItemLocks(const platform::Users& users);

/// The system's Trash. Root moves items by descriptor into the Trash of the user at the console. It puts an item back
/// with the rights of whoever could redirect one of the paths (see `RightsForPaths`). Each item gets a note, an
/// attribute with its old path, if its volume supports that. The attribute's name contains the product's name; without
/// a product's name nothing is noted. An item without a note is not found again. Changes that could not be flushed to
/// the disk are reported on the console.
std::unique_ptr<platform::Trash> makeTrash(const platform::Users& users, const platform::Clock& clock,
                                           platform::Console& console, const std::string& product);

/// The Finder and Launch Services. An update event is sent only if the user's consent is not needed any more, because a
/// dialog would keep the sender waiting.
std::unique_ptr<platform::DesktopShell> makeDesktopShell();

/// The services of a Mac for a product, together with those of the front end. The first call creates the set. It must
/// come before any other thread exists, because it also normalises the state that the process has inherited
/// (`settleInheritedState`). Later calls return the same set. It is never destroyed, because a worker may be inside one
/// of the services while the process ends.
const platform::Platform& macPlatform(const platform::ProductIdentity& product,
                                      const posix::FrontEndServices& frontEnd);

}  // namespace qm::macos
