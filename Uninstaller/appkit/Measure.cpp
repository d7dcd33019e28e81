// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/Measure.h"

#include "Platform/Platform.h"
#include "Platform/posix/rights/RightsForPaths.h"

/// If root itself is the user at the console, root measures with its own rights.
void qm::appkit::measureAsAllowed(PlannedItem& item) {
  const posix::RightsForPaths rights(*platform::platform().users, {*item.path});
  if (rights.mayUsePlaces()) measure(item);
}
