// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "Platform/linux/rights/FileSystemUser.h"
#include "Platform/posix/FileError.h"

namespace qm::linux_ {

/// Whether the user can reach an item where it is.
enum class Reached : bool { No, Yes };

/// Whether the user gets the item itself or a copy of it.
enum class HandedOver : bool { TheItem, ACopy };

/// Makes the item of a descriptor the user's to restore and to delete, wherever somebody moves it meanwhile.
///
/// Its folders become the user's. Files keep owner and contents. Nothing becomes readable that was not readable before:
/// a file in a folder that was closed to the user gets permissions for its owner only. Set-user-id and set-group-id
/// bits and file capabilities are dropped, because they would lend the owner's rights in a folder where the user can
/// now replace neighbouring files. It works bottom up, so that nobody can interfere from above, and is idempotent. Goes
/// on after a failure and returns the first one.
///
/// In a copy, a device is refused with ENODEV. Only root can have created it there, and on the volume that it was
/// copied from it may have had no effect as a device.
posix::FileError handOver(int item, const FileSystemIdentity& person, Reached reached,
                          HandedOver what = HandedOver::TheItem);

/// Why that would fail, or change what is not part of the item: a volume mounted in it, a locked item, or a file that
/// has names outside the item and would have to be changed. An item that is handed over as a copy must contain no
/// device; its files have no other names. Changes nothing.
posix::FileError obstacleToHandover(int item, const FileSystemIdentity& person, Reached reached, HandedOver what);

/// Whether the user, by following `path`, reaches the item of the descriptor. Null if that cannot be determined.
std::optional<Reached> reaches(const FileSystemIdentity& person, const std::string& path, int item);

}  // namespace qm::linux_
