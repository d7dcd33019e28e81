// SPDX-License-Identifier: MIT

// `makePipe` on systems that cannot create a pipe close-on-exec in one step.
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

/// Until both ends are close-on-exec, a new program could inherit them. Children that this process starts itself
/// (`SpawnRequest`) inherit only what they are given. Code that has another library start a program holds the lock
/// meanwhile.
Pipe makePipe() {
  const auto lock = noPipeMeanwhile();
  int ends[2] = {-1, -1};
  if (::pipe(ends) < 0) return {};  // NOLINT(android-cloexec-pipe): these systems have no pipe2
  Pipe pipe{aboveStandardStreams(UniqueFd(ends[0])), aboveStandardStreams(UniqueFd(ends[1]))};
  return closeOnExec(pipe.reading) && closeOnExec(pipe.writing) ? std::move(pipe) : Pipe();
}

/// On these systems a pipe grows by itself.
Pipe makeLargestPipe() { return makePipe(); }

}  // namespace qm::posix
