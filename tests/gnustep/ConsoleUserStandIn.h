// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace qm::testing {

/// From now on the stand-in for the system reports that this user is at the console.
void setConsoleUser(const std::optional<std::string>& name);

}  // namespace qm::testing
