#pragma once

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// A flag that a thread blocked in poll(2) sees: `descriptor` can be read from `raise` on, until `lower`.
class Wakeup {
 public:
  Wakeup();

  /// -1 when the system had none to give; poll(2) passes over it.
  int descriptor() const { return descriptor_.get(); }
  void raise() const;
  void lower() const;

 private:
  UniqueFd descriptor_;
  UniqueFd raising_;  // what is written to, on systems where that is another one
};

}  // namespace qm::posix
