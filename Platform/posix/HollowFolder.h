#pragma once

#include <functional>
#include <string>

#include "Platform/posix/FileError.h"

namespace qm::posix {

/// Removes the folder `name` in `parent` when nothing is in it but folders and, in whichever of them, items that are
/// no folders and whose names `isExpendable` answers true for. A folder is a folder whatever its name; a link is
/// none, and what it leads to is not looked at.
///
/// Everything below is looked at before anything is removed. ENOTEMPTY names what is in the way (`Side::InTheWay`);
/// a folder that cannot be read answers its error, EBUSY stands for another mount, EPERM for what is protected or
/// somebody else's in a sticky folder. Then each item is judged once more where it is, folders that were not looked
/// at are not entered, and no folder goes but by a call that refuses one with something in it. So what is put there
/// meanwhile, by whomever, stays, and ends the removal: some of the expendable items and empty folders may then be
/// gone. What has vanished meanwhile is no failure, save the folder itself.
FileError removeHollowFolder(int parent, const std::string& name,
                             const std::function<bool(const std::string& name)>& isExpendable);

}  // namespace qm::posix
