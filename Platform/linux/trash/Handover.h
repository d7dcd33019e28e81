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

/// Changes the item of a descriptor so that the user can restore and delete it. It works by descriptor, so it does not
/// matter if somebody moves the item meanwhile.
///
/// The user becomes the owner of its folders, which keep their groups. Files keep owner, group and contents. So nothing
/// becomes readable for anybody else. The user can newly read only the names in the folders: files in a folder that was
/// closed to the user keep permissions for their owner alone. Set-user-id and set-group-id bits and file capabilities
/// are dropped: such a program runs with its owner's rights and may trust the files beside it, which the user can now
/// replace. It works bottom up, so that nobody can interfere from above, and is idempotent. Goes on after a failure and
/// returns the first one.
///
/// In a copy, a device is refused with ENODEV. Only root could create the copy of a device, and the original may have
/// been harmless because its volume was mounted without devices.
posix::FileError handOver(int item, const FileSystemIdentity& person, Reached reached,
                          HandedOver what = HandedOver::TheItem);

/// Why that would fail, or change what is not part of the item: a volume mounted in it, a locked folder or something
/// locked in it, or a file that has names outside the item and would have to be changed. An item that is itself a
/// locked file is not reported: the system does not let anybody move it. An item that is handed over as a copy must
/// contain no device; its files have no other names. Changes nothing.
posix::FileError obstacleToHandover(int item, const FileSystemIdentity& person, Reached reached, HandedOver what);

/// Whether the user, by following `path`, reaches the item of the descriptor. Null if that cannot be determined.
std::optional<Reached> reaches(const FileSystemIdentity& person, const std::string& path, int item);

}  // namespace qm::linux_
