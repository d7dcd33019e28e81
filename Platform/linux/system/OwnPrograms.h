#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qm::linux_ {

/// The path of a program of the product's, relative to the running one: in ../libexec if that is where it is installed,
/// else beside it, as in a build folder. An absolute path is returned as it is. If the system does not give the running
/// program's path, it counts as installed in /usr. For a program without a name, returns a path where nothing ever
/// exists, for messages.
std::string ownProgram(const std::optional<std::string>& executable, std::string_view name);

}  // namespace qm::linux_
