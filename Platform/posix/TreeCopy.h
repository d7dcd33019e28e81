#pragma once

#include <string>

#include "Platform/posix/CopyObserver.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemPath.h"

namespace qm::posix {

/// Copies an item, a tree with everything in it, to a place in a folder where it did not exist before.
/// The copy grows under a hidden name beside its place and is then renamed without replacing anything,
/// so that nobody ever sees a part of it under its name; after a failure, or when the observer has ended
/// it, nothing of it is left. (Of a process that is killed meanwhile the hidden part stays.) What vanishes
/// from a tree before its turn is not in the copy.
FileError copyTree(const Place& source, const Place& destination, CopyObserver& observer);

/// `folder` is the folder `name` in `parent` or is anywhere below it.
bool isWithin(int folder, int parent, const std::string& name);

}  // namespace qm::posix
