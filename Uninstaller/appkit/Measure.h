// SPDX-License-Identifier: MIT
#pragma once

#include "Uninstaller/RemovalPlan.h"

namespace qm::appkit {

/// Measures an item with no more rights than the person has whose folder it is in. Any thread.
void measureAsAllowed(PlannedItem& item);

}  // namespace qm::appkit
