// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

/// What each system has in its own form of rights to files. The bodies are in the system's own folder, which the build
/// adds, as is that of `FileSystemUser`.
namespace qm::posix {

/// The folder is on a file system that is a program of somebody's, which says of owners what it likes. Also where that
/// cannot be found out.
bool isUserSpaceFileSystem(int folder);

/// An access list of the folder, beside its mode, lets others than its owner put something in it or take something
/// away. Also where that cannot be found out. False where such a list shows in the mode.
bool hasListThatGrantsWriting(int folder);

/// The absolute path at which the system shows the item of a descriptor now; "" when it has none, or one that is
/// longer than the system takes.
std::string shownPath(int descriptor);

/// The text of a link that `openItself` opened as `item`, by `name` in its folder. Null on failure, see `errno`; ESTALE
/// where the system reads links by name only and another item has the name by now.
std::optional<std::string> readLink(int item, int folder, const std::string& name);

}  // namespace qm::posix
