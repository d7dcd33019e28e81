// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::removal {

/// Prevents a second run of the same user while one is in progress. The lock is released with the object, or when the
/// process ends, however that happens. The lock's file stays, because removing it could take it from a run that is just
/// beginning.
class RunLock {
 public:
  /// Takes the lock of a user, or finds out why it cannot. The file is in /run for root; for others in `runtimeFolder`
  /// if only they can write there, else in .cache in their home.
  static RunLock take(uid_t user, const std::optional<std::string>& runtimeFolder, const std::string& home);

  bool isHeld() const { return static_cast<bool>(file_); }
  /// Why it is not held, one sentence.
  const std::string& problem() const { return problem_; }

 private:
  posix::UniqueFd file_;
  std::string problem_;
};

}  // namespace qm::removal
