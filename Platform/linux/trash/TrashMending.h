#pragma once

#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashRecord.h"

namespace qm::linux_ {

/// The names in work folders of a copy that goes to the Trash, and of an item that has been taken from its place.
inline constexpr const char* kCopyName = "copy";
inline constexpr const char* kAsideName = "item";
/// The same for an item that is at its place again as a copy, and for that copy while it grows beside its place.
inline constexpr const char* kExpendableName = "expendable";
inline constexpr const char* kGrowingName = "growing";

/// Removes the description that a move has made, with the person's rights. One that another program has made is not
/// touched.
void forgetDescription(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record);

/// Takes the copy of an item that is still at its place out of the Trash, into the work folder. Returns 0 or an error
/// number.
int unpublish(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record, int work);

/// Removes the item that is expendable in a work folder, if there is one. Returns 0 or an error number.
int removeExpendable(int work);

/// Puts the item that was taken out of the Trash into a work folder back, or under another name with its description
/// where its own is taken. Returns 0 or an error number.
int returnToTrash(const TrashDirectory& trash, const FileSystemIdentity& person, const TrashRecord& record, int work);

/// Undoes what was ended in the middle of putting items of this Trash back on its volume. Nothing outside the Trash is
/// touched, so that the record of a volume that somebody brought along leads root nowhere.
void mendPutBacks(const TrashDirectory& trash, const FileSystemIdentity& person);

/// Finishes or undoes every move to this Trash, or back from it, whose process was ended in the middle. What cannot be
/// mended now keeps its record.
void mendTrashMoves(const TrashDirectory& trash, const FileSystemIdentity& person);

}  // namespace qm::linux_
