// SPDX-License-Identifier: MIT
#pragma once

#include "Uninstaller/RemovalPlan.h"

namespace qm::appkit {

/// Measures an item with only the rights of the user whose folder it is in. Any thread.
void measureAsAllowed(PlannedItem& item);

}  // namespace qm::appkit
