#pragma once

#include <optional>
#include <string>

namespace qm::linux_ {

/// Where a program of ours is, seen from the running one: in ../libexec where it is installed, else beside it, as in a
/// build folder.
std::string ownProgram(const std::optional<std::string>& executable, const std::string& name);

}  // namespace qm::linux_
