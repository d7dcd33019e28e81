// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace qm::testing {

/// Has the system say from now on that this user is at the console.
void setConsoleUser(const std::optional<std::string>& name);

}  // namespace qm::testing
