#pragma once

#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashRecord.h"

namespace qm::linux_ {

/// The names in work folders of a copy that goes to the Trash, and of an item that has been taken from its place.
inline constexpr const char* kCopyName = "copy";
inline constexpr const char* kAsideName = "item";

/// Removes the description that a move has made, with the person's rights. One that another program has made is not
/// touched.
void forgetDescription(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record);

/// Takes the copy of an item that is still at its place out of the Trash, into the work folder. Returns 0 or an error
/// number.
int unpublish(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record, int work);

/// Finishes or undoes every move to this Trash whose process was ended in the middle. What cannot be mended now keeps
/// its record.
void mendTrashMoves(const TrashDirectory& trash, const FileSystemIdentity& person);

}  // namespace qm::linux_
