// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace qm::linux_ {

/// The value of an environment variable; null if it is not set.
std::optional<std::string> environmentValue(const char* name);

/// `path` without its trailing slashes if it is absolute ("/" stays), null otherwise.
std::optional<std::string> absoluteFolder(std::optional<std::string> path);

}  // namespace qm::linux_
