#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qm::linux_ {

/// Where a program of ours is, seen from the running one: in ../libexec where it is installed, else beside it, as in a
/// build folder. One that the system does not tell of counts as installed in /usr.
std::string ownProgram(const std::optional<std::string>& executable, std::string_view name);

}  // namespace qm::linux_
