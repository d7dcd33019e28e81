// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "Platform/posix/process/Descriptors.h"

namespace qm::posix {
namespace {

bool closeOnExec(const UniqueFd& descriptor) {
  return descriptor && ::fcntl(descriptor.get(), F_SETFD, FD_CLOEXEC) == 0;
}

}  // namespace

/// There is a moment in which another thread's child could get the ends. Those of ours are started with nothing that
/// they are not given.
Pipe makePipe() {
  int ends[2] = {-1, -1};
  if (::pipe(ends) < 0) return {};
  Pipe pipe{aboveStandardStreams(UniqueFd(ends[0])), aboveStandardStreams(UniqueFd(ends[1]))};
  return closeOnExec(pipe.reading) && closeOnExec(pipe.writing) ? std::move(pipe) : Pipe();
}

/// A pipe here grows by itself.
Pipe makeLargestPipe() { return makePipe(); }

}  // namespace qm::posix
