// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Confines a process to folders with the kernel's Landlock. However others change a tree meanwhile, the process reads,
/// creates and removes nothing anywhere else. Changing modes, owners and times is not covered.
class Confinement {
 public:
  /// Whether the kernel supports it and allows moves between folders (since 5.19).
  static bool isAvailable();

  /// Allows nothing yet. Without effect if Landlock is missing.
  Confinement();

  /// Allows everything in the folder and below.
  void allowAll(int folder);
  /// Allows reading the item and everything below.
  void allowReading(int item);

  /// Confines this thread permanently. Returns 0 or an error number; also 0 if Landlock is missing.
  int enforce() const;

 private:
  void add(int item, unsigned long long rights);

  posix::UniqueFd rules_;
  int error_ = 0;
};

}  // namespace qm::linux_
