// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/ItemName.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// The steps after a system has created a clone by its name: opens it and removes the access lists that it has. ESTALE
/// if the name refers to something else than a file that this process has just created. On failure the clone is removed
/// by its name, but nothing that somebody has put in its place. Returns 0 or an error number.
int takeNamedClone(ItemName name, UniqueFd& clone);

/// Creates a clone by its name, see `makeClone` in SystemFileCalls.h. `make` is the system's call, which returns 0 or
/// an error number. It is not called if a rule forbids the clone; `obstacle` is then the error number, else 0.
template <class Make>
int makeNamedClone(int obstacle, Make make, ItemName name, UniqueFd& clone) {
  if (obstacle != 0) return obstacle;
  const int error = make();
  return error != 0 ? error : takeNamedClone(name, clone);
}

}  // namespace qm::posix
