#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/ProductIdentity.h"

namespace qm::linux_ {

/// A folder of the product's installation, by its way from the running program's folder: leading ".." of the way are
/// resolved by name, and an absolute one is itself. A running program that the system does not tell of counts as one in
/// /usr/bin.
std::string installedFolder(const std::optional<std::string>& executable, std::string_view way);

/// Where a program of the product's is, seen from the running one: in the product's `programsFolder` where it is
/// installed, else beside the running one, as in a build folder; an absolute path is itself. For a program without a
/// name, a path where there never is one, for messages.
std::string ownProgram(const platform::ProductIdentity& product, const std::optional<std::string>& executable,
                       std::string_view name);

}  // namespace qm::linux_
