// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "Platform/linux/privileges/helper/HelperPolicy.h"
#include "Platform/linux/privileges/protocol/Messages.h"
#include "Platform/linux/rights/UserDatabase.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// One launch from the first check to the last step, for `person`. Blocks until then. Reports a `Started` and, if that
/// contains no error, an `Exited`. `output` is closed after the last step, so that its end means that everything is
/// done.
void runLaunch(const HelperPolicy& policy, const Launch& launch, const UserRecord& person, posix::UniqueFd output,
               const std::function<void(const Message&)>& report);

}  // namespace qm::linux_
