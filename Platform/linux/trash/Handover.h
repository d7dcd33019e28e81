#pragma once

#include <optional>
#include <string>

#include "Platform/linux/rights/FileSystemUser.h"
#include "Platform/posix/FileError.h"

namespace qm::linux_ {

/// Whether the person can reach an item where it is.
enum class Reached : bool { No, Yes };

/// Whether the person gets the item itself or a copy of it.
enum class HandedOver : bool { TheItem, ACopy };

/// Makes the item of a descriptor the person's to restore and to delete, wherever somebody moves it meanwhile.
///
/// Its folders become the person's. Files keep owner and contents, so nothing can be read that could not be read
/// before: what lay in a folder that was closed to the person is closed to everybody but its owner. Nothing keeps
/// set-user-id and set-group-id bits or file capabilities, which would lend the owner's rights in a folder where the
/// person can now replace what is beside it. From the bottom up, so that nobody interferes from above; done twice, the
/// result is the same. Goes on after a failure and returns the first one.
///
/// Of a copy a device is refused with ENODEV: on the volume that it was copied from it may have been none, and nobody
/// but root made it.
posix::FileError handOver(int item, const FileSystemIdentity& person, Reached reached,
                          HandedOver what = HandedOver::TheItem);

/// Why that would fail, or change what is not part of the item: a volume mounted in it, a locked item, a file that
/// has names outside the item and would have to be changed. What is handed over as a copy must hold no device; the
/// names of its files are its own. Changes nothing.
posix::FileError obstacleToHandover(int item, const FileSystemIdentity& person, Reached reached, HandedOver what);

/// Whether the person, by following `path`, comes to the item of the descriptor. Null where that cannot be found out.
std::optional<Reached> reaches(const FileSystemIdentity& person, const std::string& path, int item);

}  // namespace qm::linux_
