#pragma once

#include <functional>
#include <memory>
#include <string>

namespace qm::posix {

/// Gives the calling thread the rights with which a source is read and a destination written, for as long as the result
/// lives. Null where the copy is not to be made. Called on each thread of a copy.
using CopyRights = std::function<std::shared_ptr<void>(const std::string& source, const std::string& destination)>;

}  // namespace qm::posix
