// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/foundation/Outcome.h"

namespace qm::posix {

/// Why something is not done: an error number and a sentence for the console.
struct Refusal {
  int error = 0;
  std::string reason;
};

/// The refusal with the system's words for `error`.
Refusal refusalFor(int error, const std::string& path);

/// A value, or why there is none.
template <class Value>
using Answer = foundation::Outcome<Value, Refusal>;

}  // namespace qm::posix
