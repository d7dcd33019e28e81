#pragma once

#include "Platform/ProductIdentity.h"

namespace qm::linux_ {

/// The helper that runs any program with administrator rights. Its dialog shows its command line: the program and its
/// arguments, to which its rights are then restricted, or none, which stands for all that the application launches.
int runToolHelper(const platform::ProductIdentity& product, int count, char** arguments);

}  // namespace qm::linux_
