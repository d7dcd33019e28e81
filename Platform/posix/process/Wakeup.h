// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// A flag that wakes a thread blocked in poll(2): `descriptor` is readable from `raise` until `lower`.
class Wakeup {
 public:
  Wakeup();

  /// -1 if the system provided none; poll(2) ignores it.
  int descriptor() const { return descriptor_.get(); }
  void raise() const;
  void lower() const;

 private:
  UniqueFd descriptor_;
  UniqueFd raising_;  // the writing end, on systems where it differs
};

}  // namespace qm::posix
