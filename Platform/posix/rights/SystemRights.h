// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

/// Questions about rights to files that each system answers in its own way. The system's own folder, which the build
/// adds, implements these functions and `FileSystemUser`.
namespace qm::posix {

/// Whether the owners in the folder cannot be trusted, for example because its file system is a user's program. True
/// also if that cannot be determined.
bool isUserSpaceFileSystem(int folder);

/// Whether an access list of the folder, which its mode does not show, lets users other than its owner add or remove
/// items. True also if that cannot be determined. False on systems whose modes show these lists.
bool hasListThatGrantsWriting(int folder);

/// The absolute path at which the system shows the item of a descriptor now; "" if it has none, or if the path is too
/// long for the system.
std::string shownPath(int descriptor);

/// The text of a link that `openItself` opened as `item`, by `name` in its folder. Null on failure, see `errno`; ESTALE
/// if the system reads links by name only and another item has the name by now.
std::optional<std::string> readLink(int item, int folder, const std::string& name);

}  // namespace qm::posix
