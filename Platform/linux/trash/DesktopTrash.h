// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashUser.h"

namespace qm::linux_ {

/// The Trash in a user's home that the desktop shows: the one that ~/.Trash leads to, if that is a whole Trash of the
/// user's own, else the home trash of the freedesktop.org rules, which may be missing. Everything is done with
/// the user's rights, even by a root process.
OpenedTrash openShownTrash(const TrashUser& person, MissingTrash missing);

/// The Trash that ~/.Trash leads to, if that is a whole Trash of the user's own. With the rights of the calling thread.
OpenedTrash openLinkedTrash(const TrashUser& person);

}  // namespace qm::linux_
