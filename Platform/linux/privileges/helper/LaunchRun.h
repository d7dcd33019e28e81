#pragma once

#include <sys/types.h>

#include <functional>

#include "Platform/linux/privileges/protocol/Messages.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// One launch from the first look to the last step, for `person`: pins, starts the tool, waits for it and
/// puts what it made into place. Blocks until then; reports a `Started` and, if that told of no error, an
/// `Exited`. `output` is closed after the last step, so that its end means that all is done.
void runLaunch(const Launch& launch, uid_t person, posix::UniqueFd output,
               const std::function<void(const Message&)>& report);

}  // namespace qm::linux_
