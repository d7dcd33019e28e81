#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qm::linux_ {

/// Where a program of the product's is, seen from the running one: in ../libexec where it is installed, else beside it,
/// as in a build folder; an absolute path is itself. A running one that the system does not tell of counts as installed
/// in /usr. For a program without a name, a path where there never is one, for messages.
std::string ownProgram(const std::optional<std::string>& executable, std::string_view name);

}  // namespace qm::linux_
