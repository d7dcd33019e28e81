// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// The same open file at a descriptor above 2. A process that was started without its standard streams gets their
/// numbers for the first files it opens; setting up a child's streams by number would then mix them up. None on
/// failure.
UniqueFd aboveStandardStreams(UniqueFd descriptor);

/// Both ends of a pipe, close-on-exec and above 2; both none (see `errno`) if the system provides no pipe.
struct Pipe {
  UniqueFd reading = UniqueFd();
  UniqueFd writing = UniqueFd();
};

/// A pipe with the system's default capacity.
Pipe makePipe();
/// A pipe with the largest capacity that the system allows this user.
Pipe makeLargestPipe();

}  // namespace qm::posix
