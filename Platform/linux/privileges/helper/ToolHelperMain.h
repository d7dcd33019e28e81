// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ProductIdentity.h"

namespace qm::linux_ {

/// The main function of the helper that runs any program with administrator rights. Its dialog shows its command line.
/// If that is a program with arguments, the rights are for this command only. If it is empty, the rights are for
/// everything that the application launches.
int runToolHelper(const platform::ProductIdentity& product, int count, char** arguments);

}  // namespace qm::linux_
