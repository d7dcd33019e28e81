#pragma once

#include <string>

#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemPath.h"

namespace qm::posix {

/// Copies an item, a tree with everything in it, to a place in a folder where it did not exist before.
/// The copy grows under a hidden name beside its place and is then renamed without replacing anything,
/// so that nobody ever sees a part of it under its name; after a failure nothing of it is left.
FileError copyTree(const Place& source, const Place& destination);

/// `folder` is the folder `name` in `parent` or is anywhere below it.
bool isWithin(int folder, int parent, const std::string& name);

}  // namespace qm::posix
