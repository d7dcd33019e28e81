// SPDX-License-Identifier: MIT
#include "Platform/macos/files/HeldPlace.h"

#include <unistd.h>

#include <utility>

#include "Platform/posix/MakeFolders.h"
#include "Platform/posix/rights/PathWalk.h"

namespace qm::macos {
namespace {

using platform::MissingFolders;

int openOwnPlace(const std::string& path, posix::Place& place, MissingFolders missing) {
  const int error = missing == MissingFolders::AreMade ? posix::makeFolders(posix::folderOf(path)) : 0;
  return error != 0 ? error : posix::openPlace(path, place);
}

}  // namespace

int openHeldPlace(const std::string& path, posix::Place& place, std::string* refusal, MissingFolders missing) {
  if (const int error = posix::pathError(path)) return error;
  if (::geteuid() != 0) return openOwnPlace(path, place, missing);
  const std::string item = posix::withoutTrailingSlashes(path);
  auto pinned = missing == MissingFolders::AreMade ? posix::pinPathMakingFolders(item)
                                                   : posix::pinPath(item, posix::LastLink::Stays);
  if (!pinned) {
    const posix::Refusal& problem = pinned.problem();
    const bool isOwn = problem.reason != posix::refusalFor(problem.error, item).reason;
    if (isOwn && refusal != nullptr) *refusal = problem.reason;
    return problem.error;
  }
  place = {std::move(pinned->folder), std::move(pinned->name)};
  return 0;
}

}  // namespace qm::macos
