// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ProductIdentity.h"

namespace qm::linux_ {

/// The main function of the helper that runs any program with administrator rights. Its dialog shows its command line:
/// a program with arguments, to which the rights are then restricted, or nothing, which stands for everything that the
/// application launches.
int runToolHelper(const platform::ProductIdentity& product, int count, char** arguments);

}  // namespace qm::linux_
