// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashRecord.h"

namespace qm::linux_ {

/// In a work folder, the name of a copy that goes to the Trash, and the name of an item that was taken from its place.
inline constexpr const char* kCopyName = "copy";
inline constexpr const char* kAsideName = "item";
/// The same for an item whose copy is already at its destination, and for that copy while it grows beside its
/// destination.
inline constexpr const char* kExpendableName = "expendable";
inline constexpr const char* kGrowingName = "growing";

/// Removes the description that a move has created, with the user's rights. A description of another program is not
/// touched.
void removeTrashInfo(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record);

/// Takes a copy out of the Trash and into the work folder, because its item is still at its place. Returns 0 or an
/// error number. 0 also if the item of that name is not the copy any more; it then stays in the Trash.
int unpublish(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record, int work);

/// Removes the expendable item in a work folder, if there is one. Returns 0 or an error number.
int removeExpendable(int work);

/// Puts the item in a work folder, which was taken out of the Trash, into the Trash again. If its name is in use there,
/// it gets another one, with its description. Returns 0 or an error number.
int returnToTrash(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record, int work);

/// Finishes or undoes interrupted attempts to put items of this Trash back to paths on the same volume. Attempts across
/// volumes are left to `mendTrashMoves`. Nothing outside the Trash is touched, so a record on a volume that somebody
/// plugged in cannot mislead root.
void mendPutBacks(const TrashDirectory& trash, const FileSystemIdentity& person);

/// Finishes or undoes every interrupted move to this Trash, or back from it. What cannot be mended now keeps its
/// record, for example if the volume of the item's place is not mounted. An item that was taken out of the Trash is
/// returned even then.
void mendTrashMoves(const TrashDirectory& trash, const FileSystemIdentity& person);

}  // namespace qm::linux_
