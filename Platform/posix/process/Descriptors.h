#pragma once

#include <cstddef>

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// The same open file at a descriptor over 2. A process that was started without its standard streams gets their
/// numbers for whatever it opens first; a child that is set up by number would then mix them up. None on failure.
UniqueFd aboveStandardStreams(UniqueFd descriptor);

/// Both ends of a pipe, close-on-exec and over 2; both none (see `errno`) when the system refuses one.
struct Pipe {
  UniqueFd reading = UniqueFd();
  UniqueFd writing = UniqueFd();
};

/// A pipe with the system's default capacity.
Pipe makePipe();
/// A pipe with the largest capacity that the system grants this user.
Pipe makeLargestPipe();

}  // namespace qm::posix
