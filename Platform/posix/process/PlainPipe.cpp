// SPDX-License-Identifier: MIT

// `makePipe` on systems that cannot make a pipe and keep it from other programs in one step.
#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/NoPipeMeanwhile.h"

namespace qm::posix {
namespace {

bool closeOnExec(const UniqueFd& descriptor) {
  return descriptor && ::fcntl(descriptor.get(), F_SETFD, FD_CLOEXEC) == 0;
}

}  // namespace

std::unique_lock<std::mutex> noPipeMeanwhile() {
  static auto* const mutex = new std::mutex;
  return std::unique_lock(*mutex);
}

/// Children of this process's own are started with nothing that they are not given. Whatever else starts a program
/// keeps the lock meanwhile.
Pipe makePipe() {
  const auto lock = noPipeMeanwhile();
  int ends[2] = {-1, -1};
  if (::pipe(ends) < 0) return {};
  Pipe pipe{aboveStandardStreams(UniqueFd(ends[0])), aboveStandardStreams(UniqueFd(ends[1]))};
  return closeOnExec(pipe.reading) && closeOnExec(pipe.writing) ? std::move(pipe) : Pipe();
}

/// A pipe here grows by itself.
Pipe makeLargestPipe() { return makePipe(); }

}  // namespace qm::posix
