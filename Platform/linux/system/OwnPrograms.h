// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/ProductIdentity.h"

namespace qm::linux_ {

/// A folder of the product's installation, by its path relative to the running program's folder. Leading ".." of the
/// path are resolved by name; an absolute path is returned as it is. If the system does not give the running program's
/// path, it counts as one in /usr/bin.
std::string installedFolder(const std::optional<std::string>& executable, std::string_view way);

/// The path of a program of the product's, relative to the running one: in the product's `programsFolder` if that is
/// where it is installed, else beside it, as in a build folder. An absolute path is returned as it is. For a program
/// without a name, returns a path where nothing ever exists, for messages.
std::string ownProgram(const platform::ProductIdentity& product, const std::optional<std::string>& executable,
                       std::string_view name);

}  // namespace qm::linux_
