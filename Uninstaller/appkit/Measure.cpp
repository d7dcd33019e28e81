// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/Measure.h"

#include "Platform/Platform.h"
#include "Platform/posix/rights/RightsForPaths.h"

/// Where root itself is meant, root may see all.
void qm::appkit::measureAsAllowed(PlannedItem& item) {
  const posix::RightsForPaths rights(*platform::platform().users, {*item.path});
  if (rights.ok() || rights.arePlacesOnly()) measure(item);
}
