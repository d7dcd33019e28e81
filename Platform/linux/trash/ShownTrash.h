#pragma once

#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashUser.h"

namespace qm::linux_ {

/// The Trash in a person's home that the desktop shows: the one that ~/.Trash leads to, if that is a whole Trash of the
/// person's own, else the home trash of the freedesktop.org rules, which may be missing. Everything is done
/// with the person's rights, also by a process of root's.
Outcome<SharedTrashDirectory> openShownTrash(const TrashUser& person, MissingTrash missing);

}  // namespace qm::linux_
