// SPDX-License-Identifier: MIT
#include "Platform/macos/files/HeldPlace.h"

#include <unistd.h>

#include <utility>

#include "Platform/posix/rights/PathWalk.h"

int qm::macos::openHeldPlace(const std::string& path, posix::Place& place, std::string* refusal) {
  if (const int error = posix::pathError(path)) return error;
  if (::geteuid() != 0) return posix::openPlace(path, place);
  auto pinned = posix::pinPath(posix::withoutTrailingSlashes(path), posix::LastLink::Stays);
  if (!pinned) {
    const posix::Refusal& problem = pinned.problem();
    const bool isOwn = problem.reason != posix::refusalFor(problem.error, posix::withoutTrailingSlashes(path)).reason;
    if (isOwn && refusal != nullptr) *refusal = problem.reason;
    return problem.error;
  }
  place = {std::move(pinned->folder), std::move(pinned->name)};
  return 0;
}
